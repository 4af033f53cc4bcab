// SPDX-License-Identifier: MIT
#include "object_json.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <typeinfo>
#include <vector>

#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"

namespace loom {

namespace {

template <typename T>
const T* as(const GObject* object) {
  return object != nullptr && typeid(*object) == typeid(T) ? static_cast<const T*>(object)
                                                           : nullptr;
}

// The member that an element of a list stands for, or nothing.
const GVectorObj* memberOf(const GObject* element) {
  const auto* pair = as<GVectorObj>(element);
  return pair != nullptr && pair->size() == 2 && as<GStringObj>(pair->get(0)) != nullptr ? pair
                                                                                         : nullptr;
}

bool holdsMembers(const GListObj& list) {
  for (int i = 0; i < list.size(); ++i) {
    if (memberOf(list.get(i)) == nullptr) return false;
  }
  return !list.empty();
}

void writeTagged(JsonWriter& json, const char* tag, const std::string& text) {
  json.beginObject().key(tag).value(text).endObject();
}

void writeElements(JsonWriter& json, const GSequenceObj& sequence) {
  json.beginArray();
  for (int i = 0; i < sequence.size(); ++i) writeJson(json, sequence.get(i));
  json.endArray();
}

void writeList(JsonWriter& json, const GListObj& list) {
  json.beginObject();
  if (!holdsMembers(list)) {
    json.key("list");
    writeElements(json, list);
  } else {
    for (int i = 0; i < list.size(); ++i) {
      const GVectorObj* member = memberOf(list.get(i));
      json.key(as<GStringObj>(member->get(0))->getValue());
      writeJson(json, member->get(1));
    }
  }
  json.endObject();
}

// Builds objects from what the JSON parser meets. Nothing recurses.
class Builder : public nlohmann::json_sax<nlohmann::json> {
 public:
  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(new GNameObj(value ? "true" : "false")); }
  bool number_integer(number_integer_t value) override {
    return addWhole(value, static_cast<double>(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return addWhole(value, static_cast<double>(value));
  }
  bool number_float(number_float_t value, const string_t& text) override {
    if (std::isinf(value)) return fail("number out of range: " + text);
    return add(new GFloatObj(value));
  }
  bool string(string_t& value) override { return add(new GStringObj(value)); }
  bool binary(binary_t& /*value*/) override { return fail("not JSON"); }
  bool start_object(std::size_t /*elements*/) override { return open(new GListObj); }
  bool key(string_t& value) override {
    auto* member = new GVectorObj;
    const bool added = open(member);
    member->pushBack(new GStringObj(value));
    return added;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t /*elements*/) override { return open(new GVectorObj); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const nlohmann::json::exception& error) override {
    const std::string text = error.what();
    offset = position == 0 ? 0 : position - 1;
    // "[json.exception.parse_error.101] parse error at line 1, column 2: WHY"
    const std::size_t colon = text.find(": ");
    return fail(colon == std::string::npos ? text : text.substr(colon + 2));
  }

  GRef2<GObject> root;
  std::string reason;
  std::size_t offset = 0;

 private:
  // A number that the notation's integers, or else a double, hold exactly.
  template <typename Whole>
  bool addWhole(Whole value, double real) {
    if (real >= std::numeric_limits<int>::min() && real <= std::numeric_limits<int>::max()) {
      return add(new GIntegerObj(static_cast<int>(value)));
    }
    constexpr double exact = 9007199254740992.0;  // 2^53
    if (std::abs(real) > exact || static_cast<Whole>(real) != value) {
      return fail("number out of range: " + std::to_string(value));
    }
    return add(new GFloatObj(real));
  }

  // A member's value ends the member, too.
  bool add(GObject* value) {
    const GRef2<GObject> owner(value);
    if (stack.empty()) {
      root = owner;
      return true;
    }
    stack.back()->pushBack(value);
    if (isMember()) stack.pop_back();
    return true;
  }

  bool open(GSequenceObj* sequence) {
    const GRef2<GObject> owner(sequence);
    if (stack.size() >= static_cast<std::size_t>(gObjectMaxDepth)) return fail("nested too deep");
    if (stack.empty()) {
      root = owner;
    } else {
      stack.back()->pushBack(sequence);
    }
    stack.push_back(sequence);
    return true;
  }

  bool close() {
    stack.pop_back();
    if (!stack.empty() && isMember()) stack.pop_back();
    return true;
  }

  // A member is a vector in a list; an array never lies in one directly.
  [[nodiscard]] bool isMember() const {
    if (stack.size() < 2) return false;
    const GSequenceObj& outer = *stack[stack.size() - 2];
    return typeid(outer) == typeid(GListObj);
  }

  bool fail(const std::string& why) {
    reason = why;
    return false;
  }

  std::vector<GSequenceObj*> stack;
};

}  // namespace

void writeJson(JsonWriter& json, const GObject* object) {
  if (object == nullptr) {
    json.null();
  } else if (const auto* integer = as<GIntegerObj>(object)) {
    json.value(integer->getValue());
  } else if (const auto* real = as<GFloatObj>(object)) {
    json.value(real->getValue());
  } else if (const auto* text = as<GStringObj>(object)) {
    json.value(text->getValue());
  } else if (const auto* symbol = as<GSymbolObj>(object)) {
    writeTagged(json, "symbol", symbol->getValue());
  } else if (const auto* name = as<GNameObj>(object)) {
    if (name->getValue() == "true" || name->getValue() == "false") {
      json.value(name->getValue() == "true");
    } else {
      writeTagged(json, "name", name->getValue());
    }
  } else if (const auto* vector = as<GVectorObj>(object)) {
    writeElements(json, *vector);
  } else if (const auto* list = as<GListObj>(object)) {
    writeList(json, *list);
  }
}

GRef2<GObject> objectOfJson(const std::string& text, GObjectError* error) {
  Builder builder;
  const bool good = nlohmann::json::sax_parse(text, &builder);
  error->reason = good ? "" : builder.reason;
  error->offset = builder.offset;
  return good ? builder.root : GRef2<GObject>();
}

}  // namespace loom
