// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_program.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;

class DbCommand : public ::testing::Test {
 protected:
  DbCommand() {
    writeFile(folder + "/parts.csv", "1;\"a;b\";2.5\n2;nut;0.25\n3;\"q\"\"x\";7\n");
    writeFile(folder + "/codes.csv", "007;1e3;;x\n008;2;;\n");
  }

  const std::string folder = newFolder();
  const std::string csv = "csv:" + folder;
  const std::string file = "sqlite3:" + folder + "/t.db";
};

TEST_F(DbCommand, ListsTablesAndInfersTheirColumns) {
  EXPECT_EQ(runLoom({"db", "tables", csv}), (Ended{0, "codes\nparts\n", ""}));
  EXPECT_EQ(runLoom({"db", "schema", csv, "parts"}),
            (Ended{0, "c1:int\nc2:string\nc3:float\n", ""}));
  EXPECT_EQ(runLoom({"db", "schema", csv, "codes"}),
            (Ended{0, "c1:string\nc2:float\nc3:string\nc4:string\n", ""}))
      << "a leading zero makes a code, not a number";
  EXPECT_EQ(Json::parse(runLoom({"db", "schema", "--json", csv, "parts"}).out)[2]["type"], "float");
}

TEST_F(DbCommand, InfersAllColumnsHoweverManyAndEmpty) {
  const struct {
    std::string text;
    std::string schema;
  } cases[] = {{"", "c1:int\n"},
               {"a\nb;1\n", "c1:string\nc2:string\n"},
               {"a;;;\n", "c1:string\n"},
               {"\"a;b\";1\n\"\"\"\";2\n", "c1:string\nc2:int\n"},
               {"\"a;b\n1;2;3\n", "c1:string\nc2:string\nc3:string\n"},
               {"a\"b;c\"d;e\n", "c1:string\nc2:string\nc3:string\n"},
               {"1;\r2;3;4\r", "c1:int\nc2:string\nc3:string\n"}};
  for (const auto& c : cases) {
    writeFile(folder + "/x.csv", c.text);
    EXPECT_EQ(runLoom({"db", "schema", csv, "x"}).out, c.schema) << c.text;
  }
  writeFile(folder + "/wide.csv", "1" + std::string(70000, ';') + "2\n");
  const std::string wide = runLoom({"db", "schema", csv, "wide"}).out;
  EXPECT_EQ(std::count(wide.begin(), wide.end(), '\n'), 70001);
  EXPECT_EQ(wide.substr(wide.rfind('c')), "c70001:int\n");
  ASSERT_EQ(shell("cd '" + folder + "' && loom zip new x.zip codes.csv").code, 0);
  EXPECT_EQ(runLoom({"db", "schema", csv + "?zipfile=x.zip", "parts"}).out,
            "c1:int\nc2:string\nc3:float\n");
  writeFile(folder + "/k.csv", "1" + std::string(1023, ';') + "2\n");
  const std::string k = runLoom({"db", "schema", csv + "?zipfile=x.zip", "k"}).out;
  EXPECT_EQ(k.substr(k.rfind('c')), "c1024:int\n");
  writeFile(folder + "/million.csv", std::string(1000000, ';') + "\n");
  EXPECT_EQ(runLoom({"db", "schema", csv, "million"}),
            (Ended{2, "", "loom: million: too many columns to be inferred; use --columns\n"}));
}

TEST_F(DbCommand, ScansCountsAndFilters) {
  EXPECT_EQ(runLoom({"db", "scan", csv, "parts"}),
            (Ended{0, "1\ta;b\t2.5\n2\tnut\t0.25\n3\tq\"x\t7\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", "--csv", csv, "parts"}),
            (Ended{0, "1;\"a;b\";2.5\n2;\"nut\";0.25\n3;\"q\"\"x\";7\n", ""}));
  EXPECT_EQ(runLoom({"db", "count", csv, "parts"}), (Ended{0, "3\n", ""}));
  EXPECT_EQ(runLoom({"db", "count", "--where", "$price 1 >", "--columns", "id:int,name,price:float",
                     csv, "parts"}),
            (Ended{0, "2\n", ""}));
  EXPECT_EQ(runLoom({"db", "head", "-n", "1", csv, "parts"}), (Ended{0, "1\ta;b\t2.5\n", ""}));
  EXPECT_EQ(runLoom({"db", "head", "-n", "0", csv, "parts"}), (Ended{0, "", ""}));
  EXPECT_EQ(runLoom({"db", "scan", "--where", "$nosuch", csv, "parts"}).code, 5);
}

TEST_F(DbCommand, LooksUpByTypedKeys) {
  EXPECT_EQ(runLoom({"db", "get", csv, "parts", "c1=2", "c2=nut"}),
            (Ended{0, "2\tnut\t0.25\n", ""}));
  EXPECT_EQ(runLoom({"db", "get", csv, "parts", "c3=7"}), (Ended{0, "3\tq\"x\t7\n", ""}));
  EXPECT_EQ(runLoom({"db", "get", csv, "parts", "c1=9"}), (Ended{1, "", ""}));
  EXPECT_EQ(runLoom({"db", "get", csv, "parts", "nosuch=9"}).code, 2);
  for (const std::string wrong : {"c1=", "c1=2x", "c1=9223372036854775808", "c3=much"})
    EXPECT_EQ(runLoom({"db", "get", csv, "parts", wrong}),
              (Ended{2, "", "loom: not a value of the column's type: " + wrong + "\n"}));
  EXPECT_EQ(runLoom({"db", "get", csv, "parts", "c1"}).code, 2);
}

TEST_F(DbCommand, ACopyKeepsNulls) {
  ASSERT_EQ(runLoom({"db", "copy", csv, "parts", file}).code, 0) << "makes the file";
  for (const std::string statement :
       {"CREATE TABLE n (a INTEGER, b TEXT, c REAL, d BLOB);",
        "INSERT INTO n VALUES (1, 'x', 1.5, x'00ff'), (2, NULL, NULL, NULL),"
        " (NULL, 'y', 2.5, x'01'), (4, 'z', 0.0, x'');"})
    ASSERT_EQ(runLoom({"sql", file, statement}).code, 0);
  const std::string other = "sqlite3:" + folder + "/other.db";
  EXPECT_EQ(runLoom({"db", "copy", file, "n", other}), (Ended{0, "4 records\n", ""}));
  const std::string all = "SELECT quote(a), quote(b), quote(c), quote(d) FROM n;";
  EXPECT_EQ(runLoom({"sql", other, all}), (Ended{0,
                                                 "1\t'x'\t1.5\tX'00FF'\n2\tNULL\tNULL\tNULL\n"
                                                 "NULL\t'y'\t2.5\tX'01'\n4\t'z'\t0.0\tX''\n",
                                                 ""}));
}

TEST_F(DbCommand, LargeIntegersAreExact) {
  ASSERT_EQ(runLoom({"db", "copy", csv, "parts", file}).code, 0) << "makes the file";
  for (const std::string statement :
       {"CREATE TABLE n (a INTEGER, b INTEGER);",
        "INSERT INTO n VALUES (-2147483648, 2147483647), (NULL, 5000000000);"})
    ASSERT_EQ(runLoom({"sql", file, statement}).code, 0);
  const std::string all = "SELECT a, b FROM n;";
  EXPECT_EQ(runLoom({"sql", file, all}).out, "-2147483648\t2147483647\n\\N\t5000000000\n");
  EXPECT_EQ(runLoom({"sql", "--csv", file, all}).out, "-2147483648;2147483647\n;5000000000\n");
  EXPECT_EQ(runLoom({"sql", "--json", file, all}).out,
            "[\n{\"a\":-2147483648,\"b\":2147483647},\n{\"a\":null,\"b\":5000000000}\n]\n");
  EXPECT_EQ(runLoom({"sql", "--table", file, all}).out,
            "a            b\n-2147483648  2147483647\nNULL         5000000000\n");
  EXPECT_EQ(runLoom({"db", "scan", file, "n"}).out, runLoom({"sql", file, all}).out);
  EXPECT_EQ(runLoom({"db", "get", file, "n", "b=5000000000"}).out, "\\N\t5000000000\n");
  EXPECT_EQ(runLoom({"db", "schema", file, "n"}).out, "a:int\nb:int\n");
  writeFile(folder + "/large.csv", "5000000000;1.5\n7;2\n");
  EXPECT_EQ(runLoom({"db", "schema", csv, "large"}).out, "c1:string\nc2:float\n");
  EXPECT_EQ(runLoom({"db", "scan", csv, "large"}).out, "5000000000\t1.5\n7\t2\n");
}

TEST_F(DbCommand, ReadsColumnsOfTypesThatAreNotKnown) {
  ASSERT_EQ(runLoom({"db", "copy", csv, "parts", file}).code, 0) << "makes the file";
  for (const std::string statement : {"CREATE TABLE d (id INTEGER, day DATE, price NUMERIC);",
                                      "INSERT INTO d VALUES (1, '2026-01-02', 1.5), (2, NULL, 7);"})
    ASSERT_EQ(runLoom({"sql", file, statement}).code, 0);
  EXPECT_EQ(runLoom({"db", "schema", file, "d"}).out, "id:int\nday:none\nprice:none\n");
  EXPECT_EQ(runLoom({"db", "scan", file, "d"}).out, "1\t2026-01-02\t1.5\n2\t\\N\t7\n");
  EXPECT_EQ(runLoom({"db", "count", "--where", "$price 2 >", file, "d"}).out, "1\n");
  EXPECT_EQ(runLoom({"db", "get", file, "d", "id=2"}).out, "2\t\\N\t7\n");
  EXPECT_EQ(runLoom({"db", "get", file, "d", "day=2026-01-02"}),
            (Ended{2, "", "loom: not a column to look up by: day=2026-01-02\n"}));
  EXPECT_EQ(runLoom({"db", "copy", "--as", "e", file, "d", file}), (Ended{0, "2 records\n", ""}));
  EXPECT_EQ(runLoom({"sql", file, "SELECT sql FROM sqlite_master WHERE name = 'e'"}).out,
            "CREATE TABLE \"e\" (\"id\" INTEGER, \"day\" DATE, \"price\" NUMERIC)\n");
  EXPECT_EQ(runLoom({"db", "head", file, "nosuch"}).code, 3);
}

TEST_F(DbCommand, ACopyThatFailsLeavesNoTable) {
  EXPECT_EQ(runLoom({"db", "copy", "--as", "kept", csv, "parts", file}).code, 0);
  const Ended failed = runLoom({"db", "copy", "--columns", "a:int,b:int", csv, "parts", file});
  EXPECT_EQ(failed.code, 4);
  EXPECT_EQ(runLoom({"db", "tables", file}).out, "kept\n");
}

TEST_F(DbCommand, ACopyThatFailsLeavesNoFileThatWasNotThere) {
  writeFile(folder + "/bad.csv", "1;a\nx;b\n");
  const std::string copy = "cd " + folder + " && loom db copy --columns id:int,v:string csv:. bad ";
  EXPECT_EQ(shell(copy + "sqlite3:new.db").code, 4);
  EXPECT_FALSE(std::filesystem::exists(folder + "/new.db"));
  writeFile(folder + "/empty.db", "");
  EXPECT_EQ(shell(copy + "sqlite3:empty.db").code, 4);
  EXPECT_TRUE(std::filesystem::exists(folder + "/empty.db")) << "it was there before";
}

TEST_F(DbCommand, ALongValueIsToldByItsBeginning) {
  writeFile(folder + "/long.csv", std::string(100, 'x') + "\n");
  EXPECT_EQ(shell("cd " + folder + " && loom db scan --columns id:int csv:. long").err,
            "loom: long: row 1, column id: '" + std::string(60, 'x') + " ...' is no int\n");
  EXPECT_EQ(shell("cd " + folder + " && loom db copy csv:. long csv:. --as again").code, 0);
}

TEST_F(DbCommand, CopiesATableAndQueriesIt) {
  EXPECT_EQ(runLoom({"db", "copy", "--as", "p", csv, "parts", file}),
            (Ended{0, "3 records\n", ""}));
  EXPECT_EQ(runLoom({"db", "copy", "--as", "p", csv, "parts", file}).code, 6);
  EXPECT_EQ(runLoom({"sql", file, "SELECT c2, c3 FROM p WHERE c1 < 3;"}),
            (Ended{0, "a;b\t2.5\nnut\t0.25\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", "--csv", file, "p"}).out,
            runLoom({"db", "scan", "--csv", csv, "parts"}).out);
  EXPECT_EQ(runLoom({"sql", file, "DELETE FROM p;"}), (Ended{0, "3 rows changed\n", ""}));
  EXPECT_EQ(runLoom({"db", "count", file, "p"}), (Ended{0, "0\n", ""}));
  EXPECT_EQ(runLoom({"db", "info", "--json", file}).code, 0);
  const Ended bad = runLoom({"sql", file, "SELEC 1;"});
  EXPECT_EQ(bad.code, 5);
  EXPECT_EQ(bad.err, "loom: SQL error (near \"SELEC\": syntax error)\n");
  EXPECT_EQ(Json::parse(runLoom({"sql", "--json", file, "SELECT NULL AS n, 1, 'x' AS x;"}).out),
            Json::parse(R"([{"n": null, "1": 1, "x": "x"}])"));
}

TEST_F(DbCommand, AFailureClosesTheJsonWithTheErrorInIt) {
  writeFile(folder + "/bad.csv", "1;2\nx;3\n4;5\n");
  const std::string columns = "a:int,b:int";
  EXPECT_EQ(
      runLoom({"db", "scan", "--json", "--columns", columns, csv, "bad"}),
      (Ended{4, "[\n{\"a\":1,\"b\":2},\n{\"error\":\"bad: row 2, column a: 'x' is no int\"}\n]\n",
             "loom: bad: row 2, column a: 'x' is no int\n"}));
  EXPECT_EQ(runLoom({"db", "head", "--json", "--columns", columns, csv, "bad"}).out,
            runLoom({"db", "scan", "--json", "--columns", columns, csv, "bad"}).out);
  EXPECT_EQ(runLoom({"db", "head", "--json", "-n", "1", "--columns", columns, csv, "bad"}),
            (Ended{0, "[\n{\"a\":1,\"b\":2}\n]\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", "--json", csv, "nosuch"}),
            (Ended{3, "[\n{\"error\":\"nosuch: invalid table name\"}\n]\n",
                   "loom: nosuch: invalid table name\n"}));
  EXPECT_EQ(runLoom({"db", "scan", "--json", "--where", "$c1 \"", csv, "codes"}).code, 5);
  EXPECT_EQ(Json::parse(runLoom({"db", "scan", "--json", "--where", "$c1 \"", csv, "codes"}).out),
            Json::parse(R"([{"error": "codes: row 1: --where failed: $c1 \""}])"));
  EXPECT_EQ(runLoom({"db", "scan", "--columns", columns, csv, "bad"}),
            (Ended{4, "1\t2\n", "loom: bad: row 2, column a: 'x' is no int\n"}));
  EXPECT_EQ(runLoom({"db", "copy", "--json", "--columns", columns, csv, "bad", file}),
            (Ended{4, "", "loom: bad: row 2, column a: 'x' is no int\n"}))
      << "a copy prints nothing before it is done";
  EXPECT_EQ(runLoom({"db", "tables", "--json", "csv:/no/such"}).out, "");
}

TEST_F(DbCommand, ASqlStatementThatFailsMidwayClosesTheJson) {
  ASSERT_EQ(runLoom({"db", "copy", csv, "parts", file}).code, 0);
  const std::string overflow =
      "SELECT 1 UNION ALL SELECT abs(-9223372036854775807 - x) FROM (SELECT 1 AS x);";
  const Ended ended = runLoom({"sql", "--json", file, overflow});
  EXPECT_EQ(ended.code, 5);
  const Json json = Json::parse(ended.out);
  ASSERT_EQ(json.size(), 2U) << ended.out;
  EXPECT_EQ(json[0], Json::parse(R"({"1": 1})"));
  EXPECT_EQ("loom: " + json[1]["error"].get<std::string>() + "\n", ended.err);
}

TEST_F(DbCommand, SaysWhatItCannotOpen) {
  EXPECT_EQ(runLoom({"db", "tables", "csv:/no/such"}),
            (Ended{3, "", "loom: csv:/no/such: can't open directory\n"}));
  EXPECT_EQ(runLoom({"db", "scan", csv, "nosuch"}),
            (Ended{3, "", "loom: nosuch: invalid table name\n"}));
  EXPECT_EQ(runLoom({"db", "tables", file}),
            (Ended{3, "", "loom: " + file + ": can't open database file\n"}))
      << "a missing file is not made";
  EXPECT_EQ(runLoom({"db", "tables", "nonsense"}).code, 3);
  EXPECT_EQ(runLoom({"sql", csv, "SELECT 1;"}).code, 2);
  EXPECT_EQ(runLoom({"db", "scan", "--csv", "--table", csv, "parts"}).code, 2);
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "a:int,b:int", csv, "parts"}),
            (Ended{4, "", "loom: parts: row 1, column b: 'a;b' is no int\n"}));
  EXPECT_EQ(runLoom({"db", "scan", "--columns", "a:real", csv, "parts"}).code, 2);
}

// What a backend takes for no table or no database, told with the system's reason.
class UnreadableFiles : public ::testing::Test {
 protected:
  UnreadableFiles() {
    static_cast<void>(shell("cd " + folder +
                            " && mkdir dir.csv dir.dbf && mkfifo pipe.csv pipe.dbf && "
                            "ln -s nowhere link.csv && printf '1;a\\n' | tee ok.csv >shut.csv && "
                            "chmod 0 shut.csv && python3 -c \"import zipfile; "
                            "zipfile.ZipFile('z.zip', 'w').writestr('inside.csv', '2;b')\""));
  }
  const std::string folder = newFolder();
  const std::string csv = "csv:" + folder;
};

TEST_F(UnreadableFiles, SayWhatTheyAre) {
  const struct {
    std::string locator;
    const char* table;
    const char* reason;
  } cases[] = {{csv, "dir", "invalid table name (is a directory)"},
               {csv, "pipe", "invalid table name (is no regular file)"},
               {csv, "link", "invalid table name (is a link to nothing)"},
               {csv, "none", "invalid table name"},
               {"xbase:" + folder, "dir", "invalid table name (is a directory)"},
               {"xbase:" + folder, "pipe", "invalid table name (is no regular file)"},
               {csv + "?zipfile=z.zip", "pipe", "invalid table name (is no regular file)"}};
  for (const auto& c : cases)
    EXPECT_EQ(runLoom({"db", "scan", c.locator, c.table}),
              (Ended{3, "", std::string("loom: ") + c.table + ": " + c.reason + "\n"}))
        << c.locator;
  for (const char* type : {"sqlite3:", "tessel:"}) {
    const std::string place = type + folder;
    EXPECT_EQ(runLoom({"db", "tables", place + "/dir.csv"}).err,
              "loom: " + place + "/dir.csv: can't open database file (is a directory)\n");
    EXPECT_EQ(runLoom({"db", "tables", place + "/pipe.csv"}).err,
              "loom: " + place + "/pipe.csv: can't open database file (is no regular file)\n");
  }
}

TEST_F(UnreadableFiles, AreNotListed) {
  EXPECT_EQ(runLoom({"db", "tables", csv}).out, "ok\nshut\n");
}

TEST_F(UnreadableFiles, ThoseThatTheSystemRefusesSaySo) {
  static_cast<void>(shell("ln -s loop.csv " + folder + "/loop.csv"));
  EXPECT_EQ(runLoom({"db", "scan", csv, "loop"}).err,
            "loom: loop: invalid table name (Too many levels of symbolic links)\n");
  // Root reads what is forbidden unless that right is taken away; cat is the witness.
  const std::string root = "setpriv --bounding-set=-dac_override,-dac_read_search ";
  const std::string as = runProgram({"id", "-u"}).out == "0\n" ? root : "";
  static_cast<void>(shell("cd " + folder +
                          " && mkdir shut && touch shut/t.csv shut.db && "
                          "chmod 0 shut shut.db"));
  const std::string denied = "Permission denied";
  if (shell(as + "cat " + folder + "/shut.db").err.find(denied) != std::string::npos) {
    const std::string reason = " (" + denied + ")\n";
    const auto err = [&](const std::string& words) { return shell(as + words).err; };
    EXPECT_EQ(err("loom db scan " + csv + " shut"), "loom: shut: invalid table name" + reason);
    EXPECT_EQ(err("loom db scan " + csv + "/shut t"), "loom: t: invalid table name" + reason);
    const std::string database = "sqlite3:" + folder + "/shut.db";
    EXPECT_EQ(err("loom db tables " + database),
              "loom: " + database + ": can't open database file" + reason);
  }
  static_cast<void>(shell("chmod 755 " + folder + "/shut"));
}

TEST_F(UnreadableFiles, AnArchiveListsItsTablesOrSaysWhyNot) {
  EXPECT_EQ(runLoom({"db", "tables", csv + "?order=zip;zipfile=z.zip"}).out, "inside\n");
  EXPECT_EQ(runLoom({"db", "scan", csv + "?zipfile=z.zip", "inside"}).out, "2\tb\n");
  const std::string missing = csv + "?zipfile=none.zip";
  EXPECT_EQ(runLoom({"db", "tables", missing}),
            (Ended{3, "", "loom: " + missing + ": there is no archive 'none.zip'\n"}));
  const Ended damaged = runLoom({"db", "tables", csv + "?zipfile=ok.csv"});
  EXPECT_EQ(damaged.code, 4);
  EXPECT_NE(damaged.err.find("'ok.csv' is no archive that can be read"), std::string::npos)
      << damaged;
  EXPECT_EQ(runLoom({"db", "tables", csv + "?zipfile=dir.csv"}).code, 3);
}

// loom db get by an index or key, and without one.
class Lookup : public ::testing::Test {
 protected:
  Lookup() {
    std::string lines;
    for (int i = 0; i < 200; ++i)
      lines += std::to_string(i) + ";name" + std::to_string(i % 50) + ";" + std::to_string(i % 7) +
               ".5\n";
    writeFile(folder + "/t.csv", lines);
    for (const char* words :
         {"csv:. t xbase:. --as x", "csv:. t tessel:s --index id:unique --index name"})
      EXPECT_EQ(
          shell("cd " + folder + " && loom db copy --columns id:int,name,price:float " + words).out,
          "200 records\n");
  }
  // The records found, sorted.
  std::string get(const std::string& words) {
    const Ended found = shell("cd " + folder + " && loom db get " + words + " | sort -n");
    return found.out + found.err;
  }
  const std::string folder = newFolder();
  const std::string csv = "csv:. t --columns id:int,name:string,price:float ";
};

TEST_F(Lookup, FindsTheSameInEveryDatabase) {
  for (const std::string& place : {csv, std::string("xbase:. x "), std::string("tessel:s t ")}) {
    EXPECT_EQ(get(place + "id=17"), "17\tname17\t3.5\n") << place;
    EXPECT_EQ(get(place + "name=name3"),
              "3\tname3\t3.5\n53\tname3\t4.5\n103\tname3\t5.5\n153\tname3\t6.5\n")
        << place;
    EXPECT_EQ(get(place + "name=name3 price=5.5"), "103\tname3\t5.5\n") << place;
    EXPECT_EQ(get(place + "price=2.5 id=9"), "9\tname9\t2.5\n") << place;
    EXPECT_EQ(get(place + "id=2147483647"), "") << place;
    EXPECT_EQ(get(place + "name=name"), "") << place;
    EXPECT_EQ(get(place + "nam=x").find("loom: no such column: nam"), 0U) << place;
    EXPECT_NE(get(place + "id=x").find("not a value of the column's type"), std::string::npos);
  }
  EXPECT_EQ(get("tessel:s t id=17 --columns price,name"), "3.5\tname17\n");
}

TEST_F(Lookup, AnIntegerAtTheEndOfTheRangeIsNotClamped) {
  writeFile(folder + "/c.csv", "2147483647;a\n2147483648;b\n-2147483648;c\n-2147483649;d\n");
  const std::string place = "csv:. c --columns id:int,name:string ";
  EXPECT_EQ(get(place + "id=2147483647"), "2147483647\ta\n");
  EXPECT_EQ(get(place + "id=2147483648"), "2147483648\tb\n");
  EXPECT_EQ(get(place + "id=-2147483648"), "-2147483648\tc\n");
  EXPECT_EQ(get(place + "name=d"), "-2147483649\td\n");
}

// The damaged line is told as a scan tells it.
TEST_F(Lookup, ADamagedLineIsNamed) {
  writeFile(folder + "/d.csv", "1;a\nx;b\n");
  EXPECT_EQ(get("csv:. d --columns id:int,name:string id=2"),
            "loom: d: row 2, column id: 'x' is no int\n");
}

TEST(Schema, ExplainTellsTheLineThatDecided) {
  const std::string folder = newFolder();
  writeFile(folder + "/t.csv", "1;007;2;x;1\n\n2;1;0.5;3;5000000000\n3;2;4\n");
  EXPECT_EQ(
      runLoom({"db", "schema", "--explain", "csv:" + folder, "t"}),
      (Ended{0, "c1:int\nc2:string\nc3:float\nc4:string\nc5:string\n",
             "loom: c1 is int: all values are whole numbers\n"
             "loom: c2 is string: line 1: '007' is no number, or a code or too large for one\n"
             "loom: c3 is float: line 3: '0.5' is no whole number of 32 bits\n"
             "loom: c4 is string: line 4 has fewer columns\n"
             "loom: c5 is string: line 4 has fewer columns\n"}));
  EXPECT_EQ(runLoom({"db", "schema", "--explain", "--columns", "id", "csv:" + folder, "t"}).err,
            "loom: id is string: --columns says so\n");
  ASSERT_EQ(runLoom({"db", "import", "-", "sqlite3:" + folder + "/t.db", "t"}, "a\n1\n").code, 0);
  EXPECT_EQ(runLoom({"db", "schema", "--explain", "sqlite3:" + folder + "/t.db", "t"}).err,
            "loom: a is int: declared as INTEGER\n");
}

// What loom db copy takes along of a table beside its rows.
class CopiedShape : public ::testing::Test {
 protected:
  CopiedShape() {
    EXPECT_EQ(shell("cd " + folder +
                    " && sqlite3 a.db \"CREATE TABLE t (id INTEGER PRIMARY KEY, "
                    "name TEXT NOT NULL, n INTEGER DEFAULT 3, UNIQUE (name)); "
                    "CREATE INDEX by_n ON t (n DESC); CREATE INDEX by_both ON t (n, name); "
                    "CREATE INDEX some ON t (n) WHERE n > 1; "
                    "CREATE TRIGGER log AFTER INSERT ON t BEGIN SELECT 1; END; "
                    "INSERT INTO t VALUES (1, 'a', 5), (2, 'b', 6)\"")
                  .code,
              0);
  }
  Ended copy(const std::string& words) {
    return shell("cd " + folder + " && loom db copy sqlite3:a.db t " + words);
  }
  const std::string folder = newFolder();
};

TEST_F(CopiedShape, SqliteGetsKeysIndexesAndNotNull) {
  EXPECT_EQ(copy("sqlite3:b.db"),
            (Ended{0, "2 records\n", "loom: t: left out: DEFAULT, index some, trigger log\n"}));
  EXPECT_EQ(shell("sqlite3 " + folder + "/b.db .schema").out,
            "CREATE TABLE IF NOT EXISTS \"t\" (\"id\" INTEGER, \"name\" TEXT NOT NULL, \"n\" "
            "INTEGER, PRIMARY KEY (\"id\"));\n"
            "CREATE INDEX \"by_both\" ON \"t\" (\"n\", \"name\");\n"
            "CREATE INDEX \"by_n\" ON \"t\" (\"n\" DESC);\n"
            "CREATE UNIQUE INDEX \"t_name_idx\" ON \"t\" (\"name\");\n");
  EXPECT_EQ(copy("sqlite3:a.db --as u").code, 0) << "names of indexes are taken";
}

TEST_F(CopiedShape, OtherDatabasesGetWhatTheyHold) {
  EXPECT_EQ(copy("tessel:s").code, 0);
  const std::string info = shell("loom tessel info " + folder + "/s").out;
  for (const char* index :
       {"unique index on id", "index on n,", "index on n,name", "unique index on name"})
    EXPECT_NE(info.find(index), std::string::npos) << index << "\n" << info;
  EXPECT_EQ(copy("xbase:.").err,
            "loom: t: left out: DEFAULT, index some, trigger log, uniqueness of index "
            "sqlite_autoindex_t_1\n");
  const std::string at = "cd " + folder + " && loom db ";
  EXPECT_EQ(shell(at + "get xbase:. t name=b").out, "2\tb\t6\n");
  EXPECT_EQ(copy("csv:. --as c").err,
            "loom: c: left out: DEFAULT, index some, trigger log, primary key, index by_both, "
            "index by_n, index sqlite_autoindex_t_1\n"
            "loom: c.csv has no names of columns; read it with --columns "
            "id:int,name:string,n:int\n");
  EXPECT_EQ(copy("sqlite3:c.db --columns name").err,
            "loom: t: left out: DEFAULT, index by_both, index by_n, index some, primary key, "
            "trigger log\n");
}

}  // namespace
