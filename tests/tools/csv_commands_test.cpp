// SPDX-License-Identifier: MIT
// loom db import and loom db export.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

class CsvCommands : public ::testing::Test {
 protected:
  Ended import(const std::string& text, std::vector<std::string> options = {}) {
    writeFile(folder + "/in.csv", text);
    std::vector<std::string> words = {"db", "import"};
    words.insert(words.end(), options.begin(), options.end());
    static_cast<void>(runProgram({"rm", "-f", folder + "/t.db"}));
    words.insert(words.end(), {folder + "/in.csv", file, "t"});
    return runLoom(words);
  }
  std::string scan(const std::string& database, const std::string& table) {
    return runLoom({"db", "schema", database, table}).out +
           runLoom({"db", "scan", database, table}).out;
  }
  std::string schema() { return runLoom({"db", "schema", file, "t"}).out; }

  const std::string folder = newFolder();
  const std::string file = "sqlite3:" + folder + "/t.db";
};

constexpr const char* noNumber = "is no number, or would be written differently as one\n";

TEST_F(CsvCommands, InfersTypesOverTheWholeFile) {
  ASSERT_EQ(import("id,zip,day,price,big,empty,q\n1,01234,2026-01-02,1,5000000000,,\"5\"\n"
                   "2,99999,2026-01-03,2.5,-1,,6\n"),
            (Ended{0, "2 records\n", ""}));
  EXPECT_EQ(scan(file, "t"),
            "id:int\nzip:string\nday:string\nprice:float\nbig:int\nempty:string\nq:string\n"
            "1\t01234\t2026-01-02\t1\t5000000000\t\\N\t5\n"
            "2\t99999\t2026-01-03\t2.5\t-1\t\\N\t6\n");
}

TEST_F(CsvCommands, ANumberIsOneOnlyIfItIsKept) {
  const struct {
    const char* value;
    const char* type;
  } cases[] = {{"0", "int"},
               {"-17", "int"},
               {"9223372036854775807", "int"},
               {"-9223372036854775808", "int"},
               {"9223372036854775808", "string"},
               {"007", "string"},
               {"+7", "string"},
               {"-0", "float"},
               {"0x10", "string"},
               {" 7", "string"},
               {"2.50", "float"},
               {"0.1", "float"},
               {"-1.25", "float"},
               {"1e+300", "float"},
               {"1e300", "string"},
               {"1e5", "string"},
               {".5", "string"},
               {"5.", "string"},
               {"00.5", "string"},
               {"3.141592653589793", "float"},
               {"3.14159265358979323846", "string"},
               {"123456789012345680.0", "float"},
               {"123456789012345678.0", "string"},
               {"1,5", "string"},
               {"inf", "string"},
               {"nan", "string"},
               {"1.2.3", "string"},
               {"-", "string"},
               {"2026-01-02", "string"},
               {"1e999", "string"}};
  std::string header;
  std::string values;
  std::string expected;
  for (const auto& c : cases) {
    const std::string name = "n" + std::to_string(&c - cases);
    header += (header.empty() ? "" : ";") + name;
    values += (values.empty() ? "" : ";") + std::string(c.value);
    expected += name + ":" + c.type + "\n";
  }
  ASSERT_EQ(import(header + "\n" + values + "\n").code, 0);
  EXPECT_EQ(schema(), expected);
}

TEST_F(CsvCommands, ALargeIntegerAmongFloatsMakesATextOfTheColumn) {
  const Ended explained = import("x,y\n9007199254740993,1\n2.5,2.5\n", {"--explain"});
  EXPECT_NE(explained.err.find("x is string: line 2: '9007199254740993' has more digits than a "
                               "float keeps; line 3: '2.5' is no whole number\n"),
            std::string::npos)
      << explained;
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "9007199254740993\t1\n2.5\t2.5\n");
}

TEST_F(CsvCommands, ExplainTellsTheLineThatDecided) {
  const std::string path = "loom: " + folder + "/in.csv: ";
  EXPECT_EQ(import("id;zip;f;n;q\n1;01234;1;;\"5\"\n\n2;2;0.5;;6\nx;3;2;;7\n", {"--explain"}).err,
            path + "UTF-8, separator ';', quote '\"', names in line 1\n" +
                "loom: id is string: line 5: 'x' " + noNumber +
                "loom: zip is string: line 2: '01234' " + noNumber +
                "loom: f is float: line 4: '0.5' is no whole number\n"
                "loom: n is string: there is no value\n"
                "loom: q is string: line 2: '5' is in quotes\n");
  EXPECT_EQ(import("name,2019\n1,2\n", {"--explain"}).err,
            path + "UTF-8, separator ',', quote '\"', no names, line 1: '2019' is a number\n" +
                "loom: c1 is string: line 1: 'name' " + noNumber +
                "loom: c2 is int: all values are whole numbers\n");
}

TEST_F(CsvCommands, FindsSeparatorHeaderQuoteMarkAndLineEnds) {
  const struct {
    const char* text;
    const char* scan;
  } cases[] = {{"\xef\xbb\xbf"
                "a;b\r\n1;x\r\n",
                "a:int\nb:string\n1\tx\n"},
               {"a\tb\r1\tx\r", "a:int\nb:string\n1\tx\n"},
               {"a|b\n1|x", "a:int\nb:string\n1\tx\n"},
               {"1;2\n3;4\n", "c1:int\nc2:int\n1\t2\n3\t4\n"},
               {"a,b\n1,'x,y'\n2,'it''s'\n", "a:int\nb:string\n1\tx,y\n2\tit's\n"},
               {",b\n1,x\n", "c1:int\nb:string\n1\tx\n"},
               {"\"2019\",\"b\"\n1,x\n", "c1:string\nc2:string\n2019\tb\n1\tx\n"},
               {"\"2019\",\"b,c\",d\n1,x,y\n", "2019:int\nb,c:string\nd:string\n1\tx\ty\n"},
               {"\"a\",\"b\"\n\"1\",\"x\"\n\"2\",\"\"\n", "a:int\nb:string\n1\tx\n2\t\n"},
               {"a\n1\n\n2\n", "a:int\n1\n\\N\n2\n"},
               {"a,b\n\n1,x\n", "a:int\nb:string\n1\tx\n"}};
  for (const auto& c : cases) {
    ASSERT_EQ(import(c.text).code, 0) << c.text;
    EXPECT_EQ(scan(file, "t"), c.scan) << c.text;
  }
}

TEST_F(CsvCommands, TakesWhatItIsTold) {
  ASSERT_EQ(import("a,b\nc,d\n", {"--header", "no"}).out, "2 records\n");
  ASSERT_EQ(import("1,b\nc,d\n", {"--header", "yes"}).out, "1 record\n");
  ASSERT_EQ(import("a b\n1 2\n", {"--sep", " "}).code, 0);
  EXPECT_EQ(schema(), "a:int\nb:int\n");
  ASSERT_EQ(import("a,b\n%x,y%,2\n", {"--quote", "%"}).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "x,y\t2\n");
  ASSERT_EQ(import("a,b\n\"x,2\n", {"--quote", "none"}).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "\"x\t2\n");
  EXPECT_EQ(import("a\nx\n", {"--encoding", "nonsense"}).code, 2);
  for (const char* sign : {"ab", "", "5", ".", "\n", "x"})
    EXPECT_EQ(import("a\n1\n", {"--sep", sign}).code, 2) << sign;
  EXPECT_EQ(import("a\n1\n", {"--sep", "%", "--quote", "%"}).code, 2);
  EXPECT_EQ(import("a\n1\n", {"--header", "maybe"}).code, 2);
}

TEST_F(CsvCommands, ReadsEveryEncoding) {
  const auto value = [&] { return runLoom({"db", "scan", file, "t"}).out; };
  const std::string path = "loom: " + folder + "/in.csv: ";
  EXPECT_EQ(import("name\nJos\xe9\n"),
            (Ended{0, "1 record\n",
                   path + "not UTF-8, so taken for ISO-8859-1 (--encoding says otherwise)\n"}));
  EXPECT_EQ(value(), "José\n");
  EXPECT_EQ(import("name\nJos\xe9 \x80\n", {"--encoding", "WINDOWS-1252"}),
            (Ended{0, "1 record\n", ""}));
  EXPECT_EQ(value(), "José €\n");
  EXPECT_EQ(import("name\nJos\xc3\xa9\n").code, 0);
  EXPECT_EQ(value(), "José\n");
  const std::string little(
      "\xff\xfe"
      "a\0\n\0\xe9\0\n\0",
      10);
  const std::string big("\xfe\xff\0a\0\n\0\xe9\0\n", 10);
  for (const std::string& text : {little, big}) {
    EXPECT_EQ(import(text), (Ended{0, "1 record\n", ""}));
    EXPECT_EQ(value(), "é\n");
  }
  EXPECT_EQ(import(little.substr(0, 9)), (Ended{4, "", path + "byte 9 is no UTF-16\n"}));
  const Ended damaged = import("name\nx\nJos\xc3\xa9 \xe2\x82\n");
  EXPECT_EQ(damaged.code, 4);
  EXPECT_EQ(damaged.err.find(path + "line 3, column 7: not UTF-8\n"), 0U) << damaged;
  const Ended marked = import("\xef\xbb\xbfname\nJos\xe9\n");
  EXPECT_EQ(marked.code, 4) << "a byte order mark is no guess";
  EXPECT_EQ(marked.err.find(path + "line 2, column 4: not UTF-8\n"), 0U) << marked;
}

TEST_F(CsvCommands, SaysWhereAFileIsNoCsv) {
  const std::string path = "loom: " + folder + "/in.csv: ";
  const struct {
    const char* text;
    const char* reason;
  } cases[] = {
      {"a,b\n1,\"x\ny\n", "line 2, column 3: a quote has no end\n"},
      {"a,b\n\"x\ny\"z,1\n", "line 3, column 3: a separator is missing behind a quoted field\n"},
      {"a,b\n1,2\n3\n", "line 3, column 1: 1 field where the first row has 2\n"},
      {"a,b\n1,\"x\ny\"\n3,4,5\n", "line 4, column 1: 3 fields where the first row has 2\n"},
      {"", "there is nothing in it\n"}};
  for (const auto& c : cases) EXPECT_EQ(import(c.text), (Ended{4, "", path + c.reason}));
  const Ended twice = import("a,b,a\n1,2,3\n");
  EXPECT_EQ(twice.code, 4);
  EXPECT_EQ(twice.err.find(path + "line 1: two columns are called 'a'\n"), 0U) << twice;
  EXPECT_EQ(runLoom({"db", "import", folder + "/no.csv", file}).code, 3);
  EXPECT_EQ(import("a\n1\n").code, 0);
  EXPECT_EQ(runLoom({"db", "import", folder + "/in.csv", file, "t"}).code, 6) << "is there";
}

TEST_F(CsvCommands, ReadsStandardInput) {
  EXPECT_EQ(runLoom({"db", "import", "-", file, "t"}, "a,b\n1,x\n"), (Ended{0, "1 record\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "1\tx\n");
  EXPECT_EQ(runLoom({"db", "import", "-", file}, "a\n1\n"),
            (Ended{2, "", "loom: TABLE is missing: standard input has no name\n"}));
  EXPECT_EQ(runLoom({"db", "import", "-", file, "u"}, "a,b\n1\n").err,
            "loom: standard input: line 2, column 1: 1 field where the first row has 2\n");
}

TEST_F(CsvCommands, FillsEveryDatabaseOrSaysWhatItCannotHold) {
  const std::string path = folder + "/in.csv";
  for (const std::string& store : {"csv:" + folder, "xbase:" + folder, "tessel:" + folder + "/t"}) {
    writeFile(path, "id,name,price\n1,\"bolt; \"\"x\"\"\",2.5\n-20,,1000.125\n");
    EXPECT_EQ(runLoom({"db", "import", path, store, "t"}).err,
              "loom: t: row 2, column name: cannot hold NULL\n"
              "--blank-nulls writes an empty text or 0 instead.\n")
        << store;
    EXPECT_NE(runLoom({"db", "count", store, "t"}).code, 0) << "nothing is left behind";
    writeFile(path, "id,name,price\n1,\"bolt; \"\"x\"\"\",2.5\n-20,\"\",1000.125\n");
    const bool nameless = store.starts_with("csv:");
    EXPECT_EQ(runLoom({"db", "import", path, store, "t"}),
              (Ended{0, "2 records\n",
                     nameless ? "loom: t.csv has no names of columns; read it with --columns "
                                "id:int,name:string,price:float\n"
                              : ""}));
    EXPECT_EQ(runLoom({"db", "scan", store, "t"}).out, "1\tbolt; \"x\"\t2.5\n-20\t\t1000.125\n");
    writeFile(path, "id\n5000000000\n");
    EXPECT_EQ(runLoom({"db", "import", path, store, "u"}),
              (Ended{6, "", "loom: u: row 1, column id: cannot hold an integer, 5000000000\n"}));
  }
}

TEST_F(CsvCommands, BlanksNullsOnlyWhereThereAreNone) {
  const std::string path = folder + "/in.csv";
  writeFile(path, "id,name,price\n1,bolt,2.5\n,,\n");
  for (const std::string& store : {"csv:" + folder, "xbase:" + folder, "tessel:" + folder + "/t"}) {
    EXPECT_EQ(runLoom({"db", "import", "--blank-nulls", path, store, "t"}).code, 0);
    EXPECT_EQ(runLoom({"db", "scan", store, "t"}).out, "1\tbolt\t2.5\n0\t\t0\n") << store;
  }
  EXPECT_EQ(runLoom({"db", "import", "--blank-nulls", path, file, "t"}).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "1\tbolt\t2.5\n\\N\t\\N\t\\N\n");
  EXPECT_EQ(runLoom({"db", "copy", "--blank-nulls", "--as", "u", file, "t", "xbase:" + folder}),
            (Ended{0, "2 records\n", ""}));
  EXPECT_EQ(runLoom({"db", "scan", "xbase:" + folder, "u"}).out, "1\tbolt\t2.5\n0\t\t0\n");
}

TEST_F(CsvCommands, RefusesWhatAFormatCannotHold) {
  const std::string path = folder + "/in.csv";
  const auto into = [&](const std::string& store, const std::string& text) {
    writeFile(path, text);
    return runLoom({"db", "import", path, store + ":" + folder, "v"});
  };
  EXPECT_EQ(into("csv", "id,t\n1,\"a\nb\"\n").err,
            "loom: v: row 1, column t: cannot hold a text, a\\nb\n");
  EXPECT_EQ(into("xbase", "id,t\n1,\"a \"\n").err,
            "loom: v: row 1, column t: cannot hold a text, a \n");
  EXPECT_EQ(into("xbase", "id,t\n1," + std::string(255, 'x') + "\n").code, 6);
  EXPECT_EQ(into("xbase", "id,n\n1,0.5\n2,1.25\n").code, 0);
  EXPECT_EQ(runLoom({"db", "scan", "xbase:" + folder, "v"}).out, "1\t0.5\n2\t1.25\n");
  EXPECT_EQ(into("xbase", "id,t\n1,x\n").code, 6) << "is there already";
  EXPECT_EQ(into("xbase", "id,n\n1,1e+300\n").err,
            "loom: v: row 1, column n: cannot hold a number, 1e+300\n");
  EXPECT_NE(into("xbase", "id,long_column\n1,x\n").err.find("up to 10 characters"),
            std::string::npos);
}

TEST_F(CsvCommands, ExportWritesAFileWholeOrNotAtAll) {
  ASSERT_EQ(import("x\n1\n").code, 0);
  const std::string path = folder + "/out.csv";
  EXPECT_EQ(runLoom({"db", "export", file, "t", path}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(path), "x\r\n1\r\n");
  EXPECT_EQ(runLoom({"db", "export", file, "t", path}).code, 6) << "is there already";
  const std::string marked = "\xef\xbb\xbfx\n1\n";
  EXPECT_EQ(runLoom({"db", "export", "--force", "--bom", "--line-end", "lf", file, "t", path}).code,
            0);
  EXPECT_EQ(readFile(path), marked);
  EXPECT_EQ(runLoom({"db", "export", "--force", "--where", "$x \"a\" <", file, "t", path}).code, 5);
  EXPECT_EQ(readFile(path), marked) << "a failure leaves the file";
  EXPECT_EQ(runLoom({"db", "export", file, "t", "-"}).out, "x\r\n1\r\n");
  EXPECT_EQ(runLoom({"db", "export", "--sep", "\"", file, "t"}).code, 2);
}

// What is hard to write: NULL, empty, quotes, separators, line ends, numbers as texts.
class CsvRoundTrip : public CsvCommands {
 protected:
  CsvRoundTrip() {
    EXPECT_EQ(import("x\n1\n").code, 0);
    EXPECT_EQ(runLoom({"sql", file,
                       "CREATE TABLE u (a INTEGER, b TEXT, c REAL); INSERT INTO u VALUES "
                       "(1, 'x,\"y\"' || char(13) || char(10) || 'z', 2.5), (NULL, '', NULL), "
                       "(9223372036854775807, NULL, -1), (0, '007', 0.1), (5, '42', 1e300), "
                       "(6, ' a;b|c' || char(9), 0), (7, char(39) || 'q', -0.5), (8, '1.50', 3), "
                       "(9, char(13), 0.1), (10, 'NULL', 123456789012345680.0)"})
                  .code,
              0);
  }
};

TEST_F(CsvRoundTrip, ExportIsReadBackUnchanged) {
  EXPECT_EQ(runLoom({"db", "export", file, "u"}),
            (Ended{0,
                   "a,b,c\r\n1,\"x,\"\"y\"\"\r\nz\",2.5\r\n,\"\",\r\n9223372036854775807,,-1.0\r\n"
                   "0,007,0.1\r\n5,\"42\",1e+300\r\n6,\" a;b|c\t\",0.0\r\n7,\"'q\",-0.5\r\n"
                   "8,\"1.50\",3.0\r\n9,\"\r\",0.1\r\n10,NULL,123456789012345680.0\r\n",
                   ""}));
  int number = 0;
  for (const std::string sep : {",", ";", "tab", "|"}) {
    for (const std::string end : {"lf", "crlf"}) {
      const Ended text = runLoom({"db", "export", "--sep", sep, "--line-end", end, file, "u"});
      const std::string name = "u" + std::to_string(number++);
      ASSERT_EQ(runLoom({"db", "import", "-", file, name}, text.out).code, 0) << text;
      EXPECT_EQ(scan(file, name), scan(file, "u")) << text;
    }
  }
}

TEST_F(CsvRoundTrip, OneColumnOfNullsIsReadBack) {
  ASSERT_EQ(runLoom({"sql", file,
                     "CREATE TABLE one (a TEXT); INSERT INTO one VALUES (NULL), (''), ('x'), "
                     "(NULL)"})
                .code,
            0);
  const std::string text = runLoom({"db", "export", "--header", "no", file, "one"}).out;
  EXPECT_EQ(text, "\r\n\"\"\r\nx\r\n\r\n");
  ASSERT_EQ(runLoom({"db", "import", "--header", "no", "-", file, "two"}, text).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "two"}).out, "\\N\n\nx\n\\N\n");
}

TEST_F(CsvRoundTrip, PythonAndSqliteReadTheExport) {
  const std::string path = folder + "/u.csv";
  ASSERT_EQ(runLoom({"db", "export", file, "u", path}).code, 0);
  const Ended python =
      runProgram({"python3", "-c",
                  "import csv,sqlite3,sys\n"
                  "rows=list(csv.reader(open(sys.argv[1], newline='')))[1:]\n"
                  "read=[(int(a) if a else None, b, float(c) if c else None) for a,b,c in rows]\n"
                  "made=[(a, b or '', c) for a,b,c in "
                  "sqlite3.connect(sys.argv[2]).execute('SELECT * FROM u')]\n"
                  "print(len(read), read==made)",
                  path, folder + "/t.db"});
  EXPECT_EQ(python.out, "10 True\n") << python;
  const Ended sqlite =
      runProgram({"sqlite3", folder + "/t.db", ".mode csv", ".import " + path + " w",
                  "SELECT count(*) FROM u JOIN w ON u.rowid = w.rowid WHERE "
                  "ifnull(u.b, '') = w.b AND ifnull(u.a, '') = w.a"});
  EXPECT_EQ(sqlite.out, "10\n") << sqlite;
}

// Python's writer with every separator and line end, and its quotings by turns.
TEST_F(CsvRoundTrip, WhatPythonWritesIsRead) {
  const std::string script =
      "import csv,sys\n"
      "rows=[['id','text'],[1,'a,b'],[2,'x\"y'],[3,'l\\nm\\r\\nn'],[4,'it\\'s'],[5,' ']]\n"
      "quotings=((csv.QUOTE_MINIMAL,'\"'),(csv.QUOTE_ALL,'\"'),(csv.QUOTE_ALL,\"'\"),"
      "(csv.QUOTE_NONNUMERIC,\"'\"))\n"
      "for number in range(12):\n"
      "  quoting,quote=quotings[(number+number//4)%4]\n"
      "  csv.writer(open(sys.argv[1]+'/p%d.csv'%number,'w',newline=''),"
      "delimiter=',;\\t|'[number%4],lineterminator=('\\n','\\r\\n','\\r')[number//4],"
      "quoting=quoting,quotechar=quote).writerows(rows)\n";
  ASSERT_EQ(runProgram({"python3", "-c", script, folder}).code, 0);
  for (int number = 0; number < 12; ++number) {
    const std::string name = "p" + std::to_string(number);
    const std::string path = folder + "/" + name + ".csv";
    ASSERT_EQ(runLoom({"db", "import", path, file, name}).code, 0) << readFile(path);
    EXPECT_EQ(scan(file, name),
              "id:int\ntext:string\n1\ta,b\n2\tx\"y\n3\tl\\nm\\r\\nn\n4\tit's\n5\t \n")
        << readFile(path);
  }
}

}  // namespace
