// SPDX-License-Identifier: MIT
// Tables: their structure, creating and deleting them.
#include <set>
#include <string>

#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/postgresql_catalog.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/table_name.h"
#include "loomkit/db/sql/log_line.h"
#include "loomkit/db/sql/table_maker.h"

using loomkit::ColumnNames;
using loomkit::logLine;
using loomkit::PgTableName;

namespace {

// An unsigned integer needs "bigint", because "integer" has 32 bits with a sign.
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
  const loomkit::TableMaker maker{this, sqlTypeName,
                                  [this](const std::string& text) { return execute(text); }};
  const GDbStatus status = maker.make(tableName, structure, table);
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
  const ColumnNames primaryKey = loomkit::primaryKeyOf(structure);
  if (primaryKey.size() == 1) keyColumns.erase(primaryKey.front());

  for (const GDbIndex& index : structure.getIndices()) {
    const ColumnNames columns = loomkit::indexColumns(index.getColumns());
    if (columns.size() == 1) keyColumns.erase(columns.front());
    if (columns.empty())
      logLine("Invalid index column specification \"" + index.getColumns() + "\" for index \"" +
              index.getName() + "\" of table \"" + table + "\" of database \"" + getName() + "\".");
    else if (loomkit::isPrimaryKey(columns, primaryKey))
      logLine("Index \"" + index.getName() + "\" of table \"" + table + "\" of database \"" +
              getName() + "\" ignored (identical with primary key).");
    else
      createIndex(table, index.getName() + "_idx_", index.isUnique(),
                  loomkit::quotedList(*this, columns) +
                      (index.isDescending() && columns.size() == 1 ? " DESC" : ""));
  }
  for (const std::string& column : keyColumns)
    createIndex(table, column + "_idx", false, quoteName(column));
}

// Within a transaction, a failed statement makes all later ones fail, also the making of
// the table. A savepoint around each index prevents that.
void GPostgresqlDatabase::createIndex(const std::string& table, const std::string& suffix,
                                      bool unique, const std::string& columns) {
  const PgTableName owner = PgTableName::of(table);
  const std::string index = owner.table + "_" + suffix;
  const bool nested = server->inTransaction();
  if (nested) beginTransaction(-2);
  const GDbStatus status =
      execute(std::string("CREATE ") + (unique ? "UNIQUE " : "") + "INDEX " + quoteName(index) +
              " ON " + owner.quoted() + " (" + columns + ")");
  if (nested) endTransaction(status == GDbNoError);
  if (status != GDbNoError)
    logLine("Failed to create index \"" + index + "\" on table \"" + table + "\" of database \"" +
            getName() + "\": " + getLastError().getText());
}
