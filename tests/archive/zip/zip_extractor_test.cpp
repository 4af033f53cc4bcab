// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_extractor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "loomkit/archive/zip/zip_name.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

struct PathCase {
  std::string name;
  const char* path;  // null: refused
};

TEST(ZipMemberPath, StaysBelowItsDirectory) {
  for (const PathCase& c : {PathCase{"a", "a"},
                            PathCase{"a/b", "a/b"},
                            PathCase{"a//b/", "a/b"},
                            PathCase{"./a/./b", "a/b"},
                            PathCase{"a\\b", "a/b"},
                            PathCase{"..a/.b", "..a/.b"},
                            PathCase{"a.b", "a.b"},
                            PathCase{"", nullptr},
                            PathCase{"/a", nullptr},
                            PathCase{"\\a", nullptr},
                            PathCase{"..", nullptr},
                            PathCase{"../a", nullptr},
                            PathCase{"a/../b", nullptr},
                            PathCase{"a/..", nullptr},
                            PathCase{"a\\..\\b", nullptr},
                            PathCase{"C:", nullptr},
                            PathCase{"c:/a", nullptr},
                            PathCase{"C:\\a", nullptr},
                            PathCase{"./", nullptr},
                            PathCase{".", nullptr},
                            PathCase{std::string("a\0b", 3), nullptr},
                            PathCase{"//host/share", nullptr}}) {
    std::string path;
    EXPECT_EQ(zip::memberPath(c.name, &path), c.path != nullptr) << c.name;
    if (c.path != nullptr) {
      EXPECT_EQ(path, c.path);
    }
  }
}

TEST(ZipMemberPath, IsANameOnEverySystem) {
  for (const char* name :
       {"con",        "CON",      "a/Con/b", "prn",  "aux",         "aux.c",     "nul",
        "NUL.tar.gz", "nul .txt", "com1",    "COM0", "lpt9.x",      "com\u00b9", "LPT\u00b3.a",
        "conin$",     "CONOUT$",  "a:b",     "a:",   "x/a:b:$DATA", "a.",        "a ",
        "a. .",       "...",      "a./b",    "a /b", "b.."}) {
    std::string path;
    EXPECT_FALSE(zip::memberPath(name, &path)) << name;
  }
  for (const char* name :
       {"conx", "con1", "xcon", "a.con", "com", "com10", "lpt", "lptx", "auxiliary.c", "nul_",
        "com\u00b4", " a", ".con", "conin", "a b", "a.b c"}) {
    std::string path;
    EXPECT_TRUE(zip::memberPath(name, &path)) << name;
    EXPECT_EQ(path, name);
  }
}

class Extractor : public ::testing::Test {
 protected:
  // Opens an archive in which every "@" of the names has become the text.
  void open(const std::vector<ZipMember>& members) { openBytes(zipOf(members)); }
  void openBytes(const std::string& bytes) {
    ASSERT_TRUE(reader.open(scratch.write("a.zip", bytes)));
  }
  Texts files() {
    Texts found;
    const fs::path root = scratch / "out";
    if (!fs::exists(root)) return found;
    for (const auto& file : fs::recursive_directory_iterator(root)) {
      found.push_back(fs::relative(file.path(), root).generic_string() +
                      (file.is_directory() ? "/" : ""));
    }
    std::sort(found.begin(), found.end());
    return found;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  GZipReader reader;
};

TEST_F(Extractor, ExtractsEverything) {
  open({{"a/b/c", "deep"}, {"a/d", std::string(100000, 'x'), true}, {"e", ""}});
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
  EXPECT_EQ(files(), (Texts{"a/", "a/b/", "a/b/c", "a/d", "e"}));
  EXPECT_EQ(scratch.read("out/a/b/c"), "deep");
  EXPECT_EQ(scratch.read("out/a/d"), std::string(100000, 'x'));
  EXPECT_EQ(extractor.getFileCount(), 3U);
  EXPECT_EQ(extractor.getByteCount(), 100004U);
  EXPECT_EQ(output.texts(), Texts{});
}

TEST_F(Extractor, KeepsTheTimeOfAMember) {
  open({{"a", "text"}});
  GZipExtractor extractor(&reader, scratch / "out");
  ASSERT_EQ(extractor.extractAll(), GZipExtractor::Done);
  struct stat status {};
  ASSERT_EQ(::stat((scratch / "out/a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mtime, reader.getEntry("a")->getModTime());
}

// The writer refuses such names, so that they are forged into its archives.
std::string renamed(std::string zip, const std::string& from, const std::string& to) {
  for (std::size_t i = zip.find(from); i != std::string::npos; i = zip.find(from, i + 1)) {
    zip.replace(i, from.size(), to);
  }
  return zip;
}

TEST_F(Extractor, NeverLeavesItsDirectory) {
  std::string bytes = zipOf({{"xx_up", "1"}, {"_root", "2"}, {"y_back", "3"}, {"good", "4"}});
  bytes = renamed(renamed(renamed(bytes, "xx_up", "../up"), "_root", "/root"), "y_back", "..\\bak");
  openBytes(bytes);
  ASSERT_EQ(reader.getEntryCount(), 4U);
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Refused);
  EXPECT_EQ(files(), Texts{"good"}) << "the others are extracted all the same";
  EXPECT_FALSE(fs::exists(scratch / "up") || fs::exists(scratch / "bak"));
  EXPECT_EQ(output.texts(), (Texts{scratch / "a.zip" + ": not a name for a file: ../up",
                                   scratch / "a.zip" + ": not a name for a file: ..\\bak",
                                   scratch / "a.zip" + ": not a name for a file: /root"}));
}

TEST_F(Extractor, FollowsNoLink) {
  fs::create_directories(scratch / "out");
  fs::create_directories(scratch / "elsewhere");
  scratch.write("victim", "old");
  fs::create_directory_symlink(scratch / "elsewhere", scratch / "out/dir");
  fs::create_symlink(scratch / "victim", scratch / "out/file");
  open({{"dir/a", "1"}, {"file", "2"}});
  GZipExtractor extractor(&reader, scratch / "out");
  extractor.setOverwrite(true);
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Refused);
  EXPECT_TRUE(fs::is_empty(scratch / "elsewhere"));
  EXPECT_EQ(scratch.read("victim"), "old");
}

TEST_F(Extractor, ReplacesFilesOnlyWhenTold) {
  fs::create_directories(scratch / "out");
  scratch.write("out/a", "old");
  open({{"a", "new"}});
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Exists);
  EXPECT_EQ(scratch.read("out/a"), "old");
  extractor.setOverwrite(true);
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
  EXPECT_EQ(scratch.read("out/a"), "new");
}

TEST_F(Extractor, ADamagedMemberLeavesNoFile) {
  std::string bytes = zipOf({{"bad", "data"}, {"good", "data"}});
  bytes[zip::local::size + 3] = 'D';
  openBytes(bytes);
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.test(reader.getEntry("bad")), GZipExtractor::Damaged);
  EXPECT_EQ(extractor.test(reader.getEntry("good")), GZipExtractor::Done);
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Damaged);
  EXPECT_EQ(files(), Texts{"good"});
}

TEST_F(Extractor, NoticesAWrongPasswordOfAStoredMember) {
  open({{"e", "secret", false, "right"}});
  reader.setPassword("wrong");
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Damaged);
  EXPECT_EQ(files(), Texts{});
  EXPECT_EQ(output.texts(), Texts{scratch / "a.zip" + ": e is damaged, or the password is wrong"});
  reader.setPassword("right");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
}

TEST_F(Extractor, KeepsToItsLimits) {
  open({{"a", std::string(65 << 20, 'a'), true}, {"b", "b"}});
  GZipExtractor::Limits limits;
  limits.ratio = 100;
  GZipExtractor ratio(&reader, scratch / "out");
  ratio.setLimits(limits);
  EXPECT_EQ(ratio.extractAll(), GZipExtractor::LimitExceeded);
  limits = {};
  limits.totalBytes = 1 << 20;
  GZipExtractor total(&reader, scratch / "out");
  total.setLimits(limits);
  EXPECT_EQ(total.extractAll(), GZipExtractor::LimitExceeded);
  limits = {};
  limits.entries = 1;
  GZipExtractor entries(&reader, scratch / "out");
  entries.setLimits(limits);
  EXPECT_EQ(entries.extractAll(), GZipExtractor::LimitExceeded);
  EXPECT_EQ(files(), Texts{});
  EXPECT_EQ(output.texts(),
            (Texts{scratch / "a.zip" + ": unable to write decompressed data (file a)",
                   scratch / "a.zip" + ": a is larger than is allowed",
                   scratch / "a.zip" + ": a is larger than is allowed",
                   scratch / "a.zip" + ": more than 1 entries"}));
}

TEST_F(Extractor, CountsTheRatioOnlyBeyond64MiBOfAllOutput) {
  open({{"a", std::string(20 << 20, 'a'), true}, {"b", std::string(40 << 20, 'b'), true}});
  GZipExtractor small(&reader, scratch / "out");
  EXPECT_EQ(small.extractAll(), GZipExtractor::Done);
  reader.close();
  open({{"a", std::string(33 << 20, 'a'), true}, {"b", std::string(33 << 20, 'b'), true}});
  GZipExtractor::Limits limits;
  limits.ratio = 500;
  GZipExtractor large(&reader, scratch / "out");
  large.setOverwrite(true);
  large.setLimits(limits);
  EXPECT_EQ(large.extractAll(), GZipExtractor::LimitExceeded);
  EXPECT_EQ(large.testAll(), GZipExtractor::LimitExceeded);
}

TEST_F(Extractor, ARatioOfZeroAllowsAny) {
  open({{"a", std::string(65 << 20, 'a'), true}});
  GZipExtractor::Limits limits;
  limits.ratio = 0;
  GZipExtractor extractor(&reader, scratch / "out");
  extractor.setLimits(limits);
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
}

std::vector<int> progress;

TEST_F(Extractor, TellsItsProgressAndCanBeCancelled) {
  open({{"a", std::string(50000, 'a')}, {"b", std::string(50000, 'b')}});
  progress.clear();
  void (*before)(int) = gProgressCB;
  gProgressCB = [](int percent) { progress.push_back(percent); };
  EXPECT_EQ(GZipExtractor(&reader, scratch / "out").extractAll(), GZipExtractor::Done);
  gProgressCB = before;
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(progress.back(), 100);
  fs::remove_all(scratch / "out");
  int asked = 0;
  GZipExtractor part(&reader, scratch / "out");
  part.setCancel([&asked] { return ++asked > 10; });
  EXPECT_EQ(part.extractAll(), GZipExtractor::Cancelled);
  EXPECT_EQ(files(), Texts{"a"}) << "and no half of b";
}

TEST_F(Extractor, NoDirectoryIsTheCurrentOne) {
  open({{"a", "1"}});
  const fs::path before = fs::current_path();
  fs::current_path(scratch.path());
  GZipExtractor extractor(&reader, "");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
  fs::current_path(before);
  EXPECT_EQ(scratch.read("a"), "1");
}

TEST_F(Extractor, SaysWhereItCannotWrite) {
  scratch.write("file", "in the way");
  open({{"a", "1"}});
  GZipExtractor extractor(&reader, scratch / "file");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::CannotWrite);
  EXPECT_EQ(output.texts(), Texts{scratch / "a.zip" + ": can't make directory " + scratch / "file" +
                                  " (Not a directory)"});
}

TEST_F(Extractor, KnowsDirectoriesByTheirNamesToo) {
  // A member "d/" without the attribute of a directory.
  open({{"d/", ""}});
  GZipExtractor extractor(&reader, scratch / "out");
  EXPECT_EQ(extractor.extractAll(), GZipExtractor::Done);
  EXPECT_EQ(files(), Texts{"d/"});
}

}  // namespace
}  // namespace loomkit::testing
