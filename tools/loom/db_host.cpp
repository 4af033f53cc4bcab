// SPDX-License-Identifier: MIT
#include "db_host.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>

#include "command.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table_scan.h"
#include "loomkit/text/string_util.h"
#include "loomkit/text/uri.h"

namespace loom {

namespace {

constexpr std::string_view typeNames[] = {"none", "int", "uint", "float", "string", "blob"};

ExitCode exitCodeOf(GDbStatus status) {
  switch (status) {
    case GDbFieldTypeMismatch:
    case GDbFieldCountMismatch:
    case GDbInternalError:
      return ExitCode::damaged;
    case GDbSqlError:
    case GDbConstraintViolation:
      return ExitCode::evaluation;
    default:
      return ExitCode::cannotOpen;
  }
}

template <typename Number>
bool isNumber(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

// A number that would read back the same: a code such as 007 is a text.
bool isInt(std::string_view text) {
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  return isNumber<int>(text) && (digits == "0" || !digits.starts_with('0'));
}

// A whole number that is too large for an int stays exact as a text.
bool isFloat(std::string_view text) {
  if (text.find_first_of(".eE") == std::string_view::npos) return isInt(text);
  return text.find_first_not_of("+-.0123456789eE") == std::string_view::npos &&
         isNumber<double>(text) && !(text[0] == '0' && text[1] != '.');
}

GDbFieldType typeOf(const std::string& name) {
  const auto* found = std::find(std::begin(typeNames) + 1, std::end(typeNames), name);
  if (found == std::end(typeNames)) throw Failure(ExitCode::usage, "unknown column type: " + name);
  return static_cast<GDbFieldType>(found - std::begin(typeNames));
}

GDbStructure parseColumns(const std::string& columns) {
  GDbStructure structure;
  std::vector<std::string> items;
  for (const std::string& item : gSplit(columns, ",", &items)) {
    const std::size_t colon = item.rfind(':');
    const std::string type = colon == std::string::npos ? "string" : item.substr(colon + 1);
    structure.appendField(GDbField(item.substr(0, colon), typeOf(type), 0, 0, false, false));
  }
  return structure;
}

}  // namespace

void require(GDbStatus status, const std::string& what) {
  if (status != GDbNoError) throw Failure(exitCodeOf(status), what + ": " + gDbStrError(status));
}

std::string_view typeName(GDbFieldType type) {
  return type >= 0 && type <= GDbFieldBlob ? typeNames[type] : typeNames[0];
}

std::unique_ptr<GDbStructure> structureOf(GDbTable* table) {
  GDbStructure* found = nullptr;
  require(table->getStructure(&found), table->getName());
  return std::unique_ptr<GDbStructure>(found);
}

DbHost::DbHost(const std::string& locator, bool create) {
  const std::size_t colon = locator.find(':');
  typeId = locator.substr(0, colon);
  std::transform(typeId.begin(), typeId.end(), typeId.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (colon != std::string::npos)
    path = gUnescapePartOfURI(locator.substr(colon + 1, locator.find('?', colon) - colon - 1));
  // SQLite would make an empty file of a mistyped name.
  if (typeId == "sqlite3" && !create && !std::filesystem::exists(path))
    throw Failure(ExitCode::cannotOpen, locator + ": " + gDbStrError(GDbCantOpenFile));
  GDbDatabase* database = nullptr;
  require(GDbDatabase::openDatabase(locator.c_str(), &database), locator);
  opened.reset(database);
}

std::vector<std::string> DbHost::tables() const {
  std::vector<std::string> names;
  if (GSqlDatabase* database = sql()) {
    GSqlQuery query(database, "SELECT name FROM sqlite_master WHERE type = 'table';");
    GDbRecordSet rows;
    GDbStatus status = query.exec();
    if (status == GDbNoError) status = query.getResult(&rows);
    require(status, database->getName());
    for (unsigned i = 0; i < rows.getNumRecords(); ++i)
      names.emplace_back(rows.getRecord(i)->getStringField(0));
  } else {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path, error))
      if (entry.path().extension() == ".csv") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::unique_ptr<GDbTable> DbHost::open(const std::string& name,
                                       const GDbStructure* structure) const {
  GDbTable* table = nullptr;
  require(opened->openTable(name, structure, &table), name);
  return std::unique_ptr<GDbTable>(table);
}

bool DbHost::hasLargeIntegers(GDbTable* table) const {
  const std::unique_ptr<GDbStructure> structure = structureOf(table);
  std::string condition;
  for (const GDbField& field : structure->getFields()) {
    if (field.getType() != GDbFieldInt && field.getType() != GDbFieldNone) continue;
    const std::string column = '"' + field.getName() + '"';
    condition += (condition.empty() ? "" : " OR ") + ("typeof(" + column) + ") = 'integer' AND " +
                 column + " NOT BETWEEN -2147483648 AND 2147483647";
  }
  if (sql() == nullptr || condition.empty()) return false;
  GSqlQuery query(sql(),
                  "SELECT 1 FROM \"" + table->getName() + "\" WHERE " + condition + " LIMIT 1;");
  require(query.exec(), table->getName());
  return query.next() == GDbNoError;
}

// A column of which the type is not known, such as a DATE, keeps a table from
// being opened unless the caller's view leaves it out. All columns are read.
GDbStructure DbHost::typedColumns(const std::string& name) const {
  GDbStructure* found = nullptr;
  require(dynamic_cast<GSqlDatabaseImpl&>(*opened).getTableStructure(name, &found), name);
  const std::unique_ptr<GDbStructure> all(found);
  GDbStructure typed;
  for (const GDbField& field : all->getFields())
    if (field.getType() != GDbFieldNone) typed.appendField(field);
  return typed;
}

std::unique_ptr<GDbTable> DbHost::table(const std::string& name, const std::string& columns) const {
  if (!columns.empty()) {
    const GDbStructure structure = parseColumns(columns);
    return open(name, &structure);
  }
  const GDbStructure structure = typeId == "csv" ? inferStructure(name) : typedColumns(name);
  return open(name, &structure);
}

namespace {

// The columns of a table that may lie in an archive, and of any.
constexpr int mostGuessed = 1024;
constexpr int mostInferred = 1000000;

// The columns of a line, counted byte by byte.
class ColumnCount {
 public:
  void add(char c) {
    if (c == '\n' || c == '\r') {
      columns = 1;
      state = atStart;
    } else if (c == '"' && state != inText) {
      state = state == inQuotes ? behindQuotes : inQuotes;  // a doubled quote leaves and returns
    } else if (state == inQuotes) {
      return;
    } else if (c == ';') {
      columns = std::min(columns + 1, mostInferred + 1);
      most = std::max(most, columns);
      state = atStart;
    } else {
      state = inText;
    }
  }
  /// Of the widest line so far.
  [[nodiscard]] int getMost() const { return most; }

 private:
  enum State { atStart, inText, inQuotes, behindQuotes };

  State state = atStart;
  int columns = 1;
  int most = 1;
};

// What the values of a column have in common.
struct Column {
  bool ints = true;
  bool floats = true;
};

}  // namespace

bool DbHost::mayLieInArchive() const {
  return opened->getName().find('?') != std::string::npos;  // the locator has options
}

int DbHost::columnCount(const std::string& name) const {
  if (mayLieInArchive()) return mostGuessed;
  std::ifstream file(path + "/" + name + ".csv", std::ios::binary);
  ColumnCount count;
  for (char block[65536]; file.read(block, sizeof block) || file.gcount() > 0;)
    std::for_each(block, block + file.gcount(), [&count](char c) { count.add(c); });
  return count.getMost();
}

// Reads the whole table as texts. A column is a number when each of its values
// is; columns that are empty to the last row and behind all others are none.
GDbStructure DbHost::inferStructure(const std::string& name) const {
  const Failure tooMany(ExitCode::usage, name + ": too many columns to be inferred; use --columns");
  const int mostColumns = columnCount(name);
  if (mostColumns > mostInferred) throw tooMany;
  GDbStructure texts;
  for (int i = 1; i <= mostColumns; ++i)
    texts.appendField(GDbField("c" + std::to_string(i), GDbFieldString, -1, 0, false, false));
  const std::unique_ptr<GDbTable> table = open(name, &texts);
  std::vector<Column> columns(static_cast<std::size_t>(mostColumns));
  int used = 1;
  GDbTableScan scan(table.get());
  for (const GDbTypedRow& row : scan)
    for (int i = 0; i < mostColumns; ++i) {
      const std::string_view text = *row.getString(i);
      Column& column = columns[static_cast<std::size_t>(i)];
      if (!text.empty()) used = std::max(used, i + 1);
      column.ints = column.ints && isInt(text);
      column.floats = column.floats && isFloat(text);
    }
  require(scan.getStatus(), name);
  if (used == mostGuessed && mayLieInArchive()) throw tooMany;
  GDbStructure inferred;
  for (int i = 0; i < used; ++i) {
    const Column& column = columns[static_cast<std::size_t>(i)];
    const GDbFieldType type =
        column.ints ? GDbFieldInt : (column.floats ? GDbFieldFloat : GDbFieldString);
    inferred.appendField(GDbField(texts.getField(i).getName(), type, 0, 0, false, false));
  }
  return inferred;
}

}  // namespace loom
