// SPDX-License-Identifier: MIT
// ScratchDirectory: an empty directory of a test's own, gone with all its
// content when the test ends.
#ifndef LOOMKIT_TESTS_SCRATCH_DIRECTORY_H
#define LOOMKIT_TESTS_SCRATCH_DIRECTORY_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace loomkit::testing {

class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string text = (std::filesystem::temp_directory_path() / "loomkit_XXXXXX").string();
    folder = ::mkdtemp(text.data());
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  /// The directory's path with slashes, none at its end.
  [[nodiscard]] const std::string& path() const { return folder; }
  [[nodiscard]] std::string operator/(const std::string& name) const { return folder + "/" + name; }

  /// Writes a file and gives its path.
  std::string write(const std::string& name, const std::string& content = {}) const {
    std::ofstream(*this / name, std::ios::binary) << content;
    return *this / name;
  }
  /// A file of so many zero bytes, of which the disk keeps only the last block:
  /// `resize_file` of MinGW asks for room for all of them.
  [[nodiscard]] std::string writeSparse(const std::string& name, std::int64_t size) const {
    std::ofstream(*this / name, std::ios::binary).seekp(size - 1).put('\0');
    return *this / name;
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    std::ifstream in(*this / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string folder;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_SCRATCH_DIRECTORY_H
