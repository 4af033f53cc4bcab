// SPDX-License-Identifier: MIT
// loom db and loom sql keep every value as it is, or fail by row and column.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "run_program.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;

class ExactValues : public ::testing::Test {
 protected:
  // Runs SQL on the file, which the first call makes.
  Ended sql(const std::string& statements) {
    if (!made)
      static_cast<void>(runProgram({"python3", "-c",
                                    "import sqlite3,sys; c=sqlite3.connect(sys.argv[1]); "
                                    "c.execute('VACUUM')",
                                    path}));
    made = true;
    return runLoom({"sql", file, statements});
  }

  // Puts other bytes where a file has the old ones last, as another program might.
  void replaceLast(const std::string& name, const std::string& old,
                   const std::string& bytes) const {
    std::string content = readFile(folder + "/" + name);
    content.replace(content.rfind(old), bytes.size(), bytes);
    writeFile(folder + "/" + name, content);
  }

  const std::string folder = newFolder();
  const std::string csv = "csv:" + folder;
  const std::string path = folder + "/t.db";
  const std::string file = "sqlite3:" + path;
  bool made = false;
};

TEST_F(ExactValues, AReadOnlyDatabaseIsNotWrittenTo) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER);").code, 0);
  const std::string before = readFile(path);
  const Ended refused = runLoom({"sql", file + "?readonly", "INSERT INTO t VALUES (1)"});
  EXPECT_EQ(refused.code, 5);
  EXPECT_NE(refused.err.find("attempt to write a readonly database"), std::string::npos) << refused;
  for (const std::string statement :
       {"PRAGMA query_only = 0; INSERT INTO t VALUES (1)", "PRAGMA user_version = 7",
        "CREATE TABLE u (a)", "PRAGMA journal_mode = wal"})
    static_cast<void>(runLoom({"sql", file + "?readonly", statement}));
  EXPECT_EQ(readFile(path), before);
  EXPECT_EQ(runLoom({"sql", file + "?readonly", "SELECT count(*) FROM t"}), (Ended{0, "0\n", ""}));
  EXPECT_EQ(runLoom({"sql", file + "?readwrite", "INSERT INTO t VALUES (1)"}).code, 0);
}

TEST_F(ExactValues, AReadOnlyPathMayHaveSignsOfAUri) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER);").code, 0);
  writeFile(folder + "/a#b %.db", readFile(path));
  const std::string odd = "sqlite3:" + folder + "/a#b %25.db?readonly";
  EXPECT_EQ(runLoom({"db", "tables", odd}), (Ended{0, "t\n", ""}));
  EXPECT_EQ(runLoom({"sql", odd, "INSERT INTO t VALUES (1)"}).code, 5);
}

TEST_F(ExactValues, AnUnknownOptionIsRefused) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER);").code, 0);
  EXPECT_EQ(runLoom({"db", "tables", file + "?readnoly"}),
            (Ended{2, "", "loom: " + file + "?readnoly: there is no option 'readnoly'\n"}));
  EXPECT_EQ(runLoom({"db", "tables", csv + "?zip=x"}),
            (Ended{2, "", "loom: " + csv + "?zip=x: there is no option 'zip=x'\n"}));
  for (const char* type : {"csv:", "xbase:", "tessel:"}) {
    const std::string place = type + folder + "?readonly";
    EXPECT_EQ(runLoom({"db", "tables", place}),
              (Ended{2, "", "loom: " + place + ": there is no option 'readonly'\n"}));
  }
}

TEST_F(ExactValues, AColumnHoldsWhatItHoldsWhateverItsType) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER, b TEXT);"
                "INSERT INTO t VALUES (1.5, x'00ff'), ('word', 'c' || char(0) || 'd'), "
                "(9223372036854775807, NULL), (-9223372036854775808, '');")
                .code,
            0);
  const std::string rows = "1.5\t00ff\nword\tc" + std::string(1, '\0') +
                           "d\n9223372036854775807\t\\N\n-9223372036854775808\t\n";
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}), (Ended{0, rows, ""}));
  EXPECT_EQ(runLoom({"sql", file, "SELECT * FROM t"}), (Ended{0, rows, ""}));
  EXPECT_EQ(runLoom({"db", "head", "-n", "2", file, "t"}).out, rows.substr(0, rows.find("92")));
  EXPECT_EQ(runLoom({"db", "count", file, "t"}).out, "4\n");
  EXPECT_EQ(runLoom({"db", "get", file, "t", "a=9223372036854775807"}).out,
            "9223372036854775807\t\\N\n");
  EXPECT_EQ(Json::parse(runLoom({"db", "scan", "--json", file, "t"}).out)[2]["a"],
            9223372036854775807);
  const std::string other = "sqlite3:" + folder + "/other.db";
  ASSERT_EQ(runLoom({"db", "copy", file, "t", other}), (Ended{0, "4 records\n", ""}));
  const std::string all = "SELECT typeof(a), quote(a), hex(b), typeof(b) FROM t";
  EXPECT_EQ(runLoom({"sql", other, all}).out, runLoom({"sql", file, all}).out);
}

TEST_F(ExactValues, CsvIntegersAreExactOrRefusedByRowAndColumn) {
  writeFile(folder + "/n.csv", "5000000000;1\n-7;2\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "a:int,b:int", csv, "n"}).out,
            "5000000000\t1\n-7\t2\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "a:uint,b:int", csv, "n"}),
            (Ended{4, "5000000000\t1\n", "loom: n: row 2, column a: '-7' is no uint\n"}));
  ASSERT_EQ(runLoom({"db", "copy", "--columns", "a:int,b:int", csv, "n", file}).code, 0);
  EXPECT_EQ(runLoom({"sql", file, "SELECT a, typeof(a) FROM n"}).out,
            "5000000000\tinteger\n-7\tinteger\n");
  writeFile(folder + "/n.csv", "1;1\n9223372036854775808;2\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "a:int,b:int", csv, "n"}).err,
            "loom: n: row 2, column a: '9223372036854775808' is no int\n");
}

TEST_F(ExactValues, NamesMayHoldBlanksQuotesAndWordsOfSql) {
  ASSERT_EQ(sql("CREATE TABLE \"my \"\"t\"\"; x\" (\"a b\" INTEGER, \"select\" TEXT, "
                "\"q\"\"q\" REAL); INSERT INTO \"my \"\"t\"\"; x\" VALUES (1, 'x', 2.5);")
                .code,
            0);
  const std::string name = "my \"t\"; x";
  EXPECT_EQ(runLoom({"db", "tables", file}).out, name + "\n");
  EXPECT_EQ(runLoom({"db", "schema", file, name}).out, "a b:int\nselect:string\nq\"q:float\n");
  EXPECT_EQ(runLoom({"db", "scan", "--header", file, name}),
            (Ended{0, "a b\tselect\tq\"q\n1\tx\t2.5\n", ""}));
  EXPECT_EQ(runLoom({"db", "get", file, name, "a b=1"}).code, 0);
  const std::string other = "sqlite3:" + folder + "/other.db";
  EXPECT_EQ(runLoom({"db", "copy", file, name, other}), (Ended{0, "1 record\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", other, name}).out, "1\tx\t2.5\n");
}

TEST_F(ExactValues, ViewsAndGeneratedColumnsAndTablesWithoutRowidAreRead) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER PRIMARY KEY, "
                "b INTEGER GENERATED ALWAYS AS (a * 2) STORED) WITHOUT ROWID;"
                "INSERT INTO t (a) VALUES (4); CREATE VIEW v AS SELECT a AS x, b FROM t;")
                .code,
            0);
  EXPECT_EQ(runLoom({"db", "tables", file}).out, "t\nv\n");
  EXPECT_EQ(runLoom({"db", "schema", file, "t"}).out, "a:int\nb:int\n");
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "4\t8\n");
  EXPECT_EQ(runLoom({"db", "scan", "--header", file, "v"}).out, "x\tb\n4\t8\n");
  EXPECT_EQ(runLoom({"db", "copy", "--as", "w", file, "t", file}),
            (Ended{0, "1 record\n", "loom: w: left out: GENERATED\n"}));
  EXPECT_EQ(runLoom({"db", "scan", file, "w"}).out, "4\t8\n");
}

TEST_F(ExactValues, ColumnsChoosesSomeOfAnyTable) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER, b TEXT, c REAL);"
                "INSERT INTO t VALUES (1, 'x', 2.5)")
                .code,
            0);
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "c,a", file, "t"}).out, "2.5\t1\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "c:float", file, "t"}).out, "2.5\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "c:int", file, "t"}),
            (Ended{2, "", "loom: column c is float, not int\n"}));
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "d", file, "t"}).code, 2);
}

TEST_F(ExactValues, AFailureHasTheDatabasesOwnWords) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER)").code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "x"}),
            (Ended{3, "", "loom: x: invalid table name (no such table: x)\n"}));
  const Ended locked = runProgram(
      {"python3", "-c",
       "import sqlite3,subprocess,sys\n"
       "c=sqlite3.connect(sys.argv[1], isolation_level=None)\n"
       "c.execute('BEGIN EXCLUSIVE')\n"
       "print(subprocess.run(sys.argv[2:], capture_output=True, text=True).stderr, end='')",
       path, testedLoom(), "db", "scan", file, "t"});
  EXPECT_NE(locked.out.find("database is locked"), std::string::npos) << locked;
}

TEST_F(ExactValues, SqlRunsScriptsAndSaysWhatChanged) {
  EXPECT_EQ(sql("CREATE TABLE t (a INTEGER, b TEXT); INSERT INTO t VALUES (1, 'x;y'), (2, NULL);"
                "UPDATE t SET b = 'z' WHERE a = 2; DELETE FROM t WHERE a > 5; SELECT * FROM t"),
            (Ended{0, "2 rows changed\n1 row changed\n0 rows changed\n1\tx;y\n2\tz\n", ""}));
  EXPECT_EQ(runLoom({"sql", file}, "-- a script\nSELECT 1;\n;;\nSELECT 2;\n"),
            (Ended{0, "1\n2\n", ""}));
  EXPECT_EQ(runLoom({"sql", file, "-"}, "SELECT 1"), (Ended{0, "1\n", ""}));
  for (const std::string nothing : {"", ";", " -- nothing", "/* x */"})
    EXPECT_EQ(runLoom({"sql", file, nothing}), (Ended{0, "", ""})) << nothing;
  EXPECT_EQ(runLoom({"sql", file, "SELECT 1; SELEC 2; SELECT 3"}),
            (Ended{5, "1\n", "loom: SQL error (near \"SELEC\": syntax error)\n"}));
  EXPECT_EQ(sql("CREATE TRIGGER r AFTER INSERT ON t BEGIN UPDATE t SET b = CASE WHEN 1 THEN 'n' "
                "END; SELECT 1; END; INSERT INTO t VALUES (3, 'w'); SELECT b FROM t WHERE a = 3")
                .out,
            "1 row changed\nn\n");
}

TEST_F(ExactValues, SqlNamesItsColumns) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER, b TEXT); INSERT INTO t VALUES (1, NULL)").code, 0);
  EXPECT_EQ(runLoom({"sql", "--header", file, "SELECT a AS \"the a\", b FROM t"}),
            (Ended{0, "the a\tb\n1\t\\N\n", ""}));
  EXPECT_EQ(runLoom({"sql", "--header", "--csv", file, "SELECT a, b FROM t WHERE 0"}).out,
            "\"a\";\"b\"\n");
  EXPECT_EQ(Json::parse(runLoom({"sql", "--json", file, "SELECT a AS x, b AS y FROM t"}).out),
            Json::parse(R"([{"x": 1, "y": null}])"));
  EXPECT_EQ(Json::parse(runLoom({"sql", "--json", file, "DELETE FROM t; SELECT 1 AS one"}).out),
            Json::parse(R"([{"changed": 1}, {"one": 1}])"));
}

TEST_F(ExactValues, SqlTakesParameters) {
  ASSERT_EQ(sql("CREATE TABLE t (a INTEGER, b TEXT); INSERT INTO t VALUES (1, ':x')").code, 0);
  EXPECT_EQ(runLoom({"sql", file, "SELECT ?, ?, typeof(?)", "007", "9007199254740993", "1.5"}),
            (Ended{0, "007\t9007199254740993\treal\n", ""}));
  EXPECT_EQ(runLoom({"sql", "--param", "n=o'brien", "--param", "k=1", file,
                     "SELECT :n, @n, $n, ':n', b FROM t WHERE a = :k -- :z"}),
            (Ended{0, "o'brien\to'brien\to'brien\t:n\t:x\n", ""}));
  EXPECT_EQ(runLoom({"sql", file, "SELECT ?2, ?1", "a", "b"}).out, "b\ta\n");
  EXPECT_EQ(runLoom({"sql", file, "SELECT :n"}),
            (Ended{2, "", "loom: no value for :n; give it by --param n=VALUE\n"}));
  EXPECT_EQ(runLoom({"sql", file, "SELECT ?"}), (Ended{2, "", "loom: no value for parameter 1\n"}));
  EXPECT_EQ(runLoom({"sql", file, "SELECT 1", "x"}).err, "loom: 'x' is one value too many\n");
  EXPECT_EQ(runLoom({"sql", "--param", "n", file, "SELECT 1"}).code, 2);
}

TEST_F(ExactValues, WhereMeetsNullAndTellsTheRowThatFails) {
  ASSERT_EQ(sql("CREATE TABLE t (a); INSERT INTO t VALUES (1), (7), ('word'), (NULL), (9)").code,
            0);
  const Ended failed = runLoom({"db", "scan", "--where", "$a 5 >", file, "t"});
  EXPECT_EQ(failed.code, 5);
  EXPECT_EQ(failed.out, "7\n");
  EXPECT_EQ(failed.err,
            "loom: rpn error: stack[1] is not a number:\n$a 5  >!< >\n"
            "loom: t: row 3: --where failed: $a 5 >; $a is a text here and was an "
            "integer in the first row\n");
  const Ended skipped = runLoom({"db", "scan", "--skip-errors", "--where", "$a 5 >", file, "t"});
  EXPECT_EQ(skipped.code, 0);
  EXPECT_EQ(skipped.out, "7\n9\n");
  EXPECT_EQ(skipped.err, "loom: t: 2 records were skipped\n");
  const Ended mistyped = runLoom({"db", "scan", "--where", "$b 5 sqr >", file, "t"});
  EXPECT_EQ(mistyped.code, 5);
  EXPECT_NE(mistyped.err.find("$a"), std::string::npos) << mistyped;
}

TEST_F(ExactValues, LinesAreEscapedAndTablesAlignedByWidth) {
  ASSERT_EQ(sql("CREATE TABLE t (a, b); INSERT INTO t VALUES ('tab' || char(9) || 'x', "
                "'line' || char(10) || char(13) || '\\'), ('漢字', 'é')")
                .code,
            0);
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "tab\\tx\tline\\n\\r\\\\\n漢字\té\n");
  EXPECT_EQ(runLoom({"db", "scan", "--table", file, "t"}).out,
            "a       b\ntab\\tx  line\\n\\r\\\n漢字    é\n");
}

// A record of an xBase table has 32 bits for N(15), and SQLite would make numbers of the
// texts in a column that is declared as C(3).
TEST_F(ExactValues, NumbersAndCodesOfXBaseTablesArriveWhole) {
  const std::string xbase = "xbase:" + folder;
  ASSERT_EQ(shell("cd " + folder +
                  " && dbfcreate big.dbf -n N 15 0 -n SHORT 3 0 -s CODE 3"
                  " && dbfadd big.dbf 123456789012345 1 007"
                  " && dbfadd big.dbf 2147483648 2 1e3"
                  " && dbfadd big.dbf -5 3 x")
                .code,
            0);
  // Another program's number with a fraction where the table states none.
  replaceLast("big.dbf", "  3x", "1.5");
  const std::string rows = "123456789012345\t1\t007\n2147483648\t2\t1e3\n-5\t1.5\tx\n";
  EXPECT_EQ(runLoom({"db", "scan", xbase, "big"}), (Ended{0, rows, ""}));
  EXPECT_EQ(runLoom({"db", "get", xbase, "big", "N=2147483648"}).out, "2147483648\t2\t1e3\n");
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "CODE,N", xbase, "big"}).out,
            "007\t123456789012345\n1e3\t2147483648\nx\t-5\n");
  static_cast<void>(sql("SELECT 1"));
  ASSERT_EQ(runLoom({"db", "copy", xbase, "big", file}), (Ended{0, "3 records\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", file, "big"}).out, rows);
  EXPECT_EQ(sql("SELECT DISTINCT typeof(CODE) FROM big").out, "text\n");
  EXPECT_EQ(
      runLoom({"db", "copy", "--as", "again", xbase, "big", xbase}),
      (Ended{6, "", "loom: again: row 1, column N: cannot hold an integer, 123456789012345\n"}));
}

TEST_F(ExactValues, AnIntegerOfAnXBaseTableBeyondAllDigitsIsNamed) {
  ASSERT_EQ(shell("cd " + folder +
                  " && dbfcreate big.dbf -n N 19 0 && dbfadd big.dbf 5"
                  " && dbfadd big.dbf 1")
                .code,
            0);
  replaceLast("big.dbf", std::string(18, ' ') + "1", "1234567890123456789");
  EXPECT_EQ(runLoom({"db", "scan", "xbase:" + folder, "big"}),
            (Ended{4, "5\n", "loom: big: row 2, column N: an integer of more than 15 digits\n"}));
}

// The backend's reader misses 1.68 by its last bit, and 0.500000000 by more.
TEST_F(ExactValues, DecimalsOfXBaseTablesArriveAsTheyAreWritten) {
  const std::string xbase = "xbase:" + folder;
  std::string rows = "N,X\n";
  for (int i = 1; i < 1000; ++i) {
    std::string digits = std::to_string(1000 + i).substr(1);
    while (digits.back() == '0') digits.pop_back();
    const std::string number = std::to_string(i * 7919) + "." + digits;
    rows.append(number).append(",-").append(number.substr(number.find('.') - 1)).append("\n");
  }
  writeFile(folder + "/rows.csv", rows);
  ASSERT_EQ(runLoom({"db", "import", folder + "/rows.csv", xbase}).code, 0);
  EXPECT_EQ(runLoom({"db", "export", "--line-end", "lf", xbase, "rows", "-"}).out, rows);
  EXPECT_EQ(runLoom({"db", "get", xbase, "rows", "N=1353149.1710000001"}).code, 1);
  EXPECT_EQ(runLoom({"db", "get", xbase, "rows", "X=-9.171"}).out, "1354149.171\t-9.171\n");
  EXPECT_EQ(runLoom({"db", "count", "--where", "$X -9.171 ==", xbase, "rows"}).out, "1\n");

  ASSERT_EQ(shell("cd " + folder +
                  " && dbfcreate odd.dbf -n A 20 9 -n B 12 2"
                  " && dbfadd odd.dbf -0.5 1.68 && dbfadd odd.dbf 0.1 77777777.77")
                .code,
            0);
  // Another program's number with more decimals than the table states.
  replaceLast("odd.dbf", "77777777.77", "77.77777777");
  EXPECT_EQ(runLoom({"db", "scan", xbase, "odd"}),
            (Ended{0, "-0.5\t1.68\n0.1\t77.77777777\n", ""}));
}

TEST_F(ExactValues, TextsOfXBaseTablesAreOfTheirCodePage) {
  const std::string xbase = "xbase:" + folder;
  const auto scan = [&](const std::string& options) {
    return runLoom({"db", "scan", xbase + options, "names"});
  };
  ASSERT_EQ(shell("cd " + folder +
                  " && dbfcreate names.dbf -s NAME 8 -n N 3 0 && dbfadd names.dbf Zo? 1"
                  " && dbfadd names.dbf plain 2")
                .code,
            0);
  replaceLast("names.dbf", "Zo?", "Zo\xeb");
  std::string bytes = readFile(folder + "/names.dbf");
  const auto withDriver = [&](char number) {
    bytes[29] = number;
    writeFile(folder + "/names.dbf", bytes);
  };
  const struct {
    char driver;
    const char* options;
    const char* name;
  } rows[] = {
      {'\x57', "", "Zoë"},
      {'\x03', "", "Zoë"},
      {'\x02', "", "ZoÙ"},
      {'\xc9', "", "Zoл"},
      {'\x00', "", "Zo\xeb"},
      {'\x7f', "", "Zo\xeb"},  // of none that is known
      {'\x57', "?encoding=CP850", "ZoÙ"},
      {'\x57', "?encoding=UTF-8", "Zo\xeb"},  // which it is not
  };
  for (const auto& row : rows) {
    withDriver(row.driver);
    EXPECT_EQ(scan(row.options), (Ended{0, std::string(row.name) + "\t1\nplain\t2\n", ""}))
        << row.options << " with " << int{row.driver};
  }
  withDriver('\x57');
  EXPECT_EQ(scan("?encoding=none"), (Ended{2, "", "loom: there is no encoding 'none'\n"}));
  EXPECT_EQ(scan("?coding=CP850").code, 2);
  ASSERT_EQ(runLoom({"xbase", "reindex", "--tag", "NAME=NAME", folder}).code, 0);
  for (const std::string name : {"Zoë", "plain"})
    EXPECT_TRUE(runLoom({"db", "get", xbase, "names", "NAME=" + name}).out.starts_with(name));

  // What another program says beside the table counts more than the header.
  writeFile(folder + "/names.cpg", "1251");
  EXPECT_EQ(scan("").out, "Zoл\t1\nplain\t2\n");
  writeFile(folder + "/names.cpg", "UTF-8\n");
  EXPECT_EQ(scan("").out, "Zo\xeb\t1\nplain\t2\n");
  for (const std::string& other :
       {std::string("something else"), std::string("ASCII//IGNORE"), std::string(100000, '1')}) {
    writeFile(folder + "/names.cpg", other);
    EXPECT_EQ(scan("").out, "Zoë\t1\nplain\t2\n") << other.substr(0, 20);
  }
}

TEST_F(ExactValues, NationalTextsInAnXBaseTableAreToldToOtherPrograms) {
  writeFile(folder + "/in.csv", "name\nZoë\n");
  const std::string xbase = "xbase:" + folder;
  ASSERT_EQ(runLoom({"db", "import", folder + "/in.csv", xbase, "t"}).code, 0);
  EXPECT_EQ(readFile(folder + "/t.cpg"), "UTF-8\n");
  EXPECT_EQ(runLoom({"db", "scan", xbase, "t"}).out, "Zoë\n");
  EXPECT_NE(shell("cd " + folder + " && ogrinfo -ro -al t.dbf 2>/dev/null").out.find("= Zoë\n"),
            std::string::npos);
  writeFile(folder + "/in.csv", "name\nZoe\n");
  ASSERT_EQ(runLoom({"db", "import", folder + "/in.csv", xbase, "u"}).code, 0);
  EXPECT_FALSE(std::filesystem::exists(folder + "/u.cpg"));
  EXPECT_EQ(
      runLoom({"db", "copy", "--as", "v", xbase, "u", xbase + "?encoding=CP850"}),
      (Ended{2, "",
             "loom: " + xbase + "?encoding=CP850: texts are written as UTF-8, without options\n"}));
}

TEST_F(ExactValues, ACsvArchiveThatIsMissingIsAnError) {
  writeFile(folder + "/a.csv", "1\n");
  EXPECT_EQ(runLoom({"db", "tables", csv + "?zipfile=no.zip"}),
            (Ended{3, "", "loom: " + csv + "?zipfile=no.zip: there is no archive 'no.zip'\n"}));
}

}  // namespace
