// SPDX-License-Identifier: MIT
// GSqlTable and the cache of prepared lookups, on the SQLite driver.
#include "loomkit/db/sql/sql_table.h"

#include "loomkit/db/sqlite/sqlite3_api.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

// Counts the statements that are prepared, for its own lifetime.
class PrepareCounter {
 public:
  PrepareCounter() {
    count = 0;
    real = loomkit::sqlite3Library().api.prepare_v2;
    loomkit::sqlite3Library().api.prepare_v2 = counting;
  }
  PrepareCounter(const PrepareCounter&) = delete;
  PrepareCounter& operator=(const PrepareCounter&) = delete;
  ~PrepareCounter() { loomkit::sqlite3Library().api.prepare_v2 = real; }
  static int count;

 private:
  static int counting(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                      const char** tail) {
    ++count;
    return real(db, sql, length, stmt, tail);
  }
  static int (*real)(sqlite3*, const char*, int, sqlite3_stmt**, const char**);
};
int PrepareCounter::count = 0;
int (*PrepareCounter::real)(sqlite3*, const char*, int, sqlite3_stmt**, const char**) = nullptr;

class SqlTable : public ::testing::Test {
 protected:
  SqlTable() {
    run("CREATE TABLE t (id INTEGER, name TEXT, price REAL, data BLOB);");
    run("INSERT INTO t VALUES (1, 'a', 0.5, x'01'), (2, 'b', 1.5, x''), (2, 'c', 2.5, NULL);");
    table = openTable(database, "t");
  }
  void run(const std::string& statement) {
    GSqlQuery query(sql);
    ASSERT_EQ(query.exec(statement), GDbNoError) << query.getLastError().getText();
  }
  Texts select(const std::string& statement) {
    GSqlQuery query(sql);
    GDbRecordSet set;
    EXPECT_EQ(query.exec(statement), GDbNoError);
    EXPECT_EQ(query.getResult(&set), GDbNoError);
    return textsOf(set);
  }
  static GDbRecord* row(int id, const char* name) {
    auto* record = new GDbRecord;
    record->addIntField(id);
    record->addStringField(name);
    record->addFloatField(id * 0.25);
    record->addBlobField(name, 1);
    return record;
  }

  ScratchDirectory dir;
  DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/t.db");
  GSqlDatabaseImpl* sql = sqlOf(database);
  TableOwner table;
};

TEST_F(SqlTable, ChecksTheCallersStructure) {
  const struct {
    std::vector<std::pair<std::string, GDbFieldType>> fields;
    GDbStatus status;
  } rows[] = {
      {{}, GDbNoError},
      {{{"id", GDbFieldInt}}, GDbNoError},
      {{{"ID", GDbFieldUInt}}, GDbNoError},
      {{{"price", GDbFieldFloat}, {"name", GDbFieldString}, {"data", GDbFieldBlob}}, GDbNoError},
      {{{"nosuch", GDbFieldInt}}, GDbInvalidFieldName},
      {{{"id", GDbFieldString}}, GDbInvalidFieldType},
      {{{"id", GDbFieldNone}}, GDbInvalidFieldType},
      {{{"id", static_cast<GDbFieldType>(6)}}, GDbInvalidFieldType},
      {{{"name", GDbFieldBlob}}, GDbInvalidFieldType},
      {{{"price", GDbFieldInt}}, GDbInvalidFieldType},
  };
  for (const auto& row : rows) {
    const GDbStructure structure = structureOf(row.fields);
    auto* opened = reinterpret_cast<GDbTable*>(&dir);
    EXPECT_EQ(database->openTable("t", &structure, &opened), row.status);
    EXPECT_EQ(opened != nullptr, row.status == GDbNoError);
    delete opened;
  }
}

TEST_F(SqlTable, HasAllColumnsWhateverTheCallerNamed) {
  const GDbStructure some = structureOf({{"price", GDbFieldFloat}});
  const TableOwner opened = openTable(database, "t", &some);
  EXPECT_EQ(scan(opened.get()).front(), "1|a|0.5|<\x01>");
}

TEST_F(SqlTable, RefusesAColumnWithoutAnAffinityUnlessTheCallerLeavesItOut) {
  run("CREATE TABLE d (id INTEGER, day DATE);");
  GDbTable* opened = nullptr;
  EXPECT_EQ(database->openTable("d", nullptr, &opened), GDbInvalidFieldType);
  EXPECT_EQ(opened, nullptr);
  const GDbStructure some = structureOf({{"id", GDbFieldInt}});
  EXPECT_NE(openTable(database, "d", &some), nullptr);
}

TEST_F(SqlTable, PreparesALookupOnceAndKeepsItForTheNext) {
  GDbRecordSet set;
  const PrepareCounter counter;
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  EXPECT_EQ(PrepareCounter::count, 1);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 2), &set), GDbNoError);
  EXPECT_EQ(PrepareCounter::count, 1);
  EXPECT_EQ(textsOf(set), (Texts{"1|a|0.5|<\x01>", "2|b|1.5|<>", "2|c|2.5|<>"}));
  EXPECT_EQ(table->lookupKey(GDbKey(1, "a"), &set), GDbNoError);
  EXPECT_EQ(PrepareCounter::count, 2) << "another column is another statement";
}

TEST_F(SqlTable, TheCacheHoldsTwoLookupsATable) {
  GDbRecordSet set;
  const PrepareCounter counter;
  table->lookupKey(GDbKey(0, 1), &set);    // cache: 0
  table->lookupKey(GDbKey(1, "a"), &set);  // cache: 1 0
  table->lookupKey(GDbKey(2, 0.5), &set);  // full, 0 goes: 2 1
  EXPECT_EQ(PrepareCounter::count, 3);
  table->lookupKey(GDbKey(1, "a"), &set);
  EXPECT_EQ(PrepareCounter::count, 3);
  table->lookupKey(GDbKey(0, 1), &set);
  EXPECT_EQ(PrepareCounter::count, 4);
}

TEST_F(SqlTable, ALookupThatFailsIsNotKept) {
  GDbRecordSet set;
  table->lookupKey(GDbKey(0, 1), &set);
  run("ALTER TABLE t RENAME TO gone;");
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbSqlError);
  run("ALTER TABLE gone RENAME TO t;");
  const PrepareCounter counter;
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  EXPECT_EQ(PrepareCounter::count, 1);
}

TEST_F(SqlTable, AStatementServesOneLookupAtATime) {
  GSqlQuery first;
  GSqlQuery second;
  const std::string name = "t";
  const std::string where = "\"id\" = ?";
  EXPECT_EQ(sql->getLookupQuery(name, where, "\"id\"", &first), GDbNoError);
  EXPECT_EQ(first.getStatement(), "SELECT \"id\" FROM \"t\" WHERE \"id\" = ?;");
  EXPECT_EQ(first.bindInt(0, 1), GDbNoError);
  EXPECT_EQ(first.exec(), GDbNoError);
  sql->putLookupQuery(name, where, "\"id\"", first);
  EXPECT_FALSE(first.isActive()) << "its bindings were cleared, so it was stopped";
  EXPECT_EQ(sql->getLookupQuery(name, where, "\"id\"", &second), GDbNoError);
  GSqlQuery third;
  EXPECT_EQ(sql->getLookupQuery(name, where, "\"id\"", &third), GDbNoError);
  EXPECT_EQ(second.exec(), GDbNoError);
  EXPECT_FALSE(third.isActive()) << "the entry was taken out of the cache";
}

TEST_F(SqlTable, ChecksTheKeysOfALookup) {
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKeys(nullptr, 0, &set), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKeys(nullptr, -1, &set), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKey(GDbKey(9, 1), &set), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKey(GDbKey(0, "1"), &set), GDbFieldTypeMismatch);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1.0), &set), GDbFieldTypeMismatch);
  EXPECT_EQ(table->lookupKey(GDbKey(1, 1), &set), GDbFieldTypeMismatch);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1U), &set), GDbNoError) << "UInt is read as Int";
  EXPECT_EQ(set.getNumRecords(), 1U);
  GDbKey blob(3, 0);
  blob.type = GDbFieldBlob;
  EXPECT_EQ(table->lookupKey(blob, &set), GDbInvalidArgument) << "fits, but cannot be bound";
}

TEST_F(SqlTable, AScanClearsTheSetAndEndsWithAnEmptyOne) {
  GDbRecordSet set;
  EXPECT_EQ(table->getNextRecord(&set), GDbNotOpen) << "no scan was begun";
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(i == 0 ? table->getFirstRecord(&set) : table->getNextRecord(&set), GDbNoError);
    EXPECT_EQ(set.getNumRecords(), i < 3 ? 1U : 0U);
  }
  EXPECT_EQ(table->getNextRecord(&set), GDbQueryNotActive) << "the end has reset the query";
  EXPECT_EQ(scan(table.get()).size(), 3U);
}

TEST_F(SqlTable, InsertsRecordsAndStopsAtTheFirstBadOne) {
  GDbRecordSet set;
  EXPECT_EQ(table->insertRecords(set), GDbNoError);
  set.addRecord(row(7, "seven"));
  set.addRecord(row(8, "eight"));
  auto* shortRecord = new GDbRecord;
  shortRecord->addIntField(1);
  set.addRecord(shortRecord);
  set.addRecord(row(9, "nine"));
  const PrepareCounter counter;
  EXPECT_EQ(table->insertRecords(set), GDbFieldCountMismatch);
  EXPECT_EQ(PrepareCounter::count, 1);
  EXPECT_EQ(select("SELECT id, name, price, data FROM t WHERE id > 2 ORDER BY id;"),
            (Texts{"7|seven|1.75|<s>", "8|eight|2|<e>"}));
}

TEST_F(SqlTable, AnEmptyInsertDoesNotTouchTheDatabase) {
  const PrepareCounter counter;
  EXPECT_EQ(table->insertRecords(GDbRecordSet()), GDbNoError);
  EXPECT_EQ(PrepareCounter::count, 0);
}

TEST_F(SqlTable, InsertWantsTheTypesOfTheColumns) {
  GDbRecordSet wrong;
  auto* record = new GDbRecord;
  record->addStringField("1");
  record->addStringField("a");
  record->addFloatField(0);
  record->addBlobField("", 0);
  wrong.addRecord(record);
  EXPECT_EQ(table->insertRecords(wrong), GDbFieldTypeMismatch);
  GDbRecordSet natural;
  record = new GDbRecord;
  record->addUIntField(5);
  record->addStringField("a");
  record->addFloatField(0);
  record->addBlobField("", 0);
  natural.addRecord(record);
  EXPECT_EQ(table->insertRecords(natural), GDbNoError);
}

TEST_F(SqlTable, InsertRefusesANullTextOrBlob) {
  for (int column = 0; column < 2; ++column) {
    auto* types = static_cast<GDbFieldType*>(::operator new(sizeof(GDbFieldType) * 4));
    auto** values = static_cast<void**>(::operator new(sizeof(void*) * 4));
    const GDbFieldType all[] = {GDbFieldInt, GDbFieldString, GDbFieldFloat, GDbFieldBlob};
    std::copy(all, all + 4, types);
    GDbRecord* source = row(1, "x");
    values[0] = new (::operator new(sizeof(int))) int(1);
    values[1] = nullptr;
    values[2] = new (::operator new(sizeof(double))) double(1);
    values[3] = nullptr;
    if (column == 1) {
      values[1] = ::operator new(1);
      *static_cast<char*>(values[1]) = '\0';
    }
    source->deleteRecord();
    GDbRecordSet set;
    set.addRecord(new GDbRecord(false, 4, types, values));
    EXPECT_EQ(table->insertRecords(set), GDbInvalidArgument) << column;
  }
}

TEST_F(SqlTable, DeletesByKeys) {
  const GDbKey keys[] = {GDbKey(0, 2), GDbKey(1, "b")};
  EXPECT_EQ(table->deleteKeys(keys, 2), GDbNoError);
  EXPECT_EQ(select("SELECT name FROM t ORDER BY name;"), (Texts{"a", "c"}));
  EXPECT_EQ(table->deleteKey(GDbKey(0, 99)), GDbNoError);
  EXPECT_EQ(table->deleteKeys(keys, 0), GDbInvalidArgument);
  EXPECT_EQ(table->deleteKey(GDbKey(0, "x")), GDbFieldTypeMismatch);
}

TEST_F(SqlTable, FieldNamesAreComparedExactly) {
  int id = -1;
  EXPECT_EQ(table->getFieldId("price", &id), GDbNoError);
  EXPECT_EQ(id, 2);
  EXPECT_EQ(table->getFieldId("PRICE", &id), GDbInvalidFieldName);
}

TEST_F(SqlTable, ATableInUseIsNotDeleted) {
  EXPECT_EQ(database->deleteTable("nosuch"), GDbInvalidTableName);
  EXPECT_EQ(database->deleteTable("t"), GDbTableInUse);
  table->closeTable();
  EXPECT_EQ(database->deleteTable("t"), GDbNoError);
  EXPECT_EQ(database->deleteTable("t"), GDbInvalidTableName);
}

TEST_F(SqlTable, EveryCallOnAClosedTableSaysSo) {
  const GDbRecordSet records;
  table->closeTable();
  EXPECT_EQ(table->insertRecords(records), GDbTableNotOpen);
  EXPECT_EQ(table->deleteKey(GDbKey(0, 1)), GDbTableNotOpen);
}

TEST_F(SqlTable, TheHandlerBeginsCommitsAndRollsBack) {
  GDbTransactionHandler* handler = nullptr;
  ASSERT_EQ(GDbTransactionHandler::getHandler(database.get(), &handler), GDbNoError);
  ASSERT_NE(handler, nullptr);
  GDbRecordSet set;
  set.addRecord(row(7, "seven"));
  EXPECT_EQ(handler->begin(), GDbNoError);
  EXPECT_EQ(table->insertRecords(set), GDbNoError);
  EXPECT_EQ(handler->begin(), GDbSqlError) << "no transaction within a transaction";
  EXPECT_EQ(handler->rollback(), GDbNoError);
  EXPECT_EQ(select("SELECT COUNT(*) FROM t;"), Texts{"3"});
  EXPECT_EQ(handler->begin(), GDbNoError);
  EXPECT_EQ(table->insertRecords(set), GDbNoError);
  EXPECT_EQ(handler->commit(), GDbNoError);
  EXPECT_EQ(select("SELECT COUNT(*) FROM t;"), Texts{"4"});
  EXPECT_EQ(handler->commit(), GDbSqlError);
  EXPECT_EQ(handler->rollback(), GDbSqlError);
}

TEST_F(SqlTable, EndingATransactionResetsWhatStillRuns) {
  GSqlQuery running(sql, "SELECT id FROM t;");
  EXPECT_EQ(sql->beginTransaction(0), GDbNoError);
  EXPECT_EQ(running.exec(), GDbNoError);
  EXPECT_EQ(running.next(), GDbNoError);
  EXPECT_EQ(sql->rollbackTransaction(), GDbNoError);
  EXPECT_FALSE(running.isActive());
  EXPECT_EQ(running.next(), GDbQueryNotActive);
}

}  // namespace
