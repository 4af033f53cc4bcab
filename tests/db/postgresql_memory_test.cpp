// SPDX-License-Identifier: MIT
// A scan takes the memory of a chunk, however long the table is.
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <functional>

#include "loomkit/db/table_scan.h"
#include "tests/db/postgresql_fixture.h"

// The sanitizers' run-time has it.
extern "C" [[gnu::weak]] std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

using namespace loomkit::testing;

// libpq's memory as well as ours.
std::size_t bytesInUse() {
  if (__sanitizer_get_current_allocated_bytes != nullptr)
    return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr int rowCount = 100000;
constexpr std::size_t textSize = 200;  // 20 MB in all

class PostgresqlMemory : public PostgresqlFixture {
 protected:
  void SetUp() override {
    PostgresqlFixture::SetUp();
    run("CREATE UNLOGGED TABLE large AS SELECT n, repeat('x', " + std::to_string(textSize) +
        ") AS s FROM generate_series(1, " + std::to_string(rowCount) + ") n");
    table = openTable(database, "large");
  }

  // The most bytes that a scan takes; `between` is called behind the first rows.
  std::size_t mostOfScan(const std::function<void()>& between) {
    const std::size_t before = bytesInUse();
    std::size_t most = before;
    GDbTableScan rows(table.get());
    int count = 0;
    for (const GDbTypedRow& row : rows) {
      if (++count == 10) between();
      if (count % 100 == 0) most = std::max(most, bytesInUse());
      EXPECT_EQ(row.getText(1).size(), textSize);
    }
    EXPECT_EQ(rows.getStatus(), GDbNoError);
    EXPECT_EQ(count, rowCount);
    return most - before;
  }
};

TEST_F(PostgresqlMemory, OfAScanIsThatOfAFewRows) {
  EXPECT_LT(mostOfScan([] {}), 1 * mebibyte);
}

TEST_F(PostgresqlMemory, OfAScanInATransactionIsThatOfAChunkEvenWithWorkBetweenTheRows) {
  EXPECT_EQ(sql->begin(), GDbNoError);
  EXPECT_LT(mostOfScan([&] { run("SELECT 1"); }), 8 * mebibyte);
  EXPECT_EQ(sql->commit(), GDbNoError);
}

// What this test measures by would show it.
TEST_F(PostgresqlMemory, OfRowsThatAreSetAsideIsThatOfAll) {
  EXPECT_GT(mostOfScan([&] { run("SELECT 1"); }), std::size_t{rowCount} * textSize * 9 / 10);
}

}  // namespace
