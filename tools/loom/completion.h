// SPDX-License-Identifier: MIT
// Shell completion, made from the command table.
#ifndef LOOM_COMPLETION_H
#define LOOM_COMPLETION_H

#include <string_view>

namespace loom {

/// The completion script for bash, zsh or fish.
[[nodiscard]] std::string_view bashCompletion();
[[nodiscard]] std::string_view zshCompletion();
[[nodiscard]] std::string_view fishCompletion();

}  // namespace loom

#endif  // LOOM_COMPLETION_H
