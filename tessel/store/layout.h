// SPDX-License-Identifier: MIT
// The store's file. docs/formats/tessel.md tells what it means; this header is
// the only place that knows the offsets. All numbers are little-endian.
#ifndef TESSEL_STORE_LAYOUT_H
#define TESSEL_STORE_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "loomkit/text/binary.h"

namespace tessel::layout {

using loomkit::BytesField;
using loomkit::Le16;
using loomkit::Le32;
using loomkit::Le64;
using loomkit::U8;

/// The file is read and checked in blocks of this size, counted from its start.
inline constexpr unsigned blockShift = 14;
inline constexpr std::size_t blockSize = std::size_t{1} << blockShift;

/// Sections begin at multiples of this, so that no number of an index or of a
/// dictionary lies across two blocks. One of a row may.
inline constexpr std::size_t sectionAlignment = 64;

/// The first bytes of the file.
namespace header {
inline constexpr std::string_view magicText = "\x89tessel\n";
inline constexpr std::uint32_t currentVersion = 2;  // version 1 kept each column apart
inline constexpr BytesField magic{0, 8};
inline constexpr Le32 version{magic.end()};
inline constexpr Le32 directorySize{version.end()};
inline constexpr Le64 fileSize{directorySize.end()};
inline constexpr Le64 sums{fileSize.end()};   ///< where the data ends and its checksums begin
inline constexpr Le64 directory{sums.end()};  ///< where the directory begins
inline constexpr Le32 directorySum{directory.end()};
inline constexpr Le64 reserved1{directorySum.end()};  ///< zero
inline constexpr Le64 reserved2{reserved1.end()};     ///< zero
inline constexpr Le32 headerSum{reserved2.end()};     ///< over all bytes in front of it
inline constexpr std::size_t size = 64;
static_assert(magicText.size() == magic.size && headerSum.end() == size);
}  // namespace header

/// One checksum of a block, and one of a group of checksums.
namespace sum {
inline constexpr Le32 value{0};
inline constexpr std::size_t size = 4;
/// A group fills as many bytes as a block.
inline constexpr std::size_t perGroup = blockSize / size;
}  // namespace sum

/// At the beginning of the directory. The records of the tables follow, those of
/// all fields, those of all indexes, the numbers of the indexes' columns, the
/// checksums of the groups, and the names.
namespace directory {
inline constexpr Le32 tableCount{0};
inline constexpr Le32 fieldCount{tableCount.end()};
inline constexpr Le32 indexCount{fieldCount.end()};
inline constexpr Le32 columnCount{indexCount.end()};
inline constexpr Le32 groupCount{columnCount.end()};
inline constexpr Le32 namesSize{groupCount.end()};
inline constexpr std::size_t size = 24;
static_assert(namesSize.end() == size);
}  // namespace directory

/// Names are offsets into the names, where they end in a NUL.
namespace table {
inline constexpr Le32 name{0};
inline constexpr Le32 rowCount{name.end()};
inline constexpr Le32 fieldCount{rowCount.end()};
inline constexpr Le32 indexCount{fieldCount.end()};
/// Section: the entries of each row, in the order of the fields.
inline constexpr Le64 rows{indexCount.end()};
inline constexpr std::size_t size = 24;
static_assert(rows.end() == size);
}  // namespace table

namespace field {
inline constexpr Le32 name{0};
inline constexpr U8 type{name.end()};
inline constexpr U8 storage{type.end()};
inline constexpr U8 coding{storage.end()};
inline constexpr U8 reserved{coding.end()};
inline constexpr Le32 width{reserved.end()};         ///< bytes of its entry in a row
inline constexpr Le32 dictionaryCount{width.end()};  ///< texts in the dictionary
/// Section: where the texts begin and end.
inline constexpr Le64 dictionary{dictionaryCount.end()};
inline constexpr Le64 heap{dictionary.end()};  ///< section: the texts' bytes
inline constexpr Le64 heapSize{heap.end()};
inline constexpr std::size_t size = 40;
static_assert(heapSize.end() == size);
}  // namespace field

namespace index {
inline constexpr Le32 name{0};
inline constexpr U8 unique{name.end()};
inline constexpr U8 form{unique.end()};
inline constexpr Le16 reserved{form.end()};  ///< zero
inline constexpr Le32 columnCount{reserved.end()};
/// Of a hashed index: how many leading bits of a hash choose a bucket.
inline constexpr Le32 bucketBits{columnCount.end()};
/// Of an index of ranges: how many there are. The two forms share the place.
inline constexpr Le32 rangeCount{columnCount.end()};
inline constexpr Le64 entries{bucketBits.end()};  ///< section: entries, or ranges
inline constexpr Le64 buckets{entries.end()};  ///< section: where each bucket begins, and the end
inline constexpr std::size_t size = 32;
static_assert(buckets.end() == size);
}  // namespace index

/// The number of a field, in an index's list of columns.
namespace column {
inline constexpr Le32 number{0};
inline constexpr std::size_t size = 4;
}  // namespace column

/// A row in an index. Entries are in the order of hash and row.
namespace entry {
inline constexpr Le32 hash{0};
inline constexpr Le32 row{hash.end()};
inline constexpr std::size_t size = 8;
static_assert(row.end() == size);
}  // namespace entry

/// Rows whose values follow each other: the first row's value, of which these are
/// the bits, and its number. Ranges are in the order of their values.
namespace range {
inline constexpr Le32 value{0};
inline constexpr Le32 row{value.end()};
inline constexpr std::size_t size = 8;
static_assert(row.end() == size);
}  // namespace range

/// The number of the first entry of a bucket.
namespace bucket {
inline constexpr Le32 first{0};
inline constexpr std::size_t size = 4;
}  // namespace bucket

/// More bits than rows can make use of.
inline constexpr unsigned maxBucketBits = 30;
/// Record numbers are signed.
inline constexpr std::uint32_t maxRows = 0x7fffffff;

}  // namespace tessel::layout

#endif  // TESSEL_STORE_LAYOUT_H
