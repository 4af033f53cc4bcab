// SPDX-License-Identifier: MIT
// GDbDatabase: a database of any type, opened by its locator.
//
//   loomkit::Database database = loomkit::open("sqlite3:/data/parts.db");
//   loomkit::Table table = database.openTable("parts");
//   if (table) ...
//
// These two (open.h) close what they hold in the right order. Underneath are
// GDbDatabase::openDatabase() and openTable(), whose results the caller deletes,
// tables before their database.
//
// A locator is a type id, a colon and the backend's part, by convention a path
// with URI escapes, and behind a "?" options separated by ";". docs/databases.md
// tells them all.
#ifndef LOOMKIT_DB_DATABASE_H
#define LOOMKIT_DB_DATABASE_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/factory.h"
#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"
#include "loomkit/db/transaction_handler.h"
#include "loomkit/platform/export.h"

class GDbTable;

/// A database. The caller of openDatabase() owns it, deletes its tables first
/// and then the database; it may be closed earlier. Every operation reports
/// through a GDbStatus. Neither locked nor usable from two threads at a time,
/// and neither are the registries behind it.
///
/// A host may keep the pair (getDbIdx(), getSeqNo()) in place of the pointer
/// and ask getDatabase() for it: a stale pair gives null.
class LOOMKIT_API GDbDatabase {
 public:
  GDbDatabase(const GDbDatabase&);
  GDbDatabase& operator=(const GDbDatabase&);

  /// Deletes the tables that are left and frees the slot.
  virtual ~GDbDatabase();

  /// Closes all tables, then the connection. Repeatable.
  virtual GDbStatus closeDatabase();

  /// Opens a table into `*table`; the caller owns it. `structure` is the
  /// caller's view of the table: CSV needs it as the definition, others check
  /// it if it is not null. GDbInvalidTableName: no such table.
  virtual GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                              GDbTable** table) = 0;

  /// Creates a table with the columns and indexes of `structure` and opens it
  /// into `*table`; the caller owns it. GDbTableExists: there is one of that name;
  /// GDbCreateTableNotSupported where the backend only reads.
  virtual GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                                GDbTable** table) = 0;

  /// Deletes a table with its records. GDbTableInUse: it is open;
  /// GDbInvalidTableName: there is none; GDbDeleteTableNotSupported where the
  /// backend only reads.
  virtual GDbStatus deleteTable(const std::string& name) = 0;

  /// Sets the code set of the texts in the database. A backend without
  /// conversion logs that, and goes on as before.
  virtual void setEncoding(const char* encoding);

  /// Adds a type of database. Requires: `factory` lives to the end of the
  /// process.
  static void registerDbFactory(GDbDbFactory* factory);

  /// Opens the database of `locator`. The letter case of its type id does not
  /// count. GDbInvalidLocator: no type id of letters and digits, or nothing
  /// behind the colon; GDbInvalidTypeId: no such type; otherwise what the
  /// backend says. `*database` is the backend's to write: test the status.
  static GDbStatus openDatabase(const char* locator, GDbDatabase** database);

  /// The database of a handle; null when there is none or it is another by now.
  static GDbDatabase* getDatabase(int dbIdx, int seqNo);

  /// The two numbers of the handle: a slot, and a number that is never used again.
  [[nodiscard]] int getDbIdx() const { return dbIdx; }
  [[nodiscard]] int getSeqNo() const { return seqNo; }
  /// The whole locator.
  [[nodiscard]] const std::string& getName() const { return name; }

  /// Closes every table and returns the first failure.
  GDbStatus closeTables();

  /// Whether the first table of exactly this name is open.
  [[nodiscard]] bool isTableOpen(const std::string& tableName) const;

  /// Null for a database without transactions.
  GDbTransactionHandler* getTransactionHandler() { return transactionHandler; }

 protected:
  GDbDatabase(const std::string& locator);

  void setTransactionHandler(GDbTransactionHandler* handler) { transactionHandler = handler; }
  /// The tables that exist, open or closed.
  int getTableCount() { return static_cast<int>(tables.size()); }

 private:
  friend class GDbTable;
  void registerTable(GDbTable* table);
  void unregisterTable(GDbTable* table);

  std::string name;
  GDbTransactionHandler* transactionHandler = nullptr;
  std::int32_t dbIdx = 0;
  std::int32_t seqNo = 0;
  std::vector<GDbTable*> tables;

  static std::vector<GDbDatabase*> sDatabases;      // null: a free slot
  static std::vector<GDbDbFactory*>* sDbFactories;  // null until the first registration
  static std::int32_t sSeqNo;
};

#endif  // LOOMKIT_DB_DATABASE_H
