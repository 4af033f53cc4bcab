// SPDX-License-Identifier: MIT
#include "loomkit/object/object.h"

#include <cstdlib>

GObject::~GObject() = default;
GNumberObj::~GNumberObj() = default;
GSequenceObj::~GSequenceObj() = default;

int GObject::addRef() { return ++refCount; }

int GObject::release() {
  const int left = --refCount;
  if (left < 0) std::abort();
  if (left == 0) delete this;
  return left;
}

std::string GObject::formatCb(GObject* object) {
  return object == nullptr ? "NULL" : object->toString();
}
