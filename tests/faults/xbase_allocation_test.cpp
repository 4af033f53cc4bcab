// SPDX-License-Identifier: MIT
// Each allocation of work on an xBase table fails in turn: what was flushed is in the
// table afterwards with its memos, every index finds every record, and every block is
// given back.
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "tests/allocation_faults.h"
#include "tests/db/db_fixture.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

class XBaseMemoryRunsOut : public ::testing::TestWithParam<std::size_t> {
 protected:
  XBaseMemoryRunsOut() {
    structure.appendField(GDbField("num", GDbFieldInt, 6, 0, false, false));
    structure.appendField(GDbField("name", GDbFieldString, 40, 0, false, false));
    structure.appendField(GDbField("note", GDbFieldString, 10, 0, false, false));
    structure.addIndex(GDbIndex("by_num", "num", true, false));
    structure.addIndex(GDbIndex("by_name", "name", false, true));
    makeFile();
    const DatabaseOwner database = openDb("xbase:" + scratch.path());
    const TableOwner table = openTable(database, "t", &structure);
    EXPECT_EQ(insert(table.get(), 0, rowsBefore), GDbNoError);
  }

  // A table with a memo field, which the backend does not make.
  void makeFile() const {
    xbase::Engine engine;
    const auto file = xbase::createDataFile(
        engine, scratch / "t.dbf", {{"NUM", 'N', 6, 0}, {"NAME", 'C', 40, 0}, {"NOTE", 'M', 0, 0}});
    EXPECT_NE(file, nullptr);
  }

  // No memo, a short one, and one of several blocks.
  static std::string memoOf(int i) {
    return std::string(static_cast<std::size_t>(i % 3 * 450), static_cast<char>('a' + i % 26));
  }

  static GDbStatus insert(GDbTable* table, int first, int count) {
    GDbRecordSet set;
    for (int i = first; i < first + count; ++i) {
      auto* row = new GDbRecord;
      set.addRecord(row);
      row->addIntField(i);
      row->addStringField("a name beyond the small buffer " + std::to_string(i * 7919 % 100));
      row->addStringField(memoOf(i));
    }
    return table->insertRecords(set);
  }

  // Keeps the files, so that each run begins with the same ones.
  void keep() {
    for (const auto& file : std::filesystem::directory_iterator(scratch.path())) {
      const std::string name = file.path().filename().string();
      kept.emplace_back(name, scratch.read(name));
    }
  }
  void restore() const {
    for (const auto& old : std::filesystem::directory_iterator(scratch.path()))
      std::filesystem::remove(old.path());
    for (const auto& [name, bytes] : kept) scratch.write(name, bytes);
  }

  // Opens, scans, looks up, inserts and deletes. `*steps` counts the changes that were
  // flushed.
  void work(int* steps) const {
    *steps = 0;
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(("xbase:" + scratch.path()).c_str(), &opened) != GDbNoError)
      return;
    const DatabaseOwner database(opened);
    GDbTable* found = nullptr;
    if (database->openTable("t", &structure, &found) != GDbNoError) return;
    const TableOwner table(found);
    GDbRecordSet row;
    GDbStatus status = table->getFirstRecord(&row);
    while (status == GDbNoError && row.getNumRecords() > 0) {
      row.clear();
      status = table->getNextRecord(&row);
    }
    if (status != GDbNoError || table->lookupKey(GDbKey(0, 3), &row) != GDbNoError) return;
    if (insert(table.get(), 1000, rowsMore) != GDbNoError) return;
    ++*steps;
    if (table->deleteKey(GDbKey(0, 1001)) == GDbNoError) ++*steps;
  }

  // All rows of the steps that were done, and at most those of the next one, each found
  // by both indexes; and the table goes on.
  void expectWhole(int steps) const {
    const CaptureOutput output;  // that an index was built anew is no news here
    const DatabaseOwner database = openDb("xbase:" + scratch.path());
    const TableOwner table = openTable(database, "t", &structure);
    ASSERT_NE(table, nullptr);
    int rows = 0;
    GDbRecordSet row;
    ASSERT_EQ(table->getFirstRecord(&row), GDbNoError);
    for (; row.getNumRecords() > 0; ++rows) {
      EXPECT_EQ(hits(table.get(), GDbKey(0, row.getRecord(0)->getIntField(0))), 1U);
      EXPECT_GE(hits(table.get(), GDbKey(1, row.getRecord(0)->getStringField(1))), 1U);
      EXPECT_EQ(row.getRecord(0)->getStringField(2), memoOf(row.getRecord(0)->getIntField(0)));
      row.clear();
      ASSERT_EQ(table->getNextRecord(&row), GDbNoError);
    }
    EXPECT_GE(rows, steps == 0 ? rowsBefore : rowsBefore + rowsMore - 1);
    EXPECT_LE(rows, steps == 2 ? rowsBefore + rowsMore - 1 : rowsBefore + rowsMore);
    EXPECT_EQ(insert(table.get(), 5000, 1), GDbNoError);
  }

  static std::size_t hits(GDbTable* table, const GDbKey& key) {
    GDbRecordSet found;
    EXPECT_EQ(table->lookupKey(key, &found), GDbNoError);
    return found.getNumRecords();
  }

  static constexpr int rowsBefore = 12;
  static constexpr int rowsMore = 3;
  ScratchDirectory scratch;
  GDbStructure structure;
  std::vector<std::pair<std::string, std::string>> kept;
};

TEST_P(XBaseMemoryRunsOut, LosesNothingThatWasFlushed) {
  keep();
  const Silence silence;
  int steps = 0;
  work(&steps);  // what the library makes at first use is made
  ASSERT_EQ(steps, 2);
  restore();
  const std::size_t failures = failEachAllocation([&] { work(&steps); }, GetParam(),
                                                  [&] {
                                                    expectWhole(steps);
                                                    restore();
                                                  });
  EXPECT_GT(failures, 100U);
  std::printf("%zu failing runs\n", failures);
}

// One failure, and all from then on.
INSTANTIATE_TEST_SUITE_P(Steps, XBaseMemoryRunsOut, ::testing::Values(0, 1));

}  // namespace
}  // namespace loomkit::testing
