// SPDX-License-Identifier: MIT
#include "loomkit/xbase/slot_table.h"

#include <algorithm>

namespace loomkit::xbase {
namespace {

constexpr std::size_t fewestChains = 16;

}  // namespace

void SlotTable::insert(std::uint64_t number, std::uint32_t slot) {
  if (slot >= entries.size()) entries.resize(slot + std::size_t{1});
  if (entries.size() > heads.size()) grow();
  std::uint32_t& head = heads[chainOf(number)];
  entries[slot] = {number, head};
  head = slot;
}

void SlotTable::erase(std::uint64_t number) {
  if (heads.empty()) return;
  std::uint32_t* link = &heads[chainOf(number)];
  while (*link != none && entries[*link].number != number) link = &entries[*link].next;
  if (*link != none) *link = entries[*link].next;
}

void SlotTable::clear() {
  std::fill(heads.begin(), heads.end(), none);
  entries.clear();
}

// Puts every block into a chain anew, twice as many chains as before.
void SlotTable::grow() {
  std::vector<std::uint32_t> old(std::max(fewestChains, heads.size() * 2), none);
  old.swap(heads);
  for (std::uint32_t slot : old) {
    while (slot != none) {
      const std::uint32_t next = entries[slot].next;
      std::uint32_t& head = heads[chainOf(entries[slot].number)];
      entries[slot].next = head;
      head = slot;
      slot = next;
    }
  }
}

}  // namespace loomkit::xbase
