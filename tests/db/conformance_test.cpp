// SPDX-License-Identifier: MIT
// What every backend has in common, run over each of them. A backend says how
// to make a table of these rows and what it cannot do.
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

struct Row {
  int id;
  double price;
  const char* name;
};

const Row rows[] = {{1, 0.5, "one"}, {2, 1.25, "two"}, {-3, -8.0, "one"}, {4, 0.0, ""}};

GDbStructure partsStructure() {
  return structureOf({{"id", GDbFieldInt}, {"price", GDbFieldFloat}, {"name", GDbFieldString}});
}

void addRow(GDbRecordSet* set, const Row& row) {
  auto* record = new GDbRecord;
  record->addIntField(row.id);
  record->addFloatField(row.price);
  record->addStringField(row.name);
  set->addRecord(record);
}

struct Csv {
  static constexpr bool writes = false;
  static constexpr bool scanReplaces = false;
  static constexpr bool transactions = false;
  static constexpr bool closesTables = false;

  static DatabaseOwner open(const TempDir& dir) { return openDb("csv:" + dir.path()); }
  static void fill(const TempDir& dir, GDbDatabase* /*database*/) {
    std::string bytes;
    for (const Row& row : rows) {
      GOStrStream line;
      line << row.id << ';' << row.price << ";\"" << row.name << "\"\n";
      bytes += line.str();
    }
    dir.write("parts.csv", bytes);
  }
};

struct Sqlite {
  static constexpr bool writes = true;
  static constexpr bool scanReplaces = true;
  static constexpr bool transactions = true;
  static constexpr bool closesTables = true;

  static DatabaseOwner open(const TempDir& dir) {
    return openDb("sqlite3:" + dir.path() + "/parts.db");
  }
  static void fill(const TempDir& /*dir*/, GDbDatabase* database) {
    const GDbStructure structure = partsStructure();
    GDbTable* made = nullptr;
    ASSERT_EQ(database->createTable("parts", &structure, &made), GDbNoError);
    const TableOwner table(made);
    GDbRecordSet set;
    for (const Row& row : rows) addRow(&set, row);
    ASSERT_EQ(table->insertRecords(set), GDbNoError);
  }
};

template <typename Backend>
class DbBackend : public ::testing::Test {
 protected:
  void SetUp() override {
    database = Backend::open(dir);
    ASSERT_NE(database, nullptr);
    Backend::fill(dir, database.get());
    table = openTable(database, "parts", &structure);
    ASSERT_NE(table, nullptr);
  }

  TempDir dir;
  DatabaseOwner database;
  TableOwner table;
  GDbStructure structure = partsStructure();
};

using Backends = ::testing::Types<Csv, Sqlite>;

struct BackendNames {
  template <typename Backend>
  static std::string GetName(int) {
    return Backend::writes ? "Sqlite" : "Csv";
  }
};

TYPED_TEST_SUITE(DbBackend, Backends, BackendNames);

TYPED_TEST(DbBackend, ScansItsRecordsInOrderAndAgain) {
  const Texts expected{"1|0.5|one", "2|1.25|two", "-3|-8|one", "4|0|"};
  EXPECT_EQ(scan(this->table.get()), expected);
  EXPECT_EQ(scan(this->table.get()), expected);
}

TYPED_TEST(DbBackend, TheEndOfAScanIsSuccessWithoutARecord) {
  GDbRecordSet set;
  EXPECT_EQ(this->table->getFirstRecord(&set), GDbNoError);
  for (int i = 1; i < 4; ++i) EXPECT_EQ(this->table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), TypeParam::scanReplaces ? 1U : 4U);
  EXPECT_EQ(this->table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), TypeParam::scanReplaces ? 0U : 4U);
}

TYPED_TEST(DbBackend, FindsRecordsByAllOfTheirKeys) {
  GDbRecordSet set;
  EXPECT_EQ(this->table->lookupKey(GDbKey(0, 2), &set), GDbNoError);
  EXPECT_EQ(this->table->lookupKey(GDbKey(2, "one"), &set), GDbNoError);
  EXPECT_EQ(textsOf(set), (Texts{"2|1.25|two", "1|0.5|one", "-3|-8|one"})) << "appended";
  set.clear();
  const GDbKey keys[] = {GDbKey(2, "one"), GDbKey(0, -3)};
  EXPECT_EQ(this->table->lookupKeys(keys, 2, &set), GDbNoError);
  EXPECT_EQ(textsOf(set), Texts{"-3|-8|one"});
}

TYPED_TEST(DbBackend, FindingNothingIsSuccess) {
  GDbRecordSet set;
  EXPECT_EQ(this->table->lookupKey(GDbKey(0, 99), &set), GDbNoError);
  EXPECT_EQ(this->table->lookupKey(GDbKey(2, "ONE"), &set), GDbNoError);
  EXPECT_EQ(this->table->lookupKey(GDbKey(1, 0.75), &set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 0U);
}

TYPED_TEST(DbBackend, RefusesKeysOutsideTheTable) {
  GDbRecordSet set;
  EXPECT_EQ(this->table->lookupKey(GDbKey(3, 1), &set), GDbInvalidArgument);
  EXPECT_EQ(this->table->lookupKey(GDbKey(-1, 1), &set), GDbInvalidArgument);
}

TYPED_TEST(DbBackend, KnowsItsFields) {
  int id = -1;
  EXPECT_EQ(this->table->getFieldId("price", &id), GDbNoError);
  EXPECT_EQ(id, 1);
  EXPECT_EQ(this->table->getFieldId("nosuch", &id), GDbInvalidFieldName);
  EXPECT_EQ(this->table->getFieldId("PRICE", &id), GDbInvalidFieldName);
}

TYPED_TEST(DbBackend, GivesACopyOfItsStructure) {
  GDbStructure* found = nullptr;
  ASSERT_EQ(this->table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> owner(found);
  ASSERT_EQ(found->getNumFields(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(found->getField(i).getName(), this->structure.getField(i).getName());
    EXPECT_EQ(found->getField(i).getType(), this->structure.getField(i).getType());
  }
}

TYPED_TEST(DbBackend, AnUnknownTableIsAnInvalidName) {
  GDbTable* none = nullptr;
  EXPECT_EQ(this->database->openTable("nosuch", &this->structure, &none), GDbInvalidTableName);
}

TYPED_TEST(DbBackend, AClosedTableAnswersThatItIsNotOpen) {
  EXPECT_TRUE(this->database->isTableOpen("parts"));
  EXPECT_EQ(this->table->closeTable(), GDbNoError);
  EXPECT_EQ(this->table->closeTable(), GDbNoError) << "repeatable";
  EXPECT_FALSE(this->table->isTableOpen());
  EXPECT_FALSE(this->database->isTableOpen("parts"));
  GDbRecordSet set;
  int id = 0;
  GDbStructure* found = nullptr;
  EXPECT_EQ(this->table->getFieldId("id", &id), GDbTableNotOpen);
  EXPECT_EQ(this->table->getStructure(&found), GDbTableNotOpen);
  EXPECT_EQ(this->table->lookupKey(GDbKey(0, 1), &set), GDbTableNotOpen);
  EXPECT_EQ(this->table->getFirstRecord(&set), GDbTableNotOpen);
  EXPECT_EQ(this->table->getNextRecord(&set), GDbTableNotOpen);
  EXPECT_EQ(this->table->getName(), "parts");
}

TYPED_TEST(DbBackend, WritesOrSaysThatItCannot) {
  GDbRecordSet set;
  addRow(&set, {5, 5.5, "five"});
  EXPECT_EQ(this->table->insertRecords(set),
            TypeParam::writes ? GDbNoError : GDbInsertNotSupported);
  EXPECT_EQ(this->table->deleteKey(GDbKey(0, 5)),
            TypeParam::writes ? GDbNoError : GDbDeleteNotSupported);
  EXPECT_EQ(scan(this->table.get()).size(), 4U);
  GDbTable* made = nullptr;
  EXPECT_EQ(this->database->createTable("more", &this->structure, &made),
            TypeParam::writes ? GDbNoError : GDbCreateTableNotSupported);
  delete made;
  EXPECT_EQ(this->database->deleteTable("more"),
            TypeParam::writes ? GDbNoError : GDbDeleteTableNotSupported);
}

TYPED_TEST(DbBackend, HasTransactionsOrNot) {
  GDbTransactionHandler* handler = nullptr;
  EXPECT_EQ(GDbTransactionHandler::getHandler(this->database.get(), &handler), GDbNoError);
  EXPECT_EQ(handler != nullptr, TypeParam::transactions);
}

TYPED_TEST(DbBackend, ClosesAgainAndAgain) {
  EXPECT_EQ(this->database->closeDatabase(), GDbNoError);
  EXPECT_EQ(this->database->closeDatabase(), GDbNoError);
  EXPECT_EQ(this->table->isTableOpen(), !TypeParam::closesTables);
}

TYPED_TEST(DbBackend, HasNoCodeSetConversionOfItsOwn) {
  CaptureLog log;
  this->database->setEncoding("cp1252");
  EXPECT_EQ(log.texts(), Texts{"codeset conversion is not supportet for this type of database: " +
                               this->database->getName()});
}

}  // namespace
