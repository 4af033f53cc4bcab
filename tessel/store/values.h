// SPDX-License-Identifier: MIT
// Reading single values out of a store's columns.
#ifndef TESSEL_STORE_VALUES_H
#define TESSEL_STORE_VALUES_H

#include <cstdint>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/block_file.h"
#include "tessel/store/directory.h"
#include "tessel/store/error.h"

namespace tessel {

/// Where a text lies in the file. It may reach over several blocks.
struct TextSpan {
  std::uint64_t offset;
  std::uint64_t size;
};

/// A number of a numeric column, in its member of TslContent.
/// Requires: `row` is below the table's row count, here and below.
Error readNumber(BlockFile* file, const Column& column, std::uint32_t row, TslContent* value);

/// What an integer column holds, as one type for all of them.
inline std::int64_t integerOf(const Column& column, TslContent value) {
  return column.type == TslTypeSigned ? std::int64_t{value.signedValue}
                                      : std::int64_t{value.unsignedValue};
}

/// Where the text of a text column lies.
Error findText(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text);

/// Where text `number` of a dictionary lies. Requires: it is below the count.
Error findInDictionary(BlockFile* file, const Column& column, std::uint32_t number, TextSpan* text);

/// A little-endian number of 1, 2, 4 or 8 bytes, which lies within one block.
Error readUnsigned(BlockFile* file, std::uint64_t offset, unsigned width, std::uint64_t* value);

}  // namespace tessel

#endif  // TESSEL_STORE_VALUES_H
