// SPDX-License-Identifier: MIT
#include "loomkit/streams/file.h"

#include <filesystem>
#include <istream>
#include <locale>
#include <memory>
#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loomkit/platform/platform.h"
#include "loomkit/streams/directory.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::ScratchDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

using In = std::unique_ptr<std::istream>;
using Out = std::unique_ptr<std::ostream>;

TEST(File, KeepsTheNameAsGiven) {
  EXPECT_EQ(GFile("a//b").getName(), "a//b");
  EXPECT_EQ(GFile("a\\b", GFile::denyRead).getName(), "a\\b");
  const std::unique_ptr<GFileObject> copy(GFile("x/y").copy());
  EXPECT_EQ(copy->getName(), "x/y");
  EXPECT_NE(dynamic_cast<GFile*>(copy.get()), nullptr);
}

TEST(File, WritesAndReadsWhatWasWritten) {
  const ScratchDirectory folder;
  folder.write("f", "something longer");
  GFile file(folder.path() + "\\f");
  Out(file.getOutStream(true))->write("a\0\r\n", 4);
  EXPECT_EQ(folder.read("f"), std::string("a\0\r\n", 4));
  std::string text;
  std::getline(*In(file.getInStream(false)), text);
  EXPECT_EQ(text, std::string("a\0\r", 3));
  for (int flags = 0; flags < 8; ++flags)
    EXPECT_NE(In(GFile(folder / "f", flags).getInStream(true)), nullptr) << flags;
}

TEST(File, TextStreamsUseTheClassicLocale) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const ScratchDirectory folder;
  GFile file(folder / "f");
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  const Out text(file.getOutStream(false)), binary(GFile(folder / "g").getOutStream(true));
  std::locale::global(before);
  *text << 1.5 << std::flush;
  *binary << 1.5 << std::flush;
  EXPECT_EQ(folder.read("f"), "1.5");
  EXPECT_EQ(folder.read("g"), "1,5");
}

TEST(File, WhatCannotBeOpenedGivesNullInSilence) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  for (const std::string& path : {folder / "none", folder / "none/x", folder.path(), std::string(),
                                  folder / std::string(300, 'x')}) {
    EXPECT_EQ(GFile(path).getInStream(false), nullptr) << path;
    EXPECT_EQ(GFile(path).getInStream(true), nullptr) << path;
  }
  EXPECT_EQ(GFile(folder / "none/x").getOutStream(false), nullptr);
  EXPECT_EQ(GFile(folder.path()).getOutStream(true), nullptr);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(File, AnswersWhatMayBeDone) {
  const ScratchDirectory folder;
  GFile file(folder.write("f"));
  std::filesystem::permissions(
      folder / "f", std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_TRUE(file.exists());
  EXPECT_TRUE(file.isReadable());
  EXPECT_TRUE(file.isWritable());
  EXPECT_FALSE(file.isExecutable());
  std::filesystem::permissions(folder / "f", std::filesystem::perms::owner_all);
  EXPECT_TRUE(file.isExecutable());
  EXPECT_GT(file.getModTime(), 1'000'000'000);
  GFile none(folder / "none");
  EXPECT_FALSE(none.exists());
  EXPECT_FALSE(none.isReadable());
  EXPECT_EQ(none.getModTime(), 0);
}

TEST(File, RemoveWantsTheFileGone) {
  const ScratchDirectory folder;
  const CaptureOutput output;
  GFile file(folder.write("f"));
  EXPECT_TRUE(file.remove());
  EXPECT_FALSE(file.exists());
  EXPECT_TRUE(file.remove());
  EXPECT_FALSE(GFile(folder / "none/f").remove());
  EXPECT_FALSE(GFile(folder.path()).remove());
  EXPECT_FALSE(GFile("").remove()) << "no name is no file that happens to be gone";
  EXPECT_EQ(loomkit::platform::lastError(), 3U);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(File, RenameMovesTheObjectToo) {
  const ScratchDirectory folder;
  GFile file(folder.write("f", "x"));
  EXPECT_FALSE(file.rename(folder / "none/g"));
  EXPECT_EQ(file.getName(), folder / "f");
  EXPECT_TRUE(file.rename(folder / "g"));
  EXPECT_EQ(file.getName(), folder / "g");
  EXPECT_TRUE(file.exists());
  EXPECT_FALSE(std::filesystem::exists(folder / "f"));
}

TEST(File, TheRealPathIsAbsoluteAndChecked) {
  const ScratchDirectory folder;
  CaptureOutput output;
  output.setLogLevel("*", 0);
  folder.write("f");
  std::filesystem::create_directory(folder / "sub");
  EXPECT_EQ(GFile(folder / "sub//../f").getRealPath(), folder / "f");
  EXPECT_EQ(GFile("/").getRealPath(), "/");
  EXPECT_EQ(GFile(".").getRealPath(), GDirectory::getcwd());
  EXPECT_EQ(GFile(folder / "s?b").getRealPath(), folder / "sub");
  EXPECT_THAT(output.lines, IsEmpty());

  EXPECT_EQ(GFile(folder / "none/x").getRealPath(), folder / "none/x");
  EXPECT_EQ(GFile("").getRealPath(), "");
  const std::string native = GDirectory::unix2nativePath(folder / "none/x");
  EXPECT_THAT(output.texts(), ElementsAre("can't get real path of " + native + ": error 2",
                                          "can't get real path of : error 2"));
  EXPECT_EQ(output.lines[0].level, GOutputLog0);
  EXPECT_EQ(output.lines[0].sys, "");
}

TEST(File, ConvertsPathsToURLsAndBack) {
  const struct {
    const char* path;
    const char* url;
    const char* back;
  } rows[] = {
      {"C:/a b", "file:///C:/a%20b", "C:/a b"},
      {"/usr/x", "file:///usr/x", "/usr/x"},
      {"//srv/x", "file:////srv/x", "//srv/x"},
      {"a/b", "file:a/b", "a/b"},
      {"C:\\x\\y", "file:///C:/x/y", "C:/x/y"},
      {"\\x", "file:///x", "/x"},
      {"a%#?[]", "file:a%25%23%3F%5B%5D", "a%#?[]"},
      {"!$&'()*+,;=:@/", "file:!$&'()*+,;=:@/", "!$&'()*+,;=:@/"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(GFile(row.path).getURL(), row.url);
    EXPECT_EQ(GFile::pathFromURL(row.url), row.back);
  }
  EXPECT_EQ(GFile("").getURL(), "");
}

TEST(File, ReadsPathsFromURLs) {
  const struct {
    const char* url;
    const char* path;
  } rows[] = {
      {"FILE:///c:/x%20y", "c:/x y"},
      {"ftp:a/b", ""},
      {"file://///srv/x", "//srv/x"},
      {"file:///////srv/x", "//srv/x"},
      {"file:///", "/"},
      {"file://", "//"},
      {"file:", ""},
      {"file", ""},
      {"", ""},
      {"file://srv/x", "//srv/x"},
      {"FiLe:a/b", "a/b"},
      {"file:///c:", "c:"},
      {"file:////", "//"},
      {"file:///1:/x", "/1:/x"},
  };
  for (const auto& row : rows) EXPECT_EQ(GFile::pathFromURL(row.url), row.path) << row.url;
}

}  // namespace
