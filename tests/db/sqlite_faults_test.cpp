// SPDX-License-Identifier: MIT
// A sqlite3 library that is missing, incomplete or failing, and files that are
// no databases.
#include <sys/stat.h>

#include <functional>

#include "loomkit/db/sql/sql_description.h"
#include "loomkit/db/sqlite/result_code.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using loomkit::DsoCalls;
using loomkit::platformDsoCalls;
using loomkit::Sqlite3Library;
using Texts = std::vector<std::string>;

// ---- loading ----

std::string missingSymbol;
int symbolCalls = 0;
int openHandles = 0;

DsoCalls countingCalls() {
  return {[](const char* name, int flags, void** handle) {
            const int status = platformDsoCalls().open(name, flags, handle);
            if (status >= 0) ++openHandles;
            return status;
          },
          [](void* handle, const char* name, void** address) {
            ++symbolCalls;
            if (missingSymbol == name) return -1;
            return platformDsoCalls().symbol(handle, name, address);
          },
          [](void* handle) {
            --openHandles;
            platformDsoCalls().close(handle);
          }};
}

TEST(Sqlite3Library, FailsWithoutALibraryAndTriesAgain) {
  Sqlite3Library library;
  DsoCalls none = platformDsoCalls();
  none.open = [](const char* name, int, void**) {
    EXPECT_EQ(std::string(name).find("sqlite3") != std::string::npos, true) << name;
    return -1;
  };
  EXPECT_FALSE(library.load(none));
  EXPECT_FALSE(library.load(none));
  EXPECT_TRUE(library.load(platformDsoCalls()));
  EXPECT_TRUE(library.load(none)) << "loaded once is loaded";
  EXPECT_GT(library.api.libversion_number(), 3000000);
}

TEST(Sqlite3Library, NeedsEveryOneOfItsFunctions) {
  const char* const names[] = {"sqlite3_open",
                               "sqlite3_exec",
                               "sqlite3_close",
                               "sqlite3_prepare_v2",
                               "sqlite3_step",
                               "sqlite3_finalize",
                               "sqlite3_reset",
                               "sqlite3_busy_timeout",
                               "sqlite3_errmsg",
                               "sqlite3_column_count",
                               "sqlite3_column_type",
                               "sqlite3_column_decltype",
                               "sqlite3_column_int",
                               "sqlite3_column_int64",
                               "sqlite3_column_double",
                               "sqlite3_column_text",
                               "sqlite3_column_blob",
                               "sqlite3_column_bytes",
                               "sqlite3_bind_int",
                               "sqlite3_bind_int64",
                               "sqlite3_bind_double",
                               "sqlite3_bind_text",
                               "sqlite3_bind_blob",
                               "sqlite3_bind_null",
                               "sqlite3_clear_bindings",
                               "sqlite3_changes",
                               "sqlite3_total_changes",
                               "sqlite3_free",
                               "sqlite3_libversion_number"};
  openHandles = 0;
  for (const char* name : names) {
    missingSymbol = name;
    Sqlite3Library library;
    EXPECT_FALSE(library.load(countingCalls())) << name;
    EXPECT_EQ(openHandles, 0) << "the library is closed again";
    missingSymbol.clear();
    EXPECT_TRUE(library.load(countingCalls())) << name;
    EXPECT_EQ(openHandles, 1);
    openHandles = 0;
  }
  symbolCalls = 0;
  Sqlite3Library library;
  EXPECT_TRUE(library.load(countingCalls()));
  EXPECT_EQ(symbolCalls, 37)
      << "29 functions, an optional one by a name of those, and 7 that describe statements";
  EXPECT_EQ(reinterpret_cast<void*>(library.api.openWithFlags),
            reinterpret_cast<void*>(library.api.open));
}

TEST(Sqlite3Library, ANullAddressIsAMissingFunction) {
  DsoCalls calls = platformDsoCalls();
  calls.symbol = [](void*, const char*, void** address) {
    *address = nullptr;
    return 0;
  };
  Sqlite3Library library;
  EXPECT_FALSE(library.load(calls));
}

// ---- opening ----

// Lets a test replace functions of the process's library for a while.
class ApiGuard {
 public:
  ApiGuard() {
    EXPECT_TRUE(loomkit::sqlite3Library().load());
    saved = loomkit::sqlite3Library().api;
  }
  ApiGuard(const ApiGuard&) = delete;
  ApiGuard& operator=(const ApiGuard&) = delete;
  ~ApiGuard() { loomkit::sqlite3Library().api = saved; }
  [[nodiscard]] loomkit::Sqlite3Api& api() const { return loomkit::sqlite3Library().api; }

 private:
  loomkit::Sqlite3Api saved;
};

int flagsSeen = 0;
std::string pathSeen;

TEST(SqliteOpen, TakesItsFlagsFromTheOptions) {
  const ApiGuard guard;
  const struct {
    const char* options;
    int flags;
  } rows[] = {{"", 2},
              {"?", 2},
              {"?readonly", 1},
              {"?readwrite", 2},
              {"?create", 6},
              {"?readonly;readwrite", 2},
              {"?readonly;create", 6},
              {"?READONLY", 2},
              {"?readonly ", 2},
              {"?other;readonly", 1}};
  for (const auto& row : rows) {
    guard.api().openWithFlags = [](const char* path, sqlite3** db, int flags, const char*) {
      pathSeen = path;
      flagsSeen = flags;
      *db = nullptr;
      return 14;
    };
    GDbDatabase* database = nullptr;
    const std::string locator = std::string("sqlite3:/a%20b") + row.options;
    EXPECT_EQ(GDbDatabase::openDatabase(locator.c_str(), &database), GDbCantOpenFile);
    EXPECT_EQ(flagsSeen, row.flags) << row.options;
    EXPECT_EQ(pathSeen, "/a b");
  }
}

TEST(SqliteOpen, TheFlagsHaveNoEffectOnTheConnection) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/new.db?readonly");
  GSqlQuery query(sqlOf(database));
  EXPECT_EQ(query.exec("CREATE TABLE t (a);"), GDbNoError) << "made, and writable";
}

TEST(SqliteOpen, WithoutTheOptionalFunctionAMissingFileIsRefused) {
  const ApiGuard guard;
  guard.api().openWithFlags = nullptr;
  const ScratchDirectory dir;
  const std::string path = dir.path() + "/x.db";
  GDbDatabase* database = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase(("sqlite3:" + path).c_str(), &database), GDbCantOpenFile);
  EXPECT_EQ(GDbDatabase::openDatabase(("sqlite3:" + path + "?readonly").c_str(), &database),
            GDbCantOpenFile);
  EXPECT_FALSE(std::filesystem::exists(path));
  {
    const DatabaseOwner made = openDb("sqlite3:" + path + "?create");
    GSqlQuery query(sqlOf(made));
    EXPECT_EQ(query.exec("CREATE TABLE t (a);"), GDbNoError);
  }
  EXPECT_NE(openDb("sqlite3:" + path), nullptr);
}

TEST(SqliteOpen, LogsWhyItFailed) {
  CaptureLog log;
  GDbDatabase* database = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase("sqlite3:/no/such/dir/x.db", &database), GDbCantOpenFile);
  EXPECT_EQ(log.texts(), Texts{"Failed to open database /no/such/dir/x.db (error 14)."});
}

TEST(SqliteOpen, AFailingBusyTimeoutClosesTheConnection) {
  const ApiGuard guard;
  guard.api().busy_timeout = [](sqlite3*, int milliseconds) {
    EXPECT_EQ(milliseconds, 10000);
    return 7;
  };
  const ScratchDirectory dir;
  CaptureLog log;
  GDbDatabase* database = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase(("sqlite3:" + dir / "x.db").c_str(), &database),
            GDbOutOfMemory);
  EXPECT_EQ(log.texts(), Texts{"Failed to set busy timeout of Sqlite3 database."});
}

// ---- failing calls ----

int failingCode = 0;

// Every result code, at every call that gives one.
TEST(SqliteFaults, EveryCodeOfEveryCallBecomesItsStatus) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/f.db");
  GSqlDatabaseImpl* sql = sqlOf(database);
  char blob[] = "x";
  using Break = std::function<void(loomkit::Sqlite3Api*)>;
  using Try = std::function<GDbStatus(GSqlQuery*)>;
  const struct {
    const char* name;
    Break breakIt;
    Try tryIt;
  } rows[] = {
      {"prepare",
       [](auto* api) {
         api->prepare_v2 = [](sqlite3*, const char*, int, sqlite3_stmt**, const char**) {
           return failingCode;
         };
       },
       [](GSqlQuery* query) { return query->prepare(); }},
      {"step", [](auto* api) { api->step = [](sqlite3_stmt*) { return failingCode; }; },
       [](GSqlQuery* query) { return query->exec(); }},
      {"bind_int", [](auto* api) { api->bind_int = [](auto...) { return failingCode; }; },
       [](GSqlQuery* query) { return query->bindInt(0, 1); }},
      {"bind_int64", [](auto* api) { api->bind_int64 = [](auto...) { return failingCode; }; },
       [](GSqlQuery* query) { return query->bindInt64(0, 1); }},
      {"bind_double", [](auto* api) { api->bind_double = [](auto...) { return failingCode; }; },
       [](GSqlQuery* query) { return query->bindDouble(0, 1); }},
      {"bind_text",
       [](auto* api) {
         api->bind_text = [](sqlite3_stmt*, int, const char* text, int,
                             loomkit::SqliteDestructor release) {
           release(const_cast<char*>(text));
           return failingCode;
         };
       },
       [](GSqlQuery* query) { return query->bindText(0, "x", -1, false); }},
      {"bind_blob", [](auto* api) { api->bind_blob = [](auto...) { return failingCode; }; },
       [&](GSqlQuery* query) { return query->bindBlob(0, blob, 1, false); }},
      {"bind_null", [](auto* api) { api->bind_null = [](auto...) { return failingCode; }; },
       [](GSqlQuery* query) { return query->bindNull(0); }},
      {"clear_bindings",
       [](auto* api) { api->clear_bindings = [](auto...) { return failingCode; }; },
       [](GSqlQuery* query) { return query->clearBindings(); }},
      {"next", [](auto* api) { api->step = [](sqlite3_stmt*) { return failingCode; }; },
       [](GSqlQuery* query) {
         EXPECT_EQ(query->next(), GDbNoError) << "the row that exec stepped to";
         return query->next();
       }},
  };
  for (const auto& row : rows) {
    for (int code = 1; code <= 99; ++code) {
      SCOPED_TRACE(std::string(row.name) + " " + std::to_string(code));
      const ApiGuard guard;
      failingCode = code;
      GSqlQuery query(sql, "SELECT ?;");
      const bool fresh = std::string(row.name) == "prepare";
      if (!fresh) {
        ASSERT_EQ(query.prepare(), GDbNoError);
      }
      if (std::string(row.name) == "next") {
        ASSERT_EQ(query.exec(), GDbNoError);
      }
      row.breakIt(&guard.api());
      const GDbStatus status = row.tryIt(&query);
      EXPECT_EQ(status, loomkit::sqliteStatus(code));
      EXPECT_EQ(query.getLastError().getStatus(), status);
    }
  }
}

TEST(SqliteFaults, ALibraryThatCannotDescribeStatementsIsAskedForNothing) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir / "f.db");
  GSqlQuery(sqlOf(database)).exec("CREATE TABLE t (a INTEGER NOT NULL)");
  GSqlQuery query(sqlOf(database), "SELECT a FROM t WHERE a = :a");
  GSqlDescription about;
  const auto lacks = [](auto member) {
    return [member](loomkit::Sqlite3Api& api) { api.*member = nullptr; };
  };
  using Api = loomkit::Sqlite3Api;
  const std::function<void(Api&)> origins[] = {
      lacks(&Api::column_database_name), lacks(&Api::column_table_name),
      lacks(&Api::column_origin_name), lacks(&Api::table_column_metadata)};
  for (const auto& remove : origins) {
    const ApiGuard guard;
    ASSERT_EQ(query.describe(&about), GDbNoError);
    EXPECT_FALSE(about.columns[0].nullable);
    remove(guard.api());
    ASSERT_EQ(query.describe(&about), GDbNoError);
    EXPECT_TRUE(about.columns[0].nullable) << "nobody knows";
  }
  const std::function<void(Api&)> parameters[] = {lacks(&Api::bind_parameter_count),
                                                  lacks(&Api::bind_parameter_name)};
  for (const auto& remove : parameters) {
    const ApiGuard guard;
    remove(guard.api());
    EXPECT_EQ(query.describe(&about), GDbNoResult);
    EXPECT_EQ(query.bindInt("a", 1), GDbNoResult);
    EXPECT_EQ(query.bindInt(0, 1), GDbNoError) << "by number";
  }
}

TEST(SqliteFaults, ABusyStepLeavesTheQueryForAnotherTry) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/f.db");
  GSqlQuery query(sqlOf(database), "SELECT 1 UNION SELECT 2;");
  ASSERT_EQ(query.exec(), GDbNoError);
  ASSERT_EQ(query.next(), GDbNoError);
  {
    const ApiGuard guard;
    guard.api().step = [](sqlite3_stmt*) { return 5; };
    EXPECT_EQ(query.next(), GDbLockFailed);
  }
  EXPECT_TRUE(query.isActive());
  EXPECT_FALSE(query.isValid());
  EXPECT_EQ(query.next(), GDbNoError);
  int value = 0;
  EXPECT_EQ(query.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 2);
  const ApiGuard guard;
  guard.api().step = [](sqlite3_stmt*) { return 10; };
  EXPECT_EQ(query.next(), GDbIoError);
  EXPECT_FALSE(query.isActive()) << "any other failure stops it";
}

TEST(SqliteFaults, AFailingCloseIsReportedAndNotRepeated) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/f.db");
  sqlite3* left = nullptr;
  {
    const ApiGuard guard;
    static sqlite3* seen = nullptr;
    guard.api().close = [](sqlite3* db) {
      seen = db;
      return 5;
    };
    EXPECT_EQ(database->closeDatabase(), GDbLockFailed);
    EXPECT_EQ(database->closeDatabase(), GDbNoError);
    left = seen;
  }
  loomkit::sqlite3Library().api.close(left);
}

// ---- hostile files ----

TEST(SqliteFaults, AFileThatIsNoDatabaseIsRefusedWhenItIsRead) {
  const ScratchDirectory dir;
  dir.write("text.db", std::string(2000, 'x'));
  const DatabaseOwner database = openDb("sqlite3:" + dir / "text.db");
  GDbTable* table = nullptr;
  EXPECT_EQ(database->openTable("t", nullptr, &table), GDbInvalidLocator);
  EXPECT_EQ(sqlOf(database)->getLastError().getDatabaseText(), "file is not a database");
}

TEST(SqliteFaults, DamageGivesAStatusWhereverItIs) {
  const ScratchDirectory dir;
  {
    const DatabaseOwner database = openDb("sqlite3:" + dir / "good.db");
    GSqlQuery query(sqlOf(database));
    ASSERT_EQ(query.exec("CREATE TABLE t (id INTEGER, name TEXT);"), GDbNoError);
    ASSERT_EQ(query.exec("INSERT INTO t VALUES (1, 'one'), (2, 'two');"), GDbNoError);
  }
  std::string good;
  {
    std::ifstream in(dir / "good.db", std::ios::binary);
    good.assign(std::istreambuf_iterator<char>(in), {});
  }
  const auto readAll = [&](const std::string& bytes) {
    dir.write("bad.db", bytes);
    const DatabaseOwner database = openDb("sqlite3:" + dir / "bad.db");
    GDbTable* opened = nullptr;
    if (database->openTable("t", nullptr, &opened) != GDbNoError) return;
    const TableOwner table(opened);
    GDbRecordSet set;
    GDbStatus status = table->getFirstRecord(&set);
    for (int i = 0; i < 100 && status == GDbNoError && set.getNumRecords() > 0; ++i)
      status = table->getNextRecord(&set);
    static_cast<void>(table->lookupKey(GDbKey(0, 2), &set));
  };
  for (std::size_t size = 0; size < good.size(); size += 97) readAll(good.substr(0, size));
  for (std::size_t at = 0; at < good.size(); at += at < 200 ? 1 : 61) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ 0xff);
    readAll(bad);
  }
}

TEST(SqliteFaults, ALockedDatabaseIsALockFailure) {
  const ScratchDirectory dir;
  const ApiGuard guard;
  guard.api().busy_timeout = [](sqlite3*, int) { return 0; };  // so that nobody waits ten seconds
  const DatabaseOwner first = openDb("sqlite3:" + dir / "l.db");
  const DatabaseOwner second = openDb("sqlite3:" + dir / "l.db");
  GSqlQuery query(sqlOf(first));
  ASSERT_EQ(query.exec("CREATE TABLE t (a INTEGER);"), GDbNoError);
  ASSERT_EQ(query.exec("BEGIN EXCLUSIVE;"), GDbNoError);
  GSqlQuery other(sqlOf(second));
  EXPECT_EQ(other.exec("INSERT INTO t VALUES (1);"), GDbLockFailed);
  EXPECT_EQ(other.getLastError().getText(),
            "requited locking operation failed (database is locked)");
  ASSERT_EQ(query.exec("COMMIT;"), GDbNoError);
  EXPECT_EQ(other.exec("INSERT INTO t VALUES (1);"), GDbNoError);
}

TEST(SqliteFaults, AConstraintIsAStatus) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir / "v.db");
  GSqlQuery query(sqlOf(database));
  ASSERT_EQ(query.exec("CREATE TABLE t (a INTEGER UNIQUE);"), GDbNoError);
  ASSERT_EQ(query.exec("INSERT INTO t VALUES (1);"), GDbNoError);
  EXPECT_EQ(query.exec("INSERT INTO t VALUES (1);"), GDbConstraintViolation);
}

TEST(SqliteFaults, AVanishedFileIsAStatus) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("sqlite3:" + dir / "v.db");
  GSqlQuery query(sqlOf(database));
  ASSERT_EQ(query.exec("CREATE TABLE t (a INTEGER UNIQUE);"), GDbNoError);
  std::filesystem::remove(dir / "v.db");
  EXPECT_NE(query.exec("INSERT INTO t VALUES (2);"), GDbNoError);
}

}  // namespace
