// SPDX-License-Identifier: MIT
// GZipReader: the directory, extraction, and every message with its order.
#include "loomkit/archive/zip/zip_reader.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "loomkit/streams/mem_stream.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/format_page.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
using Texts = std::vector<std::string>;
namespace central = zip::central;
namespace local = zip::local;

OutputLine errorLine(const std::string& text) { return {GOutputError, gDataSysName, text}; }
OutputLine warningLine(const std::string& text) { return {GOutputWarning, gDataSysName, text}; }

std::string deflatable() {
  std::string text;
  for (int i = 0; text.size() < 50000; ++i) text += "line " + std::to_string(i * i) + "\n";
  return text;
}

const std::string emptyZip = zipOf({});

TEST(GZipReader, StartsClosed) {
  CaptureOutput output;
  GZipReader reader;
  EXPECT_EQ(reader.getPath(), "<unknown>");
  EXPECT_EQ(reader.getEntryCount(), 0U);
  EXPECT_EQ(reader.getZipFileComment(), "");
  EXPECT_FALSE(reader.isError());
  EXPECT_TRUE(reader.close());
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GZipReader, ReadsTheExampleOfItsFormatPage) {
  const std::string bytes = hexExampleOf("zip.md");
  Opened zip(bytes);
  EXPECT_EQ(zip.reader.getEntryCount(), 3U);
  EXPECT_TRUE(zip.reader.getEntry("a/")->isDirectory());
  EXPECT_EQ(textOf(zip.reader, "a/b.txt"), "Hello\n");
  EXPECT_EQ(textOf(zip.reader, "c"), std::string(20, 'x'));
  EXPECT_EQ(zip.output.lines, Lines{});

  // Up to the deflated member, which depends on zlib, the writer's are the same.
  std::ostringstream out;
  GZipWriter writer(&out, false);
  writer.setReproducible(true);
  EXPECT_TRUE(writer.writeEntry("a/b.txt", "Hello\n", 6));
  EXPECT_EQ(out.str(), bytes.substr(0, out.str().size()));
  EXPECT_TRUE(writer.close());
}

TEST(GZipReader, CopiesShareStreamAndEntries) {
  Opened opened(zipOf({{"a", "data"}}));
  GZipReader copy(opened.reader);
  EXPECT_EQ(copy.getEntry("a"), opened.reader.getEntry("a"));
  EXPECT_EQ(textOf(copy, "a"), "data");
  copy = GZipReader();
  EXPECT_EQ(copy.getEntryCount(), 0U);
  EXPECT_EQ(textOf(opened.reader, "a"), "data");
}

TEST(GZipReader, ReadsMembersOfEveryKindInEveryWay) {
  const std::string text = deflatable();
  std::vector<ZipMember> members;
  for (const bool compress : {false, true}) {
    for (const char* password : {"", "secret"}) {
      for (const std::size_t size : {0U, 1U, 8191U, 8192U, 8193U, 16384U, 50000U}) {
        members.push_back(
            {"m" + std::to_string(members.size()), text.substr(0, size), compress, password});
      }
    }
  }
  Opened opened(zipOf(members));
  ASSERT_FALSE(opened.reader.isError());
  ASSERT_EQ(opened.reader.getEntryCount(), members.size());
  for (const ZipMember& member : members) {
    opened.reader.setPassword(member.password);
    EXPECT_EQ(textOf(opened.reader, member.name), member.data) << member.name;
    EXPECT_EQ(blockOf(opened.reader, opened.reader.getEntry(member.name)), member.data);
  }
  EXPECT_EQ(opened.output.lines, Lines{});
}

TEST(GZipReader, GivesNullForAnEmptyMember) {
  Opened opened(zipOf({{"e", "", true}}));
  char other = 'x';
  char* data = &other;
  unsigned int size = 7;
  EXPECT_TRUE(opened.reader.readEntry("e", &data, &size, false));
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 0U);
}

TEST(GZipReader, ListsInTheOrderOfTheNames) {
  Opened opened(zipOf({{"b", ""}, {"a/x", ""}, {"B", ""}}));
  Texts names;
  for (auto i = opened.reader.entriesBegin(); i != opened.reader.entriesEnd(); ++i) {
    names.push_back((*i).first);
    EXPECT_EQ((*i).second, opened.reader.getEntry((*i).first));
  }
  EXPECT_EQ(names, (Texts{"B", "a/", "a/x", "b"}));
  EXPECT_EQ(opened.reader.getEntry("A/x"), nullptr);
}

// --- Opening -----------------------------------------------------------------

struct OpenCase {
  const char* what;
  std::string bytes;
  bool good;
  Texts texts;
  std::string comment;
};

class ZipOpening : public ::testing::TestWithParam<OpenCase> {};

TEST_P(ZipOpening, SaysWhatIsWrong) {
  const Opened opened(GetParam().bytes);
  EXPECT_EQ(!opened.reader.isError(), GetParam().good);
  Texts expected;
  for (const std::string& text : GetParam().texts) {
    // What an entry says of itself has no path.
    expected.push_back(text.find("header:") != std::string::npos ? text : "<unknown>: " + text);
  }
  EXPECT_EQ(opened.output.texts(), expected);
  EXPECT_EQ(opened.reader.getZipFileComment(), GetParam().comment);
}

std::string withComment(const std::string& comment, unsigned stated) {
  return with(emptyZip, zip::end::commentSize, stated) + comment;
}

std::string oneMember() { return zipOf({{"a", "data"}}); }
Le32 sizeField(const std::string& zip) { return zip::end::directorySize.behind(endRecordOf(zip)); }

INSTANTIATE_TEST_SUITE_P(
    GZipReader, ZipOpening,
    ::testing::Values(
        OpenCase{"no_bytes", "", false, {"not a valid zip file"}, ""},
        OpenCase{"21_bytes", emptyZip.substr(0, 21), false, {"not a valid zip file"}, ""},
        OpenCase{"22_bytes", emptyZip, true, {}, ""},
        OpenCase{"no_record",
                 std::string(100, 'x'),
                 false,
                 {"end of central directory record signature not found"},
                 ""},
        OpenCase{"comment", withComment("hello", 5), true, {}, "hello"},
        OpenCase{"comment_with_zero",
                 withComment(std::string("a\0b", 3), 3),
                 true,
                 {},
                 std::string("a\0b", 3)},
        OpenCase{"longest_comment",
                 withComment(std::string(65514, 'c'), 65514),
                 true,
                 {},
                 std::string(65514, 'c')},
        OpenCase{"comment_too_long",
                 withComment(std::string(65515, 'c'), 65515),
                 false,
                 {"end of central directory record signature not found"},
                 ""},
        OpenCase{"comment_beyond_the_end",
                 withComment("hell", 5),
                 true,
                 {"end of central directory record: invalid length for zip file comment, comment "
                  "ignored"},
                 ""},
        OpenCase{"junk_behind",
                 withComment("hello and more", 5),
                 true,
                 {"end of central directory record: extra bytes at end of zip file (ignored)"},
                 "hello"},
        OpenCase{"record_in_comment", withComment(emptyZip, 22), true, {}, ""},
        OpenCase{"disk",
                 with(emptyZip, zip::end::disk, 1),
                 true,
                 {"end of central directory record: invalid number of this disk"},
                 ""},
        OpenCase{"directory_disk",
                 with(emptyZip, zip::end::directoryDisk, 1),
                 true,
                 {"end of central directory record: invalid number for disk with start of central "
                  "directory"},
                 ""},
        OpenCase{"entries_here",
                 with(emptyZip, zip::end::entriesHere, 1),
                 true,
                 {"end of central directory record: number of central directory entries on this "
                  "disk doesn't match total number of central directory entries"},
                 ""},
        OpenCase{"count",
                 with(with(oneMember(), zip::end::entries.behind(endRecordOf(oneMember())), 2),
                      zip::end::entriesHere.behind(endRecordOf(oneMember())), 2),
                 true,
                 {"central directory entry count mismatch"},
                 ""},
        OpenCase{"size_too_small",
                 with(oneMember(), sizeField(oneMember()), 46),
                 true,
                 {"read beyond end of central directory"},
                 ""},
        OpenCase{
            "size_too_large",
            with(oneMember(), sizeField(oneMember()), 48),
            false,
            {"central file header: input/output error", "error reading central directory entry"},
            ""},
        OpenCase{
            "size_huge",
            with(oneMember(), sizeField(oneMember()), 0xffffffff),
            false,
            {"central file header: input/output error", "error reading central directory entry"},
            ""},
        OpenCase{"size_zero",
                 with(oneMember(), sizeField(oneMember()), 0),
                 true,
                 {"central directory entry count mismatch"},
                 ""},
        OpenCase{
            "offset",
            with(oneMember(), zip::end::directoryOffset.behind(endRecordOf(oneMember())), 1),
            false,
            {"central file header: invalid signature", "error reading central directory entry"},
            ""},
        OpenCase{"offset_beyond",
                 with(oneMember(), zip::end::directoryOffset.behind(endRecordOf(oneMember())),
                      0x7fffffff),
                 false,
                 {"can't seek to beginning of central directory"},
                 ""},
        OpenCase{
            "bytes_in_front",
            "junk" + oneMember(),
            false,
            {"central file header: invalid signature", "error reading central directory entry"},
            ""}),
    [](const auto& test) { return "z_" + std::string(test.param.what); });

TEST(GZipReader, KnowsADirectoryThatIsNotWhatTheEndRecordStates) {
  const std::string archive = oneMember();
  EXPECT_TRUE(Opened(archive).reader.isDirectoryExact());
  EXPECT_TRUE(Opened(zipOf({{"a", "1"}, {"a", "2"}})).reader.isDirectoryExact());
  EXPECT_TRUE(Opened(emptyZip).reader.isDirectoryExact());
  EXPECT_FALSE(Opened(with(archive, zip::end::entries.behind(endRecordOf(archive)), 2))
                   .reader.isDirectoryExact());
  EXPECT_FALSE(Opened(with(archive, sizeField(archive), 46)).reader.isDirectoryExact());
  EXPECT_FALSE(Opened(with(archive, sizeField(archive), 0)).reader.isDirectoryExact());
}

TEST(GZipReader, OpensFiles) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  const std::string path = scratch.write("a.zip", zipOf({{"a", "text", true}}));
  GZipReader reader;
  ASSERT_TRUE(reader.open(path));
  EXPECT_EQ(reader.getPath(), path);
  EXPECT_EQ(textOf(reader, "a"), "text");
  EXPECT_TRUE(reader.close());
  EXPECT_EQ(reader.getEntryCount(), 0U);
  EXPECT_EQ(output.lines, Lines{});
}

TEST(GZipReader, SaysWhatCannotBeOpened) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  const std::string text = scratch.write("text", "no archive");
  GZipReader reader;
  EXPECT_FALSE(reader.open(scratch / "none"));
  EXPECT_TRUE(reader.isError());
  EXPECT_FALSE(reader.open(text));
  EXPECT_FALSE(reader.open(scratch.path()));
  EXPECT_EQ(output.lines, (Lines{errorLine(scratch / "none" + ": can't open file"),
                                 errorLine(text + ": not a valid zip file"),
                                 errorLine(scratch.path() + ": can't open file")}));
}

TEST(GZipReader, CloseKeepsPathCommentAndErrorAndOpenClearsTheError) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch.write("a.zip", withComment("hello", 5))));
  reader.close();
  EXPECT_EQ(reader.getZipFileComment(), "hello");
  EXPECT_FALSE(reader.open("/nowhere/at/all"));
  reader.close();
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(reader.getPath(), "/nowhere/at/all");
  ASSERT_TRUE(reader.open(scratch.write("b.zip", zipOf({{"b", ""}}))));
  EXPECT_FALSE(reader.isError());
}

TEST(GZipReader, OpenDoesNotCloseWhatIsOpen) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch.write("a.zip", zipOf({{"a", ""}}))));
  ASSERT_TRUE(reader.open(scratch.write("b.zip", zipOf({{"b", ""}}))));
  EXPECT_EQ(reader.getEntryCount(), 2U);
}

TEST(GZipReader, EndsAStreamThatItOwns) {
  class Holding : public std::istringstream {
   public:
    Holding(const std::string& bytes, std::shared_ptr<int> shared)
        : std::istringstream(bytes), token(std::move(shared)) {}

   private:
    std::shared_ptr<int> token;
  };
  const auto token = std::make_shared<int>();
  { const GZipReader reader(new Holding(emptyZip, token), true); }
  EXPECT_EQ(token.use_count(), 1);
  GZipReader reader(new Holding(emptyZip, token), true);
  reader.close();
  EXPECT_EQ(token.use_count(), 1);
  const std::unique_ptr<std::istream> mine(new Holding(emptyZip, token));
  { const GZipReader other(mine.get(), false); }
  EXPECT_EQ(token.use_count(), 2);
}

TEST(GZipReader, TheFirstOfTwoEntriesWithANameCounts) {
  Opened opened(zipOf({{"a", "first"}, {"a", "second"}, {"b", ""}}));
  EXPECT_EQ(opened.reader.getEntryCount(), 2U);
  EXPECT_EQ(textOf(opened.reader, "a"), "first");
  EXPECT_EQ(opened.output.lines, Lines{}) << "and the count of the record is right";
}

TEST(GZipReader, KnowsAZipStream) {
  const std::string bytes = oneMember();
  std::istringstream zip(bytes);
  EXPECT_TRUE(GZipReader::isZipStream(&zip));
  EXPECT_EQ(zip.tellg(), std::streampos(0)) << "the stream is where it was";
  std::istringstream text("text and more");
  EXPECT_FALSE(GZipReader::isZipStream(&text));
  EXPECT_EQ(text.tellg(), std::streampos(0));
  std::istringstream empty(emptyZip);
  EXPECT_FALSE(GZipReader::isZipStream(&empty)) << "an archive without members";
  std::istringstream little("PK\3");
  EXPECT_FALSE(GZipReader::isZipStream(&little));
  EXPECT_TRUE(little.fail());
  EXPECT_FALSE(GZipReader::isZipStream(nullptr));
}

// --- Extracting ----------------------------------------------------------------

TEST(GZipReader, WarnsOfWhatIsNotThereOrNoFile) {
  Opened opened(zipOf({{"a/b", "text"}}));
  char* data = nullptr;
  unsigned int size = 0;
  EXPECT_EQ(textOf(opened.reader, "x"), std::nullopt);
  EXPECT_FALSE(opened.reader.readEntry("y", &data, &size, false));
  EXPECT_FALSE(opened.reader.readEntry("z", nullptr));
  EXPECT_EQ(textOf(opened.reader, "a/"), std::nullopt);
  EXPECT_FALSE(opened.reader.isError());
  EXPECT_EQ(textOf(opened.reader, "a/b"), "text");
  EXPECT_EQ(opened.output.lines, (Lines{warningLine("<unknown>: entry not found (x)"),
                                        warningLine("<unknown>: entry not found (y)"),
                                        warningLine("<unknown>: entry not found (z)"),
                                        warningLine("<unknown>: not a file (a/)")}));
}

struct ExtractCase {
  const char* what;
  std::function<std::string(std::string)> forge;
  bool good;
  Texts texts;  // a ':' in front of one: it is the entry's own
};

class ZipExtraction : public ::testing::TestWithParam<ExtractCase> {};

// The archive holds a stored member "s" of "stored" and a deflated one "d" of
// "deflated deflated deflated"; the cases whose name begins with s or d read it.

TEST_P(ZipExtraction, SaysWhatIsWrong) {
  Opened opened(GetParam().forge(twoMembers()));
  ASSERT_EQ(opened.output.lines, Lines{});
  const std::string name(1, GetParam().what[0]);
  EXPECT_EQ(textOf(opened.reader, name).has_value(), GetParam().good);
  EXPECT_EQ(opened.reader.isError(), !GetParam().good);
  Texts expected;
  for (const std::string& text : GetParam().texts) {
    expected.push_back(text[0] == ':' ? text.substr(1) : "<unknown>: " + text);
  }
  EXPECT_EQ(opened.output.texts(), expected);
}

constexpr std::size_t deflatedData = deflatedHeader + local::size + 1;

// Changes a field in both headers of a member, so that they agree.
std::uint32_t packedSize(std::string zip) {
  return fieldOf(zip, local::comprSize.behind(deflatedHeader));
}

const Texts mismatch = {"uncompressed size doesn't match file header entry (file s)",
                        "checksum mismatch (file s)"};

INSTANTIATE_TEST_SUITE_P(
    GZipReader, ZipExtraction,
    ::testing::Values(
        ExtractCase{"s_right", [](std::string z) { return z; }, true, {}},
        ExtractCase{"d_right", [](std::string z) { return z; }, true, {}},
        ExtractCase{"s_header",
                    [](std::string z) { return with(z, local::signature, 0); },
                    false,
                    {":local file header: signature mismatch",
                     "verification of local header of file s failed"}},
        ExtractCase{"s_offset",
                    [](std::string z) {
                      return with(z, central::localHeaderOffset.behind(directoryOf(z)), 0x7fffffff);
                    },
                    false,
                    {"can't seek to local header of file s"}},
        ExtractCase{"s_data",
                    [](std::string z) { return z.replace(storedData, 1, "S"); },
                    false,
                    {"checksum mismatch (file s)"}},
        ExtractCase{"s_too_much", [](std::string z) { return forgeCompr(z, false, 8); }, false,
                    mismatch},
        ExtractCase{"s_too_little", [](std::string z) { return forgeCompr(z, false, 4); }, false,
                    mismatch},
        ExtractCase{"s_beyond_the_end",
                    [](std::string z) { return forgeCompr(z, false, 5000); },
                    false,
                    {"input/output error (file s)"}},
        ExtractCase{"s_huge",
                    [](std::string z) { return forgeCompr(z, false, 0xffffffff); },
                    false,
                    {"input/output error (file s)"}},
        ExtractCase{"s_size",
                    [](std::string z) { return forgeUncompr(z, false, 7); },
                    true,
                    {"uncompressed size doesn't match file header entry (file s)"}},
        ExtractCase{"d_size",
                    [](std::string z) { return forgeUncompr(z, true, 0xffffffff); },
                    true,
                    {"uncompressed size doesn't match file header entry (file d)"}},
        ExtractCase{"d_crc",
                    [](std::string z) { return forgeBoth(z, true, local::crc, central::crc, 1); },
                    false,
                    {"checksum mismatch (file d)"}},
        ExtractCase{"d_data",
                    [](std::string z) { return z.replace(deflatedData, 1, "\xff"); },
                    false,
                    {"compressed data corrupted (file d)"}},
        ExtractCase{"d_cut",
                    [](std::string z) { return forgeCompr(z, true, packedSize(z) - 6); },
                    false,
                    {"unexpected end of compressed data (file d)"}},
        // All bytes are out; only the end mark is missing.
        ExtractCase{"d_cut_but_complete",
                    [](std::string z) { return forgeCompr(z, true, packedSize(z) - 1); },
                    true,
                    {}},
        ExtractCase{"d_more",
                    [](std::string z) { return forgeCompr(z, true, packedSize(z) + 3); },
                    true,
                    {"extra bytes after compressed data (file d)"}}),
    [](const auto& test) { return std::string(test.param.what); });

TEST(GZipReader, AnErrorEndsReadingByNameAndNotByEntry) {
  Opened opened(twoMembers().replace(storedData, 1, "S"));
  EXPECT_EQ(textOf(opened.reader, "s"), std::nullopt);
  EXPECT_EQ(textOf(opened.reader, "d"), std::nullopt);
  EXPECT_EQ(textOf(opened.reader, "none"), std::nullopt);
  EXPECT_EQ(textOf(opened.reader, opened.reader.getEntry("d")), deflatedText);
  EXPECT_EQ(blockOf(opened.reader, opened.reader.getEntry("s")), std::nullopt);
  EXPECT_EQ(opened.output.lines, Lines{errorLine("<unknown>: checksum mismatch (file s)")});
}

TEST(GZipReader, AnEntryReadByPointerFindsTheStreamUsable) {
  Opened opened(forgeCompr(twoMembers(), false, 5000));
  EXPECT_EQ(textOf(opened.reader, "s"), std::nullopt);
  EXPECT_TRUE(opened.in.fail() || opened.in.good());
  EXPECT_EQ(textOf(opened.reader, opened.reader.getEntry("d")), deflatedText);
}

TEST(GZipReader, DeliversBeforeItChecks) {
  Opened opened(twoMembers().replace(storedData, 1, "S"));
  std::ostringstream out;
  EXPECT_FALSE(opened.reader.readEntry("s", &out, false));
  EXPECT_EQ(out.str(), "Stored");
  char* data = nullptr;
  unsigned int size = 7;
  EXPECT_FALSE(opened.reader.readEntry(opened.reader.getEntry("s"), &data, &size, false));
  EXPECT_EQ(data, nullptr) << "a block is given on success only";
  EXPECT_EQ(size, 7U);
}

TEST(GZipReader, DoesNotCheckAMemberWithADataDescriptor) {
  // Encrypted members have one. A wrong password gives other bytes, and true.
  Opened opened(zipOf({{"e", "secret text", false, "right"}}));
  opened.reader.setPassword("wrong");
  const auto text = textOf(opened.reader, "e");
  ASSERT_TRUE(text.has_value());
  EXPECT_EQ(text->size(), 11U);
  EXPECT_NE(*text, "secret text");
  EXPECT_EQ(opened.output.lines, Lines{});
}

TEST(GZipReader, APasswordCountsUpToItsFirstZero) {
  Opened opened(zipOf({{"e", "secret", false, std::string("right\0no", 8)}}));
  opened.reader.setPassword("right");
  EXPECT_EQ(textOf(opened.reader, "e"), "secret");
}

TEST(GZipReader, AnEncryptedMemberHasAtLeastAHeader) {
  std::string bytes = zipOf({{"e", "secret", false, "pw"}});
  bytes = with(bytes, central::comprSize.behind(directoryOf(bytes)), 11);
  Opened opened(bytes);
  EXPECT_EQ(textOf(opened.reader, "e"), std::nullopt);
  EXPECT_EQ(opened.output.lines, Lines{errorLine("<unknown>: no encryption header (file e)")});
}

TEST(GZipReader, AnEncryptionHeaderMayBeCutOff) {
  std::string bytes = zipOf({{"e", "", false, "pw"}, {"pad", std::string(100, 'p')}});
  // The entry points at the copy of its header in the comment, at the very end.
  const std::string header = bytes.substr(0, local::size + 1);
  bytes = with(bytes, central::localHeaderOffset.behind(directoryOf(bytes)),
               static_cast<std::uint32_t>(bytes.size()));
  const std::size_t end = endRecordOf(bytes);
  bytes = with(bytes, zip::end::commentSize.behind(end), header.size() + 5) + header + "12345";
  Opened opened(bytes);
  EXPECT_EQ(textOf(opened.reader, "e"), std::nullopt);
  EXPECT_EQ(opened.output.lines,
            Lines{errorLine("<unknown>: input/output error reading encryption header (file e)")});
}

TEST(GZipReader, AnEntryOfAnUnknownMethodFailsWhenItIsReadWhateverItsLocalHeaderSays) {
  for (const unsigned localMethod : {12U, 0U, 8U}) {
    std::string bytes = oneMember();
    bytes = with(bytes, central::method.behind(directoryOf(bytes)), 12);
    Opened opened(with(bytes, local::method, localMethod));
    ASSERT_NE(opened.reader.getEntry("a"), nullptr);
    EXPECT_TRUE(opened.reader.getEntry("a")->extractNotSupported());
    EXPECT_FALSE(opened.reader.getEntry("a")->isCompressed());
    EXPECT_EQ(textOf(opened.reader, "a"), std::nullopt) << localMethod;
    EXPECT_EQ(opened.output.texts(),
              (Texts{"central file header: compression method 12 not supported",
                     "local file header: compression method mismatch",
                     "<unknown>: verification of local header of file a failed"}));
  }
}

// --- Receivers -----------------------------------------------------------------

class Recorder : public GZipReader::Output {
 public:
  Recorder(bool acceptWrite, bool acceptFlush)
      : Output(false), writes(acceptWrite), flushes(acceptFlush) {}
  void reserve(unsigned int size) override { log += "reserve " + std::to_string(size) + ";"; }
  bool write(const char*, unsigned int size) override {
    log += "write " + std::to_string(size) + ";";
    return writes;
  }
  bool flush() override {
    log += "flush;";
    return flushes;
  }
  std::string log;

 private:
  bool writes;
  bool flushes;
};

TEST(GZipReader, TellsAReceiverTheSizeThenTheBytesThenTheEnd) {
  Opened opened(zipOf({{"a", std::string(20000, 'a')}, {"e", ""}}));
  Recorder recorder(true, true);
  EXPECT_TRUE(opened.reader.readEntry("a", &recorder));
  EXPECT_EQ(recorder.log, "reserve 20000;write 8192;write 8192;write 3616;flush;");
  Recorder empty(true, true);
  EXPECT_TRUE(opened.reader.readEntry("e", &empty));
  EXPECT_EQ(empty.log, "reserve 0;flush;");
}

TEST(GZipReader, AReceiverMayRefuse) {
  const std::string bytes = zipOf({{"a", "data"}});
  Opened first(bytes);
  Recorder noWrite(false, true);
  EXPECT_FALSE(first.reader.readEntry("a", &noWrite));
  EXPECT_EQ(noWrite.log, "reserve 4;write 4;");
  EXPECT_EQ(first.output.lines,
            Lines{errorLine("<unknown>: unable to write decompressed data (file a)")});
  Opened second(bytes);
  Recorder noFlush(true, false);
  EXPECT_FALSE(second.reader.readEntry("a", &noFlush));
  EXPECT_EQ(second.output.lines, Lines{errorLine("<unknown>: failed to flush decompressed data")});
  Opened third(bytes);
  std::ostream broken(nullptr);
  EXPECT_FALSE(third.reader.readEntry("a", &broken, false));
  EXPECT_EQ(third.output.lines,
            Lines{errorLine("<unknown>: unable to write decompressed data (file a)")});
}

struct LineEnds {
  std::string stored;
  std::string converted;
};

TEST(GZipReader, ConvertsLineEnds) {
  const std::string across = std::string(8191, 'x');
  for (const LineEnds& c :
       {LineEnds{"a\r\nb", "a\nb"}, LineEnds{"\r\n", "\n"}, LineEnds{"a\r", "a\r"},
        LineEnds{"\r", "\r"}, LineEnds{"\r\r\n", "\r\n"}, LineEnds{"\r\r", "\r\r"},
        LineEnds{"\n\r", "\n\r"}, LineEnds{"a\rb", "a\rb"}, LineEnds{"\n", "\n"},
        LineEnds{across + "\r\nb", across + "\nb"}, LineEnds{across + "\rb", across + "\rb"},
        LineEnds{across + "\r", across + "\r"}}) {
    for (const bool compress : {false, true}) {
      Opened opened(zipOf({{"a", c.stored, compress}}));
      EXPECT_EQ(textOf(opened.reader, "a", true), c.converted);
      EXPECT_EQ(blockOf(opened.reader, opened.reader.getEntry("a"), true), c.converted);
      EXPECT_EQ(textOf(opened.reader, "a", false), c.stored);
      EXPECT_EQ(opened.output.lines, Lines{});
    }
  }
}

TEST(GZipReader, ACarriageReturnAtTheEndMayFindNoRoom) {
  class NoRoom : public std::streambuf {};
  Opened opened(zipOf({{"a", "\r"}}));
  NoRoom buffer;
  std::ostream out(&buffer);
  EXPECT_FALSE(opened.reader.readEntry("a", &out, true));
  EXPECT_EQ(opened.output.lines, Lines{errorLine("<unknown>: failed to flush decompressed data")});
}

TEST(GZipReader, ReadsFromAMemoryStream) {
  GOMemStream out;
  out << smallOfEachKind();
  GStreamBuf* buffer = out.rdbuf(nullptr);
  GZipReader reader(new GIStream(buffer, true), true);
  EXPECT_EQ(textOf(reader, "dir/deflated"), deflatedText);
}

}  // namespace
}  // namespace loomkit::testing
