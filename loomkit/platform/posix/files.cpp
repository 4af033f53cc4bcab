// SPDX-License-Identifier: MIT
#include "loomkit/platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "loomkit/platform/platform.h"
#include "loomkit/platform/posix/error_codes.h"
#include "loomkit/platform/posix/paths.h"
#include "loomkit/platform/system.h"

namespace loomkit::platform {
namespace {

constexpr unsigned noSuchDirectory = 3;

bool isMissing(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) != 0;
}

// The result of a system call on `path` as success or failure.
bool succeeded(int result, const std::string& path) {
  if (result == 0) return true;
  setPathError(path, errno);
  return false;
}

}  // namespace

std::string systemPath(const std::string& native) {
  std::string path = native;
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

void setPathError(const std::string& path, int error) {
  setLastErrorFromErrno(error);
  if (error != ENOENT) return;
  const std::size_t last = path.find_last_not_of('/');
  const std::size_t slash = last == std::string::npos ? last : path.rfind('/', last);
  const bool hasFolder = slash != std::string::npos;
  // An empty path is a mistake, and not the path of a file that is gone already.
  if (path.empty() || (hasFolder && isMissing(path.substr(0, slash + 1)))) {
    setLastError(noSuchDirectory);
  } else {
    setLastErrorFromErrno(error);
  }
}

std::filesystem::path streamPath(const std::string& path) { return systemPath(path); }

bool access(const std::string& path, Access mode) {
  const std::string target = systemPath(path);
  return succeeded(::access(target.c_str(), static_cast<int>(mode)), target);
}
static_assert(static_cast<int>(Access::Read) == R_OK && static_cast<int>(Access::Write) == W_OK &&
              static_cast<int>(Access::Execute) == X_OK &&
              static_cast<int>(Access::Exists) == F_OK);

bool examine(const std::string& path) {
  const std::string target = systemPath(path);
  struct stat status {};
  return succeeded(::lstat(target.c_str(), &status), target);
}

bool isDirectory(const std::string& path) {
  const std::string target = systemPath(path);
  struct stat status {};
  return succeeded(::stat(target.c_str(), &status), target) && S_ISDIR(status.st_mode);
}

bool isLink(const std::string& path) {
  struct stat status {};
  return ::lstat(systemPath(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

void setModificationTime(const std::string& path, long seconds) {
  const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
  static_cast<void>(::utimensat(AT_FDCWD, systemPath(path).c_str(), times, 0));
}

bool modificationTime(const std::string& path, long* seconds) {
  const std::string target = systemPath(path);
  struct stat status {};
  if (!succeeded(::stat(target.c_str(), &status), target)) return false;
  *seconds = static_cast<long>(status.st_mtime);
  return true;
}

bool deleteFile(const std::string& path) { return unlinkFile(path); }

bool rename(const std::string& from, const std::string& to) {
  const std::string source = systemPath(from);
  return succeeded(std::rename(source.c_str(), systemPath(to).c_str()), source);
}

bool makeDirectory(const std::string& path) {
  const std::string target = systemPath(path);
  return succeeded(::mkdir(target.c_str(), 0777), target);
}

bool removeDirectory(const std::string& path) {
  const std::string target = systemPath(path);
  return succeeded(::rmdir(target.c_str()), target);
}

bool unlinkFile(const std::string& path) {
  const std::string target = systemPath(path);
  return succeeded(::unlink(target.c_str()), target);
}

bool unlinkEntry(const std::string& directory, const std::string& entry) {
  // A name with a separator could lead out of the directory when it is taken for a path.
  if (entry.find('\\') != std::string::npos) {
    setLastErrorFromErrno(ENOENT);
    return false;
  }
  return unlinkFile(directory + "/" + entry);
}

bool changeDirectory(const std::string& path) {
  const std::string target = systemPath(path);
  return succeeded(::chdir(target.c_str()), target);
}

bool workingDirectory(std::string* path, std::size_t limit) {
  std::vector<char> buffer(limit);
  if (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    setLastErrorFromErrno(errno);
    return false;
  }
  *path = buffer.data();
  return true;
}

std::string tempPath() {
  const char* set = environment("TMPDIR");
  std::string path = set != nullptr && *set != '\0' ? set : "/tmp";
  std::replace(path.begin(), path.end(), '/', '\\');
  if (path.back() != '\\') path += '\\';
  return path;
}

bool fullPath(const std::string& path, std::string* full) {
  if (path.empty()) {
    setLastErrorFromErrno(ENOENT);
    return false;
  }
  std::string text = systemPath(path);
  if (text.front() != '/') {
    std::string here;
    constexpr std::size_t longest = 1 << 16;
    if (!workingDirectory(&here, longest)) return false;
    text = here + "/" + text;
  }
  std::string result;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('/', begin), text.size());
    const std::string part = text.substr(begin, end - begin);
    if (part == "..") {
      result.resize(result.empty() ? 0 : result.rfind('\\'));
    } else if (!part.empty() && part != ".") {
      result += '\\' + part;
    }
    begin = end + 1;
  }
  *full = result.empty() ? "\\" : result;
  return true;
}

bool splitRoot(const std::string& full, std::string* root, std::string* rest) {
  if (full.empty() || full.front() != '\\') return false;
  root->clear();
  *rest = full;
  return true;
}

}  // namespace loomkit::platform
