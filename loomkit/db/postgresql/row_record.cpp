// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/row_record.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sql/local_text.h"

namespace loomkit {
namespace {

std::size_t aligned(std::size_t size, std::size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace

void RowRecord::start() {
  types.clear();
  offsets.clear();
  body.clear();
}

void RowRecord::begin(GDbFieldType type, bool isNull, std::size_t alignment) {
  types.push_back(isNull ? static_cast<GDbFieldType>(type | GDbFieldNullFlag) : type);
  body.resize(aligned(body.size(), alignment));
  offsets.push_back(body.size());
}

void RowRecord::append(const void* bytes, std::size_t size) {
  body.append(static_cast<const char*>(bytes), size);
}

// Of an integer beyond 32 bits all are kept, behind those that the record's getter
// reads.
void RowRecord::addInteger(std::int64_t value, bool isNull) {
  const WideInt number(value);
  const bool narrow = value == static_cast<std::int32_t>(value);
  begin(narrow ? GDbFieldInt : wideIntType, isNull, alignof(WideInt));
  append(&number, narrow ? sizeof(std::int32_t) : sizeof number);
}

void RowRecord::addFloat(double value, bool isNull) {
  begin(GDbFieldFloat, isNull, alignof(double));
  append(&value, sizeof value);
}

void RowRecord::addBlob(const PgValue& value, bool isNull) {
  std::size_t size = 0;
  const char* bytes = isNull ? "" : value.bytes(&room, &size);
  const auto length = static_cast<std::uint32_t>(size);
  begin(GDbFieldBlob, isNull, alignof(std::uint32_t));
  append(&length, sizeof length);
  append(bytes, size);
}

void RowRecord::addText(const PgValue& value, bool isNull) {
  begin(GDbFieldString, isNull, 1);
  const std::string_view utf8 = isNull ? std::string_view() : value.text(&room);
  if (isAscii(utf8.data(), utf8.size())) {
    append(utf8.data(), utf8.size());
  } else {
    std::string local;
    fromUtf8(utf8.data(), static_cast<int>(utf8.size()), &local);
    append(local.data(), local.size());
  }
  append("", 1);
}

void RowRecord::add(const PgValue& value, bool isNull) {
  switch (pgFieldType(value.type)) {
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
  const std::size_t count = types.size();
  const std::size_t valuesAt = aligned(sizeof(GDbRecord), alignof(void*));
  const std::size_t typesAt = valuesAt + count * sizeof(void*);
  const std::size_t bodyAt = aligned(typesAt + count * sizeof(GDbFieldType), alignof(double));
  char* block = static_cast<char*>(::operator new(bodyAt + body.size()));
  auto** values = reinterpret_cast<void**>(block + valuesAt);
  auto* recordTypes = reinterpret_cast<GDbFieldType*>(block + typesAt);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = block + bodyAt + offsets[i];
    recordTypes[i] = types[i];
  }
  if (!body.empty()) std::memcpy(block + bodyAt, body.data(), body.size());
  return new (block) GDbRecord(true, static_cast<int>(count), recordTypes, values);
}

}  // namespace loomkit
