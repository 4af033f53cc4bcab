// SPDX-License-Identifier: MIT
// Paths that are longer than the system's calls take without more ado.
#include <gtest/gtest.h>
#include <windows.h>

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/platform/files.h"
#include "loomkit/platform/hul.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/random_access.h"
#include "loomkit/platform/scratch_file.h"
#include "loomkit/platform/win32/system_path.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "tests/scratch_directory.h"

namespace loomkit::platform {
namespace {

using loomkit::testing::ScratchDirectory;

std::string systemPath(const std::string& path) { return narrowText(SystemPath(path).c_str()); }

TEST(LongPaths, HaveThePrefixBehindWhichTheSystemTakesThem) {
  const std::string name(100, 'n'), longPart = "\\" + name + "\\" + name + "\\" + name;
  const std::string slashes = "/" + name + "/" + name + "/" + name;
  const struct {
    std::string path, given;
  } rows[] = {
      {"C:" + longPart, "\\\\?\\C:" + longPart},
      {"c:" + slashes, "\\\\?\\c:" + longPart},
      {"C:\\a\\.\\b\\.." + longPart + "\\", "\\\\?\\C:\\a" + longPart + "\\"},
      {"C:" + longPart + "\\*", "\\\\?\\C:" + longPart + "\\*"},
      {"C:" + longPart + "\\x. .", "\\\\?\\C:" + longPart + "\\x"},
      {"C:" + longPart + "\\..\\..\\..\\short", "C:" + longPart + "\\..\\..\\..\\short"},
      {"//server/share" + slashes, "\\\\?\\UNC\\server\\share" + longPart},
      {"\\\\?\\C:" + longPart, "\\\\?\\C:" + longPart},
      {"\\\\.\\pipe" + longPart, "\\\\.\\pipe" + longPart},
  };
  for (const auto& row : rows) EXPECT_EQ(systemPath(row.path), row.given) << row.path;
}

TEST(LongPaths, OthersStayAsTheyAre) {
  for (const char* path : {"", "a", "a/b", "..\\x", "C:\\a\\..\\b", "nul", "//server/share/x", "*"})
    EXPECT_EQ(systemPath(path), path);
}

TEST(LongPaths, AShortPathBelowALongDirectoryIsALongOne) {
  const ScratchDirectory scratch;
  const std::string directory = scratch / std::string(200, 'd');
  const std::string before = GDirectory::getcwd();
  ASSERT_TRUE(makeDirectory(directory) && GDirectory::chdir(directory, false));
  const std::string name(100, 'n');
  const std::string given = systemPath(name);
  EXPECT_EQ(given.substr(0, 4), "\\\\?\\");
  EXPECT_EQ(given.substr(given.size() - 302), "\\" + std::string(200, 'd') + "\\" + name);
  EXPECT_TRUE(makeDirectory(name));
  EXPECT_TRUE(isDirectory(directory + "/" + name));
  EXPECT_TRUE(removeDirectory(name));
  EXPECT_TRUE(GDirectory::chdir(before, false));
  EXPECT_TRUE(removeDirectory(directory));
}

// A directory that lies more than 300 characters deep, and goes with the object.
class DeepDirectory : public ::testing::Test {
 protected:
  DeepDirectory() {
    while (deep.size() < 320) {
      deep += "/a-directory-of-a-tree-that-is-deep";
      EXPECT_TRUE(makeDirectory(deep)) << deep.size();
      levels.push_back(deep);
    }
  }
  ~DeepDirectory() override {
    for (auto level = levels.rbegin(); level != levels.rend(); ++level)
      EXPECT_TRUE(GDirectory(*level).remove(true, false)) << level->size();
  }

  [[nodiscard]] std::string operator/(const std::string& name) const { return deep + "/" + name; }
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
    const std::unique_ptr<std::ostream> out(GFile(*this / name).getOutStream(true));
    if (out != nullptr) *out << text;
    return *this / name;
  }
  [[nodiscard]] std::string read(const std::string& name, int sharing = GFile::denyDelete) const {
    GFile file(*this / name, sharing);
    const std::unique_ptr<std::istream> in(file.getInStream(true));
    if (in == nullptr) return "(none)";
    return {std::istreambuf_iterator<char>(*in), {}};
  }
  [[nodiscard]] std::vector<std::string> names() const {
    GDirectory directory(deep);
    std::vector<std::string> found;
    for (const char* name = directory.first(true); name != nullptr; name = directory.next(true))
      found.emplace_back(name);
    return found;
  }

  const ScratchDirectory scratch;
  std::string deep = scratch.path();
  std::vector<std::string> levels;
};

using Names = std::vector<std::string>;

TEST_F(DeepDirectory, HasFilesThatAreWrittenReadListedRenamedAndRemoved) {
  const std::string path = write("f", "text");
  EXPECT_EQ(read("f"), "text");
  EXPECT_EQ(read("f", 0), "text");
  EXPECT_EQ(names(), Names{"f"});
  GFile file(path);
  EXPECT_TRUE(file.exists() && file.isReadable() && file.isWritable());
  EXPECT_FALSE(isDirectory(path));
  EXPECT_TRUE(isDirectory(deep));
  EXPECT_FALSE(isLink(path));
  setModificationTime(path, 1'000'000'000);
  EXPECT_EQ(file.getModTime(), 1'000'000'000);
  EXPECT_TRUE(file.rename(*this / "g"));
  EXPECT_EQ(names(), Names{"g"});
  EXPECT_TRUE(GFile(*this / "g").remove());
  EXPECT_EQ(names(), Names{});
  EXPECT_FALSE(examine(path));
  EXPECT_EQ(lastError(), 2U);
}

TEST_F(DeepDirectory, HasRealPathsWithoutThePrefix) {
  const std::string path = write("f", "");
  const std::string real = GFile(deep + "/./x/../F").getRealPath();
  ASSERT_GT(real.size(), 300U);
  EXPECT_EQ(real.substr(real.size() - 300), path.substr(path.size() - 300));
  EXPECT_EQ(real[1], ':');
}

TEST_F(DeepDirectory, HasFilesOfEveryOtherKind) {
  int handle = -1;
  ASSERT_TRUE(openRandomAccess(*this / "r", OpenMode::createNew, ShareMode::none, &handle));
  EXPECT_TRUE(writeAt(handle, 0, "random", 6) && closeFile(handle));
  EXPECT_EQ(read("r"), "random");
  ASSERT_EQ(hulOpenFile((*this / "h").c_str(), hulCreateForWriting, &handle), 0);
  EXPECT_EQ(hulClose(handle), 0);
  ScratchFile temporary;
  EXPECT_EQ(temporary.create(*this / "neighbour"), 0);
  EXPECT_EQ(names().size(), 3U);
}

TEST_F(DeepDirectory, HasFilesThatTakeAnothersPlace) {
  const std::string path = write("f", "old");
  for (const char* text : {"new", "newer"}) {
    GAtomicFile file(path);
    ASSERT_TRUE(file.isOpen()) << file.getErrMsg();
    file.out() << text;
    EXPECT_TRUE(file.commit()) << file.getErrMsg();
    EXPECT_EQ(read("f"), text);
  }
  {
    GAtomicFile unfinished(path);
    unfinished.out() << "text" << std::flush;
  }
  GAtomicFile other(*this / "g");
  other.out() << "text" << std::flush;
  GAtomicFile::discardAll();
  other.discard();
  EXPECT_EQ(names(), Names{"f"});
}

TEST_F(DeepDirectory, IsWhereAnArchiveIsMadeAndExtracted) {
  GZipWriter writer;
  ASSERT_TRUE(writer.open(*this / "a.zip"));
  for (const char* name : {"one", "sub/two"}) EXPECT_TRUE(writer.writeEntry(name, name, 3));
  ASSERT_TRUE(writer.close());
  GZipReader reader;
  ASSERT_TRUE(reader.open(*this / "a.zip"));
  {
    GZipExtractor extractor(&reader, *this / "out");
    EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
  }
  EXPECT_EQ(read("out/one"), "one");
  EXPECT_EQ(read("out/sub/two"), "sub");
  reader.close();
  for (const char* directory : {"out/sub", "out"})
    EXPECT_TRUE(GDirectory(*this / directory).remove(true, false)) << directory;
}

}  // namespace
}  // namespace loomkit::platform
