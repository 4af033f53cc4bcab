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
  ~GSqlDatabaseImpl() override;

  /// Cuts every query off, then closes the tables.
  GDbStatus closeDatabase() override;
  /// With a structure, each of its fields must be in the table, with the same
  /// type or Int for UInt; the opened table has all columns in the database's
  /// order. Without one, every column must have a type.
  GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                      GDbTable** table) override;
  /// GDbTableInUse while a table of that name is open.
  GDbStatus deleteTable(const std::string& name) override;
  [[nodiscard]] const GSqlError& getLastError() const override { return lastError; }

  /// Give a parameter its value. GSqlQuery has seen to it that the query is not
  /// active, and that a text or blob is not null.
  virtual GDbStatus bindInt(GSqlQueryData* query, int index, int value) = 0;
  virtual GDbStatus bindInt64(GSqlQueryData* query, int index, std::int64_t value) = 0;
  virtual GDbStatus bindDouble(GSqlQueryData* query, int index, double value) = 0;
  /// `length` -1: to the terminator. Without `copy` the bytes stay valid until the
  /// query is reset.
  virtual GDbStatus bindText(GSqlQueryData* query, int index, const char* text, int length,
                             bool copy) = 0;
  virtual GDbStatus bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                             bool copy) = 0;
  virtual GDbStatus bindNull(GSqlQueryData* query, int index) = 0;
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
  virtual GDbStatus getBlob(GSqlQueryData* query, int column, const void** data,
                            unsigned* size) = 0;
  /// Allow moving backwards, and tell how many rows a statement has changed or a
  /// result has.
  virtual GDbStatus setForwardOnly(GSqlQueryData* query, bool forward) = 0;
  virtual GDbStatus getNumRowsAffected(GSqlQueryData* query, int* count) = 0;
  virtual GDbStatus getSize(GSqlQueryData* query, int* count) = 0;
  /// A new record of the current row, which the caller owns.
  virtual GDbStatus getRecord(GSqlQueryData* query, GDbRecord** record) = 0;
  /// A new query of this driver, which is counted by the handles on it.
  virtual GSqlQueryData* createQuery(const std::string& statement) = 0;
  virtual GSqlQueryData* createQuery() = 0;
  /// The table's real structure, which the caller owns; a null `structure` only
  /// asks whether the table exists.
  virtual GDbStatus getTableStructure(const std::string& name, GDbStructure** structure) = 0;
  /// 0 when there is such a table, GDbInvalidTableName when there is none.
  virtual GDbStatus tableExists(const std::string& name) = 0;

  /// A prepared lookup from the cache, taken out of it, or a new one. So a
  /// statement serves one lookup at a time.
  virtual GDbStatus getLookupQuery(const std::string& table, const std::string& where,
                                   const std::string& fields, GSqlQuery* query);
  /// Hands a lookup back to the cache, which holds about two a table.
  virtual void putLookupQuery(const std::string& table, const std::string& where,
                              const std::string& fields, const GSqlQuery& query);

  /// Extension: executes a statement `count` times; `bind(i)` gives it the
  /// parameters of time i. The first failure, of a `bind` or an execution, ends
  /// the call: what was executed before it stays, what comes behind it does not
  /// happen. A driver may send many at once.
  virtual GDbStatus execMany(GSqlQueryData* query, unsigned count,
                             const std::function<GDbStatus(unsigned)>& bind);
  /// Extension: a query that reads a whole table, of which a driver may have
  /// another way to keep the rows that were not yet asked for.
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

  /// Helpers for drivers, which a driver's own query data may call as well. The
  /// first two are called by the constructor and the destructor of GSqlQueryData.
  void registerQuery(GSqlQueryData* query) { queries.insert(query); }
  void unregisterQuery(GSqlQueryData* query) { queries.erase(query); }

  /// Resets every active query.
  void resetActiveQueries();
  /// Note a failure as the last error, the second with the database's own words.
  /// Success changes nothing, unless there is a text. Both return `status`.
  GDbStatus setError(GDbStatus status);
  GDbStatus setError(GDbStatus status, const std::string& text);
  /// Extension: the same with all that an error can tell.
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
