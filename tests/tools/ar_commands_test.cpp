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
                   "[\n{\"name\":\"a\",\"number\":1,\"size\":3,\"offset\":68},\n"
                   "{\"name\":\"b\",\"number\":1,\"size\":4,\"offset\":132}\n]\n",
                   ""}));
}

TEST(ArCommand, SaysWhatIsMissing) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.a", arArchive(arMember("a", "text")));
  EXPECT_EQ(runLoom({"ar", "ls", dir + "/none.a"}),
            (Ended{3, "", "loom: cannot open " + dir + "/none.a: No such file or directory\n"}));
  EXPECT_EQ(runLoom({"ar", "cat", dir + "/x.a", "b", "a"}),
            (Ended{1, "text", "loom: " + dir + "/x.a: there is no member b\n"}));
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "b", "-d", dir}),
            (Ended{1, "", "loom: " + dir + "/x.a: there is no member b\n"}));
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
            (Ended{6, "",
                   "loom: " + dir + "/x.a: " + dir +
                       "/a is there already\n"
                       "loom: --force replaces files that are there\n"}));
  EXPECT_EQ(readFile(dir + "/a"), "old");
  EXPECT_EQ(runLoom({"ar", "x", "--force", dir + "/x.a", "-d", dir}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(dir + "/a"), "new");
}

TEST(ArCommand, MakesTheDirectory) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.a", arArchive(arMember("a", "text")));
  EXPECT_EQ(runLoom({"ar", "x", "--sync", dir + "/x.a", "-d", dir + "/new/below"}),
            (Ended{0, "", ""}));
  EXPECT_EQ(readFile(dir + "/new/below/a"), "text");
  EXPECT_EQ(runLoom({"ar", "x", dir + "/x.a", "-d", dir + "/x.a/below"}),
            (Ended{6, "",
                   "loom: " + dir + "/x.a: can't make directory " + dir +
                       "/x.a/below (Not a directory)\n"}));
}

TEST(ArCommand, NeverWritesThroughALink) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.a", arArchive(arMember("a", "new")));
  writeFile(dir + "/victim", "old");
  ASSERT_EQ(shell("cd " + dir + " && mkdir d && ln -s ../victim d/a").code, 0);
  EXPECT_EQ(runLoom({"ar", "x", "-f", dir + "/x.a", "-d", dir + "/d"}),
            (Ended{4, "", "loom: " + dir + "/x.a: " + dir + "/d/a leads through a link\n"}));
  EXPECT_EQ(readFile(dir + "/victim"), "old");
}

TEST(ArCommand, ReachesEveryMemberOfAName) {
  const std::string dir = newFolder();
  const std::string path = dir + "/x.a";
  writeFile(path, arArchive(arMember("a", "1") + arMember("b", "2") + arMember("a", "3")));
  const std::string taken =
      "loom: warning: " + path +
      ": a is there more than once; the first one is taken (--number takes another)\n";
  EXPECT_EQ(runLoom({"ar", "ls", path}),
            (Ended{0, "         1  a\n         1  a\n         1  b\n", ""}));
  EXPECT_EQ(runLoom({"ar", "cat", path, "a"}), (Ended{0, "1", taken}));
  EXPECT_EQ(runLoom({"ar", "cat", "-N", "1", path, "a", "b"}), (Ended{0, "12", ""}));
  EXPECT_EQ(runLoom({"ar", "cat", "--number", "2", path, "a"}), (Ended{0, "3", ""}));
  EXPECT_EQ(runLoom({"ar", "cat", "-N2", path, "a", "b"}),
            (Ended{1, "3", "loom: " + path + ": there is no member b of number 2\n"}));
  EXPECT_EQ(runLoom({"ar", "x", "-N2", path, "a", "-d", dir + "/second"}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(dir + "/second/a"), "3");
  EXPECT_EQ(
      runLoom({"ar", "x", path, "-d", dir + "/all"}),
      (Ended{0, "", "loom: warning: " + path + ": a is there 2 times; the last one is taken\n"}));
  EXPECT_EQ(readFile(dir + "/all/a"), "3");
  EXPECT_EQ(runLoom({"ar", "x", "-N2", path}),
            (Ended{2, "", "loom: --number needs the name of a member\n"}));
  for (const char* number : {"0", "-1", "x", ""}) {
    EXPECT_EQ(runLoom({"ar", "cat", "-N", number, path, "a"}).code, 2) << number;
  }
}

TEST(ArCommand, ReadsNamesThatEndInANul) {
  const std::string dir = newFolder();
  const std::string names("first long name.obj\0second long name.obj\0", 41);
  writeFile(dir + "/x.lib",
            arArchive(arMember("/", "symbols") + arMember("/", "symbols") + arMember("//", names) +
                      arMember("/0", "1") + arMember("/20", "2") + arMember("short.obj/", "3")));
  EXPECT_EQ(runLoom({"ar", "ls", dir + "/x.lib"}),
            (Ended{0,
                   "         1  first long name.obj\n         1  second long name.obj\n"
                   "         1  short.obj\n",
                   ""}));
}

TEST(ArCommand, NamesThatDoNotFitAreDamage) {
  const std::string path = newFolder() + "/x.a";
  writeFile(path, arArchive(arMember("#1/10", "1234") + arMember("good", "1")));
  EXPECT_EQ(
      runLoom({"ar", "ls", path}),
      (Ended{4, "         1  good\n", "loom: " + path + ": the name at byte 8 is too long\n"}));
  writeFile(path, arArchive(arMember("//", "cut short") + arMember("/0", "1")));
  const std::string told = "loom: " + path + ": the table of names has no whole name for /0\n";
  EXPECT_EQ(runLoom({"ar", "ls", path}), (Ended{4, "         1  /0\n", told}));
  EXPECT_EQ(runLoom({"ar", "cat", path, "/0"}), (Ended{4, "1", told}));
  EXPECT_EQ(runLoom({"ar", "x", path, "-d", path + ".d"}).code, 4);
}

TEST(ArCommand, ShowsNoControlCharactersOfNames) {
  const std::string path = newFolder() + "/x.a";
  writeFile(path, arArchive(arLongMember("a\033[31m\nb", "1") + arLongMember("a\033/", "1")));
  EXPECT_EQ(runLoom({"ar", "ls", path}).out, "         1  a\\x1b/\n         1  a\\x1b[31m\\nb\n");
  EXPECT_EQ(runLoom({"ar", "cat", path, "a\033"}).err,
            "loom: " + path + ": there is no member a\\x1b\n");
  EXPECT_EQ(runLoom({"ar", "x", path, "a\033/", "-d", path + ".d"}).err,
            "loom: " + path + ": not a name for a file: a\\x1b/\n");
}

// Nothing here grows with the square of the number.
TEST(ArCommand, ManyMembersTakeLittleTime) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  ASSERT_EQ(
      shell(cd + "python3 -c '\n"
                 "def header(name, size):\n"
                 "  return f\"{name:16}{0:<12}{0:<6}{0:<6}{644:<8}{size:<10}`\\n\"\n"
                 "names = [f\"a_rather_long_name_{i:06}.o/\\n\" for i in range(200000)]\n"
                 "with open(\"x.a\", \"w\") as out:\n"
                 "  out.write(\"!<arch>\\n\" + header(\"//\", 200000 * 29) + \"\".join(names))\n"
                 "  for i in range(200000): out.write(header(f\"/{i * 29}\", 2) + \"ab\")\n'")
          .code,
      0);
  EXPECT_EQ(shell(cd + "loom ar ls x.a | wc -l"), (Ended{0, "200000\n", ""}));
  EXPECT_EQ(shell(cd + "loom ar cat x.a a_rather_long_name_199999.o"), (Ended{0, "ab", ""}));
}

}  // namespace
