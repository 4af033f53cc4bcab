// SPDX-License-Identifier: MIT
// Indexes of ranges: when the writer makes one, what it finds, and what becomes of
// one that lies.
#include <climits>
#include <random>

#include "tessel/builder/range_collector.h"
#include "tessel/inspector.h"
#include "tessel/store/store.h"
#include "tests/tessel/memory_file.h"
#include "tests/tessel/store_exercise.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using tessel::Error;
using tessel::RangeCollector;
using tessel::Store;
namespace layout = tessel::layout;
namespace x = layout::index;
namespace r = layout::range;

// The ranges as "value@row*count ", or what became of them.
std::string collected(const std::vector<std::int64_t>& values) {
  RangeCollector collector;
  for (const std::int64_t value : values)
    if (!collector.add(value)) return "given up";
  if (!collector.finish()) return "not worth it";
  std::string text;
  for (const tessel::CollectedRange& range : collector.ranges())
    text += std::to_string(range.value) + "@" + std::to_string(range.row) + "*" +
            std::to_string(range.count) + " ";
  return text;
}

std::vector<std::int64_t> counted(std::int64_t first, int count) {
  std::vector<std::int64_t> values;
  for (int i = 0; i < count; ++i) values.push_back(first + i);
  return values;
}

std::vector<std::int64_t> joined(std::vector<std::int64_t> a, const std::vector<std::int64_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

TEST(TesselRanges, JoinValuesThatFollowEachOther) {
  EXPECT_EQ(collected({5}), "5@0*1 ");
  EXPECT_EQ(collected({-1, 0, 1}), "-1@0*3 ");
  EXPECT_EQ(collected(joined(counted(100, 8), counted(-3, 8))), "-3@8*8 100@0*8 ");
  EXPECT_EQ(collected(joined(counted(0, 8), counted(8, 8))), "0@0*16 ");
}

TEST(TesselRanges, AreNotWorthItWhenTheyAreShortOrMeet) {
  EXPECT_EQ(collected({}), "not worth it");
  EXPECT_EQ(collected({7, -2}), "not worth it");
  EXPECT_EQ(collected(joined(counted(0, 8), counted(9, 7))), "not worth it") << "15 rows";
  EXPECT_EQ(collected(joined(counted(0, 20), counted(19, 20))), "not worth it") << "19 is double";
  EXPECT_EQ(collected(joined(counted(0, 20), counted(0, 20))), "not worth it");
  EXPECT_EQ(collected(joined(counted(0, 20), counted(-5, 10))), "not worth it");
  EXPECT_EQ(collected(joined(counted(0, 20), counted(-10, 10))), "-10@20*10 0@0*20 ");
}

TEST(TesselRanges, AreGivenUpWhenThereAreTooMany) {
  RangeCollector collector;
  for (int i = 0; i < 64; ++i) EXPECT_TRUE(collector.add(i * 2)) << i;
  EXPECT_FALSE(collector.add(1000));
  EXPECT_EQ(collector.ranges().size(), 64U) << "what came before stays";
  RangeCollector longer;
  for (int i = 0; i < 200000; ++i) ASSERT_TRUE(longer.add(i + i / 128)) << i;
  RangeCollector longest;
  int added = 0;
  while (longest.add(added + added / 300)) ++added;
  EXPECT_EQ(longest.ranges().size(), 4096U) << "never more, however many rows";
}

// A store of one table whose only index, by its only column, is the first thing
// behind the column; and what it tells of itself.
class OneIndex {
 public:
  OneIndex(const std::vector<Cells>& rows, GDbFieldType type, bool pattern = false,
           const char* index = "n") {
    GTesselWriter writer(path);
    if (pattern) writer.setPatternFields({"n"});
    status = addTable(&writer, "t", structureOf({{"n", type}}), {index}, rows);
    if (status == GDbNoError) status = writer.commit();
    if (status == GDbNoError) bytes = scratch.read("t.tessel");
  }
  [[nodiscard]] bool hasRanges() const {
    Store store;
    return store.open(path) == Error::none &&
           store.tables()[0].indexes[0].form == tessel::IndexForm::ranges;
  }

  ScratchDirectory scratch;
  std::string path = scratch / "t.tessel";
  std::string bytes;
  GDbStatus status = GDbNoError;
};

std::vector<Cells> rowsOf(const std::vector<std::int64_t>& values, bool isSigned) {
  std::vector<Cells> rows;
  for (const std::int64_t value : values)
    rows.push_back({isSigned ? Cell(static_cast<int>(value)) : Cell(static_cast<unsigned>(value))});
  return rows;
}

// Which row a lookup finds: -1 for none.
int rowOf(Store* store, TslKey key) {
  TslResultSet set = {0, 0, nullptr};
  EXPECT_EQ(store->lookupKeys(store->tables()[0], &key, 1, &set), Error::none);
  EXPECT_LE(set.rowCount, 1);
  int row = -1;
  if (set.rowCount == 1) row = static_cast<int>(set.rows[0].values[0].value.unsignedValue);
  tessel::releaseResult(&set);
  return row;
}

TEST(TesselRanges, FindWhatIsThereAndNothingElse) {
  struct Case {
    GDbFieldType type;
    bool pattern;
    std::vector<std::int64_t> values;
  };
  const Case cases[] = {
      {GDbFieldInt, false, counted(1, 100)},
      {GDbFieldInt, false, {INT_MIN}},
      {GDbFieldInt, false, {INT_MAX}},
      {GDbFieldInt, false, joined(counted(INT_MAX - 49LL, 50), counted(INT_MIN, 50))},
      {GDbFieldInt, false, joined(counted(-25, 50), counted(1000, 50))},
      {GDbFieldUInt, false, joined(counted(0xffffffffLL - 49, 50), counted(0, 50))},
      {GDbFieldUInt, false, counted(0x7fffffc0LL, 128)},
      {GDbFieldUInt, true, counted(0x7fffffc0LL, 128)},
  };
  for (const Case& one : cases) {
    const bool isSigned = one.type == GDbFieldInt;
    const OneIndex made(rowsOf(one.values, isSigned), one.type, one.pattern, "n!");
    EXPECT_TRUE(made.hasRanges());
    Store store;
    ASSERT_EQ(store.open(made.path), Error::none);
    for (const std::int64_t value : one.values)
      for (const std::int64_t near : {value - 1, value, value + 1}) {
        const std::int64_t least = isSigned ? INT_MIN : 0;
        const std::int64_t most = isSigned ? std::int64_t{INT_MAX} : std::int64_t{UINT_MAX};
        if (near < least || near > most) continue;
        TslKey key{0, isSigned ? TslTypeSigned : TslTypeUnsigned, {}};
        key.value.unsignedValue = static_cast<std::uint32_t>(near);
        const bool there =
            std::find(one.values.begin(), one.values.end(), near) != one.values.end();
        ASSERT_EQ(rowOf(&store, key), there ? static_cast<int>(near) : -1) << near;
      }
  }
}

TEST(TesselRanges, LeadToTheOtherColumnsAndKeysToo) {
  const ScratchDirectory scratch;
  std::vector<Cells> rows;
  for (int i = 0; i < 1000; ++i) rows.push_back({i + 5 + i / 500 * 1000, std::to_string(i)});
  writeStore(scratch / "t.tessel", structureOf({{"id", GDbFieldInt}, {"text", GDbFieldString}}),
             {"id"}, rows);
  const DatabaseOwner database = openDb("tessel:" + scratch / "t");
  const TableOwner table = openTable(database, "t");
  const auto found = [&](const std::vector<GDbKey>& keys) {
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &set), GDbNoError);
    return textsOf(set);
  };
  using Texts = std::vector<std::string>;
  EXPECT_EQ(found({GDbKey(0, 5)}), Texts{"5|0"});
  EXPECT_EQ(found({GDbKey(0, 504)}), Texts{"504|499"});
  EXPECT_EQ(found({GDbKey(0, 505)}), Texts{});
  EXPECT_EQ(found({GDbKey(0, 1505)}), Texts{"1505|500"});
  EXPECT_EQ(found({GDbKey(0, 2004)}), Texts{"2004|999"});
  EXPECT_EQ(found({GDbKey(0, 2005)}), Texts{});
  EXPECT_EQ(found({GDbKey(0, 4)}), Texts{});
  EXPECT_EQ(found({GDbKey(0, 17.0), GDbKey(1, "12")}), Texts{"17|12"});
  EXPECT_EQ(found({GDbKey(1, "13"), GDbKey(0, 17)}), Texts{});
  EXPECT_EQ(found({GDbKey(0, 17), GDbKey(0, 18)}), Texts{});
  EXPECT_EQ(found({GDbKey(0, 4294967295U)}), Texts{});
}

// The same values, in an order that makes them entries from some row on.
TEST(TesselRanges, AreGivenUpWithoutLosingARow) {
  std::mt19937 random(3);
  for (const int scatteredFrom : {0, 1, 63, 64, 500, 5000}) {
    std::vector<std::int64_t> values = counted(-100, scatteredFrom);
    for (int i = 0; i < 300; ++i) values.push_back(10000 + static_cast<int>(random() % 20000) * 2);
    const OneIndex made(rowsOf(values, true), GDbFieldInt);
    EXPECT_FALSE(made.hasRanges());
    GTesselInspector inspector;
    ASSERT_EQ(inspector.open(made.path), GDbNoError);
    EXPECT_EQ(inspector.check(), GDbNoError) << inspector.getErrMsg();
    EXPECT_EQ(inspector.getTables()[0].indexes[0].form, "hashed");
  }
}

TEST(TesselRanges, OfAUniqueIndexAreNoWayAroundIt) {
  const OneIndex twice(rowsOf(joined(counted(0, 100), {50}), true), GDbFieldInt, false, "n!");
  EXPECT_EQ(twice.status, GDbNonUniqueKey);
  const OneIndex allowed(rowsOf(joined(counted(0, 100), {50}), true), GDbFieldInt);
  EXPECT_EQ(allowed.status, GDbNoError);
  EXPECT_FALSE(allowed.hasRanges());
}

// Stores whose ranges lie, with checksums that are right.
class HostileRanges : public ::testing::Test {
 protected:
  [[nodiscard]] std::size_t indexAt() const {
    return static_cast<std::size_t>(record.get(layout::header::directory)) +
           layout::directory::size + layout::table::size + layout::field::size;
  }
  [[nodiscard]] std::size_t rangeAt(std::size_t number) const {
    return static_cast<std::size_t>(record.get(x::entries.behind(indexAt()))) + number * r::size;
  }
  template <class Field>
  std::string forged(Field field, std::uint64_t value) const {
    std::string bad = made.bytes;
    Field::store(reinterpret_cast<unsigned char*>(bad.data()) + field.offset,
                 static_cast<typename Field::Value>(value));
    repairSums(&bad);
    return bad;
  }
  Error open(const std::string& bytes) const {
    Store store;
    return store.open(file.write(bytes));
  }
  // What a check of the whole file says.
  std::string checked(const std::string& bytes) const {
    const std::string path = file.write(bytes);
    GTesselInspector inspector;
    EXPECT_EQ(inspector.open(path), GDbNoError);
    return inspector.check() == GDbNoError ? "whole" : inspector.getErrMsg().substr(path.size());
  }

  // Two ranges: 10 to 29 in the rows 20 to 39, and 50 to 69 in the rows before.
  OneIndex made{rowsOf(joined(counted(50, 20), counted(10, 20)), true), GDbFieldInt};
  loomkit::RecordReader record{made.bytes.data(), made.bytes.size()};
  MemoryFile file;
};

TEST_F(HostileRanges, AGoodFileIsWhole) {
  ASSERT_TRUE(made.hasRanges());
  EXPECT_EQ(record.get(x::rangeCount.behind(indexAt())), 2U);
  EXPECT_EQ(record.get(r::value.behind(rangeAt(0))), 10U);
  EXPECT_EQ(record.get(r::row.behind(rangeAt(0))), 20U);
  EXPECT_EQ(checked(made.bytes), "whole");
}

TEST_F(HostileRanges, ForgedNumbersOfTheDirectoryAreRefused) {
  const auto refused = [this](auto place, std::uint64_t value) {
    EXPECT_EQ(open(forged(place, value)), Error::damagedDirectory)
        << "at " << place.offset << ": " << value;
  };
  for (const std::uint64_t form : {2U, 3U, 128U, 255U}) refused(x::form.behind(indexAt()), form);
  for (const std::uint64_t more : {1U, 256U, 65535U}) refused(x::reserved.behind(indexAt()), more);
  for (const std::uint64_t count : {41U, 0x7fffffffU, 0x80000000U, 0xffffffffU})
    refused(x::rangeCount.behind(indexAt()), count);
  for (const std::uint64_t place : {std::uint64_t{1}, std::uint64_t{64}, ~std::uint64_t{63}})
    refused(x::buckets.behind(indexAt()), place);
  refused(x::entries.behind(indexAt()), ~std::uint64_t{63});
  refused(x::columnCount.behind(indexAt()), 2);
}

TEST_F(HostileRanges, AnIndexOfRangesByAnythingButIntegersIsRefused) {
  namespace f = layout::field;
  const std::size_t field = indexAt() - f::size;
  std::string floating = made.bytes;
  auto* const bytes = reinterpret_cast<unsigned char*>(floating.data());
  ASSERT_EQ(record.get(f::width.behind(field)), 1U);
  f::type.store(bytes + f::type.behind(field).offset, TslTypeText);
  f::storage.store(bytes + f::storage.behind(field).offset, TslStorageFixedText);
  repairSums(&floating);
  EXPECT_EQ(open(floating), Error::damagedDirectory);
}

TEST_F(HostileRanges, ARangeThatLeadsToNoRowIsDamage) {
  for (const std::uint64_t row : {40U, 41U, 0x7fffffffU, 0xffffffffU}) {
    const std::string bad = forged(r::row.behind(rangeAt(0)), row);
    Store store;
    ASSERT_EQ(store.open(file.write(bad)), Error::none);
    TslKey key{0, TslTypeSigned, {}};
    key.value.signedValue = 12;
    TslResultSet set = {0, 0, nullptr};
    EXPECT_EQ(store.lookupKeys(store.tables()[0], &key, 1, &set), Error::damagedData);
    EXPECT_EQ(checked(bad), ": t, index by n: a range leads to no row");
  }
}

TEST_F(HostileRanges, ACheckFindsEachLie) {
  EXPECT_EQ(checked(forged(r::value.behind(rangeAt(0)), 50)), ": t, index by n: not in order");
  EXPECT_EQ(checked(forged(r::value.behind(rangeAt(0)), 99)), ": t, index by n: not in order");
  EXPECT_EQ(checked(forged(r::row.behind(rangeAt(0)), 0)),
            ": t, index by n: two ranges begin at the same row");
  EXPECT_EQ(checked(forged(r::row.behind(rangeAt(1)), 1)), ": t, index by n: rows are in no range");
  EXPECT_EQ(checked(forged(x::rangeCount.behind(indexAt()), 0)),
            ": t, index by n: rows are in no range");
  for (const std::uint64_t value : {0U, 9U, 11U, 0x80000000U})
    EXPECT_EQ(checked(forged(r::value.behind(rangeAt(0)), value)),
              ": t, index by n: a value is not that of its range")
        << value;
  EXPECT_EQ(checked(forged(r::row.behind(rangeAt(0)), 21)),
            ": t, index by n: a value is not that of its range");
}

TEST_F(HostileRanges, ACheckFindsValuesThatAreThereTwice) {
  // The second range's rows get the first one's values, and the range tells so.
  std::string bad = made.bytes;
  const auto values = static_cast<std::size_t>(record.get(
      layout::table::rows.behind(indexAt() - layout::field::size - layout::table::size)));
  for (std::size_t i = 0; i < 20; ++i) bad[values + i] = static_cast<char>(20 + i);
  r::value.store(reinterpret_cast<unsigned char*>(bad.data()) + rangeAt(1) + r::value.offset, 20);
  repairSums(&bad);
  EXPECT_EQ(checked(bad), ": t, index by n: two rows have the same value");
}

TEST_F(HostileRanges, EveryChangeOfAByteIsSurvived) {
  for (std::size_t at = layout::header::magic.size; at < made.bytes.size(); ++at)
    for (const int mask : {0x01, 0x80, 0xff}) {
      std::string bad = made.bytes;
      bad[at] = static_cast<char>(bad[at] ^ mask);
      repairSums(&bad);
      exerciseStore(file.write(bad));
    }
}

}  // namespace
