// SPDX-License-Identifier: MIT
#define LOOMKIT_NO_SURPRISE_WARNINGS  // the surprises are what is tested here
#include "loomkit/streams/directory.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::ScratchDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

// Sets an environment variable for its own lifetime; null removes it.
class Environment {
 public:
  Environment(const char* name, const char* value) : variable(name) {
    const char* now = std::getenv(name);
    had = now != nullptr;
    if (had) before = now;
    put(value);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { put(had ? before.c_str() : nullptr); }

 private:
  void put(const char* value) const {
    if (value != nullptr) {
      ::setenv(variable, value, 1);
    } else {
      ::unsetenv(variable);
    }
  }
  const char* variable;
  bool had;
  std::string before;
};

TEST(Directory, MakesPathsNative) {
  const struct {
    const char* path;
    const char* native;
  } rows[] = {
      {"a/b", "a\\b"},
      {"a\\\\b", "a\\\\b"},
      {"a\\\\b/c", "a\\b\\c"},
      {"", ""},
      {"/", "\\"},
      {"//srv//x", "\\\\srv\\x"},
      {"///", "\\\\"},
      {"a//", "a\\"},
      {"a/\\/b", "a\\b"},
      {"\\/x", "\\\\x"},
      {"c:/x", "c:\\x"},
      {"plain", "plain"},
      {"a/b\\", "a\\b\\"},
      {"/a", "\\a"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(GDirectory::unix2nativePath(std::string(row.path)), row.native) << row.path;
    EXPECT_EQ(GDirectory::unix2nativePath(std::string(row.path), false), row.native) << row.path;
    EXPECT_STREQ(GDirectory::unix2nativePath(row.path), row.native) << row.path;
  }
  const char* unchanged = "a\\b";
  EXPECT_EQ(GDirectory::unix2nativePath(unchanged), unchanged);
}

TEST(Directory, MakesPathsPortableWithoutCollapsing) {
  EXPECT_EQ(GDirectory::native2unixPath("\\\\srv\\\\x/y"), "//srv//x/y");
  EXPECT_EQ(GDirectory::native2unixPath("plain", false), "plain");
}

TEST(Directory, SplitsPathsAtTheLastSeparator) {
  const struct {
    const char* path;
    const char* unixDir;
    const char* unixBase;
    const char* nativeDir;
    const char* nativeBase;
  } rows[] = {
      {"a/", "a/", "", "a/", ""},    {"a/b", "a/", "b", "a/", "b"},
      {"a", "", "a", "", "a"},       {"", "", "", "", ""},
      {"C:x", "", "C:x", "C:", "x"}, {"a/b\\c", "a/", "b\\c", "a/b\\", "c"},
      {"/", "/", "", "/", ""},       {"a\\b/c:d", "a\\b/", "c:d", "a\\b/c:", "d"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(GDirectory::dirnameUnix(row.path), row.unixDir) << row.path;
    EXPECT_EQ(GDirectory::basenameUnix(row.path), row.unixBase) << row.path;
    EXPECT_EQ(GDirectory::dirnameNative(row.path), row.nativeDir) << row.path;
    EXPECT_EQ(GDirectory::basenameNative(row.path), row.nativeBase) << row.path;
  }
}

TEST(Directory, KnowsAbsolutePaths) {
  for (const char* path : {"/x", "\\x", "C:/", "z:\\x", "/"})
    EXPECT_TRUE(GDirectory::isAbsolute(path)) << path;
  for (const char* path : {"", "x", "C:", "C:x", "1:/x", "x/y", ":/x", "\xe4:/"})
    EXPECT_FALSE(GDirectory::isAbsolute(path)) << path;
}

TEST(Directory, ListsFilesAndDirectoriesWithoutTheDots) {
  const ScratchDirectory folder;
  folder.write("a");
  folder.write(".x");
  folder.write("with\nnewline");
  std::filesystem::create_directory(folder / "sub");
  GDirectory directory(folder.path());
  EXPECT_TRUE(directory.exists());
  EXPECT_FALSE(GDirectory(folder / "a").exists());
  std::set<std::string> names;
  for (const char* name = directory.first(false); name != nullptr; name = directory.next(false))
    names.insert(name);
  EXPECT_EQ(names, (std::set<std::string>{"a", ".x", "with\nnewline", "sub"}));
  EXPECT_EQ(directory.next(false), nullptr);
  EXPECT_TRUE(directory.close(false));
  EXPECT_TRUE(directory.close(false));
  EXPECT_EQ(directory.next(false), nullptr);
  EXPECT_EQ(directory.getName(), folder.path());
}

TEST(Directory, ListsAnEmptyDirectoryWithoutAMessage) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder.path());
  EXPECT_EQ(directory.first(false), nullptr);
  EXPECT_TRUE(directory.close(false));
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Directory, ReportsAMissingDirectoryAsError3UnlessQuiet) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder / "none");
  EXPECT_EQ(directory.first(true), nullptr);
  EXPECT_THAT(output.lines, IsEmpty());
  EXPECT_EQ(directory.first(false), nullptr);
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot open directory " + folder.path() + "/none (error 3)"));
  EXPECT_EQ(output.lines[0].level, GOutputError);
}

TEST(Directory, CreateGivesAnEmptyDirectory) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder / "d");
  EXPECT_TRUE(directory.create(false));
  folder.write("d/file");
  EXPECT_TRUE(directory.create(false));
  EXPECT_EQ(directory.first(false), nullptr);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Directory, EnsureTouchesNothingThatIsThere) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder / "d");
  EXPECT_TRUE(directory.ensure(false));
  folder.write("d/file", "content");
  EXPECT_TRUE(directory.ensure(false));
  EXPECT_EQ(folder.read("d/file"), "content");
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Directory, EnsureFailsBelowNothingAndOverAFile) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  folder.write("file");
  EXPECT_FALSE(GDirectory(folder / "file").ensure(true));
  EXPECT_THAT(output.lines, IsEmpty());
  EXPECT_FALSE(GDirectory(folder / "file").ensure(false));
  EXPECT_FALSE(GDirectory(folder / "no/d").ensure(false));
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot create directory " + folder.path() + "/file (File exists)",
                          "cannot create directory " + folder.path() +
                              "/no/d (No such file or directory)"));
}

TEST(Directory, CreateOverASubdirectoryFails) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  std::filesystem::create_directories(folder / "d/sub");
  EXPECT_FALSE(GDirectory(folder / "d").create(false));
  EXPECT_THAT(output.texts(),
              ElementsAre(testing::StartsWith("cannot remove file " + folder.path() + "/d/sub ("),
                          "cannot remove directory " + folder.path() + "/d (Directory not empty)"));
}

TEST(Directory, CreateBelowNothingFails) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  EXPECT_FALSE(GDirectory(folder / "no/d").create(true));
  EXPECT_THAT(output.lines, IsEmpty());
  EXPECT_FALSE(GDirectory(folder / "no/d").create(false));
  EXPECT_THAT(output.texts(), ElementsAre("cannot create directory " + folder.path() +
                                          "/no/d (No such file or directory)"));
}

TEST(Directory, RemoveTakesFilesOnlyWhenAsked) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder / "d");
  directory.create(false);
  folder.write("d/file");
  EXPECT_FALSE(directory.remove(false, true));
  EXPECT_THAT(output.lines, IsEmpty());
  EXPECT_FALSE(directory.remove(false, false));
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot remove directory " + folder.path() + "/d (Directory not empty)"));
  EXPECT_TRUE(directory.remove(true, false));
  EXPECT_FALSE(directory.exists());
}

TEST(Directory, RemoveLeavesHiddenFiles) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GDirectory directory(folder / "d");
  directory.create(false);
  folder.write("d/.x", "kept");
  folder.write("d/y");
  EXPECT_FALSE(directory.remove(true, true));
  EXPECT_THAT(output.lines, IsEmpty());
  EXPECT_EQ(folder.read("d/.x"), "kept");
  EXPECT_FALSE(std::filesystem::exists(folder / "d/y"));
}

TEST(Directory, RemoveStaysInsideTheDirectoryWhateverItsFilesAreCalled) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  folder.write("victim", "kept");
  std::filesystem::create_directories(folder / "d/sub");
  folder.write("d/sub/inner", "kept");
  // One file each, whose names would be paths if their backslashes separated.
  folder.write("d/sub\\..\\..\\victim");
  folder.write("d/sub\\inner");
  EXPECT_FALSE(GDirectory(folder / "d").remove(true, false));
  EXPECT_EQ(folder.read("victim"), "kept");
  EXPECT_EQ(folder.read("d/sub/inner"), "kept");
  EXPECT_THAT(output.texts(), testing::Contains("cannot remove file " + folder.path() +
                                                "/d/sub\\inner (No such file or directory)"));
}

TEST(Directory, TheListingOfRemoveIsNeverQuiet) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  EXPECT_FALSE(GDirectory(folder / "none").remove(true, true));
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot open directory " + folder.path() + "/none (error 3)"));
}

TEST(Directory, TakesTheTemporaryDirectoryFromTheEnvironment) {
  {
    const Environment set("TMPDIR", "x\\");
    EXPECT_EQ(GDirectory::getTempDir(), "x\\");
  }
  const Environment unset("TMPDIR", nullptr);
  EXPECT_EQ(GDirectory::getTempDir(), "/tmp");
  EXPECT_THAT(GDirectory().getName(), testing::MatchesRegex(R"(\\tmp\\gdir[0-9]+)"));
}

TEST(Directory, MakesUniqueDirectories) {
  const ScratchDirectory folder;
  const Environment set("TMPDIR", folder.path().c_str());
  const std::string one = GDirectory::createTempDir("", "");
  const std::string two = GDirectory::createTempDir("", "");
  const std::string digits = "[0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f]";
  EXPECT_THAT(one, testing::MatchesRegex(folder.path() + "/tmp" + digits));
  EXPECT_THAT(two, testing::MatchesRegex(folder.path() + "/tmp" + digits));
  EXPECT_EQ(std::stoul(two.substr(two.size() - 8), nullptr, 16),
            std::stoul(one.substr(one.size() - 8), nullptr, 16) + 1);
  EXPECT_THAT(GDirectory::createTempDir(folder.path() + "/", "pre"),
              testing::StartsWith(folder.path() + "/pre"));
}

TEST(Directory, SkipsNamesThatAreTaken) {
  const ScratchDirectory folder;
  const std::string one = GDirectory::createTempDir(folder.path(), "t");
  char next[16];
  const unsigned long number = std::stoul(one.substr(one.size() - 8), nullptr, 16);
  std::snprintf(next, sizeof next, "t%08lx", number + 1);
  folder.write(next);
  EXPECT_EQ(
      std::stoul(GDirectory::createTempDir(folder.path(), "t").substr(one.size() - 8), nullptr, 16),
      number + 2);
}

TEST(Directory, UniqueDirectoriesFailWithoutAMessage) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  EXPECT_EQ(GDirectory::createTempDir(folder / "none", ""), "");
  std::string longName = folder.path();
  while (longName.size() < 1100) longName += "/.";
  EXPECT_EQ(GDirectory::createTempDir(longName, ""), "");
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Directory, ChangesAndNamesTheWorkingDirectory) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  const std::string before = GDirectory::getcwd();
  EXPECT_TRUE(GDirectory::chdir(folder.path(), false));
  EXPECT_TRUE(std::filesystem::equivalent(GDirectory::getcwd(), folder.path()));
  EXPECT_FALSE(GDirectory::chdir("none", true));
  EXPECT_FALSE(GDirectory::chdir("none", false));
  EXPECT_TRUE(GDirectory::chdir(before, false));
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot set working directory: No such file or directory"));
}

TEST(Directory, AWorkingDirectoryThatIsTooLongIsReported) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  const std::string before = GDirectory::getcwd();
  const std::string deep = folder / std::string(150, 'a') + "/" + std::string(150, 'b');
  std::filesystem::create_directories(deep);
  ASSERT_TRUE(GDirectory::chdir(deep, false));
  EXPECT_EQ(GDirectory::getcwd(), "");
  GDirectory::chdir(before, false);
  EXPECT_THAT(output.texts(),
              ElementsAre("cannot get working directory: Numerical result out of range"));
}

TEST(Directory, ACopyHasTheNameOnly) {
  const ScratchDirectory folder;
  folder.write("a");
  GDirectory directory(folder.path());
  ASSERT_NE(directory.first(false), nullptr);
  GDirectory copy(directory);
  EXPECT_EQ(copy.next(false), nullptr);
  EXPECT_EQ(copy.getName(), folder.path());
  copy = directory;
  EXPECT_STREQ(copy.first(false), "a");
}

}  // namespace
