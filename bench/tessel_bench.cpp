// SPDX-License-Identifier: MIT
// The table store against SQLite and LMDB on the same rows and keys: lookups by
// an integer and by a text, a scan, opening, and building. Integers come in two
// orders: counted from 0, as numbers are that a table gives out, and scattered over
// 31 bits. Each peer looks every row up once before it is measured. The sizes of
// the files, and of the CSV file of the same rows, are counters of the build.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif
#ifdef LOOMKIT_PEER_LMDB
#include <lmdb.h>
#endif

#include <cstdio>
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

// In memory where there is one; gone with the program.
class Folder {
 public:
  Folder() {
    const bool shm = std::filesystem::is_directory("/dev/shm");
    path = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_tessel_bench_" +
           std::to_string(getpid());
    std::filesystem::create_directory(path);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string path;
};

const std::string& folder() {
  static const Folder made;
  return made.path;
}

std::string nameOf(int row) { return "a name of " + std::to_string(row); }
double priceOf(int row) { return row * 0.1; }
int amountOf(int row) { return row % 100; }

// The id of a row. An odd factor leaves no two rows the same id.
enum class Order { counted, scattered };
int idOf(Order order, int row) {
  const auto number = static_cast<unsigned>(row);
  return order == Order::counted ? row : static_cast<int>(number * 2654435761U & 0x7fffffffU);
}
std::string fileOf(Order order, const char* suffix) {
  return folder() + (order == Order::counted ? "/counted." : "/scattered.") + suffix;
}

GDbStructure structure() {
  GDbStructure made;
  made.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
  made.appendField(GDbField("name", GDbFieldString, 0, 0, false, true));
  made.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
  made.appendField(GDbField("amount", GDbFieldInt, 0, 0, false, false));
  return made;
}

void buildStore(const std::string& path, Order order) {
  GTesselWriter writer(path, std::size_t{256} << 20);
  require(writer.beginTable("t", structure()) == GDbNoError);
  for (int row = 0; row < rowCount; ++row) {
    GDbRecordSet set;
    auto* record = new GDbRecord;
    set.addRecord(record);
    record->addIntField(idOf(order, row));
    record->addStringField(nameOf(row));
    record->addFloatField(priceOf(row));
    record->addIntField(amountOf(row));
    require(writer.addRecord(*record) == GDbNoError);
  }
  require(writer.endTable() == GDbNoError && writer.commit() == GDbNoError);
}

class OpenStore {
 public:
  explicit OpenStore(Order order) {
    const std::string path = fileOf(order, "tessel");
    if (!std::filesystem::exists(path)) buildStore(path, order);
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

// The same rows for everybody.
class Rows {
 public:
  int next() { return static_cast<int>(random() % rowCount); }

 private:
  std::mt19937 random{42};
};

template <Order order>
OpenStore& warmStore() {
  static OpenStore store(order);
  static const bool warm = [] {
    for (int row = 0; row < rowCount; ++row) {
      GDbRecordSet set;
      require(store.table->lookupKey(GDbKey(0, idOf(order, row)), &set) == GDbNoError);
      require(store.table->lookupKey(GDbKey(1, nameOf(row).c_str()), &set) == GDbNoError);
      require(set.getNumRecords() == 2);
    }
    return true;
  }();
  benchmark::DoNotOptimize(warm);
  return store;
}

template <Order order>
void lookupIntegerOurs(benchmark::State& state) {
  GDbTable& table = *warmStore<order>().table;
  Rows rows;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    table.lookupKey(GDbKey(0, idOf(order, rows.next())), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

void lookupTextOurs(benchmark::State& state) {
  GDbTable& table = *warmStore<Order::counted>().table;
  Rows rows;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    const std::string name = nameOf(rows.next());
    table.lookupKey(GDbKey(1, name.c_str()), &set);
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

void scanOurs(benchmark::State& state) {
  GDbTable& table = *warmStore<Order::counted>().table;
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
  warmStore<Order::counted>();
  for (auto _ : state) benchmark::DoNotOptimize(OpenStore(Order::counted).table.get());
}

// The CSV file of the same rows, beside which the stores stand.
double csvSize(Order order) {
  std::size_t size = 0;
  char line[64];
  for (int row = 0; row < rowCount; ++row)
    size += static_cast<std::size_t>(std::snprintf(line, sizeof line, "%d;%s;%.10g;%d\n",
                                                   idOf(order, row), nameOf(row).c_str(),
                                                   priceOf(row), amountOf(row)));
  return static_cast<double>(size);
}

template <Order order>
void buildOurs(benchmark::State& state) {
  const std::string path = folder() + "/built.tessel";
  for (auto _ : state) buildStore(path, order);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
  state.counters["csv_bytes"] = csvSize(order);
}

#ifdef LOOMKIT_PEER_SQLITE
void execute(sqlite3* db, const char* text) {
  require(sqlite3_exec(db, text, nullptr, nullptr, nullptr) == SQLITE_OK);
}

void buildSqliteFile(const std::string& path, Order order) {
  std::filesystem::remove(path);
  sqlite3* db = nullptr;
  require(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
  execute(db, "CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT, price FLOAT, amount INTEGER)");
  execute(db, "BEGIN");
  sqlite3_stmt* stmt = nullptr;
  require(sqlite3_prepare_v2(db, "INSERT INTO t VALUES (?, ?, ?, ?)", -1, &stmt, nullptr) ==
          SQLITE_OK);
  for (int row = 0; row < rowCount; ++row) {
    const std::string name = nameOf(row);
    sqlite3_bind_int(stmt, 1, idOf(order, row));
    sqlite3_bind_text(stmt, 2, name.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_double(stmt, 3, priceOf(row));
    sqlite3_bind_int(stmt, 4, amountOf(row));
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
  Sqlite(Order order, const char* text) {
    const std::string path = fileOf(order, "db");
    if (!std::filesystem::exists(path)) buildSqliteFile(path, order);
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
  int warmRows = 0;  // have been looked up once
};

// Finds the row of an id or of a name that has been bound, and takes all of it.
double findRow(Sqlite* sqlite) {
  require(sqlite3_step(sqlite->stmt) == SQLITE_ROW);
  const double price = sqlite->row();
  sqlite3_reset(sqlite->stmt);
  return price;
}

template <Order order>
double findId(Sqlite* sqlite, int row) {
  sqlite3_bind_int(sqlite->stmt, 1, idOf(order, row));
  return findRow(sqlite);
}

double findName(Sqlite* sqlite, int row) {
  const std::string name = nameOf(row);
  sqlite3_bind_text(sqlite->stmt, 1, name.c_str(), -1, SQLITE_STATIC);
  return findRow(sqlite);
}

template <class Find>
void lookupSqlite(benchmark::State& state, Sqlite* sqlite, Find find) {
  for (; sqlite->warmRows < rowCount; ++sqlite->warmRows)
    benchmark::DoNotOptimize(find(sqlite, sqlite->warmRows));
  Rows rows;
  for (auto _ : state) benchmark::DoNotOptimize(find(sqlite, rows.next()));
}

template <Order order>
void lookupIntegerSqlite(benchmark::State& state) {
  static Sqlite sqlite(order, "SELECT id, name, price, amount FROM t WHERE id = ?");
  lookupSqlite(state, &sqlite, findId<order>);
}

void lookupTextSqlite(benchmark::State& state) {
  static Sqlite sqlite(Order::counted, "SELECT id, name, price, amount FROM t WHERE name = ?");
  lookupSqlite(state, &sqlite, findName);
}

void scanSqlite(benchmark::State& state) {
  Sqlite sqlite(Order::counted, "SELECT id, name, price, amount FROM t");
  for (auto _ : state) {
    double sum = 0;
    while (sqlite3_step(sqlite.stmt) == SQLITE_ROW) sum += sqlite.row();
    sqlite3_reset(sqlite.stmt);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

template <Order order>
void buildSqlite(benchmark::State& state) {
  const std::string path = folder() + "/built.db";
  for (auto _ : state) buildSqliteFile(path, order);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
#endif

#ifdef LOOMKIT_PEER_LMDB
// Rows under their ids, and ids under their names. A row is its bytes.
class Lmdb {
 public:
  explicit Lmdb(Order order) {
    require(mdb_env_create(&env) == 0);
    require(mdb_env_set_mapsize(env, std::size_t{1} << 30) == 0 && mdb_env_set_maxdbs(env, 2) == 0);
    const std::string path = fileOf(order, "lmdb");
    require(mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | MDB_NOSYNC, 0600) == 0);
    require(mdb_txn_begin(env, nullptr, 0, &txn) == 0);
    require(mdb_dbi_open(txn, "rows", MDB_CREATE | MDB_INTEGERKEY, &rows) == 0);
    require(mdb_dbi_open(txn, "names", MDB_CREATE, &names) == 0);
    for (int row = 0; row < rowCount; ++row) {
      int id = idOf(order, row);
      std::string words = nameOf(row);
      const double price = priceOf(row);
      std::string bytes(reinterpret_cast<const char*>(&price), sizeof price);
      bytes += static_cast<char>(amountOf(row));
      bytes += words;
      MDB_val key{sizeof id, &id};
      MDB_val text{words.size(), words.data()};
      MDB_val value{bytes.size(), bytes.data()};
      require(mdb_put(txn, rows, &key, &value, order == Order::counted ? MDB_APPEND : 0) == 0);
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
    const char* const rest = static_cast<const char*>(value.mv_data) + sizeof price;
    benchmark::DoNotOptimize(*rest);
    name.assign(rest + 1, value.mv_size - sizeof price - 1);
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

template <Order order>
Lmdb& warmLmdb() {
  static Lmdb opened(order);
  for (static int row = 0; row < rowCount; ++row)
    benchmark::DoNotOptimize(opened.find(idOf(order, row)));
  return opened;
}

template <Order order>
void lookupIntegerLmdb(benchmark::State& state) {
  Lmdb& peer = warmLmdb<order>();
  Rows rows;
  for (auto _ : state) benchmark::DoNotOptimize(peer.find(idOf(order, rows.next())));
}

void lookupTextLmdb(benchmark::State& state) {
  Lmdb& peer = warmLmdb<Order::counted>();
  Rows rows;
  for (auto _ : state) {
    std::string name = nameOf(rows.next());
    benchmark::DoNotOptimize(peer.find(name));
  }
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  constexpr Order counted = Order::counted;
  constexpr Order scattered = Order::scattered;
  constexpr auto ms = benchmark::kMillisecond;
  RegisterBenchmark("tessel-lookup-int/ours", lookupIntegerOurs<counted>);
  RegisterBenchmark("tessel-lookup-scattered/ours", lookupIntegerOurs<scattered>);
  RegisterBenchmark("tessel-lookup-text/ours", lookupTextOurs);
  RegisterBenchmark("tessel-scan-1m/ours", scanOurs)->Unit(ms);
  RegisterBenchmark("tessel-open/ours", openOurs)->Unit(benchmark::kMicrosecond);
  RegisterBenchmark("tessel-build-1m/ours", buildOurs<counted>)->Unit(ms);
  RegisterBenchmark("tessel-build-1m-scattered/ours", buildOurs<scattered>)->Unit(ms);
#ifdef LOOMKIT_PEER_SQLITE
  RegisterBenchmark("tessel-lookup-int/sqlite", lookupIntegerSqlite<counted>);
  RegisterBenchmark("tessel-lookup-scattered/sqlite", lookupIntegerSqlite<scattered>);
  RegisterBenchmark("tessel-lookup-text/sqlite", lookupTextSqlite);
  RegisterBenchmark("tessel-scan-1m/sqlite", scanSqlite)->Unit(ms);
  RegisterBenchmark("tessel-build-1m/sqlite", buildSqlite<counted>)->Unit(ms);
  RegisterBenchmark("tessel-build-1m-scattered/sqlite", buildSqlite<scattered>)->Unit(ms);
#endif
#ifdef LOOMKIT_PEER_LMDB
  RegisterBenchmark("tessel-lookup-int/lmdb", lookupIntegerLmdb<counted>);
  RegisterBenchmark("tessel-lookup-scattered/lmdb", lookupIntegerLmdb<scattered>);
  RegisterBenchmark("tessel-lookup-text/lmdb", lookupTextLmdb);
#endif
  return true;
}();

}  // namespace
