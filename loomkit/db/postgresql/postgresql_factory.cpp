// SPDX-License-Identifier: MIT
// Opening PostgreSQL databases.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "loomkit/db/postgresql/connection_uri.h"
#include "loomkit/db/postgresql/pg_connection.h"
#include "loomkit/db/postgresql/postgresql_catalog.h"
#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/sql/log_line.h"

using loomkit::libpq;
using loomkit::logLine;

namespace {

bool isPortList(std::string_view ports) {
  return std::all_of(ports.begin(), ports.end(),
                     [](char c) { return c == ',' || (c >= '0' && c <= '9'); });
}

// Whether libpq can read the URI, and takes the same part of it for the password as we
// do. libpq's reason is not asked for, as it would quote the URI with its password.
bool isReadable(const std::string& uri) {
  if (!loomkit::hasPlainUser(uri)) return false;
  const std::unique_ptr<loomkit::PgOption, void (*)(loomkit::PgOption*)> options(
      libpq().conninfoParse(uri.c_str(), nullptr), libpq().conninfoFree);
  if (options == nullptr) return false;
  for (const loomkit::PgOption* option = options.get(); option->keyword != nullptr; ++option)
    if (std::string_view(option->keyword) == "port" && option->value != nullptr)
      return isPortList(option->value);
  return true;
}

}  // namespace

// The factories and the catalog are made while the library is being loaded; the
// registries keep them to the end of the process.
namespace loomkit::backends {
extern const GDbDbFactory* const postgresql;
const GDbDbFactory* const postgresql = [] {
  GDbCatalog::registerCatalog(new PostgresqlCatalog);
  static_cast<void>(new GPostgresqlDatabaseFactory("postgres"));
  return new GPostgresqlDatabaseFactory("postgresql");
}();
}  // namespace loomkit::backends

GPostgresqlDatabaseFactory::GPostgresqlDatabaseFactory(const std::string& dbTypeId)
    : GDbDbFactory(dbTypeId) {
  GDbDatabase::registerDbFactory(this);
}

std::string GPostgresqlDatabaseFactory::getShownLocator(const std::string& locator) {
  return loomkit::withoutPassword(locator);
}

GDbStatus GPostgresqlDatabaseFactory::openDatabase(const char* locator, GDbDatabase** database) {
  return openWithPrompt(locator, nullptr, database);
}

GDbStatus GPostgresqlDatabaseFactory::openWithPrompt(const char* locator,
                                                     const PasswordPrompt& prompt,
                                                     GDbDatabase** database) {
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  if (!loomkit::isConnectionUri(locator)) return GDbInvalidLocator;
  if (!loomkit::libpqLibrary().load()) {
    logLine("Error loading libpq.");
    return GDbCantLoadLibrary;
  }
  const std::string shown = getShownLocator(locator);
  const std::string uri = loomkit::connectionUri(locator);
  if (!isReadable(uri)) {
    logLine("Invalid connection URI: " + shown);
    return GDbInvalidLocator;
  }
  auto server = std::make_unique<loomkit::PgConnection>();
  loomkit::PgFailure failure = server->open(uri, shown);
  std::string password;
  if (failure && prompt && server->needsPassword() && prompt(server->user(), &password))
    failure = server->open(uri, shown, password.c_str());
  if (failure) {
    const bool quotes = !loomkit::hasClearEnd(uri);
    logLine("Failed to open database " + shown + ": " +
            (quotes ? "escape the \"@\" behind the \"?\" as %40 to see why" : failure.text));
    return failure.status;
  }
  *database = new GPostgresqlDatabase(shown, std::move(server));
  return GDbNoError;
}
