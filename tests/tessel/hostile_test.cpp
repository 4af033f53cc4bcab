// SPDX-License-Identifier: MIT
// Stores that lie: cut and changed at every byte, every field of the header and
// of the directory forged, with checksums that are wrong and, for the code behind
// them, right.
#include <functional>

#include "tessel/store/store.h"
#include "tessel/store/values.h"
#include "tests/tessel/memory_file.h"
#include "tests/tessel/store_exercise.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using tessel::Error;
using tessel::Store;
namespace layout = tessel::layout;

class HostileStore : public ::testing::Test {
 protected:
  HostileStore() {
    writeSample(scratch / "s.tessel");
    good = scratch.read("s.tessel");
    directoryAt = static_cast<std::size_t>(
        loomkit::RecordReader(good.data(), good.size()).get(layout::header::directory));
  }
  Error open(const std::string& bytes) {
    Store store;
    return store.open(file.write(bytes));
  }
  // Forges a 64-bit or 32-bit number with right checksums around it.
  template <class Field>
  std::string forged(Field field, std::uint64_t value) const {
    std::string bad = good;
    Field::store(reinterpret_cast<unsigned char*>(bad.data()) + field.offset,
                 static_cast<typename Field::Value>(value));
    repairSums(&bad);
    return bad;
  }
  // The first table with these bytes in all entries of a column.
  [[nodiscard]] std::string withEntries(std::size_t number, char byte) {
    Store store;
    EXPECT_EQ(store.open(file.write(good)), Error::none);
    const tessel::TableInfo& table = store.tables()[0];
    const tessel::Column& column = table.columns[number];
    std::string bad = good;
    for (std::uint32_t row = 0; row < table.rowCount; ++row)
      bad.replace(static_cast<std::size_t>(tessel::entryOffset(column, row)), column.width,
                  column.width, byte);
    repairSums(&bad);
    return bad;
  }
  [[nodiscard]] std::size_t fieldAt(std::size_t number) const {
    return directoryAt + layout::directory::size + 3 * layout::table::size +
           number * layout::field::size;
  }
  [[nodiscard]] std::size_t indexAt(std::size_t number) const {
    return fieldAt(15) + number * layout::index::size;
  }
  [[nodiscard]] std::size_t columnAt(std::size_t number) const {
    return indexAt(8) + number * layout::column::size;
  }

  ScratchDirectory scratch;
  MemoryFile file;
  std::string good;
  std::size_t directoryAt = 0;
};

TEST_F(HostileStore, RefusesAFileThatIsCutAnywhere) {
  for (std::size_t size = 0; size < good.size(); ++size) {
    const Error error = open(good.substr(0, size));
    EXPECT_EQ(error, size < layout::header::magic.size ? Error::noStore : Error::damagedDirectory)
        << size;
  }
}

TEST_F(HostileStore, DetectsAChangeOfAnyByte) {
  for (std::size_t at = 0; at < good.size(); ++at) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ (1 << at % 8));
    const std::string path = file.write(bad);
    Store store;
    const Error error = store.open(path);
    if (at < layout::header::magic.size) {
      EXPECT_EQ(error, Error::noStore) << at;
    } else if (at < layout::header::size || at >= directoryAt) {
      EXPECT_EQ(error, Error::damagedDirectory) << at;
    } else {
      ASSERT_EQ(error, Error::none) << at;
      EXPECT_EQ(store.blocks()->verify(0), Error::damagedData) << at;
    }
  }
}

TEST_F(HostileStore, TheRepairOfChecksumsLeavesAGoodFileAsItIs) {
  std::string same = good;
  repairSums(&same);
  EXPECT_TRUE(same == good);
}

// What lies behind right checksums is read all the same, and lies.
TEST_F(HostileStore, SurvivesEveryChangeOfAByteBehindRightChecksums) {
  for (std::size_t at = layout::header::magic.size; at < good.size(); ++at)
    for (const int mask : {0x01, 0x80, 0xff}) {
      std::string bad = good;
      bad[at] = static_cast<char>(bad[at] ^ mask);
      repairSums(&bad);
      exerciseStore(file.write(bad));
    }
}

// Where each number of the directory lies, and what it must not be.
TEST_F(HostileStore, RefusesForgedNumbersOfTheDirectory) {
  namespace h = layout::header;
  namespace d = layout::directory;
  namespace t = layout::table;
  namespace f = layout::field;
  namespace x = layout::index;
  const std::uint64_t huge[] = {0xffffffffU, 0x80000000U, 0x7fffffffU, 0xffffffffffffffffU};
  const auto refused = [this](auto place, std::uint64_t value) {
    EXPECT_EQ(open(forged(place, value)), Error::damagedDirectory)
        << "at " << place.offset << ": " << value;
  };
  for (const std::uint64_t value : huge) {
    for (const auto place : {h::fileSize, h::sums, h::directory}) refused(place, value);
    refused(h::directorySize, value | 1);
    for (const auto place :
         {d::tableCount, d::fieldCount, d::indexCount, d::columnCount, d::groupCount, d::namesSize})
      refused(place.behind(directoryAt), value | 1);
    const std::size_t table = directoryAt + d::size;
    for (const auto place : {t::name, t::rowCount, t::fieldCount, t::indexCount})
      refused(place.behind(table), value | 1);
    const std::size_t heapText = fieldAt(11);
    refused(t::rows.behind(table), value);
    for (const auto place : {f::heap, f::heapSize}) refused(place.behind(heapText), value);
    refused(f::width.behind(heapText), value | 1);
    refused(f::dictionaryCount.behind(fieldAt(10)), value | 1);
    refused(f::dictionary.behind(fieldAt(10)), value);
    refused(f::name.behind(heapText), value | 1);
    for (const auto place : {x::name, x::columnCount, x::bucketBits})
      refused(place.behind(indexAt(0)), value | 2);
    refused(x::unique.behind(indexAt(0)), value | 2);
    refused(x::reserved.behind(indexAt(0)), value | 2);
    for (const auto place : {x::entries, x::buckets}) refused(place.behind(indexAt(0)), value);
    refused(layout::column::number.behind(columnAt(0)), value | 1);
  }
}

TEST_F(HostileStore, RefusesSectionsThatOverlapOrAreMisplaced) {
  namespace t = layout::table;
  const loomkit::RecordReader record(good.data(), good.size());
  const std::size_t table = directoryAt + layout::directory::size;
  EXPECT_EQ(record.get(t::rows.behind(table)), 64U);
  const auto place = layout::field::heap.behind(fieldAt(11));
  const std::uint64_t heap = record.get(place);
  EXPECT_EQ(open(forged(place, 64)), Error::damagedDirectory) << "the same as another";
  EXPECT_EQ(open(forged(place, 0)), Error::damagedDirectory) << "over the header";
  EXPECT_EQ(open(forged(place, heap + 8)), Error::damagedDirectory) << "not at a section's place";
  EXPECT_EQ(open(forged(t::rows.behind(table + t::size), heap)), Error::damagedDirectory)
      << "the rows of one table in the texts of another";
}

// A row is as wide as its fields together, which 32 bits must be able to tell.
TEST_F(HostileStore, RefusesRowsTooWideForAnyFile) {
  namespace f = layout::field;
  std::string bad = good;
  auto* const bytes = reinterpret_cast<unsigned char*>(bad.data());
  for (const std::size_t field : {0U, 1U, 2U}) {
    f::type.store(bytes + f::type.behind(fieldAt(field)).offset, TslTypeText);
    f::storage.store(bytes + f::storage.behind(fieldAt(field)).offset, TslStorageFixedText);
    f::width.store(bytes + f::width.behind(fieldAt(field)).offset, 0x7fffffff);
  }
  for (const std::uint32_t rows : {0U, 1U, 0x7fffffffU}) {
    namespace t = layout::table;
    t::rowCount.store(bytes + t::rowCount.behind(directoryAt + layout::directory::size).offset,
                      rows);
    repairSums(&bad);
    EXPECT_EQ(open(bad), Error::damagedDirectory) << rows;
  }
}

TEST_F(HostileStore, RefusesCodesThatDoNotGoTogether) {
  namespace f = layout::field;
  const std::size_t at = fieldAt(0);
  for (std::uint64_t value = 0; value < 256; ++value) {
    for (const auto place : {f::type.behind(at), f::storage.behind(at), f::coding.behind(at),
                             f::reserved.behind(at)}) {
      const std::string bad = forged(place, value);
      const Error expected = bad == good ? Error::none : Error::damagedDirectory;
      EXPECT_EQ(open(bad), expected) << place.offset << ": " << value;
    }
  }
}

TEST_F(HostileStore, RefusesNamesThatAreDoubleOrDoNotEnd) {
  namespace t = layout::table;
  namespace f = layout::field;
  const std::size_t tables = directoryAt + layout::directory::size;
  EXPECT_EQ(open(forged(t::name.behind(tables + t::size), 0)), Error::damagedDirectory)
      << "two tables of a name";
  const std::uint32_t id =
      loomkit::RecordReader(good.data(), good.size()).get(f::name.behind(fieldAt(1)));
  EXPECT_EQ(open(forged(f::name.behind(fieldAt(0)), id)), Error::damagedDirectory)
      << "two fields of a name";
  std::string endless = good;
  endless.back() = 'x';
  repairSums(&endless);
  EXPECT_EQ(open(endless), Error::damagedDirectory);
}

// The data of an index and of a heap, which are looked at only in a lookup.
TEST_F(HostileStore, FindsForgedDataWhenItTouchesThem) {
  const loomkit::RecordReader record(good.data(), good.size());
  namespace x = layout::index;
  namespace f = layout::field;
  const auto lookup = [this](const std::string& bytes, int field, const char* text) {
    Store store;
    EXPECT_EQ(store.open(file.write(bytes)), Error::none);
    TslKey key{field, TslTypeText, {}};
    key.value.textValue = text;
    TslResultSet set = {0, 0, nullptr};
    const Error error = store.lookupKeys(store.tables()[0], &key, 1, &set);
    tessel::releaseResult(&set);
    return error;
  };
  EXPECT_EQ(lookup(good, 10, "odd"), Error::none);
  // Index 1 is by kind, field 10.
  const auto entries = static_cast<std::size_t>(record.get(x::entries.behind(indexAt(1))));
  const auto buckets = static_cast<std::size_t>(record.get(x::buckets.behind(indexAt(1))));
  const std::uint32_t bits = record.get(x::bucketBits.behind(indexAt(1)));
  for (const std::uint64_t row : {20U, 21U, 0x7fffffffU, 0xffffffffU}) {
    std::string bad = good;
    for (std::size_t i = 0; i < 20; ++i)
      layout::entry::row.store(reinterpret_cast<unsigned char*>(bad.data()) + entries +
                                   i * layout::entry::size + layout::entry::row.offset,
                               static_cast<std::uint32_t>(row));
    repairSums(&bad);
    EXPECT_EQ(lookup(bad, 10, "odd"), Error::damagedData) << row;
  }
  std::string falling = good;
  for (std::size_t i = 0; i <= std::size_t{1} << bits; ++i)
    layout::bucket::first.store(reinterpret_cast<unsigned char*>(falling.data()) + buckets + i * 4,
                                static_cast<std::uint32_t>(100 - i));
  repairSums(&falling);
  EXPECT_EQ(lookup(falling, 10, "odd"), Error::damagedData);
  // Where the texts of the dictionary begin.
  const auto dictionary = static_cast<std::size_t>(record.get(f::dictionary.behind(fieldAt(10))));
  std::string bad = good;
  bad.replace(dictionary, 12, 12, '\x7f');
  repairSums(&bad);
  EXPECT_EQ(lookup(bad, 10, "odd"), Error::damagedData);
  // In each row, the code of the dictionary, and a fixed text without its end.
  EXPECT_EQ(lookup(withEntries(10, '\xff'), 10, "odd"), Error::damagedData);
  EXPECT_EQ(lookup(withEntries(9, 'c'), 10, "odd"), Error::damagedData);
}

TEST_F(HostileStore, AnIndexOutOfOrderFindsLessAndNothingElse) {
  const loomkit::RecordReader record(good.data(), good.size());
  const auto entries =
      static_cast<std::size_t>(record.get(layout::index::entries.behind(indexAt(0))));
  std::string bad = good;
  for (std::size_t i = 0; i < 10; ++i)
    for (std::size_t byte = 0; byte < layout::entry::size; ++byte)
      std::swap(bad[entries + i * 8 + byte], bad[entries + (19 - i) * 8 + byte]);
  repairSums(&bad);
  exerciseStore(file.write(bad));
}

}  // namespace
