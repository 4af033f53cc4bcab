// SPDX-License-Identifier: MIT
#include "loomkit/xbase/memo_file.h"

#include <map>
#include <random>

#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

class XBaseMemo : public TableTest {
 protected:
  std::string readMemo(MemoFile* memo, std::uint32_t block) {
    std::string text;
    EXPECT_EQ(memo->read(block, &text), ok);
    return text;
  }
  static std::string bigEndian(std::uint32_t value) {
    std::string out(4, '\0');
    for (int i = 0; i < 4; ++i)
      out[static_cast<std::size_t>(i)] = static_cast<char>(value >> (24 - 8 * i));
    return out;
  }
};

TEST_F(XBaseMemo, ANewFileHasAHeaderOf512BytesAndTheEnginesBlocks) {
  const struct {
    unsigned setting;
    const char* bytes;
  } rows[] = {{512, "\0\0\0\x01\0\0\x02\0"}, {64, "\0\0\0\x08\0\0\0\x40"},
              {1, "\0\0\x02\0\0\0\0\x01"},   {1024, "\0\0\0\x01\0\0\x04\0"},
              {33, "\0\0\0\x0f\0\0\0\x21"},  {65536, "\0\0\0\x01\0\x01\0\0"}};
  engine.safety = false;
  for (const auto& row : rows) {
    engine.memoBlockSize = row.setting;
    MemoFile memo(engine);
    ASSERT_EQ(memo.create(scratch / "m.fpt"), ok);
    ASSERT_EQ(memo.close(), ok);
    EXPECT_EQ(scratch.read("m.fpt"), std::string(row.bytes, 8) + std::string(504, '\0'))
        << row.setting;
    MemoFile again(engine);
    ASSERT_EQ(again.open(scratch / "m.fpt"), ok);
    EXPECT_EQ(again.blockSize(), row.setting);
  }
}

TEST_F(XBaseMemo, AnEntryIsATypeALengthAndTheText) {
  MemoFile memo(engine);
  ASSERT_EQ(memo.create(scratch / "m.fpt"), ok);
  std::uint32_t block = 0;
  ASSERT_EQ(memo.write("hello", &block), ok);
  EXPECT_EQ(block, 1U);
  ASSERT_EQ(memo.close(), ok);
  const std::string bytes = scratch.read("m.fpt");
  EXPECT_EQ(bytes.size(), 1024U);
  EXPECT_EQ(bytes.substr(0, 4), bigEndian(2)) << "the next free block";
  EXPECT_EQ(bytes.substr(512, 13), bigEndian(1) + bigEndian(5) + "hello");
}

TEST_F(XBaseMemo, IsRewrittenWhereItIsIfItsBlocksAreEnough) {
  MemoFile memo(engine);
  ASSERT_EQ(memo.create(scratch / "m.fpt"), ok);
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  ASSERT_EQ(memo.write(std::string(504, 'a'), &first), ok);
  ASSERT_EQ(memo.write(std::string(505, 'b'), &second), ok);
  EXPECT_EQ(first, 1U);
  EXPECT_EQ(second, 2U);
  EXPECT_EQ(memo.nextFree(), 4U) << "505 bytes and their head take two blocks";
  std::uint32_t block = first;
  ASSERT_EQ(memo.write("short", &block), ok);
  EXPECT_EQ(block, first);
  EXPECT_EQ(readMemo(&memo, first), "short");
  ASSERT_EQ(memo.write(std::string(505, 'c'), &block), ok);
  EXPECT_EQ(block, 4U) << "the old block stays lost";
  EXPECT_EQ(memo.nextFree(), 6U);
  EXPECT_EQ(readMemo(&memo, second), std::string(505, 'b'));
  EXPECT_EQ(readMemo(&memo, block), std::string(505, 'c'));
}

TEST_F(XBaseMemo, PointersIntoTheHeaderOrBehindTheEndGiveReadingErrors) {
  scratch.write("m.fpt", bigEndian(3) + bigEndian(512) + std::string(504, '\0') + bigEndian(1) +
                             bigEndian(3) + "abc");
  MemoFile memo(engine);
  ASSERT_EQ(memo.open(scratch / "m.fpt"), ok);
  EXPECT_EQ(readMemo(&memo, 1), "abc");
  std::string text;
  for (const std::uint32_t block : {0U, 2U, 3U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_EQ(memo.read(block, &text), errorReading) << block;
    EXPECT_EQ(takeError(), errorReading);
  }
}

TEST_F(XBaseMemo, ALengthThatLiesIsHeldToTheFile) {
  for (const std::uint32_t stated : {4U, 1000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    scratch.write("m.fpt", bigEndian(2) + bigEndian(512) + std::string(504, '\0') + bigEndian(1) +
                               bigEndian(stated) + "abc");
    MemoFile memo(engine);
    ASSERT_EQ(memo.open(scratch / "m.fpt"), ok);
    EXPECT_EQ(readMemo(&memo, 1), "abc");
    std::uint64_t length = 0;
    EXPECT_EQ(memo.length(1, &length), ok);
    EXPECT_EQ(length, 3U);
  }
}

TEST_F(XBaseMemo, AHeaderThatLiesDoesNotLetMemosBeOverwritten) {
  const std::string entry = bigEndian(1) + bigEndian(3) + "abc" + std::string(501, '\0');
  scratch.write("m.fpt", bigEndian(0) + bigEndian(512) + std::string(504, '\0') + entry);
  {
    MemoFile memo(engine);
    ASSERT_EQ(memo.open(scratch / "m.fpt"), ok);
    std::uint32_t block = 0;
    ASSERT_EQ(memo.write("new", &block), ok);
    EXPECT_EQ(block, 2U);
    EXPECT_EQ(readMemo(&memo, 1), "abc");
  }
  scratch.write("m.fpt", bigEndian(0xFFFFFFFF) + bigEndian(512) + std::string(504, '\0') + entry);
  MemoFile memo(engine);
  ASSERT_EQ(memo.open(scratch / "m.fpt"), ok);
  std::uint32_t block = 0;
  EXPECT_EQ(memo.write("new", &block), errorWriting);
  EXPECT_EQ(takeError(), errorWriting);
}

TEST_F(XBaseMemo, AFileTooShortForItsHeaderIsNoMemoFile) {
  for (std::size_t size = 0; size < 8; ++size) {
    scratch.write("m.fpt", std::string(size, '\x01'));
    MemoFile memo(engine);
    EXPECT_EQ(memo.open(scratch / "m.fpt"), errorNotATable) << size;
    takeError();
  }
  // With the used part of the header only, the first memo still goes behind 512 bytes.
  scratch.write("m.fpt", std::string("\0\0\0\0\0\0\0\x01", 8));
  MemoFile shortest(engine);
  ASSERT_EQ(shortest.open(scratch / "m.fpt"), ok);
  std::uint32_t first = 0;
  EXPECT_EQ(shortest.write("abc", &first), ok);
  EXPECT_EQ(first, 512U);
  EXPECT_EQ(readMemo(&shortest, first), "abc");
  scratch.write("m.fpt", std::string(600, '\0'));
  MemoFile memo(engine);
  ASSERT_EQ(memo.open(scratch / "m.fpt"), ok);
  std::string text;
  std::uint32_t block = 1;
  EXPECT_EQ(memo.read(1, &text), errorReading) << "blocks of no size";
  takeError();
  EXPECT_EQ(memo.write("x", &block), errorWriting);
  takeError();
}

// Any number of memos of any length, changed at will, at every block size.
TEST_F(XBaseMemo, HoldsWhatWasWrittenLast) {
  engine.safety = false;
  std::mt19937 random(20261122);
  for (const unsigned blockSize : {1U, 7U, 33U, 64U, 512U, 513U, 4096U, 65535U, 65536U}) {
    engine.memoBlockSize = blockSize;
    std::map<std::uint32_t, std::string> model;
    const std::string path = scratch / "m.fpt";
    auto memo = std::make_unique<MemoFile>(engine);
    ASSERT_EQ(memo->create(path), ok);
    for (int step = 0; step < 300; ++step) {
      std::uint32_t block = 0;
      if (!model.empty() && random() % 2 == 0) {
        const auto old = std::next(model.begin(), static_cast<long>(random() % model.size()));
        block = old->first;
        model.erase(old);
      }
      const std::string text(random() % (random() % 5 == 0 ? 3000 : 100),
                             static_cast<char>('a' + random() % 26));
      ASSERT_EQ(memo->write(text, &block), ok);
      ASSERT_EQ(model.count(block), 0U);
      model[block] = text;
      if (random() % 40 == 0) {
        ASSERT_EQ(memo->close(), ok);
        memo = std::make_unique<MemoFile>(engine);
        ASSERT_EQ(memo->open(path), ok);
      }
    }
    for (const auto& [block, text] : model)
      ASSERT_EQ(readMemo(memo.get(), block), text) << "block size " << blockSize;
  }
}

TEST_F(XBaseMemo, OfARecordGoesToTheFileWithIt) {
  const TableOwner table =
      createDataFile(engine, scratch / "t.dbf", {{"NOTE", 'M', 0, 0}, {"N", 'N', 3, 0}});
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(scratch.read("t.fpt").size(), 512U);
  std::string text;
  for (int i = 1; i <= 3; ++i) {
    ASSERT_EQ(startAppend(*table), ok);
    blank(*table);
    assignLong(*table, 1, i);
    if (i != 2) assignMemo(*table, 0, "memo " + std::to_string(i));
    ASSERT_EQ(memoText(*table, 0, &text), ok);
    EXPECT_EQ(text, i == 2 ? "" : "memo " + std::to_string(i)) << "before it is written";
    ASSERT_EQ(finishAppend(*table), ok);
  }
  EXPECT_EQ(all(table.get()),
            (std::vector<std::string>{"|         1|  1", "|          |  2", "|         2|  3"}));
  ASSERT_EQ(go(*table, 1), ok);
  ASSERT_EQ(memoText(*table, 0, &text), ok);
  EXPECT_EQ(text, "memo 1");
  assignMemo(*table, 0, std::string(1000, 'x'));
  ASSERT_EQ(go(*table, 3), ok);
  ASSERT_EQ(memoText(*table, 0, &text), ok);
  EXPECT_EQ(text, "memo 3");
  assignMemo(*table, 0, "");
  ASSERT_EQ(flush(*table), ok);
  EXPECT_EQ(all(table.get()),
            (std::vector<std::string>{"|         3|  1", "|          |  2", "|          |  3"}));
  ASSERT_EQ(go(*table, 1), ok);
  std::uint64_t length = 0;
  ASSERT_EQ(memoLength(*table, 0, &length), ok);
  EXPECT_EQ(length, 1000U);
}

TEST_F(XBaseMemo, PointersOfOddFormsAreReadAndWrongOnesRefused) {
  TableBytes bytes;
  bytes.version = 0xF5;
  bytes.field("NOTE", 'M', 10);
  for (const char* text : {"         1", "1         ", "0000000001", "         9", "     junk1",
                           "        -1", "4294967297"})
    bytes.record(std::string(" ") + text);
  scratch.write("t.fpt", bigEndian(2) + bigEndian(512) + std::string(504, '\0') + bigEndian(1) +
                             bigEndian(3) + "abc");
  const TableOwner table = openBytes(bytes);
  ASSERT_NE(table, nullptr);
  std::string text;
  for (std::uint32_t n = 1; n <= 3; ++n) {
    ASSERT_EQ(go(*table, n), ok);
    ASSERT_EQ(memoText(*table, 0, &text), ok);
    EXPECT_EQ(text, "abc") << n;
  }
  for (std::uint32_t n = 4; n <= 7; ++n) {
    ASSERT_EQ(go(*table, n), ok);
    EXPECT_EQ(memoText(*table, 0, &text), errorReading) << n;
    takeError();
  }
}

}  // namespace
}  // namespace loomkit::xbase
