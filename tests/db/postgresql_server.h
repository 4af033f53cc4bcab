// SPDX-License-Identifier: MIT
// PostgresqlServer: a PostgreSQL server of a test's own, in a scratch directory,
// on a Unix socket there and on a free port of 127.0.0.1. A server does not run
// as root: as root it is started as the user nobody.
#ifndef LOOMKIT_TESTS_DB_POSTGRESQL_SERVER_H
#define LOOMKIT_TESTS_DB_POSTGRESQL_SERVER_H

#include <sys/types.h>

#include <string>

#include "tests/db/guarded_folder.h"

namespace loomkit::testing {

/// Runs from construction to destruction, or to the end of the test program in
/// whatever way that ends. Everybody may connect, but for three users over TCP:
/// "guarded" needs a password, "onlytls" needs TLS, and "bearer" a certificate.
class PostgresqlServer {
 public:
  PostgresqlServer();
  PostgresqlServer(const PostgresqlServer&) = delete;
  PostgresqlServer& operator=(const PostgresqlServer&) = delete;
  ~PostgresqlServer();

  /// The locators of a database: over the socket, and over TCP at `port` (0: the
  /// server's own).
  [[nodiscard]] std::string socketUri(const std::string& database = "postgres") const;
  [[nodiscard]] std::string tcpUri(const std::string& database = "postgres", int atPort = 0) const;

  /// The scratch directory, where the socket lies.
  [[nodiscard]] const std::string& directory() const { return folder.path(); }
  [[nodiscard]] int port() const { return tcpPort; }

  /// Writes a file into the data directory, owned by the server's user.
  void writeConfiguration(const std::string& leaf, const std::string& text) const;
  /// Appends to the configuration; counts from the next start on.
  void configure(const std::string& lines) const;
  void start();
  /// Ends all connections and stops; `atOnce` without a last word to them.
  void stop(bool atOnce = false);

  /// Runs statements by psql, which must succeed; what it printed, unaligned.
  std::string psql(const std::string& statements, const std::string& database = "postgres") const;

  /// The server that the tests of this program share, started at its first use.
  static PostgresqlServer& shared();

 private:
  [[nodiscard]] std::string program(const std::string& name) const;
  [[nodiscard]] std::string data() const { return directory() + "/data"; }
  [[nodiscard]] bool isReady() const;
  bool tryToStart();

  GuardedFolder folder;
  std::string programs;
  int tcpPort = 0;
  pid_t process = -1;
};

/// A TCP port of 127.0.0.1 that nobody listens on just now, and that the system
/// gives to no connection by itself.
int freePort();

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_POSTGRESQL_SERVER_H
