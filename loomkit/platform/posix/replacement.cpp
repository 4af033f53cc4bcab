// SPDX-License-Identifier: MIT
#include "loomkit/platform/replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/hul_status.h"
#include "loomkit/platform/posix/paths.h"
#include "loomkit/platform/posix/unfinished_files.h"

namespace loomkit::platform {
namespace {

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Follows links, so that it is the file that is replaced and not the link. A
// path that leads nowhere yet stays as it is.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real != nullptr ? real.get() : path;
}

// The names need not be secret, only new: O_EXCL sees to it that nobody else has the
// file open.
std::string candidateName(const std::string& directory) {
  static std::atomic<unsigned> counter{0};
  char name[64];
  std::snprintf(name, sizeof name, ".loomkit-%ld-%u.tmp", static_cast<long>(::getpid()),
                counter.fetch_add(1));
  return (directory == "." ? std::string() : directory) + name;
}

// Closes the file and gives `status`, or that of the closing if it was good.
int closeKeeping(int status, int handle) {
  if (status == 0) return hulClose(handle);
  const KeepErrno reason;
  hulClose(handle);
  return status;
}

// Makes the new name last. The content is safe already, so that a directory
// that cannot be opened or synced is no failure.
void syncDirectory(const std::string& directory) {
  const int handle = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  syncFile(handle);
  ::close(handle);
}

int openNew(const std::string& directory, mode_t mode, Replacement* made) {
  constexpr int attempts = 10000;
  for (int i = 0; i < attempts; ++i) {
    made->path = candidateName(directory);
    const int handle = openUnfinished(made->path, mode, &made->record);
    if (handle >= 0 || (errno != EEXIST && errno != EINTR)) return handle;
  }
  return -1;
}

// Another owner can be given by a privileged process only, another group by one
// of its members. Rights for a group that is not the other file's are left out.
// They follow the owner, since a change of owner may clear some of them; those
// that let a program run as its owner are not passed on.
bool makeLike(int handle, const struct stat& other) {
  const bool sameGroup = ::fchown(handle, static_cast<uid_t>(-1), other.st_gid) == 0;
  [[maybe_unused]] const int ignored = ::fchown(handle, other.st_uid, static_cast<gid_t>(-1));
  const mode_t mask = sameGroup ? 0777 : 0707;
  if (::fchmod(handle, other.st_mode & mask) != 0) return false;
  const timespec times[] = {other.st_atim, other.st_mtim};
  return ::futimens(handle, times) == 0;
}

bool becomeLikeItsModel(const Replacement& replacement) {
  if (replacement.options.likeFile.empty()) return true;
  struct stat other {};
  return ::stat(systemPath(replacement.options.likeFile).c_str(), &other) == 0 &&
         makeLike(replacement.handle, other);
}

}  // namespace

int createReplacement(const std::string& target, Replacement* replacement) {
  return createReplacement(target, {}, replacement);
}

int createReplacement(const std::string& target, const ReplacementOptions& options,
                      Replacement* replacement) {
  const std::string given = systemPath(target);
  const std::string path = options.followLinks ? resolved(given) : given;
  struct stat status {};
  const auto examine = options.followLinks ? ::stat : ::lstat;
  bool exists = examine(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) return failedWith(EISDIR);
  const bool isLink = exists && S_ISLNK(status.st_mode);
  if (exists && !isLink && !S_ISREG(status.st_mode)) return failedWith(EINVAL);
  const bool hasModel = !options.likeFile.empty();
  // The rights of a link say nothing, and those of a model count more.
  if (isLink || hasModel) exists = false;
  Replacement made;
  made.options = options;
  made.target = path;
  made.handle = openNew(directoryOf(path), exists || hasModel ? 0600 : 0666, &made);
  if (made.handle < 0) return failedStatus();
  if (exists) {
    // Only a privileged process can give the file to another owner. The rights are
    // set after the owner, because a change of owner may clear some of them.
    [[maybe_unused]] const int ignored = ::fchown(made.handle, status.st_uid, status.st_gid);
    if (::fchmod(made.handle, status.st_mode & 07777) != 0) {
      const int failure = failedStatus();
      discardReplacement(&made);
      return failure;
    }
  }
  *replacement = std::move(made);
  return 0;
}

int commitReplacement(Replacement* replacement) {
  // The texts are made first, so that memory that runs out cannot interrupt what
  // follows.
  const std::string directory = directoryOf(replacement->target);
  int status = becomeLikeItsModel(*replacement) ? 0 : failedStatus();
  const bool sync = replacement->options.sync;
  if (status == 0 && sync && !syncFile(replacement->handle)) status = failedStatus();
  status = closeKeeping(status, replacement->handle);
  replacement->handle = -1;
  if (status == 0 && ::rename(replacement->path.c_str(), replacement->target.c_str()) != 0) {
    status = failedStatus();
  }
  if (status != 0) {
    const KeepErrno reason;
    ::unlink(replacement->path.c_str());
    forgetUnfinished(&replacement->record);
    return status;
  }
  forgetUnfinished(&replacement->record);
  if (sync) syncDirectory(directory);
  return 0;
}

ReplacedFile replaceOpenFile(Replacement* replacement, ShareMode share, int* handle) {
  // Opened before it has the target's name, since afterwards nothing must fail.
  int opened = -1;
  if (!openRandomAccess(replacement->path, OpenMode::readWrite, share, &opened))
    return ReplacedFile::notOpened;
  if (commitReplacement(replacement) < 0) {
    const KeepErrno reason;
    closeFile(opened);
    return ReplacedFile::notReplaced;
  }
  closeFile(std::exchange(*handle, opened));  // nothing of it is of interest any more
  return ReplacedFile::done;
}

void discardReplacement(Replacement* replacement) {
  if (replacement->handle < 0) return;
  const KeepErrno reason;
  ::close(replacement->handle);
  replacement->handle = -1;
  ::unlink(replacement->path.c_str());
  forgetUnfinished(&replacement->record);
}

void deleteAllReplacements() noexcept { deleteUnfinished(); }

}  // namespace loomkit::platform
