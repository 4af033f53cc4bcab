// SPDX-License-Identifier: MIT
// The table store against SQLite and LMDB on the same rows and keys: lookups by
// an integer and by a text, a scan, opening, and building. The sizes of the files
// are counters of the build.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif
#ifdef LOOMKIT_PEER_LMDB
#include <lmdb.h>
#endif

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "loomkit/loomkit.h"
#include "tessel/writer.h"

namespace {

constexpr int rowCount = 1000000;

void require(bool holds) {
  if (!holds) std::abort();
}

std::string nameOf(int id) { return "a name of " + std::to_string(id); }

std::string folder() {
  static const std::string path = [] {
    const bool shm = std::filesystem::is_directory("/dev/shm");
    std::string made = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_tessel_bench_" +
                       std::to_string(getpid());
    std::filesystem::create_directory(made);
    return made;
  }();
  return path;
}

// Gone with the program.
struct FolderEnd {
  ~FolderEnd() {
    std::error_code ignored;
    std::filesystem::remove_all(folder(), ignored);
  }
} folderEnd;

GDbStructure structure() {
  GDbStructure made;
  made.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
  made.appendField(GDbField("name", GDbFieldString, 0, 0, false, true));
  made.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
  made.appendField(GDbField("amount", GDbFieldInt, 0, 0, false, false));
  return made;
}

void buildStore(const std::string& path) {
  GTesselWriter writer(path, std::size_t{256} << 20);
  require(writer.beginTable("t", structure()) == GDbNoError);
  for (int id = 0; id < rowCount; ++id) {
    GDbRecordSet set;
    auto* record = new GDbRecord;
    set.addRecord(record);
    record->addIntField(id);
    record->addStringField(nameOf(id));
    record->addFloatField(id * 0.1);
    record->addIntField(id % 100);
    require(writer.addRecord(*record) == GDbNoError);
  }
  require(writer.endTable() == GDbNoError && writer.commit() == GDbNoError);
}

class OpenStore {
 public:
  OpenStore() {
    const std::string path = folder() + "/full.tessel";
    if (!std::filesystem::exists(path)) buildStore(path);
    GDbDatabase* opened = nullptr;
    require(GDbDatabase::openDatabase(("tessel:" + path).c_str(), &opened) == GDbNoError);
    database.reset(opened);
    GDbTable* found = nullptr;
    require(database->openTable("t", nullptr, &found) == GDbNoError);
    table.reset(found);
  }
  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;
};

// The same ids for everybody.
class Ids {
 public:
  int next() { return static_cast<int>(random() % rowCount); }

 private:
  std::mt19937 random{42};
};

// What is in memory after a scan is what a map would have there.
OpenStore& warmStore() {
  static OpenStore store;
  static const bool warm = [] {
    for (int id = 0; id < rowCount; ++id) {
      GDbRecordSet set;
      require(store.table->lookupKey(GDbKey(0, id), &set) == GDbNoError);
      require(store.table->lookupKey(GDbKey(1, nameOf(id).c_str()), &set) == GDbNoError);
    }
    return true;
  }();
  benchmark::DoNotOptimize(warm);
  return store;
}

void lookupIntegerOurs(benchmark::State& state) {
  GDbTable& table = *warmStore().table;
  Ids ids;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    table.lookupKey(GDbKey(0, ids.next()), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

void lookupTextOurs(benchmark::State& state) {
  GDbTable& table = *warmStore().table;
  Ids ids;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    const std::string name = nameOf(ids.next());
    table.lookupKey(GDbKey(1, name.c_str()), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

void scanOurs(benchmark::State& state) {
  GDbTable& table = *warmStore().table;
  for (auto _ : state) {
    GDbRecordSet set;
    double sum = 0;
    table.getFirstRecord(&set);
    while (set.getNumRecords() > 0) {
      sum += set.getRecord(0)->getFloatField(2);
      set.clear();
      table.getNextRecord(&set);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void openOurs(benchmark::State& state) {
  warmStore();
  for (auto _ : state) benchmark::DoNotOptimize(OpenStore().table.get());
}

void buildOurs(benchmark::State& state) {
  const std::string path = folder() + "/built.tessel";
  for (auto _ : state) buildStore(path);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}

#ifdef LOOMKIT_PEER_SQLITE
void execute(sqlite3* db, const char* text) {
  require(sqlite3_exec(db, text, nullptr, nullptr, nullptr) == SQLITE_OK);
}

void buildSqliteFile(const std::string& path) {
  std::filesystem::remove(path);
  sqlite3* db = nullptr;
  require(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
  execute(db, "CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT, price FLOAT, amount INTEGER)");
  execute(db, "BEGIN");
  sqlite3_stmt* stmt = nullptr;
  require(sqlite3_prepare_v2(db, "INSERT INTO t VALUES (?, ?, ?, ?)", -1, &stmt, nullptr) ==
          SQLITE_OK);
  for (int id = 0; id < rowCount; ++id) {
    const std::string name = nameOf(id);
    sqlite3_bind_int(stmt, 1, id);
    sqlite3_bind_text(stmt, 2, name.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_double(stmt, 3, id * 0.1);
    sqlite3_bind_int(stmt, 4, id % 100);
    require(sqlite3_step(stmt) == SQLITE_DONE);
    sqlite3_reset(stmt);
  }
  sqlite3_finalize(stmt);
  execute(db, "CREATE INDEX by_name ON t (name)");
  execute(db, "COMMIT");
  sqlite3_close(db);
}

class Sqlite {
 public:
  explicit Sqlite(const char* text) {
    const std::string path = folder() + "/full.db";
    if (!std::filesystem::exists(path)) buildSqliteFile(path);
    require(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
    execute(db, "PRAGMA cache_size = -262144");
    execute(db, "BEGIN");
    require(sqlite3_prepare_v2(db, text, -1, &stmt, nullptr) == SQLITE_OK);
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;
  ~Sqlite() {
    sqlite3_finalize(stmt);
    sqlite3_close(db);
  }
  double row() {
    name = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1));
    benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0) + sqlite3_column_int(stmt, 3));
    return sqlite3_column_double(stmt, 2);
  }
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  std::string name;
};

void lookupIntegerSqlite(benchmark::State& state) {
  Sqlite sqlite("SELECT id, name, price, amount FROM t WHERE id = ?");
  Ids ids;
  for (auto _ : state) {
    sqlite3_bind_int(sqlite.stmt, 1, ids.next());
    require(sqlite3_step(sqlite.stmt) == SQLITE_ROW);
    benchmark::DoNotOptimize(sqlite.row());
    sqlite3_reset(sqlite.stmt);
  }
}

void lookupTextSqlite(benchmark::State& state) {
  Sqlite sqlite("SELECT id, name, price, amount FROM t WHERE name = ?");
  Ids ids;
  for (auto _ : state) {
    const std::string name = nameOf(ids.next());
    sqlite3_bind_text(sqlite.stmt, 1, name.c_str(), -1, SQLITE_STATIC);
    require(sqlite3_step(sqlite.stmt) == SQLITE_ROW);
    benchmark::DoNotOptimize(sqlite.row());
    sqlite3_reset(sqlite.stmt);
  }
}

void scanSqlite(benchmark::State& state) {
  Sqlite sqlite("SELECT id, name, price, amount FROM t");
  for (auto _ : state) {
    double sum = 0;
    while (sqlite3_step(sqlite.stmt) == SQLITE_ROW) sum += sqlite.row();
    sqlite3_reset(sqlite.stmt);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void buildSqlite(benchmark::State& state) {
  const std::string path = folder() + "/built.db";
  for (auto _ : state) buildSqliteFile(path);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
#endif

#ifdef LOOMKIT_PEER_LMDB
// Rows under their ids, and ids under their names. A row is its bytes.
class Lmdb {
 public:
  Lmdb() {
    require(mdb_env_create(&env) == 0);
    require(mdb_env_set_mapsize(env, std::size_t{1} << 30) == 0 && mdb_env_set_maxdbs(env, 2) == 0);
    const std::string path = folder() + "/full.lmdb";
    require(mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | MDB_NOSYNC, 0600) == 0);
    require(mdb_txn_begin(env, nullptr, 0, &txn) == 0);
    require(mdb_dbi_open(txn, "rows", MDB_CREATE | MDB_INTEGERKEY, &rows) == 0);
    require(mdb_dbi_open(txn, "names", MDB_CREATE, &names) == 0);
    for (int id = 0; id < rowCount; ++id) {
      std::string words = nameOf(id);
      const double price = id * 0.1;
      std::string row(reinterpret_cast<const char*>(&price), sizeof price);
      row += words;
      MDB_val key{sizeof id, &id};
      MDB_val text{words.size(), words.data()};
      MDB_val value{row.size(), row.data()};
      require(mdb_put(txn, rows, &key, &value, MDB_APPEND) == 0);
      require(mdb_put(txn, names, &text, &key, 0) == 0);
    }
    require(mdb_txn_commit(txn) == 0 && mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn) == 0);
  }
  Lmdb(const Lmdb&) = delete;
  Lmdb& operator=(const Lmdb&) = delete;
  ~Lmdb() {
    mdb_txn_abort(txn);
    mdb_env_close(env);
  }
  double find(int id) {
    MDB_val key{sizeof id, &id};
    MDB_val value{0, nullptr};
    require(mdb_get(txn, rows, &key, &value) == 0);
    double price = 0;
    std::memcpy(&price, value.mv_data, sizeof price);
    name.assign(static_cast<const char*>(value.mv_data) + sizeof price,
                value.mv_size - sizeof price);
    return price;
  }
  double find(std::string& text) {
    MDB_val key{text.size(), text.data()};
    MDB_val value{0, nullptr};
    require(mdb_get(txn, names, &key, &value) == 0);
    int id = 0;
    std::memcpy(&id, value.mv_data, sizeof id);
    return find(id);
  }

 private:
  MDB_env* env = nullptr;
  MDB_txn* txn = nullptr;
  MDB_dbi rows = 0;
  MDB_dbi names = 0;
  std::string name;
};

Lmdb& lmdb() {
  static Lmdb opened;
  return opened;
}

void lookupIntegerLmdb(benchmark::State& state) {
  Lmdb& peer = lmdb();
  Ids ids;
  for (auto _ : state) benchmark::DoNotOptimize(peer.find(ids.next()));
}

void lookupTextLmdb(benchmark::State& state) {
  Lmdb& peer = lmdb();
  Ids ids;
  for (auto _ : state) {
    std::string name = nameOf(ids.next());
    benchmark::DoNotOptimize(peer.find(name));
  }
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("tessel-lookup-int/ours", lookupIntegerOurs);
  RegisterBenchmark("tessel-lookup-text/ours", lookupTextOurs);
  RegisterBenchmark("tessel-scan-1m/ours", scanOurs)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("tessel-open/ours", openOurs)->Unit(benchmark::kMicrosecond);
  RegisterBenchmark("tessel-build-1m/ours", buildOurs)->Unit(benchmark::kMillisecond);
#ifdef LOOMKIT_PEER_SQLITE
  RegisterBenchmark("tessel-lookup-int/sqlite", lookupIntegerSqlite);
  RegisterBenchmark("tessel-lookup-text/sqlite", lookupTextSqlite);
  RegisterBenchmark("tessel-scan-1m/sqlite", scanSqlite)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("tessel-build-1m/sqlite", buildSqlite)->Unit(benchmark::kMillisecond);
#endif
#ifdef LOOMKIT_PEER_LMDB
  RegisterBenchmark("tessel-lookup-int/lmdb", lookupIntegerLmdb);
  RegisterBenchmark("tessel-lookup-text/lmdb", lookupTextLmdb);
#endif
  return true;
}();

}  // namespace
