// SPDX-License-Identifier: MIT
// The SQLite driver, type id "sqlite3".
//
//   GDbDatabase::openDatabase("sqlite3:/data/parts.db", &database);
//
// The sqlite3 library is loaded at run time, when the first database is opened
// (GDbCantLoadLibrary when there is none; a later attempt tries again). The
// locator's path has URI escapes. Its options "readonly", "readwrite" and "create"
// are accepted and have no effect: SQLite opens the file for writing and makes a
// missing one. Texts pass to and from SQLite through the local encoding.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H
#define LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H

#include <string>
#include <vector>

#include "loomkit/db/factory.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/platform/export.h"

struct sqlite3;
class GSqlite3QueryData;

/// A SQLite database file. Statuses are mapped from SQLite's result codes, its
/// words are in getLastError(). A locked database is waited for ten seconds,
/// then GDbLockFailed. The operations are those of GSqlDatabaseImpl; what SQLite
/// does in a way of its own is told here. A connection and its queries are for one
/// thread.
class LOOMKIT_API GSqlite3Database : public GSqlDatabaseImpl {
 public:
  /// The number of SQLite's one transaction mode.
  static constexpr int onlyTransactionMode = 3;

  /// Takes an open connection over, which closeDatabase() closes. `locator` becomes
  /// the database's name. Hosts call GDbDatabase::openDatabase() instead.
  GSqlite3Database(const std::string& locator, sqlite3* connection);
  /// Closes the database if it is open.
  ~GSqlite3Database() override;

  /// Frees all statements and closes the connection. Queries and tables that are
  /// left answer that nothing is open. A second call does nothing and succeeds.
  GDbStatus closeDatabase() override;
  /// Creates the table with its primary key, the structure's indexes and one
  /// index per key column; an index that fails is logged and left out.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;

  /// Does nothing: there is one mode.
  void setTransactionMode(int mode) override;
  /// Always onlyTransactionMode, which is the default mode, too.
  [[nodiscard]] int getTransactionMode() const override;
  /// Begins a transaction; `mode` is ignored. SQLite has no transaction within
  /// another one, and a second begin fails.
  GDbStatus beginTransaction(int mode) override;
  /// Always onlyTransactionMode.
  [[nodiscard]] int getDefaultTransactionMode() const override;
  /// Both reset the active queries first, since SQLite refuses them otherwise: a
  /// result that was not read to its end has to be asked for anew.
  GDbStatus commitTransaction() override;
  GDbStatus rollbackTransaction() override;
  /// "sqlite3".
  [[nodiscard]] const char* getDriverName() const override;
  /// The version of the library that is loaded, which this call loads if need be.
  [[nodiscard]] unsigned getDriverVersion() const override;
  [[nodiscard]] int getFeatureLevel(int feature) const override;

  /// Each value is bound as the storage class of the call's type. A statement that
  /// is not prepared yet is prepared here. An index without a parameter is a
  /// failure.
  GDbStatus bindInt(GSqlQueryData* query, int index, int value) override;
  GDbStatus bindInt64(GSqlQueryData* query, int index, std::int64_t value) override;
  GDbStatus bindDouble(GSqlQueryData* query, int index, double value) override;
  /// Always binds a copy, converted from the local encoding to UTF-8, so that the
  /// caller's text may end with the call.
  GDbStatus bindText(GSqlQueryData* query, int index, const char* text, int length,
                     bool copy) override;
  /// Without `copy` SQLite reads the bytes when the query is executed, and again
  /// whenever it is executed with the same binding; they stay valid until the
  /// parameter is bound anew or the query ends.
  GDbStatus bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                     bool copy) override;
  GDbStatus bindNull(GSqlQueryData* query, int index) override;
  GDbStatus clearBindings(GSqlQueryData* query) override;
  GDbStatus reset(GSqlQueryData* query) override;
  /// Compiles the first statement of the text. What stands behind it is dropped
  /// without a failure, so that a caller executes statements one by one.
  GDbStatus prepare(GSqlQueryData* query) override;
  /// Runs the statement up to its first row, or to its end. A locked database makes
  /// the call wait for ten seconds, then it fails with GDbLockFailed.
  GDbStatus exec(GSqlQueryData* query) override;
  /// Succeeds as long as the query has not moved beyond its first row; after that
  /// GDbScrollBackNotSupported.
  GDbStatus first(GSqlQueryData* query) override;
  /// Fails with GDbScrollBackNotSupported, as previous() and setForwardOnly(false)
  /// do: SQLite makes the rows one after another and keeps none of them.
  GDbStatus last(GSqlQueryData* query) override;
  /// Steps to the next row. After GDbLockFailed the query is on no row but still
  /// active, and the caller may try again. After another failure it is inactive.
  GDbStatus next(GSqlQueryData* query) override;
  GDbStatus previous(GSqlQueryData* query) override;
  /// Moves forwards only, step by step, so that the time grows with the distance. A
  /// way back fails with GDbScrollBackNotSupported, and the query is on no row
  /// then.
  GDbStatus seek(GSqlQueryData* query, int position, bool relative) override;
  /// NULL is a storage class of the value, so that any column may have one.
  GDbStatus isNull(GSqlQueryData* query, int column, bool* result) override;
  /// The storage class of the value decides, not the declared type of the column: a
  /// whole number is read by getInt() or getInt64(), and one with a fraction by
  /// getDouble(). getInt() keeps the low 32 bits of a larger number.
  GDbStatus getInt(GSqlQueryData* query, int column, int* value) override;
  GDbStatus getInt64(GSqlQueryData* query, int column, std::int64_t* value) override;
  GDbStatus getDouble(GSqlQueryData* query, int column, double* value) override;
  /// The text in the local encoding, up to its first NUL.
  GDbStatus getText(GSqlQueryData* query, int column, std::string* value) override;
  GDbStatus getBlob(GSqlQueryData* query, int column, const void** data, unsigned* size) override;
  GDbStatus setForwardOnly(GSqlQueryData* query, bool forward) override;
  /// 0 when the statement has changed nothing. GDbQueryNotActive: it was not
  /// executed. GDbInvalidState: it has columns.
  GDbStatus getNumRowsAffected(GSqlQueryData* query, int* count) override;
  /// GDbSizeNotSupported: SQLite finds the rows as they are asked for.
  GDbStatus getSize(GSqlQueryData* query, int* count) override;
  /// The declared type of a column decides, then the value's own; a NULL is a
  /// placeholder with the NULL bit.
  GDbStatus getRecord(GSqlQueryData* query, GDbRecord** record) override;
  /// GDbNoResult: the sqlite3 library is too old to tell the names of columns.
  GDbStatus getNumColumns(GSqlQueryData* query, int* count) override;
  GDbStatus getColumnName(GSqlQueryData* query, int column, std::string* name) override;
  /// Whether a column may be NULL is told by builds of the sqlite3 library that know
  /// where a column comes from, as nearly all are. GDbNoResult: the library is too old
  /// to tell names.
  GDbStatus describe(GSqlQueryData* query, GSqlDescription* description) override;
  GDbStatus getParameterNames(GSqlQueryData* query, std::vector<std::string>* names) override;
  /// The text in the local encoding with all its bytes.
  GDbStatus getWholeText(GSqlQueryData* query, int column, std::string* value) override;
  GSqlQueryData* createQuery(const std::string& statement) override;
  GSqlQueryData* createQuery() override;
  /// Names and declared types by PRAGMA table_info; keys and indexes are not told.
  /// GDbCatalog tells those.
  GDbStatus getTableStructure(const std::string& name, GDbStructure** structure) override;
  GDbStatus tableExists(const std::string& name) override;

  /// For GSqlite3QueryData: the connection, null after close, and the status of a
  /// result code, which is noted as the last error with SQLite's own words.
  [[nodiscard]] sqlite3* getConnection() const { return db; }
  GDbStatus reportCode(int code);

 private:
  GDbStatus check(const GSqlQueryData* query);
  GDbStatus makeReady(GSqlQueryData* query);
  GDbStatus checkColumn(GSqlQueryData* query, int column, int storageClass);
  GDbStatus runTransaction(GSqlQuery* query, const char* statement);
  GDbStatus execute(const std::string& statement);
  void createIndexes(const std::string& table, const GDbStructure& structure);
  void createIndex(const std::string& table, const GDbIndex& index, const std::string& columns);

  sqlite3* db;  // null after close
  GSqlQuery beginQuery;
  GSqlQuery commitQuery;
  GSqlQuery rollbackQuery;
};

/// Opens "sqlite3:" locators.
class LOOMKIT_API GSqlite3DatabaseFactory : public GDbDbFactory {
 public:
  /// Registers itself. The library makes the one factory that is needed.
  GSqlite3DatabaseFactory();
  /// Stores a new database, which the caller owns. The file is opened for reading
  /// and writing and made when it is missing, whatever the options say; a caller
  /// who must not make one looks first whether it is there. GDbCantLoadLibrary:
  /// there is no sqlite3 library. GDbInvalidLocator: the locator cannot be read.
  /// Other failures are SQLite's, and are logged.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
};

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H
