// SPDX-License-Identifier: MIT
// The functions of the sqlite3 library that the backend needs, as a table of
// pointers that is filled at run time. No header of that library is used: the
// types are declared here, from its public C interface
// (https://www.sqlite.org/c3ref/funclist.html). Private to the backend.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_API_H
#define LOOMKIT_DB_SQLITE_SQLITE3_API_H

#include <cstdint>

#include "loomkit/db/sql/run_time_library.h"

struct sqlite3;
struct sqlite3_stmt;

namespace loomkit {

/// Result codes that the backend tells apart.
inline constexpr int sqliteOk = 0;
inline constexpr int sqliteBusy = 5;
inline constexpr int sqliteRow = 100;
inline constexpr int sqliteDone = 101;

/// Storage classes of a value, as sqlite3_column_type gives them.
inline constexpr int sqliteInteger = 1;
inline constexpr int sqliteFloat = 2;
inline constexpr int sqliteText = 3;
inline constexpr int sqliteBlob = 4;
inline constexpr int sqliteNull = 5;

/// Open flags.
inline constexpr int sqliteOpenReadOnly = 1;
inline constexpr int sqliteOpenReadWrite = 2;
inline constexpr int sqliteOpenCreate = 4;

/// Releases bound data. Two values are marks: null for data that stays where it
/// is, and all bits set for data that the library copies at once.
using SqliteDestructor = void (*)(void*);

/// One pointer per function, named for it.
struct Sqlite3Api {
  int (*open)(const char* path, sqlite3** db);
  int (*exec)(sqlite3*, const char* sql, int (*row)(void*, int, char**, char**), void* context,
              char** error);
  int (*close)(sqlite3*);
  int (*prepare_v2)(sqlite3*, const char* sql, int length, sqlite3_stmt**, const char** tail);
  int (*step)(sqlite3_stmt*);
  int (*finalize)(sqlite3_stmt*);
  int (*reset)(sqlite3_stmt*);
  int (*busy_timeout)(sqlite3*, int milliseconds);
  const char* (*errmsg)(sqlite3*);
  int (*column_count)(sqlite3_stmt*);
  int (*column_type)(sqlite3_stmt*, int column);
  const char* (*column_decltype)(sqlite3_stmt*, int column);
  int (*column_int)(sqlite3_stmt*, int column);
  std::int64_t (*column_int64)(sqlite3_stmt*, int column);
  double (*column_double)(sqlite3_stmt*, int column);
  const unsigned char* (*column_text)(sqlite3_stmt*, int column);
  const void* (*column_blob)(sqlite3_stmt*, int column);
  int (*column_bytes)(sqlite3_stmt*, int column);
  int (*bind_int)(sqlite3_stmt*, int index, int value);
  int (*bind_int64)(sqlite3_stmt*, int index, std::int64_t value);
  int (*bind_double)(sqlite3_stmt*, int index, double value);
  int (*bind_text)(sqlite3_stmt*, int index, const char* text, int length, SqliteDestructor);
  int (*bind_blob)(sqlite3_stmt*, int index, const void* data, int size, SqliteDestructor);
  int (*bind_null)(sqlite3_stmt*, int index);
  int (*clear_bindings)(sqlite3_stmt*);
  int (*changes)(sqlite3*);
  int (*total_changes)(sqlite3*);
  void (*free)(void*);
  int (*libversion_number)();

  /// Optional, null where the library has none: what a statement says of its result's
  /// columns and of its parameters. Builds of the library may lack the origins of
  /// columns.
  const char* (*column_name)(sqlite3_stmt*, int column);
  const char* (*column_database_name)(sqlite3_stmt*, int column);
  const char* (*column_table_name)(sqlite3_stmt*, int column);
  const char* (*column_origin_name)(sqlite3_stmt*, int column);
  int (*table_column_metadata)(sqlite3*, const char* database, const char* table,
                               const char* column, const char** declaredType,
                               const char** collation, int* notNull, int* primaryKey,
                               int* autoIncrement);
  int (*bind_parameter_count)(sqlite3_stmt*);
  const char* (*bind_parameter_name)(sqlite3_stmt*, int index);
  /// Optional: an opening function with flags; null when there is none.
  int (*openWithFlags)(const char* path, sqlite3** db, int flags, const char* vfs);
};

/// The library, loaded once per process and never unloaded. Not locked.
class Sqlite3Library {
 public:
  /// Loads the library if that has not happened yet. After a failure the next
  /// call tries again.
  bool load(const DsoCalls& dso);
  bool load() { return load(platformDsoCalls()); }

  /// Requires: load() has given true.
  Sqlite3Api api = {};

 private:
  bool loaded = false;
  void* handle = nullptr;
};

/// The process's one library.
Sqlite3Library& sqlite3Library();

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_API_H
