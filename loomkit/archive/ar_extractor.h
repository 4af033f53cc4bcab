// SPDX-License-Identifier: MIT
// Extension: GArExtractor, which extracts ar archives from strangers.
//
//   GArMemberReader reader;
//   if (!reader.open("upload.a")) return;
//   GArExtractor extractor(&reader, "incoming");
//   if (extractor.extractAll() != GArExtractor::Done) ...   // gOutput was told why
#ifndef LOOMKIT_ARCHIVE_AR_EXTRACTOR_H
#define LOOMKIT_ARCHIVE_AR_EXTRACTOR_H

#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/ar_member_reader.h"
#include "loomkit/platform/export.h"

/// Extracts members of an archive into one directory and nowhere else. It refuses a name
/// that is not one file's on every system (one with a separator or a colon, a device of
/// Windows, one that ends in a dot or a blank), and one that leads through a link. A file
/// appears when it is complete, with the time and the rights that the archive states, less
/// the process's umask. Of several members of one name the last is written, as by other
/// programs. gOutput is told what goes wrong, with the system name gDataSysName.
///
/// The reader stays the caller's. Nothing throws, apart from an allocation that fails. One
/// thread at a time uses an extractor and its reader. Somebody who changes the directory
/// meanwhile can make the extraction fail, and cannot lead it elsewhere.
class LOOMKIT_API GArExtractor {
 public:
  /// How an extraction ended. Of two results, the one further down is the worse.
  enum Result {
    Done,         ///< all went well
    Exists,       ///< a file is there already
    CannotWrite,  ///< a file or the directory cannot be made
    Damaged,      ///< a member's data are not all there
    Refused       ///< a name that is not one file's in the directory on every system
  };

  /// Will extract from `reader`, which has to be open, to `directory`, or to the current
  /// one if that is empty. A directory that is missing is made when the first file needs
  /// it, with those above it.
  GArExtractor(GArMemberReader* reader, const std::string& directory);
  GArExtractor(const GArExtractor&) = delete;
  GArExtractor& operator=(const GArExtractor&) = delete;
  ~GArExtractor();

  /// Says whether files that are there are replaced. At first they are not.
  void setOverwrite(bool on);
  /// Says whether all is brought to the disk once at the end. At first it is not.
  void setSync(bool on);

  /// Extracts every member. One that fails does not keep the others from being
  /// extracted; the result is the worst of all members' results.
  Result extractAll();
  /// Extracts these members of the reader in the same way.
  Result extract(const std::vector<const GArMember*>& members);

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_ARCHIVE_AR_EXTRACTOR_H
