// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_query_data.h"

#include <cstdlib>

#include "loomkit/db/sql/sql_database_impl.h"

GSqlQueryData::GSqlQueryData(GSqlDatabaseImpl* owner) : GSqlQueryData(owner, std::string()) {}

GSqlQueryData::GSqlQueryData(GSqlDatabaseImpl* owner, const std::string& text)
    : database(owner), statement(text) {
  database->registerQuery(this);
}

GSqlQueryData::~GSqlQueryData() {
  if (database != nullptr) database->unregisterQuery(this);
  GSqlQueryData::clearRecord();
}

void GSqlQueryData::invalidate() {
  database = nullptr;
  statement.clear();
  forwardOnly = true;
}

void GSqlQueryData::setForwardOnly(bool forward) { forwardOnly = forward; }

void GSqlQueryData::setStatement(const std::string& text) {
  statement = text;
  forwardOnly = true;
}

void GSqlQueryData::clearRecord() {
  if (record != nullptr) record->deleteRecord();
  record = nullptr;
}

void GSqlQueryData::decRef() {
  const std::int32_t left = --refCount;
  if (left < 0) std::abort();  // a handle was released twice
  if (left == 0) delete this;
}
