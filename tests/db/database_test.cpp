// SPDX-License-Identifier: MIT
// The registry, the handles and the lifecycle, on a backend of the test's own.
#include "loomkit/db/database.h"

#include <cstring>
#include <type_traits>

#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

class FakeTable : public GDbTable {
 public:
  FakeTable(GDbDatabase* owner, const std::string& tableName, GDbStatus closing = GDbNoError)
      : GDbTable(owner, tableName), closeStatus(closing) {}
  GDbStatus closeTable() override {
    GDbTable::closeTable();
    return closeStatus;
  }
  GDbStatus getFieldId(const char*, int*) override { return GDbInvalidFieldName; }
  GDbStatus getStructure(GDbStructure**) override { return GDbTableNotOpen; }
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet*) override {
    lookups += count * 100 + keys[0].field;
    return GDbNoError;
  }
  GDbStatus getFirstRecord(GDbRecordSet*) override { return GDbNoError; }
  GDbStatus getNextRecord(GDbRecordSet*) override { return GDbNoError; }
  GDbStatus insertRecords(const GDbRecordSet&) override { return GDbInsertNotSupported; }
  GDbStatus deleteKeys(const GDbKey* keys, int count) override {
    deletes += count * 100 + keys[0].field;
    return GDbNoError;
  }
  int lookups = 0;
  int deletes = 0;

 private:
  GDbStatus closeStatus;
};

class FakeDatabase : public GDbDatabase {
 public:
  explicit FakeDatabase(const std::string& locator) : GDbDatabase(locator) {}
  GDbStatus openTable(const std::string&, const GDbStructure*, GDbTable**) override {
    return GDbInvalidTableName;
  }
  GDbStatus createTable(const std::string&, const GDbStructure*, GDbTable**) override {
    return GDbCreateTableNotSupported;
  }
  GDbStatus deleteTable(const std::string&) override { return GDbDeleteTableNotSupported; }
  int tableCount() { return getTableCount(); }
};

class FakeFactory : public GDbDbFactory {
 public:
  FakeFactory() : GDbDbFactory("fake1") { GDbDatabase::registerDbFactory(this); }
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override {
    if (std::string(locator).find("fail") != std::string::npos) return GDbIoError;
    *database = new FakeDatabase(locator);
    return GDbNoError;
  }
};

// Lives to the end of the process, as a factory must.
const GDbDbFactory* fakeFactory() {
  static const GDbDbFactory* const factory = new FakeFactory;
  return factory;
}

class DbDatabase : public ::testing::Test {
 protected:
  DbDatabase() { fakeFactory(); }
};

TEST_F(DbDatabase, RefusesMalformedLocatorsAndUnknownTypes) {
  const struct {
    const char* locator;
    GDbStatus status;
  } rows[] = {
      {"csv", GDbInvalidLocator},     {":x", GDbInvalidLocator},
      {"c sv:x", GDbInvalidLocator},  {"csv:", GDbInvalidLocator},
      {"", GDbInvalidLocator},        {":", GDbInvalidLocator},
      {"c-v:x", GDbInvalidLocator},   {"c\xe4v:x", GDbInvalidLocator},
      {"c\xb2:x", GDbInvalidLocator}, {"nosuch:x", GDbInvalidTypeId},
      {"nosuch:", GDbInvalidLocator}, {"fake1:fail", GDbIoError},
      {"fake:1", GDbInvalidTypeId},   {"fake11:1", GDbInvalidTypeId},
  };
  auto* const untouched = reinterpret_cast<GDbDatabase*>(&fakeFactory);
  for (const auto& row : rows) {
    GDbDatabase* database = untouched;
    EXPECT_EQ(GDbDatabase::openDatabase(row.locator, &database), row.status) << row.locator;
    EXPECT_EQ(database, untouched) << "only a factory writes the result";
  }
}

TEST_F(DbDatabase, LowerCasesTheTypeAndPassesTheWholeLocator) {
  const DatabaseOwner database = openDb("FAKE1:Some/Path?x=1");
  EXPECT_EQ(database->getName(), "FAKE1:Some/Path?x=1");
}

TEST_F(DbDatabase, HandlesResolveUntilTheObjectIsGone) {
  DatabaseOwner first = openDb("fake1:a");
  const int index = first->getDbIdx();
  const int seqNo = first->getSeqNo();
  EXPECT_EQ(GDbDatabase::getDatabase(index, seqNo), first.get());
  EXPECT_EQ(GDbDatabase::getDatabase(-1, 1), nullptr);
  EXPECT_EQ(GDbDatabase::getDatabase(100000, seqNo), nullptr);
  EXPECT_EQ(GDbDatabase::getDatabase(index, seqNo + 1), nullptr);
  first.reset();
  EXPECT_EQ(GDbDatabase::getDatabase(index, seqNo), nullptr);
  const DatabaseOwner second = openDb("fake1:b");
  EXPECT_EQ(second->getDbIdx(), index) << "the freed slot is used again";
  EXPECT_GT(second->getSeqNo(), seqNo);
  EXPECT_EQ(GDbDatabase::getDatabase(index, seqNo), nullptr);
}

TEST_F(DbDatabase, TableHandlesFollowTheSameRule) {
  const DatabaseOwner database = openDb("fake1:a");
  auto table = std::make_unique<FakeTable>(database.get(), "t");
  const int index = table->getTableIdx();
  const int seqNo = table->getSeqNo();
  EXPECT_EQ(GDbTable::getTable(index, seqNo), table.get());
  EXPECT_EQ(GDbTable::getTable(index, seqNo - 1), nullptr);
  EXPECT_EQ(GDbTable::getTable(-1, seqNo), nullptr);
  table.reset();
  EXPECT_EQ(GDbTable::getTable(index, seqNo), nullptr);
}

TEST_F(DbDatabase, ClosesAllTablesAndReturnsTheFirstFailure) {
  const DatabaseOwner database = openDb("fake1:a");
  const FakeTable good(database.get(), "good");
  const FakeTable bad(database.get(), "bad", GDbIoError);
  const FakeTable worse(database.get(), "worse", GDbInternalError);
  EXPECT_EQ(database->closeTables(), GDbIoError);
  EXPECT_FALSE(good.isTableOpen());
  EXPECT_FALSE(worse.isTableOpen());
  EXPECT_EQ(database->closeDatabase(), GDbIoError) << "repeatable, and closes the tables again";
}

TEST_F(DbDatabase, TheFirstTableOfANameSaysWhetherItIsOpen) {
  const DatabaseOwner database = openDb("fake1:a");
  EXPECT_FALSE(database->isTableOpen("t"));
  auto first = std::make_unique<FakeTable>(database.get(), "t");
  const FakeTable second(database.get(), "t");
  EXPECT_TRUE(database->isTableOpen("t"));
  EXPECT_FALSE(database->isTableOpen("T"));
  first->closeTable();
  EXPECT_FALSE(database->isTableOpen("t")) << "the first decides, though the second is open";
  first.reset();
  EXPECT_TRUE(database->isTableOpen("t"));
}

TEST_F(DbDatabase, DeletesTheTablesThatAreLeft) {
  DatabaseOwner database = openDb("fake1:a");
  auto* left = new FakeTable(database.get(), "left");
  auto* alsoLeft = new FakeTable(database.get(), "left too");
  const int index = left->getTableIdx();
  const int seqNo = left->getSeqNo();
  EXPECT_EQ(static_cast<FakeDatabase*>(database.get())->tableCount(), 2);
  static_cast<void>(alsoLeft);
  database.reset();
  EXPECT_EQ(GDbTable::getTable(index, seqNo), nullptr);
}

TEST_F(DbDatabase, OneKeyIsTheShortFormOfMany) {
  const DatabaseOwner database = openDb("fake1:a");
  FakeTable table(database.get(), "t");
  GDbRecordSet result;
  EXPECT_EQ(table.lookupKey(GDbKey(3, 1), &result), GDbNoError);
  EXPECT_EQ(table.lookups, 103);
  EXPECT_EQ(table.deleteKey(GDbKey(4, 1)), GDbNoError);
  EXPECT_EQ(table.deletes, 104);
}

TEST_F(DbDatabase, WithoutConversionAnEncodingIsOnlyLogged) {
  const DatabaseOwner database = openDb("fake1:a");
  CaptureLog log;
  database->setEncoding("latin1");
  ASSERT_EQ(log.lines.size(), 1U);
  EXPECT_EQ(log.lines[0],
            (OutputLine{GOutputLog0, "_data",
                        "codeset conversion is not supportet for this type of database: fake1:a"}));
}

TEST_F(DbDatabase, GivesItsTransactionHandlerOrNone) {
  auto* handler = reinterpret_cast<GDbTransactionHandler*>(&fakeFactory);
  EXPECT_EQ(GDbTransactionHandler::getHandler(nullptr, &handler), GDbInvalidArgument);
  EXPECT_EQ(handler, nullptr);
  const DatabaseOwner database = openDb("fake1:a");
  handler = reinterpret_cast<GDbTransactionHandler*>(&fakeFactory);
  EXPECT_EQ(GDbTransactionHandler::getHandler(database.get(), &handler), GDbNoError);
  EXPECT_EQ(handler, nullptr);
  EXPECT_EQ(GDbTransactionHandler::getHandler(database.get(), nullptr), GDbInvalidArgument);
}

// A pointer to a virtual member holds the offset of its slot, plus one.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
  std::ptrdiff_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST_F(DbDatabase, TheSlotsOfATransactionHandlerBeginWithItsDestructor) {
  const std::ptrdiff_t begin = slotOf(&GDbTransactionHandler::begin);
  EXPECT_EQ(begin, 2) << "a destructor takes two slots";
  EXPECT_EQ(slotOf(&GDbTransactionHandler::commit), begin + 1);
  EXPECT_EQ(slotOf(&GDbTransactionHandler::rollback), begin + 2);
}

TEST_F(DbDatabase, ANullLocatorOrResultIsAnInvalidArgument) {
  GDbDatabase* database = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase(nullptr, &database), GDbInvalidArgument);
  EXPECT_EQ(GDbDatabase::openDatabase("fake1:a", nullptr), GDbInvalidArgument);
  EXPECT_EQ(database, nullptr);
}

// Hosts pass the argument where the object is wanted.
TEST_F(DbDatabase, OneArgumentMakesAnObjectWhereOneIsWanted) {
  static_assert(std::is_convertible_v<bool, GDbStructure>);
  static_assert(std::is_convertible_v<GDbStatus, GSqlError>);
  static_assert(std::is_convertible_v<GSqlDatabase*, GSqlQuery>);
  const auto statusOf = [](const GSqlError& error) { return error.getStatus(); };
  EXPECT_EQ(statusOf(GDbIoError), GDbIoError);
  const auto isNull = [](const GSqlQuery& query) { return query.isNull(); };
  EXPECT_TRUE(isNull(static_cast<GSqlDatabase*>(nullptr)));
}

}  // namespace
