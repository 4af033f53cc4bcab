// SPDX-License-Identifier: MIT
// EntrySorter: the rows of an index in the order of their hashes.
#ifndef TESSEL_BUILDER_ENTRY_SORTER_H
#define TESSEL_BUILDER_ENTRY_SORTER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tessel/builder/workspace.h"

namespace tessel {

/// Sorts in memory what fits there; the rest in runs, which go to the scratch
/// file and are merged. Failures are the workspace's.
class EntrySorter {
 public:
  /// Keeps at most `capacity` entries of 8 bytes in memory.
  EntrySorter(Workspace* ownedElsewhere, std::size_t entryCapacity)
      : workspace(ownedElsewhere), capacity(entryCapacity) {}

  void add(std::uint32_t hash, std::uint32_t row) {
    if (entries.size() == capacity) spillRun();
    entries.push_back(std::uint64_t{hash} << 32 | row);
  }

  /// Ends the adding. Then next() gives the entries in order.
  void sort();

  /// False behind the last entry, and on failure.
  bool next(std::uint32_t* hash, std::uint32_t* row);

 private:
  struct Run {
    std::uint64_t offset;  // of what is not read yet, in the scratch file
    std::uint64_t left;    // entries that are not read yet
    std::vector<std::uint64_t> block;
    std::size_t at;  // in the block
  };

  void spillRun();
  bool refill(Run* run);
  void mergeStep();

  Workspace* workspace;
  std::size_t capacity;
  std::vector<std::uint64_t> entries;
  std::size_t at = 0;  // in the entries, while they are given out
  std::vector<Run> runs;
  std::vector<std::size_t> heap;  // of runs, the one with the least entry first
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_ENTRY_SORTER_H
