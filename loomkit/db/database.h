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
  /// A copy is not registered, and takes the handle of its original along, so that
  /// getDatabase() never gives the copy.
  GDbDatabase(const GDbDatabase&);
  GDbDatabase& operator=(const GDbDatabase&);

  /// Deletes the tables that are left, and the handle gives null from now on. A caller
  /// deletes its tables first all the same: the backend's part of the database has
  /// ended when this destructor gets to them.
  virtual ~GDbDatabase();

  /// Closes all tables, then the connection; a CSV table stays open, since it reads a
  /// file of its own. The objects stay the caller's to delete, and the operations of
  /// a closed table give GDbTableNotOpen. Repeatable.
  virtual GDbStatus closeDatabase();

  /// Opens a table and stores it in `*table`; the caller owns it and deletes it before
  /// the database. `structure` is the caller's view of the table: CSV needs it as
  /// the definition and xBase for the fields to read, others check it if it is not
  /// null. It stays the caller's. GDbInvalidArgument: `table` is null, or a structure
  /// that is needed; GDbInvalidTableName: there is no such table. `*table` is to be used only when
  /// the status is 0.
  virtual GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                              GDbTable** table) = 0;

  /// Creates a table with the columns and indexes of `structure` and opens it
  /// into `*table`; the caller owns it and deletes it before the database. The
  /// structure stays the caller's. GDbTableExists: there is one of that name;
  /// GDbCreateTableNotSupported where the backend only reads.
  virtual GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                                GDbTable** table) = 0;

  /// Deletes a table with its records from the database, not an object of GDbTable:
  /// that one is closed or deleted before. GDbTableInUse: the table is open;
  /// GDbInvalidTableName: there is none; GDbDeleteTableNotSupported where the
  /// backend only reads.
  virtual GDbStatus deleteTable(const std::string& name) = 0;

  /// Sets the code set of the texts in the database by its name. A backend without
  /// conversion writes a line to the log, and goes on as before.
  virtual void setEncoding(const char* encoding);

  /// Adds a type of database, which openDatabase() knows from then on. It may be called
  /// from the constructor of a static object. The factory stays the caller's.
  /// Requires: `factory` is not null and lives to the end of the process.
  static void registerDbFactory(GDbDbFactory* factory);

  /// Opens the database of `locator` and stores it in `*database`; the caller owns it.
  /// The letter case of its type id does not count. GDbInvalidArgument: a pointer is
  /// null; GDbInvalidLocator: no type id of letters and digits, or nothing
  /// behind the colon; GDbInvalidTypeId: no such type; otherwise what the
  /// backend says. The status decides whether `*database` may be used: after a
  /// failure it holds nothing to delete.
  static GDbStatus openDatabase(const char* locator, GDbDatabase** database);

  /// The database of a handle, that is of the two numbers below; null when it has been
  /// deleted. It stays its owner's.
  static GDbDatabase* getDatabase(int dbIdx, int seqNo);

  /// The two numbers of the handle: a slot, and a number that is never used again.
  [[nodiscard]] int getDbIdx() const { return dbIdx; }
  [[nodiscard]] int getSeqNo() const { return seqNo; }
  /// The whole locator that the database was opened with; the text stays the
  /// database's.
  [[nodiscard]] const std::string& getName() const { return name; }

  /// Closes every table, also after a failure, and returns the first failure.
  GDbStatus closeTables();

  /// Whether a table of exactly this name is open. Of several objects for one table,
  /// the one made first tells.
  [[nodiscard]] bool isTableOpen(const std::string& tableName) const;

  /// What begins and ends transactions; null for a database without them. It stays
  /// the database's, and ends with it.
  GDbTransactionHandler* getTransactionHandler() { return transactionHandler; }

 protected:
  /// Registers the database under a handle of its own. `locator` is what getName()
  /// tells.
  GDbDatabase(const std::string& locator);

  /// Says what getTransactionHandler() gives. The handler stays the backend's, and
  /// lives as long as the database.
  void setTransactionHandler(GDbTransactionHandler* handler) { transactionHandler = handler; }
  /// How many tables of this database exist as objects, open or closed.
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
