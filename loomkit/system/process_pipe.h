// SPDX-License-Identifier: MIT
// ProcessPipe: the buffer of one stream between this process and a child. Private to
// GProcess.
#ifndef LOOMKIT_SYSTEM_PROCESS_PIPE_H
#define LOOMKIT_SYSTEM_PROCESS_PIPE_H

#include <cstddef>
#include <vector>

namespace loomkit {

/// Reads from or writes to this process's end of a pipe, and translates line ends as
/// GProcess promises. -1 is the failure, whose reason is the thread's last error. One
/// thread at a time uses an object.
class ProcessPipe {
 public:
  /// The handle stays the caller's, and open as long as this object is used.
  explicit ProcessPipe(int parentEnd) : handle(parentEnd) {}

  /// Reads all `size` bytes, in as many steps as it takes.
  int readAll(char* target, unsigned size);
  /// Writes `size` bytes, in as many steps as it takes; see GProcess::writeStdIn().
  int writeAll(char* target, unsigned size);

  /// Gives what is there as it is, waiting for the first byte at most so long:
  /// the number of bytes, 0 when nothing has come, -1 at the end of the stream
  /// or after a failure.
  int readAvailable(char* target, unsigned size, int milliseconds);

 private:
  int read(char* target, unsigned size);
  int write(char* target, unsigned size);
  bool fill(unsigned size);
  template <class Step>
  int transfer(char* target, unsigned size, Step step);

  int handle;
  std::vector<char> buffer;
  std::size_t current = 0;
  std::size_t end = 0;
  bool pendingCR = false;  // a carriage return was read and is held back
};

}  // namespace loomkit

#endif  // LOOMKIT_SYSTEM_PROCESS_PIPE_H
