// SPDX-License-Identifier: MIT
// The zip archive on the disk, in the part of PKWARE's APPNOTE.TXT that the
// library reads and writes: one disk, no zip64, methods 0 (stored) and 8
// (deflated), traditional encryption. The only place that knows the offsets.
// All numbers are little-endian.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H

#include <cstddef>
#include <cstdint>

namespace loomkit::zip {

// Bits of the general purpose flags.
inline constexpr unsigned flagEncrypted = 1U << 0;
inline constexpr unsigned flagDataDescriptor = 1U << 3;

inline constexpr unsigned methodStored = 0;
inline constexpr unsigned methodDeflated = 8;

// Bits of the external attributes, which are those of MS-DOS.
inline constexpr unsigned attributeVolumeLabel = 1U << 3;
inline constexpr unsigned attributeDirectory = 1U << 4;

/// Bit of the internal attributes.
inline constexpr unsigned internalAscii = 1;

/// 2.0: deflate, encryption and directories.
inline constexpr unsigned version = 20;

inline constexpr std::size_t longestName = 1024;  ///< that the reader accepts
inline constexpr std::size_t encryptionHeaderSize = 12;

/// In front of a member's data; the name and an extra field follow.
namespace local {
inline constexpr std::uint32_t signature = 0x04034b50;
inline constexpr std::size_t signatureAt = 0;
inline constexpr std::size_t versionAt = 4;
inline constexpr std::size_t flagsAt = 6;
inline constexpr std::size_t methodAt = 8;
inline constexpr std::size_t timeAt = 10;
inline constexpr std::size_t dateAt = 12;
inline constexpr std::size_t crcAt = 14;
inline constexpr std::size_t comprSizeAt = 18;
inline constexpr std::size_t uncomprSizeAt = 22;
inline constexpr std::size_t nameSizeAt = 26;
inline constexpr std::size_t extraSizeAt = 28;
inline constexpr std::size_t size = 30;
static_assert(crcAt == dateAt + 2 && uncomprSizeAt == crcAt + 8 && size == extraSizeAt + 2);
}  // namespace local

/// In the central directory; the name, an extra field and a comment follow.
namespace central {
inline constexpr std::uint32_t signature = 0x02014b50;
inline constexpr std::size_t signatureAt = 0;
inline constexpr std::size_t madeByAt = 4;
inline constexpr std::size_t versionAt = 6;
inline constexpr std::size_t flagsAt = 8;
inline constexpr std::size_t methodAt = 10;
inline constexpr std::size_t timeAt = 12;
inline constexpr std::size_t dateAt = 14;
inline constexpr std::size_t crcAt = 16;
inline constexpr std::size_t comprSizeAt = 20;
inline constexpr std::size_t uncomprSizeAt = 24;
inline constexpr std::size_t nameSizeAt = 28;
inline constexpr std::size_t extraSizeAt = 30;
inline constexpr std::size_t commentSizeAt = 32;
inline constexpr std::size_t diskAt = 34;
inline constexpr std::size_t internalAttributesAt = 36;
inline constexpr std::size_t externalAttributesAt = 38;
inline constexpr std::size_t localHeaderOffsetAt = 42;
inline constexpr std::size_t size = 46;
static_assert(crcAt == dateAt + 2 && nameSizeAt == crcAt + 12 &&
              externalAttributesAt == internalAttributesAt + 2 && size == localHeaderOffsetAt + 4);
}  // namespace central

/// Behind the data of a member whose header could not tell its sizes.
namespace descriptor {
inline constexpr std::uint32_t signature = 0x08074b50;
inline constexpr std::size_t signatureAt = 0;
inline constexpr std::size_t crcAt = 4;
inline constexpr std::size_t comprSizeAt = 8;
inline constexpr std::size_t uncomprSizeAt = 12;
inline constexpr std::size_t size = 16;
}  // namespace descriptor

/// At the end of the archive; a comment follows.
namespace end {
inline constexpr std::uint32_t signature = 0x06054b50;
inline constexpr std::size_t signatureAt = 0;
inline constexpr std::size_t diskAt = 4;
inline constexpr std::size_t directoryDiskAt = 6;
inline constexpr std::size_t entriesHereAt = 8;
inline constexpr std::size_t entriesAt = 10;
inline constexpr std::size_t directorySizeAt = 12;
inline constexpr std::size_t directoryOffsetAt = 16;
inline constexpr std::size_t commentSizeAt = 20;
inline constexpr std::size_t size = 22;
static_assert(directorySizeAt == entriesAt + 2 && size == commentSizeAt + 2);
}  // namespace end

/// How far from the end of the file the end record is looked for.
inline constexpr std::size_t searchedTail = 65536;

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
