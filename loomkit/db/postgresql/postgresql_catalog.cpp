// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/postgresql_catalog.h"

#include <cstdint>
#include <optional>

#include "loomkit/db/postgresql/column_value.h"
#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/postgresql/table_name.h"
#include "loomkit/db/sql/each_row.h"

namespace loomkit {
namespace {

constexpr const char* listStatement =
    "SELECT n.nspname::text, c.relname::text, pg_table_is_visible(c.oid)::int,"
    " (c.relkind IN ('v', 'm'))::int"
    " FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace"
    " WHERE c.relkind IN ('r', 'p', 'f', 'v', 'm')"
    " AND n.nspname NOT IN ('pg_catalog', 'information_schema', 'crdb_internal')"
    " AND n.nspname NOT LIKE 'pg\\_toast%' AND n.nspname NOT LIKE 'pg\\_temp\\_%'";

// Without a schema, only tables that the search path shows are found. An oid is an
// unsigned number of 32 bits, so it is asked for as one of 64 bits.
constexpr const char* findStatement =
    "SELECT c.oid::int8"
    " FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace"
    " WHERE c.relkind IN ('r', 'p', 'f', 'v', 'm') AND c.relname = ?"
    " AND (n.nspname = ? OR (? = '' AND pg_table_is_visible(c.oid)))";

// A column whose type is a domain is read as the type below the domain.
constexpr const char* columnsStatement =
    "SELECT a.attname::text,"
    " (CASE WHEN t.typtype = 'd' THEN t.typbasetype ELSE a.atttypid END)::int8,"
    " (CASE WHEN t.typtype = 'd' THEN t.typtypmod ELSE a.atttypmod END)::int4,"
    " a.attnotnull::int, format_type(a.atttypid, a.atttypmod),"
    " (EXISTS (SELECT 1 FROM pg_catalog.pg_index i WHERE i.indrelid = a.attrelid"
    " AND i.indisprimary AND a.attnum = ANY (i.indkey)))::int"
    " FROM pg_catalog.pg_attribute a JOIN pg_catalog.pg_type t ON t.oid = a.atttypid"
    " WHERE a.attrelid = CAST(CAST(? AS int8) AS oid) AND a.attnum > 0 AND NOT a.attisdropped"
    " ORDER BY a.attnum";

// Gives a row for each column of each index. The lowest bit of a column's option says
// that it is descending.
constexpr const char* indexesStatement =
    "SELECT c.relname::text, a.attname::text, i.indisunique::int,"
    " (i.indoption[k.place - 1] & 1)::int"
    " FROM pg_catalog.pg_index i JOIN pg_catalog.pg_class c ON c.oid = i.indexrelid"
    " CROSS JOIN LATERAL unnest(i.indkey) WITH ORDINALITY AS k(attnum, place)"
    " JOIN pg_catalog.pg_attribute a ON a.attrelid = i.indrelid AND a.attnum = k.attnum"
    " WHERE i.indrelid = CAST(CAST(? AS int8) AS oid) AND NOT i.indisprimary"
    " AND i.indpred IS NULL AND i.indexprs IS NULL AND k.place <= i.indnkeyatts"
    " ORDER BY c.relname, k.place";

GDbStatus findTable(GPostgresqlDatabase* database, const PgTableName& name,
                    std::optional<std::int64_t>* oid) {
  GSqlQuery query(database, findStatement);
  const auto bindName = [&](int index, const std::string& part) {
    return query.bindText(index, part.data(), static_cast<int>(part.size()), true);
  };
  GDbStatus status = bindName(0, name.table);
  if (status == GDbNoError) status = bindName(1, name.schema);
  if (status == GDbNoError) status = bindName(2, name.schema);
  if (status != GDbNoError) return status;
  return forEachRow(&query, [&](GSqlQuery& row) { return row.getInt64(0, &oid->emplace()); });
}

// Stores the width and the decimal digits of a column, as GDbField has them.
void sizesOf(GDbFieldType type, const std::string& declared, int modifier, int* width,
             int* decDigits) {
  constexpr int header = 4;  // a modifier is larger by it
  *width = type == GDbFieldString ? -1 : 0;
  *decDigits = type == GDbFieldFloat ? -1 : 0;
  if (modifier < header) return;
  if (declared.starts_with("character")) *width = modifier - header;
  if (!declared.starts_with("numeric")) return;
  *width = (modifier - header) >> 16;
  *decDigits = (modifier - header) & 0x7FF;
}

GDbStatus addColumn(GSqlQuery& row, GDbCatalog::Description* description) {
  std::string name;
  GDbCatalog::Column column;
  std::int64_t oid = 0;
  int modifier = 0;
  int notNull = 0;
  int primary = 0;
  GDbStatus status = row.getText(0, &name);
  if (status == GDbNoError) status = row.getInt64(1, &oid);
  if (status == GDbNoError) status = row.getInt(2, &modifier);
  if (status == GDbNoError) status = row.getInt(3, &notNull);
  if (status == GDbNoError) status = row.getText(4, &column.declaredType);
  if (status == GDbNoError) status = row.getInt(5, &primary);
  if (status != GDbNoError) return status;
  column.nullable = notNull == 0;
  const GDbFieldType type = pgType(static_cast<PgOid>(oid)).field;
  int width = 0;
  int decDigits = 0;
  sizesOf(type, column.declaredType, modifier, &width, &decDigits);
  description->structure.appendField(GDbField(name, type, width, decDigits, primary != 0, false));
  description->columns.push_back(column);
  return GDbNoError;
}

// Gathers the rows of one index after another.
class IndexGatherer {
 public:
  explicit IndexGatherer(GDbStructure* itsStructure) : structure(itsStructure) {}

  GDbStatus add(GSqlQuery& row) {
    std::string itsName;
    std::string column;
    int isUnique = 0;
    int isDescending = 0;
    GDbStatus status = row.getText(0, &itsName);
    if (status == GDbNoError) status = row.getText(1, &column);
    if (status == GDbNoError) status = row.getInt(2, &isUnique);
    if (status == GDbNoError) status = row.getInt(3, &isDescending);
    if (status != GDbNoError) return status;
    if (itsName != name) finish();
    name = itsName;
    columns += (columns.empty() ? "" : ",") + column;
    unique = isUnique != 0;
    descending = descending || isDescending != 0;
    return GDbNoError;
  }

  void finish() {
    if (!columns.empty()) structure->addIndex(GDbIndex(name, columns, unique, descending));
    columns.clear();
    descending = false;
  }

 private:
  GDbStructure* structure;
  std::string name;
  std::string columns;
  bool unique = false;
  bool descending = false;
};

GDbStatus addIndexes(GPostgresqlDatabase* database, std::int64_t oid, GDbStructure* structure) {
  GSqlQuery query(database, indexesStatement);
  GDbStatus status = query.bindInt64(0, oid);
  if (status != GDbNoError) return status;
  IndexGatherer indexes(structure);
  status = forEachRow(&query, [&](GSqlQuery& row) { return indexes.add(row); });
  indexes.finish();
  return status;
}

}  // namespace

GDbStatus PostgresqlCatalog::read(GPostgresqlDatabase* database, const std::string& name,
                                  bool indexes, Description* description) {
  std::optional<std::int64_t> oid;
  GDbStatus status = findTable(database, PgTableName::of(name), &oid);
  if (status != GDbNoError) return status;
  if (!oid) return database->report({GDbInvalidTableName});
  description->structure = GDbStructure(true);
  GSqlQuery query(database, columnsStatement);
  status = query.bindInt64(0, *oid);
  if (status == GDbNoError)
    status = forEachRow(&query, [&](GSqlQuery& row) { return addColumn(row, description); });
  if (status != GDbNoError || !indexes) return status;
  return addIndexes(database, *oid, &description->structure);
}

bool PostgresqlCatalog::serves(const GDbDatabase& database) const {
  return dynamic_cast<const GPostgresqlDatabase*>(&database) != nullptr;
}

GDbStatus PostgresqlCatalog::appendTables(GDbDatabase* database, std::vector<Table>* tables) const {
  GSqlQuery query(static_cast<GPostgresqlDatabase*>(database), listStatement);
  return forEachRow(&query, [&](GSqlQuery& row) {
    PgTableName name;
    int visible = 0;
    int isView = 0;
    GDbStatus status = row.getText(0, &name.schema);
    if (status == GDbNoError) status = row.getText(1, &name.table);
    if (status == GDbNoError) status = row.getInt(2, &visible);
    if (status == GDbNoError) status = row.getInt(3, &isView);
    if (visible != 0) name.schema.clear();
    tables->push_back({name.plain(), isView != 0 ? Kind::view : Kind::table});
    return status;
  });
}

GDbStatus PostgresqlCatalog::describe(GDbDatabase* database, const std::string& name,
                                      Description* description) const {
  return read(static_cast<GPostgresqlDatabase*>(database), name, true, description);
}

}  // namespace loomkit
