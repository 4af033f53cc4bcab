// SPDX-License-Identifier: MIT
// Extension: GArMemberReader, which reads every member of an ar archive under the name
// that people know it by.
//
//   GArMemberReader reader;
//   if (!reader.open("libm.a")) return;            // gOutput was told why
//   for (const GArMember& member : reader.getMembers()) {
//     reader.read(member, [&](const char* data, std::size_t size) { return take(data, size); });
//   }
#ifndef LOOMKIT_ARCHIVE_AR_MEMBER_READER_H
#define LOOMKIT_ARCHIVE_AR_MEMBER_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/platform/export.h"

/// A member as the archive describes it. All of it is a stranger's word, the name
/// included. A plain value; its name belongs to the reader.
struct GArMember {
  std::string_view name;
  std::uint64_t offset = 0;  ///< bytes from the start of the archive to the data
  std::uint64_t size = 0;    ///< bytes of the data
  std::int64_t modTime = 0;  ///< seconds since 1970; 0 when the archive does not tell
  std::uint32_t mode = 0;    ///< type and rights as on Unix; 0 when the archive does not tell
  std::uint32_t number = 1;  ///< 1 for the first member of this name, 2 for the second
};

/// Reads what GArReader reads, and beyond it: the names of the System V dialect, whether
/// they end in a slash and LF or, as in the import libraries of Windows, in a NUL; every
/// member of several that share a name; times and modes. The tables of symbols and names
/// are no members.
///
/// An archive that is damaged is open all the same, with the members that can be told:
/// isWhole() is false then, and gOutput was told each thing that is wrong, as "PATH:
/// TEXT" with the system name gDataSysName. Nothing throws, apart from an allocation that
/// fails and what a receiver throws. The memory that a reader takes grows with the bytes
/// that are there. One thread at a time uses it. Format: docs/formats/ar.md.
class LOOMKIT_API GArMemberReader {
 public:
  /// Takes the next bytes of a member; false ends the reading.
  using Receiver = std::function<bool(const char* data, std::size_t size)>;

  /// A closed reader without members.
  GArMemberReader();
  GArMemberReader(const GArMemberReader&) = delete;
  GArMemberReader& operator=(const GArMemberReader&) = delete;
  ~GArMemberReader();

  /// Opens a regular file and reads its headers. False when it cannot be read or is no
  /// ar archive; gOutput was told why. What was open before is closed.
  bool open(const std::string& path);
  /// Closes the file; the members go.
  void close();
  /// The path that was opened last.
  [[nodiscard]] const std::string& getPath() const;

  /// All members, in the order of the archive. They stay until open() or close().
  [[nodiscard]] const std::vector<GArMember>& getMembers() const;
  /// The member of this name and number, or null.
  [[nodiscard]] const GArMember* find(std::string_view name, std::uint32_t number = 1) const;
  /// False when gOutput was told of damage.
  [[nodiscard]] bool isWhole() const;

  /// Reads a member's data. False, with getErrMsg(), when they are not all there or the
  /// receiver has had enough. Requires: the member is one of this reader's.
  bool read(const GArMember& member, const Receiver& receiver);
  /// Why the last read() failed, without the archive's path.
  [[nodiscard]] const std::string& getErrMsg() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_ARCHIVE_AR_MEMBER_READER_H
