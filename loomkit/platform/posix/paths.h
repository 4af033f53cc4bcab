// SPDX-License-Identifier: MIT
// The one place where a native path's backslashes become slashes.
#ifndef LOOMKIT_PLATFORM_POSIX_PATHS_H
#define LOOMKIT_PLATFORM_POSIX_PATHS_H

#include <string>

namespace loomkit::platform {

/// The path as system calls take it. A file whose name holds a backslash can
/// therefore not be reached.
std::string systemPath(const std::string& native);

/// Sets the last error of a call that failed with `error` on the system path
/// `path`: 3 instead of 2 when it is the directory that is missing. Leaves
/// `error` in errno.
void setPathError(const std::string& path, int error);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_PATHS_H
