// SPDX-License-Identifier: MIT
#include "loomkit/platform/directory_handle.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/scratch_directory.h"

namespace loomkit::platform {
namespace {

namespace fs = std::filesystem;
using loomkit::testing::ScratchDirectory;

class Handles : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(top.openPath(scratch / "top", true)); }
  unsigned modeOf(const std::string& name) {
    struct stat status {};
    EXPECT_EQ(::stat((scratch / name).c_str(), &status), 0) << name;
    return status.st_mode & 07777;
  }
  bool write(const std::string& name, const std::string& text, bool replace) {
    NewFile file;
    return file.create(top, 0640) && file.write(text.data(), text.size()) &&
           file.place(name, replace);
  }
  std::size_t countOfNames() {
    const fs::directory_iterator begin(scratch / "top");
    return static_cast<std::size_t>(std::distance(begin, fs::directory_iterator()));
  }

  ScratchDirectory scratch;
  DirectoryHandle top;
};

TEST_F(Handles, MakeAPathOnlyWhenTold) {
  DirectoryHandle handle;
  EXPECT_FALSE(handle.openPath(scratch / "a/b/c", false));
  EXPECT_FALSE(handle.isOpen());
  EXPECT_TRUE(handle.openPath(scratch / "a/b/c", true));
  EXPECT_TRUE(fs::is_directory(scratch / "a/b/c"));
}

TEST_F(Handles, EnterDirectoriesAndTellWhichAreNew) {
  bool made = false;
  DirectoryHandle sub;
  EXPECT_FALSE(sub.enter(top, "sub", 0, nullptr));
  ASSERT_TRUE(sub.enter(top, "sub", 0700, &made));
  EXPECT_TRUE(made);
  EXPECT_EQ(modeOf("top/sub"), 0700U);
  ASSERT_TRUE(sub.enter(top, "sub", 0777, &made));
  EXPECT_FALSE(made);
  EXPECT_EQ(modeOf("top/sub"), 0700U);
}

TEST_F(Handles, NeverGoThroughALink) {
  fs::create_directory(scratch / "elsewhere");
  fs::create_directory_symlink(scratch / "elsewhere", scratch / "top/link");
  bool made = false;
  DirectoryHandle sub;
  EXPECT_FALSE(sub.enter(top, "link", 0777, &made));
  EXPECT_EQ(top.kindOf("link"), NameKind::link);
}

TEST_F(Handles, KnowWhatANameIs) {
  scratch.write("top/file", "");
  fs::create_directory(scratch / "top/sub");
  EXPECT_EQ(top.kindOf("file"), NameKind::file);
  EXPECT_EQ(top.kindOf("sub"), NameKind::directory);
  EXPECT_EQ(top.kindOf("none"), NameKind::nothing);
}

TEST_F(Handles, AFileHasNoNameUntilItIsPlaced) {
  {
    NewFile file;
    ASSERT_TRUE(file.create(top, 0600));
    ASSERT_TRUE(file.write("text", 4));
  }
  EXPECT_EQ(countOfNames(), 0U) << "what was not placed is gone";
  EXPECT_TRUE(write("a", "text", false));
  EXPECT_EQ(scratch.read("top/a"), "text");
  EXPECT_EQ(modeOf("top/a") & 0177U, 0040U & modeOf("top/a"));
  EXPECT_EQ(countOfNames(), 1U);
}

TEST_F(Handles, AFileTakesAnothersPlaceOnlyWhenTold) {
  EXPECT_TRUE(write("a", "old", false));
  EXPECT_FALSE(write("a", "new", false));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(scratch.read("top/a"), "old");
  EXPECT_TRUE(write("a", "new", true));
  EXPECT_EQ(scratch.read("top/a"), "new");
  EXPECT_EQ(countOfNames(), 1U) << "no hidden name stays";
}

TEST_F(Handles, AFileReplacesALinkItself) {
  scratch.write("victim", "old");
  fs::create_symlink(scratch / "victim", scratch / "top/a");
  EXPECT_TRUE(write("a", "new", true));
  EXPECT_EQ(scratch.read("victim"), "old");
  EXPECT_FALSE(fs::is_symlink(scratch / "top/a"));
}

TEST_F(Handles, TimesAndRightsAreSet) {
  NewFile file;
  ASSERT_TRUE(file.create(top, 0755));
  EXPECT_TRUE(file.setTime(1000000001));
  EXPECT_TRUE(file.addMode(04000));
  ASSERT_TRUE(file.place("a", false));
  struct stat status {};
  ASSERT_EQ(::stat((scratch / "top/a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mtime, 1000000001);
  EXPECT_NE(modeOf("top/a") & 04000, 0U);
  EXPECT_TRUE(top.narrow(0500));
  EXPECT_EQ(modeOf("top"), 0500U & modeOf("top"));
  EXPECT_TRUE(top.setTime(1000000003));
  fs::permissions(scratch / "top", fs::perms::owner_all);
  EXPECT_TRUE(top.sync());
}

TEST_F(Handles, LinksAreMadeAndReplaced) {
  EXPECT_TRUE(top.makeLink("one", "l", false));
  EXPECT_FALSE(top.makeLink("two", "l", false));
  EXPECT_EQ(fs::read_symlink(scratch / "top/l"), "one");
  EXPECT_TRUE(top.makeLink("two", "l", true));
  EXPECT_EQ(fs::read_symlink(scratch / "top/l"), "two");
  EXPECT_EQ(countOfNames(), 1U);
}

}  // namespace
}  // namespace loomkit::platform
