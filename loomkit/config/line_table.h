// SPDX-License-Identifier: MIT
// LineTable: a hash table from the keys of a configuration file to their lines.
// Private to the folder.
#ifndef LOOMKIT_CONFIG_LINE_TABLE_H
#define LOOMKIT_CONFIG_LINE_TABLE_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace loomkit {

/// Finds the line that stands for a key. The keys themselves are in the lines:
/// the table holds the number of a line and the hash of its key, and asks the
/// caller which line has the key that is wanted (`isKey`, called with a line's
/// number). A slot that is taken sends the search to the one behind it; at least
/// half of the slots are free, so that a search is short.
class LineTable {
 public:
  using Index = std::uint32_t;
  static constexpr Index none = std::numeric_limits<Index>::max();

  /// Makes room for that many keys.
  void reserve(std::size_t keys);

  /// The line of a key, or `none`.
  template <typename IsKey>
  [[nodiscard]] Index find(std::uint32_t hash, IsKey isKey) const {
    return slots[slotOf(hash, isKey)].line;
  }

  /// Lets `line` stand for its key. The line that stood for it until now, or
  /// `none`.
  template <typename IsKey>
  Index set(std::uint32_t hash, Index line, IsKey isKey) {
    Slot& slot = slots[slotOf(hash, isKey)];
    const Index older = slot.line;
    slot = {hash, line};
    if (older == none) reserve(++count + 1);
    return older;
  }

  /// Takes a key out. Requires: it is there.
  template <typename IsKey>
  void erase(std::uint32_t hash, IsKey isKey) {
    free(slotOf(hash, isKey));
    --count;
  }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    Index line = none;
  };
  static constexpr std::size_t smallest = 16;

  // The slot of the key, or the free one where it belongs.
  template <typename IsKey>
  [[nodiscard]] std::size_t slotOf(std::uint32_t hash, IsKey isKey) const {
    const std::size_t mask = slots.size() - 1;
    std::size_t at = hash & mask;
    while (slots[at].line != none && !(slots[at].hash == hash && isKey(slots[at].line)))
      at = (at + 1) & mask;
    return at;
  }
  void free(std::size_t hole);

  std::vector<Slot> slots = std::vector<Slot>(smallest);  // their number is a power of two
  std::size_t count = 0;                                  // of the keys
};

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_LINE_TABLE_H
