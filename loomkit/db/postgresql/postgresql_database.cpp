// SPDX-License-Identifier: MIT
// The connection: closing, errors, transactions, fixed answers.
#include "loomkit/db/postgresql/postgresql_database.h"

#include <utility>

#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/postgresql_query_data.h"
#include "loomkit/db/postgresql/statement_text.h"
#include "loomkit/db/postgresql/table_name.h"

using loomkit::libpq;
using loomkit::PgFailure;

namespace {

// libpq's number of a version, such as 150004 for 15.4, in the form of
// getDriverVersion().
unsigned packedVersion(int version) {
  const auto number = static_cast<unsigned>(version);
  return number / 10000 << 20 | number % 10000 << 10;
}

std::string savepointName(int number) { return "loomkit_savepoint_" + std::to_string(number); }

}  // namespace

GPostgresqlDatabase::GPostgresqlDatabase(const std::string& locator,
                                         std::unique_ptr<loomkit::PgConnection> itsServer)
    : GSqlDatabaseImpl(locator), server(std::move(itsServer)) {}

GPostgresqlDatabase::~GPostgresqlDatabase() { GPostgresqlDatabase::closeDatabase(); }

GDbStatus GPostgresqlDatabase::closeDatabase() {
  if (!server->isOpen()) return GDbNoError;
  const GDbStatus status = GSqlDatabaseImpl::closeDatabase();
  server->close();
  return status;
}

GDbStatus GPostgresqlDatabase::report(const PgFailure& failure) {
  return setError(GSqlError(failure.status, failure.text, failure.sqlState));
}

GDbStatus GPostgresqlDatabase::check(const GSqlQueryData* query) {
  if (!server->isOpen()) return setError(GDbNotOpen);
  return query == nullptr ? setError(GDbInternalError) : GDbNoError;
}

bool GPostgresqlDatabase::escapesByBackslash() const {
  const char* standard = libpq().parameterStatus(server->get(), "standard_conforming_strings");
  return standard != nullptr && std::string(standard) == "off";
}

GSqlQueryData* GPostgresqlDatabase::createQuery(const std::string& statement) {
  return new GPostgresqlQueryData(this, statement, false);
}

GSqlQueryData* GPostgresqlDatabase::createScan(const std::string& statement) {
  return new GPostgresqlQueryData(this, statement, true);
}

GSqlQueryData* GPostgresqlDatabase::createQuery() { return createQuery({}); }

std::string GPostgresqlDatabase::quoteName(const std::string& itsName) const {
  return loomkit::quotedIdentifier(itsName);
}

std::string GPostgresqlDatabase::quoteTable(const std::string& itsName) const {
  return loomkit::PgTableName::of(itsName).quoted();
}

void GPostgresqlDatabase::setTransactionMode(int /*mode*/) {}
int GPostgresqlDatabase::getTransactionMode() const { return 3; }
int GPostgresqlDatabase::getDefaultTransactionMode() const { return 3; }

GDbStatus GPostgresqlDatabase::execute(const std::string& statement) {
  if (!server->isOpen()) return setError(GDbNotOpen);
  return report(server->execute(statement));
}

GDbStatus GPostgresqlDatabase::beginTransaction(int /*mode*/) {
  if (!server->isOpen()) return setError(GDbNotOpen);
  if (!server->inTransaction()) {
    savepoints = 0;
    return execute("BEGIN");
  }
  const GDbStatus status = execute("SAVEPOINT " + savepointName(savepoints + 1));
  if (status == GDbNoError) ++savepoints;
  return status;
}

GDbStatus GPostgresqlDatabase::commitTransaction() { return endTransaction(true); }
GDbStatus GPostgresqlDatabase::rollbackTransaction() { return endTransaction(false); }

GDbStatus GPostgresqlDatabase::endTransaction(bool commit) {
  if (!server->isOpen()) return setError(GDbNotOpen);
  resetActiveQueries();
  if (server->lostTransaction()) return endLostTransaction(commit);
  if (!server->inTransaction()) return report({GDbSqlError, "no transaction is open", "25P01"});
  if (savepoints > 0) {
    const std::string savepoint = savepointName(savepoints);
    GDbStatus status = GDbNoError;
    if (!commit) status = execute("ROLLBACK TO SAVEPOINT " + savepoint);
    if (status == GDbNoError) status = execute("RELEASE SAVEPOINT " + savepoint);
    if (status == GDbNoError) --savepoints;
    return status;
  }
  std::string command;
  const PgFailure failure = server->execute(commit ? "COMMIT" : "ROLLBACK", &command);
  if (failure) return report(failure);
  // The server ends a failed transaction by rolling it back, and calls the COMMIT a
  // success.
  if (commit && command == "ROLLBACK")
    return report(
        {GDbSqlError, "a statement had failed; the transaction was rolled back", "25P02"});
  return GDbNoError;
}

// The server has rolled back what it never saw committed.
GDbStatus GPostgresqlDatabase::endLostTransaction(bool commit) {
  const bool outermost = savepoints == 0;
  if (outermost)
    server->forgetTransaction();
  else
    --savepoints;
  return commit ? report({GDbIoError, "the connection was lost, and the open transaction with it"})
                : GDbNoError;
}

const char* GPostgresqlDatabase::getDriverName() const { return "postgresql"; }

unsigned GPostgresqlDatabase::getDriverVersion() const {
  return packedVersion(libpq().libVersion());
}

int GPostgresqlDatabase::getFeatureLevel(int feature) const { return feature == 1 ? 1 : -1; }

unsigned GPostgresqlDatabase::getServerVersion() const {
  return server->isOpen() ? packedVersion(libpq().serverVersion(server->get())) : 0;
}

std::string GPostgresqlDatabase::getTlsVersion() const {
  if (!server->isOpen() || libpq().sslInUse(server->get()) == 0) return {};
  const char* version = libpq().sslAttribute(server->get(), "protocol");
  return version != nullptr ? version : "TLS";
}
