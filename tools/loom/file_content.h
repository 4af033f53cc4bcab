// SPDX-License-Identifier: MIT
// Files as operands of loom's commands.
#ifndef LOOM_FILE_CONTENT_H
#define LOOM_FILE_CONTENT_H

#include <functional>
#include <ostream>
#include <string>

#include "command.h"

namespace loom {

/// Options of commands that write files.
inline constexpr Option directoryOption = {
    .names = "-d,--directory",
    .value = "DIR",
    .help = "Where the files go; by default the current directory.",
    .completes = Completes::directories};
inline constexpr Option forceOption = {.names = "-f,--force",
                                       .help = "Replace files that are there already."};
inline constexpr Option syncOption = {.names = "--sync",
                                      .help = "Wait at the end until all is on the disk."};

/// "cannot open PATH: REASON" for an errno value.
[[nodiscard]] std::string cannotOpen(const std::string& path, int error);

/// Throws Failure (exit code 3) unless the file can be opened for reading.
void requireFile(const std::string& path);

/// All of a file, or of standard input for "-". Throws Failure (exit code 3)
/// when it cannot be read.
[[nodiscard]] std::string contentOf(const std::string& path);

/// Makes a file of what `fill` puts into a stream. It appears whole or not at
/// all, in the place of another only with `force`. The exit code is `damaged`
/// when `fill` fails by itself, which it has reported; what else fails is
/// reported here.
ExitCode writeFile(const std::string& path, bool force,
                   const std::function<bool(std::ostream&)>& fill);

}  // namespace loom

#endif  // LOOM_FILE_CONTENT_H
