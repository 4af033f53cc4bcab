// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_query.h"

#include <algorithm>
#include <utility>

#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_description.h"
#include "loomkit/db/sql/sql_query_data.h"
#include "loomkit/text/gi_string.h"

GSqlQuery::GSqlQuery() = default;

GSqlQuery::GSqlQuery(const GSqlQuery& other) : data(other.data) {
  if (data != nullptr) data->incRef();
}

GSqlQuery::GSqlQuery(GSqlDatabase* database) {
  if (auto* impl = dynamic_cast<GSqlDatabaseImpl*>(database)) data = impl->createQuery();
  if (data != nullptr) data->incRef();
}

GSqlQuery::GSqlQuery(GSqlDatabase* database, const std::string& statement) {
  if (auto* impl = dynamic_cast<GSqlDatabaseImpl*>(database)) data = impl->createQuery(statement);
  if (data != nullptr) data->incRef();
}

GSqlQuery& GSqlQuery::operator=(const GSqlQuery& other) {
  GSqlQuery copy(other);
  std::swap(data, copy.data);
  return *this;
}

GSqlQuery::~GSqlQuery() { clear(); }

void GSqlQuery::clear() {
  if (data != nullptr) data->decRef();
  data = nullptr;
}

GSqlDatabaseImpl* GSqlQuery::getSqlDatabaseImpl() const {
  return data != nullptr ? data->getDatabase() : nullptr;
}

GSqlDatabase* GSqlQuery::getSqlDatabase() const { return getSqlDatabaseImpl(); }

const std::string& GSqlQuery::getStatement() const {
  return data != nullptr ? data->getStatement() : gEmptyString;
}

bool GSqlQuery::isActive() const { return data != nullptr && data->isActive(); }
bool GSqlQuery::isSelect() const { return data != nullptr && data->isSelect(); }
bool GSqlQuery::isValid() const { return data != nullptr && data->isValid(); }
bool GSqlQuery::isForwardOnly() const { return data == nullptr || data->isForwardOnly(); }

const GSqlError& GSqlQuery::getLastError() const {
  static const GSqlError notInitialized(GDbQueryNotInitialized);
  return data != nullptr ? data->lastError : notInitialized;
}

const std::string& GSqlQuery::getDatabaseMessage() const {
  return getLastError().getDatabaseText();
}

GDbStatus GSqlQuery::setSqlError(GDbStatus status) const {
  if (status != GDbNoError && data != nullptr) data->lastError = GSqlError(status);
  return status;
}

void GSqlQuery::setSqlError(const GSqlError& error) const {
  if (data != nullptr) data->lastError = error;
}

// Every operation passes here. `call` is made on the open database; when it fails,
// the error that the database has noted is kept by the query.
template <typename Call>
GDbStatus GSqlQuery::forward(Call call) const {
  GSqlDatabaseImpl* database = getSqlDatabaseImpl();
  if (database == nullptr) return setSqlError(GDbNotOpen);
  const GDbStatus status = call(database);
  if (status != GDbNoError) setSqlError(database->getLastError());
  return status;
}

template <typename Call>
GDbStatus GSqlQuery::forwardBind(Call call) const {
  if (getSqlDatabaseImpl() == nullptr) return setSqlError(GDbNotOpen);
  if (isActive()) return setSqlError(GDbQueryActive);
  return forward(call);
}

template <typename Call>
GDbStatus GSqlQuery::move(GDbRecord** record, Call call) const {
  if (record != nullptr) *record = nullptr;
  const GDbStatus status = forward(call);
  if (status != GDbNoError || record == nullptr) return status;
  return forward([&](GSqlDatabaseImpl* database) { return database->getRecord(data, record); });
}

GDbStatus GSqlQuery::bindInt(int index, int value) {
  return forwardBind([&](auto* database) { return database->bindInt(data, index, value); });
}

GDbStatus GSqlQuery::bindInt64(int index, std::int64_t value) {
  return forwardBind([&](auto* database) { return database->bindInt64(data, index, value); });
}

GDbStatus GSqlQuery::bindDouble(int index, double value) {
  return forwardBind([&](auto* database) { return database->bindDouble(data, index, value); });
}

GDbStatus GSqlQuery::bindText(int index, const char* text, int length, bool copy) {
  return forwardBind([&](auto* database) {
    if (text == nullptr) return database->setError(GDbInvalidArgument);
    return database->bindText(data, index, text, length, copy);
  });
}

GDbStatus GSqlQuery::bindText(int index, const std::string& text, unsigned pos, unsigned count) {
  if (pos > text.size()) return setSqlError(GDbInvalidArgument);
  const std::size_t left = text.size() - pos;
  const int length = count == npos ? -1 : static_cast<int>(std::min<std::size_t>(count, left));
  return bindText(index, text.c_str() + pos, length, true);
}

GDbStatus GSqlQuery::bindBlob(int index, void* bytes, unsigned size, bool copy) {
  return forwardBind([&](auto* database) {
    if (bytes == nullptr && size != 0) return database->setError(GDbInvalidArgument);
    return database->bindBlob(data, index, bytes, size, copy);
  });
}

GDbStatus GSqlQuery::bindNull(int index) {
  return forwardBind([&](auto* database) { return database->bindNull(data, index); });
}

GDbStatus GSqlQuery::clearBindings() {
  return forward([&](auto* database) { return database->clearBindings(data); });
}

GDbStatus GSqlQuery::reset() {
  return forward([&](auto* database) { return database->reset(data); });
}

GDbStatus GSqlQuery::prepare() {
  return forward([&](auto* database) { return database->prepare(data); });
}

GDbStatus GSqlQuery::prepare(const std::string& statement) {
  if (data != nullptr) data->setStatement(statement);
  return prepare();
}

GDbStatus GSqlQuery::exec() {
  return forward([&](auto* database) { return database->exec(data); });
}

GDbStatus GSqlQuery::exec(const std::string& statement) {
  if (data != nullptr) data->setStatement(statement);
  return exec();
}

// A refusal of `bind` is the caller's own and no error of the database.
GDbStatus GSqlQuery::execMany(unsigned count, const std::function<GDbStatus(unsigned)>& bind) {
  GSqlDatabaseImpl* database = getSqlDatabaseImpl();
  if (database == nullptr) return setSqlError(GDbNotOpen);
  GDbStatus refusal = GDbNoError;
  const GDbStatus status =
      database->execMany(data, count, [&](unsigned i) { return refusal = bind(i); });
  if (status != GDbNoError && refusal == GDbNoError) setSqlError(database->getLastError());
  return status;
}

GSqlQuery GSqlQuery::forScan(GSqlDatabaseImpl* database, const std::string& statement) {
  GSqlQuery query;
  query.data = database->createScan(statement);
  query.data->incRef();
  return query;
}

GDbStatus GSqlQuery::first(GDbRecord** record) {
  return move(record, [&](auto* database) { return database->first(data); });
}

GDbStatus GSqlQuery::last(GDbRecord** record) {
  return move(record, [&](auto* database) { return database->last(data); });
}

GDbStatus GSqlQuery::next(GDbRecord** record) {
  return move(record, [&](auto* database) { return database->next(data); });
}

GDbStatus GSqlQuery::previous(GDbRecord** record) {
  return move(record, [&](auto* database) { return database->previous(data); });
}

GDbStatus GSqlQuery::seek(int position, bool relative, GDbRecord** record) {
  return move(record, [&](auto* database) { return database->seek(data, position, relative); });
}

GDbStatus GSqlQuery::isNull(int column, bool* result) {
  if (result == nullptr) return setSqlError(GDbInvalidArgument);
  return forward([&](auto* database) { return database->isNull(data, column, result); });
}

GDbStatus GSqlQuery::getInt(int column, int* value) {
  if (value == nullptr) return setSqlError(GDbInvalidArgument);
  *value = 0;
  return forward([&](auto* database) { return database->getInt(data, column, value); });
}

GDbStatus GSqlQuery::getInt64(int column, std::int64_t* value) {
  if (value == nullptr) return setSqlError(GDbInvalidArgument);
  *value = 0;
  return forward([&](auto* database) { return database->getInt64(data, column, value); });
}

GDbStatus GSqlQuery::getDouble(int column, double* value) {
  if (value == nullptr) return setSqlError(GDbInvalidArgument);
  *value = 0.0;
  return forward([&](auto* database) { return database->getDouble(data, column, value); });
}

GDbStatus GSqlQuery::getText(int column, std::string* value) {
  if (value == nullptr) return setSqlError(GDbInvalidArgument);
  value->clear();
  return forward([&](auto* database) { return database->getText(data, column, value); });
}

GDbStatus GSqlQuery::getBlob(int column, const void** bytes, unsigned* size) {
  if (bytes == nullptr || size == nullptr) return setSqlError(GDbInvalidArgument);
  *bytes = nullptr;
  *size = 0;
  return forward([&](auto* database) { return database->getBlob(data, column, bytes, size); });
}

GDbStatus GSqlQuery::getNumColumns(int* count) {
  if (count == nullptr) return setSqlError(GDbInvalidArgument);
  *count = 0;
  return forward([&](auto* database) { return database->getNumColumns(data, count); });
}

GDbStatus GSqlQuery::getColumnName(int column, std::string* name) {
  if (name == nullptr) return setSqlError(GDbInvalidArgument);
  name->clear();
  return forward([&](auto* database) { return database->getColumnName(data, column, name); });
}

GDbStatus GSqlQuery::describe(GSqlDescription* description) {
  if (description == nullptr) return setSqlError(GDbInvalidArgument);
  *description = GSqlDescription();
  const GDbStatus status =
      forward([&](auto* database) { return database->describe(data, description); });
  if (status != GDbNoError) *description = GSqlDescription();
  return status;
}

GDbStatus GSqlQuery::getWholeText(int column, std::string* value) {
  if (value == nullptr) return setSqlError(GDbInvalidArgument);
  value->clear();
  return forward([&](auto* database) { return database->getWholeText(data, column, value); });
}

GDbStatus GSqlQuery::setForwardOnly(bool forwardOnly) {
  return forward([&](auto* database) { return database->setForwardOnly(data, forwardOnly); });
}

int GSqlQuery::getNumRowsAffected() {
  int count = -1;
  const GDbStatus status =
      forward([&](auto* database) { return database->getNumRowsAffected(data, &count); });
  return status == GDbNoError ? count : -1;
}

int GSqlQuery::getSize() {
  int count = -1;
  const GDbStatus status = forward([&](auto* database) { return database->getSize(data, &count); });
  return status == GDbNoError ? count : -1;
}

GDbStatus GSqlQuery::getResult(GDbRecordSet* result) {
  if (result == nullptr) return setSqlError(GDbInvalidArgument);
  GDbStatus status = first();
  while (status == GDbNoError) {
    GDbRecord* record = nullptr;
    status = forward([&](auto* database) { return database->getRecord(data, &record); });
    if (status != GDbNoError) return status;
    if (record == nullptr) return setSqlError(GDbInternalError);
    result->addRecord(record);
    status = next();
  }
  return status == GDbNoMoreRecords ? GDbNoError : status;
}

const GDbRecord* GSqlQuery::getRecord() const {
  if (getSqlDatabaseImpl() == nullptr) {
    setSqlError(GDbNotOpen);
    return nullptr;
  }
  if (data->record == nullptr) {
    GDbRecord* record = nullptr;
    forward([&](auto* database) { return database->getRecord(data, &record); });
    data->record = record;
  }
  return data->record;
}
