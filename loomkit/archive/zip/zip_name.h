// SPDX-License-Identifier: MIT
// The rules for the names of zip members.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_NAME_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_NAME_H

#include <string>

namespace loomkit::zip {

/// A path as a member's name: relative, separated by single slashes, without
/// "." and "..". A ".." at the beginning is reported to gOutput and dropped.
std::string normalizedName(const std::string& path);

/// The name of the directory that holds a member, with its slash; empty at the
/// top.
std::string parentOf(const std::string& name);

/// The path below a directory at which a member of a stranger's archive may be
/// extracted: separated by single slashes. False for a name that is empty or
/// absolute, has a "..", a colon or a NUL, and for one with a part that is no name on
/// every system: a device of Windows ("con", "aux.c"), or a dot or blank at its end.
bool memberPath(const std::string& name, std::string* path);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_NAME_H
