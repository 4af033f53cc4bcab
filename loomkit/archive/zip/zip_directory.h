// SPDX-License-Identifier: MIT
// zip::Directory: finds and reads the table of contents of a zip archive. Private
// to GZipReader, which reports what is found wrong.
//
//   zip::Directory directory(stream, [](const char* text) { ... });
//   if (const char* what = directory.readEndRecord(); what != nullptr) ...
//   std::vector<std::unique_ptr<GZipEntry>> entries;
//   if (!directory.readEntries(&entries)) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_DIRECTORY_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_DIRECTORY_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip_entry.h"
#include "loomkit/text/binary.h"

namespace loomkit::zip {

/// What the end record says, and where it stands. Offsets count from the start
/// of the archive, in bytes.
struct EndRecord {
  std::uint32_t archiveSize = 0;
  std::uint32_t offset = 0;
  std::uint32_t directoryOffset = 0;
  std::uint32_t directorySize = 0;
  std::uint16_t entryCount = 0;
  std::string comment;
};

/// Reads one archive's end record and then its central headers. Failures are
/// results; what can be tolerated goes to `warn`. One thread at a time.
class Directory {
 public:
  using Warn = std::function<void(const char*)>;

  /// The stream stays the caller's; it is binary and can seek.
  Directory(std::istream& archive, Warn warn);

  /// Finds the end record: the one nearest to the end of the archive counts.
  /// Null, or the text of what is wrong.
  const char* readEndRecord();

  /// Reads the central headers in their order, from where the end record says.
  /// False when one of them is wrong; the entry itself has reported why. Requires:
  /// the stream is at getEndRecord().directoryOffset.
  bool readEntries(std::vector<std::unique_ptr<GZipEntry>>* entries);

  [[nodiscard]] const EndRecord& getEndRecord() const { return endRecord; }

  /// False when the entries that were read are not as many as the end record
  /// states, or did not end where it says.
  [[nodiscard]] bool isExact() const { return exact; }

 private:
  void checkDisks(const RecordReader& record);
  void takeComment(const std::string& tail, std::size_t index, std::size_t size);

  std::istream& stream;
  Warn warn;
  EndRecord endRecord;
  bool exact = true;
};

/// Moves entries into a map by name, which owns them as raw pointers. Of several
/// with one name the first stays, and the others are deleted.
void addByName(std::vector<std::unique_ptr<GZipEntry>> entries,
               std::map<std::string, GZipEntry*>* byName);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_DIRECTORY_H
