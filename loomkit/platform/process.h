// SPDX-License-Identifier: MIT
// Child processes and the pipes to them. Failures set the thread's last error.
#ifndef LOOMKIT_PLATFORM_PROCESS_H
#define LOOMKIT_PLATFORM_PROCESS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace loomkit::platform {

/// A child that was started and whose end has not been seen yet; an id of 0 stands for
/// none.
struct ChildProcess {
  long id = 0;
  bool terminated = false;  ///< by terminateProcess()
};

/// The exit code of a child that still runs.
constexpr unsigned stillActive = 259;

/// Splits a command line at blanks and tabs. Double quotes hold an argument
/// together; 2n + 1 backslashes before a quote are n and the quote itself, 2n
/// are n; other backslashes stand for themselves.
std::vector<std::string> splitCommandLine(const std::string& line);

/// Makes a pipe; children get neither end unless startProcess() hands it over.
bool createPipe(int* readEnd, int* writeEnd);
/// Closes one end of a pipe.
void closeHandle(int handle);

/// What may be different for a child.
struct StartOptions {
  std::string directory;               ///< to run in; empty: this process's
  std::vector<std::string> variables;  ///< "NAME=VALUE", in place of or beside our own
  bool ownGroup = false;               ///< in a process group, which it leads
  bool inheritAll = false;  ///< with the open handles of this process and the signals it ignores
};

/// Starts the command line's first argument, looked up along PATH, with these
/// three standard handles. No other handle of this process reaches the child.
bool startProcess(const std::string& commandLine, int in, int out, int err,
                  const StartOptions& options, ChildProcess* child);

/// Ends the child, whose exit code is then 1. Here and below, a child that
/// somebody else has waited for is a failure, and is forgotten.
bool terminateProcess(ChildProcess* child);

/// The same for a child that leads a process group of its own, with all processes in
/// that group.
bool terminateGroup(ChildProcess* child);

/// Stores the exit code, or stillActive. A child that a signal ended has 128 and
/// the signal's number. Once an exit code has been given, the child is forgotten.
bool processExitCode(ChildProcess* child, unsigned* code);

/// Waits for the child's end; processExitCode() then tells how it was. False when the
/// system refuses to wait.
bool waitForEnd(const ChildProcess& child);
/// The same, but waits at most so long. True once the child has ended.
bool waitForEnd(const ChildProcess& child, int milliseconds);

/// Waits until a read would not wait, at most so long; false when it would.
bool waitReadable(int handle, int milliseconds);

/// This process's ends of a child's three pipes; -1: none, or closed.
struct PipeEnds {
  int in = -1;
  int out = -1;
  int err = -1;
};

/// Waits, at most so long, until one of the pipes is ready, then moves what can
/// be moved without waiting: from `input`, behind the first `*sent` bytes, to the
/// child, and from the child to `*out` and `*err`, a block at a time. Closes the
/// input when all is sent or the child has closed it, and a stream at its end.
/// False when nothing was ready or no pipe is open any more.
bool exchange(PipeEnds* ends, std::string_view input, std::size_t* sent, std::string* out,
              std::string* err, int milliseconds);

/// Reads at least one byte, waiting for it, or none at the end of the stream.
bool readHandle(int handle, char* buffer, unsigned size, unsigned* count);
/// Writes all bytes or fails; `*count` tells how many went out.
bool writeHandle(int handle, const char* data, unsigned size, unsigned* count);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_PROCESS_H
