// SPDX-License-Identifier: MIT
// A std::string as a message template. Each << fills the next placeholder, %0
// to %9; it does not append:
//
//   std::string text = "%1 of %0";
//   text << 5 << 7;                          // "7 of 5"
//
// The next placeholder is the one with the smallest digit, and the first of
// several with that digit. Without a placeholder the text stays as it is and
// the value is dropped. A value that was filled in is scanned like the rest:
// a "%1" in it is a placeholder.
//
// Numbers are written as printf writes them, cut off at the sizes given below,
// so that at most 13 characters of a long are seen.
#ifndef LOOMKIT_TEXT_TEMPLATE_H
#define LOOMKIT_TEXT_TEMPLATE_H

#include <string>

#include "loomkit/platform/export.h"

/// "true" or "false".
LOOMKIT_API std::string& operator<<(std::string& text, bool value);

/// The single character.
LOOMKIT_API std::string& operator<<(std::string& text, char value);
LOOMKIT_API std::string& operator<<(std::string& text, unsigned char value);

/// Decimal.
LOOMKIT_API std::string& operator<<(std::string& text, short value);
LOOMKIT_API std::string& operator<<(std::string& text, unsigned short value);
LOOMKIT_API std::string& operator<<(std::string& text, int value);
LOOMKIT_API std::string& operator<<(std::string& text, unsigned value);

/// Decimal, at most 13 characters.
LOOMKIT_API std::string& operator<<(std::string& text, long value);
LOOMKIT_API std::string& operator<<(std::string& text, unsigned long value);

/// "%g" with 6 significant digits for float and 15 for the others.
LOOMKIT_API std::string& operator<<(std::string& text, float value);
LOOMKIT_API std::string& operator<<(std::string& text, double value);
LOOMKIT_API std::string& operator<<(std::string& text, long double value);

/// The text. Requires: the pointer is not null.
LOOMKIT_API std::string& operator<<(std::string& text, const char* value);
LOOMKIT_API std::string& operator<<(std::string& text, const unsigned char* value);
LOOMKIT_API std::string& operator<<(std::string& text, const std::string& value);

/// The address as "%p" writes it.
LOOMKIT_API std::string& operator<<(std::string& text, const void* value);

#endif  // LOOMKIT_TEXT_TEMPLATE_H
