// SPDX-License-Identifier: MIT
// The zip archive on the disk, in the part of PKWARE's APPNOTE.TXT that the
// library reads and writes: one disk, methods 0 (stored) and 8 (deflated),
// traditional encryption. The zip64 records and the extra fields are those of
// GZip64Reader and GZip64Writer; GZipReader and GZipWriter pass them over. This is
// the only place that knows the offsets; docs/formats/zip.md explains the fields.
// All numbers are little-endian.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "loomkit/text/binary.h"

namespace loomkit::zip {

// Bits of the general purpose flags.
inline constexpr unsigned flagEncrypted = 1U << 0;
inline constexpr unsigned flagDataDescriptor = 1U << 3;
inline constexpr unsigned flagStrongEncryption = 1U << 6;
inline constexpr unsigned flagUtf8 = 1U << 11;  ///< name and comment are UTF-8

inline constexpr std::uint16_t methodStored = 0;
inline constexpr std::uint16_t methodDeflated = 8;

// Bits of the external attributes, which are those of MS-DOS. Programs that were
// made on Unix keep the file's type and rights in the 16 bits above.
inline constexpr unsigned attributeReadOnly = 1U << 0;
inline constexpr unsigned attributeVolumeLabel = 1U << 3;
inline constexpr unsigned attributeDirectory = 1U << 4;

/// Bit of the internal attributes: the member was judged to be text.
inline constexpr std::uint16_t internalAscii = 1;

/// The version that a program has to know to read an archive: 2.0 stands for
/// deflate, encryption and directories.
inline constexpr std::uint16_t version2 = 20;
inline constexpr std::uint16_t version45 = 45;  ///< 4.5 stands for zip64

// Where a member was made: the high byte of `madeBy`.
inline constexpr unsigned madeOnDos = 0;
inline constexpr unsigned madeOnUnix = 3;
inline constexpr unsigned madeOnMac = 19;

// A file's type in its Unix mode.
inline constexpr unsigned unixTypeMask = 0170000;
inline constexpr unsigned unixDirectory = 0040000;
inline constexpr unsigned unixFile = 0100000;
inline constexpr unsigned unixLink = 0120000;

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

/// A field of 16 or 32 bits that is too narrow has all bits set, and the number is
/// in the zip64 records.
inline constexpr std::uint16_t inZip64Short = 0xffff;
inline constexpr std::uint32_t inZip64 = 0xffffffff;

/// The head of one extra field; its bytes follow it.
namespace extra {
inline constexpr Le16 id{0};
inline constexpr Le16 dataSize{2};
inline constexpr std::size_t headSize = dataSize.end();
inline constexpr std::uint16_t zip64Id = 0x0001;  ///< numbers of 64 bits
inline constexpr std::uint16_t ntfsId = 0x000a;   ///< times in steps of 100 ns
inline constexpr std::uint16_t timeId = 0x5455;   ///< times in seconds since 1970
}  // namespace extra

/// The extra field of times: those whose flag is set follow each other.
namespace extra_time {
inline constexpr U8 flags{0};
inline constexpr Le32 modified{1};
inline constexpr std::uint8_t hasModified = 1;
inline constexpr std::size_t size = modified.end();
}  // namespace extra_time

/// The extra field of NTFS, when its first attribute is that of the times.
namespace extra_ntfs {
inline constexpr Le32 reserved{0};
inline constexpr Le16 tag{4};
inline constexpr Le16 tagSize{6};
inline constexpr Le64 modified{8};
inline constexpr std::uint16_t tagTimes = 1;
static_assert(tag.offset == reserved.end() && modified.offset == tagSize.end());
}  // namespace extra_ntfs

/// The extra field of a local header that leaves its two sizes to zip64.
namespace extra_local64 {
inline constexpr Le64 uncomprSize{0};
inline constexpr Le64 comprSize{8};
inline constexpr std::size_t size = comprSize.end();
}  // namespace extra_local64

/// The data descriptor of a member whose sizes are in zip64.
namespace descriptor64 {
inline constexpr Le32 signature{0};
inline constexpr Le32 crc{4};
inline constexpr Le64 comprSize{8};
inline constexpr Le64 uncomprSize{16};
inline constexpr std::size_t size = uncomprSize.end();
static_assert(comprSize.offset == crc.end());
}  // namespace descriptor64

/// The end record of zip64, in front of its locator.
namespace end64 {
inline constexpr std::uint32_t signatureValue = 0x06064b50;
inline constexpr Le32 signature{0};
inline constexpr Le64 sizeBehind{4};  ///< of the record, without these twelve bytes
inline constexpr Le16 madeBy{12};
inline constexpr Le16 version{14};
inline constexpr Le32 disk{16};
inline constexpr Le32 directoryDisk{20};
inline constexpr Le64 entriesHere{24};
inline constexpr Le64 entries{32};
inline constexpr Le64 directorySize{40};
inline constexpr Le64 directoryOffset{48};
inline constexpr std::size_t size = directoryOffset.end();
static_assert(disk.offset == version.end() && entriesHere.offset == directoryDisk.end());
}  // namespace end64

/// Tells where the end record of zip64 is; it stands in front of the end record.
namespace locator64 {
inline constexpr std::uint32_t signatureValue = 0x07064b50;
inline constexpr Le32 signature{0};
inline constexpr Le32 disk{4};
inline constexpr Le64 recordOffset{8};
inline constexpr Le32 disks{16};
inline constexpr std::size_t size = disks.end();
static_assert(recordOffset.offset == disk.end());
}  // namespace locator64

/// The longest comment of an archive.
inline constexpr std::size_t longestComment = 65535;

/// How far from the end of the file the end record is looked for. The largest
/// comment would need 21 bytes more; hosts rely on such an archive being refused.
inline constexpr std::size_t searchedTail = 65536;

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_LAYOUT_H
