// SPDX-License-Identifier: MIT
// The zip archive on the disk, in the part of PKWARE's APPNOTE.TXT that the
// library reads and writes: one disk, no zip64, methods 0 (stored) and 8
// (deflated), traditional encryption. This is the only place that knows the
// offsets; docs/formats/zip.md explains the fields. All numbers are little-endian.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "loomkit/text/binary.h"

namespace loomkit::zip {

// Bits of the general purpose flags.
inline constexpr unsigned flagEncrypted = 1U << 0;
inline constexpr unsigned flagDataDescriptor = 1U << 3;

inline constexpr std::uint16_t methodStored = 0;
inline constexpr std::uint16_t methodDeflated = 8;

// Bits of the external attributes, which are those of MS-DOS.
inline constexpr unsigned attributeVolumeLabel = 1U << 3;
inline constexpr unsigned attributeDirectory = 1U << 4;

/// Bit of the internal attributes: the member was judged to be text.
inline constexpr std::uint16_t internalAscii = 1;

/// The version that a program has to know to read an archive: 2.0 stands for
/// deflate, encryption and directories.
inline constexpr std::uint16_t version2 = 20;

inline constexpr std::size_t longestName = 1024;  ///< that the reader accepts
inline constexpr std::size_t encryptionHeaderSize = 12;

/// The record in front of a member's data; the name and an extra field follow it.
namespace local {
inline constexpr std::uint32_t signatureValue = 0x04034b50;
inline constexpr Le32 signature{0};
inline constexpr Le16 version{4};
inline constexpr Le16 flags{6};
inline constexpr Le16 method{8};
inline constexpr Le16 time{10};
inline constexpr Le16 date{12};
inline constexpr Le32 crc{14};
inline constexpr Le32 comprSize{18};
inline constexpr Le32 uncomprSize{22};
inline constexpr Le16 nameSize{26};
inline constexpr Le16 extraSize{28};
inline constexpr std::size_t size = 30;
static_assert(crc.offset == date.end() && nameSize.offset == uncomprSize.end() &&
              size == extraSize.end());
}  // namespace local

/// The record of a member in the central directory; the name, an extra field and
/// a comment follow it.
namespace central {
inline constexpr std::uint32_t signatureValue = 0x02014b50;
inline constexpr Le32 signature{0};
inline constexpr Le16 madeBy{4};
inline constexpr Le16 version{6};
inline constexpr Le16 flags{8};
inline constexpr Le16 method{10};
inline constexpr Le16 time{12};
inline constexpr Le16 date{14};
inline constexpr Le32 crc{16};
inline constexpr Le32 comprSize{20};
inline constexpr Le32 uncomprSize{24};
inline constexpr Le16 nameSize{28};
inline constexpr Le16 extraSize{30};
inline constexpr Le16 commentSize{32};
inline constexpr Le16 disk{34};
inline constexpr Le16 internalAttributes{36};
inline constexpr Le32 externalAttributes{38};
inline constexpr Le32 localHeaderOffset{42};
inline constexpr std::size_t size = 46;
static_assert(crc.offset == date.end() && nameSize.offset == uncomprSize.end() &&
              externalAttributes.offset == internalAttributes.end() &&
              size == localHeaderOffset.end());
}  // namespace central

/// The record behind the data of a member whose local header could not tell its
/// checksum and sizes.
namespace descriptor {
inline constexpr std::uint32_t signatureValue = 0x08074b50;
inline constexpr Le32 signature{0};
inline constexpr Le32 crc{4};
inline constexpr Le32 comprSize{8};
inline constexpr Le32 uncomprSize{12};
inline constexpr std::size_t size = 16;
static_assert(crc.offset == signature.end() && size == uncomprSize.end());
}  // namespace descriptor

/// The record at the end of the archive; a comment follows it.
namespace end {
inline constexpr std::uint32_t signatureValue = 0x06054b50;
inline constexpr Le32 signature{0};
inline constexpr Le16 disk{4};
inline constexpr Le16 directoryDisk{6};
inline constexpr Le16 entriesHere{8};
inline constexpr Le16 entries{10};
inline constexpr Le32 directorySize{12};
inline constexpr Le32 directoryOffset{16};
inline constexpr Le16 commentSize{20};
inline constexpr std::size_t size = 22;
static_assert(directorySize.offset == entries.end() && size == commentSize.end());
}  // namespace end

/// How far from the end of the file the end record is looked for. The largest
/// comment would need 21 bytes more; hosts rely on such an archive being refused.
inline constexpr std::size_t searchedTail = 65536;

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
