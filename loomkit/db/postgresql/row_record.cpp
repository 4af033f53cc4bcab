// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/row_record.h"

#include <cstdint>
#include <cstring>
#include <new>

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

bool RowRecord::add(const PgValue& value, bool isNull) {
  const GDbFieldType type = pgFieldType(value.type);
  if (type == GDbFieldInt) {
    const std::int64_t wide = isNull ? 0 : value.integer();
    const auto number = static_cast<std::int32_t>(wide);
    begin(type, isNull, alignof(std::int32_t));
    append(&number, sizeof number);
    return number == wide;
  }
  if (type == GDbFieldFloat) {
    const double number = isNull ? 0 : value.number();
    begin(type, isNull, alignof(double));
    append(&number, sizeof number);
    return true;
  }
  if (type == GDbFieldBlob) {
    std::size_t size = 0;
    const char* bytes = isNull ? "" : value.bytes(&room, &size);
    const auto length = static_cast<std::uint32_t>(size);
    begin(type, isNull, alignof(std::uint32_t));
    append(&length, sizeof length);
    append(bytes, size);
    return true;
  }
  begin(type, isNull, 1);
  if (!isNull) {
    const std::string_view utf8 = value.text(&room);
    if (isAscii(utf8.data(), utf8.size())) {
      append(utf8.data(), utf8.size());
    } else {
      std::string local;
      fromUtf8(utf8.data(), static_cast<int>(utf8.size()), &local);
      append(local.data(), local.size());
    }
  }
  append("", 1);
  return true;
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
