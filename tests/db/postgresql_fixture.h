// SPDX-License-Identifier: MIT
// What the tests of the PostgreSQL driver share: a database with an empty schema
// of its own in front of the search path.
#ifndef LOOMKIT_TESTS_DB_POSTGRESQL_FIXTURE_H
#define LOOMKIT_TESTS_DB_POSTGRESQL_FIXTURE_H

#include <string>
#include <vector>

#include "loomkit/db/postgresql/postgresql_database.h"
#include "loomkit/db/sql/sql_query.h"
#include "tests/db/db_fixture.h"
#include "tests/db/postgresql_server.h"

namespace loomkit::testing {

using Texts = std::vector<std::string>;

class PostgresqlFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    database = open();
    sql = sqlOf(database);
    ASSERT_NE(sql, nullptr);
    run("SET client_min_messages = warning");
    run("DROP SCHEMA IF EXISTS scratch CASCADE");
    run("CREATE SCHEMA scratch");
    run("RESET client_min_messages");
  }
  void TearDown() override {
    table.reset();
    database.reset();
  }

  static PostgresqlServer& server() { return PostgresqlServer::shared(); }
  static std::string locator() { return server().socketUri() + "&options=-csearch_path%3Dscratch"; }
  static DatabaseOwner open() { return openDb(locator()); }

  GPostgresqlDatabase& postgresql() { return dynamic_cast<GPostgresqlDatabase&>(*database); }

  void run(const std::string& statement, GDbStatus expected = GDbNoError) {
    GSqlQuery query(sql);
    EXPECT_EQ(query.exec(statement), expected)
        << statement << ": " << query.getLastError().getText();
  }

  // The rows of a statement as texts.
  Texts rowsOf(const std::string& statement) {
    GSqlQuery query(sql);
    GDbRecordSet set;
    EXPECT_EQ(query.exec(statement), GDbNoError) << query.getLastError().getText();
    EXPECT_EQ(query.getResult(&set), GDbNoError) << query.getLastError().getText();
    return textsOf(set);
  }

  // Creates and opens a table.
  GDbTable* make(const std::string& name, const GDbStructure& structure) {
    GDbTable* made = nullptr;
    EXPECT_EQ(database->createTable(name, &structure, &made), GDbNoError)
        << sql->getLastError().getText();
    table.reset(made);
    return made;
  }

  DatabaseOwner database;
  TableOwner table;
  GSqlDatabaseImpl* sql = nullptr;
};

/// Adds a record of an integer and a text.
inline void addPair(GDbRecordSet* set, int number, const std::string& text) {
  auto* record = new GDbRecord;
  record->addIntField(number);
  record->addStringField(text);
  set->addRecord(record);
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_POSTGRESQL_FIXTURE_H
