// SPDX-License-Identifier: MIT
// placeFile: the one way in which files of strangers' archives come into a directory.
// Private to the extractors.
#ifndef LOOMKIT_ARCHIVE_GUARDED_FILE_H
#define LOOMKIT_ARCHIVE_GUARDED_FILE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "loomkit/platform/directory_handle.h"

namespace loomkit {

/// What a file is to be like, and whether it may take another's place.
struct FileTraits {
  std::optional<unsigned> rights;       ///< less the umask; none: the archive does not tell
  unsigned specialBits = 0;             ///< set-user, set-group and sticky
  std::optional<std::int64_t> modTime;  ///< seconds since 1970
  bool replace = false;
};

enum class Placing {
  done,
  exists,       ///< a file is there, and may not be replaced
  failed,       ///< the system refuses it
  link,         ///< a link is there, which could lead elsewhere
  sourceFailed  ///< what fills the file has given up
};

/// Takes the next bytes of a file; false when they cannot be written.
using FileSink = std::function<bool(const char* data, std::size_t size)>;

/// Looks whether a file of this name may be written. `*rights`, unless null, are narrowed
/// to those of the file that it would replace. Otherwise `*trouble` goes on where a
/// sentence has named the file: " is a directory".
[[nodiscard]] Placing findPlace(const platform::DirectoryHandle& directory, const std::string& name,
                                bool replace, unsigned* rights, std::string* trouble);

/// Makes a file of what `fill` gives to its sink; `fill` returns false to give up. The
/// file appears whole or not at all, and never through a link. `*trouble` as above, but
/// for sourceFailed. Requires: `name` is one part of a path.
[[nodiscard]] Placing placeFile(const platform::DirectoryHandle& directory, const std::string& name,
                                const FileTraits& traits,
                                const std::function<bool(const FileSink&)>& fill,
                                std::string* trouble);

/// The system's words for why the last call has failed, in parentheses behind a blank;
/// empty when it has none.
[[nodiscard]] std::string lastReason();

}  // namespace loomkit

#endif  // LOOMKIT_ARCHIVE_GUARDED_FILE_H
