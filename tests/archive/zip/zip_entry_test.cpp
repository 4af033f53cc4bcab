// SPDX-License-Identifier: MIT
// GZipEntry: its records on the disk, field by field, and every refusal.
#include "loomkit/archive/zip/zip_entry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <sstream>

#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
using Texts = std::vector<std::string>;
namespace central = zip::central;
namespace local = zip::local;

// 2026-02-03 04:05:06 local time in standard time.
long someTime() {
  std::tm t{};
  t.tm_year = 126;
  t.tm_mon = 1;
  t.tm_mday = 3;
  t.tm_hour = 4;
  t.tm_min = 5;
  t.tm_sec = 7;
  return static_cast<long>(std::mktime(&t));
}

GZipEntry someEntry() {
  GZipEntry entry;
  entry.setModTime(someTime());
  entry.setCRC32(0x11223344);
  entry.setComprSize(0x55667788);
  entry.setUncomprSize(0x99aabbcc);
  entry.setLocalHeaderOffs(0x0badcafe);
  entry.setFName("name");
  entry.setFile();
  return entry;
}

std::string hex(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    char two[4];
    std::snprintf(two, sizeof two, "%02x", static_cast<unsigned char>(c));
    text += two;
  }
  return text;
}

std::string localHeaderOf(GZipEntry entry) {
  std::ostringstream out;
  EXPECT_TRUE(entry.writeLocalFileHeader(&out));
  return out.str();
}

std::string centralHeaderOf(GZipEntry entry) {
  std::ostringstream out;
  EXPECT_TRUE(entry.writeFileHeader(&out));
  return out.str();
}

TEST(GZipEntry, StartsZeroEmptyAndFalse) {
  const GZipEntry entry;
  EXPECT_EQ(entry.getModTime(), 0);
  EXPECT_EQ(entry.getCRC32(), 0U);
  EXPECT_EQ(entry.getComprSize(), 0U);
  EXPECT_EQ(entry.getUncomprSize(), 0U);
  EXPECT_EQ(entry.getLocalHeaderOffs(), 0U);
  EXPECT_EQ(entry.getFName(), "");
  EXPECT_EQ(entry.getComment(), "");
  EXPECT_FALSE(entry.isEncrypted() || entry.isCompressed() || entry.isFile() ||
               entry.isDirectory() || entry.hasDataDescriptor() || entry.isAscii() ||
               entry.extractNotSupported());
}

TEST(GZipEntry, KeepsWhatIsSet) {
  GZipEntry entry = someEntry();
  entry.setComment("comment");
  entry.setEncrypted();
  entry.setCompressed();
  entry.setDirectory();
  entry.setHasDataDescriptor();
  entry.setAscii();
  EXPECT_EQ(entry.getModTime(), someTime());
  EXPECT_EQ(entry.getCRC32(), 0x11223344U);
  EXPECT_EQ(entry.getComprSize(), 0x55667788U);
  EXPECT_EQ(entry.getUncomprSize(), 0x99aabbccU);
  EXPECT_EQ(entry.getLocalHeaderOffs(), 0x0badcafeU);
  EXPECT_EQ(entry.getFName(), "name");
  EXPECT_EQ(entry.getComment(), "comment");
  EXPECT_TRUE(entry.isEncrypted() && entry.isCompressed() && entry.isFile() &&
              entry.isDirectory() && entry.hasDataDescriptor() && entry.isAscii());
}

TEST(GZipEntry, HasTheTimesOfMsDos) {
  EXPECT_EQ(someEntry().getFileTime(), (4 << 11) | (5 << 5) | 3);
  EXPECT_EQ(someEntry().getFileDate(), ((2026 - 1980) << 9) | (2 << 5) | 3);
}

TEST(GZipEntry, WritesALocalHeader) {
  // Of a file, without sizes, and with the announcement of a data descriptor.
  EXPECT_EQ(hex(localHeaderOf(someEntry())),
            "504b0304"
            "1400"
            "0800"
            "0000"
            "a320"
            "435c"
            "00000000"
            "00000000"
            "00000000"
            "0400"
            "0000"
            "6e616d65");
  GZipEntry packed = someEntry();
  packed.setCompressed();
  packed.setEncrypted();
  EXPECT_EQ(hex(localHeaderOf(packed).substr(6, 4)), "09000800");
  GZipEntry directory;
  directory.setDirectory();
  directory.setFName("d/");
  EXPECT_EQ(hex(localHeaderOf(directory).substr(6, 4)), "00000000");
}

TEST(GZipEntry, WritesACentralHeader) {
  EXPECT_EQ(hex(centralHeaderOf(someEntry())),
            "504b0102"
            "1400"
            "1400"
            "0000"
            "0000"
            "a320"
            "435c"
            "44332211"
            "88776655"
            "ccbbaa99"
            "0400"
            "0000"
            "0000"
            "0000"
            "0000"
            "00000000"
            "fecaad0b"
            "6e616d65");
  GZipEntry other = someEntry();
  other.setCompressed();
  other.setEncrypted();
  other.setHasDataDescriptor();
  other.setAscii();
  other.setComment("why");
  const std::string header = centralHeaderOf(other);
  EXPECT_EQ(hex(header.substr(central::flags.offset, 4)), "09000800");
  EXPECT_EQ(hex(header.substr(central::commentSize.offset, 2)), "0300");
  EXPECT_EQ(hex(header.substr(central::internalAttributes.offset, 2)), "0100");
  EXPECT_EQ(header.substr(central::size), "namewhy");
  GZipEntry directory;
  directory.setDirectory();
  EXPECT_EQ(hex(centralHeaderOf(directory).substr(central::externalAttributes.offset, 4)),
            "10000000");
}

TEST(GZipEntry, CompletesALocalHeaderInPlace) {
  GZipEntry entry = someEntry();
  entry.setCompressed();
  entry.setLocalHeaderOffs(3);
  std::stringstream out;
  out << "abc";
  EXPECT_TRUE(entry.writeLocalFileHeader(&out));
  out << "data";
  EXPECT_TRUE(entry.updateLocalFileHeader(&out));
  out << "more";
  const std::string bytes = out.str();
  EXPECT_EQ(bytes.substr(0, 3), "abc");
  EXPECT_EQ(hex(bytes.substr(3 + local::flags.offset, 4)), "00000800")
      << "no announcement any more";
  EXPECT_EQ(hex(bytes.substr(3 + local::crc.offset, 12)), "4433221188776655ccbbaa99");
  EXPECT_EQ(bytes.substr(3 + local::size), "namedatamore");
  EXPECT_FALSE(entry.hasDataDescriptor());
}

TEST(GZipEntry, WritesADataDescriptorWhereItIsToHaveOne) {
  GZipEntry entry = someEntry();
  entry.setHasDataDescriptor();
  std::ostringstream out;
  EXPECT_TRUE(entry.updateLocalFileHeader(&out));
  EXPECT_EQ(hex(out.str()), "504b07084433221188776655ccbbaa99");
}

// A stream that takes bytes and knows no positions.
class NoSeekBuf : public std::stringbuf {
 protected:
  pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
    return off_type(-1);
  }
  pos_type seekpos(pos_type, std::ios_base::openmode) override { return off_type(-1); }
};

TEST(GZipEntry, AStreamThatCannotSeekStaysFailed) {
  CaptureOutput output;
  NoSeekBuf buffer;
  std::ostream out(&buffer);
  GZipEntry entry = someEntry();
  EXPECT_FALSE(entry.updateLocalFileHeader(&out));
  EXPECT_FALSE(entry.hasDataDescriptor());
  EXPECT_EQ(output.lines, (Lines{{GOutputError, "_data", "data descriptor: input/output error"}}));
}

TEST(GZipEntry, SaysWhenItCannotWrite) {
  CaptureOutput output;
  std::ostream broken(nullptr);
  EXPECT_FALSE(someEntry().writeLocalFileHeader(&broken));
  EXPECT_FALSE(someEntry().writeFileHeader(&broken));
  EXPECT_EQ(output.texts(), (Texts{"local file header: input/output error",
                                   "central file header: input/output error"}));
}

// --- Reading a central header ----------------------------------------------

struct Read {
  bool good;
  GZipEntry entry;
  Texts texts;
};

Read readCentral(const std::string& bytes) {
  CaptureOutput output;
  Read read{false, {}, {}};
  std::istringstream in(bytes);
  read.good = read.entry.readFileHeader(&in);
  for (const OutputLine& line : output.lines) {
    EXPECT_EQ(line.sys, "_data");
    EXPECT_TRUE(line.level == GOutputWarning || (!read.good && &line == &output.lines.back()));
  }
  read.texts = output.texts();
  return read;
}

TEST(GZipEntry, ReadsACentralHeader) {
  GZipEntry written = someEntry();
  written.setCompressed();
  written.setEncrypted();
  written.setHasDataDescriptor();
  written.setAscii();
  written.setComment("why");
  const Read read = readCentral(centralHeaderOf(written));
  ASSERT_TRUE(read.good);
  EXPECT_EQ(read.texts, Texts{});
  EXPECT_EQ(read.entry.getModTime(), someTime() - 1) << "in steps of two seconds";
  EXPECT_EQ(read.entry.getCRC32(), 0x11223344U);
  EXPECT_EQ(read.entry.getComprSize(), 0x55667788U);
  EXPECT_EQ(read.entry.getUncomprSize(), 0x99aabbccU);
  EXPECT_EQ(read.entry.getLocalHeaderOffs(), 0x0badcafeU);
  EXPECT_EQ(read.entry.getFName(), "name");
  EXPECT_EQ(read.entry.getComment(), "why");
  EXPECT_TRUE(read.entry.isCompressed() && read.entry.isEncrypted() && read.entry.isFile() &&
              read.entry.hasDataDescriptor());
  EXPECT_FALSE(read.entry.isAscii()) << "never set by reading";
  EXPECT_FALSE(read.entry.isDirectory() || read.entry.extractNotSupported());
}

TEST(GZipEntry, LeavesTheStreamAtTheNextHeader) {
  std::string first = with(centralHeaderOf(someEntry()), central::extraSize, 5);
  first += "extra";
  std::istringstream in(first + "next");
  GZipEntry entry;
  ASSERT_TRUE(entry.readFileHeader(&in));
  std::string next;
  in >> next;
  EXPECT_EQ(next, "next");
}

TEST(GZipEntry, IgnoresWhatItHasNoUseFor) {
  std::string bytes = centralHeaderOf(someEntry());
  bytes = with(bytes, central::madeBy, 0xffff);
  bytes = with(bytes, central::version, 0xffff);
  bytes = with(bytes, central::flags, 0xfff6);
  bytes = with(bytes, central::internalAttributes, 0xffff);
  bytes = with(bytes, central::externalAttributes, 0xffffffe7);
  const Read read = readCentral(bytes);
  EXPECT_TRUE(read.good && read.entry.isFile());
  EXPECT_FALSE(read.entry.isEncrypted() || read.entry.hasDataDescriptor());
  EXPECT_EQ(read.texts, Texts{});
}

TEST(GZipEntry, KeepsAnEntryOfAnUnknownMethod) {
  const Read read = readCentral(with(centralHeaderOf(someEntry()), central::method, 12));
  EXPECT_TRUE(read.good && read.entry.extractNotSupported() && !read.entry.isCompressed());
  EXPECT_EQ(read.texts, Texts{"central file header: compression method 12 not supported"});
}

TEST(GZipEntry, TellsFilesFromDirectoriesByTheAttributes) {
  const auto withAttributes = [](unsigned value) {
    return readCentral(with(centralHeaderOf(someEntry()), central::externalAttributes, value));
  };
  EXPECT_TRUE(withAttributes(0).entry.isFile());
  EXPECT_TRUE(withAttributes(0x21).entry.isFile());
  EXPECT_TRUE(withAttributes(0x10).entry.isDirectory());
  const Read both = withAttributes(0x18);
  EXPECT_TRUE(both.entry.isDirectory() && !both.entry.isFile());
  EXPECT_EQ(both.texts, Texts{});
  const Read label = withAttributes(0x08);
  EXPECT_TRUE(label.good && label.entry.extractNotSupported());
  EXPECT_FALSE(label.entry.isFile() || label.entry.isDirectory());
  EXPECT_EQ(label.texts, Texts{"central file header: volume label ignored"});
  GZipEntry slash = someEntry();
  slash.setFName("slash/");
  EXPECT_TRUE(readCentral(centralHeaderOf(slash)).entry.isFile()) << "the name decides nothing";
}

TEST(GZipEntry, WarnsOfADiskNumber) {
  const Read read = readCentral(with(centralHeaderOf(someEntry()), central::disk, 1));
  EXPECT_TRUE(read.good);
  EXPECT_EQ(read.texts, Texts{"central file header: bogus disk number start field"});
}

TEST(GZipEntry, TakesNamesOf1024Bytes) {
  GZipEntry entry = someEntry();
  entry.setFName(std::string(1024, 'n'));
  EXPECT_EQ(readCentral(centralHeaderOf(entry)).entry.getFName(), std::string(1024, 'n'));
  entry.setFName(std::string(1025, 'n'));
  const Read read = readCentral(centralHeaderOf(entry));
  EXPECT_FALSE(read.good);
  EXPECT_EQ(read.texts, Texts{"central file header: file names longer than 1024 not supported"});
}

TEST(GZipEntry, KeepsZeroBytesInNames) {
  GZipEntry entry = someEntry();
  entry.setFName(std::string("a\0b", 3));
  EXPECT_EQ(readCentral(centralHeaderOf(entry)).entry.getFName(), std::string("a\0b", 3));
}

TEST(GZipEntry, RefusesACentralHeaderThatIsCutOff) {
  GZipEntry entry = someEntry();
  entry.setComment("why");
  const std::string whole = with(centralHeaderOf(entry), central::extraSize, 2);
  const std::string bytes = whole.substr(0, 50) + "ex" + whole.substr(50);
  ASSERT_TRUE(readCentral(bytes).good);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const Read read = readCentral(bytes.substr(0, size));
    EXPECT_FALSE(read.good) << size;
    const char* text = size < 46   ? "central file header: input/output error"
                       : size < 50 ? "central file header: input/output error reading file name"
                       : size < 52 ? "central file header: input/output error skipping extra field"
                                   : "central file header: input/output error reading comment";
    EXPECT_EQ(read.texts, Texts{text}) << size;
  }
  EXPECT_EQ(readCentral(with(bytes, central::signature, local::signatureValue)).texts,
            Texts{"central file header: invalid signature"});
}

// --- Comparing a local header ------------------------------------------------

struct LocalCase {
  const char* what;
  std::function<std::string(std::string)> forge;
  const char* text;  // null: passes
};

class LocalHeaders : public ::testing::TestWithParam<LocalCase> {};

TEST_P(LocalHeaders, AreComparedWithTheEntry) {
  GZipEntry entry = someEntry();
  entry.setLocalHeaderOffs(0);
  std::stringstream file;
  ASSERT_TRUE(entry.writeLocalFileHeader(&file) && entry.updateLocalFileHeader(&file));
  CaptureOutput output;
  std::istringstream in(GetParam().forge(file.str()));
  EXPECT_EQ(entry.verifyLocalFileHeader(&in), GetParam().text == nullptr);
  const Texts expected = GetParam().text == nullptr
                             ? Texts{}
                             : Texts{std::string("local file header: ") + GetParam().text};
  EXPECT_EQ(output.texts(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    GZipEntry, LocalHeaders,
    ::testing::Values(
        LocalCase{"right", [](std::string s) { return s; }, nullptr},
        LocalCase{"cut", [](std::string s) { return s.substr(0, 29); }, "input/output error"},
        LocalCase{"empty", [](std::string) { return std::string(); }, "input/output error"},
        LocalCase{"signature",
                  [](std::string s) { return with(s, local::signature, central::signatureValue); },
                  "signature mismatch"},
        LocalCase{"version", [](std::string s) { return with(s, local::version, 99); }, nullptr},
        LocalCase{"crypt", [](std::string s) { return with(s, local::flags, 1); },
                  "crypt flag mismatch"},
        LocalCase{"descriptor", [](std::string s) { return with(s, local::flags, 8); },
                  "data descriptor bit mismatch"},
        LocalCase{"both", [](std::string s) { return with(s, local::flags, 9); },
                  "crypt flag mismatch"},
        LocalCase{"otherflags", [](std::string s) { return with(s, local::flags, 0xfff6); },
                  nullptr},
        LocalCase{"method8", [](std::string s) { return with(s, local::method, 8); },
                  "compression method mismatch"},
        LocalCase{"method12", [](std::string s) { return with(s, local::method, 12); },
                  "compression method mismatch"},
        LocalCase{"time", [](std::string s) { return with(s, Le32{local::time.offset}, 0); },
                  nullptr},
        LocalCase{"crc", [](std::string s) { return with(s, local::crc, 0); }, "crc mismatch"},
        LocalCase{"comprsize", [](std::string s) { return with(s, local::comprSize, 0); },
                  "compressed size mismatch"},
        LocalCase{"uncomprsize", [](std::string s) { return with(s, local::uncomprSize, 0); },
                  "uncompressed size mismatch"},
        LocalCase{"namesize", [](std::string s) { return with(s, local::nameSize, 3); },
                  "filename length mismatch"},
        LocalCase{"namecut", [](std::string s) { return s.substr(0, 33); },
                  "input/output error reading file name"},
        LocalCase{"name", [](std::string s) { return s.replace(33, 1, "E"); },
                  "file name mismatch"},
        LocalCase{"extra", [](std::string s) { return with(s, local::extraSize, 3) + "abc"; },
                  nullptr},
        LocalCase{"extracut", [](std::string s) { return with(s, local::extraSize, 3) + "ab"; },
                  "input/output error skipping extra field"}),
    [](const auto& test) { return std::string(test.param.what); });

TEST(GZipEntry, ComparesNoSizesWhereThereIsADataDescriptor) {
  CaptureOutput output;
  GZipEntry entry = someEntry();
  entry.setHasDataDescriptor();
  std::istringstream in(localHeaderOf(entry) + "data");
  EXPECT_TRUE(entry.verifyLocalFileHeader(&in));
  EXPECT_EQ(in.tellg(), std::streampos(34));
  GZipEntry other = someEntry();
  std::istringstream again(localHeaderOf(other));
  EXPECT_FALSE(other.verifyLocalFileHeader(&again));
  EXPECT_EQ(output.texts(), Texts{"local file header: data descriptor bit mismatch"});
}

// Summer times come back an hour late, whatever the time zone: the reader takes
// them for standard time. The process's zone is set for this, and put back.
TEST(GZipEntry, TakesEveryTimeForStandardTime) {
  const char* before = std::getenv("TZ");
  const std::string saved = before == nullptr ? "" : before;
  ::setenv("TZ", "Europe/Berlin", 1);
  ::tzset();
  GZipEntry winter;
  winter.setModTime(1768478400);  // 2026-01-15 12:00 UTC
  GZipEntry summer;
  summer.setModTime(1784116800);  // 2026-07-15 12:00 UTC
  EXPECT_EQ(readCentral(centralHeaderOf(winter)).entry.getModTime(), 1768478400);
  const bool hasZones = summer.getFileTime() == (14 << 11);
  if (hasZones) {
    EXPECT_EQ(readCentral(centralHeaderOf(summer)).entry.getModTime(), 1784116800 + 3600);
    GZipEntry asked;
    EXPECT_EQ(asked.getFileTime() & 31, 0);
    std::istringstream header(centralHeaderOf(summer));
    ASSERT_TRUE(asked.readFileHeader(&header));
    EXPECT_EQ(asked.getFileTime(), 15 << 11) << "whatever was asked for before";
  }
  if (before == nullptr) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", saved.c_str(), 1);
  }
  ::tzset();
}

}  // namespace
}  // namespace loomkit::testing
