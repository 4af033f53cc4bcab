// SPDX-License-Identifier: MIT
#include "value_text.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "command.h"

namespace loom {

namespace {

// Goes through a value and the elements in it without recursion, since a short
// expression can nest vectors as deep as it likes.
template <typename Visitor>
void visit(const GRpnValue& value, Visitor visitor) {
  struct Place {
    const GRpnVector* vector;
    std::size_t next;
  };
  std::vector<Place> open;
  unsigned long count = 0;
  for (const GRpnValue* current = &value;;) {
    if (++count > mostPrintedValues) {
      throw Failure(ExitCode::evaluation, "a result has more than " +
                                              std::to_string(mostPrintedValues) +
                                              " parts; it is not printed");
    }
    if (current->getType() == GRpnValue::Vector) {
      visitor.open();
      open.push_back({current->getVector(), 0});
    } else {
      visitor.single(*current);
    }
    while (!open.empty() && open.back().next == open.back().vector->size()) {
      visitor.close();
      open.pop_back();
    }
    if (open.empty()) return;
    current = &(*open.back().vector)[open.back().next++];
  }
}

struct TextVisitor {
  const std::function<void(std::string_view)>& sink;
  int digits;
  bool first = true;

  void separate() {
    if (!first) sink(" ");
    first = false;
  }
  void open() {
    separate();
    sink("[");
    first = true;
  }
  void close() {
    sink("]");
    first = false;
  }
  void single(const GRpnValue& value) {
    separate();
    if (value.getType() == GRpnValue::Number) {
      sink(numberText(value.getNumber(), digits));
    } else if (value.getType() == GRpnValue::String) {
      const GRpnString& text = *value.getString();
      sink(text.isSymbol() ? "@" + text : stringLiteral(text));
    } else {
      sink("NULL");
    }
  }
};

struct JsonVisitor {
  JsonWriter* json;

  void open() const { json->beginArray(); }
  void close() const { json->endArray(); }
  void single(const GRpnValue& value) const {
    if (value.getType() == GRpnValue::Number) {
      json->value(value.getNumber());
    } else if (value.getType() == GRpnValue::String) {
      json->value(std::string_view(*value.getString()));
    } else {
      json->null();
    }
  }
};

}  // namespace

std::string numberText(double number, int digits) {
  if (std::isnan(number)) return "nan";
  char buffer[64];
  const int length = std::snprintf(buffer, sizeof buffer, "%.*g", digits, number);
  return {buffer, static_cast<std::size_t>(length)};
}

std::string stringLiteral(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    const unsigned byte = static_cast<unsigned char>(c);
    if (byte >= 32 && byte != 127 && c != '"' && c != '\\') {
      result += c;
      continue;
    }
    result += '\\';
    for (const unsigned shift : {6U, 3U, 0U})
      result += static_cast<char>('0' + (byte >> shift & 7U));
  }
  return result += '"';
}

void writeValue(const GRpnValue& value, int digits,
                const std::function<void(std::string_view)>& sink) {
  visit<TextVisitor>(value, {sink, digits});
}

std::string valueText(const GRpnValue& value, int digits) {
  std::string text;
  writeValue(value, digits, [&](std::string_view piece) { text += piece; });
  return text;
}

void writeJson(const GRpnValue& value, JsonWriter* json) { visit<JsonVisitor>(value, {json}); }

}  // namespace loom
