// SPDX-License-Identifier: MIT
#include "loomkit/text/path_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

struct BaseRow {
  const char* path;
  const char* suffix;
  const char* base;
};

TEST(Basename, FollowsItsRules) {
  const BaseRow rows[] = {
      {"/usr/lib/", nullptr, "lib"},
      {"/usr/lib", nullptr, "lib"},
      {"/usr/lib///", nullptr, "lib"},
      {"/", nullptr, "/"},
      {"/", "/", "/"},
      {"", nullptr, "."},
      {"", ".", "."},
      {"a", nullptr, "a"},
      {"a", "a", "a"},
      {"a.txt", ".txt", "a"},
      {"a.txt", nullptr, "a.txt"},
      {"a.txt", "", "a.txt"},
      {"a.txt", ".TXT", "a.txt"},
      {".txt", ".txt", ".txt"},
      {"b/.txt", ".txt", ".txt"},
      {"b/.txt/", ".txt", ".txt"},
      {"x/a.txt", ".txt", "a"},
      {"x/a.txt//", ".txt", "a"},
      {"x/a.txt/", "x/a.txt", "a.txt"},
      {"txt", "a.txt", "txt"},
      // drives
      {"C:/a/b", nullptr, "b"},
      {"C:", nullptr, "."},
      {"C:/", nullptr, "/"},
      {"C:a", nullptr, "a"},
      {"z:b.c", ".c", "b"},
      {"1:", nullptr, "1:"},
      {"\xe4:b", nullptr, "\xe4:b"},
      {"C", nullptr, "C"},
      // shares
      {"//srv/share/x", nullptr, "x"},
      {"//srv/share/x.c", ".c", "x"},
      {"//srv/share", nullptr, "."},
      {"//srv/share/", nullptr, "/"},
      {"//srv", nullptr, "."},
      {"//srv/", nullptr, "."},
      {"//srv//", nullptr, "."},
      {"//srv//share/x", nullptr, "x"},
      {"//", nullptr, "."},
      {"///", nullptr, "."},
      {"///a", nullptr, "."},
      {"///a/b", nullptr, "b"},
  };
  for (const BaseRow& row : rows) EXPECT_EQ(gBasename(row.path, row.suffix), row.base) << row.path;
}

struct DirectoryRow {
  const char* path;
  const char* directory;
};

TEST(Dirname, FollowsItsRules) {
  const DirectoryRow rows[] = {
      {"/usr/lib", "/usr"},
      {"/usr", "/"},
      {"/usr/", "/"},
      {"usr", "."},
      {"usr/", "."},
      {"usr//", "."},
      {"", "."},
      {"/", "/"},
      {"a/b/", "a"},
      {"a//b", "a"},
      {"a//b//", "a"},
      {"a/b/c", "a/b"},
      {"/a//b/c//", "/a//b"},
      // drives
      {"C:foo", "C:."},
      {"C:", "C:."},
      {"C:/", "C:/"},
      {"C:/a", "C:/"},
      {"C:/a/b", "C:/a"},
      {"C:a/b", "C:a"},
      {"1:foo", "."},
      // shares
      {"//srv/share/x", "//srv/share/"},
      {"//srv/share/x/y", "//srv/share/x"},
      {"//srv/share/x/y/", "//srv/share/x"},
      {"//srv/share", "//srv/share"},
      {"//srv/share/", "//srv/share/"},
      {"//srv//share/x", "//srv//share/"},
      {"//srv", "//srv"},
      {"//srv/", "//srv/"},
      {"//", "//."},  // no longer than a drive, so it gets its "."
      {"///", "///"},
      {"///a", "///a"},
      {"///a/b", "///a/"},
  };
  for (const DirectoryRow& row : rows) EXPECT_EQ(gDirname(row.path), row.directory) << row.path;
}

// ---- The rules again, on lists of components instead of positions.

struct Split {
  std::string prefix;
  std::string rest;
};

Split modelSplit(const std::string& path) {
  std::smatch match;
  if (std::regex_match(path, match, std::regex("([A-Za-z]:)(.*)"))) return {match[1], match[2]};
  if (std::regex_match(path, match, std::regex("(//[^/]*/+[^/]+)(/.*)"))) {
    return {match[1], match[2]};
  }
  if (path.compare(0, 2, "//") == 0) return {path, ""};
  return {"", path};
}

// The components of a path; the first one is "" when it begins with a slash.
std::vector<std::string> components(const std::string& s) {
  std::vector<std::string> found;
  if (s[0] == '/') found.emplace_back();
  std::string name;
  for (const char c : s + "/") {
    if (c != '/') {
      name += c;
    } else if (!name.empty()) {
      found.push_back(name);
      name.clear();
    }
  }
  return found;
}

std::string modelBase(const std::string& path, const std::string& suffix) {
  const std::string rest = modelSplit(path).rest;
  if (rest.empty()) return ".";
  std::string base = components(rest).back();
  if (base.empty()) return "/";
  const std::size_t kept = base.size() - std::min(suffix.size(), base.size());
  return kept != 0 && base.substr(kept) == suffix ? base.substr(0, kept) : base;
}

// Equal up to how many slashes stand between components.
std::string squeezed(const std::string& s) { return std::regex_replace(s, std::regex("//+"), "/"); }

std::string modelDirectory(const std::string& path) {
  const auto [prefix, rest] = modelSplit(path);
  std::vector<std::string> names = rest.empty() ? std::vector<std::string>{} : components(rest);
  if (names.size() > 1 || (names.size() == 1 && !names[0].empty())) names.pop_back();
  std::string directory;
  for (const std::string& name : names) directory += (directory.empty() ? "" : "/") + name;
  if (names.size() > 1 && names[0].empty()) directory.insert(0, "/");
  if (directory.empty()) directory = names.empty() ? "." : "/";
  return prefix.size() > 2 && directory == "." ? prefix : prefix + directory;
}

TEST(PathName, AgreesWithTheModel) {
  std::mt19937 random(17);
  static constexpr char alphabet[] = "///abC:.";
  for (int i = 0; i < 5000; ++i) {
    std::string path;
    for (std::size_t n = random() % 10; n != 0; --n) {
      path.push_back(alphabet[random() % (sizeof alphabet - 1)]);
    }
    ASSERT_EQ(gBasename(path, ".a"), modelBase(path, ".a")) << path;
    ASSERT_EQ(squeezed(gDirname(path)), squeezed(modelDirectory(path))) << path;
  }
}

}  // namespace
