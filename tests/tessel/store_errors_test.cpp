// SPDX-License-Identifier: MIT
// Each error number of the store, and the status that a host sees for it.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "loomkit/db/tessel/tessel_database.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;

class StoreErrors : public ::testing::Test {
 protected:
  StoreErrors() { writeSample(path); }

  // The status and the error number of opening a file of these bytes.
  std::pair<GDbStatus, int> open(const std::string& leaf) const {
    GDbDatabase* database = nullptr;
    const GDbStatus status =
        GDbDatabase::openDatabase(("tessel:" + scratch / leaf).c_str(), &database);
    delete database;
    return {status, tsl_get_error()};
  }
  std::pair<GDbStatus, int> openBytes(const std::string& bytes) const {
    scratch.write("bytes.tessel", bytes);
    return open("bytes.tessel");
  }

  ScratchDirectory scratch;
  std::string path = scratch / "s.tessel";
};

using Result = std::pair<GDbStatus, int>;

TEST_F(StoreErrors, AFileThatIsNotThere) {
  EXPECT_EQ(open("none.tessel"), Result(GDbCantOpenFile, 1));
  EXPECT_EQ(open("none"), Result(GDbCantOpenFile, 1));
  EXPECT_EQ(open("no/such/directory.tessel"), Result(GDbCantOpenFile, 1));
}

TEST_F(StoreErrors, AFileOfAnotherKind) {
  EXPECT_EQ(openBytes(""), Result(GDbCantOpenFile, 2));
  EXPECT_EQ(openBytes("PK\3\4"), Result(GDbCantOpenFile, 2));
  EXPECT_EQ(openBytes("\x89tessel"), Result(GDbCantOpenFile, 2));
  EXPECT_EQ(openBytes(std::string(1000, '\0')), Result(GDbCantOpenFile, 2));
}

TEST_F(StoreErrors, WhatIsNoFileIsNotWaitedFor) {
  ASSERT_EQ(::mkdir((scratch / "dir.tessel").c_str(), 0700), 0);
  EXPECT_EQ(open("dir.tessel"), Result(GDbCantOpenFile, 2));
  ASSERT_EQ(::mkfifo((scratch / "pipe.tessel").c_str(), 0700), 0);
  EXPECT_EQ(open("pipe.tessel"), Result(GDbIoError, 3));
}

TEST_F(StoreErrors, ADirectoryBesideTheFileIsPassedOver) {
  ASSERT_EQ(::mkdir((scratch / "s").c_str(), 0700), 0);
  EXPECT_EQ(open("s").first, GDbNoError);
}

TEST_F(StoreErrors, AFileThatMayNotBeRead) {
  if (::geteuid() == 0) {
    // Nothing is refused to the superuser; a link that leads to itself is.
    ASSERT_EQ(::symlink("loop.tessel", (scratch / "loop.tessel").c_str()), 0);
    EXPECT_EQ(open("loop.tessel"), Result(GDbIoError, 3));
  } else {
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    EXPECT_EQ(open("s.tessel"), Result(GDbIoError, 3));
  }
}

TEST_F(StoreErrors, ADamagedHeaderOrDirectory) {
  namespace h = tessel::layout::header;
  const std::string good = scratch.read("s.tessel");
  for (const std::size_t at :
       {h::version.offset, h::fileSize.offset, h::sums.offset, h::directorySize.offset,
        h::directorySum.offset, h::reserved1.offset, h::headerSum.offset, good.size() - 1}) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ 1);
    EXPECT_EQ(openBytes(bad), Result(GDbIoError, 4)) << at;
  }
  EXPECT_EQ(openBytes(good.substr(0, 8)), Result(GDbIoError, 4));
  EXPECT_EQ(openBytes(good.substr(0, good.size() - 1)), Result(GDbIoError, 4));
  EXPECT_EQ(openBytes(good + "x"), Result(GDbIoError, 4));
}

TEST_F(StoreErrors, AnotherVersionIsNotGuessedAt) {
  namespace h = tessel::layout::header;
  std::string bytes = scratch.read("s.tessel");
  for (const std::uint32_t version : {0U, h::currentVersion - 1, h::currentVersion + 1, ~0U}) {
    h::version.store(reinterpret_cast<unsigned char*>(bytes.data()) + h::version.offset, version);
    repairSums(&bytes);
    EXPECT_EQ(openBytes(bytes), Result(GDbIoError, 4)) << version;
  }
}

TEST_F(StoreErrors, DamagedData) {
  std::string bytes = scratch.read("s.tessel");
  bytes[tessel::layout::header::size] = static_cast<char>(bytes[tessel::layout::header::size] ^ 1);
  scratch.write("bad.tessel", bytes);
  const DatabaseOwner database = openDb("tessel:" + scratch / "bad");
  const TableOwner table = openTable(database, "all");
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(1, 300), &set), GDbIoError);
  EXPECT_EQ(tsl_get_error(), 5);
  EXPECT_EQ(table->getFirstRecord(&set), GDbIoError);
  EXPECT_EQ(tsl_get_error(), 5);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
}

TEST_F(StoreErrors, AFileThatIsCutWhileItIsOpen) {
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "all");
  ASSERT_EQ(::truncate(path.c_str(), 100), 0);
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(1, 300), &set), GDbIoError);
  EXPECT_EQ(tsl_get_error(), 3);
  EXPECT_EQ(table->getFirstRecord(&set), GDbIoError);
  GDbTable* other = nullptr;
  EXPECT_EQ(database->openTable("one", nullptr, &other), GDbIoError);
}

TEST_F(StoreErrors, AFileThatGrowsWhileItIsOpen) {
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "all");
  scratch.write("s.tessel", scratch.read("s.tessel") + std::string(100000, 'x'));
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(1, 300), &set), GDbNoError) << "what it had is still there";
  EXPECT_EQ(set.getNumRecords(), 1U);
  GDbTable* other = nullptr;
  EXPECT_EQ(database->openTable("one", nullptr, &other), GDbIoError);
  EXPECT_EQ(tsl_get_error(), 3);
  EXPECT_EQ(open("s.tessel"), Result(GDbIoError, 4)) << "longer than its header tells";
}

TEST_F(StoreErrors, AHandleOfADatabaseThatIsNone) {
  for (const int handle : {-1, -7, 12345, INT_MAX, INT_MIN}) {
    EXPECT_EQ(tsl_close_database(handle), -1);
    EXPECT_EQ(tsl_get_error(), 6);
    EXPECT_EQ(tsl_open_table(handle, "all", 0), -1);
    EXPECT_EQ(tsl_get_error(), 6);
  }
  GDbTessel database("tessel:x", 12345);
  GDbTable* table = nullptr;
  EXPECT_EQ(database.openTable("all", nullptr, &table), GDbInternalError);
}

TEST_F(StoreErrors, ATableWhoseDatabaseIsClosedBehindItsBack) {
  const int handle = tsl_open_database(path.c_str(), 0);
  auto database = std::make_unique<GDbTessel>("tessel:x", handle);
  GDbTable* opened = nullptr;
  ASSERT_EQ(database->openTable("all", nullptr, &opened), GDbNoError);
  const TableOwner table(opened);
  ASSERT_EQ(tsl_close_database(handle), 0);
  int id = 0;
  GDbStructure* structure = nullptr;
  GDbRecordSet set;
  EXPECT_EQ(table->getFieldId("id", &id), GDbInternalError);
  EXPECT_EQ(table->getStructure(&structure), GDbInternalError);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbInternalError);
  EXPECT_EQ(tsl_get_error(), 6);
  EXPECT_EQ(table->getFirstRecord(&set), GDbInternalError);
  EXPECT_EQ(tsl_get_error(), 6);
  EXPECT_EQ(table->closeTable(), GDbNoError) << "its handle is freed";
  EXPECT_EQ(database->closeDatabase(), GDbNoError) << "a clean closing of the tables wins";
}

TEST_F(StoreErrors, AHandleOfATableThatIsNone) {
  GDbTessel database("tessel:x", tsl_open_database(path.c_str(), 0));
  GDbTesselTable table(&database, "x", 12345);
  int id = 0;
  GDbRecordSet set;
  EXPECT_EQ(table.getFieldId("id", &id), GDbInternalError);
  EXPECT_EQ(tsl_get_error(), 7);
  EXPECT_EQ(table.lookupKey(GDbKey(0, 1), &set), GDbInternalError);
  EXPECT_EQ(table.getFirstRecord(&set), GDbInternalError);
  EXPECT_EQ(table.closeTable(), GDbInternalError);
  EXPECT_EQ(tsl_get_error(), 7);
  EXPECT_EQ(database.closeDatabase(), GDbInternalError) << "of the table";
}

TEST_F(StoreErrors, AHandleThatWasClosedStandsForNothing) {
  const int first = tsl_open_database(path.c_str(), 0);
  const int table = tsl_open_table(first, "all", 0);
  EXPECT_EQ(tsl_close_table(table), 0);
  EXPECT_EQ(tsl_close_table(table), -1);
  EXPECT_EQ(tsl_get_error(), 7);
  EXPECT_EQ(tsl_close_database(first), 0);
  const int second = tsl_open_database(path.c_str(), 0);
  EXPECT_NE(first, second) << "though the slot is used again";
  EXPECT_EQ(tsl_open_table(first, "all", 0), -1);
  EXPECT_EQ(tsl_get_error(), 6);
  EXPECT_EQ(tsl_close_database(second), 0);
}

TEST_F(StoreErrors, ATableOfAnotherName) {
  const DatabaseOwner database = openDb("tessel:" + path);
  GDbTable* table = nullptr;
  for (const char* name : {"", "ALL", "al", "all "}) {
    EXPECT_EQ(database->openTable(name, nullptr, &table), GDbInvalidTableName) << name;
    EXPECT_EQ(tsl_get_error(), 8);
  }
}

TEST_F(StoreErrors, ArgumentsThatAreNone) {
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "all");
  GDbRecordSet set;
  const GDbKey keys[] = {GDbKey(1, 300), GDbKey(12, 1)};
  EXPECT_EQ(table->lookupKeys(keys, 2, &set), GDbInvalidArgument) << "a field beyond the last";
  EXPECT_EQ(tsl_get_error(), 9);
  EXPECT_EQ(table->lookupKey(GDbKey(-1, 1), &set), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKey(GDbKey(1, "300"), &set), GDbInvalidArgument) << "a text for a number";
  EXPECT_EQ(table->lookupKey(GDbKey(10, 1), &set), GDbInvalidArgument) << "a number for a text";
  EXPECT_EQ(table->lookupKey(GDbKey(10, static_cast<const char*>(nullptr)), &set),
            GDbInvalidArgument);
  EXPECT_EQ(table->lookupKeys(keys, 0, &set), GDbInvalidArgument) << "no key";
  GDbKey blob(1, 300);
  blob.type = GDbFieldBlob;
  EXPECT_EQ(table->lookupKey(blob, &set), GDbInvalidArgument);
  // Nothing that the backend would ask.
  EXPECT_EQ(tsl_open_database(nullptr, 0), -1);
  EXPECT_EQ(tsl_get_error(), 9);
  const int handle = tsl_open_database(path.c_str(), 0);
  EXPECT_EQ(tsl_open_table(handle, nullptr, 0), -1);
  EXPECT_EQ(tsl_get_error(), 9);
  const int opened = tsl_open_table(handle, "all", 0);
  TslResultSet rows = {0, 0, nullptr};
  for (const auto& [first, count] : {std::pair(-1, 1), std::pair(0, 0), std::pair(0, -1)}) {
    EXPECT_EQ(tsl_lookup_recno(opened, first, count, 0, &rows), -1);
    EXPECT_EQ(tsl_get_error(), 9);
  }
  EXPECT_EQ(tsl_lookup_recno(opened, 0, 1, 0, nullptr), -1);
  EXPECT_EQ(tsl_lookup_keys(opened, nullptr, 1, 0, &rows), -1);
  EXPECT_EQ(tsl_get_error(), 9);
  tsl_free_result_set(nullptr);
  tsl_free_table_descr(nullptr);
  EXPECT_EQ(tsl_close_table(opened), 0);
  EXPECT_EQ(tsl_close_database(handle), 0);
}

TEST_F(StoreErrors, KeysThatNoIndexServes) {
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "all");
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoIndex);
  EXPECT_EQ(tsl_get_error(), 11);
  EXPECT_EQ(table->lookupKey(GDbKey(9, "c1"), &set), GDbNoIndex) << "a part of an index only";
  GDbStructure structure;
  structure.appendField(field("tiny", GDbFieldInt, false, true));
  GDbTable* opened = nullptr;
  EXPECT_EQ(database->openTable("all", &structure, &opened), GDbNoIndex);
}

}  // namespace
