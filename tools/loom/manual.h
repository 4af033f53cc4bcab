// SPDX-License-Identifier: MIT
// The manual page, made from the command table.
#ifndef LOOM_MANUAL_H
#define LOOM_MANUAL_H

#include <string>
#include <vector>

#include "command_line.h"

namespace loom {

/// loom(1) with these commands, in the man macros of roff.
[[nodiscard]] std::string manualPage(const std::vector<CommandRef>& commands);

}  // namespace loom

#endif  // LOOM_MANUAL_H
