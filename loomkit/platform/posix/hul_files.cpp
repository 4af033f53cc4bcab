// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/hul_status.h"
#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {

int failedWith(int error) {
  setLastErrorFromErrno(error);
  return -error;
}

int failedStatus() { return failedWith(errno); }

}  // namespace loomkit::platform

using loomkit::platform::failedStatus;
using loomkit::platform::failedWith;

const char* hulStrError(int status) {
  if (status == loomkit::platform::dsoFailure) return loomkit::platform::dsoErrorText();
  if (status < loomkit::platform::dsoFailure) return "Unspecified error";
  thread_local std::string words;
  words = std::generic_category().message(status < 0 ? -status : 0);
  return words.c_str();  // NOLINT(clang-analyzer-cplusplus.InnerPointer): until the next call
}

int hulOpenFile(const char* nativePath, int mode, int* handle) {
  if (mode != hulCreateForWriting) return failedWith(EINVAL);
  const std::string path = loomkit::platform::systemPath(nativePath);
  constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  do {
    *handle = ::open(path.c_str(), flags, 0666);
  } while (*handle < 0 && errno == EINTR);
  if (*handle >= 0) return 0;
  loomkit::platform::setPathError(path, errno);
  return -errno;
}

int hulWrite(int handle, const void* data, int size, int* written) {
  const char* next = static_cast<const char*>(data);
  int left = size;
  int status = 0;
  while (left > 0) {
    const ssize_t count = ::write(handle, next, static_cast<std::size_t>(left));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      // A device that takes no byte and calls that success would be asked forever.
      if (count == 0) errno = EIO;
      status = failedStatus();
      break;
    }
    next += count;
    left -= static_cast<int>(count);
  }
  if (written != nullptr) *written = size - left;
  return status;
}

int hulSeek(int handle, int origin, std::int64_t offset, int /*reserved*/, std::int64_t* position) {
  if (origin != hulFromStart && origin != hulFromCurrent) return failedWith(EINVAL);
  const off_t now = ::lseek(handle, offset, origin == hulFromStart ? SEEK_SET : SEEK_CUR);
  if (now < 0) return failedStatus();
  if (position != nullptr) *position = now;
  return 0;
}

int hulClose(int handle) {
  // Never tried again: after EINTR the descriptor is gone all the same.
  if (::close(handle) == 0 || errno == EINTR) return 0;
  return failedStatus();
}
