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
#include <string_view>

#include "loomkit/db/record_set.h"
#include "loomkit/db/sql/sql_error.h"
#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

class GSqlDatabase;
class GSqlDatabaseImpl;
class GSqlQueryData;
struct GSqlDescription;

/// A light handle on a statement; copies share the statement and its state. A
/// handle whose database has closed, and a null handle, answer GDbNotOpen.
///
/// Each call returns its status; the driver's own words are in getLastError().
/// Binding is refused with GDbQueryActive while the query is active.
class LOOMKIT_API GSqlQuery {
 public:
  /// The `count` of bindText() that means "to the end": all bits set.
  static constexpr unsigned npos = 0xFFFFFFFF;

  /// The null handle, which has no statement and can be assigned one.
  GSqlQuery();
  /// Shares the statement of `other`, with its parameters, its position and its
  /// last error. What one handle does, the other one sees.
  GSqlQuery(const GSqlQuery& other);
  /// A query without a statement, whose text comes with prepare() or exec(). The
  /// database stays the caller's. The result is the null handle when `database` is
  /// null.
  GSqlQuery(GSqlDatabase* database);
  /// The same with the text of its statement, which is compiled when it is first
  /// needed. So a mistake in the text is reported by a later call.
  GSqlQuery(GSqlDatabase* database, const std::string& statement);
  /// Lets go of the own statement and shares that of `other`.
  GSqlQuery& operator=(const GSqlQuery& other);
  /// Lets go of the statement. The statement ends with the last handle on it.
  ~GSqlQuery();

  /// Lets go of the statement, so that this is a null handle from now on. Other
  /// handles on the statement keep it.
  void clear();

  /// The database of the query. No ownership comes with the pointer. Null after the
  /// database has closed, and for a null handle.
  [[nodiscard]] GSqlDatabase* getSqlDatabase() const;
  /// The statement's text; empty for a null handle. The reference is valid until
  /// the query is given another text, or its last handle goes.
  [[nodiscard]] const std::string& getStatement() const;
  /// Whether this is a null handle. A handle whose database has closed is none.
  [[nodiscard]] bool isNull() const { return data == nullptr; }
  /// Whether the statement was executed and not reset since. A query that has moved
  /// behind its last row is still active. False for a null handle.
  [[nodiscard]] bool isActive() const;
  /// Whether the statement yields columns. Asking prepares it; false also when that
  /// fails, and for a null handle.
  [[nodiscard]] bool isSelect() const;
  /// Whether the query is on a row, so that its columns can be read. It is on none
  /// directly after exec(), before the first move, nor behind the last row.
  [[nodiscard]] bool isValid() const;
  /// Whether rows can only be moved over forwards; true for a null handle.
  [[nodiscard]] bool isForwardOnly() const;
  /// The last failure of this query; a success does not clear it. The reference is
  /// valid as long as the caller holds a handle on the statement, and shows the
  /// next failure from then on. Of a null handle: GDbQueryNotInitialized.
  [[nodiscard]] const GSqlError& getLastError() const;
  /// Extension: the last failure in the database's own words, such as "no such table:
  /// parts"; empty when it has said nothing. The reference is valid until the next
  /// failure.
  [[nodiscard]] const std::string& getDatabaseMessage() const;

  /// Give the parameter `index` its value for the executions to come. Parameters
  /// count from 0 in the order of their marks, and keep their values until they are
  /// bound anew or cleared. GDbQueryActive: the query must be reset() first. A
  /// driver may prepare the statement here, so that a mistake in its text may show;
  /// an index without a parameter is the driver's to refuse.
  GDbStatus bindInt(int index, int value);
  GDbStatus bindInt64(int index, std::int64_t value);
  GDbStatus bindDouble(int index, double value);
  /// Binds `length` bytes of a text in the local encoding; -1: to the terminator.
  /// GDbInvalidArgument: `text` is null; bindNull() binds a NULL. Without `copy`
  /// the text may have to stay valid until the query is reset and bound anew, or
  /// ends; whether it must is the driver's to say.
  GDbStatus bindText(int index, const char* text, int length, bool copy);
  /// Binds a copy of `count` bytes of `text` from `pos` on, clipped to its end.
  /// With `npos` the text goes from `pos` to the end, or to a NUL before it.
  /// GDbInvalidArgument when `pos` is beyond the end.
  GDbStatus bindText(int index, const std::string& text, unsigned pos, unsigned count);
  /// Binds `size` bytes. Null `bytes` of size 0 bind a NULL; of any other size they
  /// are refused with GDbInvalidArgument. The bytes are only read, and stay the
  /// caller's; `copy` is as with bindText().
  GDbStatus bindBlob(int index, void* bytes, unsigned size, bool copy);
  /// Binds a NULL, as bindInt() binds a number.
  GDbStatus bindNull(int index);
  /// Extension: give the parameter of that name its value, which is copied. SQL has
  /// `:name`, `@name` and `$name`; the same name with the same mark is one parameter
  /// wherever it stands. `name` is given with its mark, or without when there is one
  /// parameter of that name only. The failures are those above; GDbInvalidArgument:
  /// there is no such parameter, or more than one.
  ///
  /// A text is bound with all its bytes, where a database refuses a NUL among them or
  /// keeps it. GDbRowTooBig: a text or blob of more than 2 GiB.
  GDbStatus bindInt(const std::string& name, int value);
  GDbStatus bindInt64(const std::string& name, std::int64_t value);
  GDbStatus bindDouble(const std::string& name, double value);
  GDbStatus bindText(const std::string& name, const std::string& text);
  GDbStatus bindBlob(const std::string& name, std::string_view bytes);
  GDbStatus bindNull(const std::string& name);
  /// Extension: stores the number of the parameter of that name, with which a caller
  /// that binds very often saves the search; -1 after a failure.
  GDbStatus getParameterIndex(const std::string& name, int* index);

  /// Makes every parameter NULL. An active query is reset by it.
  GDbStatus clearBindings();

  /// Makes the query inactive, so that parameters can be bound. They keep their
  /// values, and the statement stays prepared. The current row is gone; nothing
  /// happens when the query is inactive.
  GDbStatus reset();
  /// Has the statement compiled, which exec() and the bindings also do when they
  /// must. A caller needs it only to learn of a mistake in the text early. The
  /// second form gives the query another text first, which it keeps even when that
  /// fails; the caller then binds all parameters anew.
  GDbStatus prepare();
  GDbStatus prepare(const std::string& statement);
  /// Executes the statement with the parameters that are bound; an active query
  /// starts anew. A success leaves the query active and in front of its first row,
  /// which first() or next() reaches, also when there is no row at all. After a
  /// failure it is inactive. The second form gives the query another text first.
  GDbStatus exec();
  GDbStatus exec(const std::string& statement);

  /// Extension: executes the statement `count` times, with the parameters that
  /// `bind(i)` gives it through this handle for time i, counted from 0. As an
  /// executed query is active, `bind` calls reset() before it binds:
  ///
  ///     query.execMany(3, [&](unsigned i) {
  ///       query.reset();
  ///       return query.bindInt(0, numbers[i]);
  ///     });
  ///
  /// The first failure ends the call and is its result, whether it comes from
  /// `bind` or from an execution. What was executed before it stays, unless the
  /// caller rolls a transaction back. A driver with a server may send many at once,
  /// so that the distance to it counts once for all of them.
  GDbStatus execMany(unsigned count, const std::function<GDbStatus(unsigned)>& bind);
  /// Extension: a query that reads a whole table, for GSqlTable. Requires:
  /// `database` is not null.
  static GSqlQuery forScan(GSqlDatabaseImpl* database, const std::string& statement);

  /// Move onto a row. With `record` the row is fetched as well: `*record` is a new
  /// record, which the caller deletes, and null after a failure.
  ///
  /// GDbNoMoreRecords means that there is no such row, which is how every walk
  /// ends. GDbQueryNotActive: exec() has not happened. GDbNoResult: the statement
  /// yields no columns. GDbScrollBackNotSupported: the driver cannot go back, as
  /// the call would have to, or has no way to the last row.
  GDbStatus first(GDbRecord** record = nullptr);
  GDbStatus last(GDbRecord** record = nullptr);
  GDbStatus next(GDbRecord** record = nullptr);
  GDbStatus previous(GDbRecord** record = nullptr);
  /// Moves onto row `position`, counted from 0; with `relative`, onto the row that
  /// lies `position` rows behind the current one, or in front of it when `position`
  /// is negative. `record` and the failures are those of first().
  GDbStatus seek(int position, bool relative, GDbRecord** record = nullptr);

  /// Stores whether a column of the current row is NULL. A caller asks this first
  /// where NULL may occur, as the calls below fail with GDbColumnIsNull then. The
  /// other failures are theirs, too.
  GDbStatus isNull(int column, bool* result);
  /// Read a column of the current row, counted from 0, without conversion: the call
  /// must fit the value, so that a whole number is not read by getDouble(). A
  /// failure leaves 0 or an empty text in `*value`.
  ///
  /// GDbNotPositioned: the query is on no row. GDbInvalidArgument: there is no such
  /// column, or `value` is null. GDbColumnIsNull. GDbFieldTypeMismatch: the value
  /// is of another type.
  GDbStatus getInt(int column, int* value);
  GDbStatus getInt64(int column, std::int64_t* value);
  GDbStatus getDouble(int column, double* value);
  GDbStatus getText(int column, std::string* value);
  /// Stores where the bytes of a column are, and how many. They are the driver's,
  /// must not be freed, and are valid until the query moves, is reset or ends. A
  /// failure, which is one of those of getInt(), stores null and 0.
  GDbStatus getBlob(int column, const void** bytes, unsigned* size);

  /// Extension: how many columns the result has, 0 for a statement without one.
  /// Asking prepares the statement. GDbNoResult: the driver cannot tell.
  GDbStatus getNumColumns(int* count);
  /// Extension: the name of a column of the result, as AS gives it. The failures
  /// are those of getNumColumns(); GDbInvalidArgument: there is no such column.
  GDbStatus getColumnName(int column, std::string* name);
  /// Extension: stores what the statement says of its columns and parameters, whether
  /// it is executed or not. Asking prepares it, and may ask the database's catalog.
  /// GDbNoResult: the driver cannot tell. After a failure `*description` is empty.
  GDbStatus describe(GSqlDescription* description);
  /// Extension: a text of the current row with all its bytes. getText() ends at
  /// the first NUL of them. The failures are those of getText().
  GDbStatus getWholeText(int column, std::string* value);

  /// Allows moving backwards with false, and forbids it with true, which is how a
  /// query begins. GDbScrollBackNotSupported: the driver cannot go back. A query
  /// that is given another text is forward-only again.
  GDbStatus setForwardOnly(bool forward);
  /// How many rows the executed statement has inserted, changed or deleted. -1 when
  /// that is not known: of a statement with columns, or before exec(). The reason
  /// is in getLastError().
  int getNumRowsAffected();
  /// How many rows the result has. -1 when that is not known, as with drivers that
  /// find the rows one by one; a caller then counts them by next().
  int getSize();

  /// Appends all rows of an executed query to `result`, which owns the new records.
  /// What `result` held before stays. The query has to be in front of its rows or
  /// on the first one; it is behind the last one afterwards. No row at all is a
  /// success. After a failure, the rows that were read before it are in `result`.
  /// GDbInvalidArgument: `result` is null.
  GDbStatus getResult(GDbRecordSet* result);
  /// The current row, which all handles on the statement share and the query owns:
  /// it is valid until the next move, execution or reset, or until the last handle
  /// goes. Null on failure, of which getLastError() tells the reason. A caller that
  /// keeps the row takes it from first() or next() instead.
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
