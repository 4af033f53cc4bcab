// SPDX-License-Identifier: MIT
// loom ar: exit codes, dialects and damaged archives; the plain cases are the
// examples of the commands.
#include <gtest/gtest.h>

#include "run_program.h"
#include "tests/archive/ar_builder.h"

namespace {

using namespace loomkit::testing;

TEST(ArCommand, KnowsTheNamesOfBothDialects) {
  const std::string dir = newFolder();
  const std::string script = "cd " + dir +
                             " && printf abc > short && printf 12345 > 'a name beyond 16 letters'"
                             " && ar qcS gnu.a short a*letters"
                             " && bsdtar --format arbsd -cf bsd.a short a*letters";
  ASSERT_EQ(shell(script), (Ended{0, "", ""}));
  for (const char* archive : {"/gnu.a", "/bsd.a"}) {
    EXPECT_EQ(runLoom({"ar", "ls", dir + archive}),
              (Ended{0, "         5  a name beyond 16 letters\n         3  short\n", ""}));
    EXPECT_EQ(runLoom({"ar", "cat", dir + archive, "short", "a name beyond 16 letters"}),
              (Ended{0, "abc12345", ""}));
  }
}

TEST(ArCommand, ListsAsJson) {
  const std::string path = newFolder() + "/x.a";
  writeFile(path, arArchive(arMember("a/", "odd") + arMember("b", "even")));
  EXPECT_EQ(runLoom({"ar", "ls", path, "--json"}),
            (Ended{0,
                   "[\n{\"name\":\"a\",\"size\":3,\"offset\":68},\n"
                   "{\"name\":\"b\",\"size\":4,\"offset\":132}\n]\n",
                   ""}));
}

TEST(ArCommand, SaysWhatIsMissing) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.a", arArchive(arMember("a", "text")));
  EXPECT_EQ(runLoom({"ar", "ls", dir + "/none.a"}),
            (Ended{3, "", "loom: cannot open " + dir + "/none.a: No such file or directory\n"}));
  EXPECT_EQ(runLoom({"ar", "cat", dir + "/x.a", "b", "a"}),
            (Ended{1, "text", "loom: there is no member b\n"}));
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "b", "-d", dir}),
            (Ended{1, "", "loom: there is no member b\n"}));
}

TEST(ArCommand, ADamagedArchiveHasAnExitCode) {
  const std::string dir = newFolder();
  writeFile(dir + "/text", "no archive at all");
  writeFile(dir + "/cut.a", arArchive(arHeader("a", "100") + "data"));
  EXPECT_EQ(runLoom({"ar", "ls", dir + "/text"}).code, 4);
  EXPECT_EQ(runLoom({"ar", "cat", dir + "/cut.a", "a"}).code, 4);
  EXPECT_EQ(runLoom({"ar", "x", dir + "/cut.a", "-d", dir}).code, 4);
  EXPECT_EQ(shell("ls -A " + dir).out, "cut.a\ntext\n") << "no half of a member";
}

TEST(ArCommand, ListingAnArchiveThatWasCutOffAnywhereSaysSo) {
  const std::string dir = newFolder();
  const std::string whole = arArchive(arMember("a/", "odd") + arMember("b", "even"));
  const std::size_t secondHeader = whole.size() - 64;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    writeFile(dir + "/x.a", whole.substr(0, size));
    // Before a header, an archive of fewer members is whole; the pad byte in front
    // of it is missed only by who goes on.
    const bool good =
        size == 8 || size == secondHeader - 1 || size == secondHeader || size == whole.size();
    EXPECT_EQ(runLoom({"ar", "ls", dir + "/x.a"}).code, good ? 0 : 4) << size;
  }
  writeFile(dir + "/x.a", whole.substr(0, whole.size() - 1));
  EXPECT_EQ(runLoom({"ar", "ls", dir + "/x.a"}),
            (Ended{4, "         3  a\n         4  b\n",
                   "loom: " + dir + "/x.a: the archive ends within b\n"}));
}

TEST(ArCommand, NeverLeavesItsDirectory) {
  const std::string dir = newFolder();
  ASSERT_EQ(shell("mkdir " + dir + "/d").code, 0);
  writeFile(dir + "/x.a",
            arArchive(arLongMember("../out", "1") + arLongMember("/tmp/out", "2") +
                      arLongMember("a\\b", "3") + arMember("..", "4") + arMember(".", "5") +
                      arMember("", "6") + arLongMember(std::string("n\0l", 3), "7") +
                      arMember("good", "8")));
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "-d", dir + "/d"}).code, 4);
  EXPECT_EQ(shell("cd " + dir + " && find . | sort").out, ".\n./d\n./d/good\n./x.a\n");
}

TEST(ArCommand, ReplacesAFileOnlyWhenTold) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.a", arArchive(arMember("a", "new")));
  writeFile(dir + "/a", "old");
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "-d", dir}),
            (Ended{6, "", "loom: " + dir + "/a is there already (--force replaces it)\n"}));
  EXPECT_EQ(readFile(dir + "/a"), "old");
  EXPECT_EQ(runLoom({"ar", "x", "--force", dir + "/x.a", "-d", dir}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(dir + "/a"), "new");
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "-d", dir + "/none"}).code, 6);
}

}  // namespace
