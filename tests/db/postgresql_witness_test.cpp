// SPDX-License-Identifier: MIT
// Other programs and other servers as witnesses: psql, pgbench, and a table that
// lies on three servers.
#include "loomkit/db/catalog.h"
#include "loomkit/db/table_scan.h"
#include "tests/db/postgresql_fixture.h"
#include "tests/witness.h"

namespace {

using namespace loomkit::testing;

class PostgresqlWitness : public PostgresqlFixture {};

TEST_F(PostgresqlWitness, PsqlReadsWhatWeWrite) {
  GDbStructure structure;
  structure.appendField(field("id", GDbFieldInt, true));
  structure.appendField(field("price", GDbFieldFloat));
  structure.appendField(field("name", GDbFieldString));
  structure.appendField(field("picture", GDbFieldBlob));
  make("parts", structure);
  GDbRecordSet records;
  for (const char* name : {"bolt", "it's", "a\\b", "\xc3\xa4", ""}) {
    auto* record = new GDbRecord;
    record->addIntField(static_cast<int>(records.getNumRecords()));
    record->addFloatField(0.1);
    record->addStringField(name);
    record->addBlobField("\0\xff", 2);
    records.addRecord(record);
  }
  ASSERT_EQ(table->insertRecords(records), GDbNoError);
  EXPECT_EQ(server().psql("SELECT * FROM scratch.parts ORDER BY id"),
            "0|0.1|bolt|\\x00ff\n1|0.1|it's|\\x00ff\n2|0.1|a\\b|\\x00ff\n3|0.1|\xc3\xa4|\\x00ff\n"
            "4|0.1||\\x00ff\n");
  const std::string described = server().psql("\\d scratch.parts");
  for (const char* line :
       {"id|integer||not null|", "price|double precision|||", "name|text|||", "picture|bytea|||"})
    EXPECT_NE(described.find(line), std::string::npos) << described;
  EXPECT_EQ(server().psql("SELECT pg_get_constraintdef(oid) FROM pg_constraint "
                          "WHERE conrelid = 'scratch.parts'::regclass"),
            "PRIMARY KEY (id)\n");
}

TEST_F(PostgresqlWitness, WeReadWhatPsqlWrites) {
  server().psql(
      "CREATE TABLE scratch.made (id bigserial PRIMARY KEY, at timestamptz, amount numeric(12,2), "
      "tags text[], note varchar(30));"
      "INSERT INTO scratch.made (at, amount, tags, note) VALUES "
      "('2024-02-29 12:00:00+00', 1234567890.12, '{a,\"b c\"}', 'it''s'), (NULL, NULL, NULL, "
      "NULL);");
  table = openTable(database, "made");
  run("SET TIME ZONE 'UTC'");
  EXPECT_EQ(scan(table.get()),
            (Texts{"1|2024-02-29 12:00:00+00|1234567890.12|{a,\"b c\"}|it's", "2||||"}));
}

TEST_F(PostgresqlWitness, ReadsTheTablesOfPgbench) {
  const Witnessed made = runShell(
      "PATH=$PATH:$(ls -d /usr/lib/postgresql/*/bin | tail -1); "
      "psql -X -q -c 'CREATE DATABASE bench' '" +
      server().socketUri() + "' && pgbench -i -q -s 1 '" + server().socketUri("bench") + "' 2>&1");
  ASSERT_EQ(made.status, 0) << made;
  {
    const DatabaseOwner bench = openDb(server().socketUri("bench"));
    std::vector<GDbCatalog::Table> tables;
    EXPECT_EQ(GDbCatalog::listTables(bench.get(), &tables), GDbNoError);
    Texts names;
    for (const GDbCatalog::Table& each : tables) names.push_back(each.name);
    EXPECT_EQ(names, (Texts{"pgbench_accounts", "pgbench_branches", "pgbench_history",
                            "pgbench_tellers"}));
    const TableOwner accounts = openTable(bench, "pgbench_accounts");
    int id = -1;
    EXPECT_EQ(accounts->getFieldId("aid", &id), GDbNoError);
    GDbRecordSet found;
    for (const int account : {1, 77777, 100000})
      EXPECT_EQ(accounts->lookupKey(GDbKey(id, account), &found), GDbNoError);
    EXPECT_EQ(found.getNumRecords(), 3U);
    EXPECT_EQ(found.getRecord(1)->getIntField(id), 77777);
    GDbTableScan rows(accounts.get());
    long count = 0;
    for (const GDbTypedRow& row : rows) count += row.getInt("bid").value_or(0);
    EXPECT_EQ(rows.getStatus(), GDbNoError);
    EXPECT_EQ(count, 100000);
  }
  server().psql("DROP DATABASE bench");
}

// Three servers; the table's rows lie on each by the hash of their key.
TEST_F(PostgresqlWitness, ATableMayLieOnThreeServers) {
  PostgresqlServer others[2];
  const PostgresqlServer* places[] = {&server(), &others[0], &others[1]};
  std::string statements =
      "SET client_min_messages = warning; SET search_path = scratch;"
      "CREATE EXTENSION IF NOT EXISTS postgres_fdw;"
      "CREATE TABLE parts (id int NOT NULL, name text) PARTITION BY HASH (id);";
  for (int i = 0; i < 3; ++i) {
    const std::string number = std::to_string(i);
    places[i]->psql("CREATE SCHEMA IF NOT EXISTS scratch; CREATE TABLE scratch.piece" + number +
                    " (id int NOT NULL, name text);");
    statements +=
        "CREATE SERVER place" + number + " FOREIGN DATA WRAPPER postgres_fdw OPTIONS (host '" +
        places[i]->directory() + "', port '" + std::to_string(places[i]->port()) +
        "', dbname 'postgres');" + "CREATE USER MAPPING FOR loomkit SERVER place" + number +
        " OPTIONS (user 'loomkit');" + "CREATE FOREIGN TABLE part" + number +
        " PARTITION OF parts FOR VALUES WITH (MODULUS 3, REMAINDER " + number + ") SERVER place" +
        number + " OPTIONS (schema_name 'scratch', table_name 'piece" + number + "');";
  }
  server().psql(statements);
  table = openTable(database, "parts");
  GDbRecordSet records;
  for (int i = 0; i < 3000; ++i) addPair(&records, i, "part " + std::to_string(i));
  ASSERT_EQ(table->insertRecords(records), GDbNoError) << sql->getLastError().getText();
  long total = 0;
  for (int i = 0; i < 3; ++i) {
    const long held =
        std::stol(places[i]->psql("SELECT count(*) FROM scratch.piece" + std::to_string(i)));
    EXPECT_GT(held, 800) << i;
    total += held;
  }
  EXPECT_EQ(total, 3000);
  EXPECT_EQ(scan(table.get()).size(), 3000U);
  GDbRecordSet found;
  for (const int id : {0, 1, 2, 2999})
    EXPECT_EQ(table->lookupKey(GDbKey(0, id), &found), GDbNoError);
  EXPECT_EQ(textsOf(found), (Texts{"0|part 0", "1|part 1", "2|part 2", "2999|part 2999"}));
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(table->deleteKey(GDbKey(0, 7)), GDbNoError);
  EXPECT_EQ(sql->rollback(), GDbNoError);
  found.clear();
  EXPECT_EQ(table->lookupKey(GDbKey(0, 7), &found), GDbNoError);
  EXPECT_EQ(found.getNumRecords(), 1U);
  others[1].stop(true);
  GDbStatus status = GDbNoError;
  for (int id = 0; id < 20 && status == GDbNoError; ++id)
    status = table->lookupKey(GDbKey(0, id), &found);
  EXPECT_EQ(status, GDbIoError) << "one of the three is gone: " << sql->getLastError().getText();
  table.reset();
  server().psql("DROP EXTENSION postgres_fdw CASCADE");
}

}  // namespace
