// SPDX-License-Identifier: MIT
// TreeBuilder: makes a tree of entries that come in order. Its leaves are full, and
// it is written from the first block to the last.
#ifndef LOOMKIT_XBASE_TREE_BUILDER_H
#define LOOMKIT_XBASE_TREE_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "loomkit/xbase/block_space.h"

namespace loomkit::xbase {

/// Builds one tree in a space that has announced a change, and that it does not
/// own. What returns an `int` gives a code of codes.h.
///
///   TreeBuilder builder(space, keyLength, pad, lastRecord);
///   for (...) builder.add(key, record);
///   builder.finish(&root);
class TreeBuilder {
 public:
  /// No record number is to be above `lastRecord`.
  TreeBuilder(BlockSpace& space, std::size_t keyLength, unsigned char pad,
              std::uint32_t lastRecord);

  /// Requires: the entry stands behind the one before it.
  int add(const unsigned char* key, std::uint32_t record);
  /// Writes what is left and gives the address of the root. A tree without entries
  /// is an empty leaf.
  int finish(std::uint32_t* root);

 private:
  /// The last node of a level, which is being filled.
  struct Level {
    std::uint32_t address = cdx::noBlock;
    bool empty = true;
    unsigned char bytes[paddedBlockSize] = {};
  };

  void startNode(std::size_t level);
  int openLevel(std::size_t level);
  int closeNode(std::size_t level);
  int store(const Level& level);
  int addToBranch(std::size_t level, const unsigned char* key, std::uint32_t record,
                  std::uint32_t child);
  void lastEntry(std::size_t level, const unsigned char** key, std::uint32_t* record);

  BlockSpace* space;
  std::size_t keyLength;
  unsigned char pad;
  LeafFormat format;
  std::vector<std::unique_ptr<Level>> levels;  // from the leaves up
  std::vector<unsigned char> lastKey;
  std::uint32_t lastRecord = 0;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_TREE_BUILDER_H
