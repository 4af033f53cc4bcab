// SPDX-License-Identifier: MIT
// Writes the notation of strings (literal.h) without copies on the way. Private
// to the library.
#ifndef LOOMKIT_TEXT_C_STRING_H
#define LOOMKIT_TEXT_C_STRING_H

#include <string>
#include <string_view>

namespace loomkit {

/// Appends `text` as a quoted literal.
void appendCString(std::string_view text, std::string* literals);

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_C_STRING_H
