// SPDX-License-Identifier: MIT
// Names of files for the C++ library's calls.
#ifndef LOOM_PATH_OF_H
#define LOOM_PATH_OF_H

#include <filesystem>
#include <string>

namespace loom {

/// The path that a name in UTF-8 stands for. Windows would take a plain text for one of
/// its older encodings; elsewhere the bytes stay as they are, UTF-8 or not.
[[nodiscard]] inline std::filesystem::path pathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

}  // namespace loom

#endif  // LOOM_PATH_OF_H
