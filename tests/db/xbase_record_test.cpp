// SPDX-License-Identifier: MIT
// The records of xBase tables: looked up, inserted, deleted, and what does not fit.
#include "tests/db/xbase_fixture.h"

namespace {

using namespace loomkit::testing;

TEST_F(XBaseBackend, FindsRecordsByKeysInAnyOrder) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 0.5, "bolt"), GDbNoError);
  ASSERT_EQ(insert(table.get(), 2, 1.25, "nut"), GDbNoError);
  ASSERT_EQ(insert(table.get(), 3, 2, "bolt"), GDbNoError);
  ASSERT_EQ(insert(table.get(), -4, 2, ""), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 2)}), Texts{"2|1.25|nut"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, -4)}), Texts{"-4|2|"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 2U)}), Texts{"2|1.25|nut"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt")}), (Texts{"1|0.5|bolt", "3|2|bolt"}));
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "")}), Texts{"-4|2|"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 3), GDbKey(2, "bolt")}), Texts{"3|2|bolt"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt"), GDbKey(0, 3)}), Texts{"3|2|bolt"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt"), GDbKey(0, 2)}), Texts{});
}

TEST_F(XBaseBackend, AKeyThatCannotBeStoredMatchesNothing) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 0.5, "bolts7"), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts7")}), Texts{"1|0.5|bolts7"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts78")}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 1234567890)}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts78"), GDbKey(0, 1)}), Texts{});
}

TEST_F(XBaseBackend, RefusesKeysWithoutAnIndexOrOfAnotherType) {
  const TableOwner table = create("parts");
  lookup(table.get(), {GDbKey(1, 0.5)}, GDbNoIndex);
  lookup(table.get(), {GDbKey(0, 1), GDbKey(0, 1)}, GDbNoIndex);
  lookup(table.get(), {GDbKey(7, 1)}, GDbInvalidArgument);
  lookup(table.get(), {GDbKey(-1, 1)}, GDbInvalidArgument);
  lookup(table.get(), {}, GDbNoIndex);
  lookup(table.get(), {GDbKey(0, "1")}, GDbFieldTypeMismatch);
  lookup(table.get(), {GDbKey(2, 1)}, GDbFieldTypeMismatch);
  GDbKey none;
  none.field = 0;
  lookup(table.get(), {none}, GDbInvalidArgument);
}

TEST_F(XBaseBackend, LooksLogicalFieldsUpByTrueAndFalse) {
  writeLetters();
  GDbStructure wanted;
  wanted.addIndex(GDbIndex("flag", "flag", false, false));
  wanted.addIndex(GDbIndex("day", "day", false, false));
  wanted.addIndex(GDbIndex("part", "part", false, false));
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(4, 5)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(4, 0U)}), Texts{" b|2020|-7|0|0"})
      << "the deleted one is passed over";
  EXPECT_EQ(lookup(table.get(), {GDbKey(1, 19950726)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(1, 19950727)}), Texts{}) << "deleted";
  EXPECT_EQ(lookup(table.get(), {GDbKey(3, 1.5)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(3, 1e20)}), Texts{});
}

TEST_F(XBaseBackend, DatesAreStoredWithALeadingZeroAndWithoutTheirLastDigit) {
  writeLetters();
  GDbStructure wanted;
  wanted.addIndex(GDbIndex("text", "text", false, false));
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  GDbRecordSet set;
  auto* record = new GDbRecord;
  record->addStringField("new");
  record->addUIntField(19950726);
  record->addIntField(7);
  record->addFloatField(2.25);
  record->addUIntField(3);
  set.addRecord(record);
  ASSERT_EQ(table->insertRecords(set), GDbNoError);
  EXPECT_NE(dir.read("LETTERS.DBF").find(" new  01995072    7   2.25T"), std::string::npos);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, "new")}), Texts{"new|1995072|7|2.25|1"});
}

TEST_F(XBaseBackend, InsertsUntilTheFirstRecordThatDoesNotFit) {
  const TableOwner table = create("parts");
  GDbRecordSet set;
  for (int i = 0; i < 3; ++i) {
    auto* record = new GDbRecord;
    record->addIntField(i);
    record->addFloatField(0);
    if (i < 2) record->addStringField("x");
    if (i == 1) record->addStringField("one more");
    set.addRecord(record);
  }
  EXPECT_EQ(table->insertRecords(set), GDbFieldCountMismatch);
  EXPECT_EQ(scan(table.get()), Texts{"0|0|x"});
  GDbRecordSet wrong;
  auto* record = new GDbRecord;
  record->addStringField("1");
  record->addFloatField(0);
  record->addStringField("x");
  wrong.addRecord(record);
  EXPECT_EQ(table->insertRecords(wrong), GDbFieldTypeMismatch);
}

// What addIntField() leaves in a record when memory runs out.
TEST_F(XBaseBackend, RefusesARecordWhoseNumberHasNoValue) {
  const TableOwner table = create("parts");
  GDbFieldType types[] = {GDbFieldInt, GDbFieldFloat, GDbFieldString};
  double weight = 0;
  char name[] = "x";
  void* values[] = {nullptr, &weight, name};
  void* const room = ::operator new(sizeof(GDbRecord));  // a single block is freed as one
  GDbRecordSet set;
  set.addRecord(new (room) GDbRecord(true, 3, types, values));
  EXPECT_EQ(table->insertRecords(set), GDbInvalidArgument);
  EXPECT_EQ(scan(table.get()), Texts{});
}

TEST_F(XBaseBackend, NumbersThatDoNotFitBecomeStarsAndTextsAreCut) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 123456789, 123456789.126, "longer text"), GDbNoError);
  EXPECT_NE(dir.read("parts.dbf").find(" ******** 123456789longer"), std::string::npos)
      << dir.read("parts.dbf").substr(129);
}

TEST_F(XBaseBackend, AUniqueIndexRefusesASecondRecord) {
  GDbStructure unique = structure;
  unique.addIndex(GDbIndex("once", "num", true, false));
  GDbTable* made = nullptr;
  ASSERT_EQ(database->createTable("parts", &unique, &made), GDbNoError);
  const TableOwner table(made);
  EXPECT_EQ(insert(table.get(), 1, 1, "a"), GDbNoError);
  EXPECT_EQ(insert(table.get(), 1, 2, "b"), GDbNonUniqueKey);
  EXPECT_EQ(insert(table.get(), 2, 2, "b"), GDbNoError);
  EXPECT_EQ(scan(table.get()), (Texts{"1|1|a", "2|2|b"}));
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "b")}), Texts{"2|2|b"});
}

TEST_F(XBaseBackend, DeletesAllRecordsOfAKeyAndPacks) {
  const TableOwner table = create("parts");
  for (int i = 0; i < 6; ++i)
    ASSERT_EQ(insert(table.get(), i, i, i % 2 == 0 ? "even" : "odd"), GDbNoError);
  EXPECT_EQ(table->deleteKey(GDbKey(2, "none")), GDbNoError);
  EXPECT_EQ(table->deleteKey(GDbKey(2, "even")), GDbNoError);
  const Texts odd{"1|1|odd", "3|3|odd", "5|5|odd"};
  EXPECT_EQ(scan(table.get()), odd);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "odd")}), odd);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "even")}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 3)}), Texts{"3|3|odd"});
  EXPECT_EQ(table->deleteKey(GDbKey(2, "odd")), GDbNoError);
  EXPECT_EQ(scan(table.get()), Texts{});
}

TEST_F(XBaseBackend, AfterTheEndTheScanHasNoRecordNumber) {
  const TableOwner table = create("parts");
  insert(table.get(), 1, 1, "a");
  GDbRecordSet set;
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 1U);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
}

TEST_F(XBaseBackend, AScanBehindAPackedTableIsAnInvalidArgument) {
  const TableOwner table = create("parts");
  for (int i = 0; i < 4; ++i) insert(table.get(), i, i, i < 3 ? "gone" : "kept");
  const TableOwner other = openTable(database, "parts", &structure);
  GDbRecordSet set;
  ASSERT_EQ(table->getFirstRecord(&set), GDbNoError);
  for (int i = 0; i < 2; ++i) ASSERT_EQ(table->getNextRecord(&set), GDbNoError);
  ASSERT_EQ(other->deleteKey(GDbKey(2, "gone")), GDbNoError);
  EXPECT_EQ(table->getNextRecord(&set), GDbInvalidArgument);
}

}  // namespace
