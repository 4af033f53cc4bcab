// SPDX-License-Identifier: MIT
// loom zip new.
#ifndef LOOM_ZIP_CREATE_H
#define LOOM_ZIP_CREATE_H

#include <string>

#include "command.h"

namespace loom {

/// The first line of the file that --password-file names, or what a person at the
/// terminal answers, twice with `confirm`. Never an argument: the process list shows
/// those. Throws Failure (exit code 2) without one, and for an empty one, which would
/// mean no encryption.
[[nodiscard]] std::string zipPasswordOf(const Invocation& call, bool confirm);

/// Makes an archive as the command line says.
ExitCode createZip(const Invocation& call);

}  // namespace loom

#endif  // LOOM_ZIP_CREATE_H
