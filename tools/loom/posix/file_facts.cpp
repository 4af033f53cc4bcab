// SPDX-License-Identifier: MIT
#include "../file_facts.h"

#include <sys/stat.h>

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

bool targetOf(const std::string& path, std::string* target, std::string* reason) {
  std::error_code error;
  *target = std::filesystem::read_symlink(path, error).string();
  if (error) *reason = error.message();
  return !error;
}

}  // namespace loom
