// SPDX-License-Identifier: MIT
// How cost grows: each work on ever larger data, as the time of one item (a
// row, a member, a byte). A level line is linear cost. bench/plot.py draws the
// result.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_SQLITE
#include <sqlite3.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "loomkit/loomkit.h"
#ifdef LOOMKIT_BENCH_STORE
#include "tessel/writer.h"
#endif

namespace {

namespace fs = std::filesystem;

void require(bool holds) {
  if (!holds) std::abort();
}

class Folder {
 public:
  Folder()
      : path(fs::path(fs::is_directory("/dev/shm") ? "/dev/shm" : "/tmp") /
             ("loomkit_growth_" + std::to_string(getpid()))) {
    fs::create_directories(path);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { fs::remove_all(path); }
  fs::path path;
};

std::string fileOf(const std::string& name) {
  static const Folder folder;
  return (folder.path / name).string();
}

std::string written(const std::string& name, const std::string& content) {
  std::ofstream(fileOf(name), std::ios::binary) << content;
  return fileOf(name);
}

/// What is timed; it owns the data that it works on.
using Job = std::function<void()>;

// --- expressions, texts, trees -------------------------------------------------

Job evaluate(int tokens) {
  std::string text = "1";
  for (int i = 1; i + 1 < tokens; i += 2) text += i % 4 == 1 ? " 2.5 +" : " 1.5 -";
  return [text] {
    static GRpnEval eval;
    double value = 0;
    require(eval.evalFloat(text.c_str(), &value));
    benchmark::DoNotOptimize(value);
  };
}

// The pattern can match in many ways and does not in the end.
Job matchStars(int size) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(size)) text += "ab";
  return [text] {
    benchmark::DoNotOptimize(gPatternMatch("*a*b*a*b*?c?*", text.c_str(), true, false, false));
  };
}

Job readObject(int size) {
  std::string text = "[";
  while (text.size() + 30 < static_cast<std::size_t>(size)) text += "[\"name\", 17, 2.5, [1, 2]], ";
  text += "0]";
  return [text] {
    const char* end = nullptr;
    const GRef2<GObject> object(GObject::parseCb(text.c_str(), &end));
    require(end == text.c_str() + text.size());
  };
}

Job writeMemoryStream(int size) {
  return [size] {
    GOMemStream out;
    for (int i = 0; i < size; i += 16) out.write("sixteen letters.", 16);
    benchmark::DoNotOptimize(out.rdbuf());
  };
}

// --- configuration ---------------------------------------------------------------

std::string configText(int lines) {
  std::string text;
  for (int i = 0; i < lines; ++i) {
    const std::string number = std::to_string(i);
    text +=
        i % 100 == 0 ? "[section " + number + "]\n" : "key" + number + " = value " + number + "\n";
  }
  return text;
}

Job loadConfig(int lines) {
  const std::string path = written("load.cfg", configText(lines));
  return [path] {
    GKeyValueConfigFile file;
    require(file.load(path));
  };
}

Job changeConfig(int lines) {
  auto file = std::make_shared<GKeyValueConfigFile>();
  require(file->load(written("change.cfg", configText(lines))));
  return [file, lines, at = 0]() mutable {
    at = (at + 7919) % lines;
    if (at % 100 == 0) ++at;
    require(
        file->set("section " + std::to_string(at / 100 * 100), "key" + std::to_string(at), "x"));
  };
}

Job addToConfig(int keys) {
  return [keys] {
    GKeyValueConfigFile file;
    std::istringstream in("[a]\n[b]\nlast = 1\n");
    require(file.load("new.cfg", &in));
    for (int i = 0; i < keys; ++i) require(file.set("a", "key" + std::to_string(i), "x"));
  };
}

// --- archives --------------------------------------------------------------------

std::string zipFile(int members, std::size_t size) {
  const std::string path = fileOf("members.zip");
  const std::string data(size, 'x');
  GZipWriter writer;
  require(writer.open(path));
  for (int i = 0; i < members; ++i) {
    writer.writeEntry(std::to_string(i), data.data(), static_cast<unsigned>(data.size()));
  }
  require(writer.close());
  return path;
}

Job createZip(int members) {
  return [members] { zipFile(members, 100); };
}

Job openZip(int members) {
  const std::string path = zipFile(members, 0);
  return [path] {
    GZipReader reader;
    require(reader.open(path));
  };
}

Job findInZip(int members) {
  auto reader = std::make_shared<GZipReader>();
  require(reader->open(zipFile(members, 0)));
  return [reader, members, at = 0]() mutable {
    at = (at + 7919) % members;
    require(reader->getEntry(std::to_string(at)) != nullptr);
  };
}

Job extractZip(int members) {
  const std::string path = zipFile(members, 100);
  return [path] {
    GZipReader reader;
    require(reader.open(path));
    std::ostringstream out;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      require(reader.readEntry((*i).second, &out, false));
    }
  };
}

Job extractMember(int size) {
  auto reader = std::make_shared<GZipReader>();
  require(reader->open(zipFile(1, static_cast<std::size_t>(size))));
  return [reader] {
    GOMemStream out;
    require(reader->readEntry("0", &out, false));
  };
}

Job openAr(int members) {
  std::string bytes = "!<arch>\n";
  for (int i = 0; i < members; ++i) {
    std::string header = std::to_string(i);
    header.resize(48, ' ');
    header += "100       `\n";
    bytes += header + std::string(100, 'x');
  }
  const std::string path = written("members.a", bytes);
  return [path] {
    GArReader reader;
    require(reader.open(path));
  };
}

// --- databases -------------------------------------------------------------------

GDbStructure structure() {
  GDbStructure made;
  made.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
  made.appendField(GDbField("name", GDbFieldString, 0, 0, false, false));
  made.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
  return made;
}

std::string nameOf(int id) { return "item-" + std::to_string(id); }

class Table {
 public:
  explicit Table(const std::string& locator, const std::string& name, bool create = false) {
    GDbDatabase* opened = nullptr;
    require(GDbDatabase::openDatabase(locator.c_str(), &opened) == GDbNoError);
    database.reset(opened);
    const GDbStructure fields = structure();
    GDbTable* found = nullptr;
    require((create ? database->createTable(name, &fields, &found)
                    : database->openTable(name, &fields, &found)) == GDbNoError);
    table.reset(found);
  }

  int scan() const {
    int rows = 0;
    GDbRecordSet set;
    require(table->getFirstRecord(&set) == GDbNoError);
    while (set.getNumRecords() > 0) {
      ++rows;
      set.clear();
      require(table->getNextRecord(&set) == GDbNoError);
    }
    return rows;
  }

  void lookUp(const GDbKey& key) const {
    GDbRecordSet set;
    require(table->lookupKey(key, &set) == GDbNoError && set.getNumRecords() == 1);
  }

  void insert(int rows) const {
    GDbRecordSet records;
    for (int i = 0; i < rows; ++i) {
      auto* record = new GDbRecord;
      record->addIntField(i);
      record->addStringField(nameOf(i));
      record->addFloatField(i * 0.25);
      records.addRecord(record);
    }
    database->getTransactionHandler()->begin();
    require(table->insertRecords(records) == GDbNoError);
    database->getTransactionHandler()->commit();
  }

  std::unique_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;
};

std::shared_ptr<Table> csvTable(int rows) {
  const std::string name = "rows" + std::to_string(rows);
  std::ofstream out(fileOf(name + ".csv"), std::ios::binary);
  for (int i = 0; i < rows; ++i) out << i << ';' << nameOf(i) << ';' << i / 4 << ".25\n";
  out.close();
  return std::make_shared<Table>("csv:" + fileOf(""), name);
}

Job scanCsv(int rows) {
  return [table = csvTable(rows), rows] { require(table->scan() == rows); };
}

Job indexCsv(int rows) {
  csvTable(rows);
  return [rows] { Table("csv:" + fileOf(""), "rows" + std::to_string(rows)).lookUp(GDbKey(0, 0)); };
}

Job lookUpCsv(int rows) {
  auto table = csvTable(rows);
  table->lookUp(GDbKey(0, 0));
  return [table, rows, random = std::mt19937(1)]() mutable {
    table->lookUp(GDbKey(0, static_cast<int>(random() % static_cast<unsigned>(rows))));
  };
}

std::shared_ptr<Table> sqliteTable(int rows) {
  const std::string path = fileOf("rows" + std::to_string(rows) + ".db");
  if (fs::exists(path)) return std::make_shared<Table>("sqlite3:" + path, "t");
  auto table = std::make_shared<Table>("sqlite3:" + path + "?create", "t", true);
  table->insert(rows);
  return table;
}

Job scanSqlite(int rows) {
  return [table = sqliteTable(rows), rows] {
    int found = 0;
    GDbRecordSet set;
    require(table->table->getFirstRecord(&set) == GDbNoError);
    for (; set.getNumRecords() > 0; table->table->getNextRecord(&set)) ++found;
    require(found == rows);
  };
}

Job insertSqlite(int rows) {
  return [rows] {
    fs::remove(fileOf("insert.db"));
    Table("sqlite3:" + fileOf("insert.db") + "?create", "t", true).insert(rows);
  };
}

Job lookUpSqlite(int rows) {
  auto table = sqliteTable(rows);
  table->database->getTransactionHandler()->begin();
  return [table, rows, random = std::mt19937(1)]() mutable {
    table->lookUp(GDbKey(0, static_cast<int>(random() % static_cast<unsigned>(rows))));
  };
}

#ifdef LOOMKIT_PEER_SQLITE
Job lookUpRaw(int rows) {
  sqliteTable(rows);
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  require(sqlite3_open(fileOf("rows" + std::to_string(rows) + ".db").c_str(), &db) == SQLITE_OK);
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  require(sqlite3_prepare_v2(db, "SELECT id, name, price FROM t WHERE id = ?", -1, &stmt,
                             nullptr) == SQLITE_OK);
  const std::shared_ptr<sqlite3> connection(db, sqlite3_close);
  const std::shared_ptr<sqlite3_stmt> statement(stmt, sqlite3_finalize);
  return [connection, statement, rows, random = std::mt19937(1)]() mutable {
    sqlite3_stmt* query = statement.get();
    sqlite3_bind_int(query, 1, static_cast<int>(random() % static_cast<unsigned>(rows)));
    require(sqlite3_step(query) == SQLITE_ROW);
    benchmark::DoNotOptimize(sqlite3_column_double(query, 2));
    benchmark::DoNotOptimize(sqlite3_column_text(query, 1));
    sqlite3_step(query);
    sqlite3_reset(query);
  };
}
#endif

#ifdef LOOMKIT_BENCH_STORE
std::string buildStore(const std::string& name, int rows) {
  const std::string path = fileOf(name);
  GTesselWriter writer(path);
  GDbStructure fields = structure();
  fields.addIndex(GDbIndex("by name", "name", true, false));
  require(writer.beginTable("t", fields) == GDbNoError);
  for (int i = 0; i < rows; ++i) {
    GDbRecordSet set;
    auto* record = new GDbRecord;
    set.addRecord(record);
    record->addIntField(i);
    record->addStringField(nameOf(i));
    record->addFloatField(i * 0.25);
    require(writer.addRecord(*record) == GDbNoError);
  }
  require(writer.endTable() == GDbNoError && writer.commit() == GDbNoError);
  return path;
}

std::string storeOf(int rows) {
  const std::string name = "rows" + std::to_string(rows) + ".tessel";
  return "tessel:" + (fs::exists(fileOf(name)) ? fileOf(name) : buildStore(name, rows));
}

Job buildStoreAgain(int rows) {
  return [rows] { buildStore("again.tessel", rows); };
}

Job openStore(int rows) {
  return [locator = storeOf(rows)] { Table(locator, "t"); };
}

Job scanStore(int rows) {
  return [table = std::make_shared<Table>(storeOf(rows), "t"), rows] {
    require(table->scan() == rows);
  };
}

Job lookUpStore(int rows) {
  auto table = std::make_shared<Table>(storeOf(rows), "t");
  table->scan();
  for (int i = 0; i < rows; ++i) table->lookUp(GDbKey(1, nameOf(i).c_str()));
  return [table, rows, random = std::mt19937(1)]() mutable {
    const auto row = static_cast<int>(random() % static_cast<unsigned>(rows));
    table->lookUp(GDbKey(1, nameOf(row).c_str()));
  };
}
#endif

// --- the table of works --------------------------------------------------------------

struct Work {
  const char* name;  // "panel/line": lines of one panel share its axes
  const char* item;
  int smallest;
  int largest;
  bool whole;  // the job treats all items; otherwise one of them
  Job (*prepare)(int size);
};

const Work works[] = {
    {"expression/evalFloat", "token", 10, 1000000, true, evaluate},
    {"pattern of six stars/gPatternMatch", "character", 10, 100000, true, matchStars},
    {"object notation/parse", "byte", 100, 10000000, true, readObject},
    {"memory stream/write", "byte", 100, 100000000, true, writeMemoryStream},
    {"configuration/load", "line", 100, 1000000, true, loadConfig},
    {"configuration/change a value", "line", 100, 1000000, false, changeConfig},
    {"configuration/add keys", "line", 100, 10000, true, addToConfig},
    {"zip members/create", "member", 100, 60000, true, createZip},
    {"zip members/open", "member", 100, 60000, true, openZip},
    {"zip members/extract", "member", 100, 60000, true, extractZip},
    {"zip members/find", "member", 100, 60000, false, findInZip},
    {"one zip member/extract", "byte", 100, 100000000, true, extractMember},
    {"ar/open", "member", 100, 100000, true, openAr},
    {"csv/scan", "row", 100, 1000000, true, scanCsv},
    {"csv/build index", "row", 100, 1000000, true, indexCsv},
    {"csv/look up", "row", 100, 1000000, false, lookUpCsv},
    {"sqlite/scan", "row", 100, 1000000, true, scanSqlite},
    {"sqlite/insert", "row", 100, 1000000, true, insertSqlite},
    {"sqlite/look up", "row", 100, 1000000, false, lookUpSqlite},
#ifdef LOOMKIT_PEER_SQLITE
    {"sqlite/look up, raw", "row", 100, 1000000, false, lookUpRaw},
#endif
#ifdef LOOMKIT_BENCH_STORE
    {"table store/build", "row", 100, 10000000, true, buildStoreAgain},
    {"table store/scan", "row", 100, 10000000, true, scanStore},
    {"table store/look up a text", "row", 100, 10000000, false, lookUpStore},
    {"table store/open", "row", 100, 10000000, false, openStore},
#endif
};

void add(const Work& work, int size) {
  const std::string name = std::string(work.name) + "/" + work.item + "/" + std::to_string(size);
  benchmark::RegisterBenchmark(name.c_str(), [&work, size](benchmark::State& state) {
    const Job job = work.prepare(size);
    job();
    for (auto _ : state) job();
    state.SetItemsProcessed(state.iterations() * (work.whole ? size : 1));
  });
}

const bool registered = [] {
  for (const Work& work : works) {
    std::int64_t size = work.smallest;
    for (; size < work.largest; size *= 10) add(work, static_cast<int>(size));
    add(work, work.largest);
  }
  return true;
}();

}  // namespace
