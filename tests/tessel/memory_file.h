// SPDX-License-Identifier: MIT
// MemoryFile: a file that is in no directory and on no disk, for tests that write
// thousands of them.
#ifndef LOOMKIT_TESTS_TESSEL_MEMORY_FILE_H
#define LOOMKIT_TESTS_TESSEL_MEMORY_FILE_H

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstdlib>
#include <string>
#include <string_view>

#include "../scratch_directory.h"

namespace loomkit::testing {

#if __has_include(<sys/mman.h>)

class MemoryFile {
 public:
  MemoryFile() : handle(::memfd_create("loomkit", MFD_CLOEXEC)) {
    if (handle < 0) std::abort();
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { ::close(handle); }

  /// Gives the file this content and returns its path.
  std::string write(std::string_view content) const {
    const auto size = static_cast<ssize_t>(content.size());
    if (::ftruncate(handle, 0) != 0 || ::pwrite(handle, content.data(), content.size(), 0) != size)
      std::abort();
    return "/proc/self/fd/" + std::to_string(handle);
  }

 private:
  int handle;
};

#else  // one on the disk, where there are no others

class MemoryFile {
 public:
  /// Gives the file this content and returns its path.
  [[nodiscard]] std::string write(std::string_view content) const {
    directory.write("file", std::string(content));
    return directory / "file";
  }

 private:
  ScratchDirectory directory;
};

#endif

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TESSEL_MEMORY_FILE_H
