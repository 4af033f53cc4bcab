// SPDX-License-Identifier: MIT
// The two halves of a path name. '/' is the only separator. A root prefix, a
// drive ("C:") or a share ("//server/share"), is never taken apart.
//
//   gDirname("/usr/lib/libz.so")             // "/usr/lib"
//   gBasename("/usr/lib/libz.so", ".so")     // "libz"
#ifndef LOOMKIT_TEXT_PATH_NAME_H
#define LOOMKIT_TEXT_PATH_NAME_H

#include <string>

#include "loomkit/platform/export.h"

/// The last component of `path`, without trailing slashes; "/" when there are
/// only slashes and "." when there is nothing. `suffix`, unless null, is cut
/// off the end of a component that is longer than it.
LOOMKIT_API std::string gBasename(const std::string& path, const char* suffix);

/// All but the last component of `path`; "." when that is nothing.
LOOMKIT_API std::string gDirname(const std::string& path);

#endif  // LOOMKIT_TEXT_PATH_NAME_H
