// SPDX-License-Identifier: MIT
#include "loomkit/db/status.h"

#include <cstddef>
#include <iterator>

#include "loomkit/text/string_util.h"

namespace {

// Indexed by status. "requited" and the like are what hosts match against.
constexpr const char* statusTexts[] = {
    "no error",
    "unknown error",
    "invalid database locator",
    "invalid database type identifier",
    "input/output error",
    "can't open database file",
    "internal database error",
    "database not open",
    "invalid table name",
    "table not open",
    "invalid argument",
    "no index",
    "invalid field name",
    "can't open directory",
    "field type mismatch",
    "invalid field type",
    "can't create index",
    "can't delete index",
    "INSERT operation not supported",
    "DELETE operation not supported",
    "field count mismatch",
    "non-unique key for index detected",
    "requited locking operation failed",
    "CREATE TABLE operation not supported",
    "table already exists",
    "can't create table",
    "don't know record number for relative positioning",
    "invalid file name",
    "invalid index name",
    "table is read only",
    "DELETE TABLE operation not supported",
    "table in use",
    "can't delete table",
    "can't dynamically load database library",
    "ROLLBACK operation not supported",
    "scrolling backward not supported by database",
    "SQL query is not active",
    "result contains no more records",
    "SQL query doesn't produce a result",
    "operation not allowed while SQL query is active",
    "SQL error",
    "out of memory",
    "insert failed because database is full",
    "too much data for single table row",
    "operation aborted due to constraint violation",
    "column is NULL where a non-NULL value was expected",
    "not positioned at valid result record",
    "operation not applicable in current state",
    "database doesn't support reporting of query sizes",
    "query not initialized",
};
static_assert(std::size(statusTexts) == GDbQueryNotInitialized + 1);

}  // namespace

const char* gDbStrError(GDbStatus status) {
  const int number = status;
  if (number >= 0 && number < static_cast<int>(std::size(statusTexts))) return statusTexts[number];
  static char text[64];
  gsnprintf(text, sizeof text, "error %d", number);
  return text;
}
