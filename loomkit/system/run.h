// SPDX-License-Identifier: MIT
// Extension: loomkit::run(), a program run to its end in one call.
//
//   const loomkit::RunResult sorted = loomkit::run({"sort", "-n"}, {.input = "10\n9\n"});
//   if (sorted.ok()) use(sorted.out);                       // "9\n10\n"
//   else report(sorted.reason());                           // "sort: exit code 2"
//
// In C++17 the options are set one by one: loomkit::RunOptions options;
// options.input = ...
#ifndef LOOMKIT_SYSTEM_RUN_H
#define LOOMKIT_SYSTEM_RUN_H

#include <cstddef>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

namespace loomkit {

/// How run() is to run a program; what is not set is as in this process.
struct RunOptions {
  /// What the program reads on its standard input, which ends behind it.
  std::string input;
  /// The directory to run in; empty: this process's.
  std::string directory;
  /// Variables "NAME=VALUE" in place of or beside those of this process.
  std::vector<std::string> environment;
  /// Seconds after which the program and all that it has started is ended; 0:
  /// never. A program with a limit runs in a process group of its own, which
  /// the terminal's Ctrl-C does not reach.
  double timeLimit = 0;
  /// How many bytes of each output stream are kept; the rest is read and dropped.
  std::size_t mostOutput = std::size_t{64} << 20;
};

/// How a program has ended, and what it has written.
struct RunResult {
  /// The program's exit code: 128 and the signal's number after a signal, 1 after
  /// the time limit, -1 when it could not be started.
  int exitCode = -1;
  /// Whether it was ended because its time was up.
  bool timedOut = false;
  /// Whether output was dropped because there was too much of it.
  bool truncated = false;
  /// What it has written to standard output and standard error, as it is.
  std::string out;
  std::string err;
  /// Why it could not be started, in the system's words; empty when it could.
  std::string startFailure;
  /// The program's name as it was called.
  std::string program;

  /// Whether it ran to its end with exit code 0.
  [[nodiscard]] bool ok() const { return exitCode == 0 && !timedOut; }
  /// Why ok() is false, in one line that begins with the program's name; empty
  /// when it is true.
  [[nodiscard]] LOOMKIT_API std::string reason() const;
};

/// Runs `command`, whose first element is the program, looked up along PATH, and
/// waits for its end. Feeds it the input and reads both of its output streams
/// meanwhile, so that neither side can block the other. Nothing is reported to
/// gOutput. When the program has ended, what a grandchild might still write to
/// its streams is not waited for.
LOOMKIT_API RunResult run(const std::vector<std::string>& command, const RunOptions& options = {});

}  // namespace loomkit

#endif  // LOOMKIT_SYSTEM_RUN_H
