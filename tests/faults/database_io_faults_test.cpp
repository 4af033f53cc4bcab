// SPDX-License-Identifier: MIT
// Databases on a disk that fails at every place: a status says so, and what is
// read is right.
#include <cerrno>

#include "loomkit/archive/zip/zip_writer.h"
#include "tests/db/db_fixture.h"
#include "tests/io_faults.h"

namespace loomkit::testing {
namespace {

class DatabaseOnABadDisk : public ::testing::TestWithParam<int> {
 protected:
  DatabaseOnABadDisk() {
    std::string rows;
    for (int i = 0; i < rowCount; ++i)
      rows += std::to_string(i) + ";row " + std::to_string(i) + "\n";
    dir.write("t.csv", rows);
    GZipWriter writer;
    writer.setCompression(true);
    writer.open(dir / "a.zip");
    writer.writeEntry("z.csv", rows.data(), static_cast<unsigned>(rows.size()));
    writer.close();
  }

  // Opens, looks up and scans; false when a status was a failure. What is given
  // without one is right.
  bool use(const std::string& locator, const char* name) const {
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(locator.c_str(), &opened) != GDbNoError) return false;
    const DatabaseOwner database(opened);
    GDbTable* found = nullptr;
    if (database->openTable(name, &structure, &found) != GDbNoError) return false;
    const TableOwner table(found);
    GDbRecordSet hits;
    if (table->lookupKey(GDbKey(0, 1500), &hits) != GDbNoError) return false;
    EXPECT_EQ(hits.getNumRecords(), 1U);
    GDbRecordSet row;
    int count = 0;
    GDbStatus status = table->getFirstRecord(&row);
    for (; status == GDbNoError && row.getNumRecords() > 0; status = table->getNextRecord(&row)) {
      EXPECT_EQ(row.getRecord(0)->getIntField(0), count++);
      row.clear();
    }
    EXPECT_TRUE(status != GDbNoError || count == rowCount) << count;
    return status == GDbNoError;
  }

  static constexpr int rowCount = 3000;
  ScratchDirectory dir;
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}});
};

TEST_P(DatabaseOnABadDisk, CsvIsReadWholeOrFails) {
  const int failures = failInTurn(
      GetParam(), [&] { return use("csv:" + dir.path(), "t"); }, [] {});
  EXPECT_GT(failures, 5);
}

TEST_P(DatabaseOnABadDisk, CsvInAnArchiveIsReadWholeOrFails) {
  const CaptureOutput output;
  const int failures = failInTurn(
      GetParam(), [&] { return use("csv:" + dir.path() + "?zipfile=a.zip", "z"); }, [] {});
  EXPECT_GT(failures, 2);
}

// A transaction is in the database, or it is not.
TEST_P(DatabaseOnABadDisk, SqliteCommitsAllOrNothing) {
  const CaptureOutput output;
  const std::string path = dir / "s.db";
  const auto fill = [&] {
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(("sqlite3:" + path).c_str(), &opened) != GDbNoError) return false;
    const DatabaseOwner database(opened);
    GDbTable* found = nullptr;
    GDbStatus status = database->openTable("t", &structure, &found);
    if (status == GDbInvalidTableName) status = database->createTable("t", &structure, &found);
    if (status != GDbNoError) return false;
    const TableOwner table(found);
    GDbRecordSet records;
    for (int i = 0; i < rowCount; ++i) {
      auto* record = new GDbRecord;
      record->addIntField(i);
      record->addStringField("row " + std::to_string(i));
      records.addRecord(record);
    }
    GDbTransactionHandler* transaction = database->getTransactionHandler();
    const bool done = transaction->begin() == GDbNoError &&
                      table->insertRecords(records) == GDbNoError &&
                      transaction->commit() == GDbNoError;
    if (!done) transaction->rollback();
    return done;
  };
  const auto rows = [&] {
    const DatabaseOwner database = openDb("sqlite3:" + path);
    GDbTable* found = nullptr;
    if (database->openTable("t", nullptr, &found) != GDbNoError) return 0;
    const TableOwner table(found);
    GDbRecordSet row;
    int count = 0;
    EXPECT_EQ(table->getFirstRecord(&row), GDbNoError);
    for (; row.getNumRecords() > 0; ++count) EXPECT_EQ(table->getNextRecord(&row), GDbNoError);
    return count;
  };
  int stored = 0;
  const int failures = failInTurn(GetParam(), fill, [&] {
    const int now = rows();
    // The word of success may be what was lost.
    EXPECT_TRUE(now == stored || now == stored + rowCount) << now;
    stored = now;
  });
  EXPECT_GT(failures, 10);
  EXPECT_GE(rows(), stored + rowCount);
  EXPECT_EQ(rows() % rowCount, 0);
}

// What is there is read whole, or a status says that it is not.
TEST_P(DatabaseOnABadDisk, SqliteIsReadWholeOrFails) {
  const CaptureOutput output;
  const std::string path = dir / "r.db";
  {
    const DatabaseOwner database = openDb("sqlite3:" + path);
    GDbTable* made = nullptr;
    ASSERT_EQ(database->createTable("t", &structure, &made), GDbNoError);
    const TableOwner table(made);
    GDbRecordSet records;
    for (int i = 0; i < rowCount; ++i) {
      auto* record = new GDbRecord;
      record->addIntField(i);
      record->addStringField("row");
      records.addRecord(record);
    }
    database->getTransactionHandler()->begin();
    ASSERT_EQ(table->insertRecords(records), GDbNoError);
    ASSERT_EQ(database->getTransactionHandler()->commit(), GDbNoError);
  }
  const int failures = failInTurn(
      GetParam(),
      [&] {
        GDbDatabase* opened = nullptr;
        if (GDbDatabase::openDatabase(("sqlite3:" + path).c_str(), &opened) != GDbNoError) {
          return false;
        }
        const DatabaseOwner database(opened);
        GDbTable* found = nullptr;
        if (database->openTable("t", &structure, &found) != GDbNoError) return false;
        const TableOwner table(found);
        GDbRecordSet row;
        int count = 0;
        GDbStatus status = table->getFirstRecord(&row);
        for (; status == GDbNoError && row.getNumRecords() > 0; ++count) {
          status = table->getNextRecord(&row);
        }
        EXPECT_TRUE(status != GDbNoError || count == rowCount) << count;
        return status == GDbNoError;
      },
      [] {});
  EXPECT_GT(failures, 5);
}

INSTANTIATE_TEST_SUITE_P(Errors, DatabaseOnABadDisk, ::testing::Values(EIO, ENOSPC));

}  // namespace
}  // namespace loomkit::testing
