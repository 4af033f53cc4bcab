// SPDX-License-Identifier: MIT
// Extension: GZipMember, what a zip archive says of one member, without the limits
// of GZipEntry.
//
//   for (const GZipMember& member : reader.getMembers()) total += member.size;
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_H

#include <cstddef>
#include <cstdint>
#include <string>

/// A member as the directory of its archive describes it. All of it is a stranger's
/// word, names included. A plain value; threads may read one at the same time.
struct GZipMember {
  std::string name;                ///< with '/' between its parts
  std::string comment;             ///< mostly empty
  std::uint64_t size = 0;          ///< bytes of the uncompressed data
  std::uint64_t packedSize = 0;    ///< bytes that the data take in the archive
  std::uint64_t headerOffset = 0;  ///< of the local header, from the archive's start
  std::int64_t modTime = 0;        ///< seconds since 1970
  std::uint32_t crc = 0;           ///< CRC-32 of the uncompressed data
  std::uint16_t mode = 0;          ///< type and rights as on Unix; 0 when unknown
  std::uint16_t method = 0;        ///< 0 stored, 8 deflated; others cannot be read
  std::uint16_t flags = 0;         ///< as they stand in the header
  unsigned char checkByte = 0;     ///< what an encryption header ends with
  bool directory = false;          ///< by its attributes or the slash at the name's end
  bool volumeLabel = false;        ///< the name of a disk, and no file
  bool encrypted = false;

  /// True for a symbolic link; its data are the target's path.
  [[nodiscard]] bool isLink() const { return (mode & 0170000U) == 0120000U; }
  [[nodiscard]] bool isDeflated() const { return method == 8; }
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_H
