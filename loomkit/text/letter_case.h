// SPDX-License-Identifier: MIT
// Texts whose case does not count: section names, column names, URI schemes.
#ifndef LOOMKIT_TEXT_LETTER_CASE_H
#define LOOMKIT_TEXT_LETTER_CASE_H

#include <string>
#include <string_view>

#include "loomkit/text/gi_string.h"

namespace loomkit {

/// The text in lower case, as GiString::toLower() has it.
inline std::string lowerCased(std::string_view text) {
  GiString lower(text.data(), text.data() + text.size());
  lower.toLower(0, static_cast<unsigned>(lower.size()));
  return lower;
}

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_LETTER_CASE_H
