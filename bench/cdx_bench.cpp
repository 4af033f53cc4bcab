// SPDX-License-Identifier: MIT
// Compound indexes of xBase tables against SQLite on the same columns: building over
// 1,000,000 records, lookups among 1,000,000 keys; and records that are inserted
// with their tags, against shapelib, which keeps none.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SHAPELIB
#include <shapefil.h>
#endif
#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "loomkit/loomkit.h"

namespace {

constexpr int rowCount = 1000000;
constexpr int insertCount = 100000;

// In an order that is neither that of the records nor its reverse.
int idOf(int row) { return static_cast<int>(static_cast<long long>(row) * 7919 % rowCount); }
std::string nameOf(int row) { return "item-" + std::to_string(idOf(row)); }

GDbRecord* recordOf(int row) {
  auto* record = new GDbRecord;
  record->addIntField(idOf(row));
  record->addStringField(nameOf(row));
  record->addFloatField(row % 1000 * 0.25);
  record->addIntField(row % 100);
  record->addIntField(row);
  return record;
}

GDbStructure structureWith(const std::vector<std::string>& indexes) {
  GDbStructure structure;
  structure.appendField(GDbField("ID", GDbFieldInt, 10, 0, false, false));
  structure.appendField(GDbField("NAME", GDbFieldString, 16, 0, false, false));
  structure.appendField(GDbField("PRICE", GDbFieldFloat, 10, 2, false, false));
  structure.appendField(GDbField("AMOUNT", GDbFieldInt, 10, 0, false, false));
  structure.appendField(GDbField("ROW", GDbFieldInt, 10, 0, false, false));
  for (const std::string& columns : indexes)
    structure.addIndex(
        GDbIndex("I" + std::to_string(structure.getIndices().size()), columns, false, false));
  return structure;
}

// A directory of our own in memory-backed storage where there is some.
class Directory {
 public:
  Directory() {
    static int count = 0;
    const bool shm = std::filesystem::is_directory("/dev/shm");
    path = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_cdx_" + std::to_string(getpid()) +
           "_" + std::to_string(++count);
    std::filesystem::create_directory(path);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() { std::filesystem::remove_all(path); }

  std::string path;
};

class Table {
 public:
  Table(const std::string& directory, const std::vector<std::string>& indexes, bool create) {
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(("xbase:" + directory).c_str(), &opened) != GDbNoError)
      std::abort();
    database.reset(opened);
    const GDbStructure structure = structureWith(indexes);
    GDbTable* found = nullptr;
    const GDbStatus status = create ? database->createTable("t", &structure, &found)
                                    : database->openTable("t", &structure, &found);
    if (status != GDbNoError) std::abort();
    table.reset(found);
  }
  void insert(int count) {
    GDbRecordSet records;
    for (int row = 0; row < count; ++row) records.addRecord(recordOf(row));
    if (table->insertRecords(records) != GDbNoError) std::abort();
  }

  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;
};

// 1,000,000 records with an index of their ids.
class Full {
 public:
  Full() : owner(directory.path, {"ID"}, true) { owner.insert(rowCount); }
  Directory directory;
  Table owner;
};

Full& full() {
  static Full once;
  return once;
}

class Ids {
 public:
  int next() { return static_cast<int>(random() % rowCount); }

 private:
  std::mt19937 random{42};
};

void lookupOurs(benchmark::State& state) {
  GDbTable& table = *full().owner.table;
  Ids ids;
  GDbRecordSet set;
  for (auto _ : state) {
    set.clear();
    table.lookupKey(GDbKey(0, ids.next()), &set);
    if (set.getNumRecords() != 1) state.SkipWithError("not found");
    benchmark::DoNotOptimize(set.getRecord(0)->getFloatField(2));
  }
}

// The table is opened without its index, which is built for the columns.
void buildOurs(benchmark::State& state, const char* columns) {
  const Directory directory;
  std::filesystem::copy_file(full().directory.path + "/t.dbf", directory.path + "/t.dbf");
  for (auto _ : state) {
    const Table opened(directory.path, {columns}, false);
    state.PauseTiming();
    std::filesystem::remove(directory.path + "/t.cdx");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void insertOurs(benchmark::State& state, const std::vector<std::string>& indexes) {
  GDbRecordSet records;
  for (int row = 0; row < insertCount; ++row) records.addRecord(recordOf(row));
  for (auto _ : state) {
    state.PauseTiming();
    {
      const Directory directory;
      const Table made(directory.path, indexes, true);
      state.ResumeTiming();
      if (made.table->insertRecords(records) != GDbNoError) state.SkipWithError("insert failed");
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * insertCount);
}

#ifdef LOOMKIT_PEER_SQLITE
class Sqlite {
 public:
  Sqlite() {
    if (sqlite3_open((directory.path + "/t.db").c_str(), &db) != SQLITE_OK) std::abort();
    run("CREATE TABLE t (id INTEGER, name TEXT, price REAL, amount INTEGER, row INTEGER)");
    run("BEGIN");
    sqlite3_stmt* stmt = prepare("INSERT INTO t VALUES (?, ?, ?, ?, ?)");
    for (int row = 0; row < rowCount; ++row) {
      const std::string name = nameOf(row);
      sqlite3_bind_int(stmt, 1, idOf(row));
      sqlite3_bind_text(stmt, 2, name.c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_bind_double(stmt, 3, row % 1000 * 0.25);
      sqlite3_bind_int(stmt, 4, row % 100);
      sqlite3_bind_int(stmt, 5, row);
      if (sqlite3_step(stmt) != SQLITE_DONE) std::abort();
      sqlite3_reset(stmt);
    }
    sqlite3_finalize(stmt);
    run("COMMIT");
    run("CREATE INDEX ids ON t (id)");
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;
  ~Sqlite() { sqlite3_close(db); }

  void run(const char* text) const {
    if (sqlite3_exec(db, text, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  }
  [[nodiscard]] sqlite3_stmt* prepare(const char* text) const {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, text, -1, &stmt, nullptr) != SQLITE_OK) std::abort();
    return stmt;
  }

  Directory directory;
  sqlite3* db = nullptr;
};

const Sqlite& sqlite() {
  static const Sqlite once;
  return once;
}

void lookupSqlite(benchmark::State& state) {
  sqlite3_stmt* stmt = sqlite().prepare("SELECT id, name, price, amount, row FROM t WHERE id = ?");
  sqlite().run("BEGIN");
  Ids ids;
  for (auto _ : state) {
    sqlite3_bind_int(stmt, 1, ids.next());
    if (sqlite3_step(stmt) != SQLITE_ROW) state.SkipWithError("not found");
    const std::string name = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1));
    benchmark::DoNotOptimize(name.data());
    benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0) + sqlite3_column_int(stmt, 3) +
                             sqlite3_column_int(stmt, 4));
    benchmark::DoNotOptimize(sqlite3_column_double(stmt, 2));
    sqlite3_step(stmt);
    sqlite3_reset(stmt);
  }
  sqlite3_finalize(stmt);
  sqlite().run("COMMIT");
}

void buildSqlite(benchmark::State& state, const char* create) {
  for (auto _ : state) {
    sqlite().run(create);
    state.PauseTiming();
    sqlite().run("DROP INDEX made");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}
#endif

#ifdef LOOMKIT_PEER_SHAPELIB
void insertShapelib(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    {
      const Directory directory;
      state.ResumeTiming();
      DBFHandle file = DBFCreate((directory.path + "/t.dbf").c_str());
      DBFAddField(file, "ID", FTInteger, 10, 0);
      DBFAddField(file, "NAME", FTString, 16, 0);
      DBFAddField(file, "PRICE", FTDouble, 10, 2);
      DBFAddField(file, "AMOUNT", FTInteger, 10, 0);
      DBFAddField(file, "ROW", FTInteger, 10, 0);
      for (int row = 0; row < insertCount; ++row) {
        DBFWriteIntegerAttribute(file, row, 0, idOf(row));
        DBFWriteStringAttribute(file, row, 1, nameOf(row).c_str());
        DBFWriteDoubleAttribute(file, row, 2, row % 1000 * 0.25);
        DBFWriteIntegerAttribute(file, row, 3, row % 100);
        DBFWriteIntegerAttribute(file, row, 4, row);
      }
      DBFClose(file);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * insertCount);
}
#endif

const std::vector<std::string> fiveIndexes = {"ID", "NAME", "PRICE", "AMOUNT,ROW", "NAME,AMOUNT"};

BENCHMARK_CAPTURE(buildOurs, , "ID")->Name("cdx build numbers/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(buildOurs, , "NAME")->Name("cdx build texts/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(lookupOurs)->Name("cdx lookup/ours");
BENCHMARK_CAPTURE(insertOurs, , {"ID"})
    ->Name("dbf create with a tag/ours")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(insertOurs, , fiveIndexes)
    ->Name("dbf create with five tags/ours")
    ->Unit(benchmark::kMillisecond);
#ifdef LOOMKIT_PEER_SQLITE
BENCHMARK_CAPTURE(buildSqlite, , "CREATE INDEX made ON t (id)")
    ->Name("cdx build numbers/SQLite")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(buildSqlite, , "CREATE INDEX made ON t (name)")
    ->Name("cdx build texts/SQLite")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(lookupSqlite)->Name("cdx lookup/SQLite");
#endif
#ifdef LOOMKIT_PEER_SHAPELIB
BENCHMARK(insertShapelib)
    ->Name("dbf create with a tag/shapelib without one")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(insertShapelib)
    ->Name("dbf create with five tags/shapelib without one")
    ->Unit(benchmark::kMillisecond);
#endif

}  // namespace
