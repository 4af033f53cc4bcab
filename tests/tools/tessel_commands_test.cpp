// SPDX-License-Identifier: MIT
// loom tessel check on files that are whole, damaged, and no stores.
#include <gtest/gtest.h>

#include <string>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

class TesselCheck : public ::testing::Test {
 protected:
  TesselCheck() {
    writeFile(folder + "/wood.csv", "1;oak\n2;ash\n");
    EXPECT_EQ(loom("db copy csv:. wood tessel:s.tessel").code, 0);
  }
  Ended loom(const std::string& arguments) const {
    return shell("cd " + folder + " && loom " + arguments);
  }
  void turnByte(std::size_t offset) const {
    std::string bytes = readFile(folder + "/s.tessel");
    bytes.at(offset) = static_cast<char>(bytes[offset] ^ 1);
    writeFile(folder + "/s.tessel", bytes);
  }

  const std::string folder = newFolder();
};

TEST_F(TesselCheck, SaysThatAFileIsWhole) {
  EXPECT_EQ(loom("tessel check s.tessel"), (Ended{0, "whole\n", ""}));
  EXPECT_EQ(loom("tessel check --json s.tessel"), (Ended{0, "{\"whole\":true}\n", ""}));
}

TEST_F(TesselCheck, TellsDamageAsAResultOfJsonToo) {
  constexpr std::size_t inTheData = 70;
  constexpr std::size_t inTheHeader = 20;
  for (const std::size_t offset : {inTheData, inTheHeader}) {
    turnByte(offset);
    const Ended words = loom("tessel check s.tessel");
    EXPECT_EQ(words.code, 4) << offset;
    EXPECT_EQ(words.out, "") << offset;
    ASSERT_EQ(words.err.rfind("loom: s.tessel: ", 0), 0U) << words.err;
    const std::string what = words.err.substr(6, words.err.size() - 7);  // neither "loom: " nor \n
    EXPECT_EQ(loom("tessel check --json s.tessel"),
              (Ended{4, R"({"whole":false,"what":")" + what + "\"}\n", ""}));
    turnByte(offset);
  }
}

TEST_F(TesselCheck, CallsWhatIsNoStoreNotDamaged) {
  const Ended ended = loom("tessel check --json wood.csv");
  EXPECT_EQ(ended.code, 3);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err.rfind("loom: wood.csv: ", 0), 0U) << ended.err;
}

}  // namespace
