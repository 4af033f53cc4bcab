// SPDX-License-Identifier: MIT
// loom db copy into xBase tables: another program reads what it wrote, and what the format
// cannot hold is refused by row and column.
#include <gmock/gmock.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

TEST(XBaseCopy, TakesWidthsAndDecimalsFromTheValues) {
  const std::string folder = newFolder();
  writeFile(folder + "/parts.csv", "1;bolt;2.5\n-20;screw nut;10.125\n3;;7\n");
  const Ended ended = shell("cd " + folder +
                            " && loom db copy csv:. parts xbase:."
                            " && loom xbase info . parts && loom xbase check . parts"
                            " && dbfdump parts.dbf | tail -n +2 | tr -s ' '");
  EXPECT_EQ(ended, (Ended{0,
                          "3 records\n"
                          "parts: 3 records of 19 bytes, version 3\n"
                          "  field C1 N(3)\n  field C2 C(9)\n  field C3 F(6,3)\n"
                          "  tag C1 on STR(C1,3,0)\n"
                          "parts: whole\n"
                          " 1 bolt 2.500 \n-20 screw nut 10.125 \n 3 (NULL) 7.000 \n",
                          ""}));
}

TEST(XBaseCopy, RefusesWhatAFieldCannotHoldAndLeavesNothingBehind) {
  const struct {
    const char* type;
    const char* first;
    const char* second;
    const char* reason;
  } rows[] = {
      {"INTEGER", "0", "NULL",
       "cannot hold NULL\n--blank-nulls writes an empty text or 0 instead."},
      {"INTEGER", "0", "3000000000", "cannot hold an integer, 3000000000"},
      {"INTEGER", "0", "'x'", "cannot hold a text, x"},
      {"DOUBLE", "0", "1/7.0",
       "cannot hold a number, 0.14285714285714285\n"
       "--decimals N rounds numbers to N decimals."},
      {"DOUBLE", "0", "1e30", "cannot hold a number, 1e+30"},
      {"DOUBLE", "0", "9e999", "cannot hold a number, inf"},
      {"TEXT", "''", "'ab '", "cannot hold a text, ab "},
      {"TEXT", "''", "x'00'", "cannot hold a blob, 00"},
  };
  const std::string folder = newFolder();
  for (const auto& row : rows) {
    const std::string make = std::string("CREATE TABLE t (a ") + row.type +
                             ", ok INTEGER); INSERT INTO t VALUES (" + row.first + ", 1), (" +
                             row.second + ", 2);";
    const Ended ended = shell("cd " + folder + " && rm -f s.db && sqlite3 s.db \"" + make +
                              "\" && loom db copy sqlite3:s.db t xbase:.; echo $?; ls");
    EXPECT_EQ(ended, (Ended{0, "6\ns.db\n",
                            std::string("loom: t: row 2, column a: ") + row.reason + "\n"}))
        << row.second;
  }
}

TEST(XBaseCopy, RoundsNumbersWhereThatIsAskedFor) {
  const std::string copy = "loom db copy sqlite3:s.db t xbase:. --decimals ";
  const std::string folder = newFolder();
  EXPECT_EQ(
      shell("cd " + folder +
            " && sqlite3 s.db 'CREATE TABLE t (id INTEGER, v DOUBLE);"
            " INSERT INTO t VALUES (1, 1/7.0), (2, -2.675), (3, 99.999)' && " +
            copy + "2 && loom xbase info t.dbf && loom db scan xbase:. t && rm t.* && " + copy +
            "15 && loom db scan xbase:. t && rm t.* && " + copy + "0 && loom db scan xbase:. t"),
      (Ended{0,
             "3 records\n"
             "t: 3 records of 8 bytes, version 3\n  field ID N(1)\n  field V F(6,2)\n"
             "  tag ID on STR(ID,1,0)\n"
             "1\t0.14\n2\t-2.67\n3\t100\n"
             "3 records\n1\t0.142857142857143\n2\t-2.675\n3\t99.999\n"
             "3 records\n1\t0\n2\t-3\n3\t100\n",
             ""}));
  for (const std::string wrong : {"16", "-1", "x", "''"})
    EXPECT_EQ(shell("cd " + folder + " && " + copy + wrong).code, 2) << wrong;
  EXPECT_EQ(shell("cd " + folder + " && loom db copy sqlite3:s.db t tessel:t --decimals 2"),
            (Ended{2, "", "loom: --decimals is for xbase: databases\n"}));
}

TEST(XBaseCopy, TakesTextsOf254BytesAndRefusesLongerOnes) {
  const std::string folder = newFolder();
  const std::string make =
      "CREATE TABLE t (a TEXT, n INTEGER); INSERT INTO t VALUES "
      "('short', 1), (printf('%.*c', 254, 'y'), 2);";
  const std::string copy = "loom db copy sqlite3:s.db t xbase:.";
  const std::string refused = "loom: t: row 2, column a: cannot hold a text, " +
                              std::string(60, 'y') +
                              " ...\n"
                              "A text of an xBase table has up to 254 bytes; this one has 255.\n";
  EXPECT_EQ(shell("cd " + folder + " && sqlite3 s.db \"" + make + "\" && " + copy +
                  " && loom db get xbase:. t n=2 && rm t.* &&"
                  " sqlite3 s.db \"UPDATE t SET a = a || 'y' WHERE n = 2\" && " +
                  copy + "; echo $?; ls"),
            (Ended{0, "2 records\n" + std::string(254, 'y') + "\t2\n6\ns.db\n", refused}));
}

}  // namespace
