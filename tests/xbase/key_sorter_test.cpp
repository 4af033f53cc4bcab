// SPDX-License-Identifier: MIT
// Sorting in memory and with runs on the disk, and the trees that are built of it.
#include "loomkit/xbase/key_sorter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "tests/xbase/index_fixture.h"

namespace loomkit::xbase {
namespace {

using Entry = std::pair<std::string, std::uint32_t>;

class KeySorterTest : public IndexTest {
 protected:
  KeySorterTest() { ::unsetenv("TEMP"); }
  ~KeySorterTest() override { ::unsetenv("TEMP"); }

  [[nodiscard]] std::ptrdiff_t filesIn(const std::string& folder) const {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }

  void expectSorted(std::size_t count, std::size_t keyLength, std::size_t prefix,
                    std::size_t leastRuns) {
    std::mt19937 random(static_cast<unsigned>(count));
    std::vector<Entry> entries;
    KeySorter sorter(engine, keyLength, scratch.path());
    sorter.reserve(count);
    for (std::uint32_t record = 1; record <= count; ++record) {
      std::string key(keyLength, 'p');
      for (std::size_t i = prefix; i < keyLength; ++i) key[i] = static_cast<char>(random() % 5);
      entries.emplace_back(key, record);
      ASSERT_EQ(sorter.add(reinterpret_cast<const unsigned char*>(key.data()), record), ok);
    }
    EXPECT_GE(sorter.runCount(), leastRuns);
    std::sort(entries.begin(), entries.end());
    auto wanted = entries.begin();
    ASSERT_EQ(sorter.forEach([&](const unsigned char* key, std::uint32_t record) -> int {
      const Entry entry(std::string(reinterpret_cast<const char*>(key), keyLength), record);
      EXPECT_EQ(entry, *wanted);
      ++wanted;
      return ok;
    }),
              ok);
    EXPECT_EQ(wanted, entries.end());
  }
};

TEST_F(KeySorterTest, SortsInMemory) {
  expectSorted(0, 4, 0, 0);
  expectSorted(1, 4, 0, 0);
  expectSorted(5000, 1, 0, 0);
  expectSorted(5000, 4, 0, 0);
  expectSorted(5000, 8, 3, 0);
  expectSorted(5000, 20, 12, 0);
  expectSorted(5000, 20, 20, 0);
  EXPECT_EQ(filesIn(scratch.path()), 0);
}

TEST_F(KeySorterTest, MergesRunsThatItWroteToAScratchFile) {
  for (const std::size_t memory : {0U, 2000U, 30000U}) {
    engine.sortMemory = memory;
    expectSorted(5000, 4, 0, 2);
    expectSorted(5000, 20, 12, 2);
    EXPECT_EQ(filesIn(scratch.path()), 0) << "the scratch file is gone";
  }
}

TEST_F(KeySorterTest, PutsTheScratchFileWhereTempSays) {
  engine.sortMemory = 2000;
  std::filesystem::create_directory(scratch / "temp");
  std::filesystem::create_directory(scratch / "own");
  for (const bool named : {true, false}) {
    if (named) {
      ::setenv("TEMP", (scratch / "temp").c_str(), 1);
    } else {
      ::unsetenv("TEMP");
    }
    {
      KeySorter sorter(engine, 4, scratch / "own");
      for (std::uint32_t record = 1; record < 200; ++record) {
        ASSERT_EQ(sorter.add(reinterpret_cast<const unsigned char*>("keys"), record), ok);
      }
      EXPECT_EQ(filesIn(scratch / "temp"), named ? 1 : 0);
      EXPECT_EQ(filesIn(scratch / "own"), named ? 0 : 1);
      const auto file = std::filesystem::directory_iterator(scratch / (named ? "temp" : "own"));
      EXPECT_EQ(file->path().extension(), ".TMP");
    }
    EXPECT_EQ(filesIn(scratch / "temp"), 0) << "given up half-way";
    EXPECT_EQ(filesIn(scratch / "own"), 0);
  }
  ::setenv("TEMP", (scratch / "nowhere").c_str(), 1);
  KeySorter sorter(engine, 4, scratch / "own");
  int result = ok;
  for (std::uint32_t record = 1; record < 200 && result == ok; ++record)
    result = sorter.add(reinterpret_cast<const unsigned char*>("keys"), record);
  EXPECT_EQ(result, errorCreating);
  engine.report.files = true;
  takeError();
  KeySorter again(engine, 4, scratch / "own");
  for (std::uint32_t record = 1; record < 200 && result != ok; ++record)
    result = again.add(reinterpret_cast<const unsigned char*>("keys"), record);
  for (std::uint32_t record = 1; record < 200 && result == ok; ++record)
    result = again.add(reinterpret_cast<const unsigned char*>("keys"), record);
  ASSERT_FALSE(reports.empty());
  EXPECT_THAT(reports.back(), ::testing::HasSubstr("Temporary Working File"));
  EXPECT_THAT(reports.back(), ::testing::HasSubstr("Sorting"));
  takeError();
}

TEST_F(KeySorterTest, StopsWhereAnEntryIsNotTaken) {
  for (const std::size_t memory : {std::size_t{64} << 20, std::size_t{1000}}) {
    engine.sortMemory = memory;
    KeySorter sorter(engine, 4, scratch.path());
    for (std::uint32_t record = 1; record <= 300; ++record) {
      ASSERT_EQ(sorter.add(reinterpret_cast<const unsigned char*>("same"), record), ok);
    }
    std::uint32_t taken = 0;
    EXPECT_EQ(sorter.forEach([&](const unsigned char*, std::uint32_t record) -> int {
      EXPECT_EQ(record, ++taken);
      return record == 100 ? notUnique : ok;
    }),
              notUnique);
    EXPECT_EQ(taken, 100U);
  }
}

// Whatever the memory, the file is the same.
TEST_F(KeySorterTest, BuildsTheSameIndexInMemoryAndFromRuns) {
  TableOwner table = makeTable();
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) {
    ASSERT_EQ(append(*table, "N" + std::to_string(random() % 9000),
                     static_cast<double>(random() % 1000), "", i % 2 == 0),
              ok);
  }
  const std::vector<TagDescription> tags = {{"NAME", "NAME"},
                                            {"ONCE", "NAME", "", true},
                                            {"AMOUNT", "AMOUNT", "PAID"},
                                            {"BOTH", "NAME+STR(AMOUNT,10,2)"}};
  IndexFile* index = createIndex(*table, scratch / "t.cdx", tags);
  ASSERT_NE(index, nullptr);
  const std::string whole = indexBytes();
  ASSERT_EQ(closeIndex(*index), ok);
  engine.sortMemory = 20000;
  index = createIndex(*table, scratch / "t.cdx", tags);
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(indexBytes(), whole);
  EXPECT_EQ(filesIn(scratch.path()), 2);
  ASSERT_EQ(rebuild(*index), ok);
  std::string rebuilt = indexBytes();
  // Only the versions have gone up.
  EXPECT_EQ(rebuilt.size(), whole.size());
  ASSERT_EQ(close(*table), ok);
  expectChecked("AMOUNT: 10000 keys");
}

}  // namespace
}  // namespace loomkit::xbase
