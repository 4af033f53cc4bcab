// SPDX-License-Identifier: MIT
// GSqlite3QueryData: a SQLite statement and where its execution stands.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H
#define LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/sql/sql_query_data.h"
#include "loomkit/platform/export.h"

struct sqlite3_stmt;
class GSqlite3Database;

/// The statement stays prepared until its text changes or the database closes.
/// exec() moves from inactive to stepped or finished, next() from stepped to
/// finished, reset() and a failed step back to inactive.
class LOOMKIT_API GSqlite3QueryData : public GSqlQueryData {
 public:
  explicit GSqlite3QueryData(GSqlite3Database* database);
  GSqlite3QueryData(GSqlite3Database* database, const std::string& statement);
  ~GSqlite3QueryData() override;

  [[nodiscard]] bool isActive() const override { return state != inactive; }
  [[nodiscard]] bool isValid() const override { return valid; }
  /// Prepares the statement if that has not happened; false when that fails.
  [[nodiscard]] bool isSelect() const override;
  void invalidate() override;
  void setStatement(const std::string& text) override;
  void clearRecord() override;

 private:
  friend class GSqlite3Database;
  int stop();
  void finalize();
  void forgetExecution();
  void beginExecution();
  // Of so many columns; GDbFieldNone where there is no declared type or it says
  // nothing.
  const GDbFieldType* columnAffinities(int columns);
  void readAffinities(int columns);

  static constexpr std::int32_t inactive = 0;
  static constexpr std::int32_t stepped = 1;   // a row was stepped to
  static constexpr std::int32_t finished = 2;  // the statement ran to its end

  sqlite3_stmt* stmt = nullptr;  // null until prepared
  bool hasColumns = false;
  std::int32_t state = inactive;
  std::int32_t row = -1;  // zero-based; -1 when none has been asked for
  bool valid = false;     // positioned on a row
  std::int32_t rowsAffected = -1;
  // By the declared types. The library may prepare a statement anew when an
  // execution begins; then a declared type has another address, since the new
  // statement is made before the old one goes. So one that is looked at in each
  // execution vouches for all.
  std::vector<GDbFieldType> affinities;
  bool affinitiesLookedAt = false;  // in this execution
  int witnessColumn = -1;
  const char* witness = nullptr;
};

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_QUERY_DATA_H
