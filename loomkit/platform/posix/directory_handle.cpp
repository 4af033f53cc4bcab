// SPDX-License-Identifier: MIT
#include "loomkit/platform/directory_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <utility>

#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/paths.h"
#include "loomkit/platform/posix/unfinished_files.h"
#include "loomkit/platform/system.h"

namespace loomkit::platform {
namespace {

constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

bool succeeded(bool good) {
  if (!good) setLastErrorFromErrno(errno);
  return good;
}

int openAt(int at, const char* name, int flags, unsigned mode = 0) {
  int descriptor = -1;
  do {
    descriptor = ::openat(at, name, flags, static_cast<mode_t>(mode));
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

// A name that no other program waits for. The counter tells two files of one
// process apart, and the clock two processes of one number.
std::string hiddenCandidate() {
  static thread_local unsigned counter = 0;
  const auto ticks = static_cast<std::uint64_t>(counterTicks());
  return ".loomkit-" + std::to_string(processId()) + "-" + std::to_string(ticks) + "-" +
         std::to_string(++counter);
}

// The way to an open file, or to a name in an open directory, that needs no privilege
// and that holds wherever the process goes.
std::string pathOf(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

// Tries hidden names until `make` does not fail for one that is there already. The name
// is deleted when a signal ends the process, until `record` is forgotten.
bool withHiddenName(int directory, std::string* name, UnfinishedFile* record,
                    const std::function<bool(const char*)>& make) {
  constexpr int attempts = 100;
  for (int i = 0; i < attempts; ++i) {
    *name = hiddenCandidate();
    const auto makeIt = [&] { return make(name->c_str()); };
    if (makeUnfinished(pathOf(directory) + "/" + *name, makeIt, record)) return true;
    if (errno != EEXIST) break;
  }
  name->clear();
  return false;
}

// True where the file system or the kernel has no files without names. EISDIR and
// ENOENT are what kernels say that do not know the flag.
bool meansNoNamelessFiles(int error) {
  return error == EOPNOTSUPP || error == EISDIR || error == EINVAL || error == ENOENT;
}

}  // namespace

DirectoryHandle::DirectoryHandle(DirectoryHandle&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

DirectoryHandle& DirectoryHandle::operator=(DirectoryHandle&& other) noexcept {
  std::swap(descriptor, other.descriptor);
  return *this;
}

DirectoryHandle::~DirectoryHandle() { close(); }

void DirectoryHandle::close() {
  if (descriptor < 0) return;
  const KeepErrno reason;
  ::close(std::exchange(descriptor, -1));
}

bool DirectoryHandle::openPath(const std::string& path, bool make) {
  const std::string target = systemPath(path);
  close();
  descriptor = openAt(AT_FDCWD, target.c_str(), directoryFlags);
  if (descriptor >= 0 || !make || errno != ENOENT) return succeeded(descriptor >= 0);
  for (std::size_t end = target.find('/', 1);; end = target.find('/', end + 1)) {
    const std::string part = target.substr(0, end);
    if (::mkdir(part.c_str(), 0777) != 0 && errno != EEXIST) return succeeded(false);
    if (end == std::string::npos) break;
  }
  descriptor = openAt(AT_FDCWD, target.c_str(), directoryFlags);
  return succeeded(descriptor >= 0);
}

bool DirectoryHandle::enter(const DirectoryHandle& parent, const std::string& name, unsigned mode,
                            bool* made) {
  constexpr int flags = directoryFlags | O_NOFOLLOW;
  int opened = openAt(parent.descriptor, name.c_str(), flags);
  if (made != nullptr) {
    *made = false;
    if (opened < 0 && errno == ENOENT) {
      *made = ::mkdirat(parent.descriptor, name.c_str(), static_cast<mode_t>(mode)) == 0;
      if (*made || errno == EEXIST) opened = openAt(parent.descriptor, name.c_str(), flags);
    }
  }
  if (opened < 0) return succeeded(false);
  close();
  descriptor = opened;
  return true;
}

NameKind DirectoryHandle::kindOf(const std::string& name, unsigned* mode) const {
  struct stat status {};
  if (::fstatat(descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return NameKind::nothing;
  }
  if (mode != nullptr) *mode = status.st_mode & 0777;
  if (S_ISREG(status.st_mode)) return NameKind::file;
  if (S_ISDIR(status.st_mode)) return NameKind::directory;
  return S_ISLNK(status.st_mode) ? NameKind::link : NameKind::other;
}

bool DirectoryHandle::makeLink(const std::string& target, const std::string& name,
                               bool replace) const {
  if (::symlinkat(target.c_str(), descriptor, name.c_str()) == 0) return true;
  if (errno != EEXIST || !replace) return succeeded(false);
  std::string hidden;
  UnfinishedFile record;
  const bool made = withHiddenName(descriptor, &hidden, &record, [&](const char* candidate) {
    return ::symlinkat(target.c_str(), descriptor, candidate) == 0;
  });
  if (!made) return succeeded(false);
  const bool placed =
      succeeded(::renameat(descriptor, hidden.c_str(), descriptor, name.c_str()) == 0);
  const KeepErrno reason;
  if (!placed) ::unlinkat(descriptor, hidden.c_str(), 0);
  forgetUnfinished(&record);
  return placed;
}

bool DirectoryHandle::narrow(unsigned mode) const {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return succeeded(false);
  const mode_t narrowed = status.st_mode & static_cast<mode_t>(mode) & 0777;
  return narrowed == (status.st_mode & 0777) || succeeded(::fchmod(descriptor, narrowed) == 0);
}

bool DirectoryHandle::setTime(long seconds) const {
  const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
  return succeeded(::futimens(descriptor, times) == 0);
}

bool DirectoryHandle::sync() const { return succeeded(::syncfs(descriptor) == 0); }

bool NewFile::create(const DirectoryHandle& parent, unsigned mode) {
  discard();
  directory = &parent;
  // A file system that has no such files is asked only once a thread.
  static thread_local bool hasNamelessFiles = true;
  if (hasNamelessFiles) {
    descriptor = openAt(parent.descriptor, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
    if (descriptor >= 0) return true;
    if (!meansNoNamelessFiles(errno)) return succeeded(false);
    hasNamelessFiles = false;
  }
  return createNamed(mode);
}

bool NewFile::createNamed(unsigned mode) {
  const int at = directory->descriptor;
  return succeeded(withHiddenName(at, &hiddenName, &record, [&](const char* candidate) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    descriptor = openAt(at, candidate, flags, mode);
    return descriptor >= 0;
  }));
}

bool NewFile::write(const void* data, std::size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t count = ::write(descriptor, next, size);
    if (count < 0 && errno == EINTR) continue;
    // A device that takes nothing and calls it success would be asked forever.
    if (count == 0) errno = EIO;
    if (count <= 0) return succeeded(false);
    next += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool NewFile::setTime(long seconds) {
  const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
  return succeeded(::futimens(descriptor, times) == 0);
}

bool NewFile::addMode(unsigned bits) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return succeeded(false);
  const mode_t wider = (status.st_mode & 07777) | static_cast<mode_t>(bits);
  return succeeded(::fchmod(descriptor, wider) == 0);
}

// Gives a file without a name one.
bool NewFile::linkTo(const std::string& name) {
  return ::linkat(AT_FDCWD, pathOf(descriptor).c_str(), directory->descriptor, name.c_str(),
                  AT_SYMLINK_FOLLOW) == 0;
}

bool NewFile::place(const std::string& name, bool replace) {
  const int at = directory->descriptor;
  bool placed = false;
  if (hiddenName.empty()) {
    placed = linkTo(name);
    if (!placed && errno == EEXIST && replace) {
      withHiddenName(at, &hiddenName, &record,
                     [&](const char* candidate) { return linkTo(candidate); });
    }
  } else if (!replace) {
    placed = ::linkat(at, hiddenName.c_str(), at, name.c_str(), 0) == 0;
  }
  if (!placed && replace && !hiddenName.empty()) {
    placed = ::renameat(at, hiddenName.c_str(), at, name.c_str()) == 0;
    if (placed) hiddenName.clear();
  }
  const bool result = succeeded(placed);
  discard();
  return result;
}

void NewFile::discard() {
  const KeepErrno reason;
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
  if (!hiddenName.empty()) ::unlinkat(directory->descriptor, hiddenName.c_str(), 0);
  hiddenName.clear();
  forgetUnfinished(&record);
}

}  // namespace loomkit::platform
