// SPDX-License-Identifier: MIT
// Index files of any bytes, for a small table: open, walk every tag both ways, look
// keys up, then insert, change and delete records, and rebuild. What the engine has
// written itself has to be an index again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

using namespace loomkit::xbase;

void require(bool holds) {
  if (!holds) std::abort();
}

// The table of the seeds: NAME C(10), WIDE C(240), six records.
std::string tableBytes(Engine& engine, const std::string& path) {
  std::unique_ptr<DataFile> table =
      createDataFile(engine, path, {{"NAME", 'C', 10, 0}, {"WIDE", 'C', 240, 0}});
  require(table != nullptr);
  for (int i = 0; i < 6; ++i) {
    require(startAppend(*table) == ok);
    blank(*table);
    assignText(*table, 0, "N" + std::to_string(i * 5 % 6));
    assignText(*table, 1, std::string(239, static_cast<char>('a' + i)) + "x");
    require(finishAppend(*table) == ok);
  }
  require(close(*table) == ok);
  std::FILE* file = std::fopen(path.c_str(), "rb");
  std::string bytes(1U << 16, '\0');
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

void walk(DataFile& table, Tag& tag) {
  table.selected = nullptr;
  int result = goTop(tag);
  while (result == ok) result = skipKeys(tag, 1);
  result = result < 0 ? result : goBottom(tag);
  while (result == ok) result = skipKeys(tag, -1);
  table.engine->errorCode = ok;
  for (const char* key : {"N3", "", "zzzzzzzzzzzzzzz"}) {
    seekKey(tag, key);
    table.engine->errorCode = ok;
  }
  table.selected = &tag;
  if (seek(table, "N0") >= 0) skip(table, 1);
  table.engine->errorCode = ok;
}

// As far as it goes: each change is refused, or done.
void change(DataFile& table) {
  Engine& engine = *table.engine;
  table.selected = nullptr;
  for (int i = 0; i < 3; ++i) {
    if (startAppend(table) == ok) {
      blank(table);
      assignText(table, 0, "NEW");
      assignText(table, 1, std::string(static_cast<std::size_t>(100 * i), 'n'));
      finishAppend(table);
    }
    engine.errorCode = ok;
  }
  for (std::uint32_t record : {2U, 5U}) {
    if (go(table, record) == ok) assignText(table, 0, "CHANGED");
    markDeleted(table);
    if (go(table, 1) < 0) table.recordChanged = false;
    engine.errorCode = ok;
  }
  flush(table);
  engine.errorCode = ok;
}

// A file that is flushed without an error opens again.
void reopen(DataFile& table, const std::string& path) {
  Engine& engine = *table.engine;
  IndexFile* index = openIndex(table, path);
  engine.errorCode = ok;
  if (index == nullptr) return;
  require(rebuild(*index) == ok);
  require(closeIndex(*index) == ok);
  index = openIndex(table, path);
  require(index != nullptr);
  for (const auto& tag : index->tags) {
    std::uint32_t count = 0;
    int result = goTop(*tag);
    for (; result == ok; result = skipKeys(*tag, 1)) ++count;
    require(result == endOfFile);
    require(tag->unique || tag->filter != nullptr || count == table.recordCount);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const loomkit::testing::FuzzDirectory directory;
  static Engine engine;
  engine.report = Reporting::none();
  engine.safety = false;
  engine.autoOpen = false;
  static const std::string tablePath = directory.path() + "/t.dbf";
  static const std::string bytes = tableBytes(engine, tablePath);
  // Kept open from one input to the next while nothing has changed it.
  static std::unique_ptr<DataFile> table;
  if (table == nullptr) {
    const auto* const start = reinterpret_cast<const std::uint8_t*>(bytes.data());
    table = openDataFile(engine, directory.write("t.dbf", start, bytes.size()));
    require(table != nullptr);
  }
  const std::string indexPath = directory.write("t.cdx", data, size);
  IndexFile* index = openIndex(*table, indexPath);
  engine.errorCode = ok;
  if (index == nullptr) return 0;
  for (const auto& tag : index->tags) walk(*table, *tag);
  // Of the many ways to change a byte, a few go on to writing, which takes longer.
  unsigned sum = 0;
  for (std::size_t i = 0; i < size; ++i) sum += data[i];
  if (sum % 4 != 0) {
    closeIndex(*index);
    engine.errorCode = ok;
    return 0;
  }
  change(*table);
  table.reset();
  engine.errorCode = ok;
  table = openDataFile(engine, tablePath);
  require(table != nullptr);
  reopen(*table, indexPath);
  table.reset();
  engine.errorCode = ok;
  return 0;
}
