// SPDX-License-Identifier: MIT
// Handles: numbers that stand for objects.
#ifndef TESSEL_STORE_HANDLES_H
#define TESSEL_STORE_HANDLES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tessel {

/// Owns objects and gives each a number of 0 or more. The number of an object
/// that is gone stands for nothing, even when its slot is used again.
template <class Object>
class Handles {
 public:
  /// -1 when there are too many.
  int add(std::unique_ptr<Object> object) {
    const auto free =
        std::find_if(slots.begin(), slots.end(), [](const Slot& s) { return s.object == nullptr; });
    const auto index = static_cast<std::size_t>(free - slots.begin());
    if (index > indexMask) return -1;
    if (free == slots.end()) slots.emplace_back();
    slots[index].object = std::move(object);
    return static_cast<int>(slots[index].turn << indexBits | index);
  }

  /// Null when the number stands for nothing.
  [[nodiscard]] Object* find(int handle) const {
    const Slot* const slot = slotOf(handle);
    return slot != nullptr ? slot->object.get() : nullptr;
  }

  /// Requires: find(handle) is not null.
  void remove(int handle) {
    Slot& slot = slots[static_cast<std::size_t>(handle) & indexMask];
    slot.object.reset();
    slot.turn = (slot.turn + 1) & turnMask;
  }

  template <class Visit>
  void forEach(Visit visit) {
    for (Slot& slot : slots)
      if (slot.object != nullptr) visit(slot.object.get());
  }

 private:
  static constexpr unsigned indexBits = 20;
  static constexpr std::size_t indexMask = (std::size_t{1} << indexBits) - 1;
  static constexpr std::size_t turnMask = (std::size_t{1} << (31 - indexBits)) - 1;

  struct Slot {
    std::unique_ptr<Object> object;
    std::size_t turn = 0;  // how often the slot has been emptied
  };

  [[nodiscard]] const Slot* slotOf(int handle) const {
    if (handle < 0) return nullptr;
    const auto number = static_cast<std::size_t>(handle);
    const std::size_t index = number & indexMask;
    if (index >= slots.size() || slots[index].turn != number >> indexBits) return nullptr;
    return &slots[index];
  }

  std::vector<Slot> slots;
};

}  // namespace tessel

#endif  // TESSEL_STORE_HANDLES_H
