// SPDX-License-Identifier: MIT
#include "../file_facts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace loom {

namespace {

FileKind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::file;
  if (S_ISDIR(mode)) return FileKind::directory;
  if (S_ISLNK(mode)) return FileKind::link;
  if (S_ISSOCK(mode)) return FileKind::socket;
  if (S_ISFIFO(mode)) return FileKind::fifo;
  return S_ISCHR(mode) || S_ISBLK(mode) ? FileKind::device : FileKind::other;
}

}  // namespace

bool factsOf(const std::string& path, bool followLinks, FileFacts* facts, std::string* reason) {
  struct stat status {};
  if ((followLinks ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status)) != 0) {
    *reason = std::generic_category().message(errno);
    return false;
  }
  facts->kind = kindOf(status.st_mode);
  facts->mode = static_cast<std::uint16_t>(status.st_mode);
  facts->modTime = status.st_mtime;
  facts->size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

std::FILE* openRegular(const std::string& path, bool followLinks, std::string* reason) {
  const int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | (followLinks ? 0 : O_NOFOLLOW);
  const int descriptor = ::open(path.c_str(), flags);
  struct stat status {};
  const bool isOpen = descriptor >= 0 && ::fstat(descriptor, &status) == 0;
  if (isOpen && S_ISREG(status.st_mode)) {
    std::FILE* const file = ::fdopen(descriptor, "rb");
    if (file != nullptr) return file;
  }
  if (isOpen && S_ISDIR(status.st_mode)) errno = EISDIR;
  const bool isOther = isOpen ? !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)
                              : errno == ELOOP || errno == ENXIO;
  *reason = isOther ? "it is no file any more" : std::generic_category().message(errno);
  if (descriptor >= 0) ::close(descriptor);
  return nullptr;
}

bool targetOf(const std::string& path, std::string* target, std::string* reason) {
  std::error_code error;
  *target = std::filesystem::read_symlink(path, error).string();
  if (error) *reason = error.message();
  return !error;
}

}  // namespace loom
