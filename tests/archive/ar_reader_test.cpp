// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_reader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "loomkit/streams/mem_stream.h"
#include "tests/archive/ar_builder.h"
#include "tests/capture_output.h"
#include "tests/format_page.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;

OutputLine errorLine(const std::string& text) { return {GOutputError, gDataSysName, text}; }
OutputLine warningLine(const std::string& text) { return {GOutputWarning, gDataSysName, text}; }

std::unique_ptr<std::istream> streamOf(const std::string& bytes) {
  return std::make_unique<std::istringstream>(bytes);
}

std::optional<std::string> textOf(GArReader& reader, const std::string& name) {
  std::ostringstream out;
  if (!reader.readEntry(name, &out)) return std::nullopt;
  return out.str();
}

std::optional<std::string> blockOf(GArReader& reader, const GArEntry* entry) {
  char* data = nullptr;
  unsigned int size = 0;
  if (!reader.readEntry(entry, &data, &size)) return std::nullopt;
  const std::string text(data, size);
  ::operator delete(data);
  return text;
}

std::vector<std::string> namesOf(const GArReader& reader) {
  std::vector<std::string> names;
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) names.push_back((*i).first);
  return names;
}

// A stream that keeps hold of a token for as long as it lives, for the rules
// of ownership.
class HoldingStream : public std::istringstream {
 public:
  HoldingStream(const std::string& bytes, std::shared_ptr<int> sharedToken)
      : std::istringstream(bytes), token(std::move(sharedToken)) {}

 private:
  std::shared_ptr<int> token;
};

// Serves the bytes but for one position, to which it cannot seek.
class UnseekableAt : public std::stringbuf {
 public:
  UnseekableAt(const std::string& bytes, std::streamoff badPosition)
      : std::stringbuf(bytes, std::ios::in), bad(badPosition) {}

 protected:
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
    if (position == pos_type(bad)) return pos_type(off_type(-1));
    return std::stringbuf::seekpos(position, which);
  }

 private:
  std::streamoff bad;
};

TEST(GArEntry, HoldsWhatItIsGiven) {
  const GArEntry entry("a", 68, 3);
  EXPECT_EQ(entry.getName(), "a");
  EXPECT_EQ(entry.getOffs(), 68UL);
  EXPECT_EQ(entry.getSize(), 3U);
}

TEST(GArReader, StartsClosed) {
  CaptureOutput output;
  GArReader reader;
  EXPECT_EQ(reader.getPath(), "<unknown>");
  EXPECT_EQ(reader.getEntryCount(), 0U);
  EXPECT_FALSE(reader.isError());
  EXPECT_TRUE(reader.close());
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GArReader, ReadsMembersByNameAndEntry) {
  CaptureOutput output;
  const std::string big(10000, 'x');
  const auto in = streamOf(arArchive(arMember("b", "odd") + arMember("a", "even") +
                                     arMember("empty", "") + arMember("big", big)));
  GArReader reader(in.get(), false);
  ASSERT_FALSE(reader.isError());
  EXPECT_EQ(reader.getEntryCount(), 4U);
  EXPECT_EQ(namesOf(reader), (std::vector<std::string>{"a", "b", "big", "empty"}));
  EXPECT_EQ(textOf(reader, "a"), "even");
  EXPECT_EQ(textOf(reader, "b"), "odd");
  EXPECT_EQ(textOf(reader, "empty"), "");
  EXPECT_EQ(textOf(reader, "big"), big);
  EXPECT_EQ(blockOf(reader, reader.getEntry("a")), "even");
  EXPECT_EQ(blockOf(reader, reader.getEntry("empty")), "");
  EXPECT_EQ(blockOf(reader, reader.getEntry("big")), big);
  EXPECT_EQ(reader.getEntry("B"), nullptr) << "names have a case";
  EXPECT_EQ(reader.getEntry("b")->getOffs(), 68UL);
  EXPECT_EQ(reader.getEntry("a")->getOffs(), 132UL) << "behind the pad byte";
  EXPECT_EQ(reader.getEntry("empty")->getOffs(), 196UL) << "no pad byte after four bytes";
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GArReader, ReadsTheExampleOfItsFormatPage) {
  CaptureOutput output;
  const auto in = streamOf(hexExampleOf("ar.md"));
  GArReader reader(in.get(), false);
  EXPECT_EQ(namesOf(reader), std::vector<std::string>{"a"});
  EXPECT_EQ(textOf(reader, "a"), "odd");
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GArReader, GivesABlockByName) {
  const auto in = streamOf(arArchive(arMember("a", "text")));
  GArReader reader(in.get(), false);
  char* data = nullptr;
  unsigned int size = 0;
  ASSERT_TRUE(reader.readEntry("a", &data, &size));
  EXPECT_EQ(std::string(data, size), "text");
  ::operator delete(data);
}

TEST(GArReader, AnArchiveOfTheMagicAloneIsEmpty) {
  CaptureOutput output;
  const auto in = streamOf(arArchive(""));
  GArReader reader(in.get(), false);
  EXPECT_FALSE(reader.isError());
  EXPECT_EQ(reader.getEntryCount(), 0U);
  EXPECT_TRUE(in->good());
  EXPECT_TRUE(reader.entriesBegin() == reader.entriesEnd());
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GArReader, IteratesBothWays) {
  const auto in = streamOf(arArchive(arMember("a", "") + arMember("b", "") + arMember("c", "")));
  const GArReader reader(in.get(), false);
  GArReader::EntryIterator i;
  i = reader.entriesBegin();
  EXPECT_EQ((*i++).first, "a");
  EXPECT_EQ((*i).second, reader.getEntry("b"));
  EXPECT_EQ((*++i).first, "c");
  EXPECT_EQ((*i--).first, "c");
  EXPECT_EQ(i->first, "b");
  EXPECT_EQ((*--i).first, "a");
  EXPECT_TRUE(i == reader.entriesBegin());
  EXPECT_TRUE(i != reader.entriesEnd());
}

struct NameCase {
  const char* field;
  const char* name;
};

class ArNames : public ::testing::TestWithParam<NameCase> {};

TEST_P(ArNames, AreTheFieldWithoutItsBlanks) {
  const auto in = streamOf(arArchive(arMember(GetParam().field, "d")));
  GArReader reader(in.get(), false);
  ASSERT_EQ(reader.getEntryCount(), 1U);
  EXPECT_EQ((*reader.entriesBegin()).first, GetParam().name);
  EXPECT_EQ((*reader.entriesBegin()).second->getName(), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(GArReader, ArNames,
                         ::testing::Values(NameCase{"a", "a"},                  //
                                           NameCase{"", ""},                    //
                                           NameCase{"libfoo.o/", "libfoo.o/"},  //
                                           NameCase{"/", "/"},                  //
                                           NameCase{"//", "//"},                //
                                           NameCase{"/123", "/123"},            //
                                           NameCase{" lead", " lead"},          //
                                           NameCase{"two words", "two words"},  //
                                           NameCase{"sixteen letters.", "sixteen letters."},
                                           NameCase{"#1", "#1"},  //
                                           NameCase{"#2/3", "#2/3"}));

TEST(GArReader, ALongNameStandsInFrontOfTheData) {
  const std::string name = "a name of 20 letters";
  const auto in = streamOf(
      arArchive(arHeader("#1/20", "120") + name + std::string(100, 'd') + arMember("next", "n")));
  GArReader reader(in.get(), false);
  const GArEntry* entry = reader.getEntry(name);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->getSize(), 100U);
  EXPECT_EQ(entry->getOffs(), 88UL);
  EXPECT_EQ(textOf(reader, name), std::string(100, 'd'));
  EXPECT_EQ(textOf(reader, "next"), "n");
}

TEST(GArReader, ALongNameKeepsItsZeroBytes) {
  const std::string name("zeros\0\0\0", 8);
  const auto in = streamOf(arArchive(arLongMember(name, "data")));
  GArReader reader(in.get(), false);
  EXPECT_EQ(reader.getEntry("zeros"), nullptr);
  EXPECT_EQ(textOf(reader, name), "data");
}

TEST(GArReader, ALongNameMayBeLongerThanAnyBuffer) {
  for (const std::size_t size : {0U, 1U, 127U, 128U, 129U, 4095U, 4096U, 4097U, 70000U}) {
    const std::string name(size, 'n');
    const auto in = streamOf(arArchive(arLongMember(name, "data")));
    GArReader reader(in.get(), false);
    EXPECT_EQ(textOf(reader, name), "data") << size;
  }
}

struct SizeCase {
  const char* field;
  unsigned int size;
};

class ArSizes : public ::testing::TestWithParam<SizeCase> {};

TEST_P(ArSizes, AreDigitsUpToTheFirstOtherByte) {
  CaptureOutput output;
  ScratchDirectory scratch;
  GArReader reader;
  ASSERT_TRUE(reader.open(
      scratch.write("a.ar", arArchive(arHeader("a", GetParam().field) + "0123456789abcdef"))));
  EXPECT_EQ(reader.getEntry("a")->getSize(), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(GArReader, ArSizes,
                         ::testing::Values(SizeCase{"16", 16},    //
                                           SizeCase{"16x", 16},   //
                                           SizeCase{"0016", 16},  //
                                           SizeCase{"9999999999", 1410065407},
                                           SizeCase{"4294967295", 4294967295U},
                                           SizeCase{"4294967312", 16}));  // wraps around

// What does not begin with a digit is 0, so that the next header is expected at
// once.
TEST(GArReader, ASizeWithoutDigitsIsZero) {
  for (const char* field : {"", "-5", " 16", "x", "\xb2", "+1"}) {
    const auto in = streamOf(arArchive(arHeader("a", field) + arMember("b", "text")));
    GArReader reader(in.get(), false);
    EXPECT_FALSE(reader.isError()) << field;
    EXPECT_EQ(reader.getEntry("a")->getSize(), 0U) << field;
    EXPECT_EQ(textOf(reader, "b"), "text") << field;
  }
}

TEST(GArReader, TheFirstOfTwoMembersWithANameStays) {
  CaptureOutput output;
  const auto in = streamOf(arArchive(arMember("a", "one") + arMember("a", "two")));
  GArReader reader(in.get(), false);
  reader.setPath("x.ar");
  EXPECT_FALSE(reader.isError());
  EXPECT_EQ(reader.getEntryCount(), 1U);
  EXPECT_EQ(textOf(reader, "a"), "one");
  EXPECT_EQ(output.lines, Lines{warningLine("duplicate ar file entry: a")});
}

struct BadArchive {
  const char* what;
  std::string bytes;
  const char* text;
};

class BadArchives : public ::testing::TestWithParam<BadArchive> {};

TEST_P(BadArchives, AreRefusedWithOneMessage) {
  CaptureOutput output;
  const auto in = streamOf(GetParam().bytes);
  const GArReader reader(in.get(), false);
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(output.lines, Lines{errorLine(std::string("<unknown>: ") + GetParam().text)});
}

INSTANTIATE_TEST_SUITE_P(
    GArReader, BadArchives,
    ::testing::Values(
        BadArchive{"empty", "", "can't read magic string of ar file"},
        BadArchive{"seven bytes", "!<arch>", "can't read magic string of ar file"},
        BadArchive{"thin", "!<thin>\n", "file is not an ar file (wrong magic string)"},
        BadArchive{"half a header", arArchive(arMember("a", "").substr(0, 30)),
                   "unexpected end of file reading header of ar file entry"},
        BadArchive{"one byte", arArchive("a"),
                   "unexpected end of file reading header of ar file entry"},
        BadArchive{"59 bytes", arArchive(arMember("a", "").substr(0, 59)),
                   "unexpected end of file reading header of ar file entry"},
        BadArchive{"first trailer byte", arArchive(arMember("a", "").replace(58, 1, "'")),
                   "invalid trailer in header of ar file entry"},
        BadArchive{"second trailer byte", arArchive(arMember("a", "").replace(59, 1, "\r")),
                   "invalid trailer in header of ar file entry"},
        BadArchive{"no pad byte", arArchive(arHeader("a", "3") + "abc" + arMember("b", "data")),
                   "invalid trailer in header of ar file entry"},
        BadArchive{"long name cut off", arArchive(arHeader("#1/20", "30") + "ten bytes."),
                   "unexpected end of file reading ar file entry name"},
        BadArchive{"endless long name", arArchive(arHeader("#1/4294967295", "30") + "name"),
                   "unexpected end of file reading ar file entry name"},
        // A stream that cannot be placed behind its end, other than a file.
        BadArchive{"size beyond the end", arArchive(arHeader("a", "100") + "data"),
                   "error seeking to next entry in ar file"}),
    [](const auto& test) {
      std::string name = test.param.what;
      for (char& c : name) {
        if (c == ' ') c = '_';
      }
      return (name[0] == '5' ? "n" : "") + name;
    });

TEST(GArReader, SaysWhenItCannotSeek) {
  const std::string bytes = arArchive(arMember("a", "data") + arMember("b", "more"));
  struct Case {
    std::streamoff position;
    const char* text;
  };
  for (const Case& c : {Case{0, "<unknown>: can't seek to beginning of ar file"},
                        Case{8, "<unknown>: error seeking to next entry in ar file"},
                        Case{72, "<unknown>: error seeking to next entry in ar file"}}) {
    CaptureOutput output;
    UnseekableAt buffer(bytes, c.position);
    std::istream in(&buffer);
    const GArReader reader(&in, false);
    EXPECT_TRUE(reader.isError());
    EXPECT_EQ(output.lines, Lines{errorLine(c.text)});
  }
  CaptureOutput output;
  UnseekableAt buffer(bytes, 68);
  std::istream in(&buffer);
  GArReader reader(&in, false);
  EXPECT_FALSE(reader.isError());
  EXPECT_EQ(blockOf(reader, reader.getEntry("a")), std::nullopt);
  EXPECT_EQ(textOf(reader, "b"), std::nullopt) << "the first error stays";
  EXPECT_EQ(blockOf(reader, reader.getEntry("b")), "more");
  EXPECT_EQ(output.lines, Lines{errorLine("<unknown>: can't seek to beginning of a")});
}

TEST(GArReader, OpensFiles) {
  CaptureOutput output;
  ScratchDirectory scratch;
  const std::string path = scratch.write("a.ar", arArchive(arMember("a", "text")));
  GArReader reader;
  ASSERT_TRUE(reader.open(path));
  EXPECT_EQ(reader.getPath(), path);
  EXPECT_EQ(textOf(reader, "a"), "text");
  EXPECT_TRUE(reader.close());
  EXPECT_EQ(reader.getEntryCount(), 0U);
  EXPECT_EQ(reader.getPath(), path);
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GArReader, SaysWhatCannotBeOpened) {
  CaptureOutput output;
  ScratchDirectory scratch;
  const std::string missing = scratch / "missing.ar";
  const std::string text = scratch.write("text", "no archive");
  GArReader reader;
  EXPECT_FALSE(reader.open(missing));
  EXPECT_TRUE(reader.isError());
  EXPECT_FALSE(reader.open(scratch.path())) << "a directory";
  EXPECT_FALSE(reader.open(text));
  EXPECT_EQ(output.lines,
            (Lines{errorLine(missing + ": can't open file"),
                   errorLine(scratch.path() + ": can't open file"),
                   errorLine(text + ": file is not an ar file (wrong magic string)")}));
}

TEST(GArReader, OpenClearsTheErrorButNotTheEntries) {
  CaptureOutput output;
  ScratchDirectory scratch;
  GArReader reader;
  ASSERT_TRUE(reader.open(scratch.write("1.ar", arArchive(arMember("a", "1")))));
  EXPECT_FALSE(reader.open(scratch / "missing"));
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(reader.getEntryCount(), 1U);
  ASSERT_TRUE(reader.open(scratch.write("2.ar", arArchive(arMember("b", "2")))));
  EXPECT_FALSE(reader.isError());
  EXPECT_EQ(namesOf(reader), (std::vector<std::string>{"a", "b"}));
}

TEST(GArReader, CloseKeepsErrorAndPath) {
  CaptureOutput output;
  GArReader reader;
  EXPECT_FALSE(reader.open("/nowhere/at/all"));
  EXPECT_TRUE(reader.close());
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(reader.getPath(), "/nowhere/at/all");
}

TEST(GArReader, EndsAStreamThatItOwns) {
  const auto token = std::make_shared<int>();
  for (const bool owns : {false, true}) {
    std::istream* stream = new HoldingStream(arArchive(arMember("a", "1")), token);
    { const GArReader reader(stream, owns); }
    EXPECT_EQ(token.use_count(), owns ? 1 : 2);
    if (!owns) delete stream;
  }
  GArReader reader(new HoldingStream(arArchive(""), token), true);
  EXPECT_TRUE(reader.close());
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_TRUE(reader.close());
}

TEST(GArReader, WarnsOfAnUnknownName) {
  CaptureOutput output;
  const auto in = streamOf(arArchive(arMember("a", "1")));
  GArReader reader(in.get(), false);
  char* data = nullptr;
  unsigned int size = 7;
  EXPECT_EQ(textOf(reader, "b"), std::nullopt);
  EXPECT_FALSE(reader.readEntry("c", &data, &size));
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 7U);
  EXPECT_FALSE(reader.isError());
  EXPECT_EQ(textOf(reader, "a"), "1");
  EXPECT_EQ(output.lines,
            (Lines{warningLine("entry not found (b)"), warningLine("entry not found (c)")}));
}

TEST(GArReader, AMemberCutOffFailsWhenItIsRead) {
  CaptureOutput output;
  ScratchDirectory scratch;
  const std::string path = scratch.write(
      "a.ar", arArchive(arMember("good", "text") + arHeader("cut", "100000") + "data"));
  GArReader reader;
  ASSERT_TRUE(reader.open(path));
  char* data = nullptr;
  unsigned int size = 7;
  EXPECT_EQ(textOf(reader, "cut"), std::nullopt);
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(textOf(reader, "good"), std::nullopt) << "silent after the first error";
  EXPECT_FALSE(reader.readEntry(reader.getEntry("cut"), &data, &size));
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(blockOf(reader, reader.getEntry("good")), "text") << "by entry it goes on";
  EXPECT_EQ(output.lines, Lines{errorLine(path + ": error reading cut")});
}

TEST(GArReader, ASizeBelowZeroReadsAndAllocatesNothing) {
  for (const char* size : {"4", "0", "19"}) {
    CaptureOutput output;
    ScratchDirectory scratch;
    const std::string path = scratch.write(
        "a.ar", arArchive(arHeader("#1/20", size) + std::string(20, 'n') + arMember("b", "text")));
    GArReader reader;
    ASSERT_TRUE(reader.open(path));
    const GArEntry* entry = reader.getEntry(std::string(20, 'n'));
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->getSize(), static_cast<unsigned int>(std::stoi(size) - 20));
    EXPECT_EQ(reader.getEntryCount(), 1U);
    EXPECT_EQ(blockOf(reader, entry), std::nullopt);
    EXPECT_EQ(output.texts().size(), 1U);
  }
}

TEST(GArReader, ATargetThatFailsIsAnError) {
  CaptureOutput output;
  const auto in = streamOf(arArchive(arMember("a", "text") + arMember("empty", "")));
  GArReader reader(in.get(), false);
  std::ostream broken(nullptr);
  EXPECT_TRUE(reader.readEntry("empty", &broken)) << "nothing is written";
  EXPECT_FALSE(reader.readEntry("a", &broken));
  EXPECT_EQ(output.lines, Lines{errorLine("<unknown>: error reading a")});
}

TEST(GArReader, ReadsFromAMemoryStream) {
  GOMemStream out;
  out << arArchive(arMember("a", "text") + arMember("b", std::string(100000, 'b')));
  GStreamBuf* buffer = out.rdbuf(nullptr);
  GArReader reader(new GIStream(buffer, true), true);
  EXPECT_EQ(textOf(reader, "a"), "text");
  EXPECT_EQ(blockOf(reader, reader.getEntry("b")), std::string(100000, 'b'));
}

std::string smallArchive() {
  return arArchive(arMember("one/", "odd") + arLongMember("a longer name than 16", "data") +
                   arMember("two/", "even"));
}

// Opens the bytes and reads whatever they offer, in both ways.
void readEverything(const std::string& bytes) {
  CaptureOutput output;
  const auto in = streamOf(bytes);
  GArReader reader(in.get(), false);
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    std::ostringstream text;
    const bool written = reader.readEntry(i->second, &text);
    const std::optional<std::string> block = blockOf(reader, i->second);
    ASSERT_EQ(written, block.has_value());
    if (block) {
      ASSERT_EQ(*block, text.str());
    }
    ASSERT_LE(text.str().size(), bytes.size());
  }
}

TEST(GArReader, SurvivesTruncationAtEveryByte) {
  const std::string whole = smallArchive();
  for (std::size_t size = 0; size < whole.size(); ++size) readEverything(whole.substr(0, size));
}

TEST(GArReader, SurvivesEveryValueOfEveryByte) {
  const std::string whole = smallArchive();
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      std::string damaged = whole;
      damaged[at] = static_cast<char>(value);
      readEverything(damaged);
    }
  }
}

}  // namespace
}  // namespace loomkit::testing
