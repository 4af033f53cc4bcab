// SPDX-License-Identifier: MIT
// The notation of quoted strings (literal.h), read and written in place: nothing
// is copied on the way. Private to the library.
#ifndef LOOMKIT_TEXT_C_STRING_H
#define LOOMKIT_TEXT_C_STRING_H

#include <string>
#include <string_view>

namespace loomkit {

/// Appends to `*text` the string whose opening quote is in front of `s`. Gives the
/// position behind the closing quote; null when the NUL comes first, after the
/// text up to there was appended.
const char* readQuoted(const char* s, std::string* text);

/// The same where the text ends at `limit` and NUL is a character like others.
const char* readQuoted(const char* s, const char* limit, std::string* text);

/// Appends `text` as a quoted literal.
void appendCString(std::string_view text, std::string* literals);

/// The `n` characters of `text` from `pos` on, as far as there are any.
inline std::string_view partOf(std::string_view text, unsigned pos, unsigned n) {
  return text.substr(pos < text.size() ? pos : text.size(), n);
}

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_C_STRING_H
