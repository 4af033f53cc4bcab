// SPDX-License-Identifier: MIT
#include "tessel/store/description.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace tessel {
namespace {

// What the pointers of a description lead to. The description is the base, so
// that its address leads back here.
struct Description : TslTableDescr {
  Description() : TslTableDescr{} {}

  const char* keep(const char* name) { return names.emplace_back(name).c_str(); }

  std::deque<std::string> names;
  std::vector<TslField> fieldEntries;
  std::vector<TslIndex> indexEntries;
  std::vector<std::vector<std::int32_t>> columns;
};

}  // namespace

TslTableDescr* makeDescription(const TableInfo& table) {
  auto made = std::make_unique<Description>();
  for (const Column& column : table.columns) {
    const bool fixed = column.storage == TslStorageFixedText;
    const auto length = fixed ? static_cast<std::int32_t>(column.width) : 0;
    made->fieldEntries.push_back({made->keep(column.name), column.storage, column.type, length, 0,
                                  0, column.indexed ? 1 : 0});
  }
  made->columns.reserve(table.indexes.size());  // the entries point into it
  for (const Index& index : table.indexes) {
    const std::vector<std::int32_t>& columns = made->columns.emplace_back(index.columns);
    made->indexEntries.push_back({made->keep(index.name), 0, index.unique ? 1 : 0,
                                  static_cast<std::int32_t>(columns.size()), columns.data()});
  }
  made->fieldCount = static_cast<std::int32_t>(made->fieldEntries.size());
  made->fields = made->fieldEntries.data();
  made->keysNeedIndex = 1;
  made->indexCount = static_cast<std::int32_t>(made->indexEntries.size());
  made->indexes = made->indexEntries.data();
  return made.release();
}

void releaseDescription(TslTableDescr* descr) { delete static_cast<Description*>(descr); }

}  // namespace tessel
