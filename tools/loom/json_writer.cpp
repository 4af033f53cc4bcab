// SPDX-License-Identifier: MIT
#include "json_writer.h"

#include <charconv>
#include <cmath>

#include "console.h"
#include "text_encoding.h"

namespace loom {

namespace {

void appendEscaped(std::string* out, char c) {
  constexpr std::string_view letters = "btnvfr";  // 8 to 13; JSON has no \v
  constexpr std::string_view digits = "0123456789abcdef";
  if (c == '"' || c == '\\') {
    out->append(1, '\\').append(1, c);
  } else if (c >= 8 && c <= 13 && c != 11) {
    out->append(1, '\\').append(1, letters[static_cast<std::size_t>(c - 8)]);
  } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
    out->append("\\u00").append(1, digits[static_cast<unsigned char>(c) >> 4U]);
    out->append(1, digits[static_cast<unsigned char>(c) & 15U]);
  } else {
    out->append(1, c);
  }
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    if (length == 0) {
      result += "\xEF\xBF\xBD";
    } else if (length == 1) {
      appendEscaped(&result, text[0]);
    } else {
      result.append(text.substr(0, length));
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result += '"';
}

JsonWriter::JsonWriter() : sink(print) {}

JsonWriter::~JsonWriter() {
  if (broken) return;
  try {
    if (afterKey) null();
    while (!used.empty()) end(closing.back());
  } catch (...) {  // what cannot be written cannot be completed either
  }
}

void JsonWriter::put(std::string_view text) {
  broken = true;  // in case it throws
  sink(text);
  broken = false;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  separate();
  put(jsonString(name));
  put(":");
  afterKey = true;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) { return raw(jsonString(text)); }

JsonWriter& JsonWriter::value(double number) {
  if (std::isnan(number)) return value("nan");
  if (std::isinf(number)) return value(number < 0 ? "-inf" : "inf");
  char buffer[32];
  const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, number);
  return raw(std::string_view(buffer, static_cast<std::size_t>(end.ptr - buffer)));
}

JsonWriter& JsonWriter::begin(char bracket) {
  separate();
  put(std::string_view(&bracket, 1));
  if (used.empty()) outermostIsArray = bracket == '[';
  used.push_back(false);
  closing.push_back(bracket == '[' ? ']' : '}');
  return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
  const bool outermost = used.size() == 1;
  if (outermost && outermostIsArray && used.back()) put("\n");
  used.pop_back();
  closing.pop_back();
  put(std::string_view(&bracket, 1));
  if (outermost) put("\n");
  return *this;
}

JsonWriter& JsonWriter::raw(std::string_view text) {
  separate();
  put(text);
  if (used.empty()) put("\n");
  return *this;
}

void JsonWriter::separate() {
  if (afterKey) {
    afterKey = false;
    return;
  }
  if (used.empty()) return;
  if (used.back()) put(",");
  used.back() = true;
  // Programs that read line by line get an element at a time.
  if (used.size() == 1 && outermostIsArray) put("\n");
}

}  // namespace loom
