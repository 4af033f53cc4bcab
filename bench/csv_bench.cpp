// SPDX-License-Identifier: MIT
// CSV tables against libcsv with the same typed columns: a scan of a file, the
// building of an index, and lookups of random keys that exist.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_LIBCSV
#include <csv.h>
#endif
#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "loomkit/loomkit.h"

namespace {

constexpr int rowCount = 1000000;

std::string nameOf(int id) { return "item-" + std::to_string(id * 7 % rowCount); }

// 1,000,000 rows of two integers, two texts and two floats.
class Data {
 public:
  Data() {
    const bool shm = std::filesystem::is_directory("/dev/shm");
    directory = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_csv_" + std::to_string(getpid());
    std::filesystem::create_directory(directory);
    std::FILE* file = std::fopen(path().c_str(), "wb");
    if (file == nullptr) std::abort();
    for (int id = 0; id < rowCount; ++id)
      std::fprintf(file, "%d;%s;%d.%02d;%u;text %d;%d.5\n", id, nameOf(id).c_str(), id % 1000,
                   id % 100, static_cast<unsigned>(id) * 2654435761U, id % 1000, id % 7);
    std::fclose(file);
  }
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;
  ~Data() { std::filesystem::remove_all(directory); }
  [[nodiscard]] std::string path() const { return directory + "/t.csv"; }

  std::string directory;
};

const Data& data() {
  static const Data once;
  return once;
}

class Table {
 public:
  Table() {
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(("csv:" + data().directory).c_str(), &opened) != GDbNoError)
      std::abort();
    database.reset(opened);
    GDbStructure structure;
    const GDbFieldType types[] = {GDbFieldInt,  GDbFieldString, GDbFieldFloat,
                                  GDbFieldUInt, GDbFieldString, GDbFieldFloat};
    for (const GDbFieldType type : types)
      structure.appendField(
          GDbField("c" + std::to_string(structure.getNumFields()), type, 0, 0, false, false));
    GDbTable* found = nullptr;
    if (database->openTable("t", &structure, &found) != GDbNoError) std::abort();
    table.reset(found);
  }
  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;
};

Table& indexed() {
  static Table once;
  return once;
}

void scanOurs(benchmark::State& state) {
  const Table opened;
  for (auto _ : state) {
    double sum = 0;
    GDbRecordSet set;
    opened.table->getFirstRecord(&set);
    while (set.getNumRecords() > 0) {
      sum += set.getRecord(0)->getFloatField(2);
      set.clear();
      opened.table->getNextRecord(&set);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void buildOurs(benchmark::State& state, bool text) {
  for (auto _ : state) {
    const Table opened;
    GDbRecordSet set;
    if (text)
      opened.table->lookupKey(GDbKey(1, "item-0"), &set);
    else
      opened.table->lookupKey(GDbKey(0, 0), &set);
  }
}

void lookupOurs(benchmark::State& state, bool text) {
  std::mt19937 random(42);
  GDbRecordSet set;
  indexed().table->lookupKey(GDbKey(1, "item-0"), &set);
  indexed().table->lookupKey(GDbKey(0, 0), &set);
  for (auto _ : state) {
    const int id = static_cast<int>(random() % rowCount);
    const std::string name = nameOf(id);
    set.clear();
    indexed().table->lookupKey(text ? GDbKey(1, name.c_str()) : GDbKey(0, id), &set);
    if (set.getNumRecords() == 0) state.SkipWithError("not found");
  }
}

#ifdef LOOMKIT_PEER_LIBCSV
// One typed row, as a caller of the event interface collects it.
struct TypedRow {
  long id = 0;
  std::string name;
  double price = 0;
  unsigned long code = 0;
  std::string text;
  double rate = 0;
  int column = 0;
  double sum = 0;
};

void onField(void* bytes, std::size_t size, void* context) {
  auto* row = static_cast<TypedRow*>(context);
  const char* text = static_cast<const char*>(bytes);
  switch (row->column++) {
    case 0:
      row->id = std::strtol(text, nullptr, 10);
      break;
    case 1:
      row->name.assign(text, size);
      break;
    case 2:
      row->price = std::strtod(text, nullptr);
      break;
    case 3:
      row->code = std::strtoul(text, nullptr, 10);
      break;
    case 4:
      row->text.assign(text, size);
      break;
    default:
      row->rate = std::strtod(text, nullptr);
  }
}

void onRow(int /*terminator*/, void* context) {
  auto* row = static_cast<TypedRow*>(context);
  row->sum += row->price;
  row->column = 0;
}

void scanLibcsv(benchmark::State& state) {
  for (auto _ : state) {
    csv_parser parser;
    csv_init(&parser, CSV_APPEND_NULL);
    csv_set_delim(&parser, ';');
    std::FILE* file = std::fopen(data().path().c_str(), "rb");
    if (file == nullptr) std::abort();
    static std::array<char, 65536> block;
    TypedRow row;
    for (std::size_t size = 0; (size = std::fread(block.data(), 1, block.size(), file)) > 0;)
      csv_parse(&parser, block.data(), size, onField, onRow, &row);
    csv_fini(&parser, onField, onRow, &row);
    std::fclose(file);
    csv_free(&parser);
    benchmark::DoNotOptimize(row.sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}
#endif

#ifdef LOOMKIT_PEER_SQLITE
sqlite3* memoryDatabase() {
  static sqlite3* const db = [] {
    sqlite3* opened = nullptr;
    sqlite3_open(":memory:", &opened);
    sqlite3_exec(opened, "CREATE TABLE t (id INTEGER, name TEXT, price REAL); BEGIN", nullptr,
                 nullptr, nullptr);
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(opened, "INSERT INTO t VALUES (?, ?, ?)", -1, &stmt, nullptr);
    for (int id = 0; id < rowCount; ++id) {
      const std::string name = nameOf(id);
      sqlite3_bind_int(stmt, 1, id);
      sqlite3_bind_text(stmt, 2, name.c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_bind_double(stmt, 3, id % 1000);
      sqlite3_step(stmt);
      sqlite3_reset(stmt);
    }
    sqlite3_finalize(stmt);
    sqlite3_exec(opened, "COMMIT", nullptr, nullptr, nullptr);
    return opened;
  }();
  return db;
}

void buildSqlite(benchmark::State& state, bool text) {
  sqlite3* db = memoryDatabase();
  for (auto _ : state) {
    sqlite3_exec(db, text ? "CREATE INDEX b ON t (name)" : "CREATE INDEX b ON t (id)", nullptr,
                 nullptr, nullptr);
    state.PauseTiming();
    sqlite3_exec(db, "DROP INDEX b", nullptr, nullptr, nullptr);
    state.ResumeTiming();
  }
}

void lookupSqlite(benchmark::State& state, bool text) {
  sqlite3* db = memoryDatabase();
  sqlite3_exec(db,
               "CREATE INDEX IF NOT EXISTS i ON t (id); CREATE INDEX IF NOT EXISTS n ON t (name)",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, text ? "SELECT * FROM t WHERE name = ?" : "SELECT * FROM t WHERE id = ?",
                     -1, &stmt, nullptr);
  std::mt19937 random(42);
  for (auto _ : state) {
    const int id = static_cast<int>(random() % rowCount);
    const std::string name = nameOf(id);
    if (text)
      sqlite3_bind_text(stmt, 1, name.c_str(), -1, SQLITE_TRANSIENT);
    else
      sqlite3_bind_int(stmt, 1, id);
    if (sqlite3_step(stmt) != SQLITE_ROW) state.SkipWithError("not found");
    benchmark::DoNotOptimize(sqlite3_column_double(stmt, 2));
    sqlite3_reset(stmt);
  }
  sqlite3_finalize(stmt);
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("csv-scan-1m/ours", scanOurs)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("csv-index-int/ours", buildOurs, false)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("csv-index-text/ours", buildOurs, true)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("csv-lookup-int/ours", lookupOurs, false);
  RegisterBenchmark("csv-lookup-text/ours", lookupOurs, true);
#ifdef LOOMKIT_PEER_LIBCSV
  RegisterBenchmark("csv-scan-1m/libcsv", scanLibcsv)->Unit(benchmark::kMillisecond);
#endif
#ifdef LOOMKIT_PEER_SQLITE
  RegisterBenchmark("csv-index-int/sqlite-memory", buildSqlite, false)
      ->Unit(benchmark::kMillisecond);
  RegisterBenchmark("csv-index-text/sqlite-memory", buildSqlite, true)
      ->Unit(benchmark::kMillisecond);
  RegisterBenchmark("csv-lookup-int/sqlite-memory", lookupSqlite, false);
  RegisterBenchmark("csv-lookup-text/sqlite-memory", lookupSqlite, true);
#endif
  return true;
}();

}  // namespace
