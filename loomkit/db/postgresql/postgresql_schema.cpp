// SPDX-License-Identifier: MIT
// Tables: their structure, creating and deleting them.
#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/postgresql_catalog.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/statement_text.h"
#include "loomkit/db/postgresql/table_name.h"
#include "loomkit/text/output.h"
#include "loomkit/text/string_util.h"

using loomkit::PgTableName;
using loomkit::quotedIdentifier;

namespace {

using Names = std::vector<std::string>;

std::string quotedList(const Names& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + quotedIdentifier(name);
  return list;
}

// The columns of an index, split at any run of commas and blanks.
Names splitColumns(const std::string& columns) {
  Names names;
  gSplit(columns, ", ", &names, true);
  if (names.back().empty()) names.pop_back();  // the last field is kept even when empty
  return names;
}

// An unsigned integer needs more than the 32 bits with a sign of "integer".
const char* sqlTypeName(GDbFieldType type) {
  switch (type) {
    case GDbFieldInt:
      return "integer";
    case GDbFieldUInt:
      return "bigint";
    case GDbFieldFloat:
      return "double precision";
    case GDbFieldString:
      return "text";
    case GDbFieldBlob:
      return "bytea";
    default:
      return nullptr;
  }
}

Names primaryKeyOf(const GDbStructure& structure) {
  Names names;
  for (const GDbField& field : structure.getFields())
    if (field.isPrimKey()) names.push_back(field.getName());
  return names;
}

std::string createStatement(const std::string& table, const GDbStructure& structure) {
  std::string columns;
  for (const GDbField& field : structure.getFields()) {
    if (!columns.empty()) columns += ", ";
    columns += quotedIdentifier(field.getName()) + " " + sqlTypeName(field.getType());
  }
  const Names primaryKey = primaryKeyOf(structure);
  if (!primaryKey.empty()) columns += ", PRIMARY KEY (" + quotedList(primaryKey) + ")";
  return "CREATE TABLE " + table + " (" + columns + ")";
}

bool isPrimaryKey(const Names& columns, const Names& primaryKey) {
  return columns.size() == primaryKey.size() &&
         std::all_of(columns.begin(), columns.end(), [&](const std::string& column) {
           return std::find(primaryKey.begin(), primaryKey.end(), column) != primaryKey.end();
         });
}

void logLine(const std::string& text) { gOutput->log(0, gDataSysName, text.c_str()); }

}  // namespace

GDbStatus GPostgresqlDatabase::tableExists(const std::string& tableName) {
  return getTableStructure(tableName, nullptr);
}

GDbStatus GPostgresqlDatabase::getTableStructure(const std::string& tableName,
                                                 GDbStructure** structure) {
  if (structure != nullptr) *structure = nullptr;
  if (!server->isOpen()) return setError(GDbNotOpen);
  GDbCatalog::Description description;
  const GDbStatus status =
      loomkit::PostgresqlCatalog::read(this, tableName, structure != nullptr, &description);
  if (status != GDbNoError || structure == nullptr) return status;
  *structure = new GDbStructure(description.structure);
  return GDbNoError;
}

GDbStatus GPostgresqlDatabase::createTable(const std::string& tableName,
                                           const GDbStructure* structure, GDbTable** table) {
  if (table == nullptr) return setError(GDbInvalidArgument);
  *table = nullptr;
  if (structure == nullptr) return setError(GDbInvalidArgument);
  GDbStatus status = tableExists(tableName);
  if (status == GDbNoError) return setError(GDbTableExists);
  if (status != GDbInvalidTableName) return status;
  for (const GDbField& field : structure->getFields())
    if (sqlTypeName(field.getType()) == nullptr) return setError(GDbInvalidFieldType);
  status = execute(createStatement(PgTableName::of(tableName).quoted(), *structure));
  if (status != GDbNoError) return status;
  createIndexes(tableName, *structure);
  return openTable(tableName, structure, table);
}

GDbStatus GPostgresqlDatabase::deleteTable(const std::string& tableName) {
  const GDbStatus status = tableExists(tableName);
  if (status != GDbNoError) return status;
  if (isTableOpen(tableName)) return setError(GDbTableInUse);
  return execute("DROP TABLE " + PgTableName::of(tableName).quoted());
}

// An index that cannot be made is logged; the table is good without it.
void GPostgresqlDatabase::createIndexes(const std::string& table, const GDbStructure& structure) {
  std::set<std::string> keyColumns;
  for (const GDbField& field : structure.getFields())
    if (field.isKey()) keyColumns.insert(field.getName());
  const Names primaryKey = primaryKeyOf(structure);
  if (primaryKey.size() == 1) keyColumns.erase(primaryKey.front());

  for (const GDbIndex& index : structure.getIndices()) {
    const Names columns = splitColumns(index.getColumns());
    if (columns.size() == 1) keyColumns.erase(columns.front());
    if (columns.empty())
      logLine("Invalid index column specification \"" + index.getColumns() + "\" for index \"" +
              index.getName() + "\" of table \"" + table + "\" of database \"" + getName() + "\".");
    else if (isPrimaryKey(columns, primaryKey))
      logLine("Index \"" + index.getName() + "\" of table \"" + table + "\" of database \"" +
              getName() + "\" ignored (identical with primary key).");
    else
      createIndex(
          table, index.getName() + "_idx_", index.isUnique(),
          quotedList(columns) + (index.isDescending() && columns.size() == 1 ? " DESC" : ""));
  }
  for (const std::string& column : keyColumns)
    createIndex(table, column + "_idx", false, quotedIdentifier(column));
}

// Within a transaction a savepoint keeps a failure from taking the table along.
void GPostgresqlDatabase::createIndex(const std::string& table, const std::string& suffix,
                                      bool unique, const std::string& columns) {
  const PgTableName owner = PgTableName::of(table);
  const std::string index = owner.table + "_" + suffix;
  const bool nested = server->inTransaction();
  if (nested) beginTransaction(-2);
  const GDbStatus status =
      execute(std::string("CREATE ") + (unique ? "UNIQUE " : "") + "INDEX " +
              quotedIdentifier(index) + " ON " + owner.quoted() + " (" + columns + ")");
  if (nested) endTransaction(status == GDbNoError);
  if (status != GDbNoError)
    logLine("Failed to create index \"" + index + "\" on table \"" + table + "\" of database \"" +
            getName() + "\": " + getLastError().getText());
}
