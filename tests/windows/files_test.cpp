// SPDX-License-Identifier: MIT
// What the floor says of files on Windows.
#include "loomkit/platform/files.h"

#include <windows.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "loomkit/platform/directory_handle.h"
#include "loomkit/platform/hul.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/random_access.h"
#include "loomkit/platform/replacement.h"
#include "loomkit/platform/scratch_file.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "tests/scratch_directory.h"

namespace loomkit::platform {
namespace {

using loomkit::testing::ScratchDirectory;

std::size_t countOfNames(const std::string& directory) {
  GDirectory listing(directory);
  std::size_t count = 0;
  for (const char* name = listing.first(true); name != nullptr; name = listing.next(true)) ++count;
  return count;
}

TEST(WindowsFiles, PathsHaveDrivesAndShares) {
  const struct {
    const char* path;
    const char* full;
  } rows[] = {{"C:\\a\\.\\b\\..\\c", "C:\\a\\c"},
              {"C:/a//b", "C:\\a\\b"},
              {"c:\\..", "c:\\"},
              {"\\\\server\\share\\x\\..\\y", "\\\\server\\share\\y"}};
  for (const auto& row : rows) {
    std::string full;
    ASSERT_TRUE(fullPath(row.path, &full)) << row.path;
    EXPECT_EQ(full, row.full);
  }
  std::string root, rest;
  EXPECT_TRUE(splitRoot("c:\\a", &root, &rest));
  EXPECT_EQ(root, "c:");
  EXPECT_EQ(rest, "\\a");
  EXPECT_FALSE(splitRoot("\\\\server\\share", &root, &rest));
  EXPECT_FALSE(splitRoot("c:", &root, &rest));
  EXPECT_EQ(GFile("c:\\").getRealPath(), "C:");
  std::string none;
  EXPECT_FALSE(fullPath("", &none));
}

TEST(WindowsFiles, ARealPathHasTheSpellingOfTheDisk) {
  const ScratchDirectory folder;
  folder.write("MixedCase");
  const std::string real = GFile(folder / "mixedCASE").getRealPath();
  EXPECT_EQ(real.substr(real.rfind('/')), "/MixedCase");
  EXPECT_EQ(real[1], ':');
}

TEST(WindowsFiles, AreRefusedWhereANameHasOver255Characters) {
  const ScratchDirectory folder;
  const std::string path = folder.path() + "/" + std::string(300, 'd');
  EXPECT_FALSE(makeDirectory(path));
  EXPECT_EQ(errno, ENOENT);
  int handle = -1;
  EXPECT_FALSE(openRandomAccess(path, OpenMode::createNew, ShareMode::readWrite, &handle));
  EXPECT_FALSE(examine(path));
  EXPECT_FALSE(rename(folder.write("file"), path));
  EXPECT_FALSE(GAtomicFile(path).commit());
  EXPECT_FALSE(makeDirectory(std::string(40'000, '/') + path)) << "more than any path has";
  EXPECT_EQ(countOfNames(folder.path()), 1U);
}

TEST(WindowsFiles, DevicesAreNoFilesInAnyDirectory) {
  const ScratchDirectory folder;
  for (const char* const name : {"nul", "NUL", "con"}) {
    int handle = -1;
    EXPECT_FALSE(openRandomAccess(name, OpenMode::readWrite, ShareMode::readWrite, &handle));
    EXPECT_FALSE(GAtomicFile(name).isOpen()) << name;
  }
  EXPECT_EQ(countOfNames(folder.path()), 0U);
}

TEST(WindowsFiles, TellWhyTheyFail) {
  const ScratchDirectory folder;
  const std::string file = folder.write("file");
  EXPECT_FALSE(deleteFile(folder / "none"));
  EXPECT_EQ(lastError(), 2U);
  EXPECT_FALSE(deleteFile(folder / "none/x"));
  EXPECT_EQ(lastError(), 3U);
  EXPECT_FALSE(makeDirectory(file));
  EXPECT_EQ(lastError(), 183U);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_FALSE(removeDirectory(folder.path()));
  EXPECT_EQ(errno, ENOTEMPTY);
  EXPECT_FALSE(rename(file, folder.write("other"))) << "as the C runtime's";
  std::string text;
  EXPECT_TRUE(lastErrorText(&text));
  EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << "as the system delivers it";
}

TEST(WindowsFiles, AreSharedAsTheOpenerWants) {
  const ScratchDirectory folder;
  const std::string path = folder.write("f", "content");
  int first = -1, second = -1;
  ASSERT_TRUE(openRandomAccess(path, OpenMode::readWrite, ShareMode::none, &first));
  EXPECT_FALSE(openRandomAccess(path, OpenMode::readOnly, ShareMode::readWrite, &second));
  EXPECT_EQ(lastError(), 32U);
  EXPECT_TRUE(closeFile(first));
  ASSERT_TRUE(openRandomAccess(path, OpenMode::readWrite, ShareMode::readWrite, &first));
  ASSERT_TRUE(openRandomAccess(path, OpenMode::readOnly, ShareMode::readWrite, &second));
  EXPECT_TRUE(writeAt(first, 100, "x", 1));
  std::uint64_t size = 0;
  EXPECT_TRUE(fileSize(second, &size));
  EXPECT_EQ(size, 101U);
  char text[200];
  std::size_t count = 0;
  EXPECT_TRUE(readAt(second, 3, text, sizeof text, &count));
  EXPECT_EQ(count, 98U);
  EXPECT_EQ(std::string(text, 4), "tent");
  EXPECT_TRUE(setFileSize(first, 2));
  EXPECT_TRUE(syncFile(first));
  EXPECT_TRUE(closeFile(first) && closeFile(second));
  EXPECT_EQ(folder.read("f"), "co");
  EXPECT_FALSE(openRandomAccess(folder.path(), OpenMode::readOnly, ShareMode::readWrite, &first));
  EXPECT_FALSE(openRandomAccess("nul", OpenMode::readOnly, ShareMode::readWrite, &first));
}

TEST(WindowsFiles, TakeAnothersPlaceWhenTheyAreComplete) {
  const ScratchDirectory folder;
  const std::string path = folder.write("f", "old");
  {
    GAtomicFile file(path);
    ASSERT_TRUE(file.isOpen());
    file.out() << "new";
    EXPECT_EQ(folder.read("f"), "old");
    EXPECT_TRUE(file.commit()) << file.getErrMsg();
  }
  EXPECT_EQ(folder.read("f"), "new");
  {
    GAtomicFile file(path);
    file.out() << "given up";
  }
  GAtomicFile unfinished(folder / "g");
  unfinished.out() << "text" << std::flush;
  GAtomicFile::discardAll();
  unfinished.discard();
  EXPECT_EQ(folder.read("f"), "new");
  EXPECT_EQ(countOfNames(folder.path()), 1U);
  EXPECT_FALSE(GAtomicFile(folder.path()).isOpen()) << "a directory";
  EXPECT_FALSE(GAtomicFile(folder / "none/f").isOpen());
}

TEST(WindowsFiles, ScratchFilesGoWithTheirObject) {
  const ScratchDirectory folder;
  {
    ScratchFile file;
    ASSERT_EQ(file.create(folder.path() + "\\neighbour"), 0);
    EXPECT_EQ(file.write(10, "text", 4), 0);
    char text[4];
    EXPECT_EQ(file.read(10, text, 4), 0);
    EXPECT_EQ(std::string(text, 4), "text");
    EXPECT_LT(file.read(12, text, 4), 0);
    EXPECT_EQ(countOfNames(folder.path()), 1U);
  }
  EXPECT_EQ(countOfNames(folder.path()), 0U);
}

TEST(WindowsFiles, AreMadeBelowAnOpenDirectory) {
  const ScratchDirectory folder;
  DirectoryHandle top, sub;
  ASSERT_TRUE(top.openPath(folder.path() + "\\a/b", true));
  bool made = false;
  ASSERT_TRUE(sub.enter(top, "sub", 0777, &made));
  EXPECT_TRUE(made);
  ASSERT_TRUE(sub.enter(top, "sub", 0777, &made));
  EXPECT_FALSE(made);
  EXPECT_FALSE(sub.enter(top, "none", 0777, nullptr));
  EXPECT_EQ(lastError(), 2U);
  const auto write = [&](const std::string& name, const std::string& text, bool replace) {
    NewFile file;
    return file.create(sub, 0644) && file.write(text.data(), text.size()) &&
           file.setTime(1'000'000'000) && file.place(name, replace);
  };
  EXPECT_TRUE(write("f", "one", false));
  EXPECT_FALSE(write("f", "two", false));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(folder.read("a/b/sub/f"), "one");
  EXPECT_TRUE(write("f", "two", true));
  EXPECT_EQ(folder.read("a/b/sub/f"), "two");
  EXPECT_EQ(GFile(folder / "a/b/sub/f").getModTime(), 1'000'000'000);
  EXPECT_EQ(sub.kindOf("f"), NameKind::file);
  EXPECT_EQ(top.kindOf("sub"), NameKind::directory);
  EXPECT_EQ(top.kindOf("none"), NameKind::nothing);
  for (const char* name : {"a:b", "a\\b", "a/b"}) EXPECT_FALSE(write(name, "", true)) << name;
  EXPECT_FALSE(sub.enter(sub, "f", 0777, &made)) << "a file";
  {
    NewFile file;
    EXPECT_TRUE(file.create(sub, 0644));
  }
  EXPECT_EQ(countOfNames(folder / "a/b/sub"), 1U) << "what is not placed is gone";
  EXPECT_TRUE(sub.setTime(1'000'000'000));
  EXPECT_FALSE(DirectoryHandle().openPath(folder / "a/b/sub/f", false)) << "a file";
}

TEST(WindowsFiles, AnOpenDirectoryStaysWhereItIs) {
  const ScratchDirectory folder;
  DirectoryHandle top;
  ASSERT_TRUE(top.openPath(folder / "a", true));
  EXPECT_FALSE(rename(folder / "a", folder / "b"));
}

TEST(WindowsFiles, TextStreamsHaveTheSystemsLineEnds) {
  const ScratchDirectory folder;
  GFile file(folder / "f");
  {
    const std::unique_ptr<std::ostream> out(file.getOutStream(false));
    *out << "a\nb\n";
  }
  EXPECT_EQ(folder.read("f"), "a\r\nb\r\n");
  const std::unique_ptr<std::istream> in(file.getInStream(false));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*in), {}), "a\nb\n");
  const std::unique_ptr<std::istream> bytes(file.getInStream(true));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*bytes), {}), "a\r\nb\r\n");
}

TEST(WindowsFiles, StreamsDenyOthersWhatTheirFlagsSay) {
  const ScratchDirectory folder;
  const std::string path = folder.write("f", "a\r\nb");
  const struct {
    int flags;
    bool readable, writable, removable;
  } rows[] = {{0, true, true, true},
              {GFile::denyRead, false, true, true},
              {GFile::denyWrite, true, false, true},
              {GFile::denyDelete, true, true, false},
              {GFile::denyRead | GFile::denyWrite | GFile::denyDelete, false, false, false}};
  for (const auto& row : rows) {
    GFile file(path, row.flags);
    const std::unique_ptr<std::istream> in(file.getInStream(false));
    ASSERT_NE(in, nullptr) << row.flags;
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*in), {}), "a\nb") << row.flags;
    const auto opens = [&path](DWORD access) {
      constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
      const HANDLE other =
          ::CreateFileA(path.c_str(), access, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
      return other != INVALID_HANDLE_VALUE && ::CloseHandle(other) != 0;
    };
    EXPECT_EQ(opens(GENERIC_READ), row.readable) << row.flags;
    EXPECT_EQ(opens(GENERIC_WRITE), row.writable) << row.flags;
    EXPECT_EQ(opens(DELETE), row.removable) << row.flags;
  }
  EXPECT_TRUE(GFile(path).remove()) << "all streams are closed";
  EXPECT_EQ(GFile(path, 0).getInStream(true), nullptr);
}

TEST(WindowsFiles, CodePagesHaveNamesOfManyKinds) {
  for (const char* name : {"CP1252", "windows-1252", "cp437", "IBM850", "ISO-8859-1", "utf-8"}) {
    HulTextCodec* codec = nullptr;
    EXPECT_EQ(hulOpenTextCodec(name, "UTF-8", &codec), 0) << name;
    hulCloseTextCodec(codec);
  }
  HulTextCodec* codec = nullptr;
  for (const char* name : {"", "CP", "CP1200", "UTF-16", "no-such-set", "CP99999", "ISO-8859-x"})
    EXPECT_LT(hulOpenTextCodec(name, "UTF-8", &codec), 0) << name;
}

}  // namespace
}  // namespace loomkit::platform
