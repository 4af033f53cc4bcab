// SPDX-License-Identifier: MIT
// Files that hold a fuzz target's input, for what reads files only.
#ifndef LOOMKIT_TESTS_FUZZ_FUZZ_FILE_H
#define LOOMKIT_TESTS_FUZZ_FUZZ_FILE_H

#include <stdlib.h>
#ifndef _WIN32
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

namespace loomkit::testing {

/// A directory in memory where the system has one, gone at the program's end.
class FuzzDirectory {
 public:
  FuzzDirectory() {
    const std::filesystem::path memory = "/dev/shm";
    const bool hasMemory = std::filesystem::is_directory(memory);
    std::string pattern =
        ((hasMemory ? memory : std::filesystem::temp_directory_path()) / "loomkit_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) abort();
    folder = pattern;
  }
  FuzzDirectory(const FuzzDirectory&) = delete;
  FuzzDirectory& operator=(const FuzzDirectory&) = delete;
  ~FuzzDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  /// Writes a file anew and gives its path.
  [[nodiscard]] std::string write(const std::string& name, const std::uint8_t* data,
                                  std::size_t size) const {
    const std::string path = folder + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size) abort();
    std::fclose(file);
    return path;
  }
  [[nodiscard]] const std::string& path() const { return folder; }

 private:
  std::string folder;
};

/// The path of a file with these bytes, in memory where the system has such files. There
/// is one in a program: the next call writes it anew.
#ifdef _WIN32
inline std::string memoryFile(const std::uint8_t* data, std::size_t size) {
  static const FuzzDirectory directory;
  return directory.write("input", data, size);
}
#else
inline std::string memoryFile(const std::uint8_t* data, std::size_t size) {
  static const int file = ::memfd_create("input", 0);
  const bool stored =
      ::ftruncate(file, 0) == 0 && ::pwrite(file, data, size, 0) == static_cast<ssize_t>(size);
  if (!stored) abort();
  return "/proc/self/fd/" + std::to_string(file);
}
#endif

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_FUZZ_FUZZ_FILE_H
