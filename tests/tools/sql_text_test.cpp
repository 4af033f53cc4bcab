// SPDX-License-Identifier: MIT
#include "tools/loom/sql_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

Texts textsOf(const std::string& script) {
  Texts texts;
  for (const loom::SqlStatement& statement : loom::splitStatements(script))
    texts.push_back(statement.text);
  return texts;
}

TEST(SqlText, KnowsWhereAStatementEnds) {
  const struct {
    std::string script;
    Texts statements;
  } cases[] = {
      {"", {}},
      {";", {}},
      {" ;;\n-- x; y", {}},
      {"/* no end; ", {}},
      {"SELECT 1", {"SELECT 1"}},
      {"SELECT 1; \n\t;", {"SELECT 1"}},
      {"SELECT 1; -- the end", {"SELECT 1"}},
      {"SELECT ';', \"a;b\", `c;d`, [e;f] FROM t;", {"SELECT ';', \"a;b\", `c;d`, [e;f] FROM t"}},
      {"SELECT 'it''s; all';x", {"SELECT 'it''s; all'", "x"}},
      {"SELECT 'no end; ;", {"SELECT 'no end; ;"}},
      {"SELECT 1 -- a;\n;SELECT 2", {"SELECT 1 -- a;\n", "SELECT 2"}},
      {"SELECT $$a;b$$, $t$c;$d;$t$; y", {"SELECT $$a;b$$, $t$c;$d;$t$", "y"}},
      {"CREATE TABLE trigger_t (a); SELECT 1", {"CREATE TABLE trigger_t (a)", "SELECT 1"}},
      {"CREATE TRIGGER r AFTER INSERT ON t BEGIN DELETE FROM u; END; x",
       {"CREATE TRIGGER r AFTER INSERT ON t BEGIN DELETE FROM u; END", "x"}},
      {"-- x\ncreate temp /* y */ Trigger r BEGIN SELECT CASE 1 WHEN 1 THEN 2 END; END",
       {"create temp /* y */ Trigger r BEGIN SELECT CASE 1 WHEN 1 THEN 2 END; END"}},
      {std::string("SELECT 1;\0x", 11), {"SELECT 1", std::string("\0x", 2)}}};
  for (const auto& c : cases) EXPECT_EQ(textsOf(c.script), c.statements) << c.script;
}

TEST(SqlText, FindsParametersOutsideOfTextsAndComments) {
  const auto statements = loom::splitStatements(
      "SELECT ?, ?12, :name, @n_1, $x, ':no', \"$no\", a::int, '?' -- :no\n + $1 /* ? */ || "
      "$$:no$$");
  ASSERT_EQ(statements.size(), 1U);
  EXPECT_EQ(statements[0].parameters, (Texts{"?", "?12", ":name", "@n_1", "$x"}));
  EXPECT_EQ(statements[0].text,
            "SELECT ?, ?, ?, ?, ?, ':no', \"$no\", a::int, '?' -- :no\n + $1 /* ? */ || $$:no$$");
}

TEST(SqlText, KnowsWhichStatementsChangeRows) {
  for (const std::string text : {"INSERT INTO t", " /* x */ update t", "Delete FROM t",
                                 "REPLACE INTO t", "WITH a AS (SELECT 1) DELETE FROM t"})
    EXPECT_TRUE(loom::splitStatements(text)[0].changesRows) << text;
  for (const std::string text : {"CREATE TABLE t (a)", "SELECT 1", "BEGIN", "PRAGMA x"})
    EXPECT_FALSE(loom::splitStatements(text)[0].changesRows) << text;
}

}  // namespace
