// SPDX-License-Identifier: MIT
#include "loomkit/xbase/file.h"

#include <filesystem>
#include <random>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/replacement.h"
#include "tests/xbase/engine_fixture.h"

namespace loomkit::xbase {
namespace {

class XBaseFile : public EngineTest {
 protected:
  std::string readBack(File* file, std::uint64_t offset, std::size_t count) {
    std::string bytes(count, '?');
    std::size_t got = 0;
    EXPECT_EQ(file->readAt(offset, bytes.data(), count, &got), ok);
    bytes.resize(got);
    return bytes;
  }
};

TEST_F(XBaseFile, ReadsWhatIsThereAndStopsAtTheEnd) {
  File file(engine);
  ASSERT_EQ(file.open(scratch.write("f", "0123456789")), ok);
  EXPECT_EQ(file.length(), 10U);
  EXPECT_EQ(readBack(&file, 2, 3), "234");
  EXPECT_EQ(readBack(&file, 8, 30), "89");
  EXPECT_EQ(readBack(&file, 10, 1), "");
  EXPECT_EQ(readBack(&file, ~std::uint64_t{0}, 1), "");
  char bytes[4];
  EXPECT_EQ(file.readAll(6, bytes, 4), ok);
  EXPECT_EQ(file.readAll(7, bytes, 4), errorReading);
  EXPECT_EQ(takeError(), errorReading);
}

TEST_F(XBaseFile, WritesWhenItIsToldToOrCloses) {
  const std::string path = scratch / "f";
  File file(engine);
  ASSERT_EQ(file.create(path), ok);
  EXPECT_EQ(file.writeAt(0, "hello", 5), ok);
  EXPECT_EQ(scratch.read("f"), "");
  EXPECT_EQ(file.length(), 5U);
  EXPECT_EQ(file.writeBack(), ok);
  EXPECT_EQ(scratch.read("f"), "hello");
  EXPECT_EQ(file.writeAt(5, " all", 4), ok);
  EXPECT_EQ(file.sync(), ok);
  EXPECT_EQ(scratch.read("f"), "hello all");
  EXPECT_EQ(file.writeAt(0, "H", 1), ok);
  EXPECT_EQ(file.close(), ok);
  EXPECT_EQ(scratch.read("f"), "Hello all");
  EXPECT_EQ(file.close(), ok);
  EXPECT_FALSE(file.isOpen());
}

TEST_F(XBaseFile, FillsAGapWithZeroBytes) {
  File file(engine);
  ASSERT_EQ(file.create(scratch / "f"), ok);
  ASSERT_EQ(file.writeAt(0, "a", 1), ok);
  ASSERT_EQ(file.writeAt(20000, "b", 1), ok);
  EXPECT_EQ(readBack(&file, 9999, 3), std::string(3, '\0'));
  ASSERT_EQ(file.close(), ok);
  EXPECT_EQ(scratch.read("f"), "a" + std::string(19999, '\0') + "b");
}

TEST_F(XBaseFile, AMissingFileIsAnErrorOrACodeWhereOpeningIsNotReported) {
  File file(engine);
  EXPECT_EQ(file.open("nosuch"), errorOpening);
  EXPECT_EQ(file.open(scratch.write("f", "x")), errorOpening) << "the code stays";
  EXPECT_EQ(takeError(), errorOpening);
  EXPECT_EQ(reports, std::vector<std::string>{
                         "XBASE ERROR|Error #: -60\r\nOpening File\r\nFile Name: nosuch"});
  engine.report = Reporting::expressionsOnly();
  EXPECT_EQ(file.open("nosuch"), notOpened);
  EXPECT_EQ(takeError(), notOpened);
  EXPECT_EQ(reports.size(), 1U);
}

TEST_F(XBaseFile, OpensRegularFilesOnly) {
  engine.report = Reporting::none();
  File file(engine);
  EXPECT_EQ(file.open(scratch / "."), notOpened);
  const std::string pipe = scratch / "pipe";
  ASSERT_EQ(std::system(("mkfifo '" + pipe + "'").c_str()), 0);
  EXPECT_EQ(file.open(pipe), notOpened);
}

TEST_F(XBaseFile, RefusesToCreateOverAFileUnlessSafetyIsOff) {
  const std::string path = scratch.write("f", "old");
  File file(engine);
  EXPECT_EQ(file.create(path), errorCreating);
  EXPECT_EQ(takeError(), errorCreating);
  EXPECT_EQ(scratch.read("f"), "old");
  engine.safety = false;
  ASSERT_EQ(file.create(path), ok);
  EXPECT_EQ(file.length(), 0U);
  EXPECT_EQ(scratch.read("f"), "");
}

TEST_F(XBaseFile, AReadOnlyFileIsNotWrittenNorCut) {
  engine.readOnly = true;
  File file(engine);
  ASSERT_EQ(file.open(scratch.write("f", "abc")), ok);
  EXPECT_TRUE(file.isReadOnly());
  EXPECT_EQ(file.writeAt(0, "x", 1), errorWriting);
  EXPECT_EQ(takeError(), errorWriting);
  EXPECT_EQ(file.setLength(0), errorSettingLength);
  EXPECT_EQ(takeError(), errorSettingLength);
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_NE(reports[0].find("Attempt to write to a read-only file"), std::string::npos);
  EXPECT_NE(reports[1].find("Attempt to change file length of a read-only file"),
            std::string::npos);
}

TEST_F(XBaseFile, KeepsOthersOutWhereItIsExclusive) {
  const std::string path = scratch.write("f", "abc");
  engine.report = Reporting::none();
  File first(engine);
  File second(engine);
  ASSERT_EQ(first.open(path), ok);
  ASSERT_EQ(second.open(path), ok);
  ASSERT_EQ(second.close(), ok);
  engine.exclusive = true;
  EXPECT_EQ(second.open(path), notOpened);
  ASSERT_EQ(first.close(), ok);
  EXPECT_EQ(second.open(path), ok);
  engine.exclusive = false;
  EXPECT_EQ(first.open(path), notOpened);
}

TEST_F(XBaseFile, DoesNothingWhileAnErrorStands) {
  File file(engine);
  ASSERT_EQ(file.create(scratch / "f"), ok);
  engine.errorCode = errorReading;
  std::size_t got = 0;
  char byte = 0;
  EXPECT_EQ(file.readAt(0, &byte, 1, &got), errorReading);
  EXPECT_EQ(file.writeAt(0, "x", 1), errorReading);
  EXPECT_EQ(file.setLength(1), errorReading);
  EXPECT_EQ(file.sync(), errorReading);
  EXPECT_EQ(file.length(), 0U);
}

TEST_F(XBaseFile, IsReplacedWhileItIsOpenAndForgetsWhatItHadToWrite) {
  for (const bool exclusive : {false, true}) {
    engine.exclusive = exclusive;
    File file(engine);
    ASSERT_EQ(file.open(scratch.write("f", "old content")), ok);
    ASSERT_EQ(file.writeAt(0, "OLD", 3), ok);
    platform::Replacement replacement;
    ASSERT_EQ(platform::createReplacement(scratch / "f", &replacement), 0);
    ASSERT_EQ(hulWrite(replacement.handle, "new", 3, nullptr), 0);
    ASSERT_EQ(file.become(&replacement), ok);
    EXPECT_EQ(file.length(), 3U);
    EXPECT_EQ(readBack(&file, 0, 9), "new");
    ASSERT_EQ(file.writeAt(3, "er", 2), ok);
    ASSERT_EQ(file.close(), ok);
    EXPECT_EQ(scratch.read("f"), "newer");
  }
}

TEST_F(XBaseFile, StaysWhatItIsWhenItCannotBeReplaced) {
  File file(engine);
  ASSERT_EQ(file.open(scratch.write("f", "old content")), ok);
  platform::Replacement replacement;
  ASSERT_EQ(platform::createReplacement(scratch / "f", &replacement), 0);
  std::filesystem::remove(replacement.path);
  EXPECT_EQ(file.become(&replacement), errorOpening);
  EXPECT_EQ(takeError(), errorOpening);
  platform::discardReplacement(&replacement);
  EXPECT_EQ(readBack(&file, 0, 3), "old");
}

TEST_F(XBaseFile, AReaderFromFrontToBackSeesWhatIsWrittenCloseBeforeIt) {
  constexpr std::size_t size = 1000000;
  constexpr std::size_t step = 100;
  std::string model(size, '.');
  File file(engine);
  ASSERT_EQ(file.create(scratch / "f"), ok);
  ASSERT_EQ(file.writeAt(0, model.data(), size), ok);
  ASSERT_EQ(file.close(), ok);
  ASSERT_EQ(file.open(scratch / "f"), ok);
  for (std::size_t at = 0, distance = 0; at < size; at += step) {
    ASSERT_EQ(readBack(&file, at, step), model.substr(at, step)) << at;
    // Far enough apart that some blocks are read ahead in between.
    if (at % 150000 != 0) continue;
    distance += 1000;
    const std::size_t place = std::min(at + distance, size);
    model.replace(place, 5, "wrote");
    ASSERT_EQ(file.writeAt(place, "wrote", 5), ok);
    EXPECT_EQ(readBack(&file, place - 3, 11), model.substr(place - 3, 11));
  }
  ASSERT_EQ(file.close(), ok);
  EXPECT_EQ(scratch.read("f"), model);
}

// Reads a file from front to back, and hands out what is at `offset` as soon as the
// reader is there.
const char* plainBytesBehindAReader(File* file, std::uint64_t offset, std::size_t count) {
  std::string bytes(1000, '?');
  std::size_t got = 0;
  for (std::uint64_t at = 0; at <= offset; at += bytes.size())
    EXPECT_EQ(file->readAt(at, bytes.data(), bytes.size(), &got), ok);
  return file->plainBytes(offset, count);
}

TEST_F(XBaseFile, HandsOutWhatItHasReadAheadUnlessAByteOfItIsZero) {
  std::string text(600000, '.');
  text.replace(200000, 5, "plain");
  text[500000] = '\0';
  File file(engine);
  ASSERT_EQ(file.open(scratch.write("f", text)), ok);
  EXPECT_EQ(file.plainBytes(200000, 5), nullptr) << "nothing is read yet";
  EXPECT_EQ(plainBytesBehindAReader(&file, 0, 5), nullptr) << "nobody has gone on for long";
  const char* plain = plainBytesBehindAReader(&file, 200000, 5);
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(std::string(plain, 5), "plain");
  EXPECT_EQ(file.plainBytes(0, 5), nullptr) << "another place";
  EXPECT_EQ(plainBytesBehindAReader(&file, 500010, 5), nullptr) << "close behind a zero byte";
}

TEST_F(XBaseFile, HandsOutNothingThatIsWrittenOrCutMeanwhile) {
  const std::string text(600000, '.');
  const std::string path = scratch.write("f", text);
  File file(engine);
  ASSERT_EQ(file.open(path), ok);
  ASSERT_NE(plainBytesBehindAReader(&file, 200000, 5), nullptr);
  ASSERT_EQ(file.writeAt(200002, "x", 1), ok);
  EXPECT_EQ(file.plainBytes(200000, 5), nullptr);
  ASSERT_NE(plainBytesBehindAReader(&file, 400000, 5), nullptr);
  std::filesystem::resize_file(path, 500000);
  EXPECT_EQ(plainBytesBehindAReader(&file, 500010, 5), nullptr) << "zero bytes in their place";
}

struct CacheShape {
  std::size_t blockSize;
  std::size_t blocks;
  std::size_t readAhead;
};

class XBaseFileCache : public XBaseFile, public ::testing::WithParamInterface<CacheShape> {};

// The file is at all times what a plain text would be, however little the cache
// can hold.
TEST_P(XBaseFileCache, IsNeverSeen) {
  engine.cacheBlockSize = GetParam().blockSize;
  engine.cacheBlocks = GetParam().blocks;
  engine.readAheadBlocks = GetParam().readAhead;
  constexpr unsigned seed = 20261122;
  std::mt19937 random(seed);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  std::string model;
  File file(engine);
  ASSERT_EQ(file.create(scratch / "f"), ok);
  std::size_t next = 0;  // where a reader from front to back goes on
  for (int step = 0; step < 1500; ++step) {
    const std::size_t at = below(60000);
    const std::size_t count = 1 + below(below(4) == 0 ? 20000 : 100);
    switch (below(8)) {
      case 0:
        if (below(20) == 0) {
          model.resize(at);
          ASSERT_EQ(file.setLength(at), ok);
        }
        break;
      case 1:
        ASSERT_EQ(below(2) == 0 ? file.writeBack() : file.sync(), ok);
        ASSERT_EQ(scratch.read("f"), model) << "seed " << seed << ", step " << step;
        break;
      case 2:
      case 3: {
        const std::string bytes(count, static_cast<char>('a' + below(26)));
        if (model.size() < at + count) model.resize(at + count);
        model.replace(at, count, bytes);
        ASSERT_EQ(file.writeAt(at, bytes.data(), count), ok);
        break;
      }
      case 4: {
        const std::string expected = at < model.size() ? model.substr(at, count) : std::string();
        ASSERT_EQ(readBack(&file, at, count), expected) << "seed " << seed << ", step " << step;
        break;
      }
      default:
        if (next >= model.size()) next = 0;
        for (int i = 0; i < 20; ++i, next = std::min(next + 300, model.size()))
          ASSERT_EQ(readBack(&file, next, 300), model.substr(next, 300))
              << "seed " << seed << ", step " << step;
    }
    ASSERT_EQ(file.length(), model.size());
  }
  ASSERT_EQ(file.close(), ok);
  EXPECT_EQ(scratch.read("f"), model);
}

INSTANTIATE_TEST_SUITE_P(Shapes, XBaseFileCache,
                         ::testing::Values(CacheShape{1024, 1, 16}, CacheShape{1024, 2, 1},
                                           CacheShape{1024, 5, 16}, CacheShape{1024, 6, 2},
                                           CacheShape{1024, 40, 4}, CacheShape{4096, 512, 16},
                                           CacheShape{65536, 1, 1}),
                         [](const auto& row) {
                           return std::to_string(row.param.blockSize) + "x" +
                                  std::to_string(row.param.blocks);
                         });

}  // namespace
}  // namespace loomkit::xbase
