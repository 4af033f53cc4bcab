// SPDX-License-Identifier: MIT
// What every backend has in common, run over each of `TestedBackends`, which the
// includer defines in namespace loomkit::testing. One source of a test program
// includes this.
#ifndef LOOMKIT_TESTS_DB_CONFORMANCE_SUITE_H
#define LOOMKIT_TESTS_DB_CONFORMANCE_SUITE_H

#include <algorithm>

#include "loomkit/db/catalog.h"
#include "loomkit/text/char_class.h"
#include "tests/db/conformance_backends.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

template <typename Backend>
class DbBackend : public ::testing::Test {
 protected:
  static constexpr Traits traits = Backend::traits;

  void SetUp() override {
    database = Backend::open(dir);
    ASSERT_NE(database, nullptr);
    table = openTable(database, "parts", &structure);
    ASSERT_NE(table, nullptr);
  }

  // The name of a table or field as the backend gives it out.
  static std::string nameOf(std::string name) {
    if (traits.upperCasesNames)
      std::transform(name.begin(), name.end(), name.begin(), loomkit::asciiToUpper);
    return name;
  }

  ScratchDirectory dir;
  DatabaseOwner database;
  TableOwner table;
  GDbStructure structure = partsStructure();
};

struct BackendNames {
  template <typename Backend>
  static std::string GetName(int) {
    return Backend::traits.name;
  }
};

TYPED_TEST_SUITE(DbBackend, TestedBackends, BackendNames);

TYPED_TEST(DbBackend, ScansItsRecordsInOrderAndAgain) {
  const Texts expected{"1|0.5|one", "2|1.25|two", "-3|-8|one", "4|0|"};
  EXPECT_EQ(scan(this->table.get()), expected);
  EXPECT_EQ(scan(this->table.get()), expected);
}

TYPED_TEST(DbBackend, TheEndOfAScanIsSuccessWithoutARecord) {
  GDbRecordSet set;
  EXPECT_EQ(this->table->getFirstRecord(&set), GDbNoError);
  for (int i = 1; i < 4; ++i) EXPECT_EQ(this->table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), TypeParam::traits.scanReplaces ? 1U : 4U);
  EXPECT_EQ(this->table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), TypeParam::traits.scanReplaces ? 0U : 4U);
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

TYPED_TEST(DbBackend, RefusesNullPointers) {
  GDbRecordSet set;
  const GDbKey noText(2, static_cast<const char*>(nullptr));
  const GDbKey keys[] = {GDbKey(0, 1), noText};
  EXPECT_EQ(this->table->lookupKey(noText, &set), GDbInvalidArgument);
  EXPECT_EQ(this->table->lookupKeys(keys, 2, &set), GDbInvalidArgument);
  EXPECT_EQ(this->table->lookupKeys(nullptr, 1, &set), GDbInvalidArgument);
  EXPECT_EQ(this->table->lookupKey(GDbKey(0, 1), nullptr), GDbInvalidArgument);
  EXPECT_EQ(this->table->getFirstRecord(nullptr), GDbInvalidArgument);
  EXPECT_EQ(this->table->getNextRecord(nullptr), GDbInvalidArgument);
  int id = 0;
  EXPECT_EQ(this->table->getFieldId(nullptr, &id), GDbInvalidArgument);
  EXPECT_EQ(this->table->getFieldId("id", nullptr), GDbInvalidArgument);
  EXPECT_EQ(this->table->getStructure(nullptr), GDbInvalidArgument);
  EXPECT_EQ(this->database->openTable("parts", &this->structure, nullptr), GDbInvalidArgument);
  if (TypeParam::traits.inserts) {
    EXPECT_EQ(this->table->deleteKey(noText), GDbInvalidArgument);
  }
  EXPECT_EQ(set.getNumRecords(), 0U);
  EXPECT_EQ(scan(this->table.get()).size(), 4U) << "the table goes on";
}

TYPED_TEST(DbBackend, KnowsItsFields) {
  int id = -1;
  EXPECT_EQ(this->table->getFieldId("price", &id), GDbNoError);
  EXPECT_EQ(id, 1);
  EXPECT_EQ(this->table->getFieldId("nosuch", &id), GDbInvalidFieldName);
  EXPECT_EQ(this->table->getFieldId("PRICE", &id),
            TypeParam::traits.ignoresFieldCase ? GDbNoError : GDbInvalidFieldName);
}

TYPED_TEST(DbBackend, GivesACopyOfItsStructure) {
  GDbStructure* found = nullptr;
  ASSERT_EQ(this->table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> owner(found);
  ASSERT_EQ(found->getNumFields(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(found->getField(i).getName(), this->nameOf(this->structure.getField(i).getName()));
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

TYPED_TEST(DbBackend, InsertsAndDeletesRecordsOrSaysThatItCannot) {
  const bool inserts = TypeParam::traits.inserts;
  GDbRecordSet set;
  addPart(&set, {5, 5.5, "five"});
  EXPECT_EQ(this->table->insertRecords(set), inserts ? GDbNoError : GDbInsertNotSupported);
  EXPECT_EQ(scan(this->table.get()).size(), inserts ? 5U : 4U);
  EXPECT_EQ(this->table->deleteKey(GDbKey(0, 5)), inserts ? GDbNoError : GDbDeleteNotSupported);
  EXPECT_EQ(scan(this->table.get()).size(), 4U);
}

TYPED_TEST(DbBackend, CreatesAndDeletesTablesOrSaysThatItCannot) {
  const bool creates = TypeParam::traits.createsTables;
  GDbTable* made = nullptr;
  EXPECT_EQ(this->database->createTable("more", &this->structure, &made),
            creates ? GDbNoError : GDbCreateTableNotSupported);
  if (creates) {
    const TableOwner more(made);
    EXPECT_EQ(scan(more.get()), Texts{});
    EXPECT_EQ(this->database->deleteTable("more"), GDbTableInUse);
  }
  EXPECT_EQ(this->database->deleteTable("more"), creates ? GDbNoError : GDbDeleteTableNotSupported);
}

TYPED_TEST(DbBackend, HasTransactionsOrNot) {
  GDbTransactionHandler* handler = nullptr;
  EXPECT_EQ(GDbTransactionHandler::getHandler(this->database.get(), &handler), GDbNoError);
  EXPECT_EQ(handler != nullptr, TypeParam::traits.transactions);
}

TYPED_TEST(DbBackend, ClosesAgainAndAgain) {
  EXPECT_EQ(this->database->closeDatabase(), GDbNoError);
  EXPECT_EQ(this->database->closeDatabase(), GDbNoError);
  EXPECT_EQ(this->table->isTableOpen(), !TypeParam::traits.closesTables);
}

TYPED_TEST(DbBackend, OpensATableWithoutAStructureUnlessItIsTheDefinition) {
  GDbTable* opened = nullptr;
  if (TypeParam::traits.needsStructure) {
    EXPECT_EQ(this->database->openTable("parts", nullptr, &opened), GDbInvalidArgument);
    EXPECT_EQ(opened, nullptr);
  } else {
    ASSERT_EQ(this->database->openTable("parts", nullptr, &opened), GDbNoError);
    EXPECT_EQ(scan(TableOwner(opened).get()).size(), 4U);
  }
}

TYPED_TEST(DbBackend, ItsCatalogListsItsTables) {
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::listTables(this->database.get(), &tables), GDbNoError);
  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(tables[0].name, this->nameOf("parts"));
  EXPECT_EQ(tables[0].kind, GDbCatalog::Kind::table);
}

TYPED_TEST(DbBackend, ItsCatalogDescribesATableSoThatItCanBeOpened) {
  GDbCatalog::Description description;
  ASSERT_EQ(GDbCatalog::describeTable(this->database.get(), "parts", &description), GDbNoError);
  EXPECT_EQ(description.inferred, TypeParam::traits.infersColumns);
  ASSERT_EQ(description.structure.getNumFields(), 3);
  ASSERT_EQ(description.columns.size(), 3U);
  for (int i = 0; i < 3; ++i) {
    const GDbField& wanted = this->structure.getField(i);
    const std::string name =
        TypeParam::traits.infersColumns ? "c" + std::to_string(i + 1) : wanted.getName();
    EXPECT_EQ(description.structure.getField(i).getName(), this->nameOf(name));
    EXPECT_EQ(description.structure.getField(i).getType(), wanted.getType());
  }
  const TableOwner opened = openTable(this->database, "parts", &description.structure);
  EXPECT_EQ(scan(opened.get()), scan(this->table.get()));
}

TYPED_TEST(DbBackend, ItsCatalogKnowsWhatIsNotThere) {
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(this->database.get(), "nosuch", &description),
            GDbInvalidTableName);
  EXPECT_TRUE(description.columns.empty());
}

TYPED_TEST(DbBackend, LogsThatItConvertsNoEncodings) {
  if (TypeParam::traits.convertsEncodings) return;  // the backend's own tests say what it does
  CaptureLog log;
  this->database->setEncoding("cp1252");
  EXPECT_EQ(log.texts(), Texts{"codeset conversion is not supportet for this type of database: " +
                               this->database->getName()});
}

}  // namespace

#endif  // LOOMKIT_TESTS_DB_CONFORMANCE_SUITE_H
