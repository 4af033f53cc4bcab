// SPDX-License-Identifier: MIT
// Transactions on a PostgreSQL server, nested ones, and those to be repeated.
#include "loomkit/db/sql/run_transaction.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

class PostgresqlTransaction : public PostgresqlFixture {
 protected:
  void SetUp() override {
    PostgresqlFixture::SetUp();
    run("CREATE TABLE t (n int PRIMARY KEY)");
  }
  void insert(int number, GDbStatus expected = GDbNoError) {
    run("INSERT INTO t VALUES (" + std::to_string(number) + ")", expected);
  }
  Texts numbers() { return rowsOf("SELECT n FROM t ORDER BY n"); }
};

TEST_F(PostgresqlTransaction, KeepsOrForgets) {
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(1);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(2);
  EXPECT_EQ(sql->rollback(), GDbNoError);
  EXPECT_EQ(numbers(), Texts{"1"});
}

TEST_F(PostgresqlTransaction, EndsOnlyWhatWasBegun) {
  EXPECT_EQ(sql->commit(), GDbSqlError);
  EXPECT_EQ(sql->rollback(), GDbSqlError);
  EXPECT_EQ(sql->getLastError().getSqlState(), "25P01");
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbSqlError);
}

TEST_F(PostgresqlTransaction, NestsBySavepoints) {
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(1);
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(2);
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(3);
  EXPECT_EQ(sql->rollback(), GDbNoError);
  insert(4);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(5);
  insert(5, GDbConstraintViolation);
  insert(6, GDbSqlError);
  EXPECT_EQ(sql->rollback(), GDbNoError) << "makes the outer one good again";
  insert(7);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(numbers(), (Texts{"1", "2", "4", "7"}));
  EXPECT_EQ(sql->commit(), GDbSqlError) << "all are ended";
}

TEST_F(PostgresqlTransaction, OneThatFailedIsNotCommitted) {
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(1);
  insert(1, GDbConstraintViolation);
  EXPECT_EQ(sql->commit(), GDbSqlError);
  EXPECT_EQ(sql->getLastError().getSqlState(), "25P02");
  EXPECT_EQ(numbers(), Texts());
  EXPECT_EQ(sql->rollback(), GDbSqlError) << "it is over";
}

TEST_F(PostgresqlTransaction, KnowsOneThatWasBegunInSql) {
  run("BEGIN");
  insert(1);
  EXPECT_EQ(sql->begin(), GDbNoError);
  insert(2);
  EXPECT_EQ(sql->rollback(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(numbers(), Texts{"1"});
  EXPECT_EQ(sql->begin(), GDbNoError);
  run("ROLLBACK");
  EXPECT_EQ(sql->commit(), GDbSqlError);
}

TEST_F(PostgresqlTransaction, ResetsItsActiveQueries) {
  GSqlQuery query(sql, "SELECT generate_series(1, 100000)");
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_FALSE(query.isActive());
}

// Two transactions that each read what the other writes.
TEST_F(PostgresqlTransaction, OneThatMayBeRepeatedSaysSo) {
  const DatabaseOwner second = open();
  GSqlDatabaseImpl* other = sqlOf(second);
  for (GSqlDatabaseImpl* each : {sql, other}) {
    GSqlQuery query(each);
    EXPECT_EQ(query.exec("SET default_transaction_isolation = 'serializable'"), GDbNoError);
    EXPECT_EQ(each->begin(), GDbNoError);
    EXPECT_EQ(query.exec("SELECT count(*) FROM t"), GDbNoError);
    EXPECT_EQ(query.reset(), GDbNoError);
  }
  insert(1);
  GSqlQuery query(other);
  EXPECT_EQ(query.exec("INSERT INTO t VALUES (2)"), GDbNoError);
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbNoError);
  EXPECT_EQ(other->commit(), GDbLockFailed);
  EXPECT_EQ(other->getLastError().getSqlState(), "40001");
  EXPECT_TRUE(other->getLastError().mayRepeat());
  EXPECT_EQ(numbers(), Texts{"1"});
}

// ---- runTransaction ----

TEST_F(PostgresqlTransaction, RunsWorkUntilTheServerTakesIt) {
  const DatabaseOwner second = open();
  run("SET default_transaction_isolation = 'serializable'");
  run("INSERT INTO t VALUES (100)");
  int calls = 0;
  const GDbStatus status = loomkit::runTransaction(sql, [&] {
    ++calls;
    run("SELECT count(*) FROM t");
    if (calls <= 2) {
      GSqlQuery query(sqlOf(second));
      EXPECT_EQ(query.exec("UPDATE t SET n = n + 1"), GDbNoError);
    }
    GSqlQuery query(sql);
    return query.exec("UPDATE t SET n = n * 10");
  });
  EXPECT_EQ(status, GDbNoError) << sql->getLastError().getText();
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(numbers(), Texts{"1020"});
}

TEST_F(PostgresqlTransaction, RunsWorkNoMoreOftenThanItIsAllowed) {
  const DatabaseOwner second = open();
  run("SET default_transaction_isolation = 'serializable'");
  run("INSERT INTO t VALUES (1)");
  int calls = 0;
  const auto work = [&] {
    ++calls;
    run("SELECT count(*) FROM t");
    GSqlQuery other(sqlOf(second));
    EXPECT_EQ(other.exec("UPDATE t SET n = n + 1"), GDbNoError);
    GSqlQuery query(sql);
    return query.exec("UPDATE t SET n = n * 10");
  };
  EXPECT_EQ(loomkit::runTransaction(sql, work, 4), GDbLockFailed);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(sql->commit(), GDbSqlError) << "none is open";
  EXPECT_EQ(numbers(), Texts{"5"});
}

TEST_F(PostgresqlTransaction, RunsWorkThatFailsForGoodOnce) {
  int calls = 0;
  const auto failing = [&] {
    ++calls;
    insert(1);
    GSqlQuery query(sql);
    return query.exec("INSERT INTO t VALUES (1)");
  };
  EXPECT_EQ(loomkit::runTransaction(sql, failing), GDbConstraintViolation);
  EXPECT_EQ(loomkit::runTransaction(sql, [&] { return ++calls, GDbInvalidState; }),
            GDbInvalidState);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(numbers(), Texts());
  EXPECT_EQ(loomkit::runTransaction(nullptr, failing), GDbInvalidArgument);
  EXPECT_EQ(loomkit::runTransaction(sql, nullptr), GDbInvalidArgument);
  EXPECT_EQ(loomkit::runTransaction(sql, failing, 0), GDbInvalidArgument);
  EXPECT_EQ(calls, 2);
}

TEST_F(PostgresqlTransaction, RollsBackWorkThatThrows) {
  const auto work = [&]() -> GDbStatus {
    insert(1);
    throw 5;
  };
  EXPECT_THROW(loomkit::runTransaction(sql, work), int);
  EXPECT_EQ(numbers(), Texts());
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_EQ(sql->commit(), GDbNoError);
}

}  // namespace
