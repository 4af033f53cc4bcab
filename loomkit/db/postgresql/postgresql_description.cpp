// SPDX-License-Identifier: MIT
// What a PostgreSQL statement says of its columns and parameters. The server sends
// numbers of types and tables with it, which its catalog has the words for.
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/postgresql_query_data.h"
#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sql/sql_description.h"

using loomkit::PgColumn;

namespace {

// A column of a table has the declared type that it has there, which may be a domain.
// Four arrays tell of all columns at once. Numbers of types and tables have no sign,
// and travel as 64 bits.
constexpr const char* describeStatement =
    "SELECT format_type(COALESCE(a.atttypid, c.type::oid),"
    " CASE WHEN a.attnum IS NULL THEN c.modifier ELSE a.atttypmod END),"
    " COALESCE(a.attnotnull, false)::int"
    " FROM unnest(CAST(? AS int8[]), CAST(? AS int4[]), CAST(? AS int8[]), CAST(? AS int2[]))"
    " WITH ORDINALITY AS c(type, modifier, tab, number, place)"
    " LEFT JOIN pg_catalog.pg_attribute a"
    " ON a.attrelid = c.tab::oid AND a.attnum = c.number AND c.number > 0"
    " ORDER BY c.place";

GPostgresqlQueryData* dataOf(GSqlQueryData* query) {
  return static_cast<GPostgresqlQueryData*>(query);
}

std::string localText(const std::string& utf8) {
  std::string text;
  loomkit::fromUtf8(utf8.c_str(), static_cast<int>(utf8.size()), &text);
  return text;
}

// The numbers that `get` takes of the columns, as the text of an array.
template <typename Get>
std::string arrayOf(const std::vector<PgColumn>& columns, Get get) {
  std::string text = "{";
  for (const PgColumn& column : columns) {
    if (text.size() > 1) text += ',';
    text += std::to_string(get(column));
  }
  return text + '}';
}

GDbStatus bindColumns(GSqlQuery* query, const std::vector<PgColumn>& columns) {
  const std::string arrays[] = {
      arrayOf(columns, [](const PgColumn& column) { return column.type; }),
      arrayOf(columns, [](const PgColumn& column) { return column.modifier; }),
      arrayOf(columns, [](const PgColumn& column) { return column.table; }),
      arrayOf(columns, [](const PgColumn& column) { return column.number; })};
  GDbStatus status = GDbNoError;
  for (int i = 0; i < 4 && status == GDbNoError; ++i)
    status = query->bindText(i, arrays[i].c_str(), -1, true);
  return status;
}

GDbStatus readColumn(GSqlQuery* query, GDbCatalog::Column* column) {
  GDbStatus status = query->next();
  int notNull = 0;
  if (status == GDbNoError) status = query->getText(0, &column->declaredType);
  if (status == GDbNoError) status = query->getInt(1, &notNull);
  column->nullable = notNull == 0;
  return status;
}

}  // namespace

GDbStatus GPostgresqlDatabase::getNumColumns(GSqlQueryData* query, int* count) {
  const GDbStatus status = prepare(query);
  if (status == GDbNoError) *count = static_cast<int>(dataOf(query)->getColumns().size());
  return status;
}

GDbStatus GPostgresqlDatabase::getColumnName(GSqlQueryData* query, int column,
                                             std::string* result) {
  int count = 0;
  const GDbStatus status = getNumColumns(query, &count);
  if (status != GDbNoError) return status;
  if (column < 0 || column >= count) return setError(GDbInvalidArgument);
  *result = localText(dataOf(query)->getColumns()[static_cast<std::size_t>(column)].name);
  return GDbNoError;
}

GDbStatus GPostgresqlDatabase::getParameterNames(GSqlQueryData* query,
                                                 std::vector<std::string>* names) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  for (const std::string& utf8 : dataOf(query)->getParameterNames())
    names->push_back(localText(utf8));
  return GDbNoError;
}

GDbStatus GPostgresqlDatabase::describe(GSqlQueryData* query, GSqlDescription* description) {
  GDbStatus status = getParameterNames(query, &description->parameters);
  if (status != GDbNoError) return status;
  const std::vector<PgColumn> columns = dataOf(query)->getColumns();
  description->structure = GDbStructure(true);
  for (const PgColumn& column : columns)
    description->structure.appendField(
        GDbField(localText(column.name), loomkit::pgType(column.type).field, 0, 0, false, false));
  if (columns.empty()) return GDbNoError;
  GSqlQuery catalog(this, describeStatement);
  status = bindColumns(&catalog, columns);
  if (status == GDbNoError) status = catalog.exec();
  for (std::size_t i = 0; i < columns.size() && status == GDbNoError; ++i)
    status = readColumn(&catalog, &description->columns.emplace_back());
  return status;
}
