// SPDX-License-Identifier: MIT
// Lookups and descriptions on the real store: what keys find, by which index,
// against a model that looks at every row.
#include <climits>
#include <cmath>
#include <limits>
#include <map>
#include <random>

#include "loomkit/db/catalog.h"
#include "loomkit/db/tessel/tessel_database.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

class Sample : public ::testing::Test {
 protected:
  Sample() {
    writeSample(scratch / "s.tessel");
    database = openDb("tessel:" + scratch / "s");
    table = openTable(database, "all");
  }
  // Column 1 of what is found, which tells the row.
  std::string idsOf(const std::vector<GDbKey>& keys) {
    GDbRecordSet set;
    const GDbStatus status = table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &set);
    std::string text = status == GDbNoError ? "" : gDbStrError(status);
    for (unsigned i = 0; i < set.getNumRecords(); ++i)
      text += std::to_string(set.getRecord(i)->getIntField(1)) + " ";
    return text;
  }

  ScratchDirectory scratch;
  DatabaseOwner database;
  TableOwner table;
};

TEST_F(Sample, PresentsEveryStorage) {
  GDbStructure* found = nullptr;
  ASSERT_EQ(table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> structure(found);
  struct Row {
    const char* name;
    GDbFieldType type;
    int width;
  };
  const Row rows[] = {
      {"tiny", GDbFieldInt, 4},    {"id", GDbFieldInt, 6},       {"wide", GDbFieldInt, 11},
      {"byte", GDbFieldUInt, 3},   {"word", GDbFieldUInt, 5},    {"large", GDbFieldUInt, 10},
      {"bits", GDbFieldUInt, 8},   {"half", GDbFieldFloat, 12},  {"exact", GDbFieldFloat, 22},
      {"code", GDbFieldString, 2}, {"kind", GDbFieldString, -1}, {"name", GDbFieldString, -1},
  };
  ASSERT_EQ(structure->getNumFields(), 12);
  int number = 0;
  for (const Row& row : rows) {
    EXPECT_EQ(structure->getField(number).getName(), row.name);
    EXPECT_EQ(structure->getField(number).getType(), row.type) << row.name;
    EXPECT_EQ(structure->getField(number).getWidth(), row.width) << row.name;
    ++number;
  }
  ASSERT_EQ(structure->getIndices().size(), 6U);
  EXPECT_EQ(structure->getIndices()[0].getName(), "by id");
  EXPECT_TRUE(structure->getIndices()[0].isUnique());
  EXPECT_EQ(structure->getIndices()[4].getColumns(), "kind,code");
  EXPECT_FALSE(structure->getIndices()[4].isUnique());
}

TEST_F(Sample, ScansWhatWasWritten) {
  const Texts rows = scan(table.get());
  ASSERT_EQ(rows.size(), 20U);
  EXPECT_EQ(rows[0], "-10|0|0|0|0|0|4294967295|0|0|c0|an even row|0");
  EXPECT_EQ(rows[5], "-5|1500|-350000|5|5000|1000000000|4294967290|2.5|1.66667|c5|odd|nnnnnn5");
  EXPECT_EQ(scan(openTable(database, "empty").get()), Texts{});
  EXPECT_EQ(scan(openTable(database, "one").get()), Texts{"x"});
}

TEST_F(Sample, FindsByEachTypeOfIndex) {
  EXPECT_EQ(idsOf({GDbKey(1, 300)}), "300 ");
  EXPECT_EQ(idsOf({GDbKey(1, 299)}), "");
  EXPECT_EQ(idsOf({GDbKey(8, 4 / 3.0)}), "1200 ");
  EXPECT_EQ(idsOf({GDbKey(11, "nnnnnn5")}), "1500 ");
  EXPECT_EQ(idsOf({GDbKey(11, "nnnnnn")}), "");
  EXPECT_EQ(idsOf({GDbKey(6, ~3U)}), "900 ");
}

TEST_F(Sample, EqualKeysComeInTheOrderOfTheFile) {
  EXPECT_EQ(idsOf({GDbKey(10, "odd")}), "300 900 1500 2100 2700 3300 3900 4500 5100 5700 ");
}

TEST_F(Sample, TheOrderOfTheKeysDoesNotCount) {
  EXPECT_EQ(idsOf({GDbKey(10, "odd"), GDbKey(9, "c1")}), "300 4500 ");
  EXPECT_EQ(idsOf({GDbKey(9, "c1"), GDbKey(10, "odd")}), "300 4500 ");
}

TEST_F(Sample, KeysBeyondTheIndexAreCompared) {
  EXPECT_EQ(idsOf({GDbKey(3, 3U), GDbKey(10, "odd")}), "900 ");
  EXPECT_EQ(idsOf({GDbKey(10, "odd"), GDbKey(9, "c1"), GDbKey(0, -9)}), "300 ");
  EXPECT_EQ(idsOf({GDbKey(1, 300), GDbKey(1, 600)}), "") << "no row has both";
  EXPECT_EQ(idsOf({GDbKey(1, 300), GDbKey(1, 300)}), "300 ");
  std::vector<GDbKey> many(20, GDbKey(1, 300));
  EXPECT_EQ(idsOf(many), "300 ");
}

TEST_F(Sample, NumbersAreComparedAsNumbers) {
  EXPECT_EQ(idsOf({GDbKey(1, 300U)}), "300 ");
  EXPECT_EQ(idsOf({GDbKey(1, 300.0)}), "300 ");
  EXPECT_EQ(idsOf({GDbKey(1, 300.5)}), "");
  EXPECT_EQ(idsOf({GDbKey(1, std::nan(""))}), "");
  EXPECT_EQ(idsOf({GDbKey(1, std::numeric_limits<double>::infinity())}), "");
  EXPECT_EQ(idsOf({GDbKey(1, 1e300)}), "");
  EXPECT_EQ(idsOf({GDbKey(1, 4294966996U)}), "") << "not the bits of a negative number";
  EXPECT_EQ(idsOf({GDbKey(8, 0)}), "0 ");
  EXPECT_EQ(idsOf({GDbKey(8, -0.0)}), "0 ");
  EXPECT_EQ(idsOf({GDbKey(8, 1U)}), "900 ");
  EXPECT_EQ(idsOf({GDbKey(8, std::nan(""))}), "");
  EXPECT_EQ(idsOf({GDbKey(6, -4)}), "900 ") << "a pattern has no sign";
  EXPECT_EQ(idsOf({GDbKey(6, 4294967292.0)}), "900 ");
}

TEST_F(Sample, ACallersUIntDoesNotFitAPattern) {
  const GDbStructure structure = structureOf({{"bits", GDbFieldUInt}});
  GDbTable* opened = nullptr;
  EXPECT_EQ(database->openTable("all", &structure, &opened), GDbFieldTypeMismatch);
}

TEST_F(Sample, RowsOutliveTheResultAndTheStore) {
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(11, "nnnnnn5"), &set), GDbNoError);
  table.reset();
  database.reset();
  EXPECT_EQ(textOf(*set.getRecord(0)).substr(0, 8), "-5|1500|");
}

TEST_F(Sample, ADescriptionOutlivesItsTable) {
  const int handle = tsl_open_database((scratch / "s.tessel").c_str(), 0);
  const int opened = tsl_open_table(handle, "all", 0);
  TslTableDescr* const descr = tsl_get_table_descr(opened);
  ASSERT_NE(descr, nullptr);
  EXPECT_EQ(tsl_close_table(opened), 0);
  EXPECT_EQ(tsl_close_database(handle), 0);
  EXPECT_STREQ(descr->fields[11].name, "name");
  EXPECT_EQ(descr->fields[9].length, 3) << "the terminator included";
  EXPECT_EQ(descr->keysNeedIndex, 1);
  EXPECT_EQ(descr->fields[9].indexed, 1) << "a part of an index";
  EXPECT_EQ(descr->fields[0].indexed, 0);
  EXPECT_EQ(descr->indexes[4].columns[1], 9);
  tsl_free_table_descr(descr);
}

TEST_F(Sample, SeveralRowsCanBeHadAtOnce) {
  const int handle = tsl_open_database((scratch / "s.tessel").c_str(), 0);
  const int opened = tsl_open_table(handle, "all", 0);
  TslResultSet set = {0, 0, nullptr};
  ASSERT_EQ(tsl_lookup_recno(opened, 18, 100, 0, &set), 0);
  ASSERT_EQ(set.rowCount, 2);
  EXPECT_EQ(set.rows[1].values[1].value.signedValue, 5700);
  tsl_free_result_set(&set);
  ASSERT_EQ(tsl_lookup_recno(opened, 20, 1, 0, &set), 0);
  EXPECT_EQ(set.rowCount, 0);
  ASSERT_EQ(tsl_lookup_recno(opened, INT_MAX, INT_MAX, 0, &set), 0);
  EXPECT_EQ(set.rowCount, 0);
  tsl_free_result_set(&set);
  EXPECT_EQ(tsl_close_table(opened), 0);
  EXPECT_EQ(tsl_close_database(handle), 0);
}

TEST_F(Sample, ItsCatalogTellsHowColumnsAreStored) {
  GDbCatalog::Description description;
  ASSERT_EQ(GDbCatalog::describeTable(database.get(), "all", &description), GDbNoError);
  Texts types;
  for (const GDbCatalog::Column& column : description.columns) types.push_back(column.declaredType);
  EXPECT_EQ(types,
            (Texts{"int8", "int16", "int32", "uint8", "uint16", "uint32", "pattern of 32 bits",
                   "float", "double", "fixed text", "text in a dictionary", "text"}));
  std::vector<GDbCatalog::Table> tables;
  ASSERT_EQ(GDbCatalog::listTables(database.get(), &tables), GDbNoError);
  ASSERT_EQ(tables.size(), 3U);
  EXPECT_EQ(tables[0].name, "all");
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), "x", &description), GDbInvalidTableName);
}

// Texts that lie across blocks, in each of the three forms.
TEST(StoreTexts, ReachOverBlocks) {
  const ScratchDirectory scratch;
  std::vector<Cells> rows;
  for (int i = 0; i < 300; ++i) {
    const auto letter = static_cast<char>('a' + i % 26);
    rows.push_back(
        {i, std::string(999, letter), std::string(i % 2 == 0 ? 40000 : 3, letter),
         std::string(static_cast<std::size_t>(i * 37 % 5000), letter) + std::to_string(i)});
  }
  writeStore(scratch / "t.tessel",
             structureOf({{"id", GDbFieldInt},
                          {"fixed", GDbFieldString},
                          {"few", GDbFieldString},
                          {"many", GDbFieldString}}),
             {"id", "many!", "few"}, rows);
  const DatabaseOwner database = openDb("tessel:" + scratch / "t");
  const TableOwner table = openTable(database, "t");
  for (int i = 0; i < 300; ++i) {
    const Cells& row = rows[static_cast<std::size_t>(i)];
    GDbRecordSet set;
    ASSERT_EQ(table->lookupKey(GDbKey(3, std::get<std::string>(row[3]).c_str()), &set), GDbNoError);
    ASSERT_EQ(set.getNumRecords(), 1U);
    for (int column = 1; column < 4; ++column)
      ASSERT_EQ(set.getRecord(0)->getStringField(column),
                std::get<std::string>(row[static_cast<std::size_t>(column)]));
  }
}

// The rows of one key fill their part of an index; a key beside them is found all
// the same, and so are all of them.
TEST(StoreKeys, AreFoundBesideManyRowsOfAnother) {
  for (const int many : {0, 1, 9, 63, 64, 5000}) {
    const ScratchDirectory scratch;
    std::vector<Cells> rows;
    for (int i = 0; i < many; ++i) rows.push_back({i, "many"});
    for (int i = 0; i < 300; ++i) rows.push_back({many + i, "only " + std::to_string(i)});
    writeStore(scratch / "t.tessel", structureOf({{"no", GDbFieldInt}, {"key", GDbFieldString}}),
               {"key"}, rows);
    const DatabaseOwner database = openDb("tessel:" + scratch / "t");
    const TableOwner table = openTable(database, "t");
    for (int i = 0; i < 300; ++i) {
      GDbRecordSet set;
      const std::string key = "only " + std::to_string(i);
      ASSERT_EQ(table->lookupKey(GDbKey(1, key.c_str()), &set), GDbNoError);
      ASSERT_EQ(set.getNumRecords(), 1U) << key << " beside " << many;
      ASSERT_EQ(set.getRecord(0)->getIntField(0), many + i);
    }
    GDbRecordSet set;
    ASSERT_EQ(table->lookupKey(GDbKey(1, "many"), &set), GDbNoError);
    ASSERT_EQ(set.getNumRecords(), static_cast<unsigned>(many));
    for (int i = 0; i < many; ++i)
      ASSERT_EQ(set.getRecord(static_cast<unsigned>(i))->getIntField(0), i);
    ASSERT_EQ(table->lookupKey(GDbKey(1, "none"), &set), GDbNoError);
    ASSERT_EQ(set.getNumRecords(), static_cast<unsigned>(many));
  }
}

// Random tables and lookups against a walk over all rows.
class StoreModel : public ::testing::TestWithParam<unsigned> {};

TEST_P(StoreModel, FindsWhatAWalkOverAllRowsFinds) {
  std::mt19937 random(GetParam());
  const auto below = [&random](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  const ScratchDirectory scratch;
  const int rowCount = below(4) == 0 ? below(8) : below(3000);
  const int spread = 1 + below(rowCount * 2 + 2);
  std::vector<Cells> rows;
  for (int i = 0; i < rowCount; ++i)
    rows.push_back({below(spread) - spread / 2, static_cast<unsigned>(below(3)) * 0x7fffffffU,
                    below(spread) * 0.25, "text " + std::to_string(below(spread))});
  const GDbStructure structure = structureOf(
      {{"a", GDbFieldInt}, {"b", GDbFieldUInt}, {"c", GDbFieldFloat}, {"d", GDbFieldString}});
  writeStore(scratch / "t.tessel", structure, {"a", "b", "c", "d", "d,a", "c,b,a"}, rows);
  const DatabaseOwner database = openDb("tessel:" + scratch / "t");
  const TableOwner table = openTable(database, "t");
  for (int attempt = 0; attempt < 500; ++attempt) {
    // Values of a row, mostly, so that something is found.
    Cells wanted{below(spread) - spread / 2, 0U, below(spread) * 0.25, "text 1"};
    if (rowCount > 0 && below(8) != 0) wanted = rows[static_cast<std::size_t>(below(rowCount))];
    std::vector<int> columns;
    for (int count = 1 + below(4); count > 0; --count) columns.push_back(below(4));
    std::vector<GDbKey> keys;
    for (const int column : columns) {
      const Cell& cell = wanted[static_cast<std::size_t>(column)];
      if (const auto* number = std::get_if<int>(&cell)) keys.emplace_back(column, *number);
      if (const auto* number = std::get_if<unsigned>(&cell)) keys.emplace_back(column, *number);
      if (const auto* number = std::get_if<double>(&cell)) keys.emplace_back(column, *number);
      if (const auto* text = std::get_if<std::string>(&cell))
        keys.emplace_back(column, text->c_str());
    }
    Texts expected;
    for (const Cells& row : rows)
      if (std::all_of(columns.begin(), columns.end(), [&](int column) {
            const auto i = static_cast<std::size_t>(column);
            return row[i] == wanted[i];
          }))
        expected.push_back(textOf(*recordOf(row)->getRecord(0)));
    GDbRecordSet set;
    ASSERT_EQ(table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &set), GDbNoError);
    ASSERT_EQ(textsOf(set), expected) << "seed " << GetParam() << ", attempt " << attempt;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StoreModel, ::testing::Range(0U, 20U));

}  // namespace
