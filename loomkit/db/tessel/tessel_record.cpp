// SPDX-License-Identifier: MIT
#include "loomkit/db/tessel/tessel_record.h"

#include <cstdint>
#include <cstring>
#include <new>

namespace loomkit {
namespace {

// The types array lies behind the record, the values array behind that.
constexpr std::size_t typesAt = sizeof(GDbRecord);
static_assert(typesAt % alignof(GDbFieldType) == 0);

std::size_t aligned(std::size_t offset, std::size_t alignment) {
  return (offset + alignment - 1) & ~(alignment - 1);
}

std::size_t valuesAt(std::size_t count) {
  return aligned(typesAt + count * sizeof(GDbFieldType), alignof(void*));
}

// How the store's values are kept in a record.
struct Slot {
  GDbFieldType type;
  std::size_t size;  // 0: nothing is kept, or a text's own length counts
};

constexpr Slot slots[] = {{GDbFieldNone, 0},  {GDbFieldInt, 4},    {GDbFieldUInt, 4},
                          {GDbFieldFloat, 8}, {GDbFieldString, 0}, {GDbFieldUInt, 4}};

Slot slotOf(const TslValue& value) {
  constexpr int count = sizeof slots / sizeof slots[0];
  return value.type > 0 && value.type < count ? slots[value.type] : slots[0];
}

// Where the value behind `offset` begins.
std::size_t placed(std::size_t offset, Slot slot) {
  return slot.size == 0 ? offset : aligned(offset, slot.size);
}

std::size_t sizeOf(const TslValue& value, Slot slot) {
  return slot.type == GDbFieldString ? std::strlen(value.value.textValue) + 1 : slot.size;
}

std::size_t blockSize(const TslRow& row) {
  const auto count = static_cast<std::size_t>(row.valueCount);
  std::size_t size = valuesAt(count) + count * sizeof(void*);
  for (std::size_t i = 0; i < count; ++i) {
    const Slot slot = slotOf(row.values[i]);
    size = placed(size, slot) + sizeOf(row.values[i], slot);
  }
  return size;
}

}  // namespace

GDbRecord* makeTesselRecord(const TslRow& row) {
  auto* const block = static_cast<unsigned char*>(::operator new(blockSize(row)));
  const auto count = static_cast<std::size_t>(row.valueCount);
  auto* const types = reinterpret_cast<GDbFieldType*>(block + typesAt);
  auto** const values = reinterpret_cast<void**>(block + valuesAt(count));
  std::size_t offset = valuesAt(count) + count * sizeof(void*);
  for (std::size_t i = 0; i < count; ++i) {
    const TslValue& value = row.values[i];
    const Slot slot = slotOf(value);
    types[i] = slot.type;
    values[i] = nullptr;
    if (slot.type == GDbFieldNone) continue;
    offset = placed(offset, slot);
    values[i] = block + offset;
    const std::size_t size = sizeOf(value, slot);
    const void* const source = slot.type == GDbFieldString
                                   ? static_cast<const void*>(value.value.textValue)
                                   : static_cast<const void*>(&value.value);
    std::memcpy(values[i], source, size);
    offset += size;
  }
  return new (block) GDbRecord(true, row.valueCount, types, values);
}

}  // namespace loomkit
