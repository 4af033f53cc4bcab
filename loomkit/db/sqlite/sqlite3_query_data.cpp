// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_query_data.h"

#include "loomkit/db/sqlite/affinity.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"

GSqlite3QueryData::GSqlite3QueryData(GSqlite3Database* owner) : GSqlQueryData(owner) {}

GSqlite3QueryData::GSqlite3QueryData(GSqlite3Database* owner, const std::string& text)
    : GSqlQueryData(owner, text) {}

GSqlite3QueryData::~GSqlite3QueryData() { finalize(); }

bool GSqlite3QueryData::isSelect() const {
  if (stmt == nullptr) {
    GSqlDatabaseImpl* owner = getDatabase();
    if (owner == nullptr) return false;
    auto* self = const_cast<GSqlite3QueryData*>(this);  // asking prepares the query
    if (owner->prepare(self) != GDbNoError) return false;
  }
  return hasColumns;
}

void GSqlite3QueryData::invalidate() {
  finalize();
  GSqlQueryData::invalidate();
}

void GSqlite3QueryData::setStatement(const std::string& text) {
  finalize();
  GSqlQueryData::setStatement(text);
}

void GSqlite3QueryData::clearRecord() {
  valid = false;
  GSqlQueryData::clearRecord();
}

void GSqlite3QueryData::forgetExecution() {
  state = inactive;
  row = -1;
  rowsAffected = -1;
}

// What was not looked at in the last execution may have changed twice by the
// next time.
void GSqlite3QueryData::beginExecution() {
  row = -1;
  rowsAffected = -1;
  if (!affinitiesLookedAt) affinities.clear();
  affinitiesLookedAt = false;
}

const GDbFieldType* GSqlite3QueryData::columnAffinities(int columns) {
  if (!affinitiesLookedAt) {
    const bool known =
        affinities.size() == static_cast<std::size_t>(columns) && witness != nullptr &&
        loomkit::sqlite3Library().api.column_decltype(stmt, witnessColumn) == witness;
    if (!known) readAffinities(columns);
    affinitiesLookedAt = true;
  }
  return affinities.data();
}

void GSqlite3QueryData::readAffinities(int columns) {
  affinities.clear();
  witness = nullptr;
  for (int column = 0; column < columns; ++column) {
    const char* declared = loomkit::sqlite3Library().api.column_decltype(stmt, column);
    affinities.push_back(declared != nullptr ? loomkit::sqliteAffinity(declared) : GDbFieldNone);
    if (declared == nullptr) continue;
    witnessColumn = column;
    witness = declared;
  }
}

// Back to inactive; SQLite's result code.
int GSqlite3QueryData::stop() {
  GSqlite3QueryData::clearRecord();
  const int code = stmt != nullptr ? loomkit::sqlite3Library().api.reset(stmt) : loomkit::sqliteOk;
  forgetExecution();
  return code;
}

void GSqlite3QueryData::finalize() {
  GSqlite3QueryData::clearRecord();
  if (stmt != nullptr) loomkit::sqlite3Library().api.finalize(stmt);
  stmt = nullptr;
  affinities.clear();
  forgetExecution();
}
