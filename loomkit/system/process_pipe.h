// SPDX-License-Identifier: MIT
// The buffer of one stream between this process and a child.
#ifndef LOOMKIT_SYSTEM_PROCESS_PIPE_H
#define LOOMKIT_SYSTEM_PROCESS_PIPE_H

#include <cstddef>
#include <vector>

namespace loomkit {

class ProcessPipe {
 public:
  /// Does not own the handle.
  explicit ProcessPipe(int parentEnd) : handle(parentEnd) {}

  /// Read or write all `size` bytes, in as many steps as it takes.
  int readAll(char* target, unsigned size);
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
