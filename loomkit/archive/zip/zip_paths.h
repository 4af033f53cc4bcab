// SPDX-License-Identifier: MIT
// Paths as the archives of a host's own know them.
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

/// What stands behind the last separator.
inline std::string baseName(const std::string& path) {
  const std::string text = withSlashes(path);
  return text.substr(text.rfind('/') + 1);
}

/// With ASCII letters in lower case.
inline std::string lowered(std::string text) {
  for (char& c : text) {
    if (isAsciiUpper(c)) c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_PATHS_H
