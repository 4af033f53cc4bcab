// SPDX-License-Identifier: MIT
#include "db_host.h"

#include <algorithm>
#include <limits>

#include "command.h"
#include "console.h"
#include "did_you_mean.h"
#include "locator_types.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/text/letter_case.h"
#include "loomkit/text/output.h"
#include "loomkit/text/string_util.h"
#include "path_of.h"
#include "readable_file.h"
#include "terminal.h"
#include "xbase_encoding.h"

namespace loom {

namespace {

GDbFieldType typeOf(const std::string& name) {
  for (int type = GDbFieldInt; type <= GDbFieldBlob; ++type)
    if (typeName(static_cast<GDbFieldType>(type)) == name) return static_cast<GDbFieldType>(type);
  throw Failure(ExitCode::usage, "unknown column type: " + name);
}

// "name:type,..."; a column without a type is GDbFieldNone.
std::vector<Column> parseColumns(const std::string& list) {
  std::vector<Column> columns;
  std::vector<std::string> items;
  for (const std::string& item : gSplit(list, ",", &items)) {
    const std::size_t colon = item.rfind(':');
    const bool typed = colon != std::string::npos;
    columns.push_back(
        {item.substr(0, colon), typed ? typeOf(item.substr(colon + 1)) : GDbFieldNone});
  }
  return columns;
}

// How SQLite reads a declared type (https://www.sqlite.org/datatype3.html). Its
// catalog does not tell generated columns, so they are asked for here.
GDbFieldType affinityOf(const std::string& declared) {
  static constexpr struct {
    std::string_view part;
    GDbFieldType type;
  } rows[] = {{"int", GDbFieldInt},     {"char", GDbFieldString}, {"clob", GDbFieldString},
              {"text", GDbFieldString}, {"blob", GDbFieldBlob},   {"real", GDbFieldFloat},
              {"floa", GDbFieldFloat},  {"doub", GDbFieldFloat}};
  std::string lower = declared;
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 32);
  for (const auto& row : rows)
    if (lower.find(row.part) != std::string::npos) return row.type;
  return GDbFieldNone;
}

std::string quoted(std::string name) {
  gReplace(&name, "\"", "\"\"");
  return '"' + name + '"';
}

// Takes the place of gOutput for its own lifetime, and keeps the last log line.
class LogKeeper : public GOutput {
 public:
  LogKeeper() : previous(gOutput) {
    setLogLevel("*", 0);
    gOutput = this;
  }
  LogKeeper(const LogKeeper&) = delete;
  LogKeeper& operator=(const LogKeeper&) = delete;
  ~LogKeeper() override { gOutput = previous; }

  using GOutput::output;
  void output(GOutputLevel /*level*/, const std::string& /*sys*/, const char* line) override {
    last = line;
  }
  [[nodiscard]] const std::string& text() const { return last; }

 private:
  GOutput* previous;
  std::string last;
};

// A path as a part of a URI, in which these characters have a meaning.
std::string escaped(const std::string& path) {
  std::string text;
  for (const char c : path) {
    if (c == '%')
      text += "%25";
    else if (c == '?')
      text += "%3F";
    else if (c == '#')
      text += "%23";
    else
      text += c;
  }
  return text;
}

bool sameName(const std::string& a, const std::string& b, bool anyCase) {
  return a == b || (anyCase && loomkit::lowerCased(a) == loomkit::lowerCased(b));
}

bool askForPassword(const std::string& user, std::string* password) {
  return askSecretly("Password for user " + shown(user) + ": ", password);
}

// The column of that name, as the database tells letters apart.
std::size_t positionOf(const std::vector<Column>& columns, const std::string& name, bool anyCase) {
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const Column& column) {
    return sameName(column.name, name, anyCase);
  });
  if (found != columns.end()) return static_cast<std::size_t>(found - columns.begin());
  std::vector<std::string> names;
  for (const Column& column : columns) names.push_back(column.name);
  throw Failure(ExitCode::usage, "no such column: " + name + didYouMean(name, names));
}

Cell valueFor(const Column& column, const DbHost::Match& match) {
  Cell value;
  if (column.type == GDbFieldNone || column.type == GDbFieldBlob)
    throw Failure(ExitCode::usage,
                  "not a column to look up by: " + match.column + "=" + match.value);
  if (readCell(match.value, column.type, &value)) return value;
  throw Failure(ExitCode::usage,
                "not a value of the column's type: " + match.column + "=" + match.value);
}

// The rows of another source that hold certain values, and some columns of them.
class MatchingRows : public RowSource {
 public:
  MatchingRows(std::unique_ptr<RowSource> all, std::vector<Column> chosen,
               DbHost::MatchedValues values)
      : RowSource(all->name(), std::move(chosen)),
        source(std::move(all)),
        wanted(std::move(values)) {
    for (const Column& column : fields)
      positions.push_back(positionOf(source->columns(), column.name, false));
  }

 protected:
  bool read(Row* row) override {
    while (source->next(&whole)) {
      if (!matches()) continue;
      row->clear();
      for (const std::size_t position : positions) row->push_back(whole[position]);
      return true;
    }
    return false;
  }

 private:
  [[nodiscard]] bool matches() const {
    return std::all_of(wanted.begin(), wanted.end(), [&](const auto& value) {
      return whole[value.first].index() == value.second.index() &&
             cellText(whole[value.first]) == cellText(value.second);
    });
  }

  std::unique_ptr<RowSource> source;
  DbHost::MatchedValues wanted;
  std::vector<std::size_t> positions;
  Row whole;
};

// The backend of CSV files takes an integer beyond 32 bits for the largest one.
bool isWithinInt(const Cell& cell) {
  const auto* value = std::get_if<std::int64_t>(&cell);
  return value != nullptr && *value > std::numeric_limits<int>::min() &&
         *value < std::numeric_limits<int>::max();
}

// False for a value that no record can hold. The text of the value outlives the key.
bool appendKey(int field, GDbFieldType type, const Cell& value, std::vector<GDbKey>* keys) {
  const auto* integer = std::get_if<std::int64_t>(&value);
  const auto* real = std::get_if<double>(&value);
  const auto* text = std::get_if<std::string>(&value);
  if (text != nullptr && text->find('\0') == std::string::npos)
    keys->emplace_back(field, text->c_str());
  else if (real != nullptr)
    keys->emplace_back(field, *real);
  else if (type == GDbFieldInt && isWithinInt(value))
    keys->emplace_back(field, static_cast<int>(*integer));
  else if (type == GDbFieldUInt && integer != nullptr && *integer >= 0 &&
           *integer <= std::numeric_limits<unsigned>::max())
    keys->emplace_back(field, static_cast<unsigned>(*integer));
  else
    return false;
  return true;
}

}  // namespace

// --- Opening ---

DbHost::DbHost(const std::string& locator, bool create)
    : shownName(GPostgresqlDatabaseFactory::getShownLocator(locator)) {
  loomkit::Locator parts;
  loomkit::splitLocator(locator, &parts);
  typeId = parts.type;
  path = parts.path;
  checkOptions(parts.options);
  checkArchive(parts.path, parts.options);
  if (typeId == "tessel")
    checkFile(std::filesystem::exists(pathOf(path)) ? pathOf(path) : pathOf(path + ".tessel"));
  if (!isSqlite()) {
    open(locator);
    return;
  }
  // SQLite would make an empty file of a mistyped name.
  std::error_code error;
  const bool isNew =
      std::filesystem::status(pathOf(path), error).type() == std::filesystem::file_type::not_found;
  if (!create && isNew)
    throw Failure(ExitCode::cannotOpen, shownName + ": " + gDbStrError(GDbCantOpenFile));
  checkFile(pathOf(path));
  if (isNew) madeFile.set(pathOf(path));
  readOnly =
      std::find(parts.options.begin(), parts.options.end(), "readonly") != parts.options.end();
  if (readOnly)
    openReadOnly(locator);
  else
    open(locator);
  // A person at the command line would rather be told than wait for a lock.
  run("PRAGMA busy_timeout = 0;");
  keepReadOnly();
}

DbHost::MadeFile::~MadeFile() {
  std::error_code error;
  if (!path.empty() && std::filesystem::file_size(path, error) == 0 && !error)
    std::filesystem::remove(path, error);
}

void DbHost::open(const std::string& locator) {
  GDbDatabase* made = nullptr;
  const LogKeeper log;
  const bool server = typeId == "postgresql" || typeId == "postgres";
  const GDbStatus status =
      server ? GPostgresqlDatabaseFactory::openWithPrompt(locator.c_str(), askForPassword, &made)
             : GDbDatabase::openDatabase(locator.c_str(), &made);
  // A server's reason says more than the status, and names the database as well.
  if (status == GDbCantOpenFile && !log.text().empty())
    throw Failure(ExitCode::cannotOpen, log.text());
  if (status == GDbInvalidLocator || status == GDbInvalidTypeId)
    throw Failure(ExitCode::cannotOpen, shownName + ": " + gDbStrError(status),
                  locatorHint(shownName));
  require(status, shownName);
  opened.reset(made);
}

// The backend has no way to open a file for reading only, but the library behind it
// takes a URI that does (https://www.sqlite.org/uri.html), where it was built so.
// keepReadOnly() keeps nearly everything from being written where it was not.
void DbHost::openReadOnly(const std::string& locator) {
  const std::string uri = "sqlite3:" + escaped("file:" + escaped(path) + "?mode=ro");
  GDbDatabase* made = nullptr;
  if (GDbDatabase::openDatabase(uri.c_str(), &made) == GDbNoError)
    opened.reset(made);
  else
    open(locator);
}

// The backends ignore an option that they do not know, such as a mistyped one.
void DbHost::checkOptions(const std::vector<std::string>& options) {
  static constexpr struct {
    std::string_view type;
    std::string_view option;  // with "=", what it begins with
  } known[] = {{"sqlite3", "readonly"}, {"sqlite3", "readwrite"}, {"sqlite3", "create"},
               {"csv", "zipfile="},     {"csv", "order="},        {"xbase", "encoding="}};
  // A server's options are its own library's to judge.
  if (typeId == "postgresql" || typeId == "postgres") return;
  for (const std::string& option : options) {
    const bool fits = std::any_of(std::begin(known), std::end(known), [&](const auto& row) {
      const bool prefix = row.option.back() == '=';
      return row.type == typeId && (prefix ? option.starts_with(row.option) : option == row.option);
    });
    if (!fits && !option.empty())
      throw Failure(ExitCode::usage, shownName + ": there is no option '" + option + "'");
    if (fits && typeId == "xbase") encoding = option.substr(option.find('=') + 1);
  }
  if (!encoding.empty() && !isEncoding(encoding))
    throw Failure(ExitCode::usage, "there is no encoding '" + encoding + "'");
}

void DbHost::checkFile(const std::filesystem::path& file) const {
  const std::string reason = whyUnreadable(file);
  if (!reason.empty())
    throw Failure(ExitCode::cannotOpen,
                  shownName + ": " + gDbStrError(GDbCantOpenFile) + " (" + reason + ")");
}

// The backend takes an archive that it cannot read for an empty one.
void DbHost::checkArchive(const std::string& directory, const std::vector<std::string>& options) {
  constexpr std::string_view archive = "zipfile=";
  constexpr std::string_view order = "order=";
  std::error_code error;
  if (typeId != "csv" || !std::filesystem::is_directory(pathOf(directory), error)) return;
  for (const std::string& option : options) {
    if (option.starts_with(order)) readsFiles = option.find("files") != std::string::npos;
    if (!option.starts_with(archive)) continue;
    hasArchive = true;
    const std::string name = option.substr(archive.size());
    const std::filesystem::path file = pathOf(directory) / pathOf(name);
    if (!std::filesystem::exists(file, error))
      throw Failure(ExitCode::cannotOpen, shownName + ": there is no archive '" + name + "'");
    checkFile(file);
    const LogKeeper log;
    if (!GZipReader().open(file.string()))
      throw Failure(ExitCode::damaged, shownName + ": '" + name +
                                           "' is no archive that can be read" +
                                           (log.text().empty() ? "" : " (" + log.text() + ")"));
  }
}

std::filesystem::path DbHost::fileOf(const std::string& table) const {
  if (typeId == "csv" && readsFiles) return csvFileOf(path, table);
  if (typeId == "xbase") return xbaseFileOf(path, table);
  return {};
}

// The backends tell of such a file only that it is no table. Where there is an archive,
// the table may be in it instead.
void DbHost::checkTable(const std::string& table) const {
  const std::filesystem::path file = fileOf(table);
  std::error_code error;
  if (hasArchive && std::filesystem::is_regular_file(file, error)) return;
  const std::string reason = whyUnreadable(file);
  if (!reason.empty())
    throw Failure(ExitCode::cannotOpen,
                  table + ": " + gDbStrError(GDbInvalidTableName) + " (" + reason + ")");
}

void DbHost::run(const std::string& statement) const {
  GSqlQuery query(sql(), statement);
  require(query.exec(), shownName, query.getLastError());
}

void DbHost::keepReadOnly() const {
  if (readOnly) run("PRAGMA query_only = 1;");
}

void DbHost::check(GDbStatus status, const std::string& what) const {
  if (status == GDbNoError) return;
  if (sql() != nullptr) require(status, what, sql()->getLastError());
  require(status, what);
}

// --- Tables and columns ---

std::vector<std::string> DbHost::tables() const {
  std::vector<GDbCatalog::Table> listed;
  check(GDbCatalog::listTables(opened.get(), &listed), shownName);
  std::vector<std::string> names;
  names.reserve(listed.size());
  for (const GDbCatalog::Table& entry : listed) {
    // A directory or a pipe may have the name of a table.
    std::error_code error;
    const std::filesystem::path file = typeId == "csv" ? fileOf(entry.name) : "";
    if (file.empty() || std::filesystem::is_regular_file(file, error)) names.push_back(entry.name);
  }
  return names;
}

std::vector<Column> DbHost::sqliteColumns(const std::string& name) const {
  enum TableInfo { columnName = 1, columnType = 2, columnHidden = 6 };
  const std::string statement = "PRAGMA table_xinfo(" + quoted(name) + ");";
  GSqlQuery query(sql(), statement);
  require(query.exec(), name, query.getLastError());
  std::vector<Column> columns;
  GDbStatus status = query.next();
  for (; status == GDbNoError; status = query.next()) {
    Column column;
    std::int64_t hidden = 0;
    query.getText(columnName, &column.name);
    query.getText(columnType, &column.declared);
    query.getInt64(columnHidden, &hidden);
    column.declared = column.declared.substr(0, column.declared.find(" GENERATED ALWAYS"));
    column.type = affinityOf(column.declared);
    if (hidden != 1) columns.push_back(column);  // 1: an argument of a virtual table
  }
  if (status != GDbNoMoreRecords && status != GDbNoResult)
    require(status, name, query.getLastError());
  return columns;
}

std::vector<Column> DbHost::columnsOf(const std::string& name) const {
  checkTable(name);
  if (isSqlite()) {
    std::vector<Column> columns = sqliteColumns(name);
    if (!columns.empty()) return columns;
    GSqlQuery query(sql(), "SELECT * FROM " + quoted(name) + ";");
    const GDbStatus status = query.prepare();
    const std::string text = query.getLastError().getDatabaseText();
    throw Failure(ExitCode::cannotOpen,
                  name + ": " + gDbStrError(GDbInvalidTableName) +
                      (status != GDbNoError && !text.empty() ? " (" + text + ")" : ""));
  }
  GDbCatalog::Description description;
  const GDbStatus status = GDbCatalog::describeTable(opened.get(), name, &description);
  if (status == GDbRowTooBig)
    throw Failure(ExitCode::usage, name + ": too many columns to be inferred; use --columns");
  check(status, name);
  std::vector<Column> columns;
  for (std::size_t i = 0; i < description.columns.size(); ++i) {
    const GDbField& field = description.structure.getField(static_cast<int>(i));
    columns.push_back({field.getName(), field.getType(), description.columns[i].declaredType,
                       description.columns[i].inferredFrom});
  }
  return columns;
}

std::vector<Column> DbHost::columnsOf(const std::string& name, const std::string& list) const {
  if (list.empty()) return columnsOf(name);
  checkTable(name);
  std::vector<Column> chosen = parseColumns(list);
  if (typeId == "csv") {
    for (Column& column : chosen)
      if (column.type == GDbFieldNone) column.type = GDbFieldString;
    return chosen;
  }
  const std::vector<Column> all = columnsOf(name);
  for (Column& column : chosen) {
    const Column& found = all[positionOf(all, column.name, ignoresCase())];
    if (column.type != GDbFieldNone && column.type != found.type)
      throw Failure(ExitCode::usage, "column " + column.name + " is " +
                                         std::string(typeName(found.type)) + ", not " +
                                         std::string(typeName(column.type)));
    column = found;
  }
  return chosen;
}

std::string DbHost::quotedColumn(const std::string& name) const {
  return isSqlite() ? quoted(name) : dynamic_cast<GSqlDatabaseImpl*>(sql())->quoteName(name);
}

std::string DbHost::quotedTable(const std::string& name) const {
  return isSqlite() ? quoted(name) : dynamic_cast<GSqlDatabaseImpl*>(sql())->quoteTable(name);
}

// --- Rows ---

std::unique_ptr<GDbTable> DbHost::table(const std::string& name) const {
  GDbStructure structure;
  for (const Column& column : columnsOf(name))
    if (column.type != GDbFieldNone)
      structure.appendField(GDbField(column.name, column.type, 0, 0, false, false));
  GDbTable* made = nullptr;
  check(opened->openTable(name, &structure, &made), name);
  return std::unique_ptr<GDbTable>(made);
}

std::unique_ptr<RowSource> DbHost::rows(const std::string& name, const std::string& list) const {
  return rows(name, list, {});
}

std::unique_ptr<RowSource> DbHost::rows(const std::string& name, const std::string& list,
                                        const std::vector<Match>& matches) const {
  std::vector<Column> columns = columnsOf(name, list);
  const std::vector<Column> all = matches.empty() || typeId == "csv" ? columns : columnsOf(name);
  MatchedValues values;
  for (const Match& match : matches) {
    const std::size_t at = positionOf(all, match.column, ignoresCase());
    values.emplace_back(at, valueFor(all[at], match));
  }
  if (sql() != nullptr) {
    std::string names;
    for (const Column& column : columns)
      names += (names.empty() ? "" : ", ") + quotedColumn(column.name);
    std::string where;
    for (const auto& [at, value] : values)
      where += (where.empty() ? " WHERE " : " AND ") + quotedColumn(all[at].name) + " = ?";
    GSqlQuery query(sql(), "SELECT " + names + " FROM " + quotedTable(name) + where + ";");
    for (std::size_t i = 0; i < values.size(); ++i)
      require(bindCell(query, static_cast<int>(i), values[i].second), name, query.getLastError());
    require(query.exec(), name, query.getLastError());
    return rowsOfQuery(name, query, std::move(columns));
  }
  if (values.empty()) return tableRows(name, std::move(columns));
  std::unique_ptr<RowSource> found = lookedUp(name, all, values);
  if (found == nullptr) found = tableRows(name, all);
  return std::make_unique<MatchingRows>(std::move(found), std::move(columns), std::move(values));
}

// Field numbers of an opened table.
std::vector<int> DbHost::positionsIn(GDbTable& table, const std::vector<Column>& columns) const {
  std::vector<int> positions;
  for (const Column& column : columns) {
    int id = -1;
    check(table.getFieldId(column.name.c_str(), &id), table.getName());
    positions.push_back(id);
  }
  return positions;
}

std::unique_ptr<GDbTable> DbHost::openTable(const std::string& name,
                                            const GDbStructure& structure) const {
  GDbTable* made = nullptr;
  check(opened->openTable(name, &structure, &made), name);
  return std::unique_ptr<GDbTable>(made);
}

// The type that a column is opened with, so that its values arrive whole: the records of
// CSV tables and xBase tables have 32 bits of an integer. A text has all of it, and a
// double all of what xBase programs write.
GDbFieldType DbHost::openedType(const Column& column) const {
  if (typeId == "csv") return GDbFieldString;
  const bool isXBaseNumber =
      typeId == "xbase" && (column.declared.starts_with('N') || column.declared.starts_with('F'));
  return isXBaseNumber ? GDbFieldFloat : column.type;
}

std::unique_ptr<RowSource> DbHost::tableRows(const std::string& name,
                                             std::vector<Column> columns) const {
  GDbStructure structure;
  for (const Column& column : typeId == "csv" ? columns : columnsOf(name)) {
    const GDbFieldType type = openedType(column);
    if (type != GDbFieldNone)
      structure.appendField(GDbField(column.name, type, 0, 0, false, false));
  }
  std::unique_ptr<GDbTable> whole = openTable(name, structure);
  std::vector<int> positions = positionsIn(*whole, columns);
  return decodedRows(rowsOfTable(std::move(whole), std::move(columns), std::move(positions)),
                     encodingOf(name));
}

// The encoding of an xBase table's texts where they have to be decoded.
std::string DbHost::encodingOf(const std::string& table) const {
  const bool isSaid = typeId != "xbase" || !encoding.empty();
  const std::string found = isSaid ? encoding : xbaseEncoding(fileOf(table));
  return sameName(found, "UTF-8", true) ? std::string() : found;
}

// The structure with which the table can be looked up in, or nothing.
std::optional<GDbStructure> DbHost::lookupStructure(const std::string& name,
                                                    const std::vector<Column>& columns,
                                                    const MatchedValues& values) const {
  // The columns of the keys are opened as what they are. Their values are known.
  std::vector<GDbFieldType> types;
  for (const Column& column : columns) types.push_back(openedType(column));
  for (const auto& [at, value] : values) types[at] = columns[at].type;
  GDbStructure structure;
  for (std::size_t i = 0; i < columns.size(); ++i)
    structure.appendField(GDbField(columns[i].name, types[i], 0, 0, false, false));
  if (typeId == "csv") {
    const bool fits = std::all_of(values.begin(), values.end(), [&](const auto& value) {
      const GDbFieldType type = types[value.first];
      return type == GDbFieldString || (type == GDbFieldInt && isWithinInt(value.second));
    });
    return fits ? std::optional(structure) : std::nullopt;
  }
  GDbCatalog::Description description;
  check(GDbCatalog::describeTable(opened.get(), name, &description), name);
  // Of several records with one key, a unique index of an xBase table has the first.
  for (const GDbIndex& index : description.structure.getIndices())
    if (typeId != "xbase" || !index.isUnique()) structure.addIndex(index);
  return structure;
}

void DbHost::tellEncoding(const std::string& table) const { tellXBaseIsUtf8(fileOf(table)); }

// What a lookup by an index or a key finds, perhaps more than that; null where there is
// no way to look these columns up. Keys of xBase tables are compared as they lie in the
// file, where a text in UTF-8 with national characters would not be found.
std::unique_ptr<RowSource> DbHost::lookedUp(const std::string& name,
                                            const std::vector<Column>& columns,
                                            const MatchedValues& values) const {
  const std::string encoded = encodingOf(name);
  const auto isNational = [](const auto& value) { return isNationalText(value.second); };
  if (!encoded.empty() && std::any_of(values.begin(), values.end(), isNational)) return nullptr;
  const std::optional<GDbStructure> structure = lookupStructure(name, columns, values);
  GDbTable* made = nullptr;
  if (!structure || opened->openTable(name, &*structure, &made) != GDbNoError) return nullptr;
  const std::unique_ptr<GDbTable> table(made);
  std::vector<int> positions = positionsIn(*table, columns);
  std::vector<GDbKey> keys;
  for (const auto& [at, value] : values)
    if (!appendKey(positions[at], columns[at].type, value, &keys)) return nullptr;
  auto records = std::make_unique<GDbRecordSet>();
  if (table->lookupKeys(keys.data(), static_cast<int>(keys.size()), records.get()) != GDbNoError)
    return nullptr;
  return decodedRows(rowsOfRecords(name, std::move(records), columns, std::move(positions)),
                     encoded);
}

}  // namespace loom
