// SPDX-License-Identifier: MIT
#include "loomkit/config/line_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using loomkit::LineTable;

// Lines with a key each, and what the table is to say about them.
class Lines {
 public:
  // Few hashes, so that most searches pass other keys.
  static std::uint32_t hashOf(int key) { return static_cast<std::uint32_t>(key % 7) * 5; }
  auto isKey(int key) const {
    return [this, key](LineTable::Index line) { return keys[line] == key; };
  }
  LineTable::Index add(int key) {
    const auto line = static_cast<LineTable::Index>(keys.size());
    keys.push_back(key);
    return table.set(hashOf(key), line, isKey(key));
  }
  void remove(int key) { table.erase(hashOf(key), isKey(key)); }
  LineTable::Index find(int key) const { return table.find(hashOf(key), isKey(key)); }
  LineTable::Index last() const { return static_cast<LineTable::Index>(keys.size() - 1); }

 private:
  std::vector<int> keys;
  LineTable table;
};

TEST(LineTable, FindsNothingAtFirst) { EXPECT_EQ(Lines().find(1), LineTable::none); }

TEST(LineTable, GivesTheLineThatStoodForTheKey) {
  Lines lines;
  EXPECT_EQ(lines.add(3), LineTable::none);
  EXPECT_EQ(lines.add(10), LineTable::none);  // the same hash
  EXPECT_EQ(lines.add(3), 0U);
  EXPECT_EQ(lines.find(3), 2U);
  EXPECT_EQ(lines.find(10), 1U);
}

TEST(LineTable, AgreesWithAMapAfterAnyChanges) {
  std::mt19937 random(20261122);
  Lines lines;
  std::map<int, LineTable::Index> model;
  for (int step = 0; step < 20000; ++step) {
    const int key = static_cast<int>(random() % 200);
    if (random() % 3 != 0) {
      const auto known = model.find(key);
      EXPECT_EQ(lines.add(key), known == model.end() ? LineTable::none : known->second);
      model[key] = lines.last();
    } else if (model.erase(key) != 0) {
      lines.remove(key);
    }
    for (int probe = 0; step % 100 == 0 && probe < 200; ++probe) {
      const auto known = model.find(probe);
      ASSERT_EQ(lines.find(probe), known == model.end() ? LineTable::none : known->second)
          << "step " << step << ", key " << probe;
    }
  }
}

}  // namespace
