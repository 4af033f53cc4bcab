// SPDX-License-Identifier: MIT
#include "loomkit/db/typed_row.h"

#include "loomkit/db/record_access.h"
#include "loomkit/db/table_scan.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

class DbTypedRow : public ::testing::Test {
 protected:
  DbTypedRow() {
    record->addIntField(-3);
    record->addUIntField(7);
    record->addFloatField(0.1);
    record->addStringField("text");
    record->addBlobField("\x01\xff", 2);
    record->addIntField(0);
    loomkit::RecordAccess::markLastNull(record);
  }
  ~DbTypedRow() override { record->deleteRecord(); }

  GDbRecord* record = new GDbRecord;
  GDbStructure structure = structureOf({{"i", GDbFieldInt},
                                        {"u", GDbFieldUInt},
                                        {"f", GDbFieldFloat},
                                        {"s", GDbFieldString},
                                        {"b", GDbFieldBlob},
                                        {"n", GDbFieldInt}});
  GDbTypedRow row{*record, structure};
};

TEST_F(DbTypedRow, ReadsValuesByNameAndNumber) {
  EXPECT_EQ(row.getInt("i"), -3);
  EXPECT_EQ(row.getInt(0), -3);
  EXPECT_EQ(row.getUInt("u"), 7U);
  EXPECT_EQ(row.getInt64("i"), -3);
  EXPECT_EQ(row.getInt64("u"), 7);
  EXPECT_EQ(row.getFloat("f"), 0.1);
  EXPECT_EQ(row.getString("s"), "text");
  EXPECT_EQ(row.getBlob("b"), "\x01\xff");
  EXPECT_EQ(row.getNumber("i"), -3.0);
  EXPECT_EQ(row.getNumber("u"), 7.0);
  EXPECT_EQ(row.getNumber("f"), 0.1);
  EXPECT_EQ(row.getFieldName(3), "s");
  EXPECT_EQ(row.getFieldType(4), GDbFieldBlob);
}

TEST_F(DbTypedRow, GivesNothingForAWrongTypeANullOrNoField) {
  EXPECT_FALSE(row.getInt("u").has_value());
  EXPECT_FALSE(row.getUInt("i").has_value());
  EXPECT_FALSE(row.getFloat("i").has_value());
  EXPECT_FALSE(row.getInt64("f").has_value());
  EXPECT_FALSE(row.getInt64("n").has_value());
  EXPECT_FALSE(row.getInt64("nosuch").has_value());
  EXPECT_FALSE(row.getString("b").has_value());
  EXPECT_FALSE(row.getBlob("s").has_value());
  EXPECT_FALSE(row.getNumber("s").has_value());
  EXPECT_FALSE(row.getInt("nosuch").has_value());
  EXPECT_FALSE(row.getInt(-1).has_value());
  EXPECT_FALSE(row.getInt(6).has_value());
  EXPECT_TRUE(row.isNull("n"));
  EXPECT_FALSE(row.isNull("i"));
  EXPECT_TRUE(row.isNull("nosuch"));
  EXPECT_FALSE(row.getInt("n").has_value());
  EXPECT_EQ(row.getFieldType(5), GDbFieldInt);
  EXPECT_EQ(row.getFieldType(6), GDbFieldNone);
  EXPECT_EQ(row.getFieldName(6), "");
}

TEST_F(DbTypedRow, ShowsEveryValueAsText) {
  const char* const texts[] = {"-3", "7", "0.1", "text", "01ff", "", ""};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(row.getText(i), texts[i]) << i;
}

TEST(DbTableScan, RunsOverATableAndTellsHowItEnded) {
  const ScratchDirectory dir;
  dir.write("t.csv", "1;a\n2;b\nx;c\n");
  const DatabaseOwner database = openDb("csv:" + dir.path());
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}});
  const TableOwner table = openTable(database, "t", &structure);
  GDbTableScan scan(table.get());
  std::string seen;
  for (const GDbTypedRow& row : scan) seen += row.getText(0) + row.getText(1) + " ";
  EXPECT_EQ(seen, "1a 2b ");
  EXPECT_EQ(scan.getStatus(), GDbFieldTypeMismatch);
  seen.clear();
  for (const GDbTypedRow& row : scan) seen += std::string(*row.getString("name"));
  EXPECT_EQ(seen, "ab") << "a scan restarts";
}

TEST(DbTableScan, OfAClosedTableIsEmpty) {
  const ScratchDirectory dir;
  dir.write("t.csv", "1\n");
  const DatabaseOwner database = openDb("csv:" + dir.path());
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}});
  const TableOwner table = openTable(database, "t", &structure);
  table->closeTable();
  GDbTableScan scan(table.get());
  EXPECT_TRUE(scan.begin() == scan.end());
  EXPECT_EQ(scan.getStatus(), GDbTableNotOpen);
}

}  // namespace
