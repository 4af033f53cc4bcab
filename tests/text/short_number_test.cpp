// SPDX-License-Identifier: MIT
#include "loomkit/text/short_number.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using loomkit::readShortNumber;

TEST(ShortNumber, ReadsOneToNineDigits) {
  struct Row {
    const char* text;
    std::int32_t value;
    int length;  // -1: not read
  };
  const Row rows[] = {{"0", 0, 1},
                      {"7x", 7, 1},
                      {"007.5", 7, 3},
                      {"999999999", 999999999, 9},
                      {"999999999;", 999999999, 9},
                      {"1000000000", 0, -1},
                      {"", 0, -1},
                      {" 1", 0, -1},
                      {"-1", 0, -1},
                      {"x", 0, -1},
                      {"/", 0, -1},
                      {":", 0, -1}};
  for (const Row& row : rows) {
    std::int32_t value = -5;
    const char* const end = readShortNumber(row.text, &value);
    if (row.length < 0) {
      EXPECT_EQ(end, nullptr) << row.text;
      EXPECT_EQ(value, -5) << row.text;
    } else {
      EXPECT_EQ(end, row.text + row.length) << row.text;
      EXPECT_EQ(value, row.value) << row.text;
    }
  }
}

}  // namespace
