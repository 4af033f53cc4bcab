// SPDX-License-Identifier: MIT
#include "loomkit/db/record.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "loomkit/db/record_access.h"
#include "loomkit/db/record_owner.h"

namespace {

using loomkit::Block;
using loomkit::RecordAccess;

constexpr int firstCapacity = 4;

template <typename Number>
Block makeNumber(Number value) {
  Block block(::operator new(sizeof value, std::nothrow));
  if (block) std::memcpy(block.get(), &value, sizeof value);
  return block;
}

Block makeText(const char* text, std::size_t length) {
  Block block(::operator new(length + 1));
  if (length != 0) std::memcpy(block.get(), text, length);
  static_cast<char*>(block.get())[length] = '\0';
  return block;
}

// The block of a blob takes a multiple of four bytes, its length included.
constexpr std::size_t padded(std::size_t size) { return (size + 3) & ~std::size_t{3}; }

// A new array with room for `capacity` entries, into which the `count` entries of
// `array` have been copied.
template <typename Entry>
Entry* grownArray(const Entry* array, int count, int capacity) {
  auto* grown =
      static_cast<Entry*>(::operator new(sizeof(Entry) * static_cast<std::size_t>(capacity)));
  if (count != 0) std::memcpy(grown, array, sizeof(Entry) * static_cast<std::size_t>(count));
  return grown;
}

// How many bytes the value of a field has; 0 for a type that is not known.
std::size_t valueSize(const GDbRecord& record, int field, const void* value) {
  switch (record.getFieldType(field)) {
    case GDbFieldInt:
      return RecordAccess::isWide(record, field) ? sizeof(loomkit::WideInt) : sizeof(int);
    case GDbFieldUInt:
      return sizeof(unsigned);
    case GDbFieldFloat:
      return sizeof(double);
    case GDbFieldString:
      return std::strlen(static_cast<const char*>(value)) + 1;
    case GDbFieldBlob: {
      const void* bytes = nullptr;
      unsigned size = 0;
      record.getBlobField(field, &bytes, &size);
      return sizeof(std::uint32_t) + size;
    }
    default:
      return 0;
  }
}

Block copyOfValue(const GDbRecord& record, int field, const void* value) {
  const std::size_t size = value != nullptr ? valueSize(record, field, value) : 0;
  Block block(size != 0 ? ::operator new(padded(size)) : nullptr);
  if (block) std::memcpy(block.get(), value, size);
  return block;
}

}  // namespace

GDbRecord::GDbRecord() : GDbRecord(false, 0, nullptr, nullptr) {}

GDbRecord::GDbRecord(bool isSingleBlock, int fieldCount, GDbFieldType* fieldTypes,
                     void** fieldValues)
    : singleBlock(isSingleBlock), numFields(fieldCount), types(fieldTypes), values(fieldValues) {}

void GDbRecord::deleteRecord() {
  if (singleBlock) {
    ::operator delete(this);
    return;
  }
  for (int i = 0; i < numFields; ++i) {
    const int type = getFieldType(i);
    if (type == GDbFieldNone) std::abort();  // nobody can have stored such a value
    if (type > GDbFieldNone && type <= GDbFieldBlob) ::operator delete(values[i]);
  }
  ::operator delete(types);
  ::operator delete(values);
  delete this;
}

void GDbRecord::getBlobField(int field, const void** data, unsigned* size) {
  static_cast<const GDbRecord*>(this)->getBlobField(field, data, size);
}

void GDbRecord::getBlobField(int field, const void** data, unsigned* size) const {
  const void* block = values[field];
  *data = nullptr;
  *size = 0;
  if (block == nullptr) return;
  std::uint32_t length = 0;
  std::memcpy(&length, block, sizeof length);
  *size = length;
  *data = static_cast<const char*>(block) + sizeof length;
}

void GDbRecord::addIntField(int value) {
  Block block = makeNumber(value);
  addField(GDbFieldInt, block.get());
  static_cast<void>(block.release());
}

void GDbRecord::addUIntField(unsigned value) {
  Block block = makeNumber(value);
  addField(GDbFieldUInt, block.get());
  static_cast<void>(block.release());
}

void GDbRecord::addFloatField(double value) {
  Block block = makeNumber(value);
  addField(GDbFieldFloat, block.get());
  static_cast<void>(block.release());
}

void GDbRecord::addStringField(const char* value) { addText(value, std::strlen(value)); }

void GDbRecord::addStringField(const std::string& value) { addText(value.data(), value.size()); }

void GDbRecord::addText(const char* text, std::size_t length) {
  Block block = makeText(text, length);
  addField(GDbFieldString, block.get());
  static_cast<void>(block.release());
}

void GDbRecord::addBlobField(const void* data, unsigned size) {
  const std::uint32_t length = size;
  Block block(::operator new(padded(sizeof length + size)));
  std::memcpy(block.get(), &length, sizeof length);
  if (size != 0) std::memcpy(static_cast<char*>(block.get()) + sizeof length, data, size);
  addField(GDbFieldBlob, block.get());
  static_cast<void>(block.release());
}

// The capacity is not stored, because it follows from the count: it is 4 at first
// and doubles whenever the arrays are full. So the arrays are full exactly when
// the count is a power of two of at least 4.
void GDbRecord::addField(GDbFieldType type, void* value) {
  const bool full = numFields >= firstCapacity && (numFields & (numFields - 1)) == 0;
  if (numFields == 0 || full) {
    const int capacity = full ? numFields * 2 : firstCapacity;
    Block grownTypes(grownArray(types, numFields, capacity));
    void** grownValues = grownArray(values, numFields, capacity);
    ::operator delete(types);
    ::operator delete(values);
    types = static_cast<GDbFieldType*>(grownTypes.release());
    values = grownValues;
  }
  types[numFields] = type;
  values[numFields] = value;
  ++numFields;
}

void loomkit::RecordAccess::addInt64(GDbRecord* record, std::int64_t value) {
  if (value == static_cast<std::int32_t>(value)) {
    record->addIntField(static_cast<std::int32_t>(value));
    return;
  }
  Block block = makeNumber(WideInt(value));
  record->addField(wideIntType, block.get());
  static_cast<void>(block.release());
}

std::int64_t loomkit::RecordAccess::getInt64(const GDbRecord& record, int field) {
  if (!isWide(record, field)) return record.getIntField(field);
  return static_cast<const WideInt*>(record.values[field])->value();
}

GDbRecord* loomkit::RecordAccess::copy(const GDbRecord& record) {
  RecordOwner made(new GDbRecord);
  for (int field = 0; field < record.numFields; ++field) {
    Block value = copyOfValue(record, field, record.values[field]);
    made->addField(record.types[field], value.get());
    static_cast<void>(value.release());
  }
  return made.release();
}
