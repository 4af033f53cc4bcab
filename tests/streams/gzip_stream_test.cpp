// SPDX-License-Identifier: MIT
#include "loomkit/streams/gzip_stream.h"

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capture_output.h"
#include "tests/format_page.h"
#include "tests/scratch_directory.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::ScratchDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

std::string randomText(std::size_t size, unsigned seed, unsigned kinds) {
  std::mt19937 random(seed);
  std::string text(size, '\0');
  for (char& c : text) c = static_cast<char>(random() % kinds);
  return text;
}

// A sink that is full after some bytes.
class LimitedBuf : public std::streambuf {
 public:
  explicit LimitedBuf(int limit) : room(limit) {}

 protected:
  int_type overflow(int_type c) override { return room-- > 0 ? c & 255 : traits_type::eof(); }

 private:
  int room;
};

std::string compressed(const std::string& text, bool gzipFormat) {
  std::istringstream in(text);
  std::ostringstream out;
  EXPECT_TRUE(GGZCompress(in).compress(out, gzipFormat));
  return out.str();
}

bool decompress(const std::string& data, bool gzipFormat, std::string* text) {
  std::istringstream in(data);
  std::ostringstream out;
  const bool good = GGZCompress(in).decompress(out, gzipFormat);
  *text = out.str();
  return good;
}

TEST(GzipStream, ReadsBackWhatItWrote) {
  for (const bool gzipFormat : {false, true}) {
    for (const unsigned kinds : {1U, 4U, 256U}) {
      for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 100'000U}) {
        const std::string text = randomText(size, 5, kinds);
        std::string back;
        ASSERT_TRUE(decompress(compressed(text, gzipFormat), gzipFormat, &back));
        ASSERT_EQ(back, text) << size << " " << kinds;
      }
    }
  }
}

TEST(GzipStream, WorksWithGzipBothWays) {
  const ScratchDirectory folder;
  const std::string text = randomText(50'000, 9, 20);
  folder.write("ours.gz", compressed(text, true));
  folder.write("theirs", text);
  ASSERT_EQ(std::system(("cd " + folder.path() + " && gzip -d ours.gz && gzip -k theirs").c_str()),
            0);
  EXPECT_EQ(folder.read("ours"), text);
  std::string back;
  EXPECT_TRUE(decompress(folder.read("theirs.gz"), true, &back));
  EXPECT_EQ(back, text);
}

TEST(GzipStream, ReadsTheExampleOfItsFormatPage) {
  const std::string bytes = loomkit::testing::hexExampleOf("gzip.md");
  std::string text;
  EXPECT_TRUE(decompress(bytes, true, &text));
  EXPECT_EQ(text, "Hello\n");
  // The trailer, which the class leaves alone, is the one that it writes.
  const std::string ours = compressed(text, true);
  EXPECT_EQ(bytes.substr(bytes.size() - 8), ours.substr(ours.size() - 8));
}

TEST(GzipStream, AnEmptyInputGivesHeaderBlockAndTrailer) {
  const std::string header("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
  EXPECT_EQ(compressed("", true), header + std::string("\x03\0\0\0\0\0\0\0\0\0", 10));
}

TEST(GzipStream, SkipsEachOptionalPartOfTheHeader) {
  const std::string data = compressed("content", true);
  for (int flags = 0; flags < 0x20; ++flags) {
    std::string changed = data.substr(0, 3) + static_cast<char>(flags) + data.substr(4, 6);
    if ((flags & 4) != 0) changed += std::string("\x03\0abc", 5);
    if ((flags & 8) != 0) changed += std::string("name\0", 5);
    if ((flags & 16) != 0) changed += std::string("comment\0", 8);
    if ((flags & 2) != 0) changed += "cc";
    std::string text;
    ASSERT_TRUE(decompress(changed + data.substr(10), true, &text)) << flags;
    ASSERT_EQ(text, "content") << flags;
  }
}

TEST(GzipStream, RefusesBadHeaders) {
  const struct {
    std::string data;
    const char* text;
  } rows[] = {
      {"", "zlib: invalid magic number"},
      {"\x1f", "zlib: invalid magic number"},
      {"\x1f\x8c\x08", "zlib: invalid magic number"},
      {"\x1f\x8b", "zlib: unknown compression method"},
      {std::string("\x1f\x8b\x07\0\0\0\0\0\0\0", 10), "zlib: unknown compression method"},
      {"\x1f\x8b\x08\x20", "zlib: unknown compression method"},
      {"\x1f\x8b\x08\x40", "zlib: unknown compression method"},
      {"\x1f\x8b\x08\x80", "zlib: unknown compression method"},
      {std::string("\x1f\x8b\x08\0\0\0\0\0\0", 9), "zlib: unexpected EOF in header"},
      {std::string("\x1f\x8b\x08\x04\0\0\0\0\0\0\xff\xff", 12), "zlib: unexpected EOF in header"},
      {std::string("\x1f\x8b\x08\x08\0\0\0\0\0\0name", 14), "zlib: unexpected EOF in header"},
      {std::string("\x1f\x8b\x08\x10\0\0\0\0\0\0comment", 17), "zlib: unexpected EOF in header"},
      {std::string("\x1f\x8b\x08\x02\0\0\0\0\0\0c", 11), "zlib: unexpected EOF in header"},
  };
  for (const auto& row : rows) {
    CaptureOutput output;
    output.setLogLevel("*", 0);
    std::string text;
    EXPECT_FALSE(decompress(row.data, true, &text));
    EXPECT_THAT(output.texts(), ElementsAre(row.text));
    EXPECT_EQ(output.lines[0].sys, gDataSysName);
  }
}

TEST(GzipStream, DoesNotLookAtTheTrailer) {
  std::string data = compressed("content", true);
  data[data.size() - 8] = static_cast<char>(data[data.size() - 8] ^ 1);
  std::string text;
  EXPECT_TRUE(decompress(data, true, &text));
  EXPECT_TRUE(decompress(data.substr(0, data.size() - 8), true, &text));
  EXPECT_EQ(text, "content");
}

TEST(GzipStream, EachTruncationFailsWithBufferError) {
  for (const bool gzipFormat : {false, true}) {
    const std::string data = compressed(randomText(200, 3, 9), gzipFormat);
    const std::size_t end = gzipFormat ? data.size() - 8 : data.size();
    for (std::size_t size = gzipFormat ? 10 : 0; size < end; ++size) {
      CaptureOutput output;
      output.setLogLevel("*", 0);
      std::string text;
      ASSERT_FALSE(decompress(data.substr(0, size), gzipFormat, &text)) << size;
      ASSERT_THAT(output.texts(), ElementsAre("zlib: inflate error:-5")) << size;
    }
  }
}

TEST(GzipStream, EachCorruptByteEndsCleanly) {
  for (const bool gzipFormat : {false, true}) {
    const std::string original = randomText(200, 3, 9);
    const std::string data = compressed(original, gzipFormat);
    for (std::size_t at = 0; at < data.size(); ++at) {
      for (int change = 1; change < 256; change += 18) {
        CaptureOutput output;
        output.setLogLevel("*", 0);
        std::string bad = data, text;
        bad[at] = static_cast<char>(bad[at] ^ change);
        const bool good = decompress(bad, gzipFormat, &text);
        ASSERT_EQ(output.lines.empty(), good) << at << " " << change;
        // The zlib format has its checksum verified; gzip's is not.
        if (good && !gzipFormat) {
          ASSERT_EQ(text, original) << at;
        }
      }
    }
  }
}

TEST(GzipStream, AFailingSinkMakesCompressingFail) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  std::istringstream in(randomText(100'000, 1, 256));
  LimitedBuf limited(5000);
  std::ostream out(&limited);
  EXPECT_FALSE(GGZCompress(in).compress(out, false));
  EXPECT_THAT(output.texts(), ElementsAre("zlib: inflateEnd error:-3"));
}

TEST(GzipStream, AFailingStreamStillEndsDecompressingWithTrue) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  std::istringstream in(compressed("text", false));
  std::ostringstream out;
  out.setstate(std::ios_base::failbit);
  EXPECT_TRUE(GGZCompress(in).decompress(out, false));
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(GzipStream, KnowsCompressedDataAndGoesBackToTheStart) {
  std::istringstream gz("xy\x1f\x8b\x08");
  EXPECT_FALSE(GGZCompress(gz).isCompressed());
  EXPECT_EQ(gz.tellg(), 0);
  gz.seekg(2);
  EXPECT_TRUE(GGZCompress(gz).isCompressed());
  EXPECT_EQ(gz.tellg(), 0);
  std::istringstream brief("\x1f");
  EXPECT_FALSE(GGZCompress(brief).isCompressed());
  EXPECT_TRUE(brief.fail());
  EXPECT_EQ(GGZCompress::sMagic[0], 0x1f);
  EXPECT_EQ(GGZCompress::sMagic[1], 0x8b);
}

}  // namespace
