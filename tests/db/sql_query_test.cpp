// SPDX-License-Identifier: MIT
// The handles of the SQL layer: errors, queries, and what closing does to them.
#include "loomkit/db/sql/sql_query.h"

#include <memory>

#include "loomkit/db/sql/sql_query_data.h"
#include "loomkit/db/sql/sql_query_set.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

TEST(SqlError, JoinsTheDriversAndTheDatabasesWords) {
  EXPECT_EQ(GSqlError(GDbSqlError).getText(), "SQL error");
  EXPECT_EQ(GSqlError(GDbSqlError, "x").getText(), "SQL error (x)");
  EXPECT_EQ(GSqlError(GDbNoError, "x").getText(), "x");
  EXPECT_EQ(GSqlError(GDbNoError).getText(), "");
  EXPECT_EQ(GSqlError().getText(), "");
  EXPECT_EQ(GSqlError().getStatus(), GDbNoError);
  EXPECT_EQ(GSqlError().getDriverText(), "");
  EXPECT_EQ(GSqlError().getDatabaseText(), "");
  EXPECT_EQ(GSqlError(GDbNoError, "x").getDriverText(), "");
}

TEST(SqlError, SharesItsBlockBetweenCopies) {
  GSqlError first(GDbIoError, "disk");
  GSqlError second(first);
  EXPECT_EQ(&first.getDatabaseText(), &second.getDatabaseText());
  GSqlError& self = first;
  first = self;
  EXPECT_EQ(first.getText(), "input/output error (disk)");
  first = GSqlError();
  EXPECT_EQ(first.getStatus(), GDbNoError);
  EXPECT_EQ(second.getStatus(), GDbIoError);
}

TEST(SqlQuerySet, FindsItsQueriesAmongManyOfOneChain) {
  loomkit::SqlQuerySet set;
  const auto query = [](std::uintptr_t n) { return reinterpret_cast<GSqlQueryData*>(n << 10); };
  for (std::uintptr_t n = 1; n <= 100; ++n) set.insert(query(n));
  EXPECT_EQ(set.size(), 100U);
  for (std::uintptr_t n = 2; n <= 100; n += 2) set.erase(query(n));
  set.erase(query(1000));
  EXPECT_EQ(set.size(), 50U);
  std::uintptr_t sum = 0;
  set.forEach([&](GSqlQueryData* one) { sum += reinterpret_cast<std::uintptr_t>(one) >> 10; });
  EXPECT_EQ(sum, 2500U);
  set.clear();
  EXPECT_EQ(set.size(), 0U);
}

TEST(SqlQueryNull, TheNullHandleAnswersEverything) {
  GSqlQuery query;
  EXPECT_TRUE(query.isNull());
  EXPECT_EQ(query.exec(), GDbNotOpen);
  EXPECT_EQ(query.exec("SELECT 1;"), GDbNotOpen);
  EXPECT_EQ(query.prepare("SELECT 1;"), GDbNotOpen);
  EXPECT_EQ(query.getLastError().getStatus(), GDbQueryNotInitialized);
  EXPECT_TRUE(query.isForwardOnly());
  EXPECT_FALSE(query.isActive());
  EXPECT_FALSE(query.isSelect());
  EXPECT_FALSE(query.isValid());
  EXPECT_EQ(query.getStatement(), "");
  EXPECT_EQ(query.getSqlDatabase(), nullptr);
  EXPECT_EQ(query.getRecord(), nullptr);
  EXPECT_EQ(query.getNumRowsAffected(), -1);
  EXPECT_EQ(query.getSize(), -1);
  GDbRecordSet set;
  EXPECT_EQ(query.getResult(&set), GDbNotOpen);
  EXPECT_TRUE(GSqlQuery(static_cast<GSqlDatabase*>(nullptr)).isNull());
  EXPECT_TRUE(GSqlQuery(nullptr, "x").isNull());
}

TEST(SqlQueryNull, GettersClearTheirResultsFirst) {
  GSqlQuery query;
  int number = 5;
  std::int64_t wide = 5;
  double real = 5;
  std::string text = "5";
  const void* data = &number;
  unsigned size = 5;
  auto* record = reinterpret_cast<GDbRecord*>(&number);
  EXPECT_EQ(query.getInt(0, &number), GDbNotOpen);
  EXPECT_EQ(query.getInt64(0, &wide), GDbNotOpen);
  EXPECT_EQ(query.getDouble(0, &real), GDbNotOpen);
  EXPECT_EQ(query.getText(0, &text), GDbNotOpen);
  EXPECT_EQ(query.getBlob(0, &data, &size), GDbNotOpen);
  EXPECT_EQ(query.next(&record), GDbNotOpen);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(wide, 0);
  EXPECT_EQ(real, 0.0);
  EXPECT_EQ(text, "");
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(record, nullptr);
}

class SqlQuery : public ::testing::Test {
 protected:
  ScratchDirectory dir;
  DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/q.db");
  GSqlDatabaseImpl* sql = sqlOf(database);
};

TEST_F(SqlQuery, CopiesShareTheStatementAndItsState) {
  GSqlQuery query(sql, "SELECT 7;");
  GSqlQuery copy(query);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_TRUE(copy.isActive());
  EXPECT_EQ(copy.next(), GDbNoError);
  int value = 0;
  EXPECT_EQ(query.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 7);
  query.clear();
  EXPECT_TRUE(query.isNull());
  EXPECT_TRUE(copy.isValid());
  GSqlQuery& self = copy;
  copy = self;
  EXPECT_EQ(copy.getStatement(), "SELECT 7;");
  EXPECT_EQ(copy.getSqlDatabase(), sql);
}

TEST_F(SqlQuery, AChangedStatementIsForwardOnlyAgain) {
  const std::unique_ptr<GSqlQueryData> data(sql->createQuery("SELECT 1;"));
  EXPECT_TRUE(data->isForwardOnly());
  data->setForwardOnly(false);
  EXPECT_FALSE(data->isForwardOnly());
  data->setStatement("SELECT 2;");
  EXPECT_TRUE(data->isForwardOnly());
}

TEST_F(SqlQuery, AnswersNotOpenAfterTheDatabaseHasClosed) {
  GSqlQuery query(sql, "SELECT ?;");
  GSqlQuery fresh(sql);
  EXPECT_EQ(query.bindInt(0, 1), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_NE(query.getRecord(), nullptr);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(query.bindInt(0, 1), GDbNotOpen);
  EXPECT_EQ(query.getLastError().getStatus(), GDbNotOpen);
  EXPECT_EQ(query.getStatement(), "");
  EXPECT_FALSE(query.isActive());
  EXPECT_FALSE(query.isValid());
  EXPECT_FALSE(query.isSelect());
  EXPECT_EQ(query.getSqlDatabase(), nullptr);
  EXPECT_EQ(query.exec("SELECT 1;"), GDbNotOpen);
  EXPECT_EQ(query.getStatement(), "SELECT 1;") << "the text is stored whatever happens next";
  EXPECT_EQ(fresh.prepare(), GDbNotOpen);
  EXPECT_EQ(query.getRecord(), nullptr);
  GSqlQuery late(sql, "SELECT 1;");
  EXPECT_EQ(late.exec(), GDbNotOpen);
  database.reset();
  EXPECT_EQ(late.exec(), GDbNotOpen) << "made after the close, and outlives the database";
  EXPECT_EQ(query.exec(), GDbNotOpen) << "a handle may outlive its database";
}

TEST_F(SqlQuery, RefusesToBindWhileItIsActive) {
  GSqlQuery query(sql, "SELECT ?;");
  EXPECT_EQ(query.bindInt(0, 1), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  char blob[] = "b";
  EXPECT_EQ(query.bindInt(0, 1), GDbQueryActive);
  EXPECT_EQ(query.getLastError().getStatus(), GDbQueryActive);
  EXPECT_EQ(query.bindInt64(0, 1), GDbQueryActive);
  EXPECT_EQ(query.bindDouble(0, 1), GDbQueryActive);
  EXPECT_EQ(query.bindText(0, "a", -1, true), GDbQueryActive);
  EXPECT_EQ(query.bindBlob(0, blob, 1, true), GDbQueryActive);
  EXPECT_EQ(query.bindNull(0), GDbQueryActive);
  EXPECT_EQ(query.clearBindings(), GDbNoError) << "that one stops the query";
  EXPECT_FALSE(query.isActive());
  EXPECT_EQ(query.bindInt(0, 1), GDbNoError);
}

TEST_F(SqlQuery, BindsPartsOfAText) {
  const std::string text = "abcdef";
  const struct {
    unsigned pos;
    unsigned count;
    const char* bound;
  } rows[] = {{0, GSqlQuery::npos, "abcdef"},
              {2, 3, "cde"},
              {4, 99, "ef"},
              {2, 0xFFFFFFFF, "cdef"},
              {6, 0, ""},
              {1, 0, ""},
              {6, GSqlQuery::npos, ""},
              {2, 0xFFFFFFFE, "cdef"}};
  for (const auto& row : rows) {
    GSqlQuery query(sql, "SELECT ?;");
    ASSERT_EQ(query.bindText(0, text, row.pos, row.count), GDbNoError);
    ASSERT_EQ(query.exec(), GDbNoError);
    ASSERT_EQ(query.next(), GDbNoError);
    std::string found;
    ASSERT_EQ(query.getText(0, &found), GDbNoError);
    EXPECT_EQ(found, row.bound) << row.pos;
  }
  GSqlQuery query(sql, "SELECT ?;");
  EXPECT_EQ(query.bindText(0, text, 7, GSqlQuery::npos), GDbInvalidArgument);
  EXPECT_EQ(query.getLastError().getStatus(), GDbInvalidArgument);
  using BindPart = GDbStatus (GSqlQuery::*)(int, const std::string&, unsigned, unsigned);
  const BindPart bindPart = &GSqlQuery::bindText;
  EXPECT_EQ((query.*bindPart)(0, text, 0, GSqlQuery::npos), GDbNoError);
}

TEST_F(SqlQuery, ANullPointerIsAnInvalidArgument) {
  GSqlQuery query(sql, "SELECT ?;");
  EXPECT_EQ(query.bindText(0, nullptr, -1, true), GDbInvalidArgument);
  EXPECT_EQ(query.getLastError().getStatus(), GDbInvalidArgument);
  EXPECT_EQ(query.bindText(0, nullptr, 0, false), GDbInvalidArgument);
  EXPECT_EQ(query.bindBlob(0, nullptr, 1, true), GDbInvalidArgument);
  EXPECT_EQ(query.bindBlob(0, nullptr, 0, true), GDbNoError) << "binds a NULL";
  ASSERT_EQ(query.bindInt(0, 7), GDbNoError);
  ASSERT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.bindText(0, nullptr, -1, true), GDbQueryActive) << "that is asked first";
  ASSERT_EQ(query.next(), GDbNoError);
  unsigned size = 0;
  const void* bytes = nullptr;
  EXPECT_EQ(query.isNull(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getInt(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getInt64(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getDouble(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getText(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getBlob(0, nullptr, &size), GDbInvalidArgument);
  EXPECT_EQ(query.getBlob(0, &bytes, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getResult(nullptr), GDbInvalidArgument);
  int value = 0;
  EXPECT_EQ(query.getInt(0, &value), GDbNoError) << "the query goes on";
  EXPECT_EQ(value, 7);
  EXPECT_EQ(GSqlQuery().bindText(0, nullptr, -1, true), GDbNotOpen);
}

TEST_F(SqlQuery, AParameterNumberWithoutASuccessorIsRefused) {
  GSqlQuery query(sql, "SELECT ?;");
  EXPECT_EQ(query.bindInt(2147483647, 1), GDbInternalError);
}

// The query data of a driver of the test's own.
class OwnQueryData : public GSqlQueryData {
 public:
  OwnQueryData(GSqlDatabaseImpl* owner) : GSqlQueryData(owner) {}
  [[nodiscard]] bool isActive() const override { return false; }
  [[nodiscard]] bool isValid() const override { return false; }
  [[nodiscard]] bool isSelect() const override { return false; }
  GDbStatus complain() { return getDatabase()->setError(GDbIoError, "own words"); }
  GDbStatus complainBriefly() { return getDatabase()->setError(GDbIoError); }
  void stopAll() { getDatabase()->resetActiveQueries(); }
};

TEST_F(SqlQuery, ADriversOwnQueryDataMayReportErrorsAndResetQueries) {
  auto* impl = dynamic_cast<GSqlDatabaseImpl*>(sql);
  ASSERT_NE(impl, nullptr);
  OwnQueryData data = impl;
  EXPECT_EQ(data.complain(), GDbIoError);
  EXPECT_EQ(impl->getLastError().getText(), "input/output error (own words)");
  EXPECT_EQ(data.complainBriefly(), GDbIoError);
  EXPECT_EQ(impl->getLastError().getDatabaseText(), "");
  GSqlQuery query(sql, "SELECT 1;");
  ASSERT_EQ(query.exec(), GDbNoError);
  data.stopAll();
  EXPECT_FALSE(query.isActive());
}

TEST_F(SqlQuery, TransactionModesAndFeaturesHaveNames) {
  EXPECT_EQ(GSqlDatabase::defaultTransactionMode, -2);
  EXPECT_EQ(sql->getTransactionMode(), 3);
  EXPECT_EQ(sql->getDefaultTransactionMode(), 3);
  sql->setTransactionMode(1);
  EXPECT_EQ(sql->getTransactionMode(), 3) << "SQLite has one mode";
  EXPECT_EQ(sql->getFeatureLevel(GSqlDatabase::basicFeature), 1);
  EXPECT_EQ(sql->getFeatureLevel(0), GSqlDatabase::unknownFeatureLevel);
  EXPECT_EQ(sql->getFeatureLevel(2), -1);
}

TEST_F(SqlQuery, KeepsTheDriversWordsOfItsOwnFailure) {
  GSqlQuery bad(sql);
  EXPECT_EQ(bad.exec("SELEC 1;"), GDbSqlError);
  EXPECT_EQ(bad.getLastError().getText(), "SQL error (near \"SELEC\": syntax error)");
  EXPECT_EQ(sql->getLastError().getText(), bad.getLastError().getText());
  GSqlQuery good(sql);
  EXPECT_EQ(good.exec("SELECT 1;"), GDbNoError);
  EXPECT_EQ(good.getLastError().getStatus(), GDbNoError);
  EXPECT_EQ(sql->getLastError().getStatus(), GDbSqlError) << "success clears nothing";
}

TEST_F(SqlQuery, TheCurrentRecordIsKeptUntilTheNextMove) {
  GSqlQuery query(sql, "SELECT 1 UNION SELECT 2;");
  EXPECT_EQ(query.getRecord(), nullptr);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.getRecord(), nullptr);
  EXPECT_EQ(query.getLastError().getStatus(), GDbNotPositioned);
  EXPECT_EQ(query.next(), GDbNoError);
  const GDbRecord* record = query.getRecord();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->getIntField(0), 1);
  EXPECT_EQ(query.getRecord(), record);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.getRecord()->getIntField(0), 2);
}

TEST_F(SqlQuery, MovesHandOutRecordsThatTheCallerOwns) {
  GSqlQuery query(sql, "SELECT 1 UNION SELECT 2;");
  ASSERT_EQ(query.exec(), GDbNoError);
  GDbRecord* record = nullptr;
  ASSERT_EQ(query.first(&record), GDbNoError);
  EXPECT_EQ(record->getIntField(0), 1);
  record->deleteRecord();
  ASSERT_EQ(query.seek(1, true, &record), GDbNoError);
  EXPECT_EQ(record->getIntField(0), 2);
  record->deleteRecord();
  EXPECT_EQ(query.next(&record), GDbNoMoreRecords);
  EXPECT_EQ(record, nullptr);
}

TEST_F(SqlQuery, CollectsAWholeResult) {
  GDbRecordSet set;
  GSqlQuery query(sql, "SELECT 1 UNION SELECT 2;");
  EXPECT_EQ(query.getResult(&set), GDbQueryNotActive);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.getResult(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), (std::vector<std::string>{"1", "2"}));
  GSqlQuery none(sql, "SELECT 1 WHERE 0;");
  EXPECT_EQ(none.exec(), GDbNoError);
  EXPECT_EQ(none.getResult(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 2U);
  GSqlQuery change(sql, "CREATE TABLE t (a);");
  EXPECT_EQ(change.exec(), GDbNoError);
  EXPECT_EQ(change.getResult(&set), GDbNoResult);
}

}  // namespace
