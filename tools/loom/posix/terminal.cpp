// SPDX-License-Identifier: MIT
#include "../terminal.h"

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

}  // namespace loom
