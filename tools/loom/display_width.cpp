// SPDX-License-Identifier: MIT
#include "display_width.h"

#include <algorithm>
#include <cstdint>

namespace loom {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Blocks of characters that stand over or under the one before them.
constexpr Range combining[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},
                               {0x610, 0x61a},   {0x64b, 0x65f},   {0x1ab0, 0x1aff},
                               {0x1dc0, 0x1dff}, {0x200b, 0x200f}, {0x20d0, 0x20ff},
                               {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xe0100, 0xe01ef}};

// Blocks that are Wide or Fullwidth (https://www.unicode.org/reports/tr11/).
constexpr Range wide[] = {
    {0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},  {0xa960, 0xa97c}, {0xac00, 0xd7a3},
    {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff01, 0xff60},  {0xffe0, 0xffe6}, {0x1f300, 0x1f64f},
    {0x1f680, 0x1f6ff}, {0x1f900, 0x1faff}, {0x20000, 0x3fffd}};

template <std::size_t count>
bool contains(const Range (&ranges)[count], char32_t character) {
  return std::any_of(std::begin(ranges), std::end(ranges), [&](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

std::size_t widthOf(char32_t character) {
  if (character < 0x300) return 1;
  if (contains(combining, character)) return 0;
  return contains(wide, character) ? 2 : 1;
}

// Takes the next character off the text; a byte that is no UTF-8 is one by itself.
char32_t takeCharacter(std::string_view* text) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>((*text)[i]); };
  const unsigned lead = byteAt(0);
  std::size_t size = 1;
  if (lead >= 0xc2 && lead < 0xe0) size = 2;
  if (lead >= 0xe0 && lead < 0xf0) size = 3;
  if (lead >= 0xf0 && lead < 0xf5) size = 4;
  char32_t character = size == 1 ? lead : lead & (0xffU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    if (i == text->size() || (byteAt(i) & 0xc0U) != 0x80) {
      text->remove_prefix(1);
      return lead;
    }
    character = character << 6U | (byteAt(i) & 0x3fU);
  }
  text->remove_prefix(size);
  return character;
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) width += widthOf(takeCharacter(&text));
  return width;
}

std::string cutToWidth(std::string_view text, std::size_t width) {
  if (displayWidth(text) <= width) return std::string(text);
  std::string_view rest = text;
  std::size_t used = 0;
  std::size_t kept = 0;
  while (!rest.empty()) {
    used += widthOf(takeCharacter(&rest));
    if (used >= width) break;
    kept = text.size() - rest.size();
  }
  return std::string(text.substr(0, kept)) + (width > 0 ? "…" : "");
}

}  // namespace loom
