// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_extractor.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>

#include "tests/archive/ar_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class ArExtractor : public ::testing::Test {
 protected:
  GArExtractor::Result extract(const std::string& members, bool overwrite = false) {
    EXPECT_TRUE(reader.open(scratch.write("x.a", arArchive(members))));
    GArExtractor extractor(&reader, scratch / "out");
    extractor.setOverwrite(overwrite);
    return extractor.extractAll();
  }
  [[nodiscard]] struct stat statusOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::stat((scratch / name).c_str(), &status), 0) << name;
    return status;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  GArMemberReader reader;
};

TEST_F(ArExtractor, KeepsTimesAndRights) {
  std::string owned = arHeader("private", "2");
  owned.replace(40, 8, "100600  ");
  std::string program = arHeader("program", "2");
  program.replace(40, 8, "104711  ");
  EXPECT_EQ(extract(owned + "ab" + program + "ab"), GArExtractor::Done);
  EXPECT_EQ(statusOf("out/private").st_mode & 07777, 0600U);
  EXPECT_EQ(statusOf("out/private").st_mtime, 1700000000);
  const auto mask = static_cast<mode_t>(::umask(0));
  ::umask(mask);
  EXPECT_EQ(statusOf("out/program").st_mode & 07777, 0711U & ~mask) << "and no set-user-ID";
}

TEST_F(ArExtractor, AnArchiveWithoutRightsLeavesThoseOfTheFileThatItReplaces) {
  std::string blank = arHeader("a", "2");
  blank.replace(16, 32, std::string(32, ' '));
  fs::create_directory(scratch / "out");
  scratch.write("out/a", "old");
  fs::permissions(scratch / "out/a", fs::perms(0600));
  EXPECT_EQ(extract(blank + "ab"), GArExtractor::Exists);
  EXPECT_EQ(scratch.read("out/a"), "old");
  EXPECT_EQ(extract(blank + "ab", true), GArExtractor::Done);
  EXPECT_EQ(scratch.read("out/a"), "ab");
  EXPECT_EQ(statusOf("out/a").st_mode & 07777, 0600U);
}

TEST_F(ArExtractor, NeverWritesThroughALink) {
  fs::create_directory(scratch / "out");
  scratch.write("victim", "old");
  fs::create_symlink("../victim", scratch / "out/a");
  fs::create_symlink("../nothing", scratch / "out/b");
  fs::create_directory(scratch / "out/c");
  EXPECT_EQ(extract(arMember("a", "new") + arMember("b", "new") + arMember("c", "new"), true),
            GArExtractor::Refused);
  EXPECT_EQ(scratch.read("victim"), "old");
  EXPECT_FALSE(fs::exists(scratch / "nothing"));
  const std::string path = scratch / "x.a: " + scratch / "out/";
  EXPECT_EQ(output.texts(), (Texts{path + "a leads through a link", path + "b leads through a link",
                                   path + "c is a directory"}));
}

TEST_F(ArExtractor, RefusesNamesThatAreNoneOfAFile) {
  EXPECT_EQ(extract(arLongMember("../out", "1") + arLongMember("/tmp/out", "2") +
                    arLongMember("a\\b", "3") + arMember("..", "4") + arMember(".", "5") +
                    arMember("", "6") + arLongMember(std::string("n\0l", 3), "7") +
                    arMember("good", "8")),
            GArExtractor::Refused);
  EXPECT_EQ(output.lines.size(), 7U);
  EXPECT_EQ(scratch.read("out/good"), "8");
  EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "out"), fs::directory_iterator()), 1);
}

TEST_F(ArExtractor, RefusesNamesThatAreNoneOnSomeSystem) {
  const char* const names[] = {"con", "NUL.o", "aux.c", "com1", "lpt9.x", "a:b", "C:", "a.", "a "};
  std::string members;
  for (const char* const name : names) members += arLongMember(name, "1");
  EXPECT_EQ(extract(members + arMember("con1", "2")), GArExtractor::Refused);
  EXPECT_EQ(output.lines.size(), std::size(names));
  EXPECT_EQ(scratch.read("out/con1"), "2");
  EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "out"), fs::directory_iterator()), 1);
}

TEST_F(ArExtractor, OfOneNameTheLastIsWrittenAndThatIsSaid) {
  EXPECT_EQ(extract(arMember("a", "1") + arMember("b", "2") + arMember("a", "3")),
            GArExtractor::Done);
  EXPECT_EQ(scratch.read("out/a"), "3");
  EXPECT_EQ(output.texts(), Texts{scratch / "x.a: a is there 2 times; the last one is taken"});
  const GArMember* first = reader.find("a", 1);
  GArExtractor extractor(&reader, scratch / "other");
  extractor.setSync(true);
  EXPECT_EQ(extractor.extract({first}), GArExtractor::Done);
  EXPECT_EQ(scratch.read("other/a"), "1");
}

TEST_F(ArExtractor, AMemberThatIsCutLeavesNoFile) {
  EXPECT_EQ(extract(arMember("a", "1") + arHeader("b", "9") + "1234"), GArExtractor::Damaged);
  EXPECT_TRUE(fs::exists(scratch / "out/a"));
  EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "out"), fs::directory_iterator()), 1);
}

TEST_F(ArExtractor, SaysWhyADirectoryCannotBeMade) {
  scratch.write("out", "a file");
  EXPECT_EQ(extract(arMember("a", "1")), GArExtractor::CannotWrite);
  EXPECT_EQ(output.texts(),
            Texts{scratch / "x.a: can't make directory " + scratch / "out" + " (Not a directory)"});
}

}  // namespace
}  // namespace loomkit::testing
