// SPDX-License-Identifier: MIT
// Store: one open file, and what can be asked of its tables.
#ifndef TESSEL_STORE_STORE_H
#define TESSEL_STORE_STORE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/block_file.h"
#include "tessel/store/directory.h"
#include "tessel/store/error.h"
#include "tessel/store/values.h"

namespace tessel {

/// An open store. For one thread at a time.
class Store {
 public:
  /// A failed store must not be used.
  Error open(const std::string& path);

  [[nodiscard]] const std::vector<TableInfo>& tables() const { return directory.tables; }
  /// Null when there is no table of exactly this name.
  [[nodiscard]] const TableInfo* findTable(const char* name) const;
  BlockFile* blocks() { return &file; }

  /// Fills in the rows that match all of the keys, in the order of the file.
  /// noIndex when every index has a column that is none of the keys'.
  Error lookupKeys(const TableInfo& table, const TslKey* keys, int count, TslResultSet* set);

  /// Fills in up to `count` rows from number `first` on.
  Error lookupRows(const TableInfo& table, int first, int count, TslResultSet* set);

 private:
  Error makeResult(const TableInfo& table, TslResultSet* set);
  Error measure(const TableInfo& table, std::uint64_t* textSize);
  Error fill(const TableInfo& table, unsigned char* block);
  Error copyFixed(const Column& column, std::uint32_t row, char** text);
  Error copyFound(const TextSpan& span, char** text);

  BlockFile file;
  Directory directory;
  // Of the latest lookup, kept so that the next one need not allocate them.
  std::vector<std::uint32_t> rows;
  std::vector<TextSpan> texts;  // those that do not stand in the rows
};

/// Gives back what a lookup has filled in.
void releaseResult(TslResultSet* set);

}  // namespace tessel

#endif  // TESSEL_STORE_STORE_H
