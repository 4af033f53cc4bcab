// SPDX-License-Identifier: MIT
// The version of the library, for the preprocessor and for programs.
#ifndef LOOMKIT_VERSION_H
#define LOOMKIT_VERSION_H

#define LOOMKIT_VERSION_MAJOR 0
#define LOOMKIT_VERSION_MINOR 1
#define LOOMKIT_VERSION_PATCH 0

/// The version as text, "major.minor.patch", of the headers compiled against.
#define LOOMKIT_VERSION "0.1.0"

#endif  // LOOMKIT_VERSION_H
