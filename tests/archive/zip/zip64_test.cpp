// SPDX-License-Identifier: MIT
// GZip64Reader and GZip64Writer: what GZipReader and GZipWriter leave out.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "loomkit/archive/zip/zip64_directory.h"
#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip64_records.h"
#include "loomkit/archive/zip/zip64_writer.h"
#include "loomkit/archive/zip/zip_extraction_plan.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/platform/hul.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;

GZip64Writer::Source sourceOf(std::string text) {
  return [text = std::move(text), at = std::size_t{0}](char* buffer, std::size_t size) mutable {
    const std::size_t count = std::min({size, text.size() - at, std::size_t{1000}});
    std::memcpy(buffer, text.data() + at, count);
    at += count;
    return static_cast<std::int64_t>(count);
  };
}

class Zip64 : public ::testing::Test {
 protected:
  // Opens what the writer has written, or other bytes.
  bool open() { return writer.close() && openBytes(stream.str()); }
  bool openBytes(const std::string& bytes) {
    bytesOfArchive = bytes;
    return reader.open(scratch.write("a.zip", bytes));
  }
  std::string textOf(const GZipMember& member) {
    std::string text;
    const bool whole = reader.read(member, [&](const char* data, std::size_t size) {
      text.append(data, size);
      return true;
    });
    return whole ? text : "failed: " + reader.getErrMsg();
  }
  GZipExtractor::Result testAll() { return GZipExtractor(&reader, scratch / "out").testAll(); }
  GZipExtractor::Result extractAll() {
    fs::remove_all(scratch / "out");
    return GZipExtractor(&reader, scratch / "out").extractAll();
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  std::ostringstream stream;
  GZip64Writer writer{&stream};
  GZip64Reader reader;
  std::string bytesOfArchive;
};

TEST_F(Zip64, KeepsWhatEachMemberHas) {
  GZip64Writer::Attributes attributes;
  attributes.modTime = 1000000001;
  attributes.mode = 0100640;
  attributes.comment = "a comment";
  const std::string large(1000000, 'x');
  EXPECT_EQ(writer.writeFile("d/./small", attributes, sourceOf("text")), GZip64Writer::Done);
  EXPECT_EQ(writer.writeFile("large", attributes, sourceOf(large)), GZip64Writer::Done);
  EXPECT_EQ(writer.writeFile("empty", {}, sourceOf("")), GZip64Writer::Done);
  attributes.mode = 040700;
  EXPECT_EQ(writer.writeDirectory("d", attributes), GZip64Writer::Done);
  EXPECT_EQ(writer.writeLink("l", "d/small", attributes), GZip64Writer::Done);
  ASSERT_TRUE(open());
  const auto& members = reader.getMembers();
  ASSERT_EQ(members.size(), 5U);
  EXPECT_EQ(members[0].name, "d/small");
  EXPECT_EQ(members[0].modTime, 1000000001) << "odd seconds, too";
  EXPECT_EQ(members[0].mode, 0100640);
  EXPECT_EQ(members[0].comment, "a comment");
  EXPECT_EQ(textOf(members[0]), "text");
  EXPECT_EQ(textOf(members[1]), large);
  EXPECT_LT(members[1].packedSize, 2000U);
  EXPECT_EQ(textOf(members[2]), "");
  EXPECT_EQ(members[2].mode, 0);
  EXPECT_TRUE(members[3].directory);
  EXPECT_TRUE(members[4].isLink());
  EXPECT_EQ(textOf(members[4]), "d/small");
  EXPECT_EQ(reader.find("large"), &members[1]);
  EXPECT_EQ(reader.find("none"), nullptr);
  EXPECT_TRUE(output.texts().empty());
}

TEST_F(Zip64, FindsTheLastMemberOfAName) {
  for (const char* text : {"1", "2"}) {
    EXPECT_EQ(writer.writeFile("twice", {}, sourceOf(text)), GZip64Writer::Done);
    EXPECT_EQ(writer.writeFile(text, {}, sourceOf("")), GZip64Writer::Done);
  }
  ASSERT_TRUE(open());
  EXPECT_EQ(reader.find("twice"), &reader.getMembers()[2]);
  EXPECT_EQ(reader.find("2"), &reader.getMembers()[3]);
  reader.close();
  EXPECT_EQ(reader.find("twice"), nullptr);
}

TEST_F(Zip64, AMemberThatFailsLeavesNoTrace) {
  std::string noise(700000, '\0');
  for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>(i * i >> 7);
  EXPECT_EQ(writer.writeFile("a", {}, sourceOf("first")), GZip64Writer::Done);
  std::size_t given = 0;
  const auto broken = [&](char* buffer, std::size_t size) -> std::int64_t {
    if (given >= noise.size()) return -1;
    const std::size_t count = std::min(size, noise.size() - given);
    std::memcpy(buffer, noise.data() + given, count);
    given += count;
    return static_cast<std::int64_t>(count);
  };
  EXPECT_EQ(writer.writeFile("broken", {}, broken), GZip64Writer::SourceFailed);
  EXPECT_EQ(writer.writeFile("b", {}, sourceOf("last")), GZip64Writer::Done);
  ASSERT_TRUE(open());
  ASSERT_EQ(reader.getMembers().size(), 2U);
  EXPECT_EQ(textOf(reader.getMembers()[1]), "last");
  EXPECT_EQ(testAll(), GZipExtractor::Done);
}

TEST_F(Zip64, EncryptsSmallAndLargeMembers) {
  const std::string large(900000, 'x');
  writer.setPassword("pw");
  writer.writeFile("small", {}, sourceOf("text"));
  writer.writeFile("large", {}, sourceOf(large));
  ASSERT_TRUE(open());
  // Which check finds it is chance: the check byte fits one wrong password of 256.
  EXPECT_EQ(textOf(reader.getMembers()[0]).substr(0, 8), "failed: ") << "there is no password yet";
  reader.setPassword("pw");
  EXPECT_EQ(textOf(reader.getMembers()[0]), "text");
  EXPECT_EQ(textOf(reader.getMembers()[1]), large);
}

TEST_F(Zip64, TellsAWrongPasswordByTheCheckByte) {
  writer.setPassword("pw");
  writer.writeFile("m", {}, sourceOf("text"));
  ASSERT_TRUE(open());
  const std::size_t data = zip::local::size + 1 + fieldOf(bytesOfArchive, zip::local::extraSize);
  bytesOfArchive[data + zip::encryptionHeaderSize - 1] ^= 1;
  ASSERT_TRUE(openBytes(bytesOfArchive));
  reader.setPassword("pw");
  EXPECT_EQ(textOf(reader.getMembers()[0]), "failed: the check byte is not right");
}

TEST_F(Zip64, WritesTheWideRecordsWhenTheyAreNeeded) {
  for (int i = 0; i < 65534; ++i) writer.writeDirectory(std::to_string(i), {});
  writer.setReproducible(true);
  ASSERT_TRUE(open());
  EXPECT_EQ(bytesOfArchive.find("PK\6\6"), std::string::npos);
  std::ostringstream more;
  GZip64Writer other(&more);
  for (int i = 0; i < 65600; ++i) other.writeDirectory(std::to_string(i), {});
  ASSERT_TRUE(other.close());
  EXPECT_NE(more.str().find("PK\6\6"), std::string::npos);
  ASSERT_TRUE(openBytes(more.str()));
  EXPECT_EQ(reader.getMembers().size(), 65600U);
  EXPECT_TRUE(reader.isDirectoryExact());
}

TEST_F(Zip64, ExpressesWideNumbersOnlyWhereTheyAreNeeded) {
  zip::WrittenMember member;
  member.name = "n";
  EXPECT_EQ(zip::centralRecord(member).size(), zip::central::size + 1);
  struct Row {
    std::uint64_t size, packed, offset;
    std::size_t extra;
  };
  static constexpr std::uint64_t allOnes = 0xffffffff;
  for (const Row& row : {Row{allOnes - 1, allOnes - 1, allOnes - 1, 0}, Row{allOnes, 1, 1, 12},
                         Row{1, allOnes, 1, 12}, Row{1, 1, allOnes + 5, 12},
                         Row{allOnes + 1, allOnes + 2, allOnes + 3, 28}}) {
    member.size = row.size;
    member.packedSize = row.packed;
    member.headerOffset = row.offset;
    const std::string record = zip::centralRecord(member);
    ASSERT_EQ(record.size(), zip::central::size + 1 + row.extra) << row.size;
    const auto narrow = [](std::uint64_t number) { return std::min(number, allOnes); };
    GZipMember read;
    read.size = narrow(row.size);
    read.packedSize = narrow(row.packed);
    read.headerOffset = narrow(row.offset);
    const auto* extra =
        reinterpret_cast<const unsigned char*>(record.data()) + zip::central::size + 1;
    EXPECT_TRUE(zip::takeExtraFields(extra, row.extra, &read));
    EXPECT_EQ(read.size, row.size);
    EXPECT_EQ(read.packedSize, row.packed);
    EXPECT_EQ(read.headerOffset, row.offset);
  }
}

TEST_F(Zip64, ReadsMembersBeyond4GiB) {
  // The writer writes the headers; a hole of 5 GiB stands for the data before the last.
  writer.writeFile("behind", {}, sourceOf("text"));
  ASSERT_TRUE(writer.close());
  constexpr std::uint64_t hole = std::uint64_t{5} << 30;
  const std::string bytes = stream.str();
  const std::size_t directory = directoryOf(bytes);
  zip::WrittenMember member;
  member.name = "behind";
  member.size = member.packedSize = 4;
  member.crc = fieldOf(bytes, zip::local::crc);
  member.headerOffset = hole;
  const std::string central = zip::centralRecord(member);
  const std::string path = scratch / "a.zip";
  {
    std::ofstream out(path, std::ios::binary);
    out.seekp(static_cast<std::streamoff>(hole));
    out << bytes.substr(0, directory) << central
        << zip::endRecords(1, hole + directory, central.size());
  }
  ASSERT_TRUE(reader.open(path));
  EXPECT_EQ(reader.getMembers()[0].headerOffset, hole);
  EXPECT_EQ(textOf(reader.getMembers()[0]), "text");
  EXPECT_EQ(extractAll(), GZipExtractor::Done);
  EXPECT_EQ(scratch.read("out/behind"), "text");
}

TEST_F(Zip64, ReadsAnArchiveWithBytesInFrontOfIt) {
  ASSERT_TRUE(openBytes("#!/bin/sh\n" + twoMembers()));
  EXPECT_EQ(textOf(reader.getMembers()[1]), deflatedText);
  EXPECT_EQ(testAll(), GZipExtractor::Done);
  EXPECT_EQ(output.texts(),
            std::vector<std::string>{scratch / "a.zip" + ": 10 bytes in front of the archive"});
}

TEST_F(Zip64, RefusesMembersThatShareTheirData) {
  // Both central headers lead to the first member.
  std::string bytes = zipOf({{"a", "data"}, {"a", "data"}});
  const std::size_t second = directoryOf(bytes) + zip::central::size + 1;
  bytes = with(bytes, zip::central::localHeaderOffset.behind(second), 0);
  ASSERT_TRUE(openBytes(bytes));
  EXPECT_EQ(textOf(reader.getMembers()[1]), "data") << "each by itself is whole";
  EXPECT_FALSE(reader.checkLayout());
  EXPECT_EQ(testAll(), GZipExtractor::Damaged);
  EXPECT_EQ(extractAll(), GZipExtractor::Damaged);
  EXPECT_FALSE(fs::exists(scratch / "out")) << "nothing is written";
}

// The archives on which a test and an extraction could come to different verdicts.
TEST_F(Zip64, TestAndExtractionAgree) {
  const std::string two = twoMembers();
  const std::string directoryWithData = [&] {
    std::string bytes = zipOf({{"dx", "data"}, {"e", "1"}});
    for (std::size_t i = 0; (i = bytes.find("dx", i)) != std::string::npos; ++i) bytes[i + 1] = '/';
    return bytes;
  }();
  std::string badDirectory = directoryWithData;
  badDirectory[zip::local::size + 2] = 'D';
  std::string badFirst = zipOf({{"a", "data"}, {"a", "data"}});
  badFirst[zip::local::size + 1] = 'D';
  const std::size_t head = directoryOf(two);
  const auto label = with(two, zip::central::externalAttributes.behind(head), 8);
  std::string climbing = zipOf({{"xx_a", "1"}});
  for (std::size_t i = 0; (i = climbing.find("xx_", i)) != std::string::npos; ++i) {
    climbing.replace(i, 3, "../");
  }
  struct Row {
    const char* what;
    std::string bytes;
    GZipExtractor::Result result;
  };
  using E = GZipExtractor;
  for (const Row& row :
       {Row{"good", two, E::Done}, Row{"empty", zipOf({}), E::Done},
        Row{"a directory with data", directoryWithData, E::Done},
        Row{"a directory with bad data", badDirectory, E::Damaged},
        Row{"the first of two with bad data", badFirst, E::Damaged},
        Row{"a volume label", label, E::Done}, Row{"a name that climbs", climbing, E::Refused},
        Row{"a file that others need as a directory", zipOf({{"a", "1"}, {"a/b", "2"}}),
            E::Damaged},
        Row{"a checksum", forgeBoth(two, false, zip::local::crc, zip::central::crc, 1), E::Damaged},
        Row{"too small a size", forgeUncompr(two, true, 3), E::Damaged},
        Row{"too large a size", forgeUncompr(two, true, 300), E::Damaged},
        Row{"data beyond the end", forgeCompr(two, true, 3000), E::Damaged},
        Row{"an offset beyond the end",
            with(two, zip::central::localHeaderOffset.behind(head), 100000), E::Damaged},
        Row{"another method", with(two, zip::central::method.behind(head), 12), E::Damaged}}) {
    ASSERT_TRUE(openBytes(row.bytes)) << row.what;
    EXPECT_EQ(testAll(), row.result) << row.what;
    EXPECT_EQ(extractAll(), row.result) << row.what;
  }
}

// More directories than are held open, and few descriptors for them.
TEST_F(Zip64, MembersMayAlternateBetweenManyDirectories) {
  std::vector<ZipMember> members;
  for (const char* file : {"a", "b", "c"}) {
    for (int i = 0; i < 150; ++i) {
      const std::string directory = "top/" + std::to_string(i) + "/deep/";
      members.push_back({directory + file, directory + file});
      members.push_back({"top/0/" + std::to_string(i) + file, "x"});
    }
  }
  ASSERT_TRUE(openBytes(zipOf(members)));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{100, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  EXPECT_EQ(extractAll(), GZipExtractor::Done);
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_TRUE(output.lines.empty());
  for (const ZipMember& member : members) {
    const std::string text = scratch.read("out/" + member.name);
    EXPECT_TRUE(text == member.name || text == "x") << member.name;
  }
}

TEST_F(Zip64, ATruncatedArchiveIsRefusedAtEveryLength) {
  writer.writeFile("a", {}, sourceOf("text"));
  writer.writeFile("b", {}, sourceOf(std::string(1000, 'x')));
  ASSERT_TRUE(open());
  for (std::size_t size = 0; size < bytesOfArchive.size(); ++size) {
    GZip64Reader cut;
    EXPECT_FALSE(cut.open(scratch.write("cut.zip", bytesOfArchive.substr(0, size)))) << size;
  }
}

TEST_F(Zip64, SaysWhyItCannotOpen) {
  EXPECT_FALSE(reader.open(scratch / "none"));
  EXPECT_EQ(output.texts(), std::vector<std::string>{scratch / "none" + ": can't open file (" +
                                                     hulStrError(-ENOENT) + ")"});
}

TEST(ZipLinks, StayBelowTheTop) {
  struct Row {
    const char* path;
    const char* target;
    bool stays;
  };
  for (const Row& row :
       {Row{"l", "a", true}, Row{"l", "a/b", true}, Row{"d/l", "../a", true}, Row{"l", ".", true},
        Row{"d/e/l", "../../a", true}, Row{"l", "", false}, Row{"l", "/a", false},
        Row{"l", "..", false}, Row{"d/l", "../..", false}, Row{"d/l", "a/../b", false},
        Row{"d/l", "./../a", true}, Row{"l", "a/../../b", false}}) {
    EXPECT_EQ(zip::staysBelowTop(row.path, row.target), row.stays) << row.path << row.target;
  }
}

TEST(ZipNames, NeedTheFlagWhenTheyAreUtf8AndNotAscii) {
  struct Row {
    std::string name;
    bool needs;
  };
  for (const Row& row :
       {Row{"", false}, Row{"ascii", false}, Row{"\xc3\xa9", true}, Row{"a\xe2\x82\xac", true},
        Row{"\xf0\x9f\x98\x80", true}, Row{"\xff", false}, Row{"\xc3", false},
        Row{"\xc0\x80", false}, Row{"\xed\xa0\x80", false}, Row{"\xf4\x90\x80\x80", false},
        Row{"\xe2\x82", false}, Row{"\xc3\xa9\xe9", false}}) {
    EXPECT_EQ(zip::needsUtf8Flag(row.name), row.needs) << row.name;
  }
}

}  // namespace
}  // namespace loomkit::testing
