// SPDX-License-Identifier: MIT
#include "loomkit/db/status.h"

#include <gtest/gtest.h>

namespace {

struct Row {
  GDbStatus status;
  int number;
  const char* text;
};

const Row rows[] = {
    {GDbNoError, 0, "no error"},
    {GDbUnknownError, 1, "unknown error"},
    {GDbInvalidLocator, 2, "invalid database locator"},
    {GDbInvalidTypeId, 3, "invalid database type identifier"},
    {GDbIoError, 4, "input/output error"},
    {GDbCantOpenFile, 5, "can't open database file"},
    {GDbInternalError, 6, "internal database error"},
    {GDbNotOpen, 7, "database not open"},
    {GDbInvalidTableName, 8, "invalid table name"},
    {GDbTableNotOpen, 9, "table not open"},
    {GDbInvalidArgument, 10, "invalid argument"},
    {GDbNoIndex, 11, "no index"},
    {GDbInvalidFieldName, 12, "invalid field name"},
    {GDbCantOpenDirectory, 13, "can't open directory"},
    {GDbFieldTypeMismatch, 14, "field type mismatch"},
    {GDbInvalidFieldType, 15, "invalid field type"},
    {GDbCantCreateIndex, 16, "can't create index"},
    {GDbCantDeleteIndex, 17, "can't delete index"},
    {GDbInsertNotSupported, 18, "INSERT operation not supported"},
    {GDbDeleteNotSupported, 19, "DELETE operation not supported"},
    {GDbFieldCountMismatch, 20, "field count mismatch"},
    {GDbNonUniqueKey, 21, "non-unique key for index detected"},
    {GDbLockFailed, 22, "requited locking operation failed"},
    {GDbCreateTableNotSupported, 23, "CREATE TABLE operation not supported"},
    {GDbTableExists, 24, "table already exists"},
    {GDbCantCreateTable, 25, "can't create table"},
    {GDbNoRecordNumber, 26, "don't know record number for relative positioning"},
    {GDbInvalidFileName, 27, "invalid file name"},
    {GDbInvalidIndexName, 28, "invalid index name"},
    {GDbTableReadOnly, 29, "table is read only"},
    {GDbDeleteTableNotSupported, 30, "DELETE TABLE operation not supported"},
    {GDbTableInUse, 31, "table in use"},
    {GDbCantDeleteTable, 32, "can't delete table"},
    {GDbCantLoadLibrary, 33, "can't dynamically load database library"},
    {GDbRollbackNotSupported, 34, "ROLLBACK operation not supported"},
    {GDbScrollBackNotSupported, 35, "scrolling backward not supported by database"},
    {GDbQueryNotActive, 36, "SQL query is not active"},
    {GDbNoMoreRecords, 37, "result contains no more records"},
    {GDbNoResult, 38, "SQL query doesn't produce a result"},
    {GDbQueryActive, 39, "operation not allowed while SQL query is active"},
    {GDbSqlError, 40, "SQL error"},
    {GDbOutOfMemory, 41, "out of memory"},
    {GDbDatabaseFull, 42, "insert failed because database is full"},
    {GDbRowTooBig, 43, "too much data for single table row"},
    {GDbConstraintViolation, 44, "operation aborted due to constraint violation"},
    {GDbColumnIsNull, 45, "column is NULL where a non-NULL value was expected"},
    {GDbNotPositioned, 46, "not positioned at valid result record"},
    {GDbInvalidState, 47, "operation not applicable in current state"},
    {GDbSizeNotSupported, 48, "database doesn't support reporting of query sizes"},
    {GDbQueryNotInitialized, 49, "query not initialized"},
};

TEST(DbStatus, HasItsNumberAndItsText) {
  int expected = 0;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.number, expected++);
    EXPECT_EQ(static_cast<int>(row.status), row.number);
    EXPECT_STREQ(gDbStrError(row.status), row.text);
  }
  EXPECT_EQ(expected, 50);
}

TEST(DbStatus, OutsideTheTableIsPrintedAsANumberIntoOneBuffer) {
  const char* first = gDbStrError(static_cast<GDbStatus>(50));
  EXPECT_STREQ(first, "error 50");
  const char* second = gDbStrError(static_cast<GDbStatus>(-1));
  EXPECT_STREQ(second, "error -1");
  EXPECT_EQ(first, second);
  EXPECT_STREQ(gDbStrError(static_cast<GDbStatus>(-2147483647 - 1)), "error -2147483648");
}

}  // namespace
