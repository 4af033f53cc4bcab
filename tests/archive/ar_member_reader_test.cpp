// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_member_reader.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "loomkit/platform/hul.h"
#include "tests/archive/ar_builder.h"
#include "tests/capture_output.h"
#include "tests/fuzz/fuzz_file.h"
#include "tests/scratch_directory.h"
#include "tests/witness.h"

namespace loomkit::testing {
namespace {

using Texts = std::vector<std::string>;

class ArMemberReader : public ::testing::Test {
 protected:
  bool open(const std::string& bytes) { return reader.open(scratch.write("x.a", bytes)); }

  bool openInMemory(const std::string& bytes) {
    return reader.open(
        memoryFile(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
  }

  // What gOutput was told, without the path that stands in front of each line.
  [[nodiscard]] Texts told() const {
    Texts texts = output.texts();
    const std::string path = scratch / "x.a: ";
    for (std::string& text : texts) {
      EXPECT_TRUE(text.starts_with(path)) << text;
      text.erase(0, path.size());
    }
    return texts;
  }

  // "NAME=DATA" of each member.
  [[nodiscard]] Texts content() {
    Texts texts;
    for (const GArMember& member : reader.getMembers()) {
      std::string text = std::string(member.name) + "=";
      EXPECT_TRUE(reader.read(member, [&](const char* data, std::size_t size) {
        text.append(data, size);
        return true;
      })) << reader.getErrMsg();
      texts.push_back(text);
    }
    return texts;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  GArMemberReader reader;
};

TEST_F(ArMemberReader, KnowsTheNamesOfAllDialects) {
  const std::string nul("\0", 1);
  ASSERT_TRUE(open(arArchive(
      arMember("/", "symbols") + arMember("/", "more symbols") + arMember("/SYM64/", "wide") +
      arMember("/<HYBRIDMAP>/", "map") +
      arMember("//", "a name of System V/\na name of Windows" + nul + "bare\nwith / in it/\n") +
      arMember("/0", "1") + arMember("/20", "2") + arMember("/38", "3") + arMember("/43", "4") +
      arMember("short/", "5") + arMember("bsd", "6") + arMember("nul.obj/" + nul, "7") +
      arLongMember("a name of BSD" + nul + nul, "8") + arLongMember("slash/", "9"))));
  EXPECT_EQ(content(),
            (Texts{"a name of System V=1", "a name of Windows=2", "bare=3", "with / in it=4",
                   "short=5", "bsd=6", "nul.obj=7", "a name of BSD=8", "slash/=9"}));
  EXPECT_TRUE(reader.isWhole());
  EXPECT_EQ(told(), Texts());
}

TEST_F(ArMemberReader, PassesOverTheSymbolsOfBsdOnlyAtTheBeginning) {
  ASSERT_TRUE(open(arArchive(arLongMember("__.SYMDEF SORTED", "x") + arMember("a", "1"))));
  EXPECT_EQ(reader.getMembers().size(), 2U) << "a long name is a name like any other";
  ASSERT_TRUE(open(arArchive(arMember("__.SYMDEF", "x") + arMember("a", "1"))));
  EXPECT_EQ(content(), (Texts{"a=1"}));
  ASSERT_TRUE(open(arArchive(arMember("a", "1") + arMember("__.SYMDEF", "x"))));
  EXPECT_EQ(content(), (Texts{"a=1", "__.SYMDEF=x"}));
}

TEST_F(ArMemberReader, FindsEveryMemberOfAName) {
  ASSERT_TRUE(open(arArchive(arMember("b", "1") + arMember("a", "2") + arMember("b", "3") +
                             arMember("b", "4"))));
  const auto data = [&](const char* name, std::uint32_t number) {
    const GArMember* member = reader.find(name, number);
    if (member == nullptr) return std::string("none");
    std::string text;
    reader.read(*member, [&](const char* bytes, std::size_t size) {
      text.assign(bytes, size);
      return true;
    });
    return text + "/" + std::to_string(member->number);
  };
  EXPECT_EQ(data("b", 1), "1/1");
  EXPECT_EQ(data("b", 2), "3/2");
  EXPECT_EQ(data("b", 3), "4/3");
  EXPECT_EQ(data("b", 4), "none");
  EXPECT_EQ(data("b", 0), "none");
  EXPECT_EQ(data("a", 1), "2/1");
  EXPECT_EQ(data("a", 2), "none") << "not the b behind it";
  EXPECT_EQ(data("c", 1), "none");
}

TEST_F(ArMemberReader, TellsTimeAndModeWhereTheyStand) {
  std::string blank = arMember("b", "");
  blank.replace(16, 32, std::string(32, ' '));
  ASSERT_TRUE(open(arArchive(arMember("a", "") + blank)));
  EXPECT_EQ(reader.getMembers()[0].modTime, 1700000000);
  EXPECT_EQ(reader.getMembers()[0].mode, 0100644U);
  EXPECT_EQ(reader.getMembers()[1].modTime, 0);
  EXPECT_EQ(reader.getMembers()[1].mode, 0U);
}

struct Damage {
  const char* what;
  std::string members;
  std::string told;
  std::size_t left;  // members that are listed
};

TEST_F(ArMemberReader, TellsEveryDamage) {
  const std::string good = arMember("a", "12");
  for (const Damage& c : {
           Damage{"a header that is cut", good + "b",
                  "the archive ends within the header at byte 70", 1},
           Damage{"bytes that are no header", good + std::string(60, 'x'),
                  "there is no header at byte 70", 1},
           Damage{"no size", arHeader("b", "") + good, "the header at byte 8 states no size", 0},
           Damage{"a size with junk", arHeader("b", "1x") + "1",
                  "the header at byte 8 states no size", 0},
           Damage{"a size that is negative", arHeader("b", "-1") + "1",
                  "the header at byte 8 states no size", 0},
           Damage{"data that are cut", arHeader("b", "3") + "12", "the archive ends within b", 1},
           Damage{"a size beyond 4 GiB", good + arHeader("b", "9999999999") + "12",
                  "the archive ends within b", 2},
           Damage{"a name longer than its member", arMember("#1/10", "1234") + good,
                  "the name at byte 8 is too long", 1},
           Damage{"a name of 5,000 bytes", arLongMember(std::string(5000, 'n'), "1") + good,
                  "the name at byte 8 is too long", 1},
           Damage{"a name of no length", arMember("#1/", "1234") + good,
                  "the name at byte 8 has no length", 1},
           Damage{"a name that is cut", arHeader("#1/4", "6") + "12",
                  "the archive ends within the name at byte 8", 0},
           Damage{"a table that is cut", good + arHeader("//", "20") + "name/\n",
                  "the archive ends within the table at byte 130", 1},
           Damage{"symbols that are cut", arHeader("/", "20") + "abc",
                  "the archive ends within the table at byte 68", 0},
           Damage{"a name without an end", arMember("//", "a long name") + arMember("/2", "1"),
                  "the table of names has no whole name for /2", 1},
           Damage{"a name behind the table", arMember("//", "name/\n") + arMember("/6", "1"),
                  "the table of names has no whole name for /6", 1},
           Damage{"a table that is missing", arMember("/0", "1"),
                  "the table of names has no whole name for /0", 1},
       }) {
    output.lines.clear();
    EXPECT_TRUE(open(arArchive(c.members))) << c.what;
    EXPECT_FALSE(reader.isWhole()) << c.what;
    EXPECT_EQ(told(), Texts{c.told}) << c.what;
    EXPECT_EQ(reader.getMembers().size(), c.left) << c.what;
  }
}

TEST_F(ArMemberReader, ANameThatIsMissingLeavesItsMember) {
  ASSERT_TRUE(open(arArchive(arMember("/7", "data"))));
  EXPECT_EQ(content(), (Texts{"/7=data"}));
}

TEST_F(ArMemberReader, RefusesWhatIsNoArchive) {
  EXPECT_FALSE(open("!<arch>"));
  EXPECT_FALSE(open("no archive at all"));
  EXPECT_FALSE(open("!<thin>\n" + arMember("//", "a.o/\n")));
  EXPECT_FALSE(open(""));
  EXPECT_EQ(told(),
            (Texts{"file is not an ar file (wrong magic string)",
                   "file is not an ar file (wrong magic string)",
                   "a thin archive: it holds none of its members, which are files beside it",
                   "file is not an ar file (wrong magic string)"}));
  output.lines.clear();
  EXPECT_FALSE(reader.open(scratch / "none"));
  EXPECT_EQ(output.texts(),
            Texts{scratch / "none: can't open file (" + hulStrError(-ENOENT) + ")"});
  EXPECT_TRUE(reader.getMembers().empty());
}

TEST_F(ArMemberReader, ReadsWhatIsThereOfADamagedMember) {
  ASSERT_TRUE(open(arArchive(arHeader("b", "3") + "12")));
  std::string text;
  const auto take = [&](const char* data, std::size_t size) {
    text.append(data, size);
    return true;
  };
  EXPECT_FALSE(reader.read(reader.getMembers()[0], take));
  EXPECT_EQ(text, "12");
  EXPECT_EQ(reader.getErrMsg(), "b can't be read: the archive ends within it");
}

TEST_F(ArMemberReader, StopsWhenTheReceiverHasEnough) {
  ASSERT_TRUE(open(arArchive(arMember("b", std::string(1 << 20, 'x')))));
  int calls = 0;
  EXPECT_FALSE(reader.read(reader.getMembers()[0], [&](const char*, std::size_t) {
    ++calls;
    return false;
  }));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(reader.getErrMsg(), "b was not read to its end");
}

TEST_F(ArMemberReader, CloseForgetsTheMembers) {
  ASSERT_TRUE(open(arArchive(arMember("a", "1"))));
  reader.close();
  EXPECT_TRUE(reader.getMembers().empty());
  EXPECT_EQ(reader.getPath(), scratch / "x.a");
  EXPECT_EQ(reader.find("a"), nullptr);
}

// The names of an archive that was cut off or changed anywhere are there or told of.
TEST_F(ArMemberReader, EveryByteMayBeMissingOrWrong) {
  const std::string whole =
      arArchive(arMember("//", "first long name/\nsecond long name/\n") + arMember("/0", "odd") +
                arMember("/17", "even") + arLongMember("a name of BSD", "x") + arMember("a/", "1"));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    if (openInMemory(whole.substr(0, size)))
      static_cast<void>(reader.isWhole() && content().empty());
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', ' ', '9', '/', '\xff'}) {
      std::string bytes = whole;
      bytes[at] = byte;
      if (!openInMemory(bytes)) continue;
      for (const GArMember& member : reader.getMembers()) {
        std::uint64_t count = 0;
        const bool read = reader.read(member, [&](const char*, std::size_t size) {
          count += size;
          return true;
        });
        EXPECT_TRUE(count == member.size || (!read && !reader.isWhole())) << at;
        EXPECT_LE(count, whole.size()) << at;
      }
    }
  }
}

// Many members may name the same long text without taking its size each.
TEST_F(ArMemberReader, ManyMembersOfOneNameAreNumbered) {
  std::string members = arMember("//", std::string(4000, 'n') + "/\n");
  for (int i = 0; i < 20000; ++i) members += arMember("/0", "");
  ASSERT_TRUE(open(arArchive(members)));
  ASSERT_EQ(reader.getMembers().size(), 20000U);
  EXPECT_EQ(reader.getMembers()[0].name.data(), reader.getMembers()[19999].name.data());
  EXPECT_EQ(reader.find(std::string(4000, 'n'), 20000), &reader.getMembers()[19999]);
}

// Import libraries have several tables of symbols, and the same name for every member.
TEST_F(ArMemberReader, ReadsTheImportLibrariesOfOtherPrograms) {
  scratch.write("x.def", "LIBRARY a_rather_long_name.dll\nEXPORTS\none\ntwo\nthree\n");
  ASSERT_EQ(
      runShell("cd " + scratch.path() +
               " && llvm-dlltool -m i386:x86-64 -d x.def -l x.lib && llvm-ar t x.lib"),
      (Witnessed{0,
                 "a_rather_long_name.dll\na_rather_long_name.dll\na_rather_long_name.dll\n"
                 "a_rather_long_name.dll\na_rather_long_name.dll\na_rather_long_name.dll\n"}));
  ASSERT_TRUE(reader.open(scratch / "x.lib"));
  ASSERT_EQ(reader.getMembers().size(), 6U);
  for (std::uint32_t i = 0; i < 6; ++i) {
    EXPECT_EQ(reader.getMembers()[i].name, "a_rather_long_name.dll");
    EXPECT_EQ(reader.getMembers()[i].number, i + 1);
  }
  EXPECT_TRUE(reader.isWhole());
}

}  // namespace
}  // namespace loomkit::testing
