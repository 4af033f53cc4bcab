// SPDX-License-Identifier: MIT
// A place for what waits in files.
#ifndef LOOM_TEMPORARY_DIRECTORY_H
#define LOOM_TEMPORARY_DIRECTORY_H

#include <string>

namespace loom {

/// A new directory that nobody else can look into; it goes with the object, and
/// so does what is in it.
class TemporaryDirectory {
 public:
  /// Throws Failure (exit code 6) when it cannot be made.
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  /// The path of a file in it.
  [[nodiscard]] std::string operator/(const std::string& name) const { return path + "/" + name; }

 private:
  std::string path;
};

}  // namespace loom

#endif  // LOOM_TEMPORARY_DIRECTORY_H
