// SPDX-License-Identifier: MIT
// GSqlQuery: a handle on an SQL statement.
//
//   GSqlQuery query(database, "SELECT name FROM parts WHERE id = ?;");
//   query.bindInt(0, 17);
//   if (query.exec() == GDbNoError && query.next() == GDbNoError) {
//     std::string name;
//     query.getText(0, &name);
//   }
//
// A query is inactive, then active by exec(), until reset() or a failure.
// first() and next() move onto the rows. Parameters and columns count from 0.
#ifndef LOOMKIT_DB_SQL_SQL_QUERY_H
#define LOOMKIT_DB_SQL_SQL_QUERY_H

#include <cstdint>
#include <functional>
#include <string>

#include "loomkit/db/record_set.h"
#include "loomkit/db/sql/sql_error.h"
#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GSqlDatabase;
class GSqlDatabaseImpl;
class GSqlQueryData;

/// A light handle on a statement; copies share the statement and its state. A
/// handle whose database has closed, and a null handle, answer GDbNotOpen.
///
/// Each call returns its status; the driver's own words are in getLastError().
/// Binding is refused with GDbQueryActive while the query is active.
class LOOMKIT_API GSqlQuery {
 public:
  /// The count of bindText() that means "to the end": all bits set.
  static constexpr unsigned npos = 0xFFFFFFFF;

  /// The null handle.
  GSqlQuery();
  GSqlQuery(const GSqlQuery& other);
  /// A query without a statement, and one with its text, which is not prepared
  /// yet. The null handle when `database` is null.
  GSqlQuery(GSqlDatabase* database);
  GSqlQuery(GSqlDatabase* database, const std::string& statement);
  GSqlQuery& operator=(const GSqlQuery& other);
  ~GSqlQuery();

  /// Lets go of the statement: a null handle from now on.
  void clear();

  /// Null after the database has closed, and for a null handle.
  [[nodiscard]] GSqlDatabase* getSqlDatabase() const;
  /// The statement's text; empty for a null handle.
  [[nodiscard]] const std::string& getStatement() const;
  /// Whether this is a null handle.
  [[nodiscard]] bool isNull() const { return data == nullptr; }
  /// Whether the statement was executed and not reset since.
  [[nodiscard]] bool isActive() const;
  /// Whether the statement yields columns. Asking prepares it.
  [[nodiscard]] bool isSelect() const;
  /// Whether the query is on a row.
  [[nodiscard]] bool isValid() const;
  /// Whether rows can only be moved over forwards; true for a null handle.
  [[nodiscard]] bool isForwardOnly() const;
  /// Of a null handle: GDbQueryNotInitialized.
  [[nodiscard]] const GSqlError& getLastError() const;

  /// Give the parameter `index` its value for the executions to come.
  GDbStatus bindInt(int index, int value);
  GDbStatus bindInt64(int index, std::int64_t value);
  GDbStatus bindDouble(int index, double value);
  /// `length` -1: to the terminator. GDbInvalidArgument: `text` is null. Without
  /// `copy` the text may have to stay valid until the query is done with it; that
  /// is the driver's to say.
  GDbStatus bindText(int index, const char* text, int length, bool copy);
  /// Binds a copy of `count` bytes of `text` from `pos` on, clipped to its end.
  /// With `npos` the text goes from `pos` to the end, or to a NUL before it.
  /// GDbInvalidArgument when `pos` is beyond the end.
  GDbStatus bindText(int index, const std::string& text, unsigned pos, unsigned count);
  /// Null `bytes` of size 0 bind a NULL; of any other size they are refused with
  /// GDbInvalidArgument. `copy` as with bindText().
  GDbStatus bindBlob(int index, void* bytes, unsigned size, bool copy);
  GDbStatus bindNull(int index);
  /// Makes every parameter NULL. An active query is reset by it.
  GDbStatus clearBindings();

  /// Makes the query inactive. Its parameters keep their values.
  GDbStatus reset();
  /// Has the statement compiled, which also exec() does when it must. The second
  /// form gives the query another text first, whatever happens next.
  GDbStatus prepare();
  GDbStatus prepare(const std::string& statement);
  /// Executes the statement. Its first row is reached by first() or next().
  GDbStatus exec();
  GDbStatus exec(const std::string& statement);

  /// Extension: executes the statement `count` times, with the parameters that
  /// `bind(i)` gives it for time i through this handle. The first failure ends
  /// the call; what was executed before it stays. An SQL server is sent many at
  /// once, so that its distance counts once for all of them.
  GDbStatus execMany(unsigned count, const std::function<GDbStatus(unsigned)>& bind);
  /// Extension: a query that reads a whole table, for GSqlTable.
  static GSqlQuery forScan(GSqlDatabaseImpl* database, const std::string& statement);

  /// Moves. With `record`, the row is fetched too, and the caller owns it; null
  /// when the move fails. GDbNoMoreRecords: behind the last row.
  GDbStatus first(GDbRecord** record = nullptr);
  GDbStatus last(GDbRecord** record = nullptr);
  GDbStatus next(GDbRecord** record = nullptr);
  GDbStatus previous(GDbRecord** record = nullptr);
  GDbStatus seek(int position, bool relative, GDbRecord** record = nullptr);

  /// Read a column of the current row, without conversion. A failure leaves 0,
  /// null or an empty text behind.
  GDbStatus isNull(int column, bool* result);
  GDbStatus getInt(int column, int* value);
  GDbStatus getInt64(int column, std::int64_t* value);
  GDbStatus getDouble(int column, double* value);
  GDbStatus getText(int column, std::string* value);
  /// The bytes are the driver's and valid until the next move.
  GDbStatus getBlob(int column, const void** bytes, unsigned* size);

  /// Extension: how many columns the result has, 0 for a statement without one.
  /// Asking prepares the statement. GDbNoResult: the driver cannot tell.
  GDbStatus getNumColumns(int* count);
  /// Extension: the name of a column of the result, as AS gives it. The failures
  /// are those of getNumColumns(); GDbInvalidArgument: there is no such column.
  GDbStatus getColumnName(int column, std::string* name);
  /// Extension: a text of the current row with all its bytes. getText() ends at
  /// the first NUL of them. The failures are those of getText().
  GDbStatus getWholeText(int column, std::string* value);

  /// Allows moving backwards with false, where the driver can.
  GDbStatus setForwardOnly(bool forward);
  /// How many rows the executed statement has changed; -1 when that is not known.
  int getNumRowsAffected();
  /// How many rows the result has; -1 when that is not known.
  int getSize();

  /// Appends all rows of an executed query to `result`.
  GDbStatus getResult(GDbRecordSet* result);
  /// The current row, kept by the query until the next move; null on failure.
  const GDbRecord* getRecord() const;

 private:
  template <typename Call>
  GDbStatus forward(Call call) const;
  template <typename Call>
  GDbStatus forwardBind(Call call) const;
  template <typename Call>
  GDbStatus move(GDbRecord** record, Call call) const;

  [[nodiscard]] GSqlDatabaseImpl* getSqlDatabaseImpl() const;
  GDbStatus setSqlError(GDbStatus status) const;
  void setSqlError(const GSqlError& error) const;

  GSqlQueryData* data = nullptr;
};

#endif  // LOOMKIT_DB_SQL_SQL_QUERY_H
