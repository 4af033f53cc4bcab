// SPDX-License-Identifier: MIT
// GDbStatus: what every database operation returns, and its words.
//
//   GDbStatus status = GDbDatabase::openDatabase("csv:/data", &db);
//   if (status != GDbNoError) std::puts(gDbStrError(status));
#ifndef LOOMKIT_DB_STATUS_H
#define LOOMKIT_DB_STATUS_H

#include "loomkit/platform/export.h"

/// The result of a database operation; 0 is success. The numbers are fixed:
/// backends map foreign codes onto them and hosts store and compare them.
enum GDbStatus : int {
  GDbNoError = 0,
  GDbUnknownError = 1,
  GDbInvalidLocator = 2,
  GDbInvalidTypeId = 3,
  GDbIoError = 4,
  GDbCantOpenFile = 5,
  GDbInternalError = 6,
  GDbNotOpen = 7,
  GDbInvalidTableName = 8,
  GDbTableNotOpen = 9,
  GDbInvalidArgument = 10,
  GDbNoIndex = 11,
  GDbInvalidFieldName = 12,
  GDbCantOpenDirectory = 13,
  GDbFieldTypeMismatch = 14,
  GDbInvalidFieldType = 15,
  GDbCantCreateIndex = 16,
  GDbCantDeleteIndex = 17,
  GDbInsertNotSupported = 18,
  GDbDeleteNotSupported = 19,
  GDbFieldCountMismatch = 20,
  GDbNonUniqueKey = 21,
  GDbLockFailed = 22,
  GDbCreateTableNotSupported = 23,
  GDbTableExists = 24,
  GDbCantCreateTable = 25,
  GDbNoRecordNumber = 26,
  GDbInvalidFileName = 27,
  GDbInvalidIndexName = 28,
  GDbTableReadOnly = 29,
  GDbDeleteTableNotSupported = 30,
  GDbTableInUse = 31,
  GDbCantDeleteTable = 32,
  GDbCantLoadLibrary = 33,
  GDbRollbackNotSupported = 34,
  GDbScrollBackNotSupported = 35,
  GDbQueryNotActive = 36,
  GDbNoMoreRecords = 37,
  GDbNoResult = 38,
  GDbQueryActive = 39,
  GDbSqlError = 40,
  GDbOutOfMemory = 41,
  GDbDatabaseFull = 42,
  GDbRowTooBig = 43,
  GDbConstraintViolation = 44,
  GDbColumnIsNull = 45,
  GDbNotPositioned = 46,
  GDbInvalidState = 47,
  GDbSizeNotSupported = 48,
  GDbQueryNotInitialized = 49
};

/// The words for `status`, for logs and dialogs. Never null. A value that is
/// no GDbStatus gives "error " and the number in one static buffer, which the
/// next such call overwrites: for one thread at a time.
LOOMKIT_API const char* gDbStrError(GDbStatus status);

#endif  // LOOMKIT_DB_STATUS_H
