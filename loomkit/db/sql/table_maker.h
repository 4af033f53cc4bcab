// SPDX-License-Identifier: MIT
// What SQL drivers share when they create a table: its statement, and what is to be
// known of its keys and indexes. Private to the library.
//
//   const TableMaker maker{this, sqlTypeName, [this](const auto& sql) { return execute(sql); }};
//   GDbStatus status = maker.make(name, structure, table);
//   if (status == GDbNoError) ...   // the indexes, then openTable()
#ifndef LOOMKIT_DB_SQL_TABLE_MAKER_H
#define LOOMKIT_DB_SQL_TABLE_MAKER_H

#include <functional>
#include <string>
#include <vector>

#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/structure.h"

namespace loomkit {

/// Names of columns.
using ColumnNames = std::vector<std::string>;

/// The columns of an index, split at any run of commas and blanks.
ColumnNames indexColumns(const std::string& columns);

/// The columns of the primary key, in the order of the structure.
ColumnNames primaryKeyOf(const GDbStructure& structure);

/// Whether an index over `columns` has those of the primary key, in whatever order.
bool isPrimaryKey(const ColumnNames& columns, const ColumnNames& primaryKey);

/// The names as the database's quoteName() gives them, with commas between.
std::string quotedList(const GSqlDatabaseImpl& database, const ColumnNames& names);

/// Creates tables without their indexes. It owns nothing.
struct TableMaker {
  GSqlDatabaseImpl* database;
  /// What stands behind a column's name, and may be empty; null: no column can have the
  /// type.
  const char* (*sqlTypeName)(GDbFieldType type);
  /// Executes a statement and notes its failure as the database's last error.
  std::function<GDbStatus(const std::string& statement)> execute;

  /// Sets `*table` to null and creates the table `name`, as the first part of
  /// GDbDatabase::createTable(), whose pointers may be null. GDbTableExists: there is
  /// such a table. GDbInvalidFieldType: a column has no type.
  GDbStatus make(const std::string& name, const GDbStructure* structure, GDbTable** table) const;

 private:
  [[nodiscard]] std::string statement(const std::string& name, const GDbStructure& structure) const;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_TABLE_MAKER_H
