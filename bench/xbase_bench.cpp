// SPDX-License-Identifier: MIT
// xBase tables against shapelib: a scan of 500,000 records of five fields, random
// records, and a table made anew, ours with a tag. The limit is a reader of 64 KiB
// blocks that copies the fields.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SHAPELIB
#include <shapefil.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "loomkit/loomkit.h"

namespace {

constexpr int rowCount = 500000;
constexpr int batch = 50000;

std::string nameOf(int id) { return "item-" + std::to_string(id * 7 % rowCount); }

GDbStructure structureOf(int indexes) {
  GDbStructure structure;
  structure.appendField(GDbField("id", GDbFieldInt, 9, 0, false, false));
  structure.appendField(GDbField("name", GDbFieldString, 20, 0, false, false));
  structure.appendField(GDbField("price", GDbFieldFloat, 12, 2, false, false));
  structure.appendField(GDbField("code", GDbFieldUInt, 10, 0, false, false));
  structure.appendField(GDbField("city", GDbFieldString, 12, 0, false, false));
  const char* columns[] = {"id", "name", "price", "city,id", "code"};
  for (int i = 0; i < indexes; ++i)
    structure.addIndex(GDbIndex("tag" + std::to_string(i), columns[i], false, i == 2));
  return structure;
}

// A directory of its own, in memory where there is one.
class Folder {
 public:
  Folder() {
    static int number = 0;
    const bool shm = std::filesystem::is_directory("/dev/shm");
    path = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_xbase_" + std::to_string(getpid()) +
           "_" + std::to_string(number++);
    std::filesystem::create_directory(path);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path); }
  std::string path;
};

std::unique_ptr<GDbDatabase> openFolder(const Folder& folder) {
  GDbDatabase* opened = nullptr;
  if (GDbDatabase::openDatabase(("xbase:" + folder.path).c_str(), &opened) != GDbNoError)
    std::abort();
  return std::unique_ptr<GDbDatabase>(opened);
}

void insertRows(GDbTable* table, int first, int count) {
  GDbRecordSet set;
  for (int id = first; id < first + count; ++id) {
    auto* record = new GDbRecord;
    record->addIntField(id);
    record->addStringField(nameOf(id));
    record->addFloatField(id % 1000 + 0.25);
    record->addUIntField(static_cast<unsigned>(id) * 4099U % 1000000007U);
    record->addStringField(id % 2 == 0 ? "Berlin" : "Rotterdam");
    set.addRecord(record);
  }
  if (table->insertRecords(set) != GDbNoError) std::abort();
}

// Makes the table of all rows.
void createOurs(const Folder& folder, int indexes) {
  const std::unique_ptr<GDbDatabase> database = openFolder(folder);
  const GDbStructure structure = structureOf(indexes);
  GDbTable* made = nullptr;
  if (database->createTable("t", &structure, &made) != GDbNoError) std::abort();
  const std::unique_ptr<GDbTable> table(made);
  for (int first = 0; first < rowCount; first += batch) insertRows(table.get(), first, batch);
}

const Folder& data() {
  static const Folder folder;
  static const bool made = [] {
    createOurs(folder, 1);
    return true;
  }();
  static_cast<void>(made);
  return folder;
}

void scanOurs(benchmark::State& state) {
  const std::unique_ptr<GDbDatabase> database = openFolder(data());
  const GDbStructure structure = structureOf(0);
  GDbTable* opened = nullptr;
  if (database->openTable("t", &structure, &opened) != GDbNoError) std::abort();
  const std::unique_ptr<GDbTable> table(opened);
  for (auto _ : state) {
    double sum = 0;
    GDbRecordSet set;
    table->getFirstRecord(&set);
    while (set.getNumRecords() > 0) {
      sum += set.getRecord(0)->getFloatField(2);
      set.clear();
      table->getNextRecord(&set);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

// What any reader has to do: the records in blocks, each field copied.
void scanLimit(benchmark::State& state) {
  constexpr int fieldOffsets[] = {1, 10, 30, 42, 52};
  constexpr int fieldWidths[] = {9, 20, 12, 10, 12};
  constexpr std::size_t recordLength = 64;
  constexpr std::size_t headerLength = 32 + 5 * 32 + 1;
  const std::string path = data().path + "/t.dbf";
  std::vector<char> block(recordLength * 1024);
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) std::abort();
    std::setvbuf(file, nullptr, _IONBF, 0);
    std::fseek(file, headerLength, SEEK_SET);
    char fields[5][24];
    for (std::size_t size = 0; (size = std::fread(block.data(), 1, block.size(), file)) > 0;) {
      for (std::size_t at = 0; at + recordLength <= size; at += recordLength) {
        for (int i = 0; i < 5; ++i) {
          std::memcpy(fields[i], block.data() + at + fieldOffsets[i],
                      static_cast<std::size_t>(fieldWidths[i]));
          fields[i][fieldWidths[i]] = '\0';
        }
        benchmark::DoNotOptimize(fields);
      }
    }
    std::fclose(file);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void randomOurs(benchmark::State& state) {
  GXBaseTable table;
  if (!table.open(data().path + "/t.dbf", true)) std::abort();
  std::mt19937 random(42);
  std::size_t bytes = 0;
  for (auto _ : state) {
    if (!table.go(static_cast<unsigned>(random() % rowCount) + 1)) std::abort();
    for (int i = 0; i < 5; ++i) bytes += table.getText(i).size();
  }
  benchmark::DoNotOptimize(bytes);
}

void createWithTags(benchmark::State& state, int indexes) {
  for (auto _ : state) {
    const Folder folder;
    createOurs(folder, indexes);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

#ifdef LOOMKIT_PEER_SHAPELIB
struct DbfClose {
  void operator()(DBFHandle handle) const { DBFClose(handle); }
};
using Dbf = std::unique_ptr<DBFInfo, DbfClose>;

void scanShapelib(benchmark::State& state) {
  const Dbf file(DBFOpen((data().path + "/t.dbf").c_str(), "rb"));
  if (file == nullptr) std::abort();
  for (auto _ : state) {
    double sum = 0;
    for (int i = 0; i < rowCount; ++i) {
      benchmark::DoNotOptimize(DBFReadIntegerAttribute(file.get(), i, 0));
      benchmark::DoNotOptimize(DBFReadStringAttribute(file.get(), i, 1));
      sum += DBFReadDoubleAttribute(file.get(), i, 2);
      benchmark::DoNotOptimize(DBFReadIntegerAttribute(file.get(), i, 3));
      benchmark::DoNotOptimize(DBFReadStringAttribute(file.get(), i, 4));
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}

void randomShapelib(benchmark::State& state) {
  const Dbf file(DBFOpen((data().path + "/t.dbf").c_str(), "rb"));
  if (file == nullptr) std::abort();
  std::mt19937 random(42);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const auto record = static_cast<int>(random() % rowCount);
    for (int i = 0; i < 5; ++i) bytes += std::strlen(DBFReadStringAttribute(file.get(), record, i));
  }
  benchmark::DoNotOptimize(bytes);
}

void createShapelib(benchmark::State& state) {
  for (auto _ : state) {
    const Folder folder;
    const Dbf file(DBFCreate((folder.path + "/t.dbf").c_str()));
    if (file == nullptr) std::abort();
    DBFAddField(file.get(), "ID", FTInteger, 9, 0);
    DBFAddField(file.get(), "NAME", FTString, 20, 0);
    DBFAddField(file.get(), "PRICE", FTDouble, 12, 2);
    DBFAddField(file.get(), "CODE", FTDouble, 10, 0);
    DBFAddField(file.get(), "CITY", FTString, 12, 0);
    for (int id = 0; id < rowCount; ++id) {
      DBFWriteIntegerAttribute(file.get(), id, 0, id);
      DBFWriteStringAttribute(file.get(), id, 1, nameOf(id).c_str());
      DBFWriteDoubleAttribute(file.get(), id, 2, id % 1000 + 0.25);
      DBFWriteDoubleAttribute(file.get(), id, 3, static_cast<unsigned>(id) * 4099U % 1000000007U);
      DBFWriteStringAttribute(file.get(), id, 4, id % 2 == 0 ? "Berlin" : "Rotterdam");
    }
  }
  state.SetItemsProcessed(state.iterations() * rowCount);
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("dbf-scan-500k/ours", scanOurs)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("dbf-scan-500k/limit", scanLimit)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("dbf-random-record/ours", randomOurs);
  RegisterBenchmark("dbf-create-500k/ours", createWithTags, 1)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("dbf-create-500k-5-tags/ours", createWithTags, 5)
      ->Unit(benchmark::kMillisecond);
#ifdef LOOMKIT_PEER_SHAPELIB
  RegisterBenchmark("dbf-scan-500k/shapelib", scanShapelib)->Unit(benchmark::kMillisecond);
  RegisterBenchmark("dbf-random-record/shapelib", randomShapelib);
  RegisterBenchmark("dbf-create-500k/shapelib", createShapelib)->Unit(benchmark::kMillisecond);
#endif
  return true;
}();

}  // namespace
