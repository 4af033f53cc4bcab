// SPDX-License-Identifier: MIT
// Extension: the PostgreSQL driver, type ids "postgresql" and "postgres".
//
//   GDbDatabase::openDatabase("postgresql://me@db.example/parts?sslmode=verify-full", &database);
//
// The locator is a connection URI as libpq takes it, with all of its options,
// and libpq's environment variables, password file and service file hold. libpq
// is loaded at run time, when the first database is opened (GDbCantLoadLibrary
// when there is none; a later attempt tries again). docs/databases.md tells what
// the driver does with types, transactions and lost connections.
#ifndef LOOMKIT_DB_POSTGRESQL_POSTGRESQL_DATABASE_H
#define LOOMKIT_DB_POSTGRESQL_POSTGRESQL_DATABASE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/factory.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/platform/export.h"

namespace loomkit {
class PgConnection;
struct PgFailure;
}  // namespace loomkit

/// A database on a PostgreSQL server, or on one that speaks its protocol.
/// Statuses are mapped from SQLSTATE codes; the server's words and the code are
/// in getLastError(). Its name is the locator without a password. A connection
/// and its queries are for one thread.
///
/// A connection that was lost is made anew by the next operation, which logs it,
/// unless a transaction was open: then every operation fails with GDbIoError
/// until commit() or rollback() has ended that transaction. No statement is ever
/// sent twice.
class LOOMKIT_API GPostgresqlDatabase : public GSqlDatabaseImpl {
 public:
  /// Takes an open connection over. `locator` is the name: without a password.
  GPostgresqlDatabase(const std::string& locator, std::unique_ptr<loomkit::PgConnection> server);
  ~GPostgresqlDatabase() override;

  GDbStatus closeDatabase() override;
  /// Creates the table with its primary key, the structure's indexes and one
  /// index per key column; an index that fails is logged and left out.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;
  GDbStatus deleteTable(const std::string& name) override;

  void setTransactionMode(int mode) override;
  [[nodiscard]] int getTransactionMode() const override;
  /// `mode` is ignored. Within a transaction this makes a savepoint, to which
  /// the rollback that belongs to it returns.
  GDbStatus beginTransaction(int mode) override;
  [[nodiscard]] int getDefaultTransactionMode() const override;
  /// Ends the innermost transaction. A transaction in which a statement failed
  /// cannot be committed: it is rolled back, and the status is no success.
  GDbStatus commitTransaction() override;
  /// Rolls the innermost transaction back.
  GDbStatus rollbackTransaction() override;
  [[nodiscard]] const char* getDriverName() const override;
  /// libpq's version.
  [[nodiscard]] unsigned getDriverVersion() const override;
  [[nodiscard]] int getFeatureLevel(int feature) const override;

  /// The server's version, packed as getDriverVersion() is; 0 when it is closed.
  [[nodiscard]] unsigned getServerVersion() const;
  /// The TLS version of the connection, such as "TLSv1.3"; empty without TLS.
  [[nodiscard]] std::string getTlsVersion() const;

  GDbStatus bindInt(GSqlQueryData* query, int index, int value) override;
  GDbStatus bindInt64(GSqlQueryData* query, int index, std::int64_t value) override;
  GDbStatus bindDouble(GSqlQueryData* query, int index, double value) override;
  /// Always binds a copy, converted to UTF-8. GDbInvalidArgument: a NUL within
  /// `length`, which no text of the server can hold.
  GDbStatus bindText(GSqlQueryData* query, int index, const char* text, int length,
                     bool copy) override;
  /// Always binds a copy.
  GDbStatus bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                     bool copy) override;
  GDbStatus bindNull(GSqlQueryData* query, int index) override;
  GDbStatus clearBindings(GSqlQueryData* query) override;
  GDbStatus reset(GSqlQueryData* query) override;
  GDbStatus prepare(GSqlQueryData* query) override;
  GDbStatus exec(GSqlQueryData* query) override;
  GDbStatus first(GSqlQueryData* query) override;
  GDbStatus last(GSqlQueryData* query) override;
  GDbStatus next(GSqlQueryData* query) override;
  GDbStatus previous(GSqlQueryData* query) override;
  GDbStatus seek(GSqlQueryData* query, int position, bool relative) override;
  GDbStatus isNull(GSqlQueryData* query, int column, bool* result) override;
  /// GDbFieldTypeMismatch also where the value needs more than 32 bits.
  GDbStatus getInt(GSqlQueryData* query, int column, int* value) override;
  GDbStatus getInt64(GSqlQueryData* query, int column, std::int64_t* value) override;
  GDbStatus getDouble(GSqlQueryData* query, int column, double* value) override;
  GDbStatus getText(GSqlQueryData* query, int column, std::string* value) override;
  GDbStatus getBlob(GSqlQueryData* query, int column, const void** data, unsigned* size) override;
  GDbStatus getNumColumns(GSqlQueryData* query, int* count) override;
  GDbStatus getColumnName(GSqlQueryData* query, int column, std::string* result) override;
  /// Asks the server's catalog for declared types and NOT NULL.
  GDbStatus describe(GSqlQueryData* query, GSqlDescription* description) override;
  GDbStatus getParameterNames(GSqlQueryData* query, std::vector<std::string>* names) override;
  GDbStatus setForwardOnly(GSqlQueryData* query, bool forward) override;
  GDbStatus getNumRowsAffected(GSqlQueryData* query, int* count) override;
  GDbStatus getSize(GSqlQueryData* query, int* count) override;
  /// Of an integer that needs more than 32 bits the record has the lower 32;
  /// GDbTypedRow::getInt64() gives all.
  GDbStatus getRecord(GSqlQueryData* query, GDbRecord** record) override;
  GSqlQueryData* createQuery(const std::string& statement) override;
  GSqlQueryData* createQuery() override;
  /// Sends many at once. Outside of a transaction a batch of them is one; when
  /// one fails, those before it are executed again, as none of the batch was kept.
  GDbStatus execMany(GSqlQueryData* query, unsigned count,
                     const std::function<GDbStatus(unsigned)>& bind) override;
  /// Within a transaction its rows come through a cursor, so that other
  /// statements may be executed between them.
  GSqlQueryData* createScan(const std::string& statement) override;
  [[nodiscard]] std::string quoteName(const std::string& name) const override;
  [[nodiscard]] std::string quoteTable(const std::string& name) const override;
  GDbStatus getTableStructure(const std::string& name, GDbStructure** structure) override;
  GDbStatus tableExists(const std::string& name) override;

  /// For the driver's statements and tables: the connection; a failure as the
  /// last error; whether a backslash escapes in every string.
  [[nodiscard]] loomkit::PgConnection& connection() { return *server; }
  GDbStatus report(const loomkit::PgFailure& failure);
  [[nodiscard]] bool escapesByBackslash() const;

 private:
  GDbStatus check(const GSqlQueryData* query);
  GDbStatus endTransaction(bool commit);
  GDbStatus endLostTransaction(bool commit);
  GDbStatus execute(const std::string& statement);
  void createIndexes(const std::string& table, const GDbStructure& structure);
  void createIndex(const std::string& table, const std::string& suffix, bool unique,
                   const std::string& columns);

  std::unique_ptr<loomkit::PgConnection> server;
  int savepoints = 0;  // within the open transaction
};

/// Opens connection URIs.
class LOOMKIT_API GPostgresqlDatabaseFactory : public GDbDbFactory {
 public:
  /// Registers itself.
  explicit GPostgresqlDatabaseFactory(const std::string& typeId);
  /// GDbInvalidLocator: no URI, or one that libpq cannot read; GDbCantOpenFile:
  /// no connection. The log has libpq's words.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;

  /// Asks a person for the password of `user`; false when there is nobody to ask.
  using PasswordPrompt = std::function<bool(const std::string& user, std::string* password)>;
  /// As openDatabase(). When the server wants a password, and libpq finds none in
  /// the locator, the environment or the password file, `prompt` is asked once. The
  /// password is kept for new connections, and shown nowhere.
  static GDbStatus openWithPrompt(const char* locator, const PasswordPrompt& prompt,
                                  GDbDatabase** database);

  /// `locator` as it may be shown: without what is or may be a password.
  static std::string getShownLocator(const std::string& locator);
};

#endif  // LOOMKIT_DB_POSTGRESQL_POSTGRESQL_DATABASE_H
