// SPDX-License-Identifier: MIT
#include <cassert>
#include <iterator>

#include "loomkit/object/object_writer.h"
#include "loomkit/object/sequence_end.h"
#include "loomkit/object/sequence_objects.h"

GListObj::GListObj() : cursor(items.begin()) {}
GListObj::GListObj(const GListObj& other)
    : GSequenceObj(other), items(other.items), cursor(items.begin()) {}
GListObj::~GListObj() { loomkit::SequenceEnd().letGo(items); }

GObject* GListObj::clone() const { return new GListObj(*this); }
std::string GListObj::toString() const { return loomkit::ObjectWriter::textOf(*this); }
bool GListObj::empty() const { return items.empty(); }
int GListObj::size() const { return static_cast<int>(items.size()); }

// Moves the cursor to the element at `index`, starting from the beginning, the
// cursor or the end, whichever is nearest, and gives the cursor.
GListObj::Items::iterator GListObj::getIter(int index) const {
  assert(index >= 0 && index <= size());
  if (index < cursorIndex / 2) {
    cursor = items.begin();
    cursorIndex = 0;
  } else if (index > (size() + cursorIndex) / 2 && index > cursorIndex + 1) {
    cursor = items.end();
    cursorIndex = size();
  }
  for (; cursorIndex < index; ++cursorIndex) ++cursor;
  for (; cursorIndex > index; --cursorIndex) --cursor;
  return cursor;
}

GObject* GListObj::get(int index) const {
  assert(index < size());
  return getIter(index)->get();
}

void GListObj::set(int index, GObject* item) {
  assert(index < size());
  *getIter(index) = item;
}

void GListObj::insert(int index, GObject* item) { cursor = items.emplace(getIter(index), item); }

void GListObj::pushFront(GObject* item) {
  items.emplace_front(item);
  ++cursorIndex;
}

void GListObj::popFront() {
  assert(!items.empty());
  if (cursorIndex > 0) {
    --cursorIndex;
  } else {
    ++cursor;
  }
  items.pop_front();
}

void GListObj::pushBack(GObject* item) {
  items.emplace_back(item);
  if (cursor == items.end()) ++cursorIndex;
}

void GListObj::popBack() {
  assert(!items.empty());
  if (cursor == items.end()) {
    --cursorIndex;
  } else if (cursor == std::prev(items.end())) {
    cursor = items.end();
  }
  items.pop_back();
}
