// SPDX-License-Identifier: MIT
#include "loomkit/db/open.h"

#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table_scan.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

struct DbOpen : ::testing::Test {
  DbOpen() { scratch.write("parts.csv", "1;bolt\n2;nut\n"); }

  ScratchDirectory scratch;
  CaptureOutput output;
  std::string csv = "csv:" + scratch.path();
  std::string sqlite = "sqlite3:" + (scratch / "x.db");
};

TEST_F(DbOpen, GivesADatabaseOrTheStatusOfTheFailure) {
  EXPECT_EQ(loomkit::open("nosuch:x").getStatus(), GDbInvalidTypeId);
  EXPECT_EQ(loomkit::open("").getStatus(), GDbInvalidLocator);
  EXPECT_EQ(loomkit::Database().getStatus(), GDbNotOpen);
  EXPECT_FALSE(loomkit::open("nosuch:x"));
  const loomkit::Database database = loomkit::open(csv);
  ASSERT_TRUE(database);
  EXPECT_EQ(database.getStatus(), GDbNoError);
  EXPECT_EQ(database->getName(), csv);
}

TEST_F(DbOpen, TheDatabaseClosesWithItsLastHandle) {
  int index = 0;
  int number = 0;
  {
    loomkit::Database database = loomkit::open(csv);
    index = database->getDbIdx();
    number = database->getSeqNo();
    const loomkit::Database copy = database;
    database = {};
    EXPECT_EQ(GDbDatabase::getDatabase(index, number), copy.get());
  }
  EXPECT_EQ(GDbDatabase::getDatabase(index, number), nullptr);
}

TEST_F(DbOpen, ATableKeepsItsDatabaseOpenAndGoesFirst) {
  loomkit::Table table;
  EXPECT_EQ(table.getStatus(), GDbNotOpen);
  GDbDatabase* plain = nullptr;
  int index = 0;
  int number = 0;
  {
    const loomkit::Database database = loomkit::open(csv);
    plain = database;
    index = database->getDbIdx();
    number = database->getSeqNo();
    table = database.openTable("parts");
  }
  ASSERT_TRUE(table);
  EXPECT_EQ(GDbDatabase::getDatabase(index, number), plain);
  int count = 0;
  for (const GDbTypedRow& row : GDbTableScan(table)) count += row.getNumFields();
  EXPECT_EQ(count, 4);
  table = {};
  EXPECT_EQ(GDbDatabase::getDatabase(index, number), nullptr);
}

TEST_F(DbOpen, TheCatalogTellsTheColumnsWhereTheHostDoesNot) {
  const loomkit::Table table = loomkit::open(csv).openTable("parts");
  ASSERT_TRUE(table);
  ASSERT_EQ(table.getStructure().getFields().size(), 2U);
  EXPECT_EQ(table.getStructure().getFields()[0].getType(), GDbFieldInt);
  const GDbStructure texts = structureOf({{"a", GDbFieldString}, {"b", GDbFieldString}});
  EXPECT_EQ(loomkit::open(csv).openTable("parts", &texts).getStructure().getFields()[0].getType(),
            GDbFieldString);
  EXPECT_TRUE(loomkit::Table().getStructure().getFields().empty());
}

TEST_F(DbOpen, AFailureIsInTheTable) {
  const loomkit::Database database = loomkit::open(csv);
  EXPECT_EQ(database.openTable("nosuch").getStatus(), GDbInvalidTableName);
  EXPECT_EQ(database.createTable("new", structureOf({{"a", GDbFieldInt}})).getStatus(),
            GDbCreateTableNotSupported);
  EXPECT_EQ(loomkit::open("nosuch:x").openTable("t").getStatus(), GDbInvalidTypeId);
  EXPECT_EQ(loomkit::open("nosuch:x").createTable("t", {}).getStatus(), GDbInvalidTypeId);
}

TEST_F(DbOpen, ATableIsCreatedAndFilled) {
  const loomkit::Database database = loomkit::open(sqlite);
  ASSERT_TRUE(database);
  EXPECT_EQ(loomkit::open(csv).as<GSqlDatabase>(), nullptr);
  auto* sql = database.as<GSqlDatabase>();
  ASSERT_NE(sql, nullptr);
  const loomkit::Table table =
      database.createTable("t", structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}}));
  ASSERT_TRUE(table);
  GDbRecordSet rows;
  loomkit::RecordOwner record = loomkit::makeRecord();
  record->addIntField(7);
  record->addStringField("seven");
  rows.addRecord(record.release());
  EXPECT_EQ(table->insertRecords(rows), GDbNoError);
  GSqlQuery query(sql, "SELECT name FROM t;");
  std::string name;
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.first(), GDbNoError);
  EXPECT_EQ(query.getText(0, &name), GDbNoError);
  EXPECT_EQ(name, "seven");
}

TEST_F(DbOpen, ATableIsReplacedBeforeItsDatabaseGoes) {
  loomkit::Table table = loomkit::open(csv).openTable("parts");
  table = loomkit::open(csv).openTable("parts");
  EXPECT_TRUE(table);
  loomkit::Table moved = std::move(table);
  EXPECT_TRUE(moved);
}

}  // namespace
