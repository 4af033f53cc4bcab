// SPDX-License-Identifier: MIT
// The pipes between this process and a child.
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>

#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/handles.h"
#include "loomkit/platform/process.h"

namespace loomkit::platform {
namespace {

// Moves a descriptor out of the way of the three standard ones.
bool liftHandle(int* handle) {
  if (*handle >= firstOwnHandle) return true;
  const int lifted = ::fcntl(*handle, F_DUPFD_CLOEXEC, firstOwnHandle);
  const KeepErrno reason;
  ::close(*handle);
  *handle = lifted;
  return lifted >= 0;
}

// Writes to a pipe whose reader may be gone, without the signal that would end
// this process: it is held back for this thread and taken off again.
ssize_t writeQuietly(int handle, const char* data, std::size_t size) {
  sigset_t pipeSignal, before, pending;
  ::sigemptyset(&pipeSignal);
  ::sigaddset(&pipeSignal, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
  ::sigpending(&pending);
  const ssize_t result = ::write(handle, data, size);
  const KeepErrno reason;
  if (result < 0 && errno == EPIPE && ::sigismember(&pending, SIGPIPE) == 0) {
    const timespec now{};
    while (::sigtimedwait(&pipeSignal, nullptr, &now) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return result;
}

void closeEnd(int* end) {
  ::close(*end);
  *end = -1;
}

// Sends as much as a pipe that is ready takes without waiting.
void sendSome(int* end, std::string_view input, std::size_t* sent) {
  const std::size_t size = std::min<std::size_t>(input.size() - *sent, PIPE_BUF);
  const ssize_t count = size == 0 ? 0 : writeQuietly(*end, input.data() + *sent, size);
  if (count > 0) *sent += static_cast<std::size_t>(count);
  const bool failed = count < 0 && errno != EINTR && errno != EAGAIN;
  if (failed || *sent == input.size()) closeEnd(end);
}

void receiveSome(int* end, std::string* text) {
  char block[65536];
  const ssize_t count = ::read(*end, block, sizeof block);
  if (count > 0) text->append(block, static_cast<std::size_t>(count));
  if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) closeEnd(end);
}

// Polls until the time is up, however often a signal interrupts.
int pollFor(pollfd* wanted, nfds_t count, int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    const int ready =
        ::poll(wanted, count, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready >= 0 || errno != EINTR) return ready;
  }
}

}  // namespace

bool createPipe(int* readEnd, int* writeEnd) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  const bool lifted = liftHandle(&ends[0]) && liftHandle(&ends[1]);
  if (!lifted) {
    const KeepErrno reason;
    for (const int end : ends)
      if (end >= 0) ::close(end);
    return false;
  }
  *readEnd = ends[0];
  *writeEnd = ends[1];
  return true;
}

void closeHandle(int handle) { ::close(handle); }

bool waitReadable(int handle, int milliseconds) {
  pollfd wanted{handle, POLLIN, 0};
  return pollFor(&wanted, 1, milliseconds) > 0;
}

bool readHandle(int handle, char* buffer, unsigned size, unsigned* count) {
  ssize_t result = 0;
  do {
    result = ::read(handle, buffer, size);
  } while (result < 0 && errno == EINTR);
  if (result < 0) return false;
  *count = static_cast<unsigned>(result);
  return true;
}

bool writeHandle(int handle, const char* data, unsigned size, unsigned* count) {
  for (*count = 0; *count < size;) {
    const ssize_t result = writeQuietly(handle, data + *count, size - *count);
    if (result < 0 && errno == EINTR) continue;
    if (result < 0) return false;
    *count += static_cast<unsigned>(result);
  }
  return true;
}

bool exchange(PipeEnds* ends, std::string_view input, std::size_t* sent, std::string* out,
              std::string* err, int milliseconds) {
  // poll() passes over a negative descriptor, which stands for a closed pipe.
  pollfd wanted[] = {{ends->in, POLLOUT, 0}, {ends->out, POLLIN, 0}, {ends->err, POLLIN, 0}};
  if (ends->in == -1 && ends->out == -1 && ends->err == -1) return false;
  if (pollFor(wanted, std::size(wanted), milliseconds) <= 0) return false;
  if (wanted[0].revents != 0) sendSome(&ends->in, input, sent);
  if (wanted[1].revents != 0) receiveSome(&ends->out, out);
  if (wanted[2].revents != 0) receiveSome(&ends->err, err);
  return true;
}

}  // namespace loomkit::platform
