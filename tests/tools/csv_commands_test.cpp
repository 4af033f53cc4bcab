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
  std::string schema() { return runLoom({"db", "schema", file, "t"}).out; }

  const std::string folder = newFolder();
  const std::string file = "sqlite3:" + folder + "/t.db";
};

TEST_F(CsvCommands, InfersTypesOverTheWholeFile) {
  ASSERT_EQ(import("id,zip,day,price,big,empty,q\n1,01234,2026-01-02,1,5000000000,,\"5\"\n"
                   "2,99999,2026-01-03,2.5,-1,,6\n"),
            (Ended{0, "2 records\n", ""}));
  EXPECT_EQ(schema(),
            "id:int\nzip:string\nday:string\nprice:float\nbig:int\nempty:string\n"
            "q:string\n");
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out,
            "1\t01234\t2026-01-02\t1\t5000000000\t\\N\t5\n"
            "2\t99999\t2026-01-03\t2.5\t-1\t\\N\t6\n");
  const Ended explained = import("id,zip\n1,01234\nx,2\n", {"--explain"});
  EXPECT_EQ(explained.err,
            "loom: id is string: line 3: 'x' is no number that is kept as it is written\n"
            "loom: zip is string: line 2: '01234' is no number that is kept as it is written\n");
}

TEST_F(CsvCommands, FindsSeparatorHeaderMarkAndEncoding) {
  ASSERT_EQ(import("\xef\xbb\xbf"
                   "a;b\r\n1;2\r\n")
                .code,
            0);
  EXPECT_EQ(schema(), "a:int\nb:int\n");
  ASSERT_EQ(import("1;2\n3;4\n").out, "2 records\n");
  EXPECT_EQ(schema(), "c1:int\nc2:int\n");
  ASSERT_EQ(import("a,b\nc,d\n", {"--header", "no"}).out, "2 records\n");
  ASSERT_EQ(import("a b\n1 2\n", {"--sep", " "}).code, 0);
  EXPECT_EQ(schema(), "a:int\nb:int\n");
  ASSERT_EQ(import("name\nJos\xe9\n", {"--encoding", "ISO-8859-1"}).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", file, "t"}).out, "José\n");
  const std::string wide =
      std::string("\xff\xfe") + std::string("a\0\n\0", 4) + std::string("1\0\n\0", 4);
  ASSERT_EQ(import(wide).code, 0);
  EXPECT_EQ(schema(), "a:int\n");
  EXPECT_EQ(import("a\n1\n", {"--encoding", "nonsense"}).code, 2);
  EXPECT_EQ(import("a\n1\n", {"--sep", "ab"}).code, 2);
}

TEST_F(CsvCommands, SaysWhereAFileIsNoCsv) {
  const std::string path = "loom: " + folder + "/in.csv: ";
  EXPECT_EQ(import("a,b\n1,\"x\ny\n"),
            (Ended{4, "", path + "line 2, column 3: a quote has no end\n"}));
  EXPECT_EQ(import("a,b\n1,2\n3\n"),
            (Ended{4, "", path + "line 3, column 1: a row of 1 columns, where the first has 2\n"}));
  EXPECT_EQ(import(""), (Ended{4, "", path + "there is nothing in it\n"}));
  EXPECT_EQ(runLoom({"db", "import", folder + "/no.csv", file}).code, 3);
}

TEST_F(CsvCommands, ExportIsReadBackUnchangedByPythonAndByItself) {
  ASSERT_EQ(import("x\n1\n").code, 0);
  ASSERT_EQ(runLoom({"sql", file,
                     "CREATE TABLE u (a INTEGER, b TEXT, c REAL); INSERT INTO u VALUES "
                     "(1, 'x,\"y\"' || char(13) || char(10) || 'z', 2.5), (NULL, '', NULL), "
                     "(9223372036854775807, NULL, -1), (0, '007', 0.1), (5, '42', 1e300)"})
                .code,
            0);
  const Ended out = runLoom({"db", "export", file, "u"});
  EXPECT_EQ(out, (Ended{0,
                        "a,b,c\r\n1,\"x,\"\"y\"\"\r\nz\",2.5\r\n,\"\",\r\n"
                        "9223372036854775807,,-1\r\n0,007,0.1\r\n5,\"42\",1e+300\r\n",
                        ""}));
  const Ended python = runProgram({"python3", "-c",
                                   "import csv,sys,io\n"
                                   "text=sys.stdin.buffer.read().decode()\n"
                                   "print(list(csv.reader(io.StringIO(text, newline='')))[1])"},
                                  out.out);
  EXPECT_EQ(python.out, "['1', 'x,\"y\"\\r\\nz', '2.5']\n");
  writeFile(folder + "/u.csv", out.out);
  ASSERT_EQ(runLoom({"db", "import", folder + "/u.csv", "sqlite3:" + folder + "/v.db"}).code, 0);
  EXPECT_EQ(runLoom({"db", "scan", "sqlite3:" + folder + "/v.db", "u"}).out,
            runLoom({"db", "scan", file, "u"}).out);
  EXPECT_EQ(runLoom({"db", "export", "--sep", "tab", "--header", "no", "--columns", "a,c", file,
                     "u", "--where", "$a 1 =="})
                .code,
            5)
      << "a NULL is compared with nothing";
}

}  // namespace
