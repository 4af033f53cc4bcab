// SPDX-License-Identifier: MIT
// GZipWriter and GZipFileWriter: what is written where, and every failure.
#include "loomkit/archive/zip/zip_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "loomkit/platform/hul.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
using Texts = std::vector<std::string>;
namespace central = zip::central;
namespace local = zip::local;

OutputLine errorLine(const std::string& text) { return {GOutputError, gDataSysName, text}; }

Texts namesInOrder(std::string zip) {
  Texts names;
  std::size_t header = directoryOf(zip);
  while (header < endRecordOf(zip)) {
    const std::size_t size = fieldOf(zip, central::nameSize.behind(header));
    names.push_back(zip.substr(header + central::size, size));
    header += central::size + size;
  }
  return names;
}

struct NameCase {
  std::string given;
  std::string stored;
  bool reported = false;
};

class ZipNames : public ::testing::TestWithParam<NameCase> {};

TEST_P(ZipNames, AreCleanedUp) {
  CaptureOutput output;
  std::ostringstream out;
  GZipWriter writer(&out, false);
  EXPECT_TRUE(writer.writeEntry(GetParam().given, "", 0));
  EXPECT_FALSE(writer.isError());
  EXPECT_TRUE(writer.close());
  EXPECT_EQ(namesInOrder(out.str()).back(), GetParam().stored);
  Lines expected;
  if (GetParam().reported) {
    expected.push_back(
        errorLine("\"..\" at beginning of zip entry name (" + GetParam().given + ")"));
  }
  EXPECT_EQ(output.lines, expected);
}

INSTANTIATE_TEST_SUITE_P(
    GZipWriter, ZipNames,
    ::testing::Values(NameCase{"a", "a"}, NameCase{"a\\b.txt", "a/b.txt"}, NameCase{"/a//b", "a/b"},
                      NameCase{"./a/./b", "a/b"}, NameCase{"a/b/../c", "a/c"},
                      NameCase{"a/b/..", "a/"}, NameCase{"../x", "x", true}, NameCase{"", ""},
                      NameCase{"/", ""}, NameCase{"\\\\a\\\\\\b\\", "a/b/"}, NameCase{".", ""},
                      NameCase{"./", ""}, NameCase{"a/.", "a/"}, NameCase{"a/./", "a/"},
                      NameCase{".profile", ".profile"}, NameCase{"a/.profile", "a/.profile"},
                      NameCase{"..x", "..x"}, NameCase{"a/..x", "a/..x"}, NameCase{"...", "..."},
                      NameCase{"a/.../b", "a/.../b"}, NameCase{"a.b", "a.b"},
                      NameCase{"a..b", "a..b"}, NameCase{"a..", "a.."}, NameCase{"a/..", ""},
                      NameCase{"a/../b", "b"}, NameCase{"a/b/c/../../d", "a/d"},
                      NameCase{"a\\..\\b", "b"}, NameCase{"..", "", true},
                      NameCase{"/../x", "x", true}, NameCase{"a/b/../..", ""},
                      NameCase{"C:\\x", "C:/x"}, NameCase{"a/b/../../c", "c"}));

// A path with more ".." than directories is reported for each of them.
TEST(GZipWriter, ReportsEachStepOutOfTheArchive) {
  CaptureOutput output;
  std::ostringstream out;
  GZipWriter writer(&out, false);
  EXPECT_TRUE(writer.writeEntry("../../a/../../x", "", 0));
  EXPECT_EQ(output.lines.size(), 3U);
  EXPECT_TRUE(writer.close());
  EXPECT_EQ(namesInOrder(out.str()), Texts{"x"});
}

TEST(GZipWriter, MakesDirectoriesOnce) {
  const std::string zip =
      zipOf({{"a/b/c.txt", "1"}, {"a/b/d.txt", "2"}, {"a/e", "3"}, {"f", "4"}, {"g/", "5"}});
  EXPECT_EQ(namesInOrder(zip), (Texts{"a/", "a/b/", "a/b/c.txt", "a/b/d.txt", "a/e", "f", "g/"}));
  std::istringstream in(zip);
  GZipReader reader(&in, false);
  EXPECT_TRUE(reader.getEntry("a/b/")->isDirectory());
  EXPECT_TRUE(reader.getEntry("g/")->isFile()) << "what is written is a file, whatever its name";
}

TEST(GZipWriter, WritesADirectoryWithoutSizesAndUncompressed) {
  std::string zip = zipOf({{"a/b", "1", true}});
  EXPECT_EQ(fieldOf(zip, local::flags), 0);
  EXPECT_EQ(fieldOf(zip, local::method), 0);
  EXPECT_EQ(fieldOf(zip, local::comprSize), 0U);
  EXPECT_EQ(zip.substr(local::size, 6), "a/PK\3\4") << "no data, no descriptor";
  EXPECT_EQ(fieldOf(zip, central::externalAttributes.behind(directoryOf(zip))), 16U);
}

TEST(GZipWriter, AnEmptyStoredMemberIsAllZero) {
  std::string zip = zipOf({{"e", ""}});
  EXPECT_EQ(fieldOf(zip, local::flags), 0);
  EXPECT_EQ(fieldOf(zip, local::method), 0);
  EXPECT_EQ(zip.substr(local::crc.offset, 12), std::string(12, '\0'));
  EXPECT_EQ(directoryOf(zip), local::size + 1);
}

TEST(GZipWriter, StoresWholeSteps) {
  for (const std::size_t size : {8191U, 8192U, 8193U, 16384U}) {
    const std::string data(size, 'x');
    std::string zip = zipOf({{"s", data}});
    EXPECT_EQ(directoryOf(zip), local::size + 1 + size);
    EXPECT_EQ(zip.substr(local::size + 1, size), data);
  }
}

TEST(GZipWriter, AnEncryptedMemberHasADataDescriptor) {
  std::string zip = zipOf({{"e", "secret", false, "pw"}});
  EXPECT_EQ(fieldOf(zip, local::flags), 9);
  EXPECT_EQ(zip.substr(local::crc.offset, 12), std::string(12, '\0'));
  const std::size_t descriptor = local::size + 1 + 12 + 6;
  EXPECT_EQ(fieldOf(zip, zip::descriptor::signature.behind(descriptor)),
            zip::descriptor::signatureValue);
  EXPECT_EQ(fieldOf(zip, zip::descriptor::comprSize.behind(descriptor)), 18U);
  EXPECT_EQ(fieldOf(zip, zip::descriptor::uncomprSize.behind(descriptor)), 6U);
  EXPECT_EQ(directoryOf(zip), descriptor + zip::descriptor::size);
  const std::size_t header = directoryOf(zip);
  EXPECT_EQ(fieldOf(zip, central::flags.behind(header)), 9);
  EXPECT_EQ(fieldOf(zip, central::crc.behind(header)),
            fieldOf(zip, zip::descriptor::crc.behind(descriptor)));
}

TEST(GZipWriter, JudgesWhatIsText) {
  struct Case {
    std::string data;
    bool text;
  };
  const auto mixed = [](std::size_t text, std::size_t other) {
    return std::string(text, 't') + std::string(other, '\x80');
  };
  for (const Case& c : {Case{"", false}, Case{"text", true}, Case{mixed(4, 0), true},
                        Case{mixed(4, 1), false}, Case{mixed(8, 1), true}, Case{mixed(8, 2), false},
                        Case{mixed(3, 0), false}, Case{mixed(0, 5), false},
                        Case{mixed(40000, 9999), true}, Case{mixed(40000, 10000), false}}) {
    std::string zip = zipOf({{"m", c.data}});
    EXPECT_EQ(fieldOf(zip, central::internalAttributes.behind(directoryOf(zip))), c.text ? 1 : 0)
        << c.data.size();
  }
}

TEST(GZipWriter, NeverWritesAComment) {
  std::ostringstream out;
  GZipWriter writer(&out, false);
  writer.setZipFileComment("comment");
  EXPECT_TRUE(writer.close());
  std::string zip = out.str();
  ASSERT_EQ(zip.size(), zip::end::size);
  EXPECT_EQ(fieldOf(zip, zip::end::commentSize), 0);
}

TEST(GZipWriter, AllMembersHaveTheTimeOfTheWriter) {
  std::ostringstream out;
  GZipWriter writer(&out, false);
  const auto now = static_cast<long>(std::time(nullptr));
  EXPECT_TRUE(writer.writeEntry("d/a", "", 0) && writer.close());
  std::istringstream in(out.str());
  GZipReader reader(&in, false);
  std::tm parts{};
  const std::time_t time = now;
  ::localtime_r(&time, &parts);
  const long summer = parts.tm_isdst > 0 ? 3600 : 0;
  EXPECT_NEAR(static_cast<double>(reader.getEntry("d/a")->getModTime()),
              static_cast<double>(now + summer), 4);
  EXPECT_EQ(reader.getEntry("d/")->getModTime(), reader.getEntry("d/a")->getModTime());
}

TEST(GZipWriter, WritesFilesUnderTheirPaths) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  const std::string path = scratch.write("file.txt", "content");
  GZipWriter writer;
  ASSERT_TRUE(writer.open(scratch / "a.zip"));
  EXPECT_TRUE(writer.writeEntry(path));
  EXPECT_FALSE(writer.writeEntry(scratch / "none"));
  EXPECT_TRUE(writer.isError());
  EXPECT_FALSE(writer.writeEntry("more", "", 0)) << "and silently";
  EXPECT_FALSE(writer.close()) << "though the directory is written";
  EXPECT_EQ(output.lines,
            Lines{errorLine(scratch / "a.zip" + ": can't open file \"" + scratch / "none" + "\"")});
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch / "a.zip"));
  EXPECT_EQ(textOf(reader, path.substr(1)), "content");
}

TEST(GZipWriter, SaysWhenItCannotOpen) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  GZipWriter writer;
  EXPECT_FALSE(writer.open(scratch / "none/a.zip"));
  EXPECT_FALSE(writer.writeEntry("a", "", 0));
  EXPECT_TRUE(writer.close()) << "there is nothing to close";
  EXPECT_EQ(output.lines,
            Lines{errorLine(scratch / "none/a.zip" + ": Can't create scene file '" +
                            scratch / "none/a.zip" + "' for writing (No such file or directory)")});
}

TEST(GZipWriter, ClosesOnce) {
  const ScratchDirectory scratch;
  GZipWriter writer;
  EXPECT_TRUE(writer.close());
  ASSERT_TRUE(writer.open(scratch / "a.zip"));
  EXPECT_TRUE(writer.close());
  const std::string before = scratch.read("a.zip");
  EXPECT_TRUE(writer.close());
  EXPECT_EQ(scratch.read("a.zip"), before);
  EXPECT_EQ(before, zipOf({}));
}

TEST(GZipWriter, TheDestructorCloses) {
  const ScratchDirectory scratch;
  {
    GZipWriter writer;
    ASSERT_TRUE(writer.open(scratch / "a.zip"));
    writer.writeEntry("a", "text", 4);
  }
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch / "a.zip"));
  EXPECT_EQ(textOf(reader, "a"), "text");
}

TEST(GZipWriter, AFullDiskIsToldWithItsReason) {
  CaptureOutput output;
  GZipWriter writer;
  ASSERT_TRUE(writer.open("/dev/full"));
  EXPECT_FALSE(writer.writeEntry("a", "text", 4));
  EXPECT_FALSE(writer.close());
  EXPECT_EQ(output.texts(),
            (Texts{"local file header: input/output error (No space left on device)",
                   "/dev/full: error writing local file header",
                   "central file header: input/output error (No space left on device)"}));
}

// Takes so many bytes and no more.
class LimitedBuf : public std::stringbuf {
 public:
  explicit LimitedBuf(std::streamsize bytes) : left(bytes) {}

 protected:
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    if (n > left) return 0;
    left -= n;
    return std::stringbuf::xsputn(s, n);
  }

 private:
  std::streamsize left;
};

TEST(GZipWriter, EachWriteThatFailsHasItsMessage) {
  struct Case {
    std::streamsize room;
    bool encrypted;
    Texts texts;
  };
  const std::string central = "central file header: input/output error";
  for (const Case& c :
       {Case{10,
             false,
             {"local file header: input/output error", "<unknown>: error writing local file header",
              central}},
        Case{31, false, {"<unknown>: input/output error writing to zip file", central}},
        Case{31, true, {"<unknown>: input/output error writing to zip file", central}},
        Case{43, true, {"<unknown>: input/output error writing to zip file", central}},
        Case{35,
             false,
             {"local file header (update): input/output error",
              "<unknown>: error patching local file header", central}},
        Case{47,
             true,
             {"data descriptor: input/output error", "<unknown>: error patching local file header",
              central}},
        Case{65, false, {central, "<unknown>: error writing file header"}},
        Case{112,
             false,
             {"<unknown>: input/output error writing end of central directory record"}}}) {
    CaptureOutput output;
    LimitedBuf buffer(c.room);
    std::ostream out(&buffer);
    GZipWriter writer(&out, false);
    if (c.encrypted) writer.setPassword("pw");
    writer.writeEntry("a", "data", 4);
    EXPECT_FALSE(writer.close());
    EXPECT_EQ(output.texts(), c.texts) << c.room;
    EXPECT_TRUE(writer.close()) << "nothing is left to close";
  }
}

// A stream without positions: what is written can be written, but the header's
// completion leaves the stream failed.
TEST(GZipWriter, AStreamThatCannotSeekFailsAtTheFirstMember) {
  class NoSeek : public std::stringbuf {
   protected:
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
      return off_type(-1);
    }
    pos_type seekpos(pos_type, std::ios_base::openmode) override { return off_type(-1); }
  };
  CaptureOutput output;
  NoSeek buffer;
  std::ostream out(&buffer);
  GZipWriter writer(&out, false);
  EXPECT_FALSE(writer.writeEntry("a", "data", 4));
  EXPECT_EQ(output.texts(), (Texts{"data descriptor: input/output error",
                                   "<unknown>: error patching local file header"}));
}

TEST(GZipWriter, FlushAndCloseOfAStreamMayFail) {
  class NoSync : public std::stringbuf {
   protected:
    int sync() override { return -1; }
  };
  CaptureOutput output;
  NoSync buffer;
  std::ostream out(&buffer);
  GZipWriter writer(&out, false);
  EXPECT_FALSE(writer.close());
  EXPECT_TRUE(writer.close());
  EXPECT_EQ(output.lines, Lines{errorLine("<unknown>: input/output error on flush")});
}

class ShortInput : public GZipWriter::Input {
 public:
  unsigned int read(char* buffer, unsigned int size) override {
    EXPECT_EQ(size, 8192U);
    buffer[0] = 'x';
    return calls++ == 0 ? 1 : 0;
  }
  int calls = 0;
};

TEST(GZipWriter, AShortReadEndsTheData) {
  std::ostringstream out;
  GZipWriter writer(&out, false);
  ShortInput input;
  EXPECT_TRUE(writer.writeEntry("a", &input));
  EXPECT_EQ(input.calls, 1);
  EXPECT_TRUE(writer.close());
}

TEST(GZipWriter, ReadsAStreamByItsBufferAlone) {
  std::istringstream data("content");
  data.setstate(std::ios::failbit);
  std::ostringstream out;
  GZipWriter writer(&out, false);
  EXPECT_TRUE(writer.writeEntry("a", &data));
  EXPECT_TRUE(writer.close());
  EXPECT_TRUE(data.fail() && !data.eof()) << "its state stays as it was";
  std::istringstream in(out.str());
  GZipReader reader(&in, false);
  EXPECT_EQ(textOf(reader, "a"), "content");
}

TEST(GZipWriter, AReproducibleArchiveIsTheSameAtAnyTimeAndPlace) {
  const auto make = [](const char* zone, bool backwards) {
    const char* before = std::getenv("TZ");
    const std::string saved = before == nullptr ? "" : before;
    ::setenv("TZ", zone, 1);
    ::tzset();
    std::ostringstream out;
    GZipWriter writer(&out, false);
    writer.setReproducible(true);
    writer.setCompression(true);
    const std::vector<std::string> names = backwards ? Texts{"b", "a"} : Texts{"a", "b"};
    for (const std::string& name : names) writer.writeEntry(name, name.data(), 1);
    EXPECT_TRUE(writer.close());
    if (before == nullptr) {
      ::unsetenv("TZ");
    } else {
      ::setenv("TZ", saved.c_str(), 1);
    }
    ::tzset();
    return out.str();
  };
  const std::string zip = make("UTC0", false);
  EXPECT_EQ(make("XXX-9", false), zip);
  EXPECT_EQ(make("YYY8", false), zip);
  EXPECT_EQ(namesInOrder(make("UTC0", true)), (Texts{"a", "b"})) << "the directory is sorted";
  std::string copy = zip;
  EXPECT_EQ(fieldOf(copy, local::time), 0);
  EXPECT_EQ(fieldOf(copy, local::date), (1 << 5) | 1) << "1980-01-01";
}

TEST(GZipWriter, WhatIsWrittenIsRead) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 300; ++round) {
    std::vector<ZipMember> members;
    const int count = static_cast<int>(random() % 6);
    for (int i = 0; i < count; ++i) {
      std::string data(random() % 3 == 0 ? random() % 30000 : random() % 50, '\0');
      const unsigned spread = 1 + random() % 256;
      for (char& c : data) c = static_cast<char>(random() % spread);
      members.push_back(
          {"m" + std::to_string(i), data, random() % 2 == 0, random() % 2 == 0 ? "pass word" : ""});
    }
    CaptureOutput output;
    std::istringstream in(zipOf(members));
    GZipReader reader(&in, false);
    reader.setPassword("pass word");
    ASSERT_EQ(reader.getEntryCount(), members.size());
    for (const ZipMember& member : members) {
      ASSERT_EQ(textOf(reader, member.name), member.data) << "round " << round;
    }
    ASSERT_EQ(output.lines, Lines{});
  }
}

// --- The sink ------------------------------------------------------------------

TEST(GZipFileWriter, WritesToAHandle) {
  const ScratchDirectory scratch;
  int handle = -1;
  ASSERT_EQ(hulOpenFile((scratch / "f").c_str(), hulCreateForWriting, &handle), 0);
  GZipFileWriter sink(handle);
  EXPECT_EQ(sink.tell(), 0);
  EXPECT_EQ(sink.write("abcdef", 6), 0);
  EXPECT_EQ(sink.tell(), 6);
  EXPECT_EQ(sink.seek(2), 0);
  EXPECT_EQ(sink.write("X", 1), 0);
  EXPECT_LT(sink.seek(-1), 0);
  EXPECT_EQ(sink.flush(), 0);
  EXPECT_EQ(sink.seek(0x7fffffffL), 0);
  EXPECT_EQ(sink.tell(), 0x7fffffffL);
  EXPECT_EQ(sink.write("", 0), 0);
  EXPECT_EQ(sink.close(), 0);
  EXPECT_EQ(sink.close(), 0);
  EXPECT_EQ(sink.tell(), -1);
  EXPECT_EQ(scratch.read("f"), "abXdef");
}

TEST(GZipFileWriter, APositionBeyond32BitsIsNone) {
  if (sizeof(long) < 8) return;  // where a long cannot hold one, there is no way to it
  const ScratchDirectory scratch;
  int handle = -1;
  ASSERT_EQ(hulOpenFile((scratch / "f").c_str(), hulCreateForWriting, &handle), 0);
  GZipFileWriter sink(handle);
  EXPECT_EQ(sink.seek(static_cast<long>(0x80000000UL)), 0);
  EXPECT_EQ(sink.tell(), -1);
}

TEST(GZipFileWriter, WritesToAStream) {
  std::ostringstream out;
  GZipFileWriter sink(&out, false);
  EXPECT_EQ(sink.write("abc", 3), 0);
  EXPECT_EQ(sink.tell(), 3);
  EXPECT_EQ(sink.seek(1), 0);
  EXPECT_EQ(sink.write("X", 1), 0);
  EXPECT_EQ(sink.flush(), 0);
  EXPECT_EQ(sink.seek(100), static_cast<int>(0x80004005U));
  EXPECT_EQ(sink.tell(), -1);
  EXPECT_EQ(sink.write("Y", 1), static_cast<int>(0x80004005U));
  EXPECT_EQ(sink.flush(), 0) << "badbit only counts";
  EXPECT_EQ(sink.close(), static_cast<int>(0x80004005U));
  EXPECT_EQ(sink.close(), 0) << "the stream is gone";
  EXPECT_EQ(sink.seek(0), static_cast<int>(0x80004005U));
  EXPECT_EQ(sink.tell(), -1);
  EXPECT_EQ(sink.flush(), 0);
  EXPECT_EQ(out.str(), "aXc");
}

TEST(GZipFileWriter, ClosesAFileStreamThatItOwns) {
  const ScratchDirectory scratch;
  GZipFileWriter good(new std::ofstream(scratch / "f"), true);
  EXPECT_EQ(good.write("abc", 3), 0);
  EXPECT_EQ(good.close(), 0);
  EXPECT_EQ(scratch.read("f"), "abc");
  GZipFileWriter full(new std::ofstream("/dev/full"), true);
  EXPECT_EQ(full.write("abc", 3), 0);
  EXPECT_EQ(full.close(), static_cast<int>(0x80004005U)) << "what the buffer held was lost";
}

// A file is written in larger pieces than a stream, with the same outcome.
TEST(GZipWriter, WritesTheSameBytesToAFileAsToAStream) {
  const ScratchDirectory scratch;
  std::mt19937 random(4);
  for (int round = 0; round < 40; ++round) {
    std::ostringstream out;
    GZipWriter toStream(&out, false);
    GZipWriter toFile;
    toStream.setReproducible(true);
    toFile.setReproducible(true);
    ASSERT_TRUE(toFile.open(scratch / "a.zip"));
    for (unsigned member = random() % 8; member-- > 0;) {
      // Around the steps of 8192 bytes and the 65536 that are held back.
      const std::size_t sizes[] = {0, 1, 8191, 8192, 8193, 65000, 65536, 70000, 200000};
      std::string data(sizes[random() % std::size(sizes)] + random() % 40, '\0');
      for (char& c : data) c = static_cast<char>(random() % (member % 2 == 0 ? 256 : 4));
      const std::string name(1 + random() % 300, static_cast<char>('a' + member));
      const bool compress = random() % 2 == 0;
      for (GZipWriter* writer : {&toStream, &toFile}) {
        writer->setCompression(compress);
        ASSERT_TRUE(writer->writeEntry(name, data.data(), static_cast<unsigned>(data.size())));
      }
    }
    ASSERT_TRUE(toStream.close());
    ASSERT_TRUE(toFile.close());
    ASSERT_EQ(scratch.read("a.zip"), out.str()) << round;
  }
}

}  // namespace
}  // namespace loomkit::testing
