// SPDX-License-Identifier: MIT
// Finding rows by their keys.
#ifndef TESSEL_STORE_LOOKUP_H
#define TESSEL_STORE_LOOKUP_H

#include <cstdint>
#include <vector>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/block_file.h"
#include "tessel/store/directory.h"
#include "tessel/store/error.h"
#include "tessel/store/key_hash.h"

namespace tessel {

/// Appends the rows that match all of `count` keys, in the order of the file. An
/// index serves if all of its columns are among the keys', in whatever order;
/// the one with the most columns is taken, and the other keys are compared.
///
/// Numbers are compared as numbers, whatever their types are: a key that the
/// column's type cannot hold matches nothing. invalidArgument: a field that is
/// none, a text for a number or a number for a text, no key at all.
Error findRows(BlockFile* file, const TableInfo& table, const TslKey* keys, int count,
               std::vector<std::uint32_t>* rows);

/// One range of an index of ranges, whose row is one of the table's.
struct Range {
  std::int64_t value;
  std::uint32_t row;
};
Error readRange(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t number,
                Range* range);

/// Adds the value that a row has in a column to the hash of a key.
Error addToHash(BlockFile* file, const Column& column, std::uint32_t row, KeyHash* hash);

/// Compares the keys of two rows in an index's columns: below 0, 0 or above, as
/// with strcmp.
Error compareKeys(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t a,
                  std::uint32_t b, int* order);

/// One entry of an index: a hash, and a row that is one of the table's.
Error readEntry(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t number,
                std::uint32_t* hash, std::uint32_t* row);

}  // namespace tessel

#endif  // TESSEL_STORE_LOOKUP_H
