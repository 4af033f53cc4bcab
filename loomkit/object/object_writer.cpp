// SPDX-License-Identifier: MIT
#include "loomkit/object/object_writer.h"

#include <typeinfo>

#include "loomkit/object/value_objects.h"
#include "loomkit/text/c_string.h"

namespace loomkit {

std::string ObjectWriter::textOf(const GVectorObj& vector) {
  ObjectWriter writer;
  writer.open(vector);
  writer.writeAll();
  return writer.text;
}

std::string ObjectWriter::textOf(const GListObj& list) {
  ObjectWriter writer;
  writer.open(list);
  writer.writeAll();
  return writer.text;
}

void ObjectWriter::open(const GVectorObj& vector) {
  text += '[';
  stack.push_back({&vector.items, nullptr, 0, {}});
  first = true;
}

void ObjectWriter::open(const GListObj& list) {
  text += "@(";
  stack.push_back({nullptr, &list.items, 0, list.items.begin()});
  first = true;
}

bool ObjectWriter::takeNext(Open& sequence, const GObject** object) {
  if (sequence.vector != nullptr) {
    if (sequence.index == sequence.vector->size()) return false;
    *object = (*sequence.vector)[sequence.index++].get();
    return true;
  }
  if (sequence.position == sequence.list->end()) return false;
  *object = (sequence.position++)->get();
  return true;
}

void ObjectWriter::writeAll() {
  while (!stack.empty()) {
    const GObject* object = nullptr;
    if (takeNext(stack.back(), &object)) {
      if (!first) text += ", ";
      first = false;
      write(object);
    } else {
      text += stack.back().vector != nullptr ? ']' : ')';
      stack.pop_back();
      first = false;
    }
  }
}

// Writes an element. The types are compared exactly, as a class that a host derives
// from one of ours may write itself in another way.
void ObjectWriter::write(const GObject* object) {
  if (object == nullptr) {
    text += "NULL";
    return;
  }
  const std::type_info& type = typeid(*object);
  if (type == typeid(GVectorObj)) {
    open(static_cast<const GVectorObj&>(*object));
  } else if (type == typeid(GListObj)) {
    open(static_cast<const GListObj&>(*object));
  } else if (type == typeid(GStringObj)) {
    appendCString(static_cast<const GStringObj&>(*object).getValue(), &text);
  } else {
    text += object->toString();
  }
}

}  // namespace loomkit
