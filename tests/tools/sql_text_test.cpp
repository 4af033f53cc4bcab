// SPDX-License-Identifier: MIT
#include "tools/loom/sql_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
  std::string text;
  bool second;
};

TEST(SqlText, KnowsWhereAStatementEnds) {
  const Case cases[] = {{"", false},
                        {";", false},
                        {";;", false},
                        {"SELECT 1", false},
                        {"SELECT 1;", false},
                        {"SELECT 1; \n\t;", false},
                        {"SELECT 1; -- the end", false},
                        {"SELECT 1; /* the; end */ ", false},
                        {"SELECT 1; /* no end", false},
                        {"SELECT ';', \"a;b\", `c;d`, [e;f] FROM t;", false},
                        {"SELECT 'it''s; all';", false},
                        {"SELECT 1 -- a;\n;", false},
                        {"SELECT 'no end; ;", false},
                        {"SELECT 1-1; ", false},
                        {"SELECT 1; SELECT 2", true},
                        {"SELECT 1;SELECT 2;", true},
                        {"; SELECT 2", true},
                        {"SELECT 1; -- a\nSELECT 2", true},
                        {"SELECT 1; 'x'", true},
                        {"SELECT 'it''s'; x", true},
                        {"CREATE TABLE t (a); INSERT INTO t VALUES (1)", true},
                        {"CREATE TRIGGER r AFTER INSERT ON t BEGIN DELETE FROM u; END;", false},
                        {"-- x\ncreate temp /* y */ Trigger r BEGIN DELETE FROM u; END", false},
                        {"CREATE TABLE trigger_t (a); SELECT 1", true},
                        {std::string("SELECT 1;\0x", 11), true}};
  for (const Case& c : cases) EXPECT_EQ(loom::hasSecondStatement(c.text), c.second) << c.text;
}

}  // namespace
