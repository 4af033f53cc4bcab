// SPDX-License-Identifier: MIT
#include "loomkit/streams/mem_stream.h"

#include <algorithm>
#include <limits>
#include <locale>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr auto in = std::ios_base::in;
constexpr auto out = std::ios_base::out;
constexpr auto beg = std::ios_base::beg;
constexpr auto cur = std::ios_base::cur;
constexpr auto end = std::ios_base::end;
constexpr int eof = std::char_traits<char>::eof();

long seek(GMemStreamBuf& buffer, long offset, std::ios_base::seekdir direction,
          std::ios_base::openmode which) {
  return static_cast<long>(std::streamoff(buffer.pubseekoff(offset, direction, which)));
}

void write(GMemStreamBuf& buffer, const std::string& text) {
  buffer.sputn(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string contents(GMemStreamBuf& buffer) {
  seek(buffer, 0, beg, in);
  std::string text(static_cast<std::size_t>(buffer.size()), '\0');
  text.resize(static_cast<std::size_t>(
      buffer.sgetn(text.data(), static_cast<std::streamsize>(text.size()))));
  return text;
}

class CountedBuf : public GMemStreamBuf {
 public:
  explicit CountedBuf(int* ends) : GMemStreamBuf(16), deaths(ends) {}
  ~CountedBuf() override { ++*deaths; }
  using GMemStreamBuf::overflow;

 private:
  int* deaths;
};

TEST(MemStream, ANewStreamIsEmpty) {
  GOMemStream stream;
  EXPECT_EQ(stream.size(), 0);
  EXPECT_EQ(stream.rdbuf()->sgetc(), eof);
  EXPECT_EQ(stream.rdbuf()->in_avail(), 0);
}

TEST(MemStream, AFullBlockStaysAloneUntilTheNextByte) {
  GMemStreamBuf buffer(8);
  write(buffer, "12345678");
  EXPECT_EQ(buffer.size(), 8);
  EXPECT_EQ(seek(buffer, 0, end, out), 8);
  EXPECT_EQ(seek(buffer, 0, cur, out), 8);
  buffer.sputc('9');
  EXPECT_EQ(buffer.size(), 9);
  EXPECT_EQ(contents(buffer), "123456789");
}

TEST(MemStream, SeeksReachTheEndAndNoFurther) {
  GMemStreamBuf buffer(4);
  write(buffer, "123456");
  EXPECT_EQ(seek(buffer, 6, beg, out), 6);
  EXPECT_EQ(seek(buffer, 7, beg, out), -1);
  EXPECT_EQ(seek(buffer, -1, beg, in), -1);
  EXPECT_EQ(seek(buffer, 1, end, in), -1);
  EXPECT_EQ(seek(buffer, -7, end, in | out), -1);
  EXPECT_EQ(seek(buffer, -6, end, in | out), 0);
  EXPECT_EQ(seek(buffer, std::numeric_limits<long>::max(), end, in), -1);
  EXPECT_EQ(seek(buffer, std::numeric_limits<long>::min(), end, in), -1);
  EXPECT_EQ(seek(buffer, 0, beg, std::ios_base::openmode{}), -1);
  EXPECT_EQ(seek(buffer, 0, static_cast<std::ios_base::seekdir>(7), in), -1);
}

TEST(MemStream, TellsEachPointerButNotBothAtOnce) {
  GMemStreamBuf buffer(4);
  write(buffer, "123456");
  buffer.sbumpc();
  EXPECT_EQ(seek(buffer, 0, cur, in | out), -1);
  EXPECT_EQ(seek(buffer, 0, cur, in), 1);
  EXPECT_EQ(seek(buffer, 0, cur, out), 6);
  EXPECT_EQ(buffer.sgetc(), '2');
}

TEST(MemStream, OverwritingAfterASeekBackDoesNotShrinkTheStream) {
  GMemStreamBuf buffer(16);
  write(buffer, "0123456789");
  seek(buffer, 2, beg, out);
  buffer.sputc('x');
  EXPECT_EQ(buffer.size(), 10);
  EXPECT_EQ(contents(buffer), "01x3456789");
}

TEST(MemStream, OverwritingContinuesIntoTheBlocksThatAreThere) {
  GMemStreamBuf buffer(4);
  write(buffer, "0123456789");
  seek(buffer, 3, beg, out);
  write(buffer, "abcdef");
  EXPECT_EQ(buffer.size(), 10);
  EXPECT_EQ(contents(buffer), "012abcdef9");
}

TEST(MemStream, AReaderAtTheEndSeesWhatIsWrittenLater) {
  GMemStreamBuf buffer(4);
  write(buffer, "abc");
  EXPECT_EQ(contents(buffer), "abc");
  EXPECT_EQ(buffer.sgetc(), eof);
  write(buffer, "defgh");
  EXPECT_EQ(buffer.in_avail(), 1);
  EXPECT_EQ(buffer.sbumpc(), 'd');
  EXPECT_EQ(buffer.in_avail(), 4);
  EXPECT_EQ(buffer.sbumpc(), 'e');
}

TEST(MemStream, PuttingBackStoresTheCharacterAndCrossesBlocks) {
  GMemStreamBuf buffer(4);
  EXPECT_EQ(buffer.sputbackc('x'), eof);
  write(buffer, "abcdef");
  seek(buffer, 4, beg, in);
  EXPECT_EQ(buffer.sputbackc('\xff'), 255);
  EXPECT_EQ(seek(buffer, 0, cur, in), 3);
  EXPECT_EQ(buffer.sungetc(), 'c');
  EXPECT_EQ(contents(buffer),
            "abc\xff"
            "ef");
  seek(buffer, 0, beg, in);
  EXPECT_EQ(buffer.sungetc(), eof);
}

TEST(MemStream, OverflowWithEndOfFileGivesZeroAndStoresNothing) {
  int deaths = 0;
  CountedBuf buffer(&deaths);
  EXPECT_EQ(buffer.overflow(eof), 0);
  EXPECT_EQ(buffer.size(), 0);
  EXPECT_EQ(buffer.overflow(0x1ff), 255);
  EXPECT_EQ(buffer.size(), 1);
}

TEST(MemStream, TheWriterHandsItsBufferToTheReader) {
  GOMemStream writer(3);
  writer << "alpha " << 12;
  GMemStreamBuf* buffer = writer.rdbuf(static_cast<GMemStreamBuf*>(nullptr));
  EXPECT_TRUE(writer.bad());
  EXPECT_EQ(writer.size(), 0);
  EXPECT_EQ(writer.rdbuf(), nullptr);
  GIStream reader(buffer, true);
  std::string word;
  int number = 0;
  reader >> word >> number;
  EXPECT_EQ(word, "alpha");
  EXPECT_EQ(number, 12);
  EXPECT_EQ(writer.rdbuf(new GMemStreamBuf(2)), nullptr);
  EXPECT_TRUE(writer.good());
}

TEST(MemStream, TheReaderDeletesOnlyWhatItOwns) {
  int deaths = 0;
  { GIStream reader(new CountedBuf(&deaths), true); }
  EXPECT_EQ(deaths, 1);
  CountedBuf kept(&deaths);
  { GIStream reader(&kept, false); }
  EXPECT_EQ(deaths, 1);
  GIStream reader(new CountedBuf(&deaths), true);
  EXPECT_EQ(reader.rdbuf(&kept, false), nullptr);
  EXPECT_EQ(deaths, 2);
  EXPECT_EQ(reader.rdbuf(nullptr, true), &kept);
  EXPECT_TRUE(reader.bad());
  EXPECT_EQ(reader.rdbuf(&kept, false), nullptr);
  EXPECT_TRUE(reader.good());
}

TEST(MemStream, InstallingTheSameBufferEndsTheOwnership) {
  int deaths = 0;
  CountedBuf buffer(&deaths);
  {
    GIStream reader(&buffer, true);
    EXPECT_EQ(reader.rdbuf(&buffer, false), nullptr);
    EXPECT_EQ(reader.rdbuf(), &buffer);
  }
  EXPECT_EQ(deaths, 0);
  EXPECT_TRUE(GIStream(nullptr, false).bad());
}

TEST(MemStream, KeepsTheGlobalLocaleOnlyWhenAsked) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  GOMemStream classic, flagged(16, true), global(16, false);
  std::locale::global(before);
  classic << 1.5;
  flagged << 1.5;
  global << 1.5;
  EXPECT_EQ(contents(*classic.rdbuf()), "1.5");
  EXPECT_EQ(contents(*flagged.rdbuf()), "1.5");
  EXPECT_EQ(contents(*global.rdbuf()), "1,5");
}

// The stream as a string and two positions.
struct Model {
  std::string text;
  std::size_t get = 0;
  std::size_t put = 0;

  void write(const std::string& s) {
    const std::size_t over = std::min(s.size(), text.size() - put);
    std::copy_n(s.begin(), over, text.begin() + static_cast<long>(put));
    text.append(s, over, std::string::npos);
    put += s.size();
  }
  long seek(long offset, std::ios_base::seekdir direction, std::ios_base::openmode which) {
    const bool both = (which & in) != 0 && (which & out) != 0;
    if (both && direction == cur) return -1;
    const auto size = static_cast<long>(text.size());
    const auto here = static_cast<long>((which & in) != 0 ? get : put);
    const long target = offset + (direction == beg ? 0 : direction == end ? size : here);
    if (target < 0 || target > size) return -1;
    if ((which & in) != 0) get = static_cast<std::size_t>(target);
    if ((which & out) != 0) put = static_cast<std::size_t>(target);
    return target;
  }
};

class MemStreamModel : public testing::TestWithParam<unsigned> {};

TEST_P(MemStreamModel, AgreesWithAStringOverManyOperations) {
  std::mt19937 random(GetParam());
  const auto below = [&](long n) {
    return static_cast<long>(random() % static_cast<unsigned long>(n));
  };
  GMemStreamBuf buffer(GetParam());
  Model model;
  for (int operation = 0; operation < 200'000; ++operation) {
    const auto size = static_cast<long>(model.text.size());
    switch (below(8)) {
      case 0: {
        // Grows to some three blocks, then overwrites most of the time.
        const long room = static_cast<long>(3 * GetParam() + 40) - static_cast<long>(model.put);
        const long most = room > 0 ? std::min(room, 3 * static_cast<long>(GetParam()) / 2 + 2) : 1;
        const std::string text(static_cast<std::size_t>(below(most + 1)),
                               static_cast<char>(below(256)));
        write(buffer, text);
        model.write(text);
        break;
      }
      case 1: {
        const char c = static_cast<char>(below(256));
        buffer.sputc(c);
        model.write(std::string(1, c));
        break;
      }
      case 2: {
        std::string got(static_cast<std::size_t>(below(20)), '?');
        got.resize(static_cast<std::size_t>(
            buffer.sgetn(got.data(), static_cast<std::streamsize>(got.size()))));
        ASSERT_EQ(got, model.text.substr(model.get, got.size())) << operation;
        model.get += got.size();
        break;
      }
      case 3: {
        const bool more = model.get < model.text.size();
        ASSERT_EQ(buffer.sgetc(), more ? static_cast<unsigned char>(model.text[model.get]) : eof)
            << operation;
        break;
      }
      case 4: {
        const char c = static_cast<char>(below(256));
        if (model.get == 0) {
          ASSERT_EQ(buffer.sputbackc(c), eof) << operation;
        } else {
          ASSERT_EQ(buffer.sputbackc(c), static_cast<unsigned char>(c)) << operation;
          model.text[--model.get] = c;
        }
        break;
      }
      case 5: {
        const bool more = model.get < model.text.size();
        const std::streamsize available = buffer.in_avail();
        ASSERT_EQ(available > 0, more) << operation;
        ASSERT_LE(available, static_cast<std::streamsize>(model.text.size() - model.get));
        break;
      }
      default: {
        const std::ios_base::seekdir directions[] = {beg, cur, end};
        const std::ios_base::openmode sides[] = {in, out, in | out};
        const auto direction = directions[below(3)];
        const auto which = sides[below(3)];
        const long offset = direction == beg   ? below(size + 3) - 1
                            : direction == end ? 1 - below(size + 3)
                                               : below(2 * size + 3) - size - 1;
        ASSERT_EQ(seek(buffer, offset, direction, which), model.seek(offset, direction, which))
            << operation;
      }
    }
    ASSERT_EQ(buffer.size(), static_cast<long>(model.text.size())) << operation;
    ASSERT_EQ(seek(buffer, 0, cur, in), static_cast<long>(model.get)) << operation;
    ASSERT_EQ(seek(buffer, 0, cur, out), static_cast<long>(model.put)) << operation;
  }
  ASSERT_EQ(contents(buffer), model.text);
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, MemStreamModel, testing::Values(1U, 7U, 16U, 4096U));

}  // namespace
