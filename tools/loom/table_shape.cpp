// SPDX-License-Identifier: MIT
#include "table_shape.h"

#include <algorithm>

#include "console.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/text/string_util.h"

namespace loom {

namespace {

bool hasColumn(const RowSource& source, const std::string& name) {
  const std::vector<Column>& columns = source.columns();
  return std::any_of(columns.begin(), columns.end(),
                     [&](const Column& column) { return column.name == name; });
}

bool hasColumns(const RowSource& source, const std::vector<std::string>& names) {
  return std::all_of(names.begin(), names.end(),
                     [&](const std::string& name) { return hasColumn(source, name); });
}

bool hasIndex(const TableShape& shape, const std::string& name) {
  return std::any_of(shape.indexes.begin(), shape.indexes.end(),
                     [&](const GDbIndex& index) { return index.getName() == name; });
}

// The clauses of a table of SQLite that no catalog tells. A text that only looks like
// one costs nothing but a word too many.
void addClauses(const std::string& definition, std::vector<std::string>* rest) {
  constexpr std::string_view clauses[] = {"AUTOINCREMENT", "CHECK",     "COLLATE",
                                          "DEFAULT",       "GENERATED", "REFERENCES"};
  std::string upper = definition;
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  for (const std::string_view clause : clauses)
    if (upper.find(clause) != std::string::npos) rest->emplace_back(clause);
}

void addRest(const DbHost& host, const std::string& table, TableShape* shape) {
  GSqlQuery query(host.sql(),
                  "SELECT type, name, sql FROM sqlite_master WHERE tbl_name = ? AND type IN "
                  "('table', 'index', 'trigger') AND sql IS NOT NULL ORDER BY type, name;");
  require(query.bindText(0, table.c_str(), -1, true), table, query.getLastError());
  require(query.exec(), table, query.getLastError());
  enum Found { type, name, definition };
  while (query.next() == GDbNoError) {
    std::string texts[3];
    for (const int i : {type, name, definition}) query.getText(i, &texts[i]);
    if (texts[type] == "table")
      addClauses(texts[definition], &shape->rest);
    else if (!hasIndex(*shape, texts[name]))
      shape->rest.push_back(texts[type] + " " + texts[name]);
  }
}

}  // namespace

std::vector<std::string> columnsOf(const GDbIndex& index) {
  std::vector<std::string> names;
  gSplit(index.getColumns(), ",", &names);
  return names;
}

TableShape shapeOf(const DbHost& host, const RowSource& source) {
  GDbCatalog::Description description;
  host.check(GDbCatalog::describeTable(host.database(), source.name(), &description),
             source.name());
  TableShape shape;
  for (std::size_t i = 0; i < description.columns.size(); ++i) {
    const GDbField& field = description.structure.getField(static_cast<int>(i));
    if (field.isPrimKey()) shape.primaryKey.push_back(field.getName());
    // Other databases have no NULL at all, which says nothing about this column.
    if (host.sql() != nullptr && !description.columns[i].nullable &&
        hasColumn(source, field.getName()))
      shape.notNull.push_back(field.getName());
  }
  if (!hasColumns(source, shape.primaryKey)) {
    shape.rest.emplace_back("primary key");
    shape.primaryKey.clear();
  }
  for (const GDbIndex& index : description.structure.getIndices()) {
    if (hasColumns(source, columnsOf(index)))
      shape.indexes.push_back(index);
    else
      shape.rest.push_back("index " + index.getName());
  }
  if (host.isSqlite()) addRest(host, source.name(), &shape);
  // An index whose columns are not all copied is in both lists.
  std::sort(shape.rest.begin(), shape.rest.end());
  shape.rest.erase(std::unique(shape.rest.begin(), shape.rest.end()), shape.rest.end());
  return shape;
}

void reportLeftOut(const std::string& table, const std::vector<std::string>& what) {
  if (what.empty()) return;
  std::string list;
  for (const std::string& item : what) list += (list.empty() ? "" : ", ") + item;
  complain(table + ": left out: " + list);
}

}  // namespace loom
