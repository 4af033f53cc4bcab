// SPDX-License-Identifier: MIT
// The path helpers of GDirectory: text only, nothing here asks the system.
#include <algorithm>
#include <cstring>

#include "loomkit/streams/directory.h"

namespace {

bool isSeparator(char c) { return c == '/' || c == '\\'; }

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// False, with `*native` untouched, when there is nothing to do.
bool makeNative(const char* path, std::size_t size, std::string* native) {
  if (std::memchr(path, '/', size) == nullptr) return false;
  std::string result;
  result.reserve(size);
  for (std::size_t i = 0; i < size; ++i) {
    if (!isSeparator(path[i])) {
      result += path[i];
    } else if (result.empty() || i + 1 == size || !isSeparator(path[i + 1])) {
      result += '\\';
    }
  }
  *native = std::move(result);
  return true;
}

constexpr const char* unixSeparators = "/";
constexpr const char* nativeSeparators = "/\\:";

// The position behind the last separator; 0 when there is none.
std::size_t baseStart(const std::string& path, const char* separators) {
  return path.find_last_of(separators) + 1;
}

}  // namespace

const char* GDirectory::unix2nativePath(const char* path) {
  static std::string buffer;
  return makeNative(path, std::strlen(path), &buffer) ? buffer.c_str() : path;
}

std::string GDirectory::unix2nativePath(const std::string& path) {
  return unix2nativePath(path, true);
}

std::string GDirectory::unix2nativePath(const std::string& path, bool /*flag*/) {
  std::string native;
  return makeNative(path.data(), path.size(), &native) ? native : path;
}

std::string GDirectory::native2unixPath(const std::string& path) {
  return native2unixPath(path, true);
}

std::string GDirectory::native2unixPath(const std::string& path, bool /*flag*/) {
  std::string result = path;
  std::replace(result.begin(), result.end(), '\\', '/');
  return result;
}

std::string GDirectory::basenameUnix(const std::string& path) {
  return path.substr(baseStart(path, unixSeparators));
}

std::string GDirectory::dirnameUnix(const std::string& path) {
  return path.substr(0, baseStart(path, unixSeparators));
}

std::string GDirectory::basenameNative(const std::string& path) {
  return path.substr(baseStart(path, nativeSeparators));
}

std::string GDirectory::dirnameNative(const std::string& path) {
  return path.substr(0, baseStart(path, nativeSeparators));
}

bool GDirectory::isAbsolute(const std::string& path) {
  const bool drive = path.size() >= 2 && isLetter(path[0]) && path[1] == ':';
  const std::size_t decisive = drive ? 2 : 0;
  return path.size() > decisive && isSeparator(path[decisive]);
}
