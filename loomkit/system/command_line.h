// SPDX-License-Identifier: MIT
// Builds the one string that a process is started with.
#ifndef LOOMKIT_SYSTEM_COMMAND_LINE_H
#define LOOMKIT_SYSTEM_COMMAND_LINE_H

#include <string>

namespace loomkit {

/// Appends one argument, quoted where it has to be. A run of backslashes at the
/// end stands behind the closing quote, where it cannot escape it.
void appendArgument(const std::string& argument, std::string* line);

/// The program and its arguments, one blank between them; empty when `argc` is
/// negative.
std::string commandLine(const std::string& program, int argc, const char* const* argv);

}  // namespace loomkit

#endif  // LOOMKIT_SYSTEM_COMMAND_LINE_H
