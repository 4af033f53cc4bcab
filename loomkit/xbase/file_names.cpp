// SPDX-License-Identifier: MIT
#include "loomkit/xbase/file_names.h"

#include <algorithm>

#include "loomkit/platform/files.h"

namespace loomkit::xbase {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::size_t baseBegin(const std::string& path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == std::string::npos ? 0 : separator + 1;
}

// Where the extension's dot is; the path's length if there is none.
std::size_t dotOf(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos || dot < baseBegin(path) ? path.size() : dot;
}

// The first file of the directory whose name is this one but for letter case.
bool findAnyCase(const std::string& directory, const std::string& name, std::string* found) {
  const std::string wanted = inCapitals(name);
  platform::FileSearch search;
  bool more = search.first(directory + "*");
  while (more && inCapitals(search.name()) != wanted) more = search.next();
  if (more) *found = directory + search.name();
  search.close();
  return more;
}

}  // namespace

std::string inCapitals(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

std::string withExtension(const std::string& name, const std::string& extension) {
  return dotOf(name) == name.size() ? name + "." + extension : name;
}

std::string companionPath(const std::string& path, const std::string& extension) {
  const std::size_t dot = dotOf(path);
  std::string ending = inCapitals(extension);
  const std::string own = path.substr(dot);
  if (!own.empty() &&
      std::any_of(own.begin(), own.end(), [](char c) { return c != lower(c); }) == false)
    std::transform(ending.begin(), ending.end(), ending.begin(), lower);
  std::string companion = path.substr(0, dot) + "." + ending;
  if (platform::examine(companion)) return companion;
  const std::size_t base = baseBegin(companion);
  const std::string directory = base == 0 ? "./" : companion.substr(0, base);
  findAnyCase(directory, companion.substr(base), &companion);
  return companion;
}

std::string aliasOf(const std::string& path) {
  const std::size_t base = baseBegin(path);
  return inCapitals(path.substr(base, dotOf(path) - base));
}

}  // namespace loomkit::xbase
