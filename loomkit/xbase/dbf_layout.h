// SPDX-License-Identifier: MIT
// The table file (.DBF) on the disk: the only place that knows the offsets. A
// header, the field descriptors, their terminator, then records of one length,
// each a deletion flag and the fields' texts. docs/formats/dbf.md has the same
// with an example. Numbers are little-endian.
#ifndef LOOMKIT_XBASE_DBF_LAYOUT_H
#define LOOMKIT_XBASE_DBF_LAYOUT_H

#include <cstddef>

#include "loomkit/text/binary.h"

namespace loomkit::xbase::dbf {

namespace header {
inline constexpr U8 version{0};
inline constexpr U8 year{version.end()};  ///< of the last change, less 1900
inline constexpr U8 month{year.end()};    ///< from 1
inline constexpr U8 day{month.end()};
inline constexpr Le32 recordCount{day.end()};
inline constexpr Le16 headerLength{recordCount.end()};   ///< descriptors and terminator included
inline constexpr Le16 recordLength{headerLength.end()};  ///< deletion flag included
inline constexpr BytesField reserved{recordLength.end(), 16};
inline constexpr U8 flags{reserved.end()};
inline constexpr U8 codePage{flags.end()};  ///< the language driver; written as 0
inline constexpr BytesField reserved2{codePage.end(), 2};
inline constexpr std::size_t size = reserved2.end();
static_assert(recordCount.offset == 4 && flags.offset == 28 && size == 32);
}  // namespace header

inline constexpr std::uint8_t versionPlain = 0x03;
inline constexpr std::uint8_t versionWithMemo = 0xF5;
/// A bit of the version: a memo file belongs to the table.
inline constexpr unsigned memoBit = 0x80;

// Bits of the flags.
inline constexpr unsigned flagProductionIndex = 0x01;
inline constexpr unsigned flagMemo = 0x02;  ///< of versions from 0x30 to 0x32, in place of the bit

namespace descriptor {
inline constexpr BytesField name{0, 11};  ///< zero padded
inline constexpr U8 type{name.end()};
inline constexpr BytesField reserved{type.end(), 4};
inline constexpr U8 width{reserved.end()};
/// Of N and F the decimals, of C the high byte of the width.
inline constexpr U8 decimals{width.end()};
inline constexpr BytesField reserved2{decimals.end(), 14};
inline constexpr std::size_t size = reserved2.end();
static_assert(width.offset == 16 && size == 32);
}  // namespace descriptor

/// In place of the first byte of the descriptor behind the last.
inline constexpr char terminator = 0x0D;
/// Behind the last record.
inline constexpr char endMark = 0x1A;

/// The first byte of a record.
inline constexpr char flagLive = ' ';
inline constexpr char flagDeleted = '*';

inline constexpr std::size_t longestName = 10;
inline constexpr std::size_t longestRecord = 65534;
inline constexpr std::size_t longestHeader = 65534;

// Widths that a letter fixes.
inline constexpr unsigned dateWidth = 8;
inline constexpr unsigned logicalWidth = 1;
inline constexpr unsigned memoWidth = 10;
/// Of a memo field of later programs, which holds the block number in binary.
inline constexpr unsigned binaryMemoWidth = 4;
/// The widest N or F field that a descriptor can express.
inline constexpr unsigned widestNumber = 255;

}  // namespace loomkit::xbase::dbf

#endif  // LOOMKIT_XBASE_DBF_LAYOUT_H
