// SPDX-License-Identifier: MIT
// GSqlDatabaseImpl: the shared part of every SQL driver. A driver derives from
// it and from GSqlQueryData and implements what is pure here; GSqlQuery and
// GSqlTable call it.
#ifndef LOOMKIT_DB_SQL_SQL_DATABASE_IMPL_H
#define LOOMKIT_DB_SQL_SQL_DATABASE_IMPL_H

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "loomkit/db/sql/sql_database.h"
#include "loomkit/db/sql/sql_error.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/sql/sql_query_set.h"
#include "loomkit/db/transaction_handler.h"
#include "loomkit/platform/export.h"

class GSqlQueryData;

/// The table of living queries, the cache of prepared lookups, the last error,
/// and the tables of an SQL database. It is its own transaction handler.
///
/// The operations on a GSqlQueryData are a driver's to implement: `query` is always
/// one that the driver's createQuery() has made, parameters and columns count from
/// 0, results are stored only on success, and a failure is noted by setError(), so
/// that its words reach the caller. A host calls the same operations of GSqlQuery,
/// where each is described for its caller.
class LOOMKIT_API GSqlDatabaseImpl : public GSqlDatabase, public GDbTransactionHandler {
 public:
  GSqlDatabaseImpl(const GSqlDatabaseImpl&) = delete;
  GSqlDatabaseImpl& operator=(const GSqlDatabaseImpl&) = delete;
  /// Cuts off every query that is left, so that its handles answer GDbNotOpen.
  ~GSqlDatabaseImpl() override;

  /// Cuts every query off, then closes the tables. A handle on a query stays valid
  /// and answers GDbNotOpen from then on.
  GDbStatus closeDatabase() override;
  /// Stores a new table, which the caller owns; null after a failure. With a
  /// structure, each of its fields must be in the table, with the same type or Int
  /// for UInt; the opened table has all columns in the database's order. Without
  /// one, every column must have a type. The structure stays the caller's.
  ///
  /// GDbInvalidFieldName: a field is not in the table. GDbInvalidFieldType: its
  /// type is another, or a column has none. GDbInvalidArgument: `table` is null.
  GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                      GDbTable** table) override;
  /// Deletes the table with its rows. GDbTableInUse: a table of that name is open.
  /// GDbInvalidTableName: there is none. The name is put into the statement as it
  /// is, so that a host may pass `schema.table`, and never a name that a stranger
  /// chose.
  GDbStatus deleteTable(const std::string& name) override;
  [[nodiscard]] const GSqlError& getLastError() const override { return lastError; }

  /// Give a parameter its value. GSqlQuery has seen to it that the query is not
  /// active, and that a text or blob is not null.
  virtual GDbStatus bindInt(GSqlQueryData* query, int index, int value) = 0;
  virtual GDbStatus bindInt64(GSqlQueryData* query, int index, std::int64_t value) = 0;
  virtual GDbStatus bindDouble(GSqlQueryData* query, int index, double value) = 0;
  /// Binds `length` bytes in the local encoding; -1: to the terminator. Without
  /// `copy` the bytes stay valid until the query is reset.
  virtual GDbStatus bindText(GSqlQueryData* query, int index, const char* text, int length,
                             bool copy) = 0;
  /// Binds `size` bytes; null bytes of size 0 are a NULL. `copy` is as with
  /// bindText().
  virtual GDbStatus bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                             bool copy) = 0;
  /// Binds a NULL.
  virtual GDbStatus bindNull(GSqlQueryData* query, int index) = 0;
  /// Makes all parameters NULL, and resets the query when it is active.
  virtual GDbStatus clearBindings(GSqlQueryData* query) = 0;
  /// Make the query inactive, have its statement compiled, and execute it.
  virtual GDbStatus reset(GSqlQueryData* query) = 0;
  virtual GDbStatus prepare(GSqlQueryData* query) = 0;
  virtual GDbStatus exec(GSqlQueryData* query) = 0;
  /// Move onto a row; every move drops the query's cached record.
  /// GDbNoMoreRecords: behind the last row. GDbScrollBackNotSupported where the
  /// driver has no way back.
  virtual GDbStatus first(GSqlQueryData* query) = 0;
  virtual GDbStatus last(GSqlQueryData* query) = 0;
  virtual GDbStatus next(GSqlQueryData* query) = 0;
  virtual GDbStatus previous(GSqlQueryData* query) = 0;
  virtual GDbStatus seek(GSqlQueryData* query, int position, bool relative) = 0;
  /// Read a column of the current row, without conversion: GDbNotPositioned,
  /// GDbInvalidArgument for a column that is not there, GDbColumnIsNull,
  /// GDbFieldTypeMismatch.
  virtual GDbStatus isNull(GSqlQueryData* query, int column, bool* result) = 0;
  virtual GDbStatus getInt(GSqlQueryData* query, int column, int* value) = 0;
  virtual GDbStatus getInt64(GSqlQueryData* query, int column, std::int64_t* value) = 0;
  virtual GDbStatus getDouble(GSqlQueryData* query, int column, double* value) = 0;
  virtual GDbStatus getText(GSqlQueryData* query, int column, std::string* value) = 0;
  /// The bytes stay the driver's, and must be valid until the query moves.
  virtual GDbStatus getBlob(GSqlQueryData* query, int column, const void** data,
                            unsigned* size) = 0;
  /// Allows moving backwards with false; GDbScrollBackNotSupported where the driver
  /// cannot.
  virtual GDbStatus setForwardOnly(GSqlQueryData* query, bool forward) = 0;
  /// How many rows the executed statement has changed. A failure when it has
  /// columns.
  virtual GDbStatus getNumRowsAffected(GSqlQueryData* query, int* count) = 0;
  /// How many rows the result has. GDbSizeNotSupported where the driver finds them
  /// one by one.
  virtual GDbStatus getSize(GSqlQueryData* query, int* count) = 0;
  /// Stores a new record of the current row, which the caller owns.
  virtual GDbStatus getRecord(GSqlQueryData* query, GDbRecord** record) = 0;
  /// A new query of this driver, never null. No handle counts it yet: the caller
  /// makes the first one, and the last one deletes it.
  virtual GSqlQueryData* createQuery(const std::string& statement) = 0;
  virtual GSqlQueryData* createQuery() = 0;
  /// Stores the table's real structure, which the caller owns; a null `structure`
  /// only asks whether the table exists. GDbInvalidTableName: there is no such
  /// table.
  virtual GDbStatus getTableStructure(const std::string& name, GDbStructure** structure) = 0;
  /// 0 when there is such a table, GDbInvalidTableName when there is none.
  virtual GDbStatus tableExists(const std::string& name) = 0;

  /// Stores a query that reads `fields` of the rows of `table` for which `where`
  /// holds. It is taken out of the cache, where a lookup with the same three texts
  /// has left it, or is new. So a statement serves one lookup at a time. `where`
  /// and `fields` are pieces of SQL, and `table` is a name that is not quoted yet.
  virtual GDbStatus getLookupQuery(const std::string& table, const std::string& where,
                                   const std::string& fields, GSqlQuery* query);
  /// Hands a lookup back under the same three texts, and clears its parameters. The
  /// cache holds about two a table that is open, and lets the oldest go. A query
  /// that failed is not handed back.
  virtual void putLookupQuery(const std::string& table, const std::string& where,
                              const std::string& fields, const GSqlQuery& query);

  /// Extension: executes a statement `count` times; `bind(i)` gives it the
  /// parameters of time i, counted from 0. The first failure, of a `bind` or an
  /// execution, ends the call: what was executed before it stays, what comes behind
  /// it does not happen. A driver may send many at once.
  virtual GDbStatus execMany(GSqlQueryData* query, unsigned count,
                             const std::function<GDbStatus(unsigned)>& bind);
  /// Extension: a query as of createQuery() that reads a whole table. A driver may
  /// keep the rows that were not yet asked for in another way for it.
  virtual GSqlQueryData* createScan(const std::string& statement);

  /// Extension: a column's and a table's name as they stand in generated SQL. The
  /// base puts them in double quotes as they are; a driver may escape them, or
  /// know schemas.
  [[nodiscard]] virtual std::string quoteName(const std::string& name) const;
  [[nodiscard]] virtual std::string quoteTable(const std::string& name) const;

  /// Extension: the columns of a statement's result, and a text with all its bytes.
  /// The base cannot tell the columns, GDbNoResult, and takes a text from getText().
  virtual GDbStatus getNumColumns(GSqlQueryData* query, int* count);
  virtual GDbStatus getColumnName(GSqlQueryData* query, int column, std::string* name);
  virtual GDbStatus getWholeText(GSqlQueryData* query, int column, std::string* value);
  /// Extension: what a statement says of its columns and parameters, and the names of
  /// the latter alone, "" for one without. The results are empty before the call. The
  /// base cannot tell: GDbNoResult.
  virtual GDbStatus describe(GSqlQueryData* query, GSqlDescription* description);
  virtual GDbStatus getParameterNames(GSqlQueryData* query, std::vector<std::string>* names);

  /// Helpers for drivers, which a driver's own query data may call as well. These
  /// two are called by the constructor and the destructor of GSqlQueryData; the
  /// database does not own the query.
  void registerQuery(GSqlQueryData* query) { queries.insert(query); }
  void unregisterQuery(GSqlQueryData* query) { queries.erase(query); }

  /// Resets every active query, which a driver does before a commit or a rollback
  /// if its database refuses that with open results.
  void resetActiveQueries();
  /// Notes a failure as the last error, with the words of the status only.
  /// GDbNoError changes nothing. Returns `status`, so that a driver writes `return
  /// setError(...)`.
  GDbStatus setError(GDbStatus status);
  /// The same with the database's own words. A text is noted even with GDbNoError.
  GDbStatus setError(GDbStatus status, const std::string& text);
  /// Extension: the same with all that an error can tell. Returns its status.
  GDbStatus setError(const GSqlError& error);

  /// The handler's operations: beginTransaction() in the default mode,
  /// commitTransaction() and rollbackTransaction().
  GDbStatus begin() override;
  GDbStatus commit() override;
  GDbStatus rollback() override;

 protected:
  GSqlDatabaseImpl(const std::string& locator);

 private:
  void invalidateQueries();

  struct Lookup {
    std::string table;
    std::string where;
    std::string fields;
    GSqlQuery query;

    [[nodiscard]] bool is(const std::string& itsTable, const std::string& itsWhere,
                          const std::string& itsFields) const {
      return where == itsWhere && table == itsTable && fields == itsFields;
    }
  };
  std::list<Lookup>::iterator findLookup(const std::string& table, const std::string& where,
                                         const std::string& fields);

  loomkit::SqlQuerySet queries;
  std::list<Lookup> lookupCache;  // most recently returned first
  // The texts of the query that was handed out last, for its return: most
  // lookups come one by one.
  std::list<Lookup> lentLookup;
  GSqlError lastError;
};

#endif  // LOOMKIT_DB_SQL_SQL_DATABASE_IMPL_H
