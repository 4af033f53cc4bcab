// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/affinity.h"

#include <cstddef>
#include <iterator>

namespace loomkit {
namespace {

struct Affinity {
  const char* pattern;
  GDbFieldType type;
  int rank;
};

constexpr Affinity affinities[] = {
    {"INT", GDbFieldInt, 4},     {"CHAR", GDbFieldString, 3}, {"CLOB", GDbFieldString, 3},
    {"TEXT", GDbFieldString, 3}, {"BLOB", GDbFieldBlob, 2},   {"REAL", GDbFieldFloat, 1},
    {"FLOA", GDbFieldFloat, 1},  {"DOUB", GDbFieldFloat, 1},
};

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

constexpr char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// Whether any pattern starts with `c`: most characters end the search here.
constexpr bool startsPattern(char c) {
  return c == 'I' || c == 'C' || c == 'T' || c == 'B' || c == 'R' || c == 'F' || c == 'D';
}

bool startsWith(const char* text, const char* pattern) noexcept {
  for (; *pattern != '\0'; ++text, ++pattern)
    if (asciiUpper(*text) != *pattern) return false;
  return true;
}

}  // namespace

GDbFieldType sqliteAffinity(const char* declaredType) noexcept {
  GDbFieldType type = GDbFieldNone;
  int rank = -1;
  for (const char* at = declaredType; *at != '\0'; ++at) {
    if (!startsPattern(asciiUpper(*at))) continue;
    for (const Affinity& affinity : affinities) {
      if (affinity.rank <= rank || !startsWith(at, affinity.pattern)) continue;
      type = affinity.type;
      rank = affinity.rank;
    }
  }
  return type;
}

GDbStatus sqliteStatus(int code) noexcept {
  if (code == 100 || code == 101) return GDbNoError;
  if (code < 0 || static_cast<std::size_t>(code) >= std::size(statuses)) return GDbUnknownError;
  return statuses[code];
}

}  // namespace loomkit
