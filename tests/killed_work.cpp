// SPDX-License-Identifier: MIT
#include "tests/killed_work.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace loomkit::testing {

const int killStep = 1;

KilledWork doKilled(const ScratchDirectory& /*scratch*/, int call,
                    const std::function<void(const Say&)>& work, IoFaults::Kind fault) {
  int ends[2] = {-1, -1};
  EXPECT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const IoFaults faults(fault, call, 0);
    // Not by write(), which is counted.
    work([&ends](const std::string& text) { ::dprintf(ends[1], "%s", text.c_str()); });
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  ::close(ends[1]);
  KilledWork result{!WIFEXITED(status), std::string(65536, '\0')};
  const ssize_t size = ::read(ends[0], result.said.data(), result.said.size());
  result.said.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  ::close(ends[0]);
  return result;
}

}  // namespace loomkit::testing
