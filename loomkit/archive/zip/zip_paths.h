// SPDX-License-Identifier: MIT
// Paths as the classes for a host's own archives take them apart.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_PATHS_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_PATHS_H

#include <algorithm>
#include <string>

#include "loomkit/text/char_class.h"

namespace loomkit::zip {

/// The path with slashes only, and without one at its end.
inline std::string withSlashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  if (!path.empty() && path.back() == '/') path.pop_back();
  return path;
}

/// What stands behind the last separator; one at the path's end does not count.
inline std::string baseName(const std::string& path) {
  const std::string text = withSlashes(path);
  return text.substr(text.rfind('/') + 1);
}

/// The text with its ASCII letters in lower case.
inline std::string lowered(std::string text) {
  for (char& c : text) {
    if (isAsciiUpper(c)) c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_PATHS_H
