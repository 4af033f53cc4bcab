// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_name.h"

#include <algorithm>
#include <string_view>

#include "loomkit/text/letter_case.h"
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

constexpr std::string_view deviceNames[] = {"con", "prn", "aux", "nul", "conin$", "conout$"};
constexpr std::string_view numberedDeviceNames[] = {"com", "lpt"};
// Behind the latter. The raised digits are those of Latin-1, in UTF-8.
constexpr std::string_view deviceNumbers[] = {"0", "1", "2", "3",      "4",      "5",     "6",
                                              "7", "8", "9", "\u00b9", "\u00b2", "\u00b3"};

template <std::size_t count>
bool isOneOf(const std::string_view (&names)[count], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// Windows has its devices in every directory, with any extension.
bool namesDevice(const std::string& part) {
  std::string name = lowerCased(part.substr(0, part.find('.')));
  name.resize(name.find_last_not_of(' ') + 1);
  constexpr std::size_t length = 3;
  return isOneOf(deviceNames, name) ||
         (isOneOf(numberedDeviceNames, std::string_view(name).substr(0, length)) &&
          isOneOf(deviceNumbers, std::string_view(name).substr(length)));
}

// True for what is a name everywhere. For Windows a colon leads to a drive or to
// another stream of a file, and dots and blanks at the end are nothing: a name would be
// another file's. It is refused on all systems, so that an archive gives the same files.
bool isNameEverywhere(const std::string& part) {
  return part.find(':') == std::string::npos && part.back() != '.' && part.back() != ' ' &&
         !namesDevice(part);
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
    if (!isNameEverywhere(part)) return false;  // ".." too
    *path += (path->empty() ? "" : "/") + part;
  }
  return !path->empty();
}

}  // namespace loomkit::zip
