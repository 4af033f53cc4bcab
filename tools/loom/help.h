// SPDX-License-Identifier: MIT
// The help texts, made from the command table.
#ifndef LOOM_HELP_H
#define LOOM_HELP_H

#include <string>

#include "command_line.h"

namespace loom {

/// All families and commands, one line each.
[[nodiscard]] std::string overviewHelp(std::size_t columns);
/// The commands of a named family.
[[nodiscard]] std::string familyHelp(const Family& family, std::size_t columns);
/// Everything about one command.
[[nodiscard]] std::string commandHelp(const CommandRef& ref, std::size_t columns);

/// "loom eval [OPTION]... [EXPR]...".
[[nodiscard]] std::string usageLine(const CommandRef& ref);
/// "-p, --param NAME=VALUE".
[[nodiscard]] std::string optionLabel(const Option& option);
/// The exit codes of the command, those that every command has included.
[[nodiscard]] std::vector<ExitCodeMeaning> exitCodesOf(const Command& command);

}  // namespace loom

#endif  // LOOM_HELP_H
