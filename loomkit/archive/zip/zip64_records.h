// SPDX-License-Identifier: MIT
// The records of one member as GZip64Writer writes them. Private to it.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP64_RECORDS_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP64_RECORDS_H

#include <cstdint>
#include <optional>
#include <string>

#include "loomkit/archive/zip/zip_dos_time.h"

namespace loomkit::zip {

/// A member that is being written.
struct WrittenMember {
  std::string name;
  std::string comment;
  std::uint64_t size = 0;
  std::uint64_t packedSize = 0;
  std::uint64_t headerOffset = 0;
  std::uint32_t crc = 0;
  std::uint16_t mode = 0;
  std::uint16_t method = 0;
  std::uint16_t flags = 0;
  DosTime time;
  std::optional<std::int32_t> exactTime;  ///< seconds since 1970
  bool directory = false;
  bool wide = false;  ///< the local header leaves the sizes to zip64
};

/// The local header with the name and the extra fields. Its size does not depend on the
/// checksum and the sizes, so that it can be written again when they are known.
std::string localRecord(const WrittenMember& member);
/// The record behind the data of an encrypted member.
std::string descriptorRecord(const WrittenMember& member);
/// The central header with the name, the extra fields and the comment.
std::string centralRecord(const WrittenMember& member);
/// The records at the end; those of zip64 are among them where a number needs them.
std::string endRecords(std::uint64_t entries, std::uint64_t directoryOffset,
                       std::uint64_t directorySize);

/// True for a text that is not ASCII and is valid UTF-8.
bool needsUtf8Flag(const std::string& text);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP64_RECORDS_H
