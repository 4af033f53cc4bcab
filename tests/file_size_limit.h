// SPDX-License-Identifier: MIT
#ifndef LOOMKIT_TESTS_FILE_SIZE_LIMIT_H
#define LOOMKIT_TESTS_FILE_SIZE_LIMIT_H

#include <sys/resource.h>

#include <csignal>

namespace loomkit::testing {

/// Lets no file of this process grow beyond so many bytes while it lives, which stands
/// in for a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before);
    rlimit now = before;
    now.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &now);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }

 private:
  rlimit before{};
  void (*handler)(int);
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_FILE_SIZE_LIMIT_H
