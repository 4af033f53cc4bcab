// SPDX-License-Identifier: MIT
// Tables on a PostgreSQL server: structures, schemas, lookups, scans, inserts.
#include "loomkit/db/catalog.h"
#include "loomkit/db/record_access.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

class PostgresqlTable : public PostgresqlFixture {
 protected:
  GDbCatalog::Description describe(const std::string& name) {
    GDbCatalog::Description description;
    EXPECT_EQ(GDbCatalog::describeTable(database.get(), name, &description), GDbNoError) << name;
    return description;
  }

  GDbTable* openNow(const std::string& name, const GDbStructure* structure = nullptr) {
    table = openTable(database, name, structure);
    return table.get();
  }
};

struct Declared {
  const char* column;  // its declaration
  GDbFieldType type;
  const char* declaredType;
  int width;
  int decDigits;
};

const Declared declarations[] = {
    {"smallint", GDbFieldInt, "smallint", 0, 0},
    {"integer", GDbFieldInt, "integer", 0, 0},
    {"bigint", GDbFieldInt, "bigint", 0, 0},
    {"serial", GDbFieldInt, "integer", 0, 0},
    {"real", GDbFieldFloat, "real", 0, -1},
    {"double precision", GDbFieldFloat, "double precision", 0, -1},
    {"text", GDbFieldString, "text", -1, 0},
    {"varchar", GDbFieldString, "character varying", -1, 0},
    {"varchar(20)", GDbFieldString, "character varying(20)", 20, 0},
    {"char(7)", GDbFieldString, "character(7)", 7, 0},
    {"bytea", GDbFieldBlob, "bytea", 0, 0},
    {"numeric", GDbFieldString, "numeric", -1, 0},
    {"numeric(10,2)", GDbFieldString, "numeric(10,2)", 10, 2},
    {"boolean", GDbFieldString, "boolean", -1, 0},
    {"date", GDbFieldString, "date", -1, 0},
    {"timestamptz", GDbFieldString, "timestamp with time zone", -1, 0},
    {"uuid", GDbFieldString, "uuid", -1, 0},
    {"jsonb", GDbFieldString, "jsonb", -1, 0},
    {"int[]", GDbFieldString, "integer[]", -1, 0},
    {"plain_int", GDbFieldInt, "plain_int", 0, 0},
    {"mood", GDbFieldString, "mood", -1, 0},
};

TEST_F(PostgresqlTable, TellsEveryTypeOfItsColumns) {
  run("CREATE DOMAIN plain_int AS integer CHECK (VALUE > 0)");
  run("CREATE TYPE mood AS ENUM ('sad', 'ok')");
  std::string columns;
  int number = 0;
  for (const Declared& row : declarations) {
    columns += (number == 0 ? "c" : ", c") + std::to_string(number) + " " + row.column;
    ++number;
  }
  run("CREATE TABLE t (" + columns + ")");
  const GDbCatalog::Description description = describe("t");
  ASSERT_EQ(description.structure.getNumFields(), number);
  ASSERT_EQ(description.columns.size(), static_cast<std::size_t>(number));
  for (int i = 0; i < number; ++i) {
    const Declared& row = declarations[i];
    const GDbField& field = description.structure.getField(i);
    EXPECT_EQ(field.getName(), "c" + std::to_string(i));
    EXPECT_EQ(field.getType(), row.type) << row.column;
    EXPECT_EQ(field.getWidth(), row.width) << row.column;
    EXPECT_EQ(field.getDecDigits(), row.decDigits) << row.column;
    EXPECT_EQ(description.columns[static_cast<std::size_t>(i)].declaredType, row.declaredType);
    EXPECT_EQ(description.columns[static_cast<std::size_t>(i)].nullable,
              std::string(row.column) != "serial");
  }
  openNow("t");
  EXPECT_EQ(scan(table.get()).size(), 0U);
}

TEST_F(PostgresqlTable, TellsKeysAndIndexes) {
  run("CREATE TABLE t (a int, b text, c text NOT NULL, d int, dropped int, PRIMARY KEY (d, a))");
  run("ALTER TABLE t DROP COLUMN dropped");
  run("CREATE UNIQUE INDEX by_bc ON t (b, c)");
  run("CREATE INDEX by_c ON t (c DESC) INCLUDE (b)");
  run("CREATE INDEX partly ON t (b) WHERE a > 0");
  run("CREATE INDEX computed ON t (lower(b))");
  const GDbCatalog::Description description = describe("t");
  ASSERT_EQ(description.structure.getNumFields(), 4);
  const bool primary[] = {true, false, false, true};
  const bool nullable[] = {false, true, false, false};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(description.structure.getField(i).isPrimKey(), primary[i]) << i;
    EXPECT_EQ(description.columns[static_cast<std::size_t>(i)].nullable, nullable[i]) << i;
  }
  const std::vector<GDbIndex>& indexes = description.structure.getIndices();
  ASSERT_EQ(indexes.size(), 2U);
  EXPECT_EQ(indexes[0].getName(), "by_bc");
  EXPECT_EQ(indexes[0].getColumns(), "b,c");
  EXPECT_TRUE(indexes[0].isUnique());
  EXPECT_FALSE(indexes[0].isDescending());
  EXPECT_EQ(indexes[1].getName(), "by_c");
  EXPECT_EQ(indexes[1].getColumns(), "c");
  EXPECT_FALSE(indexes[1].isUnique());
  EXPECT_TRUE(indexes[1].isDescending());
}

TEST_F(PostgresqlTable, CreatesWhatItReadsBack) {
  GDbStructure structure;
  structure.appendField(field("id", GDbFieldInt, true));
  structure.appendField(field("count", GDbFieldUInt));
  structure.appendField(field("price", GDbFieldFloat));
  structure.appendField(field("name", GDbFieldString, false, true));
  structure.appendField(field("picture", GDbFieldBlob));
  structure.addIndex(GDbIndex("by_price", "price", false, true));
  structure.addIndex(GDbIndex("both", "name, price", true, false));
  structure.addIndex(GDbIndex("same", "id", true, false));
  structure.addIndex(GDbIndex("none", " , ", true, false));
  structure.addIndex(GDbIndex("wrong", "nosuch", true, false));
  CaptureLog log;
  make("parts", structure);
  const Texts lines = log.texts();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_NE(lines[0].find("ignored (identical with primary key)"), std::string::npos);
  EXPECT_NE(lines[1].find("Invalid index column specification"), std::string::npos);
  EXPECT_NE(lines[2].find("Failed to create index \"parts_wrong_idx_\""), std::string::npos);

  const GDbCatalog::Description description = describe("parts");
  const GDbFieldType types[] = {GDbFieldInt, GDbFieldInt, GDbFieldFloat, GDbFieldString,
                                GDbFieldBlob};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(description.structure.getField(i).getType(), types[i]);
  EXPECT_TRUE(description.structure.getField(0).isPrimKey());
  Texts indexes;
  for (const GDbIndex& index : description.structure.getIndices())
    indexes.push_back(index.getName() + "(" + index.getColumns() + ")" +
                      (index.isUnique() ? " unique" : "") +
                      (index.isDescending() ? " descending" : ""));
  EXPECT_EQ(indexes, (Texts{"parts_both_idx_(name,price) unique",
                            "parts_by_price_idx_(price) descending", "parts_name_idx(name)"}));

  GDbTable* again = table.get();
  EXPECT_EQ(database->createTable("parts", &structure, &again), GDbTableExists);
  EXPECT_EQ(again, nullptr);
  EXPECT_EQ(database->deleteTable("parts"), GDbTableInUse);
  table.reset();
  EXPECT_EQ(database->deleteTable("parts"), GDbNoError);
  EXPECT_EQ(database->deleteTable("parts"), GDbInvalidTableName);
}

TEST_F(PostgresqlTable, AFailedIndexLeavesAnOpenTransactionGood) {
  GDbStructure structure = structureOf({{"a", GDbFieldInt}});
  structure.addIndex(GDbIndex("wrong", "nosuch", true, false));
  structure.addIndex(GDbIndex("right", "a", true, false));
  CaptureLog log;
  EXPECT_EQ(sql->begin(), GDbNoError);
  make("t", structure);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(describe("t").structure.getIndices().size(), 1U);
}

TEST_F(PostgresqlTable, RefusesStructuresThatItCannotMake) {
  GDbTable* made = nullptr;
  const GDbStructure none = structureOf({{"a", GDbFieldNone}});
  EXPECT_EQ(database->createTable("t", &none, &made), GDbInvalidFieldType);
  const GDbStructure twice = structureOf({{"a", GDbFieldInt}, {"a", GDbFieldInt}});
  EXPECT_EQ(database->createTable("t", &twice, &made), GDbInvalidFieldName);
  EXPECT_EQ(database->createTable("t", nullptr, &made), GDbInvalidArgument);
  EXPECT_EQ(database->createTable("t", &twice, nullptr), GDbInvalidArgument);
  EXPECT_EQ(sql->tableExists("t"), GDbInvalidTableName);
}

TEST_F(PostgresqlTable, FindsTablesInSchemasAndOnTheSearchPath) {
  run("CREATE SCHEMA \"other.place\"");
  const GDbStructure structure = structureOf({{"n", GDbFieldInt}});
  for (const char* name : {"plain", "\"other.place\".plain", "\"other.place\".\"a.b\"", "Plain"})
    make(name, structure);
  std::vector<GDbCatalog::Table> listed;
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &listed), GDbNoError);
  Texts names;
  for (const GDbCatalog::Table& entry : listed) {
    names.push_back(entry.name);
    EXPECT_NE(openNow(entry.name), nullptr) << entry.name;
  }
  EXPECT_EQ(names, (Texts{"\"other.place\".\"a.b\"", "\"other.place\".plain", "Plain", "plain"}));
  EXPECT_EQ(sql->tableExists("scratch.plain"), GDbNoError);
  EXPECT_EQ(sql->tableExists("PLAIN"), GDbInvalidTableName);
  EXPECT_EQ(sql->tableExists("nosuch.plain"), GDbInvalidTableName);
  EXPECT_EQ(sql->tableExists("pg_catalog.pg_class"), GDbNoError);
  table.reset();
  EXPECT_EQ(database->deleteTable("\"other.place\".\"a.b\""), GDbNoError);
  EXPECT_EQ(database->deleteTable("\"other.place\".plain"), GDbNoError);
  run("DROP SCHEMA \"other.place\"");
}

TEST_F(PostgresqlTable, ListsViewsAsSuch) {
  run("CREATE TABLE t (n int)");
  run("CREATE VIEW v AS SELECT n * 2 AS d FROM t");
  run("CREATE MATERIALIZED VIEW m AS SELECT n FROM t");
  run("INSERT INTO t VALUES (4)");
  std::vector<GDbCatalog::Table> listed;
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &listed), GDbNoError);
  ASSERT_EQ(listed.size(), 3U);
  EXPECT_EQ(listed[0].kind, GDbCatalog::Kind::view);
  EXPECT_EQ(listed[1].kind, GDbCatalog::Kind::table);
  EXPECT_EQ(listed[2].kind, GDbCatalog::Kind::view);
  EXPECT_EQ(scan(openNow("v")), Texts{"8"});
}

TEST_F(PostgresqlTable, InsertsManyRecordsAndReadsThemBack) {
  make("t", structureOf({{"n", GDbFieldInt}, {"s", GDbFieldString}}));
  GDbRecordSet records;
  Texts expected;
  for (int i = 0; i < 2500; ++i) {
    addPair(&records, i, "text " + std::to_string(i));
    expected.push_back(std::to_string(i) + "|text " + std::to_string(i));
  }
  EXPECT_EQ(table->insertRecords(records), GDbNoError) << sql->getLastError().getText();
  EXPECT_EQ(scan(table.get()), expected);
  GDbRecordSet found;
  EXPECT_EQ(table->lookupKey(GDbKey(1, "text 77"), &found), GDbNoError);
  EXPECT_EQ(textsOf(found), Texts{"77|text 77"});
  EXPECT_EQ(table->deleteKey(GDbKey(0, 77)), GDbNoError);
  found.clear();
  EXPECT_EQ(table->lookupKey(GDbKey(1, "text 77"), &found), GDbNoError);
  EXPECT_EQ(found.getNumRecords(), 0U);
}

// Where the failing record stands, in a set of more than two batches.
TEST_F(PostgresqlTable, OfAnInsertThatFailsWhatWasBeforeStays) {
  run("CREATE TABLE t (n int CHECK (n <> 13), s text)");
  openNow("t");
  for (const unsigned failing : {0U, 1U, 500U, 999U, 1000U, 1001U, 2100U}) {
    run("DELETE FROM t");
    GDbRecordSet records;
    for (unsigned i = 0; i < 2200; ++i)
      addPair(&records, i == failing ? 13 : static_cast<int>(i) + 10000, "");
    EXPECT_EQ(table->insertRecords(records), GDbConstraintViolation) << failing;
    EXPECT_EQ(sql->getLastError().getSqlState(), "23514");
    EXPECT_EQ(rowsOf("SELECT count(*), coalesce(max(n), 9999) - 10000 FROM t"),
              Texts{std::to_string(failing) + "|" + std::to_string(static_cast<int>(failing) - 1)});
  }
}

TEST_F(PostgresqlTable, ARecordThatDoesNotFitEndsTheInsertThere) {
  make("t", structureOf({{"n", GDbFieldInt}, {"s", GDbFieldString}}));
  GDbRecordSet records;
  addPair(&records, 1, "one");
  addPair(&records, 2, "two");
  auto* wrong = new GDbRecord;
  wrong->addStringField("three");
  wrong->addIntField(3);
  records.addRecord(wrong);
  EXPECT_EQ(table->insertRecords(records), GDbFieldTypeMismatch);
  EXPECT_EQ(scan(table.get()), (Texts{"1|one", "2|two"}));
  GDbRecordSet narrow;
  auto* record = new GDbRecord;
  record->addIntField(3);
  narrow.addRecord(record);
  EXPECT_EQ(table->insertRecords(narrow), GDbFieldCountMismatch);
  EXPECT_EQ(table->insertRecords(GDbRecordSet()), GDbNoError);
  EXPECT_EQ(scan(table.get()).size(), 2U);
}

TEST_F(PostgresqlTable, ADeferredConstraintIsToldOfItsRecordToo) {
  run("CREATE TABLE t (n int UNIQUE DEFERRABLE INITIALLY DEFERRED, s text)");
  openNow("t");
  GDbRecordSet records;
  for (const int number : {1, 2, 3, 2, 5}) addPair(&records, number, "");
  EXPECT_EQ(table->insertRecords(records), GDbConstraintViolation);
  EXPECT_EQ(rowsOf("SELECT n FROM t ORDER BY n"), (Texts{"1", "2", "3"}));
}

TEST_F(PostgresqlTable, WithinATransactionAnInsertThatFailsTakesItAlong) {
  run("CREATE TABLE t (n int PRIMARY KEY, s text)");
  openNow("t");
  GDbRecordSet records;
  for (const int number : {1, 2, 2, 4}) addPair(&records, number, "");
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(table->insertRecords(records), GDbConstraintViolation);
  EXPECT_EQ(sql->rollback(), GDbNoError);
  EXPECT_EQ(scan(table.get()).size(), 0U);
}

TEST_F(PostgresqlTable, ScansWithOtherWorkBetweenTheRows) {
  run("CREATE TABLE t AS SELECT n, repeat('x', n % 50) AS s FROM generate_series(1, 9000) n");
  run("CREATE TABLE u (n int)");
  openNow("t");
  const TableOwner other = openTable(database, "u");
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) {
      EXPECT_EQ(sql->begin(), GDbNoError);
    }
    GDbRecordSet row;
    int rows = 0;
    long sum = 0;
    for (GDbStatus status = table->getFirstRecord(&row);
         status == GDbNoError && row.getNumRecords() == 1; status = table->getNextRecord(&row)) {
      sum += row.getRecord(0)->getIntField(0);
      if (++rows % 1000 != 0) continue;
      GDbRecordSet one;
      auto* record = new GDbRecord;
      record->addIntField(rows);
      one.addRecord(record);
      EXPECT_EQ(other->insertRecords(one), GDbNoError);
      GDbRecordSet found;
      EXPECT_EQ(other->lookupKey(GDbKey(0, rows), &found), GDbNoError);
      EXPECT_GE(found.getNumRecords(), 1U);
    }
    EXPECT_EQ(rows, 9000);
    EXPECT_EQ(sum, 9000L * 9001 / 2);
    if (inTransaction) {
      EXPECT_EQ(rowsOf("SELECT count(*) FROM pg_cursors WHERE name LIKE 'loomkit%'"), Texts{"0"});
      EXPECT_EQ(sql->commit(), GDbNoError);
    }
  }
}

TEST_F(PostgresqlTable, AScanEndsWithItsTransaction) {
  run("CREATE TABLE t AS SELECT n FROM generate_series(1, 100) n");
  openNow("t");
  GDbRecordSet row;
  for (const bool commit : {true, false}) {
    EXPECT_EQ(sql->begin(), GDbNoError);
    EXPECT_EQ(table->getFirstRecord(&row), GDbNoError);
    EXPECT_EQ(commit ? sql->commit() : sql->rollback(), GDbNoError);
    EXPECT_EQ(table->getNextRecord(&row), GDbQueryNotActive);
  }
  EXPECT_EQ(scan(table.get()).size(), 100U);
  run("DELETE FROM t");
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(scan(table.get()).size(), 0U);
  EXPECT_EQ(sql->commit(), GDbNoError);
}

TEST_F(PostgresqlTable, LooksUpKeysOfEveryType) {
  run("CREATE TABLE t (n bigint, r real, f float8, s text, u uuid, d numeric)");
  run("INSERT INTO t VALUES (5, 0.1, 0.1, 'x', '550e8400-e29b-41d4-a716-446655440000', 1.50)");
  run("INSERT INTO t VALUES (6, 0.2, 0.2, 'y', NULL, NULL)");
  openNow("t");
  const GDbKey keys[] = {GDbKey(0, 5), GDbKey(2, 0.1), GDbKey(3, "x"),
                         GDbKey(4, "550e8400-e29b-41d4-a716-446655440000"), GDbKey(5, "1.5")};
  for (const GDbKey& key : keys) {
    GDbRecordSet found;
    EXPECT_EQ(table->lookupKey(key, &found), GDbNoError) << sql->getLastError().getText();
    EXPECT_EQ(found.getNumRecords(), 1U) << key.field;
  }
  GDbRecordSet found;
  EXPECT_EQ(table->lookupKeys(keys, 5, &found), GDbNoError);
  EXPECT_EQ(found.getNumRecords(), 1U);
  EXPECT_EQ(table->lookupKey(GDbKey(4, "no uuid"), &found), GDbFieldTypeMismatch);
  EXPECT_EQ(table->lookupKey(GDbKey(0, "5"), &found), GDbFieldTypeMismatch);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 6), &found), GDbNoError) << "and goes on";
}

// ---- what happens to a table behind our back ----

TEST_F(PostgresqlTable, ADroppedTableIsToldOf) {
  run("CREATE TABLE t (n int, s text)");
  openNow("t");
  GDbRecordSet found;
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &found), GDbNoError);
  server().psql("DROP TABLE scratch.t");
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &found), GDbInvalidTableName);
  EXPECT_EQ(sql->getLastError().getSqlState(), "42P01");
  EXPECT_EQ(table->getFirstRecord(&found), GDbInvalidTableName);
  GDbRecordSet records;
  addPair(&records, 1, "");
  EXPECT_EQ(table->insertRecords(records), GDbInvalidTableName);
}

TEST_F(PostgresqlTable, AColumnOfAnotherTypeIsToldOfOnceAndReadThen) {
  run("CREATE TABLE t (n int, s text)");
  run("INSERT INTO t VALUES (1, '5')");
  GSqlQuery query(sql, "SELECT s FROM t");
  ASSERT_EQ(query.exec(), GDbNoError);
  ASSERT_EQ(query.reset(), GDbNoError);
  server().psql("ALTER TABLE scratch.t ALTER COLUMN s TYPE int USING s::int");
  EXPECT_EQ(query.exec(), GDbSqlError);
  EXPECT_EQ(query.getLastError().getSqlState(), "0A000");
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "5");
}

TEST_F(PostgresqlTable, ALostPreparedStatementIsPreparedAnew) {
  GSqlQuery query(sql, "SELECT 5");
  ASSERT_EQ(query.exec(), GDbNoError);
  run("DEALLOCATE ALL");
  EXPECT_EQ(query.exec(), GDbSqlError);
  EXPECT_EQ(query.getLastError().getSqlState(), "26000");
  EXPECT_EQ(query.exec(), GDbNoError);
}

TEST_F(PostgresqlTable, RightsAndReadOnlySessionsAreToldOf) {
  run("CREATE TABLE t (n int, s text)");
  run("INSERT INTO t VALUES (1, 'one')");
  openNow("t");
  GDbRecordSet records;
  addPair(&records, 2, "two");
  run("SET default_transaction_read_only = on");
  EXPECT_EQ(table->insertRecords(records), GDbTableReadOnly);
  EXPECT_EQ(sql->getLastError().getSqlState(), "25006");
  EXPECT_EQ(table->deleteKey(GDbKey(0, 1)), GDbTableReadOnly);
  run("SET default_transaction_read_only = off");
  server().psql(
      "DROP ROLE IF EXISTS guest; CREATE ROLE guest; GRANT USAGE ON SCHEMA scratch TO guest;");
  run("SET ROLE guest");
  GDbRecordSet found;
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &found), GDbSqlError);
  EXPECT_EQ(sql->getLastError().getSqlState(), "42501");
  EXPECT_NE(sql->getLastError().getText().find("permission denied"), std::string::npos);
  run("RESET ROLE");
  run("DROP OWNED BY guest");
  run("DROP ROLE guest");
}

// ---- hostile names and values ----

const char* const hostileTexts[] = {"'",
                                    "\"",
                                    "\\",
                                    "$1",
                                    "$$",
                                    "?",
                                    "??",
                                    ";",
                                    "--",
                                    "/*",
                                    "a'b",
                                    "a\"b",
                                    "\"a\"",
                                    "a\\'b",
                                    "'; DROP TABLE victim; --",
                                    "\"; DROP TABLE victim; --",
                                    "$$; DROP TABLE victim; $$",
                                    "E'\\''",
                                    "a.b",
                                    ".",
                                    "..",
                                    "\"a",
                                    "a\"",
                                    "%s%n",
                                    "\xc3\xa4",
                                    "a\nb",
                                    "\t",
                                    " ",
                                    "select",
                                    "NULL",
                                    "{1,2}",
                                    "(a)"};

TEST_F(PostgresqlTable, NamesAndValuesStayNamesAndValues) {
  run("CREATE TABLE victim (n int)");
  for (const std::string text : hostileTexts) {
    GDbStructure structure;
    structure.appendField(field(text, GDbFieldString, true));
    structure.appendField(field(text + "2", GDbFieldInt, false, true));
    structure.addIndex(GDbIndex(text, text, true, false));
    CaptureLog log;
    GDbTable* made = nullptr;
    const GDbStatus status = database->createTable(text, &structure, &made);
    const TableOwner owner(made);
    if (status != GDbNoError) {
      // Only names that no table can have: without one, or in no schema.
      EXPECT_NE(text.find('.'), std::string::npos) << text << sql->getLastError().getText();
      continue;
    }
    GDbRecordSet records;
    auto* record = new GDbRecord;
    record->addStringField(text);
    record->addIntField(1);
    records.addRecord(record);
    EXPECT_EQ(owner->insertRecords(records), GDbNoError) << text << sql->getLastError().getText();
    EXPECT_EQ(scan(owner.get()), Texts{text + "|1"});
    GDbRecordSet found;
    EXPECT_EQ(owner->lookupKey(GDbKey(0, text.c_str()), &found), GDbNoError) << text;
    EXPECT_EQ(found.getNumRecords(), 1U) << text;
    EXPECT_EQ(owner->deleteKey(GDbKey(0, text.c_str())), GDbNoError) << text;
    EXPECT_EQ(scan(owner.get()).size(), 0U);
    GDbCatalog::Description description;
    EXPECT_EQ(GDbCatalog::describeTable(database.get(), text, &description), GDbNoError) << text;
    EXPECT_EQ(description.structure.getField(0).getName(), text);
    owner->closeTable();
    EXPECT_EQ(database->deleteTable(text), GDbNoError) << text;
  }
  EXPECT_EQ(sql->tableExists("victim"), GDbNoError);
}

TEST_F(PostgresqlTable, BrokenCharactersAreRefusedEverywhere) {
  const std::string broken = "a\xff\xfe";
  EXPECT_NE(sql->tableExists(broken), GDbNoError);
  EXPECT_NE(database->deleteTable(broken), GDbNoError);
  const GDbStructure structure = structureOf({{"n", GDbFieldInt}, {"s", GDbFieldString}});
  GDbTable* made = nullptr;
  EXPECT_NE(database->createTable(broken, &structure, &made), GDbNoError);
  EXPECT_EQ(made, nullptr);
  const GDbStructure named = structureOf({{broken, GDbFieldInt}});
  EXPECT_NE(database->createTable("t", &named, &made), GDbNoError);
  make("t", structure);
  GDbRecordSet records;
  addPair(&records, 1, "good");
  addPair(&records, 2, broken);
  EXPECT_EQ(table->insertRecords(records), GDbInvalidArgument);
  EXPECT_EQ(scan(table.get()), Texts{"1|good"});
  GDbRecordSet found;
  EXPECT_EQ(table->lookupKey(GDbKey(1, broken.c_str()), &found), GDbInvalidArgument);
  EXPECT_EQ(table->deleteKey(GDbKey(1, broken.c_str())), GDbInvalidArgument);
  GSqlQuery query(sql);
  EXPECT_NE(query.exec("SELECT '" + broken + "'"), GDbNoError);
  EXPECT_EQ(rowsOf("SELECT 1"), Texts{"1"});
}

}  // namespace
