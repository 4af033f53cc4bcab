// SPDX-License-Identifier: MIT
// RowSource: the rows of a table or of an SQL statement, one after another and
// exact.
//
//   const std::unique_ptr<RowSource> rows = host.rows("parts", "");
//   Row row;
//   while (rows->next(&row)) ...
#ifndef LOOM_ROW_SOURCE_H
#define LOOM_ROW_SOURCE_H

#include <memory>
#include <string>
#include <vector>

#include "cell.h"
#include "command.h"
#include "loomkit/db/record_set.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table.h"

namespace loom {

/// Ends a command because of one row, which --skip-errors passes over.
class RowFailure : public Failure {
 public:
  using Failure::Failure;
};

/// Rows that are read forwards, once. Throws Failure where they cannot be read,
/// and RowFailure where only the row at hand cannot: the next call goes on behind
/// it.
class RowSource {
 public:
  virtual ~RowSource() = default;
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;

  [[nodiscard]] const std::vector<Column>& columns() const { return fields; }
  /// The name to be used in messages.
  [[nodiscard]] const std::string& name() const { return title; }
  /// How many rows were read, those that failed as well.
  [[nodiscard]] unsigned long number() const { return count; }

  /// Reads the next row into `*row`, one cell for each column; false at the end.
  bool next(Row* row);

 protected:
  RowSource(std::string itsName, std::vector<Column> itsColumns)
      : fields(std::move(itsColumns)), title(std::move(itsName)) {}

  virtual bool read(Row* row) = 0;

  /// "parts: row 3, column price: REASON".
  [[nodiscard]] std::string place(const std::string& column) const;

  std::vector<Column> fields;

 private:
  std::string title;
  unsigned long count = 0;
};

/// The rows of an executed query. A failure tells the database's own words.
[[nodiscard]] std::unique_ptr<RowSource> rowsOfQuery(const std::string& name,
                                                     const GSqlQuery& query,
                                                     std::vector<Column> columns);

/// The records of a table, which it takes over. `positions` are the numbers of the
/// table's fields that the columns are. A text in a field is read as its column's type,
/// for tables that are opened with texts.
[[nodiscard]] std::unique_ptr<RowSource> rowsOfTable(std::unique_ptr<GDbTable> table,
                                                     std::vector<Column> columns,
                                                     std::vector<int> positions);

/// The same of records that were looked up in the table `name`.
[[nodiscard]] std::unique_ptr<RowSource> rowsOfRecords(const std::string& name,
                                                       std::unique_ptr<GDbRecordSet> records,
                                                       std::vector<Column> columns,
                                                       std::vector<int> positions);

/// The value that a text stands for in a column of `type`. False when it is none.
[[nodiscard]] bool readCell(const std::string& text, GDbFieldType type, Cell* cell);

/// Gives a parameter of a query a value as it is.
GDbStatus bindCell(GSqlQuery& query, int index, const Cell& cell);

/// The name of a type in messages and in --columns: "int", "uint", "float",
/// "string", "blob"; "none" for what has no type.
[[nodiscard]] std::string_view typeName(GDbFieldType type);

/// Throws a Failure of a status with the words of the database behind ours, where
/// `error` is of that status.
void require(GDbStatus status, const std::string& what, const GSqlError& error);
/// The same without words of a database.
void require(GDbStatus status, const std::string& what);

}  // namespace loom

#endif  // LOOM_ROW_SOURCE_H
