// SPDX-License-Identifier: MIT
#include "loomkit/system/process_pipe.h"

#include <algorithm>

#include "loomkit/platform/process.h"
#include "loomkit/text/output.h"

namespace loomkit {

// A step that fails and gives -1 does not stop the transfer: its -1 is added to the
// position like any other count, though never so that it leaves the caller's buffer.
template <class Step>
int ProcessPipe::transfer(char* target, unsigned size, Step step) {
  unsigned done = 0;
  while (done < size) {
    const int count = step(target + done, size - done);
    if (count >= 0) {
      done += static_cast<unsigned>(count);
    } else if (done > 0) {
      --done;
    }
  }
  return static_cast<int>(size);
}

int ProcessPipe::readAll(char* target, unsigned size) {
  return transfer(target, size, [this](char* to, unsigned n) { return read(to, n); });
}

int ProcessPipe::writeAll(char* target, unsigned size) {
  return transfer(target, size, [this](char* to, unsigned n) { return write(to, n); });
}

// Reads the next bytes into the empty buffer, of twice the wanted size.
bool ProcessPipe::fill(unsigned size) {
  const std::size_t wanted = 2 * std::size_t{size};
  if (buffer.size() < wanted) buffer.resize(wanted);
  unsigned count = 0;
  if (!platform::readHandle(handle, buffer.data(), static_cast<unsigned>(buffer.size()), &count)) {
    systemError("Can't read pipe");
    return false;
  }
  current = 0;
  end = count;
  return true;
}

int ProcessPipe::read(char* target, unsigned size) {
  if (current == end && !fill(size)) return -1;
  unsigned count = 0;
  while (current < end && count < size) {
    const char c = buffer[current++];
    if (c == '\r') {
      if (pendingCR) target[count++] = '\r';
      pendingCR = true;
      continue;
    }
    if (pendingCR && c != '\n') target[count++] = '\r';
    pendingCR = false;
    if (count < size) {
      target[count++] = c;
    } else {
      --current;
    }
  }
  return static_cast<int>(count);
}

int ProcessPipe::readAvailable(char* target, unsigned size, int milliseconds) {
  if (size == 0) return 0;
  if (pendingCR) {
    pendingCR = false;
    *target = '\r';
    return 1;
  }
  if (current < end) {
    const std::size_t count = std::min<std::size_t>(size, end - current);
    std::copy_n(buffer.begin() + static_cast<std::ptrdiff_t>(current), count, target);
    current += count;
    return static_cast<int>(count);
  }
  if (!platform::waitReadable(handle, milliseconds)) return 0;
  unsigned count = 0;
  if (!platform::readHandle(handle, target, size, &count)) {
    systemError("Can't read pipe");
    return -1;
  }
  return count == 0 ? -1 : static_cast<int>(count);
}

// What is sent is the block, and the translation goes from the block to the caller's
// buffer instead of the other way round. Nothing ever fills the block, so that both
// hold zeros. Hosts rely on that, see GProcess::writeStdIn().
int ProcessPipe::write(char* target, unsigned size) {
  const std::size_t wanted = 2 * std::size_t{size};
  if (buffer.size() < wanted) buffer.assign(wanted, '\0');
  std::copy_n(buffer.begin(), size, target);
  unsigned count = 0;
  if (!platform::writeHandle(handle, buffer.data(), size, &count)) {
    systemError("Can't write pipe");
    return -1;
  }
  return static_cast<int>(count);
}

}  // namespace loomkit
