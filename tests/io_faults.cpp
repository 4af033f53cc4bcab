// SPDX-License-Identifier: MIT
#include "tests/io_faults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>

namespace {

using loomkit::testing::IoFaults;

bool active = false;
bool namelessFilesAreRefused = false;
IoFaults::Kind kind = IoFaults::Fail;
int chosen = 0;
int step = 1;
int error = 0;
int count = 0;

// True if this call is to fail; errno says how.
bool fails() {
  if (!active) return false;
  ++count;
  if (kind == IoFaults::Kill && count >= chosen) ::kill(::getpid(), SIGKILL);
  if (kind == IoFaults::Signal && count == chosen) std::raise(SIGTERM);
  if (kind == IoFaults::Fail && count >= chosen &&
      (step == 0 ? count == chosen : (count - chosen) % step == 0)) {
    errno = error;
    return true;
  }
  if (kind == IoFaults::Storm && count % 2 == 1) {
    errno = EINTR;
    return true;
  }
  return false;
}

std::size_t allowed(std::size_t size) {
  return active && kind == IoFaults::Short && size > 1 ? 1 : size;
}

// The same for the calls that the system never interrupts halfway.
bool failsOutright() {
  return active && kind != IoFaults::Short && kind != IoFaults::Storm && fails();
}

// Standard output and error are the tests' own.
bool isOurs(int file) { return file > 2; }

// The argument behind the flags is there only where a file may be made.
bool makesFile(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

int openFile(int directory, const char* path, int flags, mode_t mode) {
  if (fails()) return -1;
  if (namelessFilesAreRefused && (flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_openat, directory, path, flags, mode));
}

}  // namespace

namespace loomkit::testing {

IoFaults::IoFaults(Kind faultKind, int chosenCall, int errorNumber, int everyStep) {
  kind = faultKind;
  chosen = chosenCall;
  error = errorNumber;
  step = everyStep;
  count = 0;
  active = true;
}
IoFaults::~IoFaults() { active = false; }
void IoFaults::refuseNamelessFiles(bool refuse) { namelessFilesAreRefused = refuse; }
int IoFaults::calls() { return count; }

}  // namespace loomkit::testing

extern "C" {

ssize_t write(int file, const void* data, std::size_t size) {
  if (isOurs(file) && fails()) return -1;
  return ::syscall(SYS_write, file, data, isOurs(file) ? allowed(size) : size);
}

ssize_t writev(int file, const iovec* parts, int partCount) {
  if (isOurs(file) && fails()) return -1;
  if (active && kind == IoFaults::Short && isOurs(file)) {
    for (int i = 0; i < partCount; ++i) {
      if (parts[i].iov_len > 0) return ::syscall(SYS_write, file, parts[i].iov_base, 1);
    }
    return 0;
  }
  return ::syscall(SYS_writev, file, parts, partCount);
}

ssize_t read(int file, void* data, std::size_t size) {
  if (isOurs(file) && fails()) return -1;
  return ::syscall(SYS_read, file, data, isOurs(file) ? allowed(size) : size);
}

ssize_t pread(int file, void* data, std::size_t size, off_t at) {
  if (fails()) return -1;
  return ::syscall(SYS_pread64, file, data, allowed(size), at);
}

ssize_t pwrite(int file, const void* data, std::size_t size, off_t at) {
  if (fails()) return -1;
  return ::syscall(SYS_pwrite64, file, data, allowed(size), at);
}

int fdatasync(int file) {
  if (fails()) return -1;
  return static_cast<int>(::syscall(SYS_fdatasync, file));
}

// A 32-bit program that takes large files has these under the names above.
#if __SIZEOF_POINTER__ == 8
ssize_t pread64(int file, void* data, std::size_t size, off64_t at) {
  return pread(file, data, size, at);
}

ssize_t pwrite64(int file, const void* data, std::size_t size, off64_t at) {
  return pwrite(file, data, size, at);
}

int ftruncate64(int file, off64_t size) noexcept {
  if (fails()) return -1;
  return static_cast<int>(::syscall(SYS_ftruncate, file, size));
}
#endif

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = makesFile(flags) ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return openFile(AT_FDCWD, path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = makesFile(flags) ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return openFile(directory, path, flags, mode);
}

int unlink(const char* path) noexcept {
  // The way back from a failure is to be open.
  if (active && kind == IoFaults::Kill && fails()) return -1;
  return static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

int fsync(int file) {
  if (fails()) return -1;
  return static_cast<int>(::syscall(SYS_fsync, file));
}

int flock(int file, int operation) noexcept {
  if (failsOutright()) return -1;
  return static_cast<int>(::syscall(SYS_flock, file, operation));
}

int linkat(int fromDirectory, const char* from, int toDirectory, const char* to,
           int flags) noexcept {
  if (failsOutright()) return -1;
  return static_cast<int>(::syscall(SYS_linkat, fromDirectory, from, toDirectory, to, flags));
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept {
  if (failsOutright()) return -1;
  return static_cast<int>(::syscall(SYS_renameat, fromDirectory, from, toDirectory, to));
}

int rename(const char* from, const char* to) noexcept {
  return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}
}
