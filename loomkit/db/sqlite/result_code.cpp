// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/result_code.h"

#include <cstddef>
#include <iterator>

#include "loomkit/db/sqlite/sqlite3_api.h"

namespace loomkit {
namespace {

// Indexed by result code.
constexpr GDbStatus statuses[] = {
    GDbNoError,              // 0 ok
    GDbSqlError,             // 1 error
    GDbInternalError,        // 2 internal
    GDbInternalError,        // 3 permission
    GDbInternalError,        // 4 abort
    GDbLockFailed,           // 5 busy
    GDbTableInUse,           // 6 locked
    GDbOutOfMemory,          // 7 no memory
    GDbTableReadOnly,        // 8 read only
    GDbInternalError,        // 9 interrupted
    GDbIoError,              // 10 input/output
    GDbInternalError,        // 11 corrupt
    GDbInternalError,        // 12 not found
    GDbDatabaseFull,         // 13 full
    GDbCantOpenFile,         // 14 cannot open
    GDbInternalError,        // 15 protocol
    GDbInternalError,        // 16 empty
    GDbInternalError,        // 17 schema
    GDbRowTooBig,            // 18 too big
    GDbConstraintViolation,  // 19 constraint
    GDbFieldTypeMismatch,    // 20 mismatch
    GDbInternalError,        // 21 misuse
    GDbInternalError,        // 22 no large files
    GDbInternalError,        // 23 authorization
    GDbInvalidLocator,       // 24 format
    GDbInternalError,        // 25 range
    GDbInvalidLocator,       // 26 not a database
};

}  // namespace

GDbStatus sqliteStatus(int code) noexcept {
  if (code == sqliteRow || code == sqliteDone) return GDbNoError;
  if (code < 0 || static_cast<std::size_t>(code) >= std::size(statuses)) return GDbUnknownError;
  return statuses[code];
}

}  // namespace loomkit
