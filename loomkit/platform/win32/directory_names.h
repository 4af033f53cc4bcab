// SPDX-License-Identifier: MIT
// Files that are named from a directory that is held open, by the calls of the kernel
// interface (NtCreateFile and its like), since the usual calls take whole paths only.
// Whatever fails sets the last error.
#ifndef LOOMKIT_PLATFORM_WIN32_DIRECTORY_NAMES_H
#define LOOMKIT_PLATFORM_WIN32_DIRECTORY_NAMES_H

#include <string>

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

/// How a name is opened: each member as NtCreateFile() takes it. A link is opened
/// itself and never followed.
struct NameRequest {
  ACCESS_MASK access = 0;
  ULONG share = 0;
  ULONG disposition = 0;
  ULONG options = 0;
};

/// Opens, or makes, the file `name` of a directory; an empty name is the directory
/// itself. A name with a separator or a colon is refused. `*made`, unless null, tells
/// whether there was no such file before.
OwnedHandle openName(HANDLE directory, const std::string& name, const NameRequest& request,
                     bool* made = nullptr);

/// Gives an open file another name, in that directory. Requires: the handle has the
/// right to delete.
bool renameTo(HANDLE file, HANDLE directory, const std::string& name, bool replace);

/// Has the system delete the file when its last handle is closed, or not.
bool setDeletion(HANDLE file, bool deleted);

/// What an open file is.
struct FileNature {
  DWORD attributes = 0;
  bool link = false;  ///< a symbolic link or a mount point
};
bool natureOf(HANDLE file, FileNature* nature);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_DIRECTORY_NAMES_H
