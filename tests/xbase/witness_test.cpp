// SPDX-License-Identifier: MIT
// Tables and memos that we write, read by other programs, and theirs by us:
// shapelib's dbfdump, dbfcreate and dbfadd, dbfread for Python, and GDAL's
// ogrinfo and ogr2ogr.
#include "tests/witness.h"

#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

using testing::runShell;
using testing::Witnessed;

constexpr char dbfreadScript[] = R"(import sys, dbfread
table = dbfread.DBF(sys.argv[1], char_decode_errors="strict", encoding="latin-1")
def show(name, records):
    for record in records:
        print(name, "|".join(f"{k}={v!r}" for k, v in record.items()))
print([(f.name, f.type, f.length, f.decimal_count) for f in table.fields])
show("live", table)
show("deleted", table.deleted)
)";

class XBaseWitness : public TableTest {
 protected:
  [[nodiscard]] Witnessed run(const std::string& command) const {
    return runShell("cd '" + scratch.path() + "' && " + command);
  }
  [[nodiscard]] Witnessed readByPython(const std::string& file) const {
    scratch.write("read.py", dbfreadScript);
    // Debian's interpreter, for which the module is installed.
    return run("/usr/bin/python3 read.py " + file + " 2>&1");
  }

  // A record of each letter; the second is deleted, the third blank.
  void writeOurs(unsigned wide) {
    const TableOwner table = createDataFile(engine, scratch / "ours.dbf",
                                            {{"NAME", 'C', 8, 0},
                                             {"WIDE", 'C', wide, 0},
                                             {"AMOUNT", 'N', 10, 2},
                                             {"PART", 'F', 8, 3},
                                             {"WHOLE", 'N', 5, 0},
                                             {"BORN", 'D', 0, 0},
                                             {"GOOD", 'L', 0, 0},
                                             {"NOTE", 'M', 0, 0}});
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(startAppend(*table), ok);
      blank(*table);
      unmarkDeleted(*table);
      if (i < 2) {
        assignText(*table, 0, i == 0 ? "gr\xFCn" : "gone");
        assignText(*table, 1, std::string(wide, static_cast<char>('x' + i)));
        assignDouble(*table, 2, -1234.5);
        assignDouble(*table, 3, 0.125);
        assignLong(*table, 4, 42 + i);
        assignText(*table, 5, "19950726");
        assignChar(*table, 6, i == 0 ? 'T' : 'F');
        assignMemo(*table, 7, i == 0 ? "a memo\nof two lines" : std::string(2000, 'm'));
      }
      if (i == 1) markDeleted(*table);
      ASSERT_EQ(finishAppend(*table), ok);
    }
    ASSERT_EQ(close(*table), ok);
  }
};

TEST_F(XBaseWitness, DbfreadReadsOurTablesAndMemos) {
  writeOurs(300);
  const std::string wideX(300, 'x');
  const std::string wideY(300, 'y');
  const std::string expected =
      "[('NAME', 'C', 8, 0), ('WIDE', 'C', 300, 0), ('AMOUNT', 'N', 10, 2), "
      "('PART', 'F', 8, 3), ('WHOLE', 'N', 5, 0), ('BORN', 'D', 8, 0), "
      "('GOOD', 'L', 1, 0), ('NOTE', 'M', 10, 0)]\n"
      "live NAME='gr\xC3\xBCn'|WIDE='" +
      wideX +
      "'|AMOUNT=-1234.5|PART=0.125|WHOLE=42|"
      "BORN=datetime.date(1995, 7, 26)|GOOD=True|NOTE='a memo\\nof two lines'\n"
      "live NAME=''|WIDE=''|AMOUNT=None|PART=None|WHOLE=None|BORN=None|GOOD=None|NOTE=None\n"
      "deleted NAME='gone'|WIDE='" +
      wideY +
      "'|AMOUNT=-1234.5|PART=0.125|WHOLE=43|"
      "BORN=datetime.date(1995, 7, 26)|GOOD=False|NOTE='" +
      std::string(2000, 'm') + "'\n";
  EXPECT_EQ(readByPython("ours.dbf"), (Witnessed{0, expected}));
}

TEST_F(XBaseWitness, DbfdumpReadsOurTables) {
  const TableOwner table =
      createDataFile(engine, scratch / "ours.dbf", {{"NAME", 'C', 6, 0}, {"AMOUNT", 'N', 9, 2}});
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(startAppend(*table), ok);
    assignText(*table, 0, "row" + std::to_string(i));
    assignDouble(*table, 1, i * 1000.25 - 1);
    ASSERT_EQ(finishAppend(*table), ok);
  }
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(run("dbfdump ours.dbf"), (Witnessed{0,
                                                "NAME      AMOUNT \n"
                                                "row0       -1.00 \n"
                                                "row1      999.25 \n"
                                                "row2     1999.50 \n"}));
}

TEST_F(XBaseWitness, OgrinfoReadsOurTables) {
  writeOurs(30);  // of a wider column, GDAL reads the low byte of the width only
  const Witnessed witnessed = run("ogrinfo -ro -al ours.dbf 2>/dev/null");
  EXPECT_EQ(witnessed.status, 0);
  for (const char* line :
       {"NAME: String (8.0)\n", "WIDE: String (30.0)\n", "AMOUNT: Real (10.2)\n",
        "WHOLE: Integer (5.0)\n", "BORN: Date (10.0)\n", "  AMOUNT (Real) = -1234.50\n",
        "  PART (Real) = 0.125\n", "  WHOLE (Integer) = 42\n", "  BORN (Date) = 1995/07/26\n"})
    EXPECT_NE(witnessed.output.find(line), std::string::npos) << line << witnessed.output;
}

TEST_F(XBaseWitness, ShapelibsTablesAreReadAndAddedTo) {
  ASSERT_EQ(run("dbfcreate theirs.dbf -s NAME 8 -n AMOUNT 10 2 -n WHOLE 5 0 >/dev/null"
                " && dbfadd theirs.dbf bolt 12.5 7 && dbfadd theirs.dbf 'a nut' -0.25 -42"),
            (Witnessed{0, ""}));
  TableOwner table = open("theirs.dbf");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(all(table.get()),
            (std::vector<std::string>{"|bolt    |     12.50|    7", "|a nut   |     -0.25|  -42"}));
  ASSERT_EQ(startAppend(*table), ok);
  blank(*table);
  unmarkDeleted(*table);
  assignText(*table, 0, "ours");
  assignDouble(*table, 1, 3);
  assignLong(*table, 2, 9);
  ASSERT_EQ(finishAppend(*table), ok);
  ASSERT_EQ(go(*table, 1), ok);
  markDeleted(*table);
  ASSERT_EQ(pack(*table), ok);
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(run("dbfdump theirs.dbf"), (Witnessed{0,
                                                  "NAME         AMOUNT WHOLE \n"
                                                  "a nut         -0.25   -42 \n"
                                                  "ours           3.00     9 \n"}));
}

TEST_F(XBaseWitness, GdalsTablesAreReadAndAddedTo) {
  scratch.write("in.csv", "name,amount,born\nbolt,12.5,1995/07/26\n\"green\",-3,2001/02/03\n");
  scratch.write("in.csvt", "\"String(12)\",\"Real(10.2)\",\"Date\"\n");
  ASSERT_EQ(run("ogr2ogr -f 'ESRI Shapefile' out.dbf in.csv 2>/dev/null"), (Witnessed{0, ""}));
  const TableOwner table = open("out.dbf");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->fields[0].name, "name") << "in the letters that the file has";
  EXPECT_EQ(all(table.get()), (std::vector<std::string>{"|bolt        |     12.50|19950726",
                                                        "|green       |     -3.00|20010203"}));
  ASSERT_EQ(startAppend(*table), ok);
  ASSERT_EQ(finishAppend(*table), ok);
  ASSERT_EQ(close(*table), ok);
  const Witnessed witnessed = run("ogrinfo -ro -al out.dbf 2>/dev/null");
  EXPECT_NE(witnessed.output.find("Feature Count: 3\n"), std::string::npos) << witnessed.output;
}

}  // namespace
}  // namespace loomkit::xbase
