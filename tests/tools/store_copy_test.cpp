// SPDX-License-Identifier: MIT
// loom db copy to a table store: what it refuses, and what then becomes of the file.
#include <gtest/gtest.h>

#include <filesystem>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

class StoreCopy : public ::testing::Test {
 protected:
  StoreCopy() {
    writeFile(folder + "/wood.csv", "1;oak\n2;ash\n2;elm\n");
    writeFile(folder + "/metal.csv", "7;tin\n");
  }
  // loom's arguments behind "db copy", run in the folder.
  Ended copy(const std::string& arguments) const {
    return shell("cd " + folder + " && loom db copy " + arguments);
  }
  std::string scan(const std::string& table) const {
    return shell("cd " + folder + " && loom db scan tessel:s.tessel " + table).out;
  }
  [[nodiscard]] bool hasStore() const { return std::filesystem::exists(folder + "/s.tessel"); }

  const std::string folder = newFolder();
};

TEST_F(StoreCopy, RefusesIndexesThatCannotBe) {
  const struct {
    const char* index;
    int code;
    const char* words;
  } cases[] = {
      {"nosuch", 2, "--index nosuch: no column 'nosuch'"},
      {"c1,nosuch", 2, "--index c1,nosuch: no column 'nosuch'"},
      {"C1", 2, "--index C1: no column 'C1'; did you mean 'c1'?"},
      {"c1,", 2, "--index c1,: no column ''"},
      {"c1:uniqe", 2, "--index c1:uniqe: no column 'c1:uniqe'"},
      {"c1,c1", 6, "s.tessel: index on c1,c1: c1 is there twice"},
      {"''", 2, "--index : no column ''"},
      {":unique", 2, "--index : no column ''"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(copy("--index " + std::string(row.index) + " csv:. wood tessel:s.tessel"),
              (Ended{row.code, "", "loom: " + std::string(row.words) + "\n"}))
        << row.index;
    EXPECT_FALSE(hasStore()) << row.index;
  }
}

TEST_F(StoreCopy, NamesTheRecordsThatAUniqueIndexForbids) {
  EXPECT_EQ(copy("--index c1:unique csv:. wood tessel:s.tessel"),
            (Ended{6, "",
                   "loom: s.tessel: wood: records 2 and 3 have the same key in the unique index "
                   "c1\n"}));
  EXPECT_FALSE(hasStore());
  EXPECT_EQ(copy("--index c1,c2:unique csv:. wood tessel:s.tessel").code, 0);
}

TEST_F(StoreCopy, AddsATableToTheOnesThatAreThere) {
  ASSERT_EQ(copy("--index c1 csv:. wood tessel:s.tessel"), (Ended{0, "3 records\n", ""}));
  ASSERT_EQ(copy("csv:. metal tessel:s.tessel").code, 0);
  EXPECT_EQ(scan("wood"), "1\toak\n2\tash\n2\telm\n");
  EXPECT_EQ(scan("metal"), "7\ttin\n");
  EXPECT_EQ(shell("cd " + folder + " && loom db get tessel:s wood c1=2").out, "2\tash\n2\telm\n")
      << "its index is kept";
}

TEST_F(StoreCopy, AnIndexOnColumnsThatHaveOneIsNoSecond) {
  ASSERT_EQ(copy("--index c1 --index c2 csv:. wood tessel:old.tessel").code, 0);
  ASSERT_EQ(copy("--index c2:unique --index c1 --index c2,c1 --index c2,c1 tessel:old wood "
                 "tessel:s.tessel")
                .code,
            0);
  const std::string info = shell("loom tessel info " + folder + "/s.tessel").out;
  const std::size_t begin = info.find("  index on");
  ASSERT_NE(begin, std::string::npos) << info;
  EXPECT_EQ(info.substr(begin, info.rfind('\n', info.size() - 2) - begin + 1),
            "  index on c1  hashed, 32 bytes\n"
            "  unique index on c2  hashed, 32 bytes\n"
            "  index on c2,c1  hashed, 32 bytes\n");
}

TEST_F(StoreCopy, AStoreThatCannotBeOpenedSaysWhy) {
  const Ended ended = shell("cd " + folder +
                            " && mkdir dir && mkfifo pipe && ln -s loop loop && echo 1 > text;"
                            " for file in dir pipe loop text none; do loom tessel info $file; "
                            "echo $?; done");
  EXPECT_EQ(ended.out, "3\n3\n3\n3\n3\n");
  EXPECT_EQ(ended.err,
            "loom: dir: not a table store (is a directory)\n"
            "loom: pipe: cannot be read (is no regular file)\n"
            "loom: loop: cannot be read (Too many levels of symbolic links)\n"
            "loom: text: not a table store\n"
            "loom: none: there is no such file\n");
}

TEST_F(StoreCopy, LeavesTheFileAloneWhenItHasSuchATable) {
  ASSERT_EQ(copy("csv:. wood tessel:s.tessel").code, 0);
  const std::string before = readFile(folder + "/s.tessel");
  for (const char* file : {"s.tessel", "s"})
    EXPECT_EQ(copy("csv:. wood tessel:" + std::string(file)),
              (Ended{6, "", "loom: s.tessel: wood: there is one of that name\n"}));
  EXPECT_TRUE(readFile(folder + "/s.tessel") == before);
  EXPECT_EQ(copy("--index c1:unique --as other csv:. wood tessel:s.tessel").code, 6);
  EXPECT_TRUE(readFile(folder + "/s.tessel") == before);
}

TEST_F(StoreCopy, NeverWritesOverAFileThatIsNoStore) {
  writeFile(folder + "/s.tessel", "a letter");
  EXPECT_EQ(copy("csv:. wood tessel:s.tessel").code, 3);
  EXPECT_EQ(readFile(folder + "/s.tessel"), "a letter");
}

TEST_F(StoreCopy, RefusesOptionsOfOtherDatabases) {
  EXPECT_EQ(
      copy("--batch 2 csv:. wood tessel:s.tessel"),
      (Ended{2, "", "loom: --batch is not for tessel: databases, which are written whole\n"}));
  EXPECT_EQ(copy("--index c1 csv:. wood sqlite3:s.db"),
            (Ended{2, "", "loom: --index is for tessel: databases\n"}));
  EXPECT_FALSE(hasStore());
}

}  // namespace
