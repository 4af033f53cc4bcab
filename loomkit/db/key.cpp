// SPDX-License-Identifier: MIT
#include "loomkit/db/key.h"

#include <cstring>

GDbKey::GDbKey() : type(GDbFieldNone), value{} {}

GDbKey::GDbKey(int keyField, int keyValue) : field(keyField), type(GDbFieldInt), value{} {
  value.intValue = keyValue;
}

GDbKey::GDbKey(int keyField, unsigned keyValue) : field(keyField), type(GDbFieldUInt), value{} {
  value.uintValue = keyValue;
}

GDbKey::GDbKey(int keyField, double keyValue) : field(keyField), type(GDbFieldFloat), value{} {
  value.floatValue = keyValue;
}

GDbKey::GDbKey(int keyField, const char* keyValue)
    : field(keyField), type(GDbFieldString), value{} {
  value.stringValue = keyValue;
}

GDbKey::GDbKey(const GDbKey& other)
    : field(other.field), type(other.type), ownsString(other.ownsString), value(other.value) {
  if (type == GDbFieldString && ownsString) copyString();
}

GDbKey& GDbKey::operator=(const GDbKey& other) {
  if (this == &other) return *this;
  if (ownsString && type == GDbFieldString && other.type == GDbFieldString &&
      other.value.stringValue == value.stringValue) {
    field = other.field;  // `other` borrows our own text, which stays ours
    return *this;
  }
  release();
  field = other.field;
  type = other.type;
  ownsString = other.ownsString;
  value = other.value;
  if (type == GDbFieldString && ownsString) copyString();
  return *this;
}

GDbKey::~GDbKey() { release(); }

void GDbKey::dupString() {
  if (type != GDbFieldString || ownsString || value.stringValue == nullptr) return;
  copyString();
}

// Replaces the text by a copy of it. The allocation may throw while the text still
// belongs to another; ownsString is false until then, so that the destructor does
// not free that text.
void GDbKey::copyString() {
  ownsString = false;
  const std::size_t size = std::strlen(value.stringValue) + 1;
  char* copy = new char[size];
  std::memcpy(copy, value.stringValue, size);
  value.stringValue = copy;
  ownsString = true;
}

void GDbKey::release() {
  if (type == GDbFieldString && ownsString) delete[] value.stringValue;
  ownsString = false;
}
