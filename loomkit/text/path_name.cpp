// SPDX-License-Identifier: MIT
#include "loomkit/text/path_name.h"

#include <algorithm>
#include <string_view>

#include "loomkit/text/char_class.h"

namespace {

constexpr std::size_t npos = std::string_view::npos;

// The length of the root prefix of `path`: "C:", "//server/share" or nothing. A
// path of "//" without a complete server and share is all prefix.
std::size_t rootPrefixLength(std::string_view path) {
  if (path.size() < 2) return 0;
  if (loomkit::isAsciiAlpha(path[0]) && path[1] == ':') return 2;
  if (path[0] != '/' || path[1] != '/') return 0;
  const std::size_t serverEnd = path.find('/', 2);
  if (serverEnd == npos) return path.size();
  const std::size_t share = path.find_first_not_of('/', serverEnd);
  if (share == npos) return path.size();
  return std::min(path.find('/', share), path.size());
}

std::string_view withoutTrailingSlashes(std::string_view s) {
  return s.substr(0, s.find_last_not_of('/') + 1);
}

// Cuts the suffix off. A name that consists of the suffix alone keeps it.
std::string_view withoutSuffix(std::string_view s, const char* suffix) {
  if (suffix == nullptr) return s;
  const std::string_view cut(suffix);
  if (s.size() > cut.size() && s.ends_with(cut)) s.remove_suffix(cut.size());
  return s;
}

std::string_view baseName(std::string_view s, const char* suffix) {
  if (s.empty()) return ".";
  if (s.size() == 1) return withoutSuffix(s, suffix);
  s = withoutTrailingSlashes(s);
  if (s.empty()) return "/";
  return withoutSuffix(s.substr(s.rfind('/') + 1), suffix);  // npos + 1 is 0
}

std::string_view directoryName(std::string_view s) {
  if (s.find('/') == npos) return ".";
  s = withoutTrailingSlashes(s);
  if (s.empty()) return "/";
  const std::size_t slash = s.rfind('/');
  if (slash == npos) return ".";
  s = withoutTrailingSlashes(s.substr(0, slash));
  return s.empty() ? "/" : s;
}

}  // namespace

std::string gBasename(const std::string& path, const char* suffix) {
  std::string_view rest(path);
  rest.remove_prefix(rootPrefixLength(path));
  return std::string(baseName(rest, suffix));
}

std::string gDirname(const std::string& path) {
  const std::size_t prefixLength = rootPrefixLength(path);
  const std::string_view directory = directoryName(std::string_view(path).substr(prefixLength));
  // A share by itself is a directory. A drive by itself is not: it needs the ".".
  // So does a bare "//", which is not longer than a drive.
  if (prefixLength > 2 && directory == ".") return path.substr(0, prefixLength);
  return path.substr(0, prefixLength).append(directory);
}
