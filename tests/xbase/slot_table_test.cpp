// SPDX-License-Identifier: MIT
#include "loomkit/xbase/slot_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace loomkit::xbase {
namespace {

TEST(SlotTable, FindsNothingWhenEmpty) {
  SlotTable table;
  EXPECT_EQ(table.find(0), SlotTable::none);
  table.erase(0);
  table.clear();
  EXPECT_EQ(table.find(~std::uint64_t{0}), SlotTable::none);
}

TEST(SlotTable, KeepsApartBlocksOfOneChain) {
  SlotTable table;
  const std::uint64_t numbers[] = {5, 5 + 16, 5 + 32, 5 + (std::uint64_t{1} << 40)};
  for (std::uint32_t slot = 0; slot < 4; ++slot) table.insert(numbers[slot], slot);
  for (std::uint32_t slot = 0; slot < 4; ++slot) EXPECT_EQ(table.find(numbers[slot]), slot);
  table.erase(numbers[1]);
  EXPECT_EQ(table.find(numbers[1]), SlotTable::none);
  table.insert(7, 1);
  EXPECT_EQ(table.find(7), 1U);
  EXPECT_EQ(table.find(numbers[0]), 0U);
  EXPECT_EQ(table.find(numbers[2]), 2U);
  table.clear();
  EXPECT_EQ(table.find(7), SlotTable::none);
  table.insert(9, 0);
  EXPECT_EQ(table.find(9), 0U);
}

// A cache of growing and then of full size, in which every slot is reused.
TEST(SlotTable, AgreesWithAMap) {
  constexpr unsigned seed = 20261122;
  std::mt19937 random(seed);
  SlotTable table;
  std::map<std::uint64_t, std::uint32_t> model;
  constexpr std::uint32_t slotCount = 300;
  std::uint64_t held[slotCount] = {};
  for (std::uint32_t step = 0; step < 5000; ++step) {
    const std::uint32_t slot = step < slotCount ? step : static_cast<std::uint32_t>(random() % 300);
    const std::uint64_t number = random() % 2000 * 64;
    if (model.count(number) != 0) {
      if (step < slotCount) --step;  // the slots come without gaps
      continue;
    }
    if (step >= slotCount) {
      table.erase(held[slot]);
      model.erase(held[slot]);
    }
    table.insert(number, slot);
    model[number] = slot;
    held[slot] = number;
    const std::uint64_t other = random() % 2000 * 64;
    const auto found = model.find(other);
    ASSERT_EQ(table.find(other), found == model.end() ? SlotTable::none : found->second)
        << "seed " << seed << ", step " << step;
  }
}

}  // namespace
}  // namespace loomkit::xbase
