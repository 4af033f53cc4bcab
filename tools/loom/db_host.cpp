// SPDX-License-Identifier: MIT
#include "db_host.h"

#include <algorithm>
#include <filesystem>

#include "command.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/text/output.h"
#include "loomkit/text/string_util.h"

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
  loomkit::Locator parts;
  const std::string name = GPostgresqlDatabaseFactory::getShownLocator(locator);
  loomkit::splitLocator(locator, &parts);
  typeId = parts.type;
  // SQLite would make an empty file of a mistyped name.
  if (typeId == "sqlite3" && !create && !std::filesystem::exists(parts.path))
    throw Failure(ExitCode::cannotOpen, name + ": " + gDbStrError(GDbCantOpenFile));
  GDbDatabase* database = nullptr;
  const LogKeeper log;
  const GDbStatus status = GDbDatabase::openDatabase(locator.c_str(), &database);
  // A server's reason says more than the status, and names the database as well.
  if (status == GDbCantOpenFile && !log.text().empty())
    throw Failure(ExitCode::cannotOpen, log.text());
  require(status, name);
  opened.reset(database);
}

std::vector<std::string> DbHost::tables() const {
  std::vector<GDbCatalog::Table> listed;
  require(GDbCatalog::listTables(opened.get(), &listed), opened->getName());
  std::vector<std::string> names;
  for (const GDbCatalog::Table& table : listed)
    if (table.kind == GDbCatalog::Kind::table) names.push_back(table.name);
  return names;
}

GDbStructure DbHost::knownColumns(const std::string& name) const {
  GDbCatalog::Description description;
  const GDbStatus status = GDbCatalog::describeTable(opened.get(), name, &description);
  if (status == GDbRowTooBig)
    throw Failure(ExitCode::usage, name + ": too many columns to be inferred; use --columns");
  require(status, name);
  GDbStructure typed;
  for (const GDbField& field : description.structure.getFields())
    if (field.getType() != GDbFieldNone) typed.appendField(field);
  return typed;
}

std::unique_ptr<GDbTable> DbHost::table(const std::string& name, const std::string& columns) const {
  const GDbStructure structure = columns.empty() ? knownColumns(name) : parseColumns(columns);
  GDbTable* table = nullptr;
  require(opened->openTable(name, &structure, &table), name);
  return std::unique_ptr<GDbTable>(table);
}

std::unique_ptr<GDbTable> DbHost::readableTable(const std::string& name,
                                                const std::string& columns) const {
  std::unique_ptr<GDbTable> readable = table(name, columns);
  if (!hasLargeIntegers(readable.get())) return readable;
  throw Failure(ExitCode::damaged, name + " holds integers beyond 32 bits; loom sql can read them");
}

bool DbHost::hasLargeIntegers(GDbTable* table) const {
  if (typeId != "sqlite3") return false;
  const std::unique_ptr<GDbStructure> structure = structureOf(table);
  std::string condition;
  for (const GDbField& field : structure->getFields()) {
    if (field.getType() != GDbFieldInt && field.getType() != GDbFieldNone) continue;
    const std::string column = '"' + field.getName() + '"';
    condition += (condition.empty() ? "" : " OR ") + ("typeof(" + column) + ") = 'integer' AND " +
                 column + " NOT BETWEEN -2147483648 AND 2147483647";
  }
  if (condition.empty()) return false;
  GSqlQuery query(sql(),
                  "SELECT 1 FROM \"" + table->getName() + "\" WHERE " + condition + " LIMIT 1;");
  require(query.exec(), table->getName());
  return query.next() == GDbNoError;
}

}  // namespace loom
