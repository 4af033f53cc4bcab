// SPDX-License-Identifier: MIT
// Reading single values out of a store's columns.
#ifndef TESSEL_STORE_VALUES_H
#define TESSEL_STORE_VALUES_H

#include <bit>
#include <cstdint>

#include "loomkit/db/tessel/tessel.h"
#include "loomkit/text/binary.h"
#include "tessel/store/block_file.h"
#include "tessel/store/directory.h"
#include "tessel/store/error.h"

namespace tessel {

/// Where a text lies in the file. It may reach over several blocks.
struct TextSpan {
  std::uint64_t offset;
  std::uint64_t size;
};

/// Where the entry of a row begins.
inline std::uint64_t entryOffset(const Column& column, std::uint32_t row) {
  return column.values + std::uint64_t{row} * column.stride;
}

/// The entry of a row, of at most 8 bytes, which are put together in `gathered` when
/// they lie in two blocks. Good until the next call; null: the file's error() says why.
inline const unsigned char* entryAt(BlockFile* file, const Column& column, std::uint32_t row,
                                    unsigned char (&gathered)[8]) {
  const std::uint64_t offset = entryOffset(column, row);
  if (BlockFile::leftInBlock(offset) >= column.width) [[likely]]
    return file->at(offset);
  return file->copy(offset, column.width, gathered) ? gathered : nullptr;
}

/// A number of a numeric column, in its member of TslContent. Here and not in a
/// source, since every row that is read calls it for every column.
/// Requires: `row` is below the table's row count, here and below.
inline Error readNumber(BlockFile* file, const Column& column, std::uint32_t row,
                        TslContent* value) {
  unsigned char gathered[8];
  const unsigned char* const bytes = entryAt(file, column, row, gathered);
  if (bytes == nullptr) return file->error();
  switch (column.storage) {
    case TslStorageInt8:
      value->signedValue = static_cast<std::int32_t>(*bytes ^ 0x80U) - 0x80;
      break;
    case TslStorageUInt8:
      value->unsignedValue = *bytes;
      break;
    case TslStorageInt16:
      value->signedValue = static_cast<std::int16_t>(loomkit::loadLe16(bytes));
      break;
    case TslStorageUInt16:
      value->unsignedValue = loomkit::loadLe16(bytes);
      break;
    case TslStorageFloat:
      value->floatingValue = std::bit_cast<float>(loomkit::loadLe32(bytes));
      break;
    case TslStorageDouble:
      value->floatingValue = std::bit_cast<double>(loomkit::loadLe64(bytes));
      break;
    default:
      value->unsignedValue = loomkit::loadLe32(bytes);
  }
  return Error::none;
}

/// What an integer column holds, as one type for all of them.
inline std::int64_t integerOf(const Column& column, TslContent value) {
  return column.type == TslTypeSigned ? std::int64_t{value.signedValue}
                                      : std::int64_t{value.unsignedValue};
}

/// Where the text of a text column lies.
Error findText(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text);

/// Where text `number` of a dictionary lies. Requires: it is below the count.
Error findInDictionary(BlockFile* file, const Column& column, std::uint32_t number, TextSpan* text);

/// A little-endian number of 1, 2, 4 or 8 bytes.
inline std::uint64_t loadUnsigned(const unsigned char* bytes, unsigned width) {
  switch (width) {
    case 1:
      return *bytes;
    case 2:
      return loomkit::loadLe16(bytes);
    case 4:
      return loomkit::loadLe32(bytes);
    default:
      return loomkit::loadLe64(bytes);
  }
}

/// Such a number, which lies within one block.
inline Error readUnsigned(BlockFile* file, std::uint64_t offset, unsigned width,
                          std::uint64_t* value) {
  const unsigned char* const bytes = file->at(offset);
  if (bytes == nullptr) return file->error();
  *value = loadUnsigned(bytes, width);
  return Error::none;
}

/// The entry of a row in a text column of a heap or of a dictionary.
inline Error readEntryNumber(BlockFile* file, const Column& column, std::uint32_t row,
                             std::uint64_t* value) {
  unsigned char gathered[8];
  const unsigned char* const bytes = entryAt(file, column, row, gathered);
  if (bytes == nullptr) return file->error();
  *value = loadUnsigned(bytes, column.width);
  return Error::none;
}

}  // namespace tessel

#endif  // TESSEL_STORE_VALUES_H
