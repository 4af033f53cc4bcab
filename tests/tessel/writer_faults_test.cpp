// SPDX-License-Identifier: MIT
// Stores on a bad disk and without memory: a store is the old one or the new one,
// whichever call fails and wherever the process is killed.
#include <cerrno>
#include <filesystem>

#include "tests/killed_work.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;

std::vector<Cells> rowsOf(int count) {
  std::vector<Cells> rows;
  for (int i = 0; i < count; ++i)
    rows.push_back({i, std::string(static_cast<std::size_t>(i % 50), 'x') + std::to_string(i)});
  return rows;
}

// Memory is short, so that the scratch file is used.
bool write(const std::string& path, const std::vector<Cells>& rows) {
  GTesselWriter writer(path, 0);
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"text", GDbFieldString}});
  return addTable(&writer, "t", structure, {"id!", "text!"}, rows) == GDbNoError &&
         writer.commit() == GDbNoError;
}

class StoreOnABadDisk : public ::testing::Test {
 protected:
  StoreOnABadDisk() {
    EXPECT_TRUE(write(path, rowsOf(10)));
    before = scratch.read("t.tessel");
    EXPECT_TRUE(write(scratch / "after.tessel", rows));
    after = scratch.read("after.tessel");
    std::filesystem::remove(scratch / "after.tessel");
  }

  ScratchDirectory scratch;
  std::string path = scratch / "t.tessel";
  std::vector<Cells> rows = rowsOf(6000);
  std::string before;
  std::string after;
};

TEST_F(StoreOnABadDisk, IsTheOldOneWhenWritingFails) {
  for (const int error : {EIO, ENOSPC}) {
    const int failures = failInTurn(
        error, [&] { return write(path, rows); },
        [&] {
          EXPECT_TRUE(scratch.read("t.tessel") == before);
          std::size_t files = 0;
          for (const auto& entry : std::filesystem::directory_iterator(scratch.path()))
            if (entry.exists()) ++files;
          EXPECT_EQ(files, 1U) << "nothing is left beside it";
        },
        [&] { scratch.write("t.tessel", before); });
    EXPECT_GT(failures, 10);
    EXPECT_TRUE(scratch.read("t.tessel") == after);
  }
}

TEST_F(StoreOnABadDisk, IsWholeWhenCallsAreShortOrInterrupted) {
  {
    const IoFaults faults(IoFaults::Storm, 0, 0);
    EXPECT_TRUE(write(path, rows));
  }
  EXPECT_TRUE(scratch.read("t.tessel") == after);
  const IoFaults faults(IoFaults::Short, 0, 0);
  EXPECT_TRUE(write(path, rowsOf(10)));
  EXPECT_TRUE(scratch.read("t.tessel") == before);
}

TEST_F(StoreOnABadDisk, ReadsRightOrFails) {
  ASSERT_TRUE(write(path, rows));
  const int failures = failInTurn(
      EIO,
      [&] {
        GDbDatabase* opened = nullptr;
        if (GDbDatabase::openDatabase(("tessel:" + path).c_str(), &opened) != GDbNoError)
          return false;
        const DatabaseOwner database(opened);
        GDbTable* found = nullptr;
        if (database->openTable("t", nullptr, &found) != GDbNoError) return false;
        const TableOwner table(found);
        for (const int row : {0, 3000, 5999}) {
          GDbRecordSet set;
          const GDbStatus status = table->lookupKey(GDbKey(0, row), &set);
          if (status != GDbNoError) {
            EXPECT_EQ(status, GDbIoError);
            return false;
          }
          EXPECT_EQ(set.getNumRecords(), 1U);
        }
        return true;
      },
      [] {});
  EXPECT_GT(failures, 5);
}

TEST_F(StoreOnABadDisk, IsTheOldOneOrTheNewOneWhereverTheProcessIsKilled) {
  const int calls = killInTurn(
      scratch, [&] { write(path, rows); },
      [&] {
        const std::string now = scratch.read("t.tessel");
        EXPECT_TRUE(now == before || now == after);
        scratch.write("t.tessel", before);
      });
  EXPECT_GT(calls, 10);
  EXPECT_TRUE(scratch.read("t.tessel") == after);
}

}  // namespace
