// SPDX-License-Identifier: MIT
#include "loomkit/system/mem_dbg.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(MemDbg, TheFunctionsDoNothing) {
  gMemDbgStartRecording();
  gMemDbgStopRecording();
  gMemDbgResetRecording();
  std::ostringstream out;
  gMemDbgDump(out);
  EXPECT_EQ(out.str(), "memory debugging not compiled in");
  GMemDbgStat statistic{1, 2};
  gMemDbgGetStatistic(&statistic);
  EXPECT_EQ(statistic.first, 0U);
  EXPECT_EQ(statistic.second, 0U);
  static_assert(sizeof(GMemDbgStat) == 8);
}

TEST(MemDbg, RecordsAreEmpty) {
  const GMemDbgBlock block;
  EXPECT_EQ(block.getKey(), nullptr);
  EXPECT_EQ(block.getPtr(), block.getKey());
  EXPECT_EQ(block.getSize(), 0U);
  EXPECT_EQ(block.getStack()[0], nullptr);
  EXPECT_EQ(GMemDbgAllocSite().getTotalSize(), 0U);
  EXPECT_EQ(GMemDbgBlockHash().getNumEntries(), 0U);
  EXPECT_EQ(GMemDbgAllocSiteHash().getNumEntries(), 0U);
  GMemDbgObj a;
  const GMemDbgObj b{};
  a = b;
}

}  // namespace
