// SPDX-License-Identifier: MIT
// From the words of a command line to a command and its Invocation.
#ifndef LOOM_COMMAND_LINE_H
#define LOOM_COMMAND_LINE_H

#include <string>
#include <vector>

#include "command.h"

namespace loom {

/// A row of the command table with its family.
struct CommandRef {
  const Family* family = nullptr;
  const Command* command = nullptr;
  explicit operator bool() const { return command != nullptr; }
};

/// The command named by the first words; `*used` receives how many. Throws a
/// usage Failure, with the nearest name there is, when there is no such
/// command. A lone family name gives a reference without a command.
[[nodiscard]] CommandRef findCommand(const std::vector<std::string>& words, std::size_t* used);

/// Reads the words behind the command's name by its row of the table. Throws
/// a usage Failure when they don't fit. When help is asked for, nothing else
/// is checked and the Invocation holds "--help".
[[nodiscard]] Invocation parse(const CommandRef& ref, std::vector<std::string> words);

/// Runs the command that the words name. The options that every command has may also
/// stand before its name or within it. Throws Failure and WriteFailure.
[[nodiscard]] ExitCode runCommandLine(std::vector<std::string> words);

}  // namespace loom

#endif  // LOOM_COMMAND_LINE_H
