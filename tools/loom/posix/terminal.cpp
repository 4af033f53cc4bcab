// SPDX-License-Identifier: MIT
#include "../terminal.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace loom {

bool isTerminal(StandardStream stream) { return isatty(static_cast<int>(stream)) == 1; }

long readSome(std::FILE* file, char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t got = ::read(fileno(file), buffer, size);
    if (got >= 0 || errno != EINTR) return got;
  }
}

bool makePrivateFolder(const std::string& path) {
  return mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

void keepFilePrivate(const std::string& path) { static_cast<void>(chmod(path.c_str(), 0600)); }

}  // namespace loom
