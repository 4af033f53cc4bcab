// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_name.h"

#include <algorithm>

#include "loomkit/archive/portable_name.h"
#include "loomkit/text/output.h"
#include "loomkit/text/str_stream.h"

namespace loomkit::zip {
namespace {

bool isSeparator(char c) { return c == '/' || c == '\\'; }

bool atComponentStart(const std::string& name) { return name.empty() || name.back() == '/'; }

// Removes the last directory of a name that ends in '/'.
void dropLastDirectory(std::string* name) {
  name->pop_back();
  const std::size_t slash = name->rfind('/');
  name->resize(slash == std::string::npos ? 0 : slash + 1);
}

}  // namespace

std::string normalizedName(const std::string& path) {
  std::string name;
  const auto endsComponent = [&path](std::size_t i) {
    return i >= path.size() || isSeparator(path[i]);
  };
  for (std::size_t i = 0; i < path.size(); ++i) {
    const char c = path[i];
    if (isSeparator(c)) {
      if (!atComponentStart(name)) name += '/';
      continue;
    }
    const bool dot = c == '.' && atComponentStart(name);
    if (dot && endsComponent(i + 1)) continue;  // "." is where we are already
    if (!dot || path[i + 1] != '.' || !endsComponent(i + 2)) {
      name += c;
    } else {
      ++i;
      if (!name.empty()) {
        dropLastDirectory(&name);
        continue;
      }
      GOStrStream text;
      text << "\"..\" at beginning of zip entry name (" << path << ")";
      gOutput->error(gDataSysName, text);
    }
  }
  return name;
}

std::string parentOf(const std::string& name) {
  const std::size_t end = !name.empty() && name.back() == '/' ? name.size() - 1 : name.size();
  const std::size_t slash = end == 0 ? std::string::npos : name.rfind('/', end - 1);
  return slash == std::string::npos ? std::string() : name.substr(0, slash + 1);
}

bool memberPath(const std::string& name, std::string* path) {
  if (name.empty() || isSeparator(name.front()) || name.find('\0') != std::string::npos) {
    return false;
  }
  path->clear();
  for (std::size_t begin = 0; begin < name.size();) {
    const std::size_t end = std::min(name.find_first_of("/\\", begin), name.size());
    const std::string part = name.substr(begin, end - begin);
    begin = end + 1;
    if (part.empty() || part == ".") continue;
    if (!isPortableName(part)) return false;  // ".." too
    *path += (path->empty() ? "" : "/") + part;
  }
  return !path->empty();
}

}  // namespace loomkit::zip
