// SPDX-License-Identifier: MIT
// Files as operands of loom's commands.
#ifndef LOOM_FILE_CONTENT_H
#define LOOM_FILE_CONTENT_H

#include <string>

namespace loom {

/// Throws Failure (exit code 3) unless the file can be opened for reading.
void requireFile(const std::string& path);

/// All of a file, or of standard input for "-". Throws Failure (exit code 3)
/// when it cannot be read.
[[nodiscard]] std::string contentOf(const std::string& path);

}  // namespace loom

#endif  // LOOM_FILE_CONTENT_H
