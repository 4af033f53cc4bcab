// SPDX-License-Identifier: MIT
// CsvIndex: the hash index of one combination of key fields. Private to the
// backend.
#ifndef LOOMKIT_DB_CSV_CSV_INDEX_H
#define LOOMKIT_DB_CSV_CSV_INDEX_H

#include <cstdint>
#include <utility>
#include <vector>

#include "loomkit/db/key.h"
#include "loomkit/db/record.h"

namespace loomkit {

/// The hash of the keys' values, in key order, each by its own tag.
std::uint32_t csvKeyHash(const GDbKey* keys, int count);

/// Whether the record has all of the keys' values. Int and UInt are compared as
/// 32-bit patterns, texts byte by byte.
bool csvKeysMatch(const GDbRecord& record, const GDbKey* keys, int count);

/// Hashes and line positions, nothing of the data: 16 bytes a row.
class CsvIndex {
 public:
  struct Entry {
    std::uint32_t hash;
    std::int64_t position;  // the start of the line
  };
  using Iterator = std::vector<Entry>::const_iterator;

  explicit CsvIndex(std::vector<int> keyFields) : fields(std::move(keyFields)) {}

  void add(const GDbRecord& record, std::int64_t position);
  /// Requires: every record has been added.
  void sort();
  /// The entries of that hash, in file order.
  [[nodiscard]] std::pair<Iterator, Iterator> find(std::uint32_t hash) const;

 private:
  [[nodiscard]] Iterator lowerBound(std::uint32_t hash) const;

  std::vector<int> fields;
  std::vector<Entry> entries;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_CSV_CSV_INDEX_H
