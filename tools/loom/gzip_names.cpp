// SPDX-License-Identifier: MIT
#include "gzip_names.h"

#include <algorithm>
#include <string_view>

namespace loom {

namespace {

struct Suffix {
  std::string_view ending;
  std::string_view instead;
};

constexpr Suffix known[] = {{".gz", ""}, {".tgz", ".tar"}, {".taz", ".tar"}, {"-gz", ""},
                            {".z", ""},  {"-z", ""},       {"_z", ""}};

bool sameLetter(char a, char b) {
  const auto small = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return small(a) == small(b);
}

// Something has to be left of the name itself.
bool endsIn(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() &&
         std::equal(ending.rbegin(), ending.rend(), name.rbegin(), sameLetter);
}

}  // namespace

std::string lastPart(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::optional<std::string> decompressedName(const std::string& path, const std::string& suffix) {
  const std::string name = lastPart(path);
  if (endsIn(name, suffix)) return path.substr(0, path.size() - suffix.size());
  for (const Suffix& row : known) {
    if (endsIn(name, row.ending))
      return path.substr(0, path.size() - row.ending.size()).append(row.instead);
  }
  return std::nullopt;
}

bool isCompressedName(const std::string& path, const std::string& suffix) {
  return decompressedName(path, suffix).has_value();
}

std::optional<std::string> besideWithName(const std::string& path, const std::string& headerName) {
  const std::string name = lastPart(headerName);
  if (name.empty() || name == "." || name == "..") return std::nullopt;
  return path.substr(0, path.rfind('/') + 1) + name;
}

}  // namespace loom
