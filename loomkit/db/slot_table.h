// SPDX-License-Identifier: MIT
// The slots behind the handles of databases and tables. Private to the library.
#ifndef LOOMKIT_DB_SLOT_TABLE_H
#define LOOMKIT_DB_SLOT_TABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace loomkit {

/// Stores `object` in the first free (null) slot, or in a new one; its index.
template <typename Object>
std::int32_t takeSlot(std::vector<Object*>* slots, Object* object) {
  const auto free = std::find(slots->begin(), slots->end(), nullptr);
  const auto index = static_cast<std::int32_t>(free - slots->begin());
  if (free != slots->end())
    *free = object;
  else
    slots->push_back(object);
  return index;
}

/// The object of a handle; null when the slot is free or holds another by now.
template <typename Object>
Object* findSlot(const std::vector<Object*>& slots, int index, int seqNo) {
  if (index < 0 || static_cast<std::size_t>(index) >= slots.size()) return nullptr;
  Object* object = slots[static_cast<std::size_t>(index)];
  return object != nullptr && object->getSeqNo() == seqNo ? object : nullptr;
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_SLOT_TABLE_H
