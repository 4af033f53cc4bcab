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
  constexpr std::uint32_t count = sizeof slots / sizeof slots[0];
  const auto type = static_cast<std::uint32_t>(value.type);
  return slots[type < count ? type : 0];
}

std::size_t textSize(const TslValue& value) { return std::strlen(value.value.textValue) + 1; }

// What the values take at most. In front of a number lies less than its size.
std::size_t roomFor(const TslRow& row) {
  std::size_t room = 0;
  for (const TslValue *value = row.values, *end = value + row.valueCount; value != end; ++value)
    room += value->type == TslTypeText ? textSize(*value) : 2 * slotOf(*value).size;
  return room;
}

// Puts values behind each other into a block. Each size of a number is a constant
// for the compiler, since a record is made for every row that is read.
class Placer {
 public:
  Placer(unsigned char* memory, std::size_t begin) : block(memory), offset(begin) {}

  // Where the copy of a value lies; null when nothing is kept of it.
  void* copy(const TslValue& value, GDbFieldType type) {
    switch (type) {
      case GDbFieldInt:
      case GDbFieldUInt:
        return copyBytes<4>(&value.value);
      case GDbFieldFloat:
        return copyBytes<8>(&value.value);
      case GDbFieldString:
        return copyText(value);
      default:
        return nullptr;
    }
  }

 private:
  template <std::size_t size>
  void* copyBytes(const void* bytes) {
    const std::size_t begin = aligned(offset, size);
    offset = begin + size;
    return std::memcpy(block + begin, bytes, size);
  }
  void* copyText(const TslValue& value) {
    const std::size_t begin = offset;
    const std::size_t size = textSize(value);
    offset += size;
    return std::memcpy(block + begin, value.value.textValue, size);
  }

  unsigned char* block;
  std::size_t offset;
};

}  // namespace

GDbRecord* makeTesselRecord(const TslRow& row) {
  const auto count = static_cast<std::size_t>(row.valueCount);
  const std::size_t begin = valuesAt(count) + count * sizeof(void*);
  auto* const block = static_cast<unsigned char*>(::operator new(begin + roomFor(row)));
  auto* const types = reinterpret_cast<GDbFieldType*>(block + typesAt);
  auto** const values = reinterpret_cast<void**>(block + valuesAt(count));
  Placer placer(block, begin);
  for (std::size_t i = 0; i < count; ++i) {
    types[i] = slotOf(row.values[i]).type;
    values[i] = placer.copy(row.values[i], types[i]);
  }
  return new (block) GDbRecord(true, row.valueCount, types, values);
}

}  // namespace loomkit
