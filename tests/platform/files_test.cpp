// SPDX-License-Identifier: MIT
#include "loomkit/platform/files.h"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loomkit/platform/platform.h"
#include "tests/scratch_directory.h"

namespace loomkit::platform {
namespace {

using testing::ScratchDirectory;

TEST(PlatformFiles, BackslashesSeparateAtTheSystemCall) {
  const ScratchDirectory folder;
  folder.write("a", "x");
  EXPECT_TRUE(access(folder.path() + "\\a", Access::Read));
  EXPECT_TRUE(makeDirectory(folder.path() + "\\sub"));
  EXPECT_TRUE(isDirectory(folder / "sub"));
  EXPECT_FALSE(isDirectory(folder / "a"));
  EXPECT_TRUE(rename(folder.path() + "\\a", folder.path() + "\\sub\\b"));
  EXPECT_EQ(folder.read("sub/b"), "x");
}

TEST(PlatformFiles, TellsAMissingFileFromAMissingDirectory) {
  const ScratchDirectory folder;
  const std::string file = folder.write("file");
  const struct {
    std::string path;
    unsigned error;
  } rows[] = {{folder / "none", 2}, {folder / "none/x", 3}, {folder / "none\\x\\", 3},
              {file + "/x", 3},     {"none_here", 2},       {"", 3}};
  for (const auto& row : rows) {
    EXPECT_FALSE(deleteFile(row.path));
    EXPECT_EQ(lastError(), row.error) << row.path;
    EXPECT_FALSE(examine(row.path));
    EXPECT_EQ(lastError(), row.error) << row.path;
    long time = 7;
    EXPECT_FALSE(modificationTime(row.path, &time));
    EXPECT_EQ(time, 7);
  }
  EXPECT_FALSE(makeDirectory(file));
  EXPECT_TRUE(lastError() == 80 || lastError() == 183) << lastError();
}

TEST(PlatformFiles, SearchesFindNamesByPattern) {
  const ScratchDirectory folder;
  for (const char* name : {"a.txt", "b.txt", "c.dat", ".hidden"}) folder.write(name);
  const auto found = [&](const std::string& pattern) {
    std::set<std::string> names;
    FileSearch search;
    for (bool more = search.first(folder / pattern); more; more = search.next())
      names.insert(search.name());
    return names;
  };
  using Names = std::set<std::string>;
  EXPECT_EQ(found("*"), (Names{".", "..", "a.txt", "b.txt", "c.dat", ".hidden"}));
  EXPECT_EQ(found("*.txt"), (Names{"a.txt", "b.txt"}));
  EXPECT_EQ(found("?.d*t"), Names{"c.dat"});
  EXPECT_EQ(found("a.txt"), Names{"a.txt"});
  EXPECT_EQ(found("*x*y"), Names{});
  EXPECT_EQ(lastError(), 2U);
  EXPECT_EQ(found("none/*"), Names{});
  EXPECT_EQ(lastError(), 3U);
  FileSearch search;
  EXPECT_FALSE(search.close());
  ASSERT_TRUE(search.first(folder / "a.txt"));
  EXPECT_FALSE(search.next());
  EXPECT_EQ(lastError(), 18U);
  EXPECT_TRUE(search.close());
}

TEST(PlatformFiles, FullPathsAreAbsoluteAndResolvedByText) {
  std::string full;
  const struct {
    const char* path;
    const char* full;
  } rows[] = {{"/a/b", "\\a\\b"},   {"\\a\\.\\b\\..\\c\\", "\\a\\c"},
              {"/", "\\"},          {"/..", "\\"},
              {"//a//b", "\\a\\b"}, {"/a/../..", "\\"}};
  for (const auto& row : rows) {
    ASSERT_TRUE(fullPath(row.path, &full));
    EXPECT_EQ(full, row.full) << row.path;
  }
  ASSERT_TRUE(fullPath("x", &full));
  EXPECT_THAT(full, ::testing::AllOf(::testing::StartsWith("\\"), ::testing::EndsWith("\\x")));
  EXPECT_FALSE(fullPath("", &full));
}

TEST(PlatformFiles, TempPathEndsInABackslash) { EXPECT_EQ(tempPath().back(), '\\'); }

}  // namespace
}  // namespace loomkit::platform
