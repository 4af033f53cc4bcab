// SPDX-License-Identifier: MIT
// Workspace: the memory and the scratch file that building a store may use.
#ifndef TESSEL_BUILDER_WORKSPACE_H
#define TESSEL_BUILDER_WORKSPACE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "loomkit/platform/scratch_file.h"

namespace tessel {

/// What does not fit into `memoryLimit` bytes goes to a file without a name in
/// the directory of the target. The first failure stays.
class Workspace {
 public:
  Workspace(std::string targetPath, std::size_t memoryLimit)
      : target(std::move(targetPath)), limit(memoryLimit) {}

  /// 0, or the first failure as a status of hul.h.
  [[nodiscard]] int status() const { return firstFailure; }

  [[nodiscard]] std::size_t memoryLimit() const { return limit; }
  /// True if so many more bytes may be kept in memory; they then count until
  /// they are given back.
  bool reserve(std::size_t size) {
    if (size > limit - used) return false;
    used += size;
    return true;
  }
  void giveBack(std::size_t size) { used -= size; }

  /// Writes to the scratch file; where the bytes lie goes to `*offset`.
  bool spill(const void* data, std::size_t size, std::uint64_t* offset);
  /// Reads what was spilled.
  bool fetch(std::uint64_t offset, void* data, std::size_t size);

 private:
  bool check(int status);

  std::string target;
  std::size_t limit;
  std::size_t used = 0;
  loomkit::platform::ScratchFile scratch;
  std::uint64_t scratchEnd = 0;
  int firstFailure = 0;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_WORKSPACE_H
