// SPDX-License-Identifier: MIT
// loom db import and loom db export: CSV files of the world (RFC 4180).
#ifndef LOOM_CSV_COMMANDS_H
#define LOOM_CSV_COMMANDS_H

#include <string>

#include "command.h"

namespace loom {

/// Operands FILE, LOCATOR and TABLE.
ExitCode importCsv(const Invocation& call);

/// Operands LOCATOR, TABLE and FILE.
ExitCode exportCsv(const Invocation& call);

/// Prints how many records were copied into a table, as text or as JSON.
void reportCopied(const Invocation& call, const std::string& table, unsigned long records);

}  // namespace loom

#endif  // LOOM_CSV_COMMANDS_H
