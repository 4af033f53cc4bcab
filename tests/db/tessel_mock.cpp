// SPDX-License-Identifier: MIT
#include "tests/db/tessel_mock.h"

#include <cstring>
#include <memory>
#include <utility>

namespace loomkit::testing {

TesselMock mock;

namespace {

// Notes a call; false, and its error set, when it is to fail.
bool called(const std::string& name, const std::string& arguments) {
  mock.calls.push_back(name + "(" + arguments + ")");
  std::deque<int>& failures = mock.failures[name];
  if (failures.empty()) return true;
  const int error = failures.front();
  failures.pop_front();
  if (error == 0) return true;
  mock.lastError = error;
  return false;
}

struct Descr : TslTableDescr {
  std::vector<TslField> fieldCopies = mock.fields;
  std::vector<TslIndex> indexCopies = mock.indexes;
};

// Copies of the rows whose texts end with them: an adapter that kept a pointer
// into them would be found out by the sanitizers.
struct Result {
  std::vector<std::vector<TslValue>> values;
  std::deque<std::string> texts;
  std::vector<TslRow> rows;
};
std::map<const TslRow*, std::unique_ptr<Result>> results;

void give(const std::vector<std::vector<TslValue>>& rows, TslResultSet* set) {
  auto result = std::make_unique<Result>();
  result->values = rows;
  for (std::vector<TslValue>& row : result->values) {
    for (TslValue& value : row)
      if (value.type == TslTypeText)
        value.value.textValue = result->texts.emplace_back(value.value.textValue).c_str();
    result->rows.push_back({0, static_cast<int>(row.size()), row.data()});
  }
  result->rows.emplace_back();  // so that a result without rows has an address too
  set->rowCount = static_cast<int>(rows.size());
  set->rows = result->rows.data();
  results[set->rows] = std::move(result);
  ++mock.liveResults;
}

std::string text(int a, int b, int c) {
  return std::to_string(a) + ", " + std::to_string(b) + ", " + std::to_string(c);
}

}  // namespace
}  // namespace loomkit::testing

using loomkit::testing::called;
using loomkit::testing::give;
using loomkit::testing::mock;

int tsl_open_database(const char* path, int reserved) {
  if (!called("open_database", std::string(path) + ", " + std::to_string(reserved))) return -1;
  ++mock.openDatabases;
  return 7;
}

int tsl_close_database(int database) {
  if (!called("close_database", std::to_string(database))) return -1;
  --mock.openDatabases;
  return 0;
}

int tsl_open_table(int database, const char* name, int reserved) {
  if (!called("open_table",
              std::to_string(database) + ", " + name + ", " + std::to_string(reserved)))
    return -1;
  ++mock.openTables;
  return 21;
}

int tsl_close_table(int table) {
  if (!called("close_table", std::to_string(table))) return -1;
  --mock.openTables;
  return 0;
}

TslTableDescr* tsl_get_table_descr(int table) {
  if (!called("get_table_descr", std::to_string(table))) return nullptr;
  auto* descr = new loomkit::testing::Descr;
  descr->fieldCount = static_cast<int>(descr->fieldCopies.size());
  descr->fields = descr->fieldCopies.data();
  descr->keysNeedIndex = mock.keysNeedIndex ? 1 : 0;
  descr->indexCount = static_cast<int>(descr->indexCopies.size());
  descr->indexes = descr->indexCopies.data();
  ++mock.liveDescrs;
  return descr;
}

void tsl_free_table_descr(TslTableDescr* descr) {
  called("free_table_descr", "");
  delete static_cast<loomkit::testing::Descr*>(descr);
  --mock.liveDescrs;
}

int tsl_lookup_keys(int table, const TslKey* keys, int count, int reserved, TslResultSet* set) {
  mock.keys.assign(keys, keys + count);
  if (!called("lookup_keys", loomkit::testing::text(table, count, reserved)) ||
      set->rowCount != 0 || set->rows != nullptr)
    return -1;
  give(mock.found, set);
  return 0;
}

int tsl_lookup_recno(int table, int first, int count, int reserved, TslResultSet* set) {
  if (!called("lookup_recno",
              loomkit::testing::text(table, first, count) + ", " + std::to_string(reserved)) ||
      set->rowCount != 0 || set->rows != nullptr)
    return -1;
  const auto row = static_cast<std::size_t>(first);
  give(row < mock.rows.size() ? std::vector<std::vector<TslValue>>{mock.rows[row]}
                              : std::vector<std::vector<TslValue>>(),
       set);
  return 0;
}

void tsl_free_result_set(TslResultSet* set) {
  called("free_result_set", "");
  loomkit::testing::results.erase(set->rows);
  --mock.liveResults;
}

int tsl_get_error(void) { return mock.lastError; }
