// SPDX-License-Identifier: MIT
// Extension: GZipExtractor, which extracts archives from strangers.
//
//   GZip64Reader reader;                           // or a GZipReader
//   if (!reader.open("upload.zip")) return;
//   GZipExtractor extractor(&reader, "incoming");
//   extractor.setCancel([&] { return stopButtonPressed(); });
//   if (extractor.extractAll() != GZipExtractor::Done) ...   // gOutput was told why
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip_member.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/platform/export.h"

/// Extracts the members of an archive below one directory and nowhere else, and no
/// more than its limits allow. It refuses a name that is absolute, has a colon or a
/// "..", or leads through a link, and an archive whose members share their data. Names
/// that Windows takes for something else ("aux.c", "name.") are refused on all systems,
/// so that an archive gives the same files everywhere. A file appears under its name
/// when it is complete and its checksum is right, also for the members whose checksum
/// the reader does not compare. gOutput is told what goes wrong, with the system name
/// gDataSysName, and gProgressCB the percentage that is done.
///
/// Files and directories get the times and rights that the archive states, less the
/// process's umask. Of several members of one name the last is written; the others are
/// read all the same, so that test and extraction agree. What is written is brought to
/// the disk by the system in its own time; see setSync().
///
/// Reader and entries stay the caller's. Nothing throws, apart from an allocation that
/// fails. One thread at a time uses an extractor and its reader. Somebody who changes
/// the directory meanwhile can make the extraction fail, and cannot lead it elsewhere.
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
    unsigned int ratio = 1000;       ///< of all that was read so far to its data in the archive,
                                     ///< from 64 MiB on; 0: any
    unsigned int entries = 1000000;  ///< in the directory
  };

  /// Will extract from `reader`, which has to be open, to `directory`, or to the
  /// current one if that is empty. A directory that is missing is made when the first
  /// file needs it, with those above it.
  GZipExtractor(GZipReader* reader, const std::string& directory);
  /// The same from a reader of archives of any size.
  GZipExtractor(GZip64Reader* reader, const std::string& directory);
  GZipExtractor(const GZipExtractor&) = delete;
  GZipExtractor& operator=(const GZipExtractor&) = delete;
  ~GZipExtractor();

  /// Sets what may be extracted at most.
  void setLimits(const Limits& newLimits);
  /// Says whether files that are there are replaced. At first they are not.
  void setOverwrite(bool on);
  /// Sets what is asked every few thousand bytes: true ends the extraction.
  void setCancel(std::function<bool()> asked);
  /// Says whether members that are links become links. At first they become files that
  /// hold the target's path, with a warning. A link is made only if it leads, by itself
  /// and with the other links, to a place below the directory.
  void setMakeLinks(bool on);
  /// Says whether files keep the set-user, set-group and sticky bits. At first they do
  /// not.
  void setKeepSpecialModes(bool on);
  /// Says whether all is brought to the disk once at the end. At first it is not.
  void setSync(bool on);

  /// Extracts every member: of a GZipReader in the order of the names, of a GZip64Reader
  /// in that of the directory. A member that fails does not keep the others from being
  /// extracted; a limit or a cancellation ends it all. The result is the worst of all
  /// members' results.
  Result extractAll();
  /// Extracts these members of a GZip64Reader in the same way.
  Result extract(const std::vector<const GZipMember*>& members);
  /// Extracts one member of a GZipReader. A member that is a directory is made.
  Result extract(const GZipEntry* entry);

  /// Does all that extractAll() does and writes nothing: the result is the same, apart
  /// from what is wrong with the directory that would be written to.
  Result testAll();
  /// Reads one member of a GZip64Reader: Done, or what is wrong with it.
  Result test(const GZipMember* member);
  /// Reads one member of a GZipReader, whatever its name is.
  Result test(const GZipEntry* entry);

  /// The number of files and links that were written so far.
  [[nodiscard]] unsigned int getFileCount() const;
  /// The uncompressed bytes that were read so far.
  [[nodiscard]] std::uint64_t getByteCount() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTOR_H
