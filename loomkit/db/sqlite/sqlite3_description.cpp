// SPDX-License-Identifier: MIT
// What a SQLite statement says of its columns and parameters.
#include <cstring>

#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sql/sql_description.h"
#include "loomkit/db/sqlite/declared_type.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/db/sqlite/sqlite3_query_data.h"

namespace {

const loomkit::Sqlite3Api& api() { return loomkit::sqlite3Library().api; }

sqlite3_stmt* stmtOf(GSqlQueryData* query) {
  return static_cast<GSqlite3QueryData*>(query)->getHandle();
}

// A text of SQLite's in the local encoding; empty when there is none.
std::string localText(const char* utf8) {
  std::string text;
  if (utf8 != nullptr) loomkit::fromUtf8(utf8, static_cast<int>(std::strlen(utf8)), &text);
  return text;
}

// Whether the column comes straight from one of a table that is declared NOT NULL.
bool isNotNull(sqlite3* db, sqlite3_stmt* stmt, int column) {
  const loomkit::Sqlite3Api& sqlite = api();
  if (sqlite.column_database_name == nullptr || sqlite.column_table_name == nullptr ||
      sqlite.column_origin_name == nullptr || sqlite.table_column_metadata == nullptr)
    return false;
  const char* database = sqlite.column_database_name(stmt, column);
  const char* table = sqlite.column_table_name(stmt, column);
  const char* origin = sqlite.column_origin_name(stmt, column);
  if (table == nullptr || origin == nullptr) return false;
  int notNull = 0;
  const int code = sqlite.table_column_metadata(db, database, table, origin, nullptr, nullptr,
                                                &notNull, nullptr, nullptr);
  return code == loomkit::sqliteOk && notNull != 0;
}

}  // namespace

// A library without the function cannot tell the names.
GDbStatus GSqlite3Database::getNumColumns(GSqlQueryData* query, int* count) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  if (api().column_name == nullptr) return setError(GDbNoResult);
  *count = api().column_count(stmtOf(query));
  return GDbNoError;
}

GDbStatus GSqlite3Database::getColumnName(GSqlQueryData* query, int column, std::string* result) {
  int count = 0;
  const GDbStatus status = getNumColumns(query, &count);
  if (status != GDbNoError) return status;
  if (column < 0 || column >= count) return setError(GDbInvalidArgument);
  const char* utf8 = api().column_name(stmtOf(query), column);
  if (utf8 == nullptr) return setError(GDbOutOfMemory);
  *result = localText(utf8);
  return GDbNoError;
}

GDbStatus GSqlite3Database::getParameterNames(GSqlQueryData* query,
                                              std::vector<std::string>* names) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  if (api().bind_parameter_count == nullptr || api().bind_parameter_name == nullptr)
    return setError(GDbNoResult);
  const int count = api().bind_parameter_count(stmtOf(query));
  for (int number = 1; number <= count; ++number)
    names->push_back(localText(api().bind_parameter_name(stmtOf(query), number)));
  return GDbNoError;
}

GDbStatus GSqlite3Database::describe(GSqlQueryData* query, GSqlDescription* description) {
  int count = 0;
  GDbStatus status = getNumColumns(query, &count);
  if (status == GDbNoError) status = getParameterNames(query, &description->parameters);
  if (status != GDbNoError) return status;
  description->structure = GDbStructure(true);
  sqlite3_stmt* stmt = stmtOf(query);
  for (int i = 0; i < count; ++i) {
    GDbCatalog::Column column;
    column.declaredType = localText(api().column_decltype(stmt, i));
    column.nullable = !isNotNull(db, stmt, i);
    const GDbFieldType type = loomkit::sqliteAffinity(column.declaredType.c_str());
    description->structure.appendField(
        GDbField(localText(api().column_name(stmt, i)), type, 0, 0, false, false));
    description->columns.push_back(column);
  }
  return GDbNoError;
}
