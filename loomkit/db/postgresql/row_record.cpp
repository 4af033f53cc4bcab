// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/row_record.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sql/local_text.h"

namespace loomkit {
namespace {

constexpr std::size_t aligned(std::size_t size, std::size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace

void RowRecord::start(std::size_t columns) {
  if (slots.size() < columns) slots.resize(columns);
  count = 0;
  used = 0;
}

// Makes room for the next column's value. What it has been given before is kept, so
// that a row like the ones before it needs no new memory.
char* RowRecord::begin(GDbFieldType type, bool isNull, std::size_t alignment, std::size_t size) {
  const std::size_t offset = aligned(used, alignment);
  used = offset + size;
  if (used > body.size()) body.resize(used * 2);
  slots[count++] = {isNull ? static_cast<GDbFieldType>(type | GDbFieldNullFlag) : type, offset};
  return body.data() + offset;
}

// Of an integer beyond 32 bits all are kept, behind those that the record's getter
// reads.
void RowRecord::addInteger(std::int64_t value, bool isNull) {
  const WideInt number(value);
  const bool narrow = value == static_cast<std::int32_t>(value);
  const std::size_t size = narrow ? sizeof(std::int32_t) : sizeof number;
  std::memcpy(begin(narrow ? GDbFieldInt : wideIntType, isNull, alignof(WideInt), size), &number,
              size);
}

void RowRecord::addFloat(double value, bool isNull) {
  std::memcpy(begin(GDbFieldFloat, isNull, alignof(double), sizeof value), &value, sizeof value);
}

void RowRecord::addBlob(const PgValue& value, bool isNull) {
  std::size_t size = 0;
  const char* bytes = isNull ? "" : value.bytes(&room, &size);
  const auto length = static_cast<std::uint32_t>(size);
  char* at = begin(GDbFieldBlob, isNull, alignof(std::uint32_t), sizeof length + size);
  std::memcpy(at, &length, sizeof length);
  std::memcpy(at + sizeof length, bytes, size);
}

void RowRecord::addText(const PgValue& value, bool isNull) {
  std::string_view text = isNull ? std::string_view("") : value.text(&room);
  std::string local;
  if (!isAscii(text.data(), text.size())) {
    fromUtf8(text.data(), static_cast<int>(text.size()), &local);
    text = local;
  }
  char* at = begin(GDbFieldString, isNull, 1, text.size() + 1);
  std::memcpy(at, text.data(), text.size());
  at[text.size()] = '\0';
}

void RowRecord::add(const PgValue& value, bool isNull) {
  switch (value.type->field) {
    case GDbFieldInt:
      return addInteger(isNull ? 0 : value.integer(), isNull);
    case GDbFieldFloat:
      return addFloat(isNull ? 0 : value.number(), isNull);
    case GDbFieldBlob:
      return addBlob(value, isNull);
    default:
      return addText(value, isNull);
  }
}

GDbRecord* RowRecord::make() const {
  constexpr std::size_t valuesAt = aligned(sizeof(GDbRecord), alignof(void*));
  const std::size_t typesAt = valuesAt + count * sizeof(void*);
  const std::size_t bodyAt = aligned(typesAt + count * sizeof(GDbFieldType), alignof(double));
  char* block = static_cast<char*>(::operator new(bodyAt + used));
  auto** values = reinterpret_cast<void**>(block + valuesAt);
  auto* types = reinterpret_cast<GDbFieldType*>(block + typesAt);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = block + bodyAt + slots[i].offset;
    types[i] = slots[i].type;
  }
  if (used != 0) std::memcpy(block + bodyAt, body.data(), used);
  return new (block) GDbRecord(true, static_cast<int>(count), types, values);
}

}  // namespace loomkit
