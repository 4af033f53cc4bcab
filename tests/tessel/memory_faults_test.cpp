// SPDX-License-Identifier: MIT
// Memory that runs out at every place: the store says so, or the standard library
// does, and gives everything back.
#include "tests/allocation_faults.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;

TEST(StoreWithoutMemory, AsksForItAndGivesItBack) {
  const ScratchDirectory scratch;
  writeSample(scratch / "s.tessel");
  const std::string locator = "tessel:" + scratch / "s.tessel";
  // The registries of handles grow once and stay.
  {
    const DatabaseOwner database = openDb(locator);
    openTable(database, "all").reset();
  }
  const std::size_t failures = failEachAllocation([&] {
    GDbDatabase* opened = nullptr;
    if (GDbDatabase::openDatabase(locator.c_str(), &opened) != GDbNoError) return;
    const DatabaseOwner database(opened);
    GDbTable* found = nullptr;
    if (database->openTable("all", nullptr, &found) != GDbNoError) return;
    const TableOwner table(found);
    GDbStructure* structure = nullptr;
    if (table->getStructure(&structure) != GDbNoError) return;
    delete structure;
    GDbRecordSet set;
    if (table->lookupKey(GDbKey(10, "odd"), &set) != GDbNoError) return;
    EXPECT_EQ(set.getNumRecords(), 10U);
    if (table->getFirstRecord(&set) != GDbNoError) return;
    EXPECT_EQ(set.getNumRecords(), 11U);
  });
  EXPECT_GT(failures, 30U);
}

TEST(StoreWithoutMemory, ALookupAllocatesForItsResultOnly) {
  const ScratchDirectory scratch;
  writeSample(scratch / "s.tessel");
  const DatabaseOwner database = openDb("tessel:" + scratch / "s");
  const TableOwner table = openTable(database, "all");
  GDbRecordSet set;
  ASSERT_EQ(table->lookupKey(GDbKey(1, 300), &set), GDbNoError);
  set.clear();
  const std::size_t before = allocationCount();
  ASSERT_EQ(table->lookupKey(GDbKey(1, 300), &set), GDbNoError);
  EXPECT_EQ(allocationCount() - before, 2U) << "the result of the store, and the record";
}

TEST(StoreWithoutMemory, TheWriterLeavesNothingBehind) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("t.tessel", "what was there");
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"text", GDbFieldString}});
  const auto record = recordOf({1, "one"});
  const std::size_t failures = failEachAllocation([&] {
    GTesselWriter writer(path, 0);
    if (writer.beginTable("t", structure) != GDbNoError) return;
    for (int i = 0; i < 5; ++i)
      if (writer.addRecord(*record->getRecord(0)) != GDbNoError) return;
    if (writer.endTable() == GDbNoError) writer.commit();
  });
  EXPECT_GT(failures, 20U);
  EXPECT_NE(scratch.read("t.tessel"), "what was there") << "the last one got through";
}

}  // namespace
