// SPDX-License-Identifier: MIT
// The rule by which a command line is taken apart is the same on every system.
#include "loomkit/platform/process.h"

namespace loomkit::platform {

std::vector<std::string> splitCommandLine(const std::string& line) {
  std::vector<std::string> arguments;
  std::string argument;
  bool started = false, quoted = false;
  std::size_t backslashes = 0;
  for (const char c : line) {
    if (c == '\\') {
      ++backslashes;
      started = true;
      continue;
    }
    const bool literal = c == '"' && backslashes % 2 == 1;
    argument.append(c == '"' ? backslashes / 2 : backslashes, '\\');
    backslashes = 0;
    if (c == '"' && !literal) {
      quoted = !quoted;
      started = true;
    } else if ((c == ' ' || c == '\t') && !quoted) {
      if (started) arguments.push_back(argument);
      argument.clear();
      started = false;
    } else {
      argument += c;
      started = true;
    }
  }
  argument.append(backslashes, '\\');
  if (started) arguments.push_back(argument);
  return arguments;
}

}  // namespace loomkit::platform
