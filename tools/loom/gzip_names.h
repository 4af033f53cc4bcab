// SPDX-License-Identifier: MIT
// What files are called before and after compression, as gzip(1) has it.
#ifndef LOOM_GZIP_NAMES_H
#define LOOM_GZIP_NAMES_H

#include <optional>
#include <string>

namespace loom {

/// True when a file's name says that it is compressed already: it ends in
/// `suffix`, .gz, -gz, .z, -z, _z, .tgz or .taz, in small or capital letters.
[[nodiscard]] bool isCompressedName(const std::string& path, const std::string& suffix);

/// The name without its suffix, with .tar for .tgz and .taz; nothing when it has
/// none, or when nothing else is in it.
[[nodiscard]] std::optional<std::string> decompressedName(const std::string& path,
                                                          const std::string& suffix);

/// The path of a file beside `path` with the name that a gzip header gives, or
/// nothing when that is none for a file. Of a path the last part counts.
[[nodiscard]] std::optional<std::string> besideWithName(const std::string& path,
                                                        const std::string& headerName);

/// The last part of a path.
[[nodiscard]] std::string lastPart(const std::string& path);

}  // namespace loom

#endif  // LOOM_GZIP_NAMES_H
