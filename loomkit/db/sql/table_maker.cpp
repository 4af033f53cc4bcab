// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/table_maker.h"

#include <algorithm>

#include "loomkit/text/string_util.h"

namespace loomkit {

ColumnNames indexColumns(const std::string& columns) {
  ColumnNames names;
  gSplit(columns, ", ", &names, true);
  if (names.back().empty()) names.pop_back();  // the last field is kept even when empty
  return names;
}

ColumnNames primaryKeyOf(const GDbStructure& structure) {
  ColumnNames names;
  for (const GDbField& field : structure.getFields())
    if (field.isPrimKey()) names.push_back(field.getName());
  return names;
}

bool isPrimaryKey(const ColumnNames& columns, const ColumnNames& primaryKey) {
  return columns.size() == primaryKey.size() &&
         std::all_of(columns.begin(), columns.end(), [&](const std::string& column) {
           return std::find(primaryKey.begin(), primaryKey.end(), column) != primaryKey.end();
         });
}

std::string quotedList(const GSqlDatabaseImpl& database, const ColumnNames& names) {
  std::string list;
  for (const std::string& name : names)
    list += (list.empty() ? "" : ", ") + database.quoteName(name);
  return list;
}

std::string TableMaker::statement(const std::string& name, const GDbStructure& structure) const {
  std::string columns;
  for (const GDbField& field : structure.getFields()) {
    if (!columns.empty()) columns += ", ";
    columns += database->quoteName(field.getName()) + " " + sqlTypeName(field.getType());
  }
  const ColumnNames primaryKey = primaryKeyOf(structure);
  if (!primaryKey.empty()) columns += ", PRIMARY KEY(" + quotedList(*database, primaryKey) + ")";
  return "CREATE TABLE " + database->quoteTable(name) + " (" + columns + ");";
}

GDbStatus TableMaker::make(const std::string& name, const GDbStructure* structure,
                           GDbTable** table) const {
  if (table == nullptr) return database->setError(GDbInvalidArgument);
  *table = nullptr;
  if (structure == nullptr) return database->setError(GDbInvalidArgument);
  const GDbStatus status = database->tableExists(name);
  if (status == GDbNoError) return database->setError(GDbTableExists);
  if (status != GDbInvalidTableName) return status;
  for (const GDbField& field : structure->getFields())
    if (sqlTypeName(field.getType()) == nullptr) return database->setError(GDbInvalidFieldType);
  return execute(statement(name, *structure));
}

}  // namespace loomkit
