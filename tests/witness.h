// SPDX-License-Identifier: MIT
// Other programs as witnesses. scripts/setup.sh installs them, so that a test
// may take them for granted: one that is missing is a failure.
#ifndef LOOMKIT_TESTS_WITNESS_H
#define LOOMKIT_TESTS_WITNESS_H

#include <cstdio>
#include <ostream>
#include <string>

namespace loomkit::testing {

/// Whether these programs run on this system. Elsewhere a test passes their word over.
#ifdef _WIN32
inline constexpr bool witnessesRun = false;
#else
inline constexpr bool witnessesRun = true;
#endif

/// How a shell command ended: its exit status as of wait() (0: well), and what
/// it printed on standard output.
struct Witnessed {
  int status;
  std::string output;
  friend bool operator==(const Witnessed& a, const Witnessed& b) {
    return a.status == b.status && a.output == b.output;
  }
  friend std::ostream& operator<<(std::ostream& out, const Witnessed& w) {
    return out << "status " << w.status << ", output: " << w.output;
  }
};

/// Runs a shell command to its end.
inline Witnessed runShell(const std::string& command) {
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return {-1, "popen failed"};
  Witnessed result{0, {}};
  char buffer[4096];
  for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    result.output.append(buffer, count);
  }
  result.status = ::pclose(pipe);
  return result;
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_WITNESS_H
