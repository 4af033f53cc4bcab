// SPDX-License-Identifier: MIT
#include "loomkit/streams/z_stream.h"

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loomkit/streams/gzip_stream.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::ScratchDirectory;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

std::string sampleText(std::size_t size) {
  std::string text;
  for (unsigned i = 0; text.size() < size; ++i)
    text += std::to_string(i * i * 2654435761U) + " weft\n";
  text.resize(size);
  return text;
}

std::string packed(const std::string& text, int level = GOZipStream::DEFAULT_COMPRESSION,
                   unsigned bufferSize = 4096) {
  std::ostringstream sink;
  GOZipStream out(&sink, level, bufferSize);
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  EXPECT_TRUE(out.finish().good());
  return sink.str();
}

std::string unpacked(const std::string& data, unsigned bufferSize = 4096) {
  std::istringstream source(data);
  GIZipStream in(&source, bufferSize);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(ZStream, ReadsBackWhatItWroteAtEachLevelAndBufferSize) {
  const std::string text = sampleText(30'000);
  for (int level = GOZipStream::MIN_COMPRESSION; level <= GOZipStream::MAX_COMPRESSION; ++level)
    for (const unsigned size : {1U, 2U, 17U, 100U, 4096U, 100'000U})
      ASSERT_EQ(unpacked(packed(text, level, size), std::max(size, 17U)), text)
          << level << " " << size;
  EXPECT_EQ(unpacked(packed("")), "");
}

TEST(ZStream, WorksWithAnotherImplementationBothWays) {
  const ScratchDirectory folder;
  const std::string text = sampleText(100'000);
  folder.write("ours.z", packed(text));
  folder.write("plain", text);
  const std::string command =
      "cd " + folder.path() +
      " && python3 -c 'import zlib;"
      "open(\"theirs\",\"wb\").write(zlib.decompress(open(\"ours.z\",\"rb\").read()));"
      "open(\"theirs.z\",\"wb\").write(zlib.compress(open(\"plain\",\"rb\").read(), 9))'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(folder.read("theirs"), text);
  EXPECT_EQ(unpacked(folder.read("theirs.z")), text);
}

TEST(ZStream, FinishingTwiceIsNothingAndEndsTheWriting) {
  std::ostringstream sink;
  GOZipStream out(&sink);
  out << "text";
  EXPECT_EQ(out.rdbuf()->finish(), 0);
  const std::string data = sink.str();
  EXPECT_EQ(out.rdbuf()->finish(), 0);
  EXPECT_TRUE(out.finish().good());
  EXPECT_EQ(sink.str(), data);
  EXPECT_EQ(out.rdbuf()->sputc('x'), EOF);
}

TEST(ZStream, WithoutFinishTheDataAreCutOffAndTheLogSaysSo) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  std::ostringstream sink;
  {
    GOZipStream out(&sink, 6, 100);
    out << sampleText(1000);
  }
  EXPECT_THAT(output.texts(),
              ElementsAre("GZipStreamBuf::~GZipStreamBuf(): deflateEnd() failed (error -3)"));
  EXPECT_EQ(output.lines[0].sys, gDataSysName);
}

TEST(ZStream, AFailingSinkSetsBadbit) {
  CaptureOutput output;
  std::ostringstream sink;
  sink.setstate(std::ios_base::failbit);
  GOZipStream out(&sink);
  out << "text";
  EXPECT_TRUE(out.finish().bad());
  EXPECT_EQ(out.rdbuf()->finish(), -1);
}

TEST(ZStream, ABadLevelFailsInTheConstructorAndStaysSilentAfterwards) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  {
    std::ostringstream sink;
    GOZipStream out(&sink, 77);
    out << "x";
    EXPECT_TRUE(out.finish().bad());
    EXPECT_EQ(sink.str(), "");
  }
  EXPECT_THAT(output.texts(),
              ElementsAre("GZipStreamBuf::GZipStreamBuf(): deflateInit() failed (error -2)"));
}

TEST(ZStream, ANullStreamEndsWhatItBegan) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  {
    GOZipStream out(nullptr);
    out << "text";
    EXPECT_EQ(out.rdbuf()->finish(), 0);
    GIZipStream in(nullptr);
    EXPECT_EQ(in.get(), EOF);
  }
  EXPECT_THAT(output.texts(), IsEmpty()) << "inflateEnd() of a deflating stream fails and leaks";
}

TEST(ZStream, SixteenBytesCanBePutBackAcrossARefill) {
  const std::string text = sampleText(200);
  std::istringstream source(packed(text));
  GIZipStream in(&source, 40);
  for (int i = 0; i < 40; ++i) in.rdbuf()->sbumpc();
  ASSERT_EQ(in.rdbuf()->sgetc(), text[40]);  // refills
  for (std::size_t i = 0; i < GZipStreamBuf::MAX_PUTBACK; ++i)
    ASSERT_EQ(in.rdbuf()->sputbackc(text[39 - i]), text[39 - i]);
  EXPECT_EQ(in.rdbuf()->sungetc(), EOF);
  EXPECT_EQ(in.rdbuf()->sbumpc(), text[24]);
  EXPECT_EQ(in.rdbuf()->sputbackc('\xff'), 255);
  EXPECT_EQ(in.rdbuf()->sgetc(), 255);
}

TEST(ZStream, RewindsWithinTheFirstBufferAndByStartingAnew) {
  const std::string text = sampleText(100);
  std::istringstream source(packed(text));
  GIZipStream in(&source, 50);
  std::string first(30, ' ');
  in.read(first.data(), 30);
  in.seekg(0);
  ASSERT_TRUE(in.good());
  in.read(first.data(), 30);
  EXPECT_EQ(first, text.substr(0, 30));
  in.ignore(60);
  source.clear();
  source.seekg(0);
  in.seekg(0);
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>(in), {}}), text);
}

TEST(ZStream, OtherSeeksFail) {
  std::istringstream source(packed("hello"));
  GIZipStream in(&source);
  const auto seek = [&](long offset, std::ios_base::seekdir direction, std::ios_base::openmode m) {
    return std::streamoff(in.rdbuf()->pubseekoff(offset, direction, m));
  };
  EXPECT_EQ(seek(5, std::ios_base::beg, std::ios_base::in), -1);
  EXPECT_EQ(seek(0, std::ios_base::cur, std::ios_base::in), -1);
  EXPECT_EQ(seek(0, std::ios_base::end, std::ios_base::in), -1);
  EXPECT_EQ(seek(0, std::ios_base::beg, std::ios_base::in | std::ios_base::out), -1);
  EXPECT_EQ(seek(0, std::ios_base::beg, std::ios_base::in), 0);
  EXPECT_TRUE(in.seekg(5).fail());
  std::ostringstream sink;
  GOZipStream out(&sink);
  EXPECT_EQ(std::streamoff(out.rdbuf()->pubseekpos(0, std::ios_base::in)), -1);
}

TEST(ZStream, EachTruncationIsReportedOnce) {
  const std::string text = sampleText(300);
  const std::string data = packed(text);
  for (std::size_t size = 0; size < data.size(); ++size) {
    CaptureOutput output;
    output.setLogLevel("*", 0);
    const std::string got = unpacked(data.substr(0, size), 64);
    ASSERT_EQ(got, text.substr(0, got.size())) << size;
    ASSERT_THAT(output.texts(),
                ElementsAre("GZipStreamBuf::underflow(): inflate() failed (error -5)"))
        << size;
  }
}

TEST(ZStream, EachCorruptByteEndsCleanly) {
  const std::string text = sampleText(300);
  const std::string data = packed(text);
  for (std::size_t at = 0; at < data.size(); ++at) {
    for (const int change : {0x01, 0x80, 0xff}) {
      CaptureOutput output;
      output.setLogLevel("*", 0);
      std::string bad = data;
      bad[at] = static_cast<char>(bad[at] ^ change);
      const std::string got = unpacked(bad, 64);
      // Bits that say nothing: the level that the header names, and the padding
      // in front of the checksum.
      if (got == text && output.lines.empty()) {
        ASSERT_TRUE(at < 2 || at == data.size() - 5) << at;
        continue;
      }
      ASSERT_EQ(output.lines.size(), 1U) << at << " " << change;
    }
  }
}

TEST(ZStream, ABufferWithoutRoomBehindThePutbackFails) {
  CaptureOutput output;
  output.setLogLevel("*", 0);
  const std::string text = sampleText(100);
  EXPECT_EQ(unpacked(packed(text), 16), text.substr(0, 16));
  EXPECT_THAT(output.texts(), Contains("GZipStreamBuf::underflow(): inflate() failed (error -5)"));
}

TEST(ZStream, WritesNumbersInTheClassicLocale) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  std::ostringstream sink;
  GOZipStream out(&sink);
  std::locale::global(before);
  out << 1.5;
  out.finish();
  EXPECT_EQ(unpacked(sink.str()), "1.5");
}

}  // namespace
