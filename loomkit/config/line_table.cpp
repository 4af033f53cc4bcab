// SPDX-License-Identifier: MIT
#include "loomkit/config/line_table.h"

namespace loomkit {

void LineTable::reserve(std::size_t keys) {
  std::size_t size = slots.size();
  while (size < keys * 2) size *= 2;
  if (size == slots.size()) return;
  std::vector<Slot> old(size);
  old.swap(slots);
  for (const Slot& slot : old) {
    if (slot.line == none) continue;
    // No two slots have the same key, so that the first free slot is its place.
    slots[slotOf(slot.hash, [](Index) { return false; })] = slot;
  }
}

// A search ends at the first free slot. So the slots behind the hole that were
// pushed back by the one that is freed move up (Knuth, The Art of Computer
// Programming, volume 3, 6.4, algorithm R).
void LineTable::free(std::size_t hole) {
  const std::size_t mask = slots.size() - 1;
  for (std::size_t at = (hole + 1) & mask; slots[at].line != none; at = (at + 1) & mask) {
    const std::size_t wanted = slots[at].hash & mask;
    if (((at - wanted) & mask) < ((at - hole) & mask)) continue;
    slots[hole] = slots[at];
    hole = at;
  }
  slots[hole] = Slot();
}

}  // namespace loomkit
