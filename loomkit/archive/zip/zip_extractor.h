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

/// Extracts the members of an archive below one directory and nowhere else, and no
/// more than its limits allow. It refuses a name that is absolute, has a drive or a
/// "..", or leads through a link; it never makes links itself. A file appears under
/// its name when it is complete and its checksum is right, also for the members whose
/// checksum the reader does not compare. gOutput is told what goes wrong, with the
/// system name gDataSysName, and gProgressCB the percentage that is done.
///
/// Reader and entries stay the caller's. Nothing throws, apart from an allocation that
/// fails. One thread at a time uses an extractor and its reader, and nobody else may
/// change the directory meanwhile.
class LOOMKIT_API GZipExtractor {
 public:
  /// How an extraction ended. Of two results, the one further down is the worse.
  enum Result {
    Done,           ///< all went well
    Exists,         ///< a file is there already
    CannotWrite,    ///< a file or directory cannot be made
    Damaged,        ///< the archive's data are not what they must be
    Refused,        ///< a name that is not one for a file below the directory
    LimitExceeded,  ///< more than setLimits() allows
    Cancelled       ///< the host ended it, see setCancel()
  };

  /// What an archive may contain at most.
  struct Limits {
    std::uint64_t totalBytes = std::uint64_t{1} << 36;  ///< of all files, uncompressed
    unsigned int ratio = 1000;       ///< size of a file to that of its data; 0: any
    unsigned int entries = 1000000;  ///< in the directory
  };

  /// Will extract from `reader`, which has to be open, to `directory`, or to the
  /// current one if that is empty. A directory that is missing is made when the first
  /// file needs it, with those above it.
  GZipExtractor(GZipReader* reader, const std::string& directory);

  /// Sets what may be extracted at most.
  void setLimits(const Limits& newLimits) { limits = newLimits; }
  /// Says whether files that are there are replaced. At first they are not.
  void setOverwrite(bool on) { overwrite = on; }
  /// Sets what is asked every few thousand bytes: true ends the extraction.
  void setCancel(std::function<bool()> asked) { cancelled = std::move(asked); }

  /// Extracts every member, in the order of the names. A member that fails does not
  /// keep the others from being extracted; a limit or a cancellation ends it all. The
  /// result is the worst of all members' results.
  Result extractAll();

  /// Extracts one member. A member that is a directory is made.
  Result extract(const GZipEntry* entry);

  /// Reads one member and writes nothing, to find out whether it is whole: Done, or
  /// Damaged, LimitExceeded, Cancelled.
  Result test(const GZipEntry* entry);

  /// The number of files that were written so far.
  [[nodiscard]] unsigned int getFileCount() const { return fileCount; }
  /// The uncompressed bytes that were read so far.
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
