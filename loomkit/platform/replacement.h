// SPDX-License-Identifier: MIT
// A file that takes another's place in one step, so that a reader, or a machine
// that loses its power, meets the old content or the new and nothing between.
// Statuses are those of hul.h.
#ifndef LOOMKIT_PLATFORM_REPLACEMENT_H
#define LOOMKIT_PLATFORM_REPLACEMENT_H

#include <string>

namespace loomkit::platform {

/// A file that waits to take its target's place.
struct Replacement {
  std::string target;  ///< where it is to go, links followed
  std::string path;    ///< where it lies now, in the same directory
  int handle = -1;     ///< for hulWrite(); -1 when there is no file
};

/// Makes an empty file beside `target`, which need not exist. One that exists
/// must be a regular file; the new file has its access rights.
int createReplacement(const std::string& target, Replacement* replacement);

/// Brings the file to the disk and gives it the target's name. On failure the
/// target is as it was, and the file is gone. Either way it is closed.
int commitReplacement(Replacement* replacement);

/// Closes and deletes the file; the target stays as it is.
void discardReplacement(Replacement* replacement);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_REPLACEMENT_H
