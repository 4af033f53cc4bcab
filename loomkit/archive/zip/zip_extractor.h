// SPDX-License-Identifier: MIT
// Extension: GZipExtractor, which extracts archives from strangers.
//
//   GZipReader reader;
//   if (!reader.open("upload.zip")) return;
//   GZipExtractor extractor(&reader, "incoming");
//   extractor.setCancel([&] { return stopButtonPressed(); });
//   if (extractor.extractAll() != GZipExtractor::Done) ...   // gOutput was told why
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H

#include <cstdint>
#include <functional>
#include <string>

#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/platform/export.h"

/// Extracts the members of an archive below one directory and nowhere else, and
/// no more than was agreed on. A name that is absolute, has a drive or a "..",
/// or leads through a link, is refused; links themselves are never made. A file
/// appears under its name when it is complete and its checksum right, also for
/// members whose checksum the reader leaves alone. What goes wrong is reported
/// to gOutput with the system name gDataSysName.
///
/// gProgressCB is called with the percentage that is done. One thread at a
/// time; nobody else may change the directory meanwhile.
class LOOMKIT_API GZipExtractor {
 public:
  /// How an extraction ended. The later one is the worse one.
  enum Result {
    Done,
    Exists,         ///< a file is there already
    CannotWrite,    ///< a file or directory cannot be made
    Damaged,        ///< the archive's data are not what they must be
    Refused,        ///< a name that is not one for a file below the directory
    LimitExceeded,  ///< more than setLimits() allows
    Cancelled
  };

  /// What an archive may contain at most.
  struct Limits {
    std::uint64_t totalBytes = std::uint64_t{1} << 36;  ///< of all files, uncompressed
    unsigned int ratio = 1000;  ///< of a file to its data in the archive; 0: any
    unsigned int entries = 1000000;
  };

  /// Neither is taken over; the reader has to be open. The directory, by default
  /// the current one, is made at need, with those above it.
  GZipExtractor(GZipReader* reader, const std::string& directory);

  void setLimits(const Limits& newLimits) { limits = newLimits; }
  /// Replaces files that are there. Off at first.
  void setOverwrite(bool on) { overwrite = on; }
  /// Asked again and again; true ends the extraction.
  void setCancel(std::function<bool()> asked) { cancelled = std::move(asked); }

  /// Extracts every member in the order of the names. A member that fails does
  /// not keep the others from being extracted, but a limit or a cancellation
  /// ends it. The worst that happened is the result.
  Result extractAll();

  /// Extracts one member; a directory is made.
  Result extract(const GZipEntry* entry);

  /// Reads one member and throws it away: Done, or Damaged, LimitExceeded,
  /// Cancelled.
  Result test(const GZipEntry* entry);

  /// Files written so far, and their bytes.
  [[nodiscard]] unsigned int getFileCount() const { return fileCount; }
  [[nodiscard]] std::uint64_t getByteCount() const { return byteCount; }

 private:
  class Target;

  Result makeDirectories(const std::string& path);
  Result extractFile(const GZipEntry* entry, const std::string& path);
  Result read(const GZipEntry* entry, std::ostream* out);
  bool isBelowDirectory(const std::string& path);
  Result fail(Result result, const std::string& text);
  void showProgress();

  GZipReader* reader;
  std::string directory;
  Limits limits;
  bool overwrite = false;
  std::function<bool()> cancelled;
  unsigned int fileCount = 0;
  std::uint64_t byteCount = 0;
  std::uint64_t expectedBytes = 0;
  int shownPercent = -1;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H
