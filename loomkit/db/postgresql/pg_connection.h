// SPDX-License-Identifier: MIT
// PgConnection: one connection to a server, how it fails, and when it is made
// anew. Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_PG_CONNECTION_H
#define LOOMKIT_DB_POSTGRESQL_PG_CONNECTION_H

#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/postgresql/libpq_api.h"
#include "loomkit/db/status.h"

namespace loomkit {

/// How an operation on the connection ended; GDbNoError: well.
struct PgFailure {
  GDbStatus status = GDbNoError;
  std::string text = {};      ///< the server's or libpq's words, without a line end
  std::string sqlState = {};  ///< five characters; empty when no server spoke

  explicit operator bool() const { return status != GDbNoError; }
};

/// Who reads rows off the connection as they arrive.
class PgRowReader {
 public:
  /// Something else needs the connection: take what is left into memory.
  virtual void setAside() = 0;

 protected:
  PgRowReader() = default;
  PgRowReader(const PgRowReader&) = default;
  PgRowReader& operator=(const PgRowReader&) = default;
  ~PgRowReader() = default;
};

/// An open connection. Every statement asks ready() first:
///
///   PgFailure failure = connection.ready();
///   if (failure) return failure;
///
/// A connection that was lost between two statements is made anew there, unless
/// a transaction was open: that one is gone, and every statement fails until the
/// host has ended it. A statement that was sent is never sent again.
class PgConnection {
 public:
  PgConnection() = default;
  PgConnection(const PgConnection&) = delete;
  PgConnection& operator=(const PgConnection&) = delete;
  ~PgConnection() { close(); }

  /// Connects, also after a failure to. `shownName` is the URI for messages, without
  /// its password; `password` takes the place of all others unless null. Requires:
  /// the library is loaded. Does not say so when it fails.
  PgFailure open(const std::string& uri, const std::string& shownName,
                 const char* password = nullptr);
  /// After open() failed: whether the server asks for a password, and libpq has
  /// found none in the URI, the environment or the password file.
  [[nodiscard]] bool needsPassword() const;
  /// The user that open() connects as. Empty before that.
  [[nodiscard]] std::string user() const;
  void close();
  [[nodiscard]] bool isOpen() const { return connection != nullptr; }

  /// Makes the connection fit for a statement: sets aside the rows of another
  /// one, and connects again where that is right.
  PgFailure ready();

  /// For libpq's functions. Requires: isOpen().
  [[nodiscard]] pg_conn* get() const { return connection; }
  /// Another number after every new connection: what was prepared is gone then.
  [[nodiscard]] unsigned generation() const { return generationNo; }

  /// Runs a statement without parameters and rows, such as BEGIN. The command
  /// that the server says it has executed goes to `*command` unless null.
  PgFailure execute(const std::string& statement, std::string* command = nullptr);

  /// Prepares `text` under a name of the connection's own, which goes to
  /// `*statementName`,
  /// and has it described: its parameters and columns. One round trip. Requires:
  /// ready().
  PgFailure prepare(const std::string& text, std::string* statementName, PgResult* description);
  /// Lets the server drop a prepared statement when it is next spoken to.
  void forgetStatement(const std::string& statementName, unsigned itsGeneration);

  /// The next result of what was sent; null when there are no more.
  [[nodiscard]] PgResult result() const { return PgResult(libpq().getResult(connection)); }
  /// Reads up to so many marks of a pipeline's end. The last result before it goes
  /// to `*last`, the number of those before the first failure to `*good`, unless
  /// they are null; the first failure is returned.
  PgFailure readPipeline(int syncs, PgResult* last, unsigned* good);
  /// Reads the results that are left, to the last.
  void finish();
  /// Reads and forgets rows that nobody wants, or has the server stop.
  void discardRows();

  /// Why `result`, null or failed, is no success.
  [[nodiscard]] PgFailure failureOf(const pg_result* result) const;

  void setReader(PgRowReader* reader) { currentReader = reader; }
  [[nodiscard]] const PgRowReader* reader() const { return currentReader; }

  /// Whether a transaction is open, or was when the connection was lost.
  [[nodiscard]] bool inTransaction() const { return transactionOpen; }
  /// Whether it was lost then.
  [[nodiscard]] bool lostTransaction() const { return transactionOpen && isLost(); }
  /// The host has ended the transaction that was lost.
  void forgetTransaction() { transactionOpen = false; }
  /// Call after each statement: the server has told whether a transaction is open.
  void noteTransaction();

 private:
  [[nodiscard]] bool isLost() const { return libpq().status(connection) != pgConnectionOk; }
  PgFailure reconnect();
  int sendObsolete();
  void cancelRunning();

  pg_conn* connection = nullptr;
  std::string name;
  unsigned generationNo = 0;
  unsigned statementNo = 0;
  std::vector<std::string> obsolete;  // prepared statements that nobody uses any more
  bool transactionOpen = false;
  PgRowReader* currentReader = nullptr;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_PG_CONNECTION_H
