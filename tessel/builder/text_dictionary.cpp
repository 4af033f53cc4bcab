// SPDX-License-Identifier: MIT
#include "tessel/builder/text_dictionary.h"

#include "tessel/store/crc32c.h"

namespace tessel {
namespace {

// The checksum's low bits are too regular for texts that differ by a digit.
std::uint32_t hashOf(std::string_view text) {
  const std::uint32_t sum = crc32c(0, text.data(), text.size()) * 0x9e3779b1U;
  return sum ^ sum >> 15;
}

}  // namespace

std::string_view TextDictionary::textAt(std::uint32_t number) const {
  const std::size_t begin = begins[number];
  const std::size_t end = number + 1 < begins.size() ? begins[number + 1] : heap.size();
  return std::string_view(heap).substr(begin, end - begin);
}

// The slot that holds the text, or the free one where it belongs.
std::size_t TextDictionary::slotOf(std::uint32_t hash, std::string_view text) const {
  const std::size_t mask = slots.size() - 1;
  for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
    const Slot& slot = slots[i];
    if (slot.number == 0 || (slot.hash == hash && textAt(slot.number - 1) == text)) return i;
  }
}

void TextDictionary::grow() {
  std::vector<Slot> old = std::move(slots);
  slots.assign(old.empty() ? 64 : old.size() * 2, Slot{0, 0});
  const std::size_t mask = slots.size() - 1;
  for (const Slot& slot : old) {
    if (slot.number == 0) continue;
    std::size_t i = slot.hash & mask;
    while (slots[i].number != 0) i = (i + 1) & mask;
    slots[i] = slot;
  }
}

void TextDictionary::add(std::string_view text) {
  if (!few) return;
  if (slots.size() <= begins.size() * 2) grow();
  const std::uint32_t hash = hashOf(text);
  Slot& slot = slots[slotOf(hash, text)];
  if (slot.number != 0) return;
  if (begins.size() == maxCount || text.size() > maxBytes - heap.size()) {
    few = false;
    slots = {};
    begins = {};
    heap = {};
    return;
  }
  begins.push_back(static_cast<std::uint32_t>(heap.size()));
  heap += text;
  slot = {hash, static_cast<std::uint32_t>(begins.size())};
}

std::uint32_t TextDictionary::find(std::string_view text) const {
  return slots[slotOf(hashOf(text), text)].number - 1;
}

}  // namespace tessel
