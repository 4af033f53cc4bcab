// SPDX-License-Identifier: MIT
// The files of this process that exist only until they take another name, so that none
// stays behind when Ctrl-C ends it. The system calls its handlers on threads of their
// own, so that a lock is enough.
#ifndef LOOMKIT_PLATFORM_WIN32_UNFINISHED_FILES_H
#define LOOMKIT_PLATFORM_WIN32_UNFINISHED_FILES_H

#include <string>

#include "loomkit/platform/replacement.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

/// Makes a new file for writing and remembers it, without a moment between in which a
/// handler could run. Not open after a failure, which sets the last error.
OwnedHandle openUnfinished(const std::string& path, UnfinishedFile* file);

/// To be called once the file has another name or is gone.
void forgetUnfinished(UnfinishedFile* file) noexcept;

/// Deletes the files that are remembered.
void deleteUnfinished() noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_UNFINISHED_FILES_H
