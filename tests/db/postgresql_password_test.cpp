// SPDX-License-Identifier: MIT
// Passwords: where they are looked for, when a person is asked, and that they are
// shown nowhere.
#include <cstdlib>
#include <fstream>

#include "loomkit/db/catalog.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

class PostgresqlPassword : public ::testing::Test {
 protected:
  void SetUp() override { server().psql("CREATE ROLE guarded LOGIN PASSWORD 'se''c:r@e/t%?\\'"); }
  void TearDown() override {
    ::unsetenv("PGPASSFILE");
    ::unsetenv("PGPASSWORD");
    server().psql("DROP ROLE guarded");
  }

  static PostgresqlServer& server() { return PostgresqlServer::shared(); }
  static std::string place() { return "127.0.0.1:" + std::to_string(server().port()); }
  static std::string locator() {
    return "postgresql://guarded@" + place() + "/postgres?sslmode=disable";
  }

  DatabaseOwner openAsked(const std::string& answer) {
    GDbDatabase* opened = nullptr;
    status = GPostgresqlDatabaseFactory::openWithPrompt(
        locator().c_str(),
        [&](const std::string& user, std::string* password) {
          asked.push_back(user);
          *password = answer;
          return !answer.empty();
        },
        &opened);
    return DatabaseOwner(opened);
  }

  static constexpr const char* right = "se'c:r@e/t%?\\";
  CaptureLog log;
  Texts asked;
  GDbStatus status = GDbNoError;
};

TEST_F(PostgresqlPassword, IsAskedForOnceWhenTheServerWantsIt) {
  const DatabaseOwner database = openAsked(right);
  EXPECT_EQ(status, GDbNoError);
  EXPECT_EQ(asked, Texts{"guarded"});
  EXPECT_EQ(log.texts(), Texts());
  EXPECT_EQ(database->getName(), locator());
}

TEST_F(PostgresqlPassword, IsKeptForANewConnection) {
  const DatabaseOwner database = openAsked(right);
  server().psql(
      "SELECT pg_terminate_backend(pid, 20000) FROM pg_stat_activity WHERE usename = 'guarded'");
  GSqlQuery query(sqlOf(database), "SELECT 1");
  EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(asked.size(), 1U);
}

TEST_F(PostgresqlPassword, AWrongOneIsNotAskedForAgain) {
  const DatabaseOwner database = openAsked("a wrong one");
  EXPECT_EQ(status, GDbCantOpenFile);
  EXPECT_EQ(asked.size(), 1U);
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_NE(log.texts()[0].find("password authentication failed"), std::string::npos);
  EXPECT_EQ(log.texts()[0].find("a wrong one"), std::string::npos);
}

TEST_F(PostgresqlPassword, WithNobodyToAskTheServersRefusalStands) {
  const DatabaseOwner database = openAsked("");
  EXPECT_EQ(status, GDbCantOpenFile);
  EXPECT_EQ(asked.size(), 1U);
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_NE(log.texts()[0].find("no password supplied"), std::string::npos);
  GDbDatabase* unasked = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase(locator().c_str(), &unasked), GDbCantOpenFile);
}

TEST_F(PostgresqlPassword, IsTakenFromThePasswordFileUnasked) {
  const std::string path = server().directory() + "/passwords";
  std::ofstream(path) << "127.0.0.1:*:*:guarded:se'c\\:r@e/t%?\\\\\n";
  ASSERT_EQ(std::system(("chmod 600 " + path).c_str()), 0);
  ::setenv("PGPASSFILE", path.c_str(), 1);
  const DatabaseOwner database = openAsked("never");
  EXPECT_EQ(status, GDbNoError) << (log.texts().empty() ? "" : log.texts()[0]);
  EXPECT_EQ(asked, Texts());
}

TEST_F(PostgresqlPassword, IsTakenFromTheEnvironmentUnasked) {
  ::setenv("PGPASSWORD", right, 1);
  const DatabaseOwner database = openAsked("never");
  EXPECT_EQ(status, GDbNoError);
  EXPECT_EQ(asked, Texts());
}

// In each of its places in a URI, with every character that has a meaning there.
TEST_F(PostgresqlPassword, IsTakenFromTheLocatorAndShownNowhere) {
  const std::string escaped = "se'c%3Ar%40e%2Ft%25%3F%5C";
  for (const std::string& given :
       {"postgresql://guarded:" + escaped + "@" + place() + "/postgres",
        "postgres://guarded@" + place() + "/postgres?password=" + escaped,
        "PostgreSQL://" + place() + "/postgres?pass%77ord=" + escaped + "&user=guarded",
        "postgresql://guarded:" + escaped + "@" + place() + "/postgres?sslmode=disable"}) {
    const DatabaseOwner database = openDb(given);
    ASSERT_NE(database, nullptr) << given;
    Texts shown = {database->getName()};
    GSqlDatabaseImpl* sql = sqlOf(database);
    for (const char* statement :
         {"SELEKT", "SELECT 1/0", "SET ROLE nosuch", "SELECT * FROM nosuch"}) {
      GSqlQuery query(sql);
      EXPECT_NE(query.exec(statement), GDbNoError);
      shown.push_back(query.getLastError().getText());
    }
    server().psql(
        "SELECT pg_terminate_backend(pid, 20000) FROM pg_stat_activity WHERE usename = 'guarded'");
    GSqlQuery query(sql, "SELECT 1");
    EXPECT_EQ(query.exec(), GDbNoError);
    for (const std::string& text : log.texts()) shown.push_back(text);
    for (const std::string& text : shown)
      for (const char* part : {"se'c", "r@e", "r%40e", "%2Ft", "t%"})
        EXPECT_EQ(text.find(part), std::string::npos) << text;
  }
}

}  // namespace
