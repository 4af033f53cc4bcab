// SPDX-License-Identifier: MIT
// The SQL layer against the raw C interface and SQLiteCpp, on the same table:
// inserts in a transaction, point lookups by an indexed key, scans.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif
#ifdef LOOMKIT_PEER_SQLITECPP
#include <SQLiteCpp/SQLiteCpp.h>
#endif
#ifdef LOOMKIT_PEER_SOCI
#include <soci/soci.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "loomkit/loomkit.h"

namespace {

constexpr int rowCount = 1000000;
constexpr int batch = 1000;
const char* const selectText = "SELECT id, name, price, amount FROM t WHERE id = ?";
const char* const insertText = "INSERT INTO t (id, name, price, amount) VALUES (?, ?, ?, ?)";

std::string nameOf(int id) { return "a name of " + std::to_string(id); }

GDbRecord* recordOf(int id) {
  auto* record = new GDbRecord;
  record->addIntField(id);
  record->addStringField(nameOf(id));
  record->addFloatField(id * 0.25);
  record->addIntField(id % 100);
  return record;
}

// A database of our own in memory-backed storage where there is some.
class Fixture {
 public:
  explicit Fixture(bool filled) {
    const bool shm = std::filesystem::is_directory("/dev/shm");
    path = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_bench_" + std::to_string(getpid()) +
           (filled ? "_full.db" : "_empty.db");
    std::filesystem::remove(path);
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(("sqlite3:" + path + "?create").c_str(), &opened) != GDbNoError)
      std::abort();
    database.reset(opened);
    GDbStructure structure;
    structure.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
    structure.appendField(GDbField("name", GDbFieldString, 0, 0, false, false));
    structure.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
    structure.appendField(GDbField("amount", GDbFieldInt, 0, 0, false, false));
    GDbTable* made = nullptr;
    if (database->createTable("t", &structure, &made) != GDbNoError) std::abort();
    table.reset(made);
    if (filled) fill();
  }
  Fixture(const Fixture&) = delete;
  Fixture& operator=(const Fixture&) = delete;
  ~Fixture() {
    table.reset();
    database.reset();
    std::filesystem::remove(path);
  }

  std::string path;
  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;

 private:
  void fill() {
    database->getTransactionHandler()->begin();
    for (int id = 0; id < rowCount;) {
      GDbRecordSet records;
      for (int i = 0; i < batch; ++i) records.addRecord(recordOf(id++));
      if (table->insertRecords(records) != GDbNoError) std::abort();
    }
    database->getTransactionHandler()->commit();
    // What the first lookup has to do is not measured.
    GDbRecordSet set;
    table->lookupKey(GDbKey(0, 0), &set);
  }
};

Fixture& full() {
  static Fixture fixture(true);
  return fixture;
}

// The same ids for everybody.
class Ids {
 public:
  int next() { return static_cast<int>(random() % rowCount); }

 private:
  std::mt19937 random{42};
};

void lookupAlone(benchmark::State& state) {
  GDbTable& table = *full().table;  // filled before the time counts
  Ids ids;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    table.lookupKey(GDbKey(0, ids.next()), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

// Within a transaction, or taking the file's lock each time is half of what is
// measured.
void lookupOurs(benchmark::State& state) {
  GDbTransactionHandler* transaction = full().database->getTransactionHandler();
  transaction->begin();
  lookupAlone(state);
  transaction->rollback();
}

void scanOurs(benchmark::State& state) {
  GDbTable& table = *full().table;
  for (auto _ : state) {
    GDbRecordSet set;
    double sum = 0;
    table.getFirstRecord(&set);
    while (set.getNumRecords() > 0) {
      sum += set.getRecord(0)->getFloatField(2);
      table.getNextRecord(&set);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void insertOurs(benchmark::State& state) {
  Fixture fixture(false);
  GDbRecordSet records;
  for (int id = 0; id < batch; ++id) records.addRecord(recordOf(id));
  GDbTransactionHandler* transaction = fixture.database->getTransactionHandler();
  for (auto _ : state) {
    transaction->begin();
    if (fixture.table->insertRecords(records) != GDbNoError) state.SkipWithError("insert failed");
    transaction->rollback();
  }
  state.SetItemsProcessed(state.iterations() * batch);
}

#ifdef LOOMKIT_PEER_SQLITE
class Raw {
 public:
  Raw(const std::string& path, const char* text) {
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK ||
        sqlite3_prepare_v2(db, text, -1, &stmt, nullptr) != SQLITE_OK)
      std::abort();
  }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  ~Raw() {
    sqlite3_finalize(stmt);
    sqlite3_close(db);
  }
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
};

// Reads all four columns, the text as a std::string: what a host does by hand.
double rawRow(sqlite3_stmt* stmt, std::string* name) {
  *name = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1));
  benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0) + sqlite3_column_int(stmt, 3));
  return sqlite3_column_double(stmt, 2);
}

void lookupRaw(benchmark::State& state, const char* before) {
  const Raw raw(full().path, selectText);
  sqlite3_exec(raw.db, before, nullptr, nullptr, nullptr);
  Ids ids;
  std::string name;
  for (auto _ : state) {
    sqlite3_bind_int(raw.stmt, 1, ids.next());
    if (sqlite3_step(raw.stmt) != SQLITE_ROW) state.SkipWithError("not found");
    benchmark::DoNotOptimize(rawRow(raw.stmt, &name));
    sqlite3_step(raw.stmt);
    sqlite3_reset(raw.stmt);
  }
}

void scanRaw(benchmark::State& state) {
  const Raw raw(full().path, "SELECT id, name, price, amount FROM t");
  std::string name;
  for (auto _ : state) {
    double sum = 0;
    while (sqlite3_step(raw.stmt) == SQLITE_ROW) sum += rawRow(raw.stmt, &name);
    sqlite3_reset(raw.stmt);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void insertRaw(benchmark::State& state) {
  const Fixture fixture(false);
  const Raw raw(fixture.path, insertText);
  for (auto _ : state) {
    sqlite3_exec(raw.db, "BEGIN", nullptr, nullptr, nullptr);
    for (int id = 0; id < batch; ++id) {
      const std::string name = nameOf(id);
      sqlite3_bind_int(raw.stmt, 1, id);
      sqlite3_bind_text(raw.stmt, 2, name.c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_bind_double(raw.stmt, 3, id * 0.25);
      sqlite3_bind_int(raw.stmt, 4, id % 100);
      if (sqlite3_step(raw.stmt) != SQLITE_DONE) state.SkipWithError("insert failed");
      sqlite3_reset(raw.stmt);
    }
    sqlite3_exec(raw.db, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  state.SetItemsProcessed(state.iterations() * batch);
}
#endif

#ifdef LOOMKIT_PEER_SQLITECPP
void lookupSqliteCpp(benchmark::State& state, const char* before) {
  SQLite::Database db(full().path);
  db.exec(before);
  SQLite::Statement query(db, selectText);
  Ids ids;
  for (auto _ : state) {
    query.bind(1, ids.next());
    if (!query.executeStep()) state.SkipWithError("not found");
    const std::string name = query.getColumn(1);
    benchmark::DoNotOptimize(query.getColumn(0).getInt() + query.getColumn(3).getInt());
    benchmark::DoNotOptimize(query.getColumn(2).getDouble());
    query.reset();
  }
}

void lookupSqliteCppNew(benchmark::State& state) {
  SQLite::Database db(full().path);
  db.exec("BEGIN");
  Ids ids;
  for (auto _ : state) {
    SQLite::Statement query(db, selectText);
    query.bind(1, ids.next());
    if (!query.executeStep()) state.SkipWithError("not found");
    const std::string name = query.getColumn(1);
    benchmark::DoNotOptimize(query.getColumn(2).getDouble());
  }
}

void insertSqliteCpp(benchmark::State& state) {
  const Fixture fixture(false);
  SQLite::Database db(fixture.path, SQLite::OPEN_READWRITE);
  SQLite::Statement query(db, insertText);
  for (auto _ : state) {
    db.exec("BEGIN");
    for (int id = 0; id < batch; ++id) {
      query.bind(1, id);
      query.bind(2, nameOf(id));
      query.bind(3, id * 0.25);
      query.bind(4, id % 100);
      query.exec();
      query.reset();
    }
    db.exec("ROLLBACK");
  }
  state.SetItemsProcessed(state.iterations() * batch);
}
#endif

#ifdef LOOMKIT_PEER_SOCI
void lookupSoci(benchmark::State& state) {
  soci::session db("sqlite3", full().path);
  db.begin();
  Ids ids;
  int wanted = 0;
  int id = 0;
  int amount = 0;
  double price = 0;
  std::string name;
  soci::statement query =
      (db.prepare << "SELECT id, name, price, amount FROM t WHERE id = :id", soci::use(wanted),
       soci::into(id), soci::into(name), soci::into(price), soci::into(amount));
  for (auto _ : state) {
    wanted = ids.next();
    if (!query.execute(true)) state.SkipWithError("not found");
    benchmark::DoNotOptimize(id + amount);
    benchmark::DoNotOptimize(price);
  }
}

void lookupSociNew(benchmark::State& state) {
  soci::session db("sqlite3", full().path);
  db.begin();
  Ids ids;
  for (auto _ : state) {
    int id = 0;
    int amount = 0;
    double price = 0;
    std::string name;
    db << "SELECT id, name, price, amount FROM t WHERE id = :id", soci::use(ids.next()),
        soci::into(id), soci::into(name), soci::into(price), soci::into(amount);
    if (!db.got_data()) state.SkipWithError("not found");
    benchmark::DoNotOptimize(price);
  }
}

void insertSoci(benchmark::State& state) {
  const Fixture fixture(false);
  soci::session db("sqlite3", fixture.path);
  int id = 0;
  int amount = 0;
  double price = 0;
  std::string name;
  soci::statement query = (db.prepare << "INSERT INTO t (id, name, price, amount) "
                                         "VALUES (:id, :name, :price, :amount)",
                           soci::use(id), soci::use(name), soci::use(price), soci::use(amount));
  for (auto _ : state) {
    db.begin();
    for (int i = 0; i < batch; ++i) {
      id = i;
      name = nameOf(i);
      price = i * 0.25;
      amount = i % 100;
      query.execute(true);
    }
    db.rollback();
  }
  state.SetItemsProcessed(state.iterations() * batch);
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("sqlite-lookup/ours", lookupOurs);
  RegisterBenchmark("sqlite-lookup-alone/ours", lookupAlone);
  RegisterBenchmark("sqlite-scan-1m/ours", scanOurs)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("sqlite-insert-1000/ours", insertOurs)->Unit(benchmark::kMicrosecond);
#ifdef LOOMKIT_PEER_SQLITE
  RegisterBenchmark("sqlite-lookup/raw", lookupRaw, "BEGIN");
  RegisterBenchmark("sqlite-lookup-alone/raw", lookupRaw, "");
  RegisterBenchmark("sqlite-scan-1m/raw", scanRaw)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("sqlite-insert-1000/raw", insertRaw)->Unit(benchmark::kMicrosecond);
#endif
#ifdef LOOMKIT_PEER_SQLITECPP
  RegisterBenchmark("sqlite-lookup/sqlitecpp", lookupSqliteCpp, "BEGIN");
  RegisterBenchmark("sqlite-lookup-alone/sqlitecpp", lookupSqliteCpp, "");
  RegisterBenchmark("sqlite-lookup/sqlitecpp-unprepared", lookupSqliteCppNew);
  RegisterBenchmark("sqlite-insert-1000/sqlitecpp", insertSqliteCpp)->Unit(benchmark::kMicrosecond);
#endif
#ifdef LOOMKIT_PEER_SOCI
  RegisterBenchmark("sqlite-lookup/soci", lookupSoci);
  RegisterBenchmark("sqlite-lookup/soci-unprepared", lookupSociNew);
  RegisterBenchmark("sqlite-insert-1000/soci", insertSoci)->Unit(benchmark::kMicrosecond);
#endif
  return true;
}();

}  // namespace
