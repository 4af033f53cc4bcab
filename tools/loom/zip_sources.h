// SPDX-License-Identifier: MIT
// What `loom zip new` puts into an archive, and what it leaves out.
#ifndef LOOM_ZIP_SOURCES_H
#define LOOM_ZIP_SOURCES_H

#include <string>
#include <vector>

#include "file_facts.h"

namespace loom {

/// A member to be.
struct ZipSource {
  std::string path;
  std::string name;  ///< in the archive; a directory's ends in a slash
  FileFacts facts;
  bool named = false;  ///< on the command line, and not only found below a directory
};

/// Something that is not in the archive although its directory is.
struct LeftOut {
  std::string path;
  std::string why;
};

struct ZipSources {
  std::vector<ZipSource> members;  ///< in the order of their names, each name once
  std::vector<LeftOut> leftOut;
};

/// Finds all that the operands name or contain, with the directories above it. A link
/// is a member of its own with `keepLinks`; without, one among the operands stands for
/// what it leads to, and others are left out. `archive` is the path of the archive, which
/// does not become part of itself. Throws Failure (exit code 3) for an operand that is
/// not there.
[[nodiscard]] ZipSources zipSourcesOf(const std::vector<std::string>& operands, bool keepLinks,
                                      const std::string& archive);

/// The path as a member's name: relative, without "." and "..".
[[nodiscard]] std::string memberNameOf(const std::string& path);

}  // namespace loom

#endif  // LOOM_ZIP_SOURCES_H
