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
  std::size_t size;  // and alignment; 0: nothing is kept, or a text's own length counts
};

constexpr Slot slots[] = {{GDbFieldNone, 0},  {GDbFieldInt, 4},    {GDbFieldUInt, 4},
                          {GDbFieldFloat, 8}, {GDbFieldString, 0}, {GDbFieldUInt, 4}};

const Slot& slotOf(const TslValue& value) {
  constexpr int count = sizeof slots / sizeof slots[0];
  return slots[value.type > 0 && value.type < count ? value.type : 0];
}

// Places the values of a row behind each other.
class Placer {
 public:
  explicit Placer(std::size_t begin) : offset(begin) {}

  // Where a value of `size` bytes begins that has this slot.
  std::size_t place(const Slot& slot, std::size_t size) {
    const std::size_t begin = slot.size == 0 ? offset : aligned(offset, slot.size);
    offset = begin + size;
    return begin;
  }
  [[nodiscard]] std::size_t end() const { return offset; }

 private:
  std::size_t offset;
};

std::size_t textSize(const TslValue& value) { return std::strlen(value.value.textValue) + 1; }

std::size_t blockSize(const TslRow& row, std::size_t valuesBegin) {
  Placer placer(valuesBegin);
  for (const TslValue *value = row.values, *end = value + row.valueCount; value != end; ++value) {
    const Slot& slot = slotOf(*value);
    placer.place(slot, slot.type == GDbFieldString ? textSize(*value) : slot.size);
  }
  return placer.end();
}

// Copies a value into the block; null when nothing is kept of it. Each size is a
// constant for the compiler, since a record is made for every row that is read.
void* copyValue(const TslValue& value, const Slot& slot, unsigned char* block, Placer* placer) {
  switch (slot.type) {
    case GDbFieldInt:
    case GDbFieldUInt:
      return std::memcpy(block + placer->place(slot, 4), &value.value, 4);
    case GDbFieldFloat:
      return std::memcpy(block + placer->place(slot, 8), &value.value, 8);
    case GDbFieldString: {
      const std::size_t size = textSize(value);
      return std::memcpy(block + placer->place(slot, size), value.value.textValue, size);
    }
    default:
      return nullptr;
  }
}

}  // namespace

GDbRecord* makeTesselRecord(const TslRow& row) {
  const auto count = static_cast<std::size_t>(row.valueCount);
  const std::size_t begin = valuesAt(count) + count * sizeof(void*);
  auto* const block = static_cast<unsigned char*>(::operator new(blockSize(row, begin)));
  auto* const types = reinterpret_cast<GDbFieldType*>(block + typesAt);
  auto** const values = reinterpret_cast<void**>(block + valuesAt(count));
  Placer placer(begin);
  for (std::size_t i = 0; i < count; ++i) {
    const Slot& slot = slotOf(row.values[i]);
    types[i] = slot.type;
    values[i] = copyValue(row.values[i], slot, block, &placer);
  }
  return new (block) GDbRecord(true, row.valueCount, types, values);
}

}  // namespace loomkit
