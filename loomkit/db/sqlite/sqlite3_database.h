// SPDX-License-Identifier: MIT
// The SQLite driver, type id "sqlite3".
//
//   GDbDatabase::openDatabase("sqlite3:/data/parts.db", &database);
//
// The sqlite3 library is loaded at run time, when the first database is opened
// (GDbCantLoadLibrary when there is none; a later attempt tries again). The
// locator's path has URI escapes; its options are "readonly", "readwrite" and
// "create". Texts pass to and from SQLite through the local encoding.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H
#define LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H

#include <string>

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

  /// Takes an open connection over.
  GSqlite3Database(const std::string& locator, sqlite3* connection);
  ~GSqlite3Database() override;

  /// Frees all statements and closes the connection.
  GDbStatus closeDatabase() override;
  /// Creates the table with its primary key, the structure's indexes and one
  /// index per key column; an index that fails is logged and left out.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;

  /// Does nothing: there is one mode.
  void setTransactionMode(int mode) override;
  /// onlyTransactionMode, and so is the default one.
  [[nodiscard]] int getTransactionMode() const override;
  /// `mode` is ignored.
  GDbStatus beginTransaction(int mode) override;
  [[nodiscard]] int getDefaultTransactionMode() const override;
  /// Both reset the active queries first: SQLite refuses them otherwise.
  GDbStatus commitTransaction() override;
  GDbStatus rollbackTransaction() override;
  [[nodiscard]] const char* getDriverName() const override;
  [[nodiscard]] unsigned getDriverVersion() const override;
  [[nodiscard]] int getFeatureLevel(int feature) const override;

  /// Each value is bound as the storage class of the call's type.
  GDbStatus bindInt(GSqlQueryData* query, int index, int value) override;
  GDbStatus bindInt64(GSqlQueryData* query, int index, std::int64_t value) override;
  GDbStatus bindDouble(GSqlQueryData* query, int index, double value) override;
  /// Always binds a copy, converted to UTF-8.
  GDbStatus bindText(GSqlQueryData* query, int index, const char* text, int length,
                     bool copy) override;
  /// Without `copy` SQLite reads the bytes when the query is executed.
  GDbStatus bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                     bool copy) override;
  GDbStatus bindNull(GSqlQueryData* query, int index) override;
  GDbStatus clearBindings(GSqlQueryData* query) override;
  GDbStatus reset(GSqlQueryData* query) override;
  GDbStatus prepare(GSqlQueryData* query) override;
  GDbStatus exec(GSqlQueryData* query) override;
  GDbStatus first(GSqlQueryData* query) override;
  /// GDbScrollBackNotSupported, and so are previous() and setForwardOnly(false).
  GDbStatus last(GSqlQueryData* query) override;
  GDbStatus next(GSqlQueryData* query) override;
  GDbStatus previous(GSqlQueryData* query) override;
  GDbStatus seek(GSqlQueryData* query, int position, bool relative) override;
  GDbStatus isNull(GSqlQueryData* query, int column, bool* result) override;
  GDbStatus getInt(GSqlQueryData* query, int column, int* value) override;
  GDbStatus getInt64(GSqlQueryData* query, int column, std::int64_t* value) override;
  GDbStatus getDouble(GSqlQueryData* query, int column, double* value) override;
  GDbStatus getText(GSqlQueryData* query, int column, std::string* value) override;
  GDbStatus getBlob(GSqlQueryData* query, int column, const void** data, unsigned* size) override;
  GDbStatus setForwardOnly(GSqlQueryData* query, bool forward) override;
  GDbStatus getNumRowsAffected(GSqlQueryData* query, int* count) override;
  /// GDbSizeNotSupported: SQLite finds the rows as they are asked for.
  GDbStatus getSize(GSqlQueryData* query, int* count) override;
  /// The declared type of a column decides, then the value's own; a NULL is a
  /// placeholder with the NULL bit.
  GDbStatus getRecord(GSqlQueryData* query, GDbRecord** record) override;
  GDbStatus getNumColumns(GSqlQueryData* query, int* count) override;
  GDbStatus getColumnName(GSqlQueryData* query, int column, std::string* name) override;
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
  /// Registers itself.
  GSqlite3DatabaseFactory();
  /// GDbCantLoadLibrary: there is no sqlite3 library. A missing file is made.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
};

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_DATABASE_H
