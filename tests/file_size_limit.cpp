// SPDX-License-Identifier: MIT
#include "tests/file_size_limit.h"

#include <sys/resource.h>

#include <csignal>

namespace loomkit::testing {
namespace {

rlimit limitBefore{};
void (*handlerBefore)(int) = nullptr;

}  // namespace

FileSizeLimit::FileSizeLimit(std::uint64_t bytes) {
  handlerBefore = std::signal(SIGXFSZ, SIG_IGN);
  ::getrlimit(RLIMIT_FSIZE, &limitBefore);
  rlimit now = limitBefore;
  now.rlim_cur = static_cast<rlim_t>(bytes);
  ::setrlimit(RLIMIT_FSIZE, &now);
}

FileSizeLimit::~FileSizeLimit() {
  ::setrlimit(RLIMIT_FSIZE, &limitBefore);
  std::signal(SIGXFSZ, handlerBefore);
}

std::string FileSizeLimit::words() { return "File too large"; }

}  // namespace loomkit::testing
