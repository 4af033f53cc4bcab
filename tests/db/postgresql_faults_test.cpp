// SPDX-License-Identifier: MIT
// Connections that break: at each message of the server, cleanly, truncated and
// by a reset; servers that stop, start again and do not answer.
#include <chrono>
#include <functional>

#include "tests/db/fault_proxy.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

constexpr Cut allCuts[] = {Cut::cleanly, Cut::truncated, Cut::byReset};

class PostgresqlFaults : public PostgresqlFixture {
 protected:
  void SetUp() override {
    PostgresqlFixture::SetUp();
    run("CREATE TABLE t (n int, s text)");
    far = openDb(farLocator());
    farSql = sqlOf(far);
    ASSERT_NE(farSql, nullptr);
  }
  void TearDown() override {
    farTable.reset();
    far.reset();
    PostgresqlFixture::TearDown();
  }

  std::string farLocator() {
    return PostgresqlServer::shared().tcpUri("postgres", proxy.port()) +
           "&gssencmode=disable&connect_timeout=3&options=-csearch_path%3Dscratch";
  }
  GDbTable* openFar() {
    farTable = openTable(far, "t");
    return farTable.get();
  }
  GDbStatus farRun(const std::string& statement) {
    GSqlQuery query(farSql);
    return query.exec(statement);
  }
  Texts numbers() { return rowsOf("SELECT n FROM t ORDER BY n"); }

  FaultProxy proxy{PostgresqlServer::shared().port()};
  DatabaseOwner far;  // by the proxy
  TableOwner farTable;
  GSqlDatabaseImpl* farSql = nullptr;
};

// Runs `work` with the connection cut at message 0, 1, 2, ... of the server, in
// each way, until the work needs no more messages. Behind each cut the next
// operation works again. `check` looks at what is left behind.
class EveryCut {
 public:
  EveryCut(FaultProxy* itsProxy, GSqlDatabaseImpl* itsDatabase)
      : proxy(itsProxy), database(itsDatabase) {}

  void run(const std::function<GDbStatus()>& work, const std::function<void(GDbStatus)>& check) {
    for (const Cut how : allCuts) {
      int message = 0;
      for (; message < 500; ++message) {
        CaptureLog log;
        proxy->cutAt(message, how);
        const GDbStatus status = work();
        const bool cut = proxy->hasCut();
        proxy->mend();
        if (cut) {
          // A cut behind the last message that the work waits for is not seen.
          EXPECT_TRUE(status == GDbIoError || status == GDbNoError) << gDbStrError(status);
        } else {
          EXPECT_EQ(status, GDbNoError) << database->getLastError().getText();
        }
        GSqlQuery next(database);
        EXPECT_EQ(next.exec("SELECT 1"), GDbNoError)
            << "message " << message << ": " << next.getLastError().getText();
        check(status);
        if (!cut) break;
      }
      EXPECT_GT(message, 0);
      EXPECT_LT(message, 500);
    }
  }

 private:
  FaultProxy* proxy;
  GSqlDatabaseImpl* database;
};

TEST_F(PostgresqlFaults, AStatementRunsOnceOrNotAtAll) {
  int number = 0;
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            ++number;
            GSqlQuery query(farSql, "INSERT INTO t VALUES (?, 'x')");
            const GDbStatus bound = query.bindInt(0, number);
            return bound != GDbNoError ? bound : query.exec();
          },
          [&](GDbStatus status) {
            const Texts count =
                rowsOf("SELECT count(*) FROM t WHERE n = " + std::to_string(number));
            if (status == GDbNoError)
              EXPECT_EQ(count, Texts{"1"});
            else
              EXPECT_TRUE(count == Texts{"0"} || count == Texts{"1"}) << count[0];
          });
}

TEST_F(PostgresqlFaults, RowsEndInAFailureAndNotAsIfThatWereAll) {
  int rows = 0;
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            rows = 0;
            GSqlQuery query(farSql, "SELECT n FROM generate_series(1, 40) n");
            GDbStatus status = query.exec();
            while (status == GDbNoError && (status = query.next()) == GDbNoError) ++rows;
            return status == GDbNoMoreRecords ? GDbNoError : status;
          },
          [&](GDbStatus status) {
            if (status == GDbNoError) {
              EXPECT_EQ(rows, 40);
            }
          });
}

TEST_F(PostgresqlFaults, RowsThatAreSetAsideEndInAFailureToo) {
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            GSqlQuery query(farSql, "SELECT n FROM generate_series(1, 20) n");
            GDbStatus status = query.exec();
            if (status != GDbNoError) return status;
            farRun("SELECT 2");
            int rows = 0;
            while ((status = query.next()) == GDbNoError) ++rows;
            if (status == GDbNoMoreRecords) {
              EXPECT_EQ(rows, 20);
            }
            return status == GDbNoMoreRecords ? GDbNoError : status;
          },
          [](GDbStatus) {});
}

TEST_F(PostgresqlFaults, ABatchIsInsertedOnceOrNotAtAll) {
  openFar();
  int begin = 0;
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            begin += 100;
            GDbRecordSet records;
            for (int i = 0; i < 20; ++i) addPair(&records, begin + i, "");
            return farTable->insertRecords(records);
          },
          [&](GDbStatus status) {
            const std::string count =
                rowsOf("SELECT count(*) FROM t WHERE n BETWEEN " + std::to_string(begin) + " AND " +
                       std::to_string(begin + 19))[0];
            EXPECT_TRUE(count == "20" || (status != GDbNoError && count == "0")) << count;
          });
}

TEST_F(PostgresqlFaults, TablesAndLookupsGoOnBehindACut) {
  run("INSERT INTO t VALUES (5, 'five')");
  openFar();
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            GDbRecordSet found;
            const GDbStatus status = farTable->lookupKey(GDbKey(0, 5), &found);
            if (status == GDbNoError) {
              EXPECT_EQ(textsOf(found), Texts{"5|five"});
            }
            return status;
          },
          [](GDbStatus) {});
  EveryCut(&proxy, farSql).run([&] { return farSql->tableExists("t"); }, [](GDbStatus) {});
  const GDbStructure structure = structureOf({{"a", GDbFieldInt}});
  EveryCut(&proxy, farSql)
      .run(
          [&] {
            run("SET client_min_messages = warning");
            run("DROP TABLE IF EXISTS made");
            GDbTable* made = nullptr;
            const GDbStatus status = far->createTable("made", &structure, &made);
            delete made;
            return status;
          },
          [](GDbStatus) {});
}

TEST_F(PostgresqlFaults, WithATransactionEverythingOfItIsGone) {
  for (const Cut how : allCuts) {
    for (int message = 0; message < 12; ++message) {
      run("DELETE FROM t");
      CaptureLog log;
      ASSERT_EQ(farSql->begin(), GDbNoError);
      ASSERT_EQ(farRun("INSERT INTO t VALUES (1, '')"), GDbNoError);
      proxy.cutAt(message, how);
      GDbStatus first = GDbNoError;
      for (int i = 0; i < 4 && first == GDbNoError; ++i)
        first = farRun("INSERT INTO t VALUES (2, '')");
      proxy.mend();
      if (first != GDbNoError) {
        EXPECT_EQ(first, GDbIoError);
        EXPECT_EQ(farRun("INSERT INTO t VALUES (3, '')"), GDbIoError) << "not by itself either";
        EXPECT_EQ(farSql->begin(), GDbIoError);
        EXPECT_NE(farSql->getLastError().getText().find("transaction"), std::string::npos);
        EXPECT_EQ(message % 2 == 0 ? farSql->rollback() : farSql->commit(),
                  message % 2 == 0 ? GDbNoError : GDbIoError);
      } else {
        EXPECT_EQ(farSql->rollback(), GDbNoError);
      }
      EXPECT_EQ(farRun("INSERT INTO t VALUES (4, '')"), GDbNoError) << "connected again";
      EXPECT_EQ(numbers(), Texts{"4"});
    }
  }
}

TEST_F(PostgresqlFaults, ANestedTransactionThatWasLostEndsLevelByLevel) {
  CaptureLog log;
  EXPECT_EQ(farSql->begin(), GDbNoError);
  EXPECT_EQ(farSql->begin(), GDbNoError);
  proxy.cutAll();
  EXPECT_EQ(farRun("SELECT 1"), GDbIoError);
  EXPECT_EQ(farSql->rollback(), GDbNoError);
  EXPECT_EQ(farRun("SELECT 1"), GDbIoError);
  EXPECT_EQ(farSql->commit(), GDbIoError);
  EXPECT_EQ(farRun("SELECT 1"), GDbNoError);
  EXPECT_EQ(farSql->commit(), GDbSqlError);
}

TEST_F(PostgresqlFaults, ACommitWithoutAnAnswerIsAFailure) {
  CaptureLog log;
  ASSERT_EQ(farSql->begin(), GDbNoError);
  ASSERT_EQ(farRun("INSERT INTO t VALUES (1, '')"), GDbNoError);
  proxy.cutAt(0, Cut::cleanly);
  EXPECT_EQ(farSql->commit(), GDbIoError);
  proxy.mend();
  EXPECT_EQ(farRun("SELECT 1"), GDbIoError) << "nobody has ended it yet";
  EXPECT_EQ(farSql->rollback(), GDbNoError);
  EXPECT_EQ(farRun("SELECT 1"), GDbNoError);
}

TEST_F(PostgresqlFaults, AConnectionThatBreaksBetweenTwoOperationsIsMadeAnew) {
  openFar();
  GDbRecordSet records;
  addPair(&records, 1, "one");
  ASSERT_EQ(farTable->insertRecords(records), GDbNoError);
  proxy.cutAll();
  CaptureLog log;
  GDbRecordSet found;
  EXPECT_EQ(farTable->lookupKey(GDbKey(0, 1), &found), GDbNoError);
  EXPECT_EQ(found.getNumRecords(), 1U);
  EXPECT_EQ(log.texts(),
            Texts{"Connection to database " + far->getName() + " was lost; connected again."});
  proxy.cutAll();
  EXPECT_EQ(farTable->insertRecords(records), GDbNoError) << "its statement is prepared anew";
  EXPECT_EQ(numbers(), (Texts{"1", "1"}));
  proxy.cutAll();
  EXPECT_EQ(scan(farTable.get()).size(), 2U) << farSql->getLastError().getText();
  proxy.cutAll();
  EXPECT_EQ(farSql->begin(), GDbNoError);
  EXPECT_EQ(farSql->commit(), GDbNoError);
}

TEST_F(PostgresqlFaults, AServerThatStopsIsFoundAgain) {
  PostgresqlServer own;
  const DatabaseOwner lasting = openDb(own.tcpUri());
  GSqlDatabaseImpl* sqlDatabase = sqlOf(lasting);
  GSqlQuery query(sqlDatabase, "SELECT 1");
  EXPECT_EQ(query.exec(), GDbNoError);
  for (const bool atOnce : {false, true}) {
    EXPECT_EQ(query.reset(), GDbNoError);
    own.stop(atOnce);
    CaptureLog log;
    EXPECT_EQ(query.exec(), GDbIoError);
    EXPECT_EQ(query.exec(), GDbIoError) << "still";
    own.start();
    EXPECT_EQ(query.exec(), GDbNoError);
    EXPECT_EQ(query.next(), GDbNoError);
    EXPECT_EQ(log.texts().back(),
              "Connection to database " + lasting->getName() + " was lost; connected again.");
    own.stop(atOnce);
    own.start();
    EXPECT_EQ(query.exec(), GDbNoError) << "stopped and started in between";
  }
}

// Rows have come, and the server is busy with more; one that waits for us to
// take rows off it would end the session without a word.
TEST_F(PostgresqlFaults, AServerThatEndsOurSessionSaysSo) {
  CaptureLog log;
  GSqlQuery query(farSql,
                  "SELECT n, repeat('x', 10000) FROM generate_series(1, 9) n "
                  "WHERE n < 9 OR pg_sleep(60) IS NULL");
  EXPECT_EQ(query.exec(), GDbNoError);
  run("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE pid <> pg_backend_pid() AND "
      "backend_type = 'client backend'");
  GDbStatus status = GDbNoError;
  while (status == GDbNoError) status = query.next();
  EXPECT_EQ(status, GDbIoError);
  EXPECT_EQ(query.getLastError().getSqlState(), "57P01");
  EXPECT_EQ(farRun("SELECT 1"), GDbNoError);
}

TEST_F(PostgresqlFaults, TimesOutAsTheUriSays) {
  const DatabaseOwner hurried = openDb(locator() + "%20-cstatement_timeout%3D50");
  GSqlQuery query(sqlOf(hurried));
  EXPECT_EQ(query.exec("SELECT pg_sleep(20)"), GDbSqlError);
  EXPECT_EQ(query.getLastError().getSqlState(), "57014");
  EXPECT_EQ(query.exec("SELECT 1"), GDbNoError);
  query.reset();

  const DatabaseOwner waiting = openDb(locator() + "%20-clock_timeout%3D50");
  GSqlQuery blocked(sqlOf(waiting));
  EXPECT_EQ(sql->begin(), GDbNoError);
  run("LOCK TABLE t");
  EXPECT_EQ(blocked.exec("INSERT INTO t VALUES (1, '')"), GDbLockFailed);
  EXPECT_EQ(blocked.getLastError().getSqlState(), "55P03");
  EXPECT_EQ(sql->rollback(), GDbNoError);
}

TEST_F(PostgresqlFaults, AServerThatDoesNotAnswerIsGivenUp) {
  proxy.setSilent(true);
  CaptureLog log;
  GDbDatabase* none = nullptr;
  const std::string silent = PostgresqlServer::shared().tcpUri("postgres", proxy.port()) +
                             "&gssencmode=disable&connect_timeout=2";
  EXPECT_EQ(GDbDatabase::openDatabase(silent.c_str(), &none), GDbCantOpenFile);
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_NE(log.texts()[0].find("timeout"), std::string::npos) << log.texts()[0];
}

TEST_F(PostgresqlFaults, WrongUsersAndDatabasesAreToldOf) {
  struct Wrong {
    std::string locator;
    const char* word;
  };
  for (const Wrong& row : {Wrong{server().tcpUri("nosuch"), "nosuch"},
                           Wrong{server().tcpUri() + "&user=stranger", "stranger"}}) {
    CaptureLog log;
    GDbDatabase* none = nullptr;
    EXPECT_EQ(GDbDatabase::openDatabase(row.locator.c_str(), &none), GDbCantOpenFile);
    ASSERT_EQ(log.texts().size(), 1U);
    EXPECT_NE(log.texts()[0].find(row.word), std::string::npos);
  }
}

// The distance counts for a batch and not for a record.
TEST_F(PostgresqlFaults, ADistantServerIsAskedOnceForManyRecords) {
  openFar();
  GDbRecordSet records;
  for (int i = 0; i < 10000; ++i) addPair(&records, i, "text");
  const int before = proxy.turns();
  EXPECT_EQ(farTable->insertRecords(records), GDbNoError);
  EXPECT_LE(proxy.turns() - before, 60);
  EXPECT_EQ(rowsOf("SELECT count(*) FROM t"), Texts{"10000"});
  proxy.setDelay(std::chrono::milliseconds(1));
  EXPECT_EQ(farTable->insertRecords(records), GDbNoError);
  EXPECT_EQ(rowsOf("SELECT count(*) FROM t"), Texts{"20000"});
}

}  // namespace
