// SPDX-License-Identifier: MIT
// A file that takes another's place in one step, so that a reader, or a machine
// that loses its power, meets the old content or the new and nothing between.
// Statuses are those of hul.h.
#ifndef LOOMKIT_PLATFORM_REPLACEMENT_H
#define LOOMKIT_PLATFORM_REPLACEMENT_H

#include <atomic>
#include <string>

#include "loomkit/platform/random_access.h"

namespace loomkit::platform {

/// What may be different for a file that is to take another's place.
struct ReplacementOptions {
  /// A file whose owner, access rights and times the new one is to have, as far
  /// as this process may give them, and never wider rights; empty: none.
  std::string likeFile;
  bool followLinks = true;  ///< false: a link in the target's place is replaced itself
  bool sync = true;         ///< false: the system brings it to the disk when it likes
};

/// Where deleteAllReplacements() finds a file: a slot of its table that holds a
/// path of its own.
struct UnfinishedFile {
  std::atomic<char*>* slot = nullptr;
  char* path = nullptr;
};

/// A file that waits to take its target's place.
struct Replacement {
  std::string target;  ///< where it is to go, links followed
  std::string path;    ///< where it lies now, in the same directory
  int handle = -1;     ///< for hulWrite(); -1 when there is no file
  ReplacementOptions options;
  UnfinishedFile record;
};

/// Makes an empty file beside `target`, which need not exist. One that exists
/// must be a regular file; the new file has its access rights.
int createReplacement(const std::string& target, Replacement* replacement);
int createReplacement(const std::string& target, const ReplacementOptions& options,
                      Replacement* replacement);

/// Brings the file to the disk and gives it the target's name. On failure the
/// target is as it was, and the file is gone. Either way it is closed.
int commitReplacement(Replacement* replacement);

/// What became of a target that was open.
enum class ReplacedFile { done, notOpened, notReplaced };

/// commitReplacement() for a target that this process has open for reading and writing,
/// as `*handle` of random_access.h. Then `*handle` is the new file, opened with `share`.
/// On failure it is the old one still, or -1 where the system wants a file closed before
/// another takes its place, and does not open it again.
ReplacedFile replaceOpenFile(Replacement* replacement, ShareMode share, int* handle);

/// Closes and deletes the file; the target stays as it is.
void discardReplacement(Replacement* replacement);

/// Deletes all files of this process that wait to take their target's place.
/// May be called from a signal handler; a file that is still written to has no
/// name from then on.
void deleteAllReplacements() noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_REPLACEMENT_H
