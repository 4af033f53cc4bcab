// SPDX-License-Identifier: MIT
#include "object_json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
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
  return true;
}

void writeTagged(JsonWriter& json, const char* tag, const std::string& text) {
  json.beginObject().key(tag).value(text).endObject();
}

// Whole numbers beyond the notation's integers stay whole numbers.
void writeFloat(JsonWriter& json, double value) {
  const bool beyond = std::abs(value) > std::numeric_limits<int>::max();
  if (beyond && std::abs(value) <= largestInJson && std::trunc(value) == value) {
    json.value(static_cast<std::int64_t>(value));
  } else {
    json.value(value);
  }
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

// How far the JSON parser has read: it tells where keys and values stand only after a
// syntax error.
struct Reading {
  const char* position;
};

// Gives the parser the text byte by byte, and keeps its place.
class ReadingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  ReadingIterator(const char* start, Reading* progress) : at(start), reading(progress) {}
  reference operator*() const { return *at; }
  ReadingIterator& operator++() {
    reading->position = ++at;
    return *this;
  }
  ReadingIterator operator++(int) {
    const ReadingIterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator!=(const ReadingIterator& a, const ReadingIterator& b) {
    return a.at != b.at;
  }

 private:
  const char* at;
  Reading* reading;
};

// The quote that begins the string whose last one stands before `end`.
const char* stringStart(const char* begin, const char* end) {
  const char* quote = end - 2;
  for (; quote > begin; --quote) {
    const char* backslash = quote;
    while (backslash > begin && backslash[-1] == '\\') --backslash;
    if (*quote == '"' && (quote - backslash) % 2 == 0) break;
  }
  return quote;
}

// The beginning of the number that was read last before `end`, which may be one byte
// behind it.
const char* numberStart(const char* begin, const char* end) {
  const std::string_view read(begin, static_cast<std::size_t>(end - begin));
  const std::size_t last = std::min(read.find_last_of("0123456789"), read.size());
  return begin + read.find_last_not_of("0123456789+-.eE", last) + 1;
}

// Builds objects from what the JSON parser meets. Nothing recurses.
class Builder : public nlohmann::json_sax<nlohmann::json> {
 public:
  Builder(const std::string& json, double largestWhole)
      : text(json), largest(largestWhole), reading{json.data()} {}

  // False: `reason` and `offset` say why and where.
  bool parse() {
    const char* const end = text.data() + text.size();
    return nlohmann::json::sax_parse(ReadingIterator(text.data(), &reading),
                                     ReadingIterator(end, &reading), this);
  }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(new GNameObj(value ? "true" : "false")); }
  bool number_integer(number_integer_t value) override {
    return addWhole(value, static_cast<double>(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return addWhole(value, static_cast<double>(value));
  }
  bool number_float(number_float_t value, const string_t& digits) override {
    // A whole number beyond 64 bits comes here, too, and not unchanged.
    const bool whole = digits.find_first_of(".eE") == std::string::npos;
    if (std::isinf(value) || whole) return failNumber(digits);
    return add(new GFloatObj(value));
  }
  bool string(string_t& value) override { return add(new GStringObj(value)); }
  bool binary(binary_t& /*value*/) override { return fail("not JSON"); }
  bool start_object(std::size_t /*elements*/) override {
    keys.emplace_back();
    return open(new GListObj);
  }
  bool key(string_t& value) override {
    if (!keys.back().insert(value).second) {
      offset = static_cast<std::size_t>(stringStart(text.data(), reading.position) - text.data());
      return fail("the key " + jsonString(value) + " is there twice");
    }
    auto* member = new GVectorObj;
    const bool added = open(member);
    member->pushBack(new GStringObj(value));
    return added;
  }
  bool end_object() override {
    keys.pop_back();
    return close();
  }
  bool start_array(std::size_t /*elements*/) override { return open(new GVectorObj); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t position, const std::string& token,
                   const nlohmann::json::exception& error) override {
    constexpr int numberTooLarge = 406;
    offset = position == 0 ? 0 : position - 1;
    if (error.id == numberTooLarge) {
      offset = position - std::min(position, token.size());
      return fail(outOfRange + token);
    }
    if (offset >= text.size()) return fail("unexpected end");
    const auto byte = static_cast<unsigned char>(text[offset]);
    return fail(byte < 0x80 ? std::string("unexpected '") + text[offset] + "'"
                            : "unexpected byte " + std::to_string(byte));
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
    if (std::abs(real) > largest || static_cast<Whole>(real) != value) {
      return failNumber(std::to_string(value));
    }
    return add(new GFloatObj(real));
  }

  bool failNumber(const std::string& digits) {
    offset = static_cast<std::size_t>(numberStart(text.data(), reading.position) - text.data());
    return fail(outOfRange + digits);
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

  static constexpr const char* outOfRange = "number out of range: ";

  const std::string& text;
  const double largest;
  Reading reading;
  std::vector<std::set<std::string>> keys;  // of the objects that are open
  std::vector<GSequenceObj*> stack;
};

}  // namespace

void writeJson(JsonWriter& json, const GObject* object) {
  if (object == nullptr) {
    json.null();
  } else if (const auto* integer = as<GIntegerObj>(object)) {
    json.value(integer->getValue());
  } else if (const auto* real = as<GFloatObj>(object)) {
    writeFloat(json, real->getValue());
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

GRef2<GObject> objectOfJson(const std::string& text, double largest, GObjectError* error) {
  Builder builder(text, largest);
  const bool good = builder.parse();
  error->reason = good ? "" : builder.reason;
  error->offset = builder.offset;
  return good ? builder.root : GRef2<GObject>();
}

}  // namespace loom
