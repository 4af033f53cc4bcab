// SPDX-License-Identifier: MIT
// Reading in blocks: what is checked when, what stays in memory, and what becomes
// of a file that changes while it is open.
#include "tessel/store/block_file.h"

#include <unistd.h>

#include "tessel/store/store.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using tessel::BlockFile;
using tessel::Error;
using tessel::Store;
namespace layout = tessel::layout;

// A store of 100 blocks or so.
class LargeStore : public ::testing::Test {
 protected:
  static constexpr int rowCount = 20000;

  LargeStore() {
    std::vector<Cells> rows;
    for (int i = 0; i < rowCount; ++i)
      rows.push_back({i, std::string(static_cast<std::size_t>(i % 100), 'x') + std::to_string(i)});
    writeStore(path, structureOf({{"id", GDbFieldInt}, {"text", GDbFieldString}}), {"id"}, rows);
  }

  ScratchDirectory scratch;
  std::string path = scratch / "large.tessel";
};

// The text of a row through the ten calls, or "error N".
std::string textOfRow(int table, int row) {
  TslResultSet set = {0, 0, nullptr};
  if (tsl_lookup_recno(table, row, 1, 0, &set) != 0)
    return "error " + std::to_string(tsl_get_error());
  std::string text = set.rowCount == 1 ? set.rows[0].values[1].value.textValue : "no row";
  tsl_free_result_set(&set);
  return text;
}

TEST_F(LargeStore, OpensByReadingItsEndsOnly) {
  // Everything between the header and the directory may be anything.
  std::string bytes = scratch.read("large.tessel");
  const loomkit::RecordReader header(bytes.data(), bytes.size());
  const auto directory = static_cast<std::size_t>(header.get(layout::header::directory));
  for (std::size_t at = layout::header::size; at < directory; ++at) bytes[at] = 'x';
  scratch.write("spoilt.tessel", bytes);
  Store store;
  EXPECT_EQ(store.open(scratch / "spoilt.tessel"), Error::none);
  ASSERT_EQ(store.tables().size(), 1U);
  TslResultSet set = {0, 0, nullptr};
  EXPECT_EQ(store.lookupRows(store.tables()[0], 0, 1, &set), Error::damagedData);
}

TEST_F(LargeStore, ChecksABlockWhenItIsFirstTouched) {
  std::string bytes = scratch.read("large.tessel");
  const auto far = layout::blockSize * 30 + 7;
  bytes[far] = static_cast<char>(bytes[far] ^ 1);
  scratch.write("flipped.tessel", bytes);
  Store store;
  ASSERT_EQ(store.open(scratch / "flipped.tessel"), Error::none);
  BlockFile* const file = store.blocks();
  EXPECT_NE(file->at(layout::blockSize * 29), nullptr);
  EXPECT_EQ(file->at(layout::blockSize * 30), nullptr);
  EXPECT_EQ(file->error(), Error::damagedData);
  EXPECT_NE(file->at(layout::blockSize * 31), nullptr) << "the others can be read";
  EXPECT_EQ(file->verify(30), Error::damagedData);
  EXPECT_EQ(file->verify(31), Error::none);
}

TEST_F(LargeStore, AFileThatIsCutWhileItIsOpenIsAnErrorAndNoSignal) {
  const int database = tsl_open_database(path.c_str(), 0);
  ASSERT_GE(database, 0);
  const int table = tsl_open_table(database, "t", 0);
  ASSERT_GE(table, 0);
  EXPECT_EQ(textOfRow(table, 5), "xxxxx5");
  ASSERT_EQ(::truncate(path.c_str(), 20000), 0);
  EXPECT_EQ(textOfRow(table, rowCount - 1), "error 3");
  EXPECT_EQ(textOfRow(table, 5), "xxxxx5") << "what is in memory stays";
  EXPECT_EQ(tsl_open_table(database, "t", 0), -1) << "no new start on such a file";
  EXPECT_EQ(tsl_get_error(), 3);
  EXPECT_EQ(tsl_close_table(table), 0);
  EXPECT_EQ(tsl_close_database(database), 0);
}

TEST_F(LargeStore, AFileThatIsWrittenOverWhileItIsOpenIsDamaged) {
  const int database = tsl_open_database(path.c_str(), 0);
  const int table = tsl_open_table(database, "t", 0);
  EXPECT_EQ(textOfRow(table, 5), "xxxxx5");
  std::string bytes = scratch.read("large.tessel");
  scratch.write("large.tessel", std::string(bytes.size(), 'z'));
  EXPECT_EQ(textOfRow(table, rowCount - 1), "error 5");
  EXPECT_EQ(tsl_close_database(database), 0);
  EXPECT_EQ(tsl_close_table(table), 0);
}

TEST_F(LargeStore, AFileThatIsReplacedStaysAsItWas) {
  const int database = tsl_open_database(path.c_str(), 0);
  const int table = tsl_open_table(database, "t", 0);
  writeStore(path, structureOf({{"id", GDbFieldInt}, {"text", GDbFieldString}}), {}, {{1, "new"}});
  EXPECT_EQ(textOfRow(table, 5), "xxxxx5");
  EXPECT_EQ(textOfRow(table, rowCount - 1).substr(99), "19999");
  EXPECT_EQ(tsl_close_table(table), 0);
  EXPECT_EQ(tsl_close_database(database), 0);
}

TEST_F(LargeStore, KeepsNoMoreBlocksThanItMay) {
  Store store;
  ASSERT_EQ(store.open(path), Error::none);
  store.blocks()->setFrameLimit(0);  // as few as there may be
  const tessel::TableInfo& table = store.tables()[0];
  // Rows from all over the file, so that blocks come and go.
  for (int i = 0; i < 5000; ++i) {
    const int row = i * 7919 % rowCount;
    TslKey key{0, TslTypeSigned, {}};
    key.value.signedValue = row;
    TslResultSet set = {0, 0, nullptr};
    ASSERT_EQ(store.lookupKeys(table, &key, 1, &set), Error::none);
    ASSERT_EQ(set.rowCount, 1);
    ASSERT_EQ(set.rows[0].values[1].value.textValue,
              std::string(static_cast<std::size_t>(row % 100), 'x') + std::to_string(row));
    tessel::releaseResult(&set);
  }
}

TEST_F(LargeStore, ADamagedBlockLeavesTheOthersInPlaceWhenMemoryIsShort) {
  std::string bytes = scratch.read("large.tessel");
  bytes[layout::blockSize * 10] = static_cast<char>(bytes[layout::blockSize * 10] ^ 0x40);
  scratch.write("flipped.tessel", bytes);
  Store store;
  ASSERT_EQ(store.open(scratch / "flipped.tessel"), Error::none);
  BlockFile* const file = store.blocks();
  file->setFrameLimit(0);
  for (int round = 0; round < 5; ++round)
    for (std::uint32_t block = 0; block < file->blockCount(); ++block) {
      const unsigned char* const at = file->at(std::uint64_t{block} << layout::blockShift);
      ASSERT_EQ(at == nullptr, block == 10) << block;
      if (at == nullptr) continue;
      ASSERT_EQ(*at, static_cast<unsigned char>(bytes[block * layout::blockSize])) << block;
    }
}

}  // namespace
