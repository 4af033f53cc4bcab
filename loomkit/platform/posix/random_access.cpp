// SPDX-License-Identifier: MIT
#include "loomkit/platform/random_access.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {
namespace {

// O_NONBLOCK, so that the opening of a pipe does not wait for its other end.
constexpr int commonFlags = O_CLOEXEC | O_NONBLOCK;

int flagsOf(OpenMode mode) {
  switch (mode) {
    case OpenMode::readOnly:
      return commonFlags | O_RDONLY;
    case OpenMode::readWrite:
      return commonFlags | O_RDWR;
    case OpenMode::createNew:
      return commonFlags | O_RDWR | O_CREAT | O_EXCL;
    case OpenMode::createAlways:
      break;
  }
  // openRandomAccess() empties the file, once it is known that nobody else holds it.
  return commonFlags | O_RDWR | O_CREAT;
}

bool failed(int error) {
  setLastErrorFromErrno(error);
  return false;
}

bool succeeded(int result) { return result == 0 || failed(errno); }

// A file system without locks cannot keep anybody out; the file is used all the same.
bool meansNoLocks(int error) {
  return error == ENOSYS || error == ENOTSUP || error == EINVAL || error == ENOLCK;
}

// 0, or the errno value that says why the lock is not to be had.
int lockRefusal(int handle, ShareMode share) {
  const int lock = share == ShareMode::none ? LOCK_EX : LOCK_SH;
  while (::flock(handle, lock | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return EACCES;
    if (errno != EINTR) return meansNoLocks(errno) ? 0 : errno;
  }
  return 0;
}

// 0, or the errno value that says why this file is not to be used.
int refusal(int handle, ShareMode share) {
  struct stat status {};
  if (::fstat(handle, &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return lockRefusal(handle, share);
}

}  // namespace

bool openRandomAccess(const std::string& nativePath, OpenMode mode, ShareMode share, int* handle) {
  const std::string path = systemPath(nativePath);
  int opened = -1;
  do {
    opened = ::open(path.c_str(), flagsOf(mode), 0666);
  } while (opened < 0 && errno == EINTR);
  if (opened < 0) {
    setPathError(path, errno);
    return false;
  }
  int error = refusal(opened, share);
  if (error == 0 && mode == OpenMode::createAlways && ::ftruncate(opened, 0) != 0) error = errno;
  if (error != 0) {
    ::close(opened);
    // The file of a failed creation goes away again, unless another program has it by now.
    if (mode == OpenMode::createNew && error != EACCES) ::unlink(path.c_str());
    return failed(error);
  }
  *handle = opened;
  return true;
}

bool readAt(int handle, std::uint64_t offset, void* data, std::size_t size, std::size_t* count) {
  char* next = static_cast<char*>(data);
  *count = 0;
  while (*count < size) {
    const ssize_t got =
        ::pread(handle, next + *count, size - *count, static_cast<off_t>(offset + *count));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return failed(errno);
    if (got == 0) break;
    *count += static_cast<std::size_t>(got);
  }
  return true;
}

bool writeAt(int handle, std::uint64_t offset, const void* data, std::size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t count = ::pwrite(handle, next, size, static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    // A device that takes nothing and calls it success would be asked forever.
    if (count <= 0) return failed(count == 0 ? EIO : errno);
    next += count;
    offset += static_cast<std::uint64_t>(count);
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool fileSize(int handle, std::uint64_t* size) {
  struct stat status {};
  if (::fstat(handle, &status) != 0) return failed(errno);
  *size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool setFileSize(int handle, std::uint64_t size) {
  return succeeded(::ftruncate(handle, static_cast<off_t>(size)));
}

bool syncFile(int handle) {
  while (::fsync(handle) != 0) {
    // A file system that cannot sync says so. That is no failure: it offers no more.
    if (errno == EINVAL || errno == ENOTSUP) return true;
    if (errno != EINTR) return failed(errno);
  }
  return true;
}

bool closeFile(int handle) {
  // Never tried again: after EINTR the descriptor is gone all the same.
  return ::close(handle) == 0 || errno == EINTR || failed(errno);
}

}  // namespace loomkit::platform
