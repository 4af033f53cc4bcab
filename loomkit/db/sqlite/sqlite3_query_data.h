// SPDX-License-Identifier: MIT
// GSqlite3QueryData: a SQLite statement and where its execution stands.
//
// Hosts use GSqlQuery, whose calls arrive here by way of GSqlite3Database:
//
//   GSqlQuery query(database, "SELECT name FROM parts;");
//   query.exec();      // inactive -> stepped, or finished without a row
//   query.next();      // stepped -> stepped, or finished behind the last row
//   query.reset();     // -> inactive
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H
#define LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/sql/sql_query_data.h"
#include "loomkit/platform/export.h"

struct sqlite3_stmt;
class GSqlite3Database;

/// A statement with the state of its execution. It is inactive until exec(),
/// then stepped while there is a row to be read, and finished when it has run to
/// its end. reset() and a failed step make it inactive again.
///
/// The statement stays prepared across all of this, until its text changes or
/// the database closes. The object is owned by the query handles on it. Failures
/// are statuses, and are noted as the database's last error. For one thread.
class LOOMKIT_API GSqlite3QueryData : public GSqlQueryData {
 public:
  /// A query of `database`, which must not be null and may close before it. The
  /// second form has its text, which is not compiled yet.
  GSqlite3QueryData(GSqlite3Database* database);
  GSqlite3QueryData(GSqlite3Database* database, const std::string& statement);
  /// Frees the statement. The last GSqlQuery handle on the object calls this.
  ~GSqlite3QueryData() override;

  /// Whether the statement was executed and not reset since; also behind the last
  /// row.
  [[nodiscard]] bool isActive() const override { return state != inactive; }
  /// Whether there is a current row.
  [[nodiscard]] bool isValid() const override { return valid; }
  /// Prepares the statement if that has not happened; false when that fails.
  [[nodiscard]] bool isSelect() const override;
  /// Frees the statement before the connection closes; the handles answer
  /// GDbNotOpen from then on.
  void invalidate() override;
  /// Frees the statement, with its parameters, and takes another text, which is
  /// compiled when it is needed.
  void setStatement(const std::string& text) override;
  /// Drops the cached row; the query is on no row then.
  void clearRecord() override;

  /// What the database forwards to its queries. Requires: the database is open.
  /// prepare() compiles the statement if that has not happened; the others but
  /// for reset(), getNumRowsAffected() and getSize() require that it has.
  GDbStatus prepare();
  /// Runs the statement up to its first row or its end. An active one starts anew.
  GDbStatus exec();
  /// Makes the query inactive; nothing happens when it is.
  GDbStatus reset();
  /// Makes the query inactive and all of its parameters NULL.
  GDbStatus clearBindings();
  /// Move onto the first row, onto the next one, or onto a row by its number or
  /// by a distance. There is no way back. GDbNoMoreRecords: behind the last row;
  /// GDbNoResult: the statement has no columns.
  GDbStatus first();
  GDbStatus next();
  GDbStatus seek(int position, bool relative);
  /// Whether the column of the current row can be read as a value of
  /// `storageClass`, a number of SQLite, or as any value when that is 0.
  /// GDbNotPositioned, GDbInvalidArgument, GDbColumnIsNull or GDbFieldTypeMismatch
  /// when it cannot.
  GDbStatus checkColumn(int column, int storageClass);
  /// Stores a new record of the current row, which the caller owns; null for a
  /// statement without columns.
  GDbStatus makeRecord(GDbRecord** record);
  /// Stores how many rows an executed statement without columns has changed.
  /// GDbQueryNotActive: it is not executed. GDbInvalidState: it has columns.
  GDbStatus getNumRowsAffected(int* count);
  /// SQLite does not know how many rows a result has: always a failure.
  GDbStatus getSize();

  /// SQLite's own statement; null until prepared. It stays the query's, which frees
  /// it when its text changes or the database closes.
  [[nodiscard]] sqlite3_stmt* getHandle() const { return stmt; }

 private:
  enum State : std::int32_t {
    inactive = 0,
    stepped = 1,  // a row was stepped to
    finished = 2  // the statement ran to its end
  };

  [[nodiscard]] GSqlite3Database& sqlite() const;
  GDbStatus fail(GDbStatus status) const;
  GDbStatus step();
  GDbStatus checkMove() const;
  GDbStatus checkRecord() const;
  void takeFirstRow();
  void beginExecution();
  void forgetExecution();
  int stop();
  void finalize();
  const GDbFieldType* columnTypes(int columns);
  void readColumnTypes(int columns);

  sqlite3_stmt* stmt = nullptr;  // null until prepared
  bool hasColumns = false;
  std::int32_t state = inactive;
  std::int32_t row = -1;  // zero-based; -1 when none has been asked for
  bool valid = false;     // positioned on a row
  std::int32_t rowsAffected = -1;

  // The field types of the columns by their declared types, which are read once
  // and kept while the statement stays the same. SQLite may compile a statement
  // anew when an execution begins, because the schema has changed, and then the
  // declared types may be others. It makes the new statement before it frees the
  // old one, so that a declared type of the new one has another address. The
  // address of one declared type, the witness, is therefore compared at the first
  // record of each execution: while it is the same, all types are.
  std::vector<GDbFieldType> types;
  bool typesChecked = false;  // in this execution
  int witnessColumn = -1;
  const char* witness = nullptr;
};

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H
