// SPDX-License-Identifier: MIT
// The files of this process that exist only until they take another name, so
// that none stays behind when a signal ends it.
#ifndef LOOMKIT_PLATFORM_POSIX_UNFINISHED_FILES_H
#define LOOMKIT_PLATFORM_POSIX_UNFINISHED_FILES_H

#include <sys/types.h>

#include <functional>
#include <string>

#include "loomkit/platform/replacement.h"

namespace loomkit::platform {

/// Calls `make`, which makes the file, and remembers the path where that gives true,
/// without a moment between in which a signal could arrive. What `make` gives.
bool makeUnfinished(const std::string& path, const std::function<bool()>& make,
                    UnfinishedFile* file);

/// Makes a new file for writing and remembers it. -1 and errno after a failure.
int openUnfinished(const std::string& path, mode_t mode, UnfinishedFile* file);

/// To be called once the file has another name or is gone.
void forgetUnfinished(UnfinishedFile* file) noexcept;

/// Deletes the files that are remembered. A signal handler may call it.
void deleteUnfinished() noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_UNFINISHED_FILES_H
