// SPDX-License-Identifier: MIT
// What an expression still needs before it can be evaluated.
#ifndef LOOM_OPEN_EXPRESSION_H
#define LOOM_OPEN_EXPRESSION_H

#include <string_view>

namespace loom {

enum class Missing { nothing, quote, brace };

/// The character that must come before the expression can be whole: the closing quote
/// of a string, or the closing brace of "${name:-default}".
[[nodiscard]] Missing missingFrom(std::string_view expression);

}  // namespace loom

#endif  // LOOM_OPEN_EXPRESSION_H
