// SPDX-License-Identifier: MIT
// The directory of a store: its tables, and where their data lie.
#ifndef TESSEL_STORE_DIRECTORY_H
#define TESSEL_STORE_DIRECTORY_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/store/error.h"

namespace tessel {

/// What the entry of a field in a row is.
enum class Coding : std::uint8_t {
  plain = 0,      ///< a number, or a fixed text
  heap = 1,       ///< where its text begins in the heap; the next row tells where it ends
  dictionary = 2  ///< the number of a text
};

/// A field of a table. Offsets are those of the file.
struct Column {
  const char* name = nullptr;  ///< in the directory's bytes
  TslType type = TslTypeSigned;
  TslStorage storage = TslStorageInt8;
  Coding coding = Coding::plain;
  bool indexed = false;
  std::uint32_t width = 0;   ///< of its entry in a row
  std::uint32_t stride = 0;  ///< from one row's entry to the next one's: the width of a row
  std::uint32_t dictionaryCount = 0;
  std::uint64_t values = 0;  ///< its entry in the first row
  std::uint64_t dictionary = 0;
  std::uint64_t heap = 0;
  std::uint64_t heapSize = 0;
};

/// How an index leads from a key to its rows.
enum class IndexForm : std::uint8_t {
  hashed = 0,  ///< an entry for each row, in the order of the hashes of the keys
  ranges = 1   ///< an entry for each range of rows whose values follow each other
};

/// An index of a table.
struct Index {
  const char* name = nullptr;  ///< in the directory's bytes
  bool unique = false;
  IndexForm form = IndexForm::hashed;
  std::uint32_t bucketBits = 0;       ///< of a hashed index
  std::uint32_t rangeCount = 0;       ///< of an index of ranges
  std::uint64_t entries = 0;          ///< the entries, or the ranges
  std::uint64_t buckets = 0;          ///< of a hashed index
  std::vector<std::int32_t> columns;  ///< at least one, none twice

  [[nodiscard]] std::uint64_t bucketCount() const { return std::uint64_t{1} << bucketBits; }
};

struct TableInfo {
  const char* name = nullptr;  ///< in the directory's bytes
  std::uint32_t rowCount = 0;
  std::uint32_t rowWidth = 0;
  std::uint32_t padding = 0;  ///< zeros at the end of a row, which are part of its width
  bool endsTexts = false;     ///< behind the last row is one more, which tells where its texts end
  std::uint64_t rows = 0;
  std::uint64_t fixedTextRoom = 0;  ///< of the texts that stand in a row, with their NULs
  bool hasOtherTexts = false;       ///< in a heap or a dictionary
  std::vector<Column> columns;
  std::vector<Index> indexes;

  [[nodiscard]] std::uint64_t rowsSize() const {
    return (std::uint64_t{rowCount} + (endsTexts ? 1 : 0)) * rowWidth;
  }
};

struct Directory {
  std::vector<TableInfo> tables;
  std::vector<std::uint32_t> groupSums;
};

/// Lays the entries of the columns behind each other, in rows from `table->rows` on,
/// with padding behind them if it is worth it.
/// False when a row would be wider than 32 bits can tell.
bool placeColumns(TableInfo* table);

/// The bytes of a column's entries and dictionary, and of an index's sections.
std::uint64_t valuesSize(const Column& column, std::uint32_t rowCount);
std::uint64_t dictionarySize(const Column& column);
std::uint64_t entriesSize(const Index& index, std::uint32_t rowCount);
std::uint64_t bucketsSize(const Index& index);

/// Whether the values are numbers without a fraction: signed, unsigned or patterns.
inline bool isInteger(TslType type) { return type != TslTypeFloating && type != TslTypeText; }

/// Reads a directory whose names will point into `bytes`. Every section it tells
/// of lies within the data, which end at `dataEnd`, at its alignment, and apart
/// from all others; every code is known and every number of a field is one.
/// damagedDirectory when it is not so.
Error readDirectory(const std::vector<unsigned char>& bytes, std::uint64_t dataEnd,
                    std::uint32_t groupCount, Directory* directory);

}  // namespace tessel

#endif  // TESSEL_STORE_DIRECTORY_H
