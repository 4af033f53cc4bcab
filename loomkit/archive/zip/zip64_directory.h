// SPDX-License-Identifier: MIT
// zip::Directory64: the table of contents of an archive of any size.
// Private to GZip64Reader, which reports what is found wrong.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP64_DIRECTORY_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP64_DIRECTORY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/archive/window.h"
#include "loomkit/archive/zip/zip_member.h"
#include "loomkit/text/binary.h"

namespace loomkit::zip {

/// What the end records say of the directory. Offsets count from the start of the
/// file, whatever stands in front of the archive.
struct Layout64 {
  std::uint64_t directoryOffset = 0;
  std::uint64_t directorySize = 0;
  std::uint64_t entryCount = 0;
  std::uint64_t bytesInFront = 0;  ///< that do not belong to the archive
  std::string comment;
  bool wide = false;  ///< there is an end record of zip64
};

/// Reads one archive's end records and central headers. Failures are texts. One
/// thread at a time.
class Directory64 {
 public:
  explicit Directory64(Window& archive) : window(archive) {}

  /// Finds the end records. Null, or what is wrong.
  const char* readEndRecords();

  /// Reads the central headers in their order. Null, or what is wrong.
  const char* readMembers(std::vector<GZipMember>* members);

  [[nodiscard]] const Layout64& getLayout() const { return layout; }

  /// What is odd about the archive and does no harm.
  [[nodiscard]] const std::vector<std::string>& getWarnings() const { return warnings; }

  /// False when there are not as many members as the archive states, or when the
  /// directory does not end where it says.
  [[nodiscard]] bool isExact() const { return exact; }

 private:
  bool findEndRecord(std::uint64_t* offset);
  void takeEndRecord(std::uint64_t offset);
  const char* takeEndRecord64(std::uint64_t endOffset);
  void findBytesInFront(std::uint64_t directoryEnd);
  void takeText(std::uint64_t offset, std::size_t size, std::string* text);

  Window& window;
  Layout64 layout;
  std::vector<std::string> warnings;
  bool exact = true;
};

/// Takes the numbers of 64 bits, and better times, out of a member's extra fields.
/// False when a number that must be there is missing.
bool takeExtraFields(const unsigned char* bytes, std::size_t size, GZipMember* member);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP64_DIRECTORY_H
