// SPDX-License-Identifier: MIT
// loom xbase: tables with tags and memos, damage and its mending; the plain cases
// are the examples of the commands.
#include <gmock/gmock.h>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"
#include "run_program.h"

namespace {

using namespace loomkit::testing;
using namespace loomkit::xbase;
using ::testing::HasSubstr;

// A table of three records, the last of them deleted, with a memo and two tags.
std::string partsFolder() {
  const std::string dir = newFolder();
  Engine engine;
  engine.report = Reporting::none();
  const auto table =
      createDataFile(engine, dir + "/parts.dbf", {{"NAME", 'C', 6, 0}, {"NOTE", 'M', 0, 0}},
                     {{"NAME", "NAME"}, {"LAST", "UPPER(NAME)", "", true, true}});
  EXPECT_NE(table, nullptr);
  for (const char* name : {"bolt", "anvil", "cog"}) {
    EXPECT_EQ(startAppend(*table), ok);
    blank(*table);
    assignText(*table, 0, name);
    if (name[0] == 'b') assignMemo(*table, 1, "a long\nnote");
    if (name[0] == 'c') markDeleted(*table);
    EXPECT_EQ(finishAppend(*table), ok);
  }
  EXPECT_EQ(close(*table), ok);
  return dir;
}

TEST(XBaseCommand, TellsFieldsAndTags) {
  const std::string dir = partsFolder();
  EXPECT_EQ(runLoom({"xbase", "info", dir, "PARTS"}),
            (Ended{0,
                   "parts: 3 records of 17 bytes, version 245\n"
                   "  memos in blocks of 512 bytes\n"
                   "  field NAME C(6)\n  field NOTE M(10)\n"
                   "  tag LAST on UPPER(NAME), unique, descending\n  tag NAME on NAME\n",
                   ""}));
  EXPECT_THAT(runLoom({"xbase", "info", dir, "--json"}).out,
              HasSubstr("\"tags\":[{\"name\":\"LAST\",\"expression\":\"UPPER(NAME)\",\"filter\":"
                        "\"\",\"unique\":true,\"descending\":true}"));
}

TEST(XBaseCommand, PrintsMemosAndValues) {
  const std::string dir = partsFolder();
  EXPECT_EQ(runLoom({"xbase", "memo", dir, "parts", "note"}), (Ended{0, "a long\nnote", ""}));
  EXPECT_EQ(runLoom({"xbase", "memo", dir, "parts", "NOTE", "--record", "2"}), (Ended{0, "", ""}));
  EXPECT_EQ(runLoom({"xbase", "memo", dir, "parts", "NOTE", "--record", "9"}),
            (Ended{1, "", "loom: there is no record 9\n"}));
  EXPECT_EQ(
      runLoom({"xbase", "expr", dir, "parts", "RECNO()*2", "--json"}),
      (Ended{0, "[\n{\"record\":1,\"value\":\"2\"},\n{\"record\":2,\"value\":\"4\"}\n]\n", ""}));
  const Ended wrong = runLoom({"xbase", "expr", dir, "parts", "NAME+NOWHERE"});
  EXPECT_EQ(wrong.code, 5);
  EXPECT_THAT(wrong.err, HasSubstr("at byte 6 of NAME+NOWHERE"));
}

TEST(XBaseCommand, PacksWithTheTags) {
  const std::string dir = partsFolder();
  EXPECT_EQ(runLoom({"xbase", "pack", dir, "--json"}),
            (Ended{0, "[\n{\"table\":\"parts\",\"done\":\"packed\"}\n]\n", ""}));
  EXPECT_EQ(runLoom({"xbase", "check", dir}), (Ended{0, "parts: whole\n", ""}));
  EXPECT_THAT(runLoom({"xbase", "info", dir}).out, HasSubstr("parts: 2 records"));
}

// The index is of other records: it opens, and its entries are wrong.
TEST(XBaseCommand, FindsAndMendsATagThatIsWrong) {
  const std::string dir = partsFolder();
  std::string table = readFile(dir + "/parts.dbf");
  table.replace(table.find("anvil"), 5, "zebra");
  writeFile(dir + "/parts.dbf", table);
  const Ended wrong = runLoom({"xbase", "check", dir});
  EXPECT_EQ(wrong.code, 4);
  EXPECT_THAT(wrong.out, HasSubstr("parts, record 2, NAME: "));
  EXPECT_EQ(runLoom({"xbase", "reindex", dir}), (Ended{0, "parts: indexed\n", ""}));
  EXPECT_EQ(runLoom({"xbase", "check", dir}), (Ended{0, "parts: whole\n", ""}));
}

TEST(XBaseCommand, AddsTags) {
  const std::string dir = partsFolder();
  EXPECT_EQ(runLoom({"xbase", "reindex", "--tag", "TOP=LEFT(NAME,1)", "--tag", "N=RECNO()", dir}),
            (Ended{0, "parts: indexed\n", ""}));
  EXPECT_THAT(runLoom({"xbase", "info", dir}).out,
              HasSubstr("  tag N on RECNO()\n  tag NAME on NAME\n  tag TOP on LEFT(NAME,1)\n"));
  EXPECT_EQ(runLoom({"xbase", "reindex", "--tag", "NAME", dir}),
            (Ended{2, "", "loom: --tag: not NAME=EXPR: NAME\n"}));
  const std::string tag = "X=UPPER(NOSUCH)";
  EXPECT_EQ(runLoom({"xbase", "reindex", "--tag", tag, dir}),
            (Ended{5, "",
                   "loom: " + dir +
                       "/parts.dbf: XBase error -490: Unrecognized Value at byte 7 of "
                       "UPPER(NOSUCH)\n"}));
  EXPECT_EQ(runLoom({"xbase", "reindex", "--json", "--tag", tag, dir}).out, "[]\n");
  EXPECT_EQ(runLoom({"xbase", "check", dir}), (Ended{0, "parts: whole\n", ""}));
}

TEST(XBaseCommand, ADirectoryWithoutTablesIsAnError) {
  const std::string dir = newFolder();
  for (const char* const command : {"info", "check", "pack", "reindex"})
    EXPECT_EQ(runLoom({"xbase", command, dir}),
              (Ended{3, "", "loom: there is no table in " + dir + "\n"}))
        << command;
}

TEST(XBaseCommand, TakesTheFileOfATableForItsDirectory) {
  const std::string dir = partsFolder();
  EXPECT_EQ(runLoom({"xbase", "check", dir + "/parts.dbf"}), (Ended{0, "parts: whole\n", ""}));
  EXPECT_EQ(runLoom({"xbase", "info", dir + "/parts.dbf"}), runLoom({"xbase", "info", dir}));
  EXPECT_EQ(runLoom({"xbase", "check", dir + "/parts.dbf", "other"}),
            (Ended{3, "", "loom: there is no table other in " + dir + "/parts.dbf\n"}));
}

// As a program leaves it that was killed.
TEST(XBaseCommand, MendsAnIndexThatWasLeftInTheMidstOfAChange) {
  const std::string dir = partsFolder();
  std::string index = readFile(dir + "/parts.cdx");
  index.replace(cdx::header::mark.offset, cdx::header::mark.size, cdx::header::changing);
  writeFile(dir + "/parts.cdx", index);
  const Ended wrong = runLoom({"xbase", "check", dir});
  EXPECT_EQ(wrong.code, 4);
  EXPECT_THAT(wrong.out, HasSubstr("parts, the index: it cannot be used"));
  EXPECT_EQ(runLoom({"xbase", "info", dir}).code, 4);
  EXPECT_EQ(runLoom({"xbase", "reindex", dir}), (Ended{0, "parts: indexed\n", ""}));
  EXPECT_EQ(runLoom({"xbase", "check", dir}), (Ended{0, "parts: whole\n", ""}));
}

TEST(XBaseCommand, SaysWhatIsNoTable) {
  const std::string dir = newFolder();
  writeFile(dir + "/bad.dbf", "no table");
  const Ended wrong = runLoom({"xbase", "info", dir});
  EXPECT_EQ(wrong.code, 4);
  EXPECT_THAT(wrong.err, HasSubstr("bad.dbf: "));
  EXPECT_EQ(runLoom({"xbase", "check", dir, "other"}),
            (Ended{3, "", "loom: there is no table other in " + dir + "\n"}));
}

}  // namespace
