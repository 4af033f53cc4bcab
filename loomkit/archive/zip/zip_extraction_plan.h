// SPDX-License-Identifier: MIT
// zip::ExtractionPlan: what is to become of each member of an archive, judged by the
// names alone. Private to GZipExtractor.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_PLAN_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_PLAN_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "loomkit/archive/zip/zip_member.h"

namespace loomkit::zip {

enum class Fate {
  file,
  directory,
  link,
  passedOver,  ///< a volume label
  superseded,  ///< a later member has the same name
  badName,     ///< not a name for a file below the directory
  conflict     ///< other members need a directory of this name
};

/// Tests and extractions follow the same plan, which is why they agree.
class ExtractionPlan {
 public:
  /// The members have to outlive the plan.
  explicit ExtractionPlan(const std::vector<GZipMember>& members);

  struct Step {
    Fate fate = Fate::file;
    std::string path;  ///< below the directory; empty for a bad name
  };
  [[nodiscard]] const Step& of(std::size_t index) const { return steps[index]; }

  /// The member that describes the directory at this path, or null.
  [[nodiscard]] const GZipMember* directoryAt(const std::string& path) const;

 private:
  void addParents(const std::string& path);
  void judge(std::size_t index);

  const std::vector<GZipMember>& members;
  std::vector<Step> steps;
  std::unordered_map<std::string, std::size_t> directories;  // with members of their own
  std::unordered_set<std::string> needed;                    // as directories
};

/// The directory's part of a path; empty at the top.
std::string directoryPart(const std::string& path);

/// True if a link at `path` to `target` leads to a place below the top. Only at its
/// beginning may a target have "..", and no more of them than there are directories
/// above the link; a chain of such links then stays below the top, too.
bool staysBelowTop(const std::string& path, const std::string& target);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_EXTRACTION_PLAN_H
