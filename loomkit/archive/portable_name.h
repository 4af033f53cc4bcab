// SPDX-License-Identifier: MIT
#ifndef LOOMKIT_ARCHIVE_PORTABLE_NAME_H
#define LOOMKIT_ARCHIVE_PORTABLE_NAME_H

#include <string>

namespace loomkit {

/// True for the name of one file in a directory that is the same file's on every system.
/// It has no separator and no NUL. For Windows a colon leads to a drive or to another
/// stream of a file, a device ("con", "aux.c") is in every directory, and dots and
/// blanks at the end are nothing. Extractors refuse all others on all systems, so that
/// an archive gives the same files everywhere.
bool isPortableName(const std::string& name);

}  // namespace loomkit

#endif  // LOOMKIT_ARCHIVE_PORTABLE_NAME_H
