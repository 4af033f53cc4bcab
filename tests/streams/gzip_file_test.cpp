// SPDX-License-Identifier: MIT
#include "loomkit/streams/gzip_file.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace loomkit {
namespace {

std::string packed(const std::string& text, const GzipHeader& header = {}, int level = 6) {
  std::istringstream in(text);
  std::ostringstream out;
  EXPECT_TRUE(writeGzip(in, out, level, header));
  return out.str();
}

struct Unpacked {
  GzipReader::Result result;
  std::string text;
  GzipHeader header;
};

Unpacked unpack(const std::string& bytes) {
  std::istringstream in(bytes);
  std::ostringstream out;
  GzipReader reader(in);
  const GzipReader::Result result = reader.extract(&out);
  EXPECT_EQ(reader.getSize(), out.str().size());
  EXPECT_EQ(reader.getErrMsg().empty(), result == GzipReader::complete);
  return {result, out.str(), reader.getHeader()};
}

std::string noise(std::size_t size) {
  std::mt19937 random(7);
  std::string text(size, '\0');
  for (char& c : text) c = static_cast<char>(random() % 7);
  return text;
}

TEST(GzipFile, EveryLevelAndSizeComesBack) {
  for (const std::size_t size : {0UL, 1UL, 131071UL, 131072UL, 131073UL, 700000UL}) {
    const std::string text = noise(size);
    for (int level = 1; level <= 9; ++level) {
      const Unpacked back = unpack(packed(text, {}, level));
      EXPECT_EQ(back.result, GzipReader::complete);
      EXPECT_EQ(back.text, text) << size << " bytes at level " << level;
    }
  }
}

TEST(GzipFile, TheHeaderKeepsNameAndTime) {
  const Unpacked back = unpack(packed("text", {"a name", 0x80000001U}));
  EXPECT_EQ(back.header.name, "a name");
  EXPECT_EQ(back.header.time, 0x80000001U);
  EXPECT_EQ(unpack(packed("text")).header.name, "");
  EXPECT_EQ(unpack(packed("text")).header.time, 0U);
  EXPECT_EQ(unpack(packed("text", {std::string(10000, 'n'), 0})).header.name.size(), 4095U)
      << "an endless name takes no memory";
}

TEST(GzipFile, TheHeaderCanBeReadFirst) {
  std::istringstream in(packed("text", {"name", 5}));
  std::ostringstream out;
  GzipReader reader(in);
  EXPECT_EQ(reader.readHeader(), GzipReader::complete);
  EXPECT_EQ(reader.getHeader().name, "name");
  EXPECT_EQ(reader.getFrameSize(), 10U + 5 + 8);
  EXPECT_EQ(reader.extract(&out), GzipReader::complete);
  EXPECT_EQ(out.str(), "text");
  EXPECT_EQ(reader.getCRC(), 0x3b8ba7c7U);
}

TEST(GzipFile, SeveralMembersAreOneFileAndTheFirstHeaderCounts) {
  const Unpacked back = unpack(packed("one ", {"first", 1}) + packed("", {"second", 2}) +
                               packed("two", {"third", 3}) + std::string(1000, '\0'));
  EXPECT_EQ(back.result, GzipReader::complete);
  EXPECT_EQ(back.text, "one two");
  EXPECT_EQ(back.header.name, "first");
  EXPECT_EQ(back.header.time, 1U);
}

TEST(GzipFile, SaysHowItEnds) {
  const std::string good = packed("some text");
  std::string wrongSum = good;
  wrongSum[good.size() - 8] ^= 1;
  std::string wrongLength = good;
  wrongLength[good.size() - 1] ^= 1;
  std::string wrongMethod = good;
  wrongMethod[2] = 7;
  struct Case {
    const char* name;
    std::string bytes;
    GzipReader::Result result;
    const char* text;
  };
  const Case cases[] = {
      {"nothing", "", GzipReader::notGzip, ""},
      {"one byte", "\x1f", GzipReader::notGzip, ""},
      {"text", "some text", GzipReader::notGzip, ""},
      {"method", wrongMethod, GzipReader::damaged, ""},
      {"sum", wrongSum, GzipReader::damaged, "some text"},
      {"length", wrongLength, GzipReader::damaged, "some text"},
      {"rubbish", good + "rubbish", GzipReader::trailingGarbage, "some text"},
      {"one byte more", good + "\x1f", GzipReader::trailingGarbage, "some text"},
      {"zeros and rubbish", good + std::string(9, '\0') + "!", GzipReader::trailingGarbage,
       "some text"},
      {"half a member", good + good.substr(0, 11), GzipReader::unexpectedEnd, "some text"},
      {"a bad member", good + wrongMethod, GzipReader::damaged, "some text"},
  };
  for (const Case& c : cases) {
    const Unpacked back = unpack(c.bytes);
    EXPECT_EQ(back.result, c.result) << c.name;
    EXPECT_EQ(back.text, c.text) << c.name;
  }
}

TEST(GzipFile, NoBeginningOfAFileIsComplete) {
  const std::string good = packed("some text", {"name", 1});
  for (std::size_t size = 0; size < good.size(); ++size) {
    const GzipReader::Result result = unpack(good.substr(0, size)).result;
    EXPECT_EQ(result, size < 2 ? GzipReader::notGzip : GzipReader::unexpectedEnd) << size;
  }
}

// A stream whose source or sink breaks after some bytes.
class BreakingBuf : public std::streambuf {
 public:
  BreakingBuf(std::string bytes, int room) : text(std::move(bytes)), left(room) {
    setg(text.data(), text.data(), text.data() + text.size());
  }

 protected:
  int_type underflow() override { throw 1; }  // an istream makes it its bad state
  int_type overflow(int_type c) override { return left-- > 0 ? c & 255 : traits_type::eof(); }

 private:
  std::string text;
  int left;
};

TEST(GzipFile, AStreamThatBreaksIsToldFromDamage) {
  const std::string good = packed(noise(1000));
  BreakingBuf source(good.substr(0, 100), 0);
  std::istream in(&source);
  std::ostringstream out;
  EXPECT_EQ(GzipReader(in).extract(&out), GzipReader::cannotRead);

  std::istringstream whole(good);
  BreakingBuf sink("", 10);
  std::ostream full(&sink);
  EXPECT_EQ(GzipReader(whole).extract(&full), GzipReader::cannotWrite);

  std::istringstream text(noise(1000));
  BreakingBuf small("", 10);
  std::ostream crowded(&small);
  EXPECT_FALSE(writeGzip(text, crowded, 6));
  EXPECT_TRUE(crowded.bad());

  BreakingBuf broken("text", 0);
  std::istream breaks(&broken);
  std::ostringstream target;
  EXPECT_FALSE(writeGzip(breaks, target, 6));
}

}  // namespace
}  // namespace loomkit
