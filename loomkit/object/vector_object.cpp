// SPDX-License-Identifier: MIT
#include <cassert>

#include "loomkit/object/object_writer.h"
#include "loomkit/object/sequence_end.h"
#include "loomkit/object/sequence_objects.h"

GVectorObj::~GVectorObj() { loomkit::SequenceEnd().letGo(items); }

GObject* GVectorObj::clone() const { return new GVectorObj(*this); }
std::string GVectorObj::toString() const { return loomkit::ObjectWriter::textOf(*this); }
bool GVectorObj::empty() const { return items.empty(); }
int GVectorObj::size() const { return static_cast<int>(items.size()); }

GObject* GVectorObj::get(int index) const {
  assert(index >= 0 && index < size());
  return items[static_cast<std::size_t>(index)].get();
}

void GVectorObj::set(int index, GObject* item) {
  assert(index >= 0 && index < size());
  items[static_cast<std::size_t>(index)] = item;
}

void GVectorObj::pushBack(GObject* item) { items.emplace_back(item); }

void GVectorObj::popBack() {
  assert(!items.empty());
  items.pop_back();
}
