// SPDX-License-Identifier: MIT
// Shell completion, made from the command table.
#ifndef LOOM_COMPLETION_H
#define LOOM_COMPLETION_H

#include <string>

namespace loom {

/// The completion script for bash, zsh or fish.
[[nodiscard]] std::string bashCompletion();
[[nodiscard]] std::string zshCompletion();
[[nodiscard]] std::string fishCompletion();

}  // namespace loom

#endif  // LOOM_COMPLETION_H
