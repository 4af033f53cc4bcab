// SPDX-License-Identifier: MIT
// Certificates made by openssl for a test, and a server that has one of them.
#ifndef LOOMKIT_TESTS_DB_POSTGRESQL_TLS_H
#define LOOMKIT_TESTS_DB_POSTGRESQL_TLS_H

#include <string>

#include "tests/db/postgresql_server.h"

namespace loomkit::testing {

/// Files in PEM format, in the server's folder.
struct TlsFiles {
  std::string root;         ///< of the authority that signed the server's certificate
  std::string strangeRoot;  ///< of one that did not
  std::string bearer;       ///< a certificate of the user "bearer"
  std::string bearerKey;
};

/// Starts the server again, with TLS and a certificate for "localhost". Done once
/// for each server.
TlsFiles withTls(PostgresqlServer* server);

/// A locator by TCP to the server under the name of a host, for a user; `options`
/// begin with "&".
std::string tlsUri(const PostgresqlServer& server, const std::string& user, const std::string& host,
                   const std::string& options);

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_POSTGRESQL_TLS_H
