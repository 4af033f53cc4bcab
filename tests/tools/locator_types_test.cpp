// SPDX-License-Identifier: MIT
// What is said about a locator that names no type of databases.
#include "tools/loom/locator_types.h"

#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

TEST(LocatorHint, LooksAtThePathOrThePrefix) {
  const std::string folder = newFolder();
  ASSERT_EQ(shell("sqlite3 " + folder + "/plain 'create table t (a)'").code, 0);
  const struct {
    std::string locator;
    std::string hint;
  } rows[] = {
      {folder + "/plain", "Did you mean 'sqlite3:" + folder + "/plain'?"},
      {"new.sqlite", "Did you mean 'sqlite3:new.sqlite'?"},
      {"new.tessel", "Did you mean 'tessel:new.tessel'?"},
      {"fruit.csv", "Did you mean the database 'csv:.' with its table 'fruit'?"},
      {"/data/fruit.dbf", "Did you mean the database 'xbase:/data' with its table 'fruit'?"},
      {"sqlit3:t.db", "Did you mean 'sqlite3:t.db'?"},
      {"quite-another:x",
       "A database begins with its type: csv:, sqlite3:, xbase:, tessel:, postgresql:."},
      {folder,
       "A database begins with its type: csv:, sqlite3:, xbase:, tessel:, postgresql:; 'csv:" +
           folder + "', for example."},
  };
  for (const auto& row : rows) EXPECT_EQ(loom::locatorHint(row.locator), row.hint);
}

TEST(LocatorHint, StandsBelowTheErrorOfEveryCommandOnDatabases) {
  const std::string hint = "t.db: invalid database locator\nDid you mean 'sqlite3:t.db'?\n";
  for (const std::vector<std::string>& words : {std::vector<std::string>{"sql", "t.db", "select 1"},
                                                {"db", "tables", "t.db"},
                                                {"db", "scan", "t.db", "a"}}) {
    const Ended ended = runLoom(words);
    EXPECT_EQ(ended.code, 3) << ended;
    EXPECT_TRUE(ended.err.ends_with(hint)) << ended;
  }
}

}  // namespace
