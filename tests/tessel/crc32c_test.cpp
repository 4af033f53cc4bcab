// SPDX-License-Identifier: MIT
#include "tessel/store/crc32c.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "loomkit/platform/crc32c.h"

namespace {

using tessel::crc32c;
using tessel::crc32cByTable;

// Bit by bit, from the definition.
std::uint32_t slowly(const std::string& text) {
  std::uint32_t state = ~0U;
  for (const char c : text) {
    state ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) state = (state >> 1) ^ ((state & 1) != 0 ? 0x82f63b78 : 0);
  }
  return ~state;
}

// The examples of RFC 3720, appendix B.4.
TEST(Crc32c, GivesThePublishedChecksums) {
  std::string rising;
  for (int i = 0; i < 32; ++i) rising += static_cast<char>(i);
  const std::string falling(rising.rbegin(), rising.rend());
  for (const auto sum : {crc32c, crc32cByTable}) {
    EXPECT_EQ(sum(0, "123456789", 9), 0xe3069283U);
    EXPECT_EQ(sum(0, std::string(32, '\0').data(), 32), 0x8a9136aaU);
    EXPECT_EQ(sum(0, std::string(32, '\xff').data(), 32), 0x62a8ab43U);
    EXPECT_EQ(sum(0, rising.data(), 32), 0x46dd794eU);
    EXPECT_EQ(sum(0, falling.data(), 32), 0x113fdb5cU);
    EXPECT_EQ(sum(0, "", 0), 0U);
  }
}

TEST(Crc32c, TheTableAndTheInstructionAgreeAtEverySizeAndStart) {
  std::mt19937 random(1);
  std::string text(200, '\0');
  for (char& c : text) c = static_cast<char>(random());
  for (std::size_t begin = 0; begin < 9; ++begin)
    for (std::size_t size = 0; begin + size <= text.size(); ++size) {
      const std::string part = text.substr(begin, size);
      ASSERT_EQ(crc32cByTable(0, text.data() + begin, size), slowly(part)) << begin << " " << size;
      ASSERT_EQ(crc32c(0, text.data() + begin, size), slowly(part)) << begin << " " << size;
    }
}

TEST(Crc32c, GoesOnWhereItStopped) {
  const std::string text = "a text that comes in two pieces";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::uint32_t first = crc32c(0, text.data(), cut);
    EXPECT_EQ(crc32c(first, text.data() + cut, text.size() - cut), slowly(text));
  }
}

}  // namespace
