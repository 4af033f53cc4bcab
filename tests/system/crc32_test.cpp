// SPDX-License-Identifier: MIT
#include "loomkit/system/crc32.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <vector>

namespace {

TEST(Crc32, KnownValues) {
  const GCRC32 crc;
  EXPECT_EQ(crc.get("123456789", 9), 0xCBF43926UL);
  EXPECT_EQ(crc.get(std::string("123456789")), 0xCBF43926UL);
  EXPECT_EQ(crc.get(std::string("\0", 1)), 0xD202EF8DUL);
}

TEST(Crc32, NothingGivesZero) {
  const GCRC32 crc;
  EXPECT_EQ(crc.get("a", 0), 0UL);
  EXPECT_EQ(crc.get("a", -1), 0UL);
  EXPECT_EQ(crc.get(nullptr, 0), 0UL);
  EXPECT_EQ(crc.get(std::string()), 0UL);
}

TEST(Crc32, AssignmentCopiesTheTable) {
  GCRC32 a;
  const GCRC32 b;
  a = b;
  EXPECT_EQ(a.get("123456789", 9), 0xCBF43926UL);
}

// Every size around the borders of the ways in which blocks are taken, at every
// alignment, against zlib.
TEST(Crc32, AgreesWithZlibAtEverySizeAndAlignment) {
  std::mt19937 random(1);
  std::vector<unsigned char> data(5000);
  for (unsigned char& byte : data) byte = static_cast<unsigned char>(random());
  const GCRC32 crc;
  for (unsigned offset = 0; offset < 16; ++offset) {
    for (unsigned size = 1; size < 300; ++size) {
      ASSERT_EQ(crc.get(data.data() + offset, static_cast<int>(size)),
                ::crc32(0, data.data() + offset, size))
          << offset << " " << size;
    }
  }
  for (unsigned size = 300; size <= data.size(); size += 97)
    ASSERT_EQ(crc.get(data.data(), static_cast<int>(size)), ::crc32(0, data.data(), size)) << size;
}

}  // namespace
