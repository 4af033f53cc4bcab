// SPDX-License-Identifier: MIT
// GDbStatus: what every database operation returns, and its words.
//
//   GDbStatus status = GDbDatabase::openDatabase("csv:/data", &db);
//   if (status != GDbNoError) std::puts(gDbStrError(status));
#ifndef LOOMKIT_DB_STATUS_H
#define LOOMKIT_DB_STATUS_H

#include "loomkit/platform/export.h"

/// The result of a database operation; 0 is success. The numbers are fixed:
/// backends map foreign codes onto them and hosts store and compare them. Each
/// operation names the failures that a caller may want to tell apart; any other
/// failure that a backend meets can come along with them.
enum GDbStatus : int {
  /// Success. A lookup or a scan that finds no record is a success, too.
  GDbNoError = 0,
  /// A failure for which the database gives no reason that fits another value.
  GDbUnknownError = 1,
  /// The text that names the database is malformed.
  GDbInvalidLocator = 2,
  /// No backend, or no catalog, is registered for that type of database.
  GDbInvalidTypeId = 3,
  /// Reading or writing failed.
  GDbIoError = 4,
  /// A file of the database cannot be opened.
  GDbCantOpenFile = 5,
  /// The database failed in a way that the caller did not cause.
  GDbInternalError = 6,
  /// The database is closed, or there is none.
  GDbNotOpen = 7,
  /// There is no table of that name.
  GDbInvalidTableName = 8,
  /// The table has been closed; it never opens again.
  GDbTableNotOpen = 9,
  /// An argument is null or out of range.
  GDbInvalidArgument = 10,
  /// The lookup needs an index over its fields, and the table has none.
  GDbNoIndex = 11,
  /// The table has no field of that name.
  GDbInvalidFieldName = 12,
  /// The directory of the database cannot be opened.
  GDbCantOpenDirectory = 13,
  /// A value and its field are of different types.
  GDbFieldTypeMismatch = 14,
  /// The database cannot store fields of that type.
  GDbInvalidFieldType = 15,
  /// An index cannot be created.
  GDbCantCreateIndex = 16,
  /// An index cannot be deleted.
  GDbCantDeleteIndex = 17,
  /// The backend cannot insert records.
  GDbInsertNotSupported = 18,
  /// The backend cannot delete records.
  GDbDeleteNotSupported = 19,
  /// A record has more or fewer fields than its table.
  GDbFieldCountMismatch = 20,
  /// A record repeats the key of another where keys are unique.
  GDbNonUniqueKey = 21,
  /// Somebody else holds a lock that the operation needs; it may be tried again.
  GDbLockFailed = 22,
  /// The backend cannot create tables.
  GDbCreateTableNotSupported = 23,
  /// There is a table of that name already.
  GDbTableExists = 24,
  /// The table cannot be created.
  GDbCantCreateTable = 25,
  /// A relative move has no record to start from: begin with the first one.
  GDbNoRecordNumber = 26,
  /// The name cannot be the name of a file of the database.
  GDbInvalidFileName = 27,
  /// The name cannot be the name of an index.
  GDbInvalidIndexName = 28,
  /// The table can be read but not changed.
  GDbTableReadOnly = 29,
  /// The backend cannot delete tables.
  GDbDeleteTableNotSupported = 30,
  /// The table is open, and so cannot be deleted.
  GDbTableInUse = 31,
  /// The table cannot be deleted.
  GDbCantDeleteTable = 32,
  /// The database's own library is not installed or cannot be loaded.
  GDbCantLoadLibrary = 33,
  /// The database cannot undo a transaction.
  GDbRollbackNotSupported = 34,
  /// The rows of a query can be read forwards only.
  GDbScrollBackNotSupported = 35,
  /// The query has not been executed.
  GDbQueryNotActive = 36,
  /// A query has moved behind its last row; the usual end of a loop.
  GDbNoMoreRecords = 37,
  /// The statement has no rows or columns to ask for.
  GDbNoResult = 38,
  /// The query is being executed; reset it first.
  GDbQueryActive = 39,
  /// The SQL database rejects the statement.
  GDbSqlError = 40,
  /// The database has no memory left.
  GDbOutOfMemory = 41,
  /// The database has no room left.
  GDbDatabaseFull = 42,
  /// A row is larger than the database takes.
  GDbRowTooBig = 43,
  /// A change would break a rule that the table states.
  GDbConstraintViolation = 44,
  /// A column without a value was asked for its value.
  GDbColumnIsNull = 45,
  /// The query is not on a row, so that there is no column to read.
  GDbNotPositioned = 46,
  /// The operation does not fit what the object is doing now.
  GDbInvalidState = 47,
  /// The database cannot tell how many rows a query has.
  GDbSizeNotSupported = 48,
  /// The query is an empty handle, which belongs to no database.
  GDbQueryNotInitialized = 49
};

/// The words for `status`, for logs and dialogs. Never null. A value that is
/// no GDbStatus gives "error " and the number in one static buffer, which the
/// next such call overwrites: for one thread at a time. The words of every
/// GDbStatus are constant, and valid for the life of the process.
LOOMKIT_API const char* gDbStrError(GDbStatus status);

#endif  // LOOMKIT_DB_STATUS_H
