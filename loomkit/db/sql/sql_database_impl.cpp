// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_database_impl.h"

#include <algorithm>
#include <memory>

#include "loomkit/db/sql/sql_query_data.h"
#include "loomkit/db/sql/sql_table.h"
#include "loomkit/db/sql/sql_type.h"

namespace {

using loomkit::sqlType;

// Whether the caller's view fits the table.
GDbStatus checkStructure(const GDbStructure& real, const GDbStructure& wanted) {
  for (const GDbField& field : wanted.getFields()) {
    const int id = real.getFieldId(field.getName());
    if (id < 0) return GDbInvalidFieldName;
    const GDbFieldType type = sqlType(field.getType());
    const bool known = type > GDbFieldNone && type <= GDbFieldBlob;
    if (!known || type != sqlType(real.getField(id).getType())) return GDbInvalidFieldType;
  }
  return GDbNoError;
}

// Without a caller's view all columns are read, so that each must have a type.
GDbStatus checkAllTyped(const GDbStructure& real) {
  const auto& fields = real.getFields();
  const bool typed = std::none_of(fields.begin(), fields.end(), [](const GDbField& field) {
    return field.getType() == GDbFieldNone;
  });
  return typed ? GDbNoError : GDbInvalidFieldType;
}

}  // namespace

GSqlDatabase::GSqlDatabase(const std::string& locator) : GDbDatabase(locator) {}
GSqlDatabase::~GSqlDatabase() = default;

GSqlDatabaseImpl::GSqlDatabaseImpl(const std::string& locator) : GSqlDatabase(locator) {
  setTransactionHandler(this);
}

// A query may have been made after the close, and its handle may live longer than
// the database: it must not reach for a database that is gone.
GSqlDatabaseImpl::~GSqlDatabaseImpl() { invalidateQueries(); }

void GSqlDatabaseImpl::invalidateQueries() {
  queries.forEach([](GSqlQueryData* query) { query->invalidate(); });
  queries.clear();
}

GDbStatus GSqlDatabaseImpl::closeDatabase() {
  invalidateQueries();
  return GSqlDatabase::closeDatabase();
}

GDbStatus GSqlDatabaseImpl::openTable(const std::string& tableName, const GDbStructure* structure,
                                      GDbTable** table) {
  if (table == nullptr) return setError(GDbInvalidArgument);
  *table = nullptr;
  GDbStructure* found = nullptr;
  GDbStatus status = getTableStructure(tableName, &found);
  if (status != GDbNoError) return status;
  std::unique_ptr<GDbStructure> real(found);
  status = structure != nullptr ? checkStructure(*real, *structure) : checkAllTyped(*real);
  if (status != GDbNoError) return setError(status);
  *table = new GSqlTable(this, tableName, real.get());
  static_cast<void>(real.release());  // it is the table's now
  return GDbNoError;
}

GDbStatus GSqlDatabaseImpl::deleteTable(const std::string& tableName) {
  const GDbStatus status = tableExists(tableName);
  if (status != GDbNoError) return status;
  if (isTableOpen(tableName)) return setError(GDbTableInUse);
  GSqlQuery query(this);
  return query.exec("DROP TABLE " + tableName + ";");  // unquoted, so a host may pass schema.table
}

std::list<GSqlDatabaseImpl::Lookup>::iterator GSqlDatabaseImpl::findLookup(
    const std::string& table, const std::string& where, const std::string& fields) {
  return std::find_if(lookupCache.begin(), lookupCache.end(),
                      [&](const Lookup& lookup) { return lookup.is(table, where, fields); });
}

GDbStatus GSqlDatabaseImpl::getLookupQuery(const std::string& table, const std::string& where,
                                           const std::string& fields, GSqlQuery* query) {
  const auto found = findLookup(table, where, fields);
  if (found != lookupCache.end()) {
    *query = found->query;
    found->query.clear();
    lentLookup.clear();
    lentLookup.splice(lentLookup.begin(), lookupCache, found);
    return GDbNoError;
  }
  *query =
      GSqlQuery(this, "SELECT " + fields + " FROM " + quoteTable(table) + " WHERE " + where + ";");
  return GDbNoError;
}

void GSqlDatabaseImpl::putLookupQuery(const std::string& table, const std::string& where,
                                      const std::string& fields, const GSqlQuery& query) {
  if (findLookup(table, where, fields) != lookupCache.end()) return;
  const auto limit = 2 * static_cast<std::size_t>(getTableCount());
  if (!lookupCache.empty() && lookupCache.size() >= limit) lookupCache.pop_back();
  if (!lentLookup.empty() && lentLookup.front().is(table, where, fields)) {
    lookupCache.splice(lookupCache.begin(), lentLookup);
    lookupCache.front().query = query;
  } else {
    lookupCache.push_front({table, where, fields, query});
  }
  lookupCache.front().query.clearBindings();
}

void GSqlDatabaseImpl::resetActiveQueries() {
  queries.forEach([this](GSqlQueryData* query) {
    if (query->isActive()) reset(query);
  });
}

GDbStatus GSqlDatabaseImpl::setError(GDbStatus status) {
  if (status != GDbNoError) lastError = GSqlError(status);
  return status;
}

GDbStatus GSqlDatabaseImpl::setError(GDbStatus status, const std::string& text) {
  if (status != GDbNoError || !text.empty()) lastError = GSqlError(status, text);
  return status;
}

GDbStatus GSqlDatabaseImpl::setError(const GSqlError& error) {
  if (error.getStatus() != GDbNoError) lastError = error;
  return error.getStatus();
}

GDbStatus GSqlDatabaseImpl::execMany(GSqlQueryData* query, unsigned count,
                                     const std::function<GDbStatus(unsigned)>& bind) {
  GDbStatus status = GDbNoError;
  for (unsigned i = 0; i < count && status == GDbNoError; ++i) {
    status = bind(i);
    if (status == GDbNoError) status = exec(query);
  }
  return status;
}

GSqlQueryData* GSqlDatabaseImpl::createScan(const std::string& statement) {
  return createQuery(statement);
}

// Names are not escaped: a quote in a name is the host's to avoid.
std::string GSqlDatabaseImpl::quoteName(const std::string& itsName) const {
  return '"' + itsName + '"';
}

std::string GSqlDatabaseImpl::quoteTable(const std::string& itsName) const {
  return '"' + itsName + '"';
}

GDbStatus GSqlDatabaseImpl::getNumColumns(GSqlQueryData* /*query*/, int* /*count*/) {
  return setError(GDbNoResult);
}

GDbStatus GSqlDatabaseImpl::getColumnName(GSqlQueryData* /*query*/, int /*column*/,
                                          std::string* /*name*/) {
  return setError(GDbNoResult);
}

GDbStatus GSqlDatabaseImpl::getWholeText(GSqlQueryData* query, int column, std::string* value) {
  return getText(query, column, value);
}

GDbStatus GSqlDatabaseImpl::describe(GSqlQueryData* /*query*/, GSqlDescription* /*description*/) {
  return setError(GDbNoResult);
}

GDbStatus GSqlDatabaseImpl::getParameterNames(GSqlQueryData* /*query*/,
                                              std::vector<std::string>* /*names*/) {
  return setError(GDbNoResult);
}

GDbStatus GSqlDatabaseImpl::begin() { return beginTransaction(defaultTransactionMode); }
GDbStatus GSqlDatabaseImpl::commit() { return commitTransaction(); }
GDbStatus GSqlDatabaseImpl::rollback() { return rollbackTransaction(); }
