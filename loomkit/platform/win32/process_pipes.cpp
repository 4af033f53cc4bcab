// SPDX-License-Identifier: MIT
// The pipes between this process and a child. The system has no call that waits for a
// pipe, so that waiting is asking again, at first often and then every few milliseconds.
#include <algorithm>
#include <chrono>

#include "loomkit/platform/process.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {
namespace {

constexpr DWORD pipeSize = 65536;

// Calls `isReady` until it says so or the time is up.
template <class IsReady>
bool waitUntil(IsReady isReady, int milliseconds) {
  using Clock = std::chrono::steady_clock;
  constexpr DWORD longestPause = 10;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (DWORD pause = 0;; pause = std::min(pause + 1, longestPause)) {
    if (isReady()) return true;
    if (Clock::now() >= end) return false;
    ::Sleep(pause);
  }
}

// True when a read would not wait: there are bytes, or the other end is closed.
bool isReadable(int handle) {
  DWORD available = 0;
  return ::PeekNamedPipe(systemHandle(handle), nullptr, 0, nullptr, &available, nullptr) == 0 ||
         available > 0;
}

void closeEnd(int* end) {
  ::CloseHandle(systemHandle(*end));
  *end = -1;
}

// Sends as much as the pipe takes without waiting. True when there was some, or when the
// pipe is closed now.
bool sendSome(int* end, std::string_view input, std::size_t* sent) {
  constexpr std::size_t step = 4096;
  DWORD mode = PIPE_READMODE_BYTE | PIPE_NOWAIT;
  ::SetNamedPipeHandleState(systemHandle(*end), &mode, nullptr, nullptr);
  DWORD count = 0;
  const auto size = static_cast<DWORD>(std::min(input.size() - *sent, step));
  const bool good = size == 0 || ::WriteFile(systemHandle(*end), input.data() + *sent, size, &count,
                                             nullptr) != 0;
  *sent += count;
  if (good && *sent < input.size()) return count > 0;
  closeEnd(end);
  return true;
}

bool receiveSome(int* end, std::string* text) {
  if (!isReadable(*end)) return false;
  char block[pipeSize];
  DWORD count = 0;
  const bool good = ::ReadFile(systemHandle(*end), block, sizeof block, &count, nullptr) != 0;
  text->append(block, count);
  if (!good) closeEnd(end);
  return true;
}

}  // namespace

bool createPipe(int* readEnd, int* writeEnd) {
  HANDLE reader = nullptr, writer = nullptr;
  if (::CreatePipe(&reader, &writer, nullptr, pipeSize) == 0) return succeeded(false);
  *readEnd = handleNumber(reader);
  *writeEnd = handleNumber(writer);
  return true;
}

void closeHandle(int handle) { ::CloseHandle(systemHandle(handle)); }

bool waitReadable(int handle, int milliseconds) {
  return waitUntil([handle] { return isReadable(handle); }, milliseconds);
}

// A closed pipe is an error for the system, and the end of the stream here.
bool readHandle(int handle, char* buffer, unsigned size, unsigned* count) {
  DWORD got = 0;
  const bool good = ::ReadFile(systemHandle(handle), buffer, size, &got, nullptr) != 0;
  if (!good && ::GetLastError() != ERROR_BROKEN_PIPE) return succeeded(false);
  *count = got;
  return true;
}

bool writeHandle(int handle, const char* data, unsigned size, unsigned* count) {
  for (*count = 0; *count < size;) {
    DWORD written = 0;
    if (::WriteFile(systemHandle(handle), data + *count, size - *count, &written, nullptr) == 0) {
      // "The pipe is being closed" is what the system says of a reader that has gone.
      return failed(::GetLastError() == ERROR_NO_DATA ? ERROR_BROKEN_PIPE : ::GetLastError());
    }
    *count += written;
  }
  return true;
}

bool exchange(PipeEnds* ends, std::string_view input, std::size_t* sent, std::string* out,
              std::string* err, int milliseconds) {
  const auto isOpen = [](int end) { return end != -1; };
  if (!isOpen(ends->in) && !isOpen(ends->out) && !isOpen(ends->err)) return false;
  const auto move = [&] {
    const bool wrote = isOpen(ends->in) && sendSome(&ends->in, input, sent);
    const bool readOut = isOpen(ends->out) && receiveSome(&ends->out, out);
    const bool readErr = isOpen(ends->err) && receiveSome(&ends->err, err);
    return wrote || readOut || readErr;
  };
  return waitUntil(move, milliseconds);
}

}  // namespace loomkit::platform
