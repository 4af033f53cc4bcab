// SPDX-License-Identifier: MIT
// loom db import and loom db export: CSV files of the world (RFC 4180).
#ifndef LOOM_CSV_COMMANDS_H
#define LOOM_CSV_COMMANDS_H

#include "command.h"

namespace loom {

/// Operands FILE, LOCATOR and TABLE; options --sep, --header, --encoding, --explain.
ExitCode importCsv(const Invocation& call);

/// Operands LOCATOR and TABLE; options --columns, --where, --skip-errors, --sep,
/// --header.
ExitCode exportCsv(const Invocation& call);

}  // namespace loom

#endif  // LOOM_CSV_COMMANDS_H
