// SPDX-License-Identifier: MIT
#include "loomkit/text/binary.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace loomkit;

constexpr unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 0xff};

TEST(RecordReader, ReadsNumbersOfEveryWidthInBothOrders) {
  const RecordReader record(bytes, sizeof bytes);
  EXPECT_EQ(record.get(U8{8}), 0xff);
  EXPECT_EQ(record.get(Le16{0}), 0x0201);
  EXPECT_EQ(record.get(Be16{0}), 0x0102);
  EXPECT_EQ(record.get(Le32{1}), 0x05040302U);
  EXPECT_EQ(record.get(Be32{1}), 0x02030405U);
  EXPECT_EQ(record.get(Le64{0}), 0x0807060504030201U);
  EXPECT_EQ(record.get(Be64{0}), 0x0102030405060708U);
  EXPECT_TRUE(record.ok());
}

TEST(RecordReader, GivesZeroForAFieldThatIsNotWhollyInsideAndStaysBad) {
  const std::size_t beyond[] = {6, 9, 10, static_cast<std::size_t>(-1),
                                static_cast<std::size_t>(-4)};
  for (const std::size_t offset : beyond) {
    const RecordReader record(bytes, sizeof bytes);
    EXPECT_EQ(record.get(Le32{offset}), 0U) << offset;
    EXPECT_FALSE(record.ok()) << offset;
    EXPECT_EQ(record.get(Le32{5}), 0xff080706U) << offset;
    EXPECT_FALSE(record.ok()) << offset;
  }
}

TEST(RecordReader, PointsAtTexts) {
  const RecordReader record("a name  ", 8);
  EXPECT_EQ(record.get(BytesField{2, 4}), "name");
  EXPECT_TRUE(record.ok());
  EXPECT_EQ(record.get(BytesField{2, 7}), "");
  EXPECT_FALSE(record.ok());
}

TEST(RecordWriter, CutsOffWhatIsTooWideWhereItIsAsked) {
  unsigned char room[3] = {};
  RecordWriter out(room, sizeof room);
  out.putLow(Le16{0}, 0x12345);
  EXPECT_EQ(RecordReader(room, sizeof room).get(Le16{0}), 0x2345);
  EXPECT_TRUE(out.ok());
  out.putLow(Le16{2}, 1);
  EXPECT_FALSE(out.ok());
}

TEST(RecordWriter, WritesWhatTheReaderReads) {
  unsigned char room[32] = {};
  RecordWriter out(room, sizeof room);
  out.put(U8{0}, 0xfe);
  out.put(Le16{1}, 0x1234);
  out.put(Be16{3}, 0x1234);
  out.put(Le32{5}, 0x12345678);
  out.put(Be32{9}, 0x12345678);
  out.put(Le64{13}, 0x123456789abcdef0);
  out.put(Be64{21}, 0x123456789abcdef0);
  EXPECT_TRUE(out.ok());
  const RecordReader in(room, sizeof room);
  EXPECT_EQ(in.get(U8{0}), 0xfe);
  EXPECT_EQ(in.get(Le16{1}), 0x1234);
  EXPECT_EQ(in.get(Be16{3}), 0x1234);
  EXPECT_EQ(in.get(Le32{5}), 0x12345678U);
  EXPECT_EQ(in.get(Be32{9}), 0x12345678U);
  EXPECT_EQ(in.get(Le64{13}), 0x123456789abcdef0U);
  EXPECT_EQ(in.get(Be64{21}), 0x123456789abcdef0U);
}

TEST(RecordWriter, LeavesAFieldThatIsNotWhollyInsideAlone) {
  std::string room = "abcdef";
  RecordWriter out(room.data(), room.size());
  out.put(Le32{3}, 0);
  EXPECT_EQ(room, "abcdef");
  EXPECT_FALSE(out.ok());
  out.put(BytesField{5, 2}, "xy");
  EXPECT_EQ(room, "abcdef");
}

TEST(RecordWriter, CutsATextAtTheEndOfItsField) {
  std::string room = "abcdef";
  RecordWriter out(room.data(), room.size());
  out.put(BytesField{1, 2}, "1234");
  out.put(BytesField{4, 2}, "5");
  EXPECT_EQ(room, "a12d5f");
  EXPECT_TRUE(out.ok());
}

TEST(Fields, KnowWhereTheNextOneBegins) {
  static_assert(U8{3}.end() == 4 && Le16{3}.end() == 5 && Be32{3}.end() == 7 &&
                Le64{3}.end() == 11);
  static_assert(BytesField{3, 16}.end() == 19);
  static_assert(Le32{3}.behind(40).offset == 43);
}

}  // namespace
