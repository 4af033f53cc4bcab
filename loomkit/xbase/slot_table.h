// SPDX-License-Identifier: MIT
// SlotTable: which slot of a cache holds which block of a file.
#ifndef LOOMKIT_XBASE_SLOT_TABLE_H
#define LOOMKIT_XBASE_SLOT_TABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace loomkit::xbase {

/// A hash table with chains from block numbers to slots. The slots are numbered from
/// 0 on without gaps, so that the chains lie in one vector: finding, entering and
/// removing allocate nothing once the cache has all its slots. Blocks that follow each
/// other in the file never share a chain.
class SlotTable {
 public:
  /// What find() gives for a block that is in no slot.
  static constexpr std::uint32_t none = ~std::uint32_t{0};

  [[nodiscard]] std::uint32_t find(std::uint64_t number) const {
    if (heads.empty()) return none;
    std::uint32_t slot = heads[chainOf(number)];
    while (slot != none && entries[slot].number != number) slot = entries[slot].next;
    return slot;
  }

  /// Enters a block that is not in the table. `slot` is one that no block has, and at
  /// most the number of slots so far.
  void insert(std::uint64_t number, std::uint32_t slot);

  /// Removes a block; one that is not in the table is none the worse for it.
  void erase(std::uint64_t number);

  /// Removes all blocks.
  void clear();

 private:
  struct Entry {
    std::uint64_t number = 0;
    std::uint32_t next = none;
  };

  // The number of chains is a power of two.
  [[nodiscard]] std::size_t chainOf(std::uint64_t number) const {
    return static_cast<std::size_t>(number) & (heads.size() - 1);
  }
  void grow();

  std::vector<std::uint32_t> heads;  // the first slot of each chain
  std::vector<Entry> entries;        // by slot
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_SLOT_TABLE_H
