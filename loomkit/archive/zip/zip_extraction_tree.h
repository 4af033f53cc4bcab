// SPDX-License-Identifier: MIT
// zip::ExtractionTree: the directory that an archive is extracted to, with those below
// it. Private to GZipExtractor.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_TREE_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_TREE_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "loomkit/archive/zip/zip_extraction_plan.h"
#include "loomkit/platform/directory_handle.h"

namespace loomkit::zip {

/// Opens and makes the directories below one directory, never through a link. It holds
/// the top open and those that were asked for lately, because members of one directory
/// mostly follow each other, or alternate with those of a few others.
class ExtractionTree {
 public:
  /// The directory is made when the first file needs it. The plan tells the rights and times of
  /// directories and has to outlive the tree.
  ExtractionTree(const std::string& directoryPath, const ExtractionPlan& plan)
      : topPath(directoryPath), extractionPlan(plan) {}

  enum class Entered { yes, link, failed };

  /// Opens the directory at a path below the top, and makes what is missing of it. The
  /// empty path is the top. On success *directory is good until the next call; otherwise
  /// *trouble is the path that is in the way.
  Entered enter(const std::string& path, const platform::DirectoryHandle** directory,
                std::string* trouble);

  /// Gives the directories that were made their own times and rights, which could have
  /// kept files from being written before.
  void finish();

  /// Brings everything to the disk.
  bool sync() const { return !top.isOpen() || top.sync(); }

 private:
  Entered step(const platform::DirectoryHandle& parent, const std::string& path,
               const std::string& name, std::string* trouble);
  void leaveCurrent();

  // Far fewer than the descriptors that a process may have.
  static constexpr std::size_t mostOpen = 64;

  std::string topPath;
  const ExtractionPlan& extractionPlan;
  platform::DirectoryHandle top;
  platform::DirectoryHandle current;
  std::string currentPath;                                            // empty: none is
  std::unordered_map<std::string, platform::DirectoryHandle> others;  // by path
  std::vector<std::string> made;
};

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_TREE_H
