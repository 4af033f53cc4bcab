// SPDX-License-Identifier: MIT
// GSqlQueryData: what the handles (GSqlQuery) on one statement share. A driver
// derives from it and adds its statement; hosts use GSqlQuery.
#ifndef LOOMKIT_DB_SQL_SQL_QUERY_DATA_H
#define LOOMKIT_DB_SQL_SQL_QUERY_DATA_H

#include <cstdint>
#include <string>

#include "loomkit/db/record.h"
#include "loomkit/db/sql/sql_error.h"
#include "loomkit/platform/export.h"

class GSqlDatabaseImpl;

/// A statement and its state, counted by the handles on it; it ends with the
/// last one. Registered with its database until then, or until the database
/// closes: then invalidate() cuts it off, and every handle answers GDbNotOpen. A
/// driver reports through getDatabase()->setError(). For one thread at a time.
class LOOMKIT_API GSqlQueryData {
 public:
  /// Enter the object into the table of `database`, which must not be null and
  /// stays the caller's. No handle counts it yet: GSqlQuery takes the first
  /// reference to what createQuery() returns, and the last handle deletes it.
  GSqlQueryData(GSqlDatabaseImpl* database);
  GSqlQueryData(GSqlDatabaseImpl* database, const std::string& statement);
  GSqlQueryData(const GSqlQueryData&) = delete;
  GSqlQueryData& operator=(const GSqlQueryData&) = delete;

  /// Leaves the database's table if it is still in it, and drops the record. A
  /// driver frees its statement in its own destructor.
  virtual ~GSqlQueryData();

  /// Whether the statement was executed and not reset since.
  [[nodiscard]] virtual bool isActive() const = 0;
  /// Whether the query is positioned on a row.
  [[nodiscard]] virtual bool isValid() const = 0;
  /// Whether the statement yields columns. A driver that does not know yet prepares
  /// the statement; false when that fails.
  [[nodiscard]] virtual bool isSelect() const = 0;
  /// The database closes: forget it. A driver frees its statement and then calls
  /// this, after which getDatabase() is null. The database takes the object out of
  /// its table itself.
  virtual void invalidate();
  /// Stores the flag. A driver that cannot go back refuses it in its
  /// setForwardOnly() of the database, before this is called.
  virtual void setForwardOnly(bool forward);
  /// Stores another text, and sets the flag "forward only" again. A driver frees
  /// the statement of the old text first.
  virtual void setStatement(const std::string& text);
  /// Drops the row that GSqlQuery::getRecord() keeps, so that pointers to it end. A
  /// driver calls it at every move.
  virtual void clearRecord();

  /// Null after the database has closed.
  [[nodiscard]] GSqlDatabaseImpl* getDatabase() const { return database; }
  /// The statement's text, valid until setStatement().
  [[nodiscard]] const std::string& getStatement() const { return statement; }
  /// Whether moving backwards is not asked for, which is how a query begins.
  [[nodiscard]] bool isForwardOnly() const { return forwardOnly; }

 private:
  friend class GSqlQuery;
  void incRef() { ++refCount; }
  void decRef();

  std::int32_t refCount = 0;
  GSqlDatabaseImpl* database;
  std::string statement;
  bool forwardOnly = true;
  GDbRecord* record = nullptr;  // the row of GSqlQuery::getRecord(), owned
  GSqlError lastError;
};

#endif  // LOOMKIT_DB_SQL_SQL_QUERY_DATA_H
