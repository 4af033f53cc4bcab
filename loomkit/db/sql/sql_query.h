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
  GSqlQuery(GSqlDatabase* database);
  GSqlQuery(GSqlDatabase* database, const std::string& statement);
  GSqlQuery& operator=(const GSqlQuery& other);
  ~GSqlQuery();

  /// Lets go of the statement: a null handle from now on.
  void clear();

  [[nodiscard]] GSqlDatabase* getSqlDatabase() const;
  [[nodiscard]] const std::string& getStatement() const;
  [[nodiscard]] bool isNull() const { return data == nullptr; }
  [[nodiscard]] bool isActive() const;
  [[nodiscard]] bool isSelect() const;
  [[nodiscard]] bool isValid() const;
  [[nodiscard]] bool isForwardOnly() const;
  /// Of a null handle: GDbQueryNotInitialized.
  [[nodiscard]] const GSqlError& getLastError() const;

  GDbStatus bindInt(int index, int value);
  GDbStatus bindInt64(int index, std::int64_t value);
  GDbStatus bindDouble(int index, double value);
  /// `length` -1: to the terminator. Without `copy` the text may have to stay
  /// valid until the query is done with it; that is the driver's to say.
  GDbStatus bindText(int index, const char* text, int length, bool copy);
  /// Binds a copy of `count` bytes of `text` from `pos` on, clipped to its end.
  /// With `npos` the text goes from `pos` to the end, or to a NUL before it.
  /// GDbInvalidArgument when `pos` is beyond the end.
  GDbStatus bindText(int index, const std::string& text, unsigned pos, unsigned count);
  GDbStatus bindBlob(int index, void* bytes, unsigned size, bool copy);
  GDbStatus bindNull(int index);
  GDbStatus clearBindings();

  GDbStatus reset();
  GDbStatus prepare();
  GDbStatus prepare(const std::string& statement);
  GDbStatus exec();
  GDbStatus exec(const std::string& statement);

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

  GDbStatus setForwardOnly(bool forward);
  /// -1 when it is not known.
  int getNumRowsAffected();
  /// -1 when it is not known.
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
