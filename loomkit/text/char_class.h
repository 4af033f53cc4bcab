// SPDX-License-Identifier: MIT
// Character classes of the notations that the library reads: the ASCII part of
// isspace() and its relatives. A byte of 0x80 or above is in no class, and no
// locale changes that.
#ifndef LOOMKIT_TEXT_CHAR_CLASS_H
#define LOOMKIT_TEXT_CHAR_CLASS_H

namespace loomkit {

/// Space, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool isAsciiSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool isAsciiDigit(char c) noexcept { return c >= '0' && c <= '9'; }

constexpr bool isAsciiUpper(char c) noexcept { return c >= 'A' && c <= 'Z'; }

constexpr bool isAsciiLower(char c) noexcept { return c >= 'a' && c <= 'z'; }

constexpr bool isAsciiAlpha(char c) noexcept { return isAsciiUpper(c) || isAsciiLower(c); }

constexpr bool isAsciiAlnum(char c) noexcept { return isAsciiAlpha(c) || isAsciiDigit(c); }

constexpr bool isAsciiXDigit(char c) noexcept {
  return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// A letter, a digit or '_': what goes on a name.
constexpr bool isAsciiWord(char c) noexcept { return isAsciiAlnum(c) || c == '_'; }

/// An ASCII letter in upper case; any other byte as it is.
constexpr char asciiToUpper(char c) noexcept {
  return isAsciiLower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

/// What trimming and splitting take for white space unless the caller names a set.
inline constexpr char whiteSpaceSet[] = " \t\r\n\v\f";

/// The value of a hexadecimal digit. Requires: isAsciiXDigit(c).
constexpr unsigned hexDigitValue(char c) noexcept {
  if (isAsciiDigit(c)) return static_cast<unsigned>(c - '0');
  return static_cast<unsigned>((isAsciiLower(c) ? c - 'a' : c - 'A') + 10);
}

/// The first character from `s` on that is not white space.
constexpr const char* skipAsciiSpace(const char* s) noexcept {
  while (isAsciiSpace(*s)) ++s;
  return s;
}

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_CHAR_CLASS_H
