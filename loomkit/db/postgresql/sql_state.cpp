// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/sql_state.h"

namespace loomkit {
namespace {

struct Row {
  std::string_view begin;  // of the code
  GDbStatus status;
};

// The first row that fits counts, so single codes stand before their class.
constexpr Row rows[] = {
    {"08", GDbIoError},               // connection exceptions
    {"22003", GDbFieldTypeMismatch},  // numeric value out of range
    {"22007", GDbFieldTypeMismatch},  // invalid date and time format
    {"22008", GDbFieldTypeMismatch},  // date and time field overflow
    {"22021", GDbInvalidArgument},    // no text of the encoding
    {"22P02", GDbFieldTypeMismatch},  // invalid text representation
    {"22P03", GDbFieldTypeMismatch},  // invalid binary representation
    {"22P05", GDbInvalidArgument},    // untranslatable character
    {"23", GDbConstraintViolation},   // integrity constraints
    {"25006", GDbTableReadOnly},      // read-only transaction
    {"25P03", GDbIoError},            // idle in a transaction for too long
    {"28", GDbCantOpenFile},          // authorization
    {"3D000", GDbCantOpenFile},       // no such database
    {"40001", GDbLockFailed},         // serialization failure
    {"40P01", GDbLockFailed},         // deadlock
    {"42703", GDbInvalidFieldName},   // undefined column
    {"42701", GDbInvalidFieldName},   // duplicate column
    {"42804", GDbFieldTypeMismatch},  // datatype mismatch
    {"42P01", GDbInvalidTableName},   // undefined table
    {"3F000", GDbInvalidTableName},   // no such schema
    {"42P07", GDbTableExists},        // duplicate table
    {"53100", GDbDatabaseFull},       // disk full
    {"53200", GDbOutOfMemory},        // out of memory
    {"53", GDbIoError},               // too many connections
    {"54000", GDbRowTooBig},          // program limit exceeded
    {"54011", GDbRowTooBig},          // too many columns
    {"55006", GDbTableInUse},         // object in use
    {"55P03", GDbLockFailed},         // lock not available
    {"57014", GDbSqlError},           // cancelled, also by a time-out
    {"57P", GDbIoError},              // shut down, or starting
    {"58", GDbIoError},               // system errors of the server
    {"XX", GDbInternalError},         // data corrupted, and the server's own bugs
};

}  // namespace

GDbStatus sqlStateStatus(std::string_view sqlState) {
  for (const Row& row : rows)
    if (sqlState.substr(0, row.begin.size()) == row.begin) return row.status;
  return GDbSqlError;
}

}  // namespace loomkit
