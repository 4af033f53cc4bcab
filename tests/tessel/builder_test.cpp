// SPDX-License-Identifier: MIT
// The parts of the writer: spools, sorting in runs, dictionaries.
#include <algorithm>
#include <random>

#include "tessel/builder/entry_sorter.h"
#include "tessel/builder/spool.h"
#include "tessel/builder/text_dictionary.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using tessel::EntrySorter;
using tessel::Spool;
using tessel::SpoolReader;
using tessel::TextDictionary;
using tessel::Workspace;

TEST(TesselSpool, GivesBackWhatItGotWhateverFitsIntoMemory) {
  const ScratchDirectory scratch;
  for (const std::size_t limit : {std::size_t{0}, std::size_t{70000}, std::size_t{1} << 30}) {
    Workspace workspace(scratch / "target", limit);
    Spool spool(&workspace);
    std::mt19937 random(1);
    std::string all;
    for (int i = 0; i < 2000; ++i) {
      const std::string part(random() % 300, static_cast<char>(random()));
      spool.append(part.data(), part.size());
      all += part;
    }
    EXPECT_EQ(spool.size(), all.size());
    for (int round = 0; round < 2; ++round) {
      SpoolReader reader(spool);
      std::size_t at = 0;
      while (at < all.size()) {
        const std::size_t size = std::min<std::size_t>(1 + random() % 70000, all.size() - at);
        const unsigned char* const bytes = reader.take(size);
        ASSERT_NE(bytes, nullptr);
        ASSERT_EQ(std::memcmp(bytes, all.data() + at, size), 0) << at;
        at += size;
      }
      EXPECT_EQ(reader.take(1), nullptr) << "the end";
    }
    EXPECT_EQ(workspace.status(), 0);
  }
}

TEST(TesselSpool, OfNothingIsEmpty) {
  const ScratchDirectory scratch;
  Workspace workspace(scratch / "target", 0);
  const Spool spool(&workspace);
  EXPECT_EQ(SpoolReader(spool).take(1), nullptr);
}

TEST(TesselSpool, GivesItsMemoryBack) {
  const ScratchDirectory scratch;
  Workspace workspace(scratch / "target", 200000);
  for (int i = 0; i < 20; ++i) {
    Spool spool(&workspace);
    const std::string part(150000, 'x');
    spool.append(part.data(), part.size());
  }
  EXPECT_TRUE(workspace.reserve(200000));
}

TEST(TesselSpool, AScratchFileThatCannotBeMadeIsAFailureOfTheWorkspace) {
  Workspace workspace("/no/such/directory/file", 0);
  Spool spool(&workspace);
  const std::string part(150000, 'x');
  spool.append(part.data(), part.size());
  EXPECT_LT(workspace.status(), 0);
  SpoolReader reader(spool);
  EXPECT_EQ(reader.take(150000), nullptr);
}

TEST(TesselSorter, SortsByHashAndRowInMemoryAndInRuns) {
  const ScratchDirectory scratch;
  for (const std::size_t count : {0U, 1U, 2U, 4095U, 4096U, 50000U})
    for (const std::size_t capacity : {1000U, 8192U, 1000000U})
      for (const std::uint32_t spread : {1U, 100U, ~0U}) {
        Workspace workspace(scratch / "target", 0);
        EntrySorter sorter(&workspace, capacity);
        std::mt19937 random(7);
        std::vector<std::pair<std::uint32_t, std::uint32_t>> expected;
        for (std::size_t row = 0; row < count; ++row) {
          const auto hash = static_cast<std::uint32_t>(random() % spread);
          expected.emplace_back(hash, static_cast<std::uint32_t>(row));
          sorter.add(hash, static_cast<std::uint32_t>(row));
        }
        std::sort(expected.begin(), expected.end());
        sorter.sort();
        std::uint32_t hash = 0;
        std::uint32_t row = 0;
        for (const auto& [expectedHash, expectedRow] : expected) {
          ASSERT_TRUE(sorter.next(&hash, &row));
          ASSERT_EQ(hash, expectedHash);
          ASSERT_EQ(row, expectedRow);
        }
        EXPECT_FALSE(sorter.next(&hash, &row));
        EXPECT_EQ(workspace.status(), 0);
      }
}

TEST(TesselDictionary, NumbersTextsAsTheyComeFirst) {
  TextDictionary dictionary;
  for (const char* text : {"one", "", "two", "one", "", "o"}) dictionary.add(text);
  EXPECT_EQ(dictionary.count(), 4U);
  EXPECT_EQ(dictionary.find("one"), 0U);
  EXPECT_EQ(dictionary.find(""), 1U);
  EXPECT_EQ(dictionary.find("two"), 2U);
  EXPECT_EQ(dictionary.find("o"), 3U);
  EXPECT_EQ(dictionary.bytes(), "onetwoo");
  EXPECT_EQ(dictionary.textBegins(), (std::vector<std::uint32_t>{0, 3, 3, 6}));
}

TEST(TesselDictionary, GivesUpWhenTextsAreMany) {
  TextDictionary dictionary;
  for (std::size_t i = 0; i < TextDictionary::maxCount; ++i) dictionary.add(std::to_string(i));
  EXPECT_TRUE(dictionary.isFew());
  EXPECT_EQ(dictionary.find("777"), 777U);
  dictionary.add("5");
  EXPECT_TRUE(dictionary.isFew()) << "it is there already";
  dictionary.add("one more");
  EXPECT_FALSE(dictionary.isFew());
  EXPECT_EQ(dictionary.count(), 0U);
}

TEST(TesselDictionary, GivesUpWhenTextsAreLong) {
  TextDictionary dictionary;
  dictionary.add(std::string(TextDictionary::maxBytes, 'x'));
  EXPECT_TRUE(dictionary.isFew());
  dictionary.add("y");
  EXPECT_FALSE(dictionary.isFew());
}

}  // namespace
