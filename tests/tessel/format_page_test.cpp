// SPDX-License-Identifier: MIT
// The example of docs/formats/tessel.md is a store, and the one that the writer
// makes.
#include <fstream>
#include <sstream>

#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;

// The bytes of the page's hex block; lines that it leaves out are zeros.
std::string bytesOfPage() {
  std::ifstream page(LOOMKIT_SOURCE_DIR "/docs/formats/tessel.md");
  std::string line;
  while (std::getline(page, line) && line != "```hex") {
  }
  std::string bytes;
  while (std::getline(page, line) && line != "```") {
    std::istringstream fields(line);
    std::size_t offset = 0;
    fields >> std::hex >> offset;
    bytes.resize(offset, '\0');
    for (unsigned byte = 0; fields >> byte;) bytes += static_cast<char>(byte);
  }
  return bytes;
}

TEST(TesselPage, ItsExampleIsAStore) {
  const ScratchDirectory scratch;
  scratch.write("wood.tessel", bytesOfPage());
  const DatabaseOwner database = openDb("tessel:" + scratch / "wood");
  const TableOwner table = openTable(database, "wood");
  EXPECT_EQ(scan(table.get()), (std::vector<std::string>{"1|7|oak", "2|-2|ash"}));
  for (const GDbKey& key : {GDbKey(0, 2), GDbKey(1, -2)}) {
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKey(key, &set), GDbNoError);
    EXPECT_EQ(textsOf(set), std::vector<std::string>{"2|-2|ash"});
  }
}

TEST(TesselPage, TheWriterMakesItsExample) {
  const ScratchDirectory scratch;
  GTesselWriter writer(scratch / "wood.tessel");
  GDbStructure structure =
      structureOf({{"no", GDbFieldInt}, {"id", GDbFieldInt}, {"name", GDbFieldString}});
  structure.addIndex(GDbIndex("no", "no", true, false));
  structure.addIndex(GDbIndex("id", "id", true, false));
  ASSERT_EQ(addTable(&writer, "wood", structure, {}, {{1, 7, "oak"}, {2, -2, "ash"}}), GDbNoError);
  ASSERT_EQ(writer.commit(), GDbNoError);
  EXPECT_TRUE(scratch.read("wood.tessel") == bytesOfPage());
}

}  // namespace
