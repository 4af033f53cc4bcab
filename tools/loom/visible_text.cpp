// SPDX-License-Identifier: MIT
#include "visible_text.h"

#include <algorithm>

namespace loom {

namespace {

unsigned char byteAt(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7f; }
bool isContinuation(unsigned char byte) { return byte >= 0x80 && byte < 0xc0; }

// How many bytes the UTF-8 character at `i` takes; 1 for what is none.
std::size_t lengthOfCharacter(std::string_view text, std::size_t i) {
  const unsigned char first = byteAt(text, i);
  const std::size_t length = first < 0xc2 || first > 0xf4 ? 1
                             : first < 0xe0               ? 2
                             : first < 0xf0               ? 3
                                                          : 4;
  for (std::size_t k = 1; k < length; ++k) {
    if (!isContinuation(byteAt(text, i + k))) return 1;
  }
  return length;
}

// The second half of Latin-1's control characters: one byte, or two in UTF-8.
bool isHighControl(std::string_view text, std::size_t i, std::size_t length) {
  const unsigned char first = byteAt(text, i);
  if (length == 1) return first >= 0x80 && first < 0xa0;
  return length == 2 && first == 0xc2 && byteAt(text, i + 1) < 0xa0;
}

void appendEscape(std::string& result, unsigned char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  constexpr std::string_view named = "\n\r\t";
  constexpr std::string_view names = "nrt";
  const std::size_t known = named.find(static_cast<char>(byte));
  result += '\\';
  if (known != std::string_view::npos) {
    result += names[known];
  } else {
    result += 'x';
    result += digits[byte >> 4];
    result += digits[byte & 15];
  }
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = lengthOfCharacter(text, i);
    const bool control = isControl(byteAt(text, i)) && kept.find(text[i]) == std::string_view::npos;
    if (control || isHighControl(text, i, length)) {
      for (std::size_t k = 0; k < length; ++k) appendEscape(result, byteAt(text, i + k));
    } else {
      result += text.substr(i, length);
    }
    i += length;
  }
  return result;
}

}  // namespace

std::string visible(std::string_view text) { return escaped(text, ""); }

std::string visibleLines(std::string_view text) { return escaped(text, "\n\t"); }

std::string excerpt(std::string_view text, std::size_t most) {
  if (text.size() <= most) return std::string(text);
  // No character has more than three bytes behind its first one.
  std::size_t end = most;
  while (end > 0 && most - end < 3 && isContinuation(byteAt(text, end))) --end;
  return std::string(text.substr(0, end)) + " ...";
}

}  // namespace loom
