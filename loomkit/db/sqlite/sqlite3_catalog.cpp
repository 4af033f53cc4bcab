// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_catalog.h"

#include "loomkit/db/sql/each_row.h"
#include "loomkit/db/sqlite/declared_type.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/text/string_util.h"

namespace loomkit {
namespace {

// A pragma takes a name as a quoted text, in which a quote is doubled.
std::string quotedName(std::string name) {
  gReplace(&name, "\"", "\"\"");
  return '"' + name + '"';
}

// forEachRow() of each_row.h, for a statement. A pragma that has nothing to say is a
// statement without a result.
template <typename Use>
GDbStatus forEachRow(GSqlDatabase* database, const std::string& statement, Use use) {
  GSqlQuery query(database, statement);
  const GDbStatus status = loomkit::forEachRow(&query, use);
  return status == GDbNoResult ? GDbNoError : status;
}

// Columns of the rows of the pragmas.
enum TableInfo { columnName = 1, columnType = 2, columnNotNull = 3, columnKey = 5 };
enum IndexList { indexName = 1, indexUnique = 2, indexOrigin = 3, indexPartial = 4 };
enum IndexInfo { indexedColumn = 2, indexedDescending = 3, indexedIsKey = 5 };

GDbStatus addColumn(GSqlQuery& row, GDbCatalog::Description* description) {
  std::string name;
  GDbCatalog::Column column;
  int notNull = 0;
  int key = 0;
  GDbStatus status = row.getText(columnName, &name);
  if (status == GDbNoError) status = row.getText(columnType, &column.declaredType);
  if (status == GDbNoError) status = row.getInt(columnNotNull, &notNull);
  if (status == GDbNoError) status = row.getInt(columnKey, &key);
  if (status != GDbNoError) return status;
  column.nullable = notNull == 0;
  const GDbFieldType type = sqliteAffinity(column.declaredType.c_str());
  description->structure.appendField(GDbField(name, type, 0, 0, key != 0, false));
  description->columns.push_back(column);
  return GDbNoError;
}

// What the list of indexes says of one of them.
struct ListedIndex {
  std::string name;
  bool unique = false;
  bool useful = false;  // made for its own sake, and over all rows
};

GDbStatus readIndex(GSqlQuery& row, ListedIndex* index) {
  std::string origin;
  int unique = 0;
  int partial = 0;
  GDbStatus status = row.getText(indexName, &index->name);
  if (status == GDbNoError) status = row.getInt(indexUnique, &unique);
  if (status == GDbNoError) status = row.getText(indexOrigin, &origin);
  if (status == GDbNoError) status = row.getInt(indexPartial, &partial);
  index->unique = unique != 0;
  index->useful = origin != "pk" && partial == 0;
  return status;
}

// Adds the index with its columns, unless one of them is an expression.
GDbStatus addIndex(GSqlDatabase* database, const ListedIndex& index, GDbStructure* structure) {
  std::string columns;
  bool descending = false;
  bool named = true;
  const GDbStatus status = forEachRow(
      database, "PRAGMA index_xinfo(" + quotedName(index.name) + ");", [&](GSqlQuery& row) {
        int isKey = 0;
        int isDescending = 0;
        GDbStatus read = row.getInt(indexedIsKey, &isKey);
        if (read == GDbNoError) read = row.getInt(indexedDescending, &isDescending);
        if (read != GDbNoError || isKey == 0) return read;  // behind the key stands the row's id
        std::string column;
        read = row.getText(indexedColumn, &column);
        named = named && read != GDbColumnIsNull;
        descending = descending || isDescending != 0;
        columns += (columns.empty() ? "" : ",") + column;
        return read == GDbColumnIsNull ? GDbNoError : read;
      });
  if (status == GDbNoError && named)
    structure->addIndex(GDbIndex(index.name, columns, index.unique, descending));
  return status;
}

GDbStatus addIndexes(GSqlDatabase* database, const std::string& table, GDbStructure* structure) {
  std::vector<ListedIndex> indexes;
  GDbStatus status =
      forEachRow(database, "PRAGMA index_list(" + quotedName(table) + ");",
                 [&](GSqlQuery& row) { return readIndex(row, &indexes.emplace_back()); });
  for (const ListedIndex& index : indexes)
    if (status == GDbNoError && index.useful) status = addIndex(database, index, structure);
  return status;
}

}  // namespace

bool Sqlite3Catalog::serves(const GDbDatabase& database) const {
  return dynamic_cast<const GSqlite3Database*>(&database) != nullptr;
}

GDbStatus Sqlite3Catalog::appendTables(GDbDatabase* database, std::vector<Table>* tables) const {
  return forEachRow(
      static_cast<GSqlite3Database*>(database),
      "SELECT name, type = 'view' FROM sqlite_master WHERE type IN ('table', 'view');",
      [&](GSqlQuery& row) {
        Table& table = tables->emplace_back();
        int isView = 0;
        GDbStatus status = row.getText(0, &table.name);
        if (status == GDbNoError) status = row.getInt(1, &isView);
        if (isView != 0) table.kind = Kind::view;
        return status;
      });
}

GDbStatus Sqlite3Catalog::describe(GDbDatabase* database, const std::string& name,
                                   Description* description) const {
  auto* sqlite = static_cast<GSqlite3Database*>(database);
  description->structure = GDbStructure(true);
  const GDbStatus status = forEachRow(sqlite, "PRAGMA table_info(" + quotedName(name) + ");",
                                      [&](GSqlQuery& row) { return addColumn(row, description); });
  if (status != GDbNoError) return status;
  if (description->columns.empty()) return GDbInvalidTableName;
  return addIndexes(sqlite, name, &description->structure);
}

}  // namespace loomkit
