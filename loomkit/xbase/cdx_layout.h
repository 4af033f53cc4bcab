// SPDX-License-Identifier: MIT
// The compound index file (.CDX) on the disk: the only place that knows the
// offsets. The file is made of blocks of 512 bytes, and an address is the offset
// of a block's first byte. Each tag is a B+ tree: a tag header of two blocks
// points to the root, branch nodes point to their children, and leaf nodes hold
// the keys, each stored as what differs from the key before it. The tag of tags,
// whose header is at address 0, is such a tree as well: its keys are the names
// of the other tags, and its record numbers the addresses of their headers.
// docs/formats/cdx.md has the same with an example. Numbers are little-endian
// but those of a branch entry, which compare by memcmp behind their key.
#ifndef LOOMKIT_XBASE_CDX_LAYOUT_H
#define LOOMKIT_XBASE_CDX_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "loomkit/text/binary.h"

namespace loomkit::xbase::cdx {

inline constexpr std::size_t blockSize = 512;

/// In place of an address: there is no such block.
inline constexpr std::uint32_t noBlock = 0xFFFFFFFF;

/// The longest key of a tag, in bytes; longer results of its expression are cut.
inline constexpr std::size_t longestKey = 240;

/// The header of a tag.
namespace header {
inline constexpr std::size_t size = 2 * blockSize;

inline constexpr Le32 root{0};
inline constexpr Le32 freeList{root.end()};  ///< the first free block; used at address 0 only
inline constexpr Le32 version{freeList.end()};
inline constexpr Le16 keyLength{version.end()};
inline constexpr U8 typeCode{keyLength.end()};
inline constexpr U8 signature{typeCode.end()};
/// At address 0: `changing` while blocks in memory are ahead of the file. A file
/// that is found so was not closed in order, and its trees may be torn.
inline constexpr BytesField mark{signature.end(), 8};
inline constexpr BytesField reserved{mark.end(), 478};
inline constexpr Le16 descending{reserved.end()};
inline constexpr Le16 keyTextLength{descending.end()};        ///< its end zero included
inline constexpr Le16 filterTextLength{keyTextLength.end()};  ///< 1: there is none
inline constexpr BytesField reserved2{filterTextLength.end(), 2};
inline constexpr Le16 keyTextLength2{reserved2.end()};  ///< the same again; the one that is read
/// The key's expression, then the filter's, each with its end zero.
inline constexpr BytesField texts{keyTextLength2.end(), size - blockSize};

static_assert(mark.offset == 16 && descending.offset == 502);
static_assert(texts.offset == blockSize && texts.end() == size);

inline constexpr std::string_view changing = "CHANGING";
static_assert(changing.size() == mark.size);

inline constexpr unsigned signatureValue = 1;
}  // namespace header

// Bits of a header's type code.
inline constexpr unsigned typeUnique = 0x01;
inline constexpr unsigned typeFilter = 0x08;
inline constexpr unsigned typeCompact = 0x20;
inline constexpr unsigned typeCompound = 0x40;
inline constexpr unsigned typeTagOfTags = 0x80;

/// The longest source of an expression, its end zero not counted.
inline constexpr std::size_t longestSource = 255;
static_assert(2 * (longestSource + 1) <= header::texts.size);

/// What names a tag: padded with blanks in the tag of tags.
inline constexpr std::size_t tagNameSize = 10;

/// What every node begins with.
namespace node {
inline constexpr Le16 attributes{0};
inline constexpr Le16 keyCount{attributes.end()};
inline constexpr Le32 left{keyCount.end()};  ///< neighbour; in a free block, the next free one
inline constexpr Le32 right{left.end()};
inline constexpr std::size_t size = right.end();

inline constexpr unsigned isRoot = 1;
inline constexpr unsigned isLeaf = 2;
}  // namespace node

/// A branch node: entries of a fixed size, each the largest key of a child, with
/// its record number and the child's address, both big-endian.
namespace branch {
inline constexpr std::size_t entries = node::size;
inline constexpr std::size_t room = blockSize - entries;

inline constexpr std::size_t entrySize(std::size_t keyLength) { return keyLength + 8; }
inline constexpr std::size_t capacity(std::size_t keyLength) { return room / entrySize(keyLength); }
static_assert(capacity(longestKey) >= 2);

// Of an entry whose key has `keyLength` bytes.
inline constexpr Be32 record(std::size_t keyLength) { return {keyLength}; }
inline constexpr Be32 child(std::size_t keyLength) { return {record(keyLength).end()}; }
static_assert(child(10).end() == entrySize(10));
}  // namespace branch

/// A leaf node. Behind its header, an information field for each key grows from
/// the front; the bytes of the keys grow from the back. An information field
/// holds, from the lowest bit on, the record number, the count of bytes that the
/// key shares with the key before it, and the count of pad bytes at its end.
namespace leaf {
inline constexpr Le16 freeBytes{node::size};
inline constexpr Le32 recordMask{freeBytes.end()};
inline constexpr U8 duplicateMask{recordMask.end()};
inline constexpr U8 trailingMask{duplicateMask.end()};
inline constexpr U8 recordBits{trailingMask.end()};
inline constexpr U8 duplicateBits{recordBits.end()};
inline constexpr U8 trailingBits{duplicateBits.end()};
inline constexpr U8 infoSize{trailingBits.end()};
inline constexpr std::size_t entries = infoSize.end();
inline constexpr std::size_t room = blockSize - entries;
static_assert(entries == 24 && room == 488);

inline constexpr unsigned fewestRecordBits = 12;
inline constexpr unsigned widestInfo = 8;  ///< bytes that a reader is ready for
}  // namespace leaf

}  // namespace loomkit::xbase::cdx

#endif  // LOOMKIT_XBASE_CDX_LAYOUT_H
