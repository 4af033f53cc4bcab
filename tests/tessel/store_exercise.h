// SPDX-License-Identifier: MIT
// All that can be asked of a store, for files that may be anything.
#ifndef LOOMKIT_TESTS_TESSEL_STORE_EXERCISE_H
#define LOOMKIT_TESTS_TESSEL_STORE_EXERCISE_H

#include <cstdlib>
#include <string>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/description.h"
#include "tessel/store/store.h"
#include "tessel/store/unique_check.h"

namespace loomkit::testing {

/// A key with the value of a column in a row.
inline TslKey keyOf(const TslValue& value, int field) {
  TslKey key{field, value.type, value.value};
  if (key.type == TslTypePattern) key.type = TslTypeUnsigned;
  return key;
}

/// Looks up each row that is read by each of its values: a lookup that succeeds
/// must give rows that have the value.
inline void lookUpAll(tessel::Store* store, const tessel::TableInfo& table, const TslRow& row) {
  for (int field = 0; field < row.valueCount; ++field) {
    const TslKey key = keyOf(row.values[field], field);
    TslResultSet found = {0, 0, nullptr};
    if (store->lookupKeys(table, &key, 1, &found) != tessel::Error::none) continue;
    for (int i = 0; i < found.rowCount; ++i)
      if (found.rows[i].valueCount != row.valueCount ||
          found.rows[i].values[field].type != row.values[field].type)
        std::abort();
    tessel::releaseResult(&found);
  }
}

/// Opens the file and, if it is a store, asks it for all that there is, up to a
/// number of rows.
inline void exerciseStore(const std::string& path) {
  tessel::Store store;
  if (store.open(path) != tessel::Error::none) return;
  store.blocks()->setFrameLimit(0);
  for (std::uint32_t block = 0; block < store.blocks()->blockCount() && block < 64; ++block)
    static_cast<void>(store.blocks()->verify(block));
  for (std::size_t number = 0; number < store.tables().size(); ++number) {
    const tessel::TableInfo& table = store.tables()[number];
    tessel::releaseDescription(tessel::makeDescription(table));
    for (int row = 0; row < 30; ++row) {
      TslResultSet set = {0, 0, nullptr};
      if (store.lookupRows(table, row, 1, &set) != tessel::Error::none) continue;
      if (set.rowCount == 1) lookUpAll(&store, table, set.rows[0]);
      tessel::releaseResult(&set);
    }
    for (std::size_t index = 0; index < table.indexes.size(); ++index) {
      std::optional<tessel::Twins> twins;
      static_cast<void>(tessel::checkUnique(&store, {number, index}, &twins));
    }
  }
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TESSEL_STORE_EXERCISE_H
