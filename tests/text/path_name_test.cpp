// SPDX-License-Identifier: MIT
#include "loomkit/text/path_name.h"

#include <gtest/gtest.h>

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

}  // namespace
