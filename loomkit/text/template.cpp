// SPDX-License-Identifier: MIT
#include "loomkit/text/template.h"

#include <cstring>
#include <string_view>

#include "loomkit/text/char_class.h"
#include "loomkit/text/string_util.h"

namespace {

// The position of the placeholder that is filled next, or npos if there is none.
std::size_t nextPlaceholder(const std::string& text) {
  std::size_t best = std::string::npos;
  char smallest = '9' + 1;
  for (std::size_t i = text.find('%'); i != std::string::npos; i = text.find('%', i)) {
    ++i;
    if (i == text.size() || !loomkit::isAsciiDigit(text[i])) continue;
    if (text[i] < smallest) {
      smallest = text[i];
      best = i - 1;
      if (smallest == '0') break;
    }
    ++i;
  }
  return best;
}

std::string& fill(std::string& text, std::string_view value) {
  const std::size_t place = nextPlaceholder(text);
  if (place != std::string::npos) text.replace(place, 2, value);
  return text;
}

// The sizes of the buffers in which values are printed. A longer text is cut off,
// which can happen to a 64-bit long; the columns of callers rely on that.
constexpr unsigned shortBuffer = 8;
constexpr unsigned intBuffer = 14;
constexpr unsigned wideBuffer = 128;

template <unsigned size, typename... Values>
std::string& fillPrinted(std::string& text, const char* format, Values... values) {
  char buffer[size];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  gsnprintf(buffer, size, format, values...);
#pragma GCC diagnostic pop
  return fill(text, buffer);
}

}  // namespace

std::string& operator<<(std::string& text, bool value) {
  return fill(text, value ? "true" : "false");
}
std::string& operator<<(std::string& text, char value) {
  return fill(text, std::string_view(&value, 1));
}
std::string& operator<<(std::string& text, unsigned char value) {
  return text << static_cast<char>(value);
}
std::string& operator<<(std::string& text, short value) {
  return fillPrinted<shortBuffer>(text, "%hd", value);
}
std::string& operator<<(std::string& text, unsigned short value) {
  return fillPrinted<shortBuffer>(text, "%hu", value);
}
std::string& operator<<(std::string& text, int value) {
  return fillPrinted<intBuffer>(text, "%d", value);
}
std::string& operator<<(std::string& text, unsigned value) {
  return fillPrinted<intBuffer>(text, "%u", value);
}
std::string& operator<<(std::string& text, long value) {
  return fillPrinted<intBuffer>(text, "%ld", value);
}
std::string& operator<<(std::string& text, unsigned long value) {
  return fillPrinted<intBuffer>(text, "%lu", value);
}
std::string& operator<<(std::string& text, float value) {
  return fillPrinted<wideBuffer>(text, "%.*g", 6, static_cast<double>(value));
}
std::string& operator<<(std::string& text, double value) {
  return fillPrinted<wideBuffer>(text, "%.*g", 15, value);
}
std::string& operator<<(std::string& text, long double value) {
  return fillPrinted<wideBuffer>(text, "%.*Lg", 15, value);
}
std::string& operator<<(std::string& text, const char* value) { return fill(text, value); }
std::string& operator<<(std::string& text, const unsigned char* value) {
  return fill(text, reinterpret_cast<const char*>(value));
}
std::string& operator<<(std::string& text, const std::string& value) { return fill(text, value); }
std::string& operator<<(std::string& text, const void* value) {
  return fillPrinted<wideBuffer>(text, "%p", value);
}
