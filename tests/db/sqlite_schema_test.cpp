// SPDX-License-Identifier: MIT
// Creating tables and indexes in a SQLite database.
#include "loomkit/db/sqlite/sqlite3_database.h"

#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

class SqliteSchema : public ::testing::Test {
 protected:
  GDbStatus create(const GDbStructure& structure) {
    GDbTable* made = nullptr;
    const GDbStatus status = database->createTable("t", &structure, &made);
    table.reset(made);
    return status;
  }
  // What SQLite keeps of the statements, in the order of their making.
  Texts schema() {
    GSqlQuery query(sqlOf(database));
    GDbRecordSet set;
    EXPECT_EQ(query.exec("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rowid;"),
              GDbNoError);
    EXPECT_EQ(query.getResult(&set), GDbNoError);
    return textsOf(set);
  }

  ScratchDirectory dir;
  const std::string locator = "sqlite3:" + dir.path() + "/s.db";
  DatabaseOwner database = openDb(locator);
  TableOwner table;
};

TEST_F(SqliteSchema, WritesEachColumnWithItsType) {
  GDbStructure structure = structureOf({{"i", GDbFieldInt},
                                        {"u", GDbFieldUInt},
                                        {"f", GDbFieldFloat},
                                        {"s", GDbFieldString},
                                        {"b", GDbFieldBlob}});
  EXPECT_EQ(create(structure), GDbNoError);
  EXPECT_EQ(schema(), Texts{"CREATE TABLE \"t\" (\"i\" INTEGER, \"u\" INTEGER, \"f\" FLOAT, \"s\" "
                            "TEXT, \"b\" BLOB)"});
  EXPECT_EQ(create(structure), GDbTableExists);
  EXPECT_EQ(table, nullptr);
}

TEST_F(SqliteSchema, RefusesAColumnWithoutAType) {
  EXPECT_EQ(create(structureOf({{"x", GDbFieldNone}})), GDbInvalidFieldType);
  EXPECT_EQ(create(structureOf({})), GDbSqlError);
  GDbTable* made = nullptr;
  EXPECT_EQ(database->createTable("t", nullptr, &made), GDbInvalidArgument);
  EXPECT_EQ(schema(), Texts{});
}

TEST_F(SqliteSchema, MakesAColumnOfAnUnknownTypeAndCannotOpenIt) {
  EXPECT_EQ(create(structureOf({{"x", static_cast<GDbFieldType>(6)}})), GDbInvalidFieldType);
  EXPECT_EQ(schema(), Texts{"CREATE TABLE \"t\" (\"x\" )"});
}

TEST_F(SqliteSchema, GathersThePrimaryKeyInOrder) {
  GDbStructure structure;
  structure.appendField(field("a", GDbFieldInt, true));
  structure.appendField(field("b", GDbFieldString));
  structure.appendField(field("c", GDbFieldString, true));
  EXPECT_EQ(create(structure), GDbNoError);
  EXPECT_EQ(schema(), Texts{"CREATE TABLE \"t\" (\"a\" INTEGER, \"b\" TEXT, \"c\" TEXT, PRIMARY "
                            "KEY(\"a\", \"c\"))"});
}

TEST_F(SqliteSchema, MakesOneIndexForAKeyColumnOrTheOneThatWasAskedFor) {
  GDbStructure structure;
  structure.appendField(field("a", GDbFieldInt, false, true));
  structure.appendField(field("b", GDbFieldInt, false, true));
  structure.addIndex(GDbIndex("own", "b", true, true));
  structure.addIndex(GDbIndex("both", " a,, b ,", false, false));
  EXPECT_EQ(create(structure), GDbNoError);
  EXPECT_EQ(schema(), (Texts{"CREATE TABLE \"t\" (\"a\" INTEGER, \"b\" INTEGER)",
                             "CREATE UNIQUE INDEX \"t_own_idx_\" ON \"t\" (\"b\")",
                             "CREATE INDEX \"t_both_idx_\" ON \"t\" (\"a\", \"b\")",
                             "CREATE INDEX \"t_a_idx\" ON \"t\" (\"a\")"}));
}

TEST_F(SqliteSchema, KeyIndexesComeInTheOrderOfTheirHashes) {
  GDbStructure structure;
  // 'b' is 98 and falls into bucket 34, 'a' 33, '~' 126 into 62, '@' 64 into 0.
  for (const char* name : {"b", "~", "a", "@"})
    structure.appendField(field(name, GDbFieldInt, false, true));
  EXPECT_EQ(create(structure), GDbNoError);
  const Texts made = schema();
  ASSERT_EQ(made.size(), 5U);
  const char* const order[] = {"@", "a", "b", "~"};
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_EQ(made[i + 1], std::string("CREATE INDEX \"t_") + order[i] + "_idx\" ON \"t\" (\"" +
                               order[i] + "\")");
}

TEST_F(SqliteSchema, LogsTheIndexesThatItLeavesOut) {
  GDbStructure structure;
  structure.appendField(field("a", GDbFieldInt, true, true));
  structure.addIndex(GDbIndex("empty", " ,", false, false));
  structure.addIndex(GDbIndex("pk", "a", true, false));
  structure.addIndex(GDbIndex("bad", "a, a\"b", false, false));
  CaptureLog log;
  EXPECT_EQ(create(structure), GDbNoError);
  EXPECT_EQ(log.texts(),
            (Texts{"Invalid index column specification \" ,\" for index \"empty\" of SQLite table "
                   "\"t\" of database \"" +
                       locator + "\".",
                   "Index \"pk\" of SQLite table \"t\" of database \"" + locator +
                       "\" ignored (identical with primary key).",
                   "Failed to create index \"bad\" on table \"t\" of database \"" + locator +
                       "\": SQL error"}));
  EXPECT_EQ(schema().size(), 1U) << "the index on the primary key took its column out";
}

TEST_F(SqliteSchema, LogsAKeyIndexThatFails) {
  GSqlQuery query(sqlOf(database));
  ASSERT_EQ(query.exec("CREATE TABLE \"t_a_idx\" (x);"), GDbNoError);
  GDbStructure structure;
  structure.appendField(field("a", GDbFieldInt, false, true));
  CaptureLog log;
  EXPECT_EQ(create(structure), GDbNoError);
  EXPECT_EQ(log.texts(),
            Texts{"Failed to create index for column \"a\" on table \"t\" of database \"" +
                  locator + "\": SQL error"});
}

TEST_F(SqliteSchema, ReadsNamesAndAffinitiesBack) {
  GSqlQuery query(sqlOf(database));
  ASSERT_EQ(query.exec("CREATE TABLE t (id BIGINT PRIMARY KEY, at DATE, free);"), GDbNoError);
  GDbStructure* found = nullptr;
  ASSERT_EQ(sqlOf(database)->getTableStructure("t", &found), GDbNoError);
  const std::unique_ptr<GDbStructure> owner(found);
  ASSERT_EQ(found->getNumFields(), 3);
  EXPECT_EQ(found->getFieldId("ID"), 0) << "letter case does not count";
  EXPECT_EQ(found->getField(0).getType(), GDbFieldInt);
  EXPECT_FALSE(found->getField(0).isPrimKey()) << "keys are not read back";
  EXPECT_EQ(found->getField(1).getType(), GDbFieldNone);
  EXPECT_EQ(found->getField(2).getType(), GDbFieldNone);
  EXPECT_EQ(sqlOf(database)->tableExists("t"), GDbNoError);
  EXPECT_EQ(sqlOf(database)->tableExists("nosuch"), GDbInvalidTableName);
  EXPECT_EQ(sqlOf(database)->tableExists("no such"), GDbSqlError) << "the name is not quoted";
}

TEST_F(SqliteSchema, TablesOutliveTheirStatementsAndTheirDatabaseClosesThem) {
  EXPECT_EQ(create(structureOf({{"a", GDbFieldInt}})), GDbNoError);
  GDbRecordSet set;
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_FALSE(table->isTableOpen());
  EXPECT_EQ(table->getFirstRecord(&set), GDbTableNotOpen);
  GDbTable* made = nullptr;
  EXPECT_EQ(database->openTable("t", nullptr, &made), GDbNotOpen);
  EXPECT_EQ(database->deleteTable("t"), GDbNotOpen);
  EXPECT_EQ(sqlOf(database)->beginTransaction(0), GDbNotOpen);
}

}  // namespace
