// SPDX-License-Identifier: MIT
// loom zip: exit codes, passwords, damage; the plain cases are the examples of
// the commands.
#include <gtest/gtest.h>

#include "run_program.h"
#include "tests/archive/zip/zip_builder.h"

namespace {

using namespace loomkit::testing;

TEST(ZipCommand, ListsForPeopleAndPrograms) {
  const std::string dir = newFolder();
  const Ended made = shell("cd " + dir +
                           " && mkdir d && printf abc > d/a && touch -d '2026-01-02 03:04:06' d/a"
                           " && TZ=UTC0 loom zip new --reproducible --store x.zip d");
  ASSERT_EQ(made, (Ended{0, "", ""}));
  EXPECT_EQ(shell("TZ=UTC0 loom zip ls " + dir + "/x.zip"),
            (Ended{0,
                   "         0          0 1980-01-01 00:00   d/\n"
                   "         3          3 1980-01-01 00:00   d/a\n",
                   ""}));
  const Ended json = shell("TZ=UTC0 loom zip ls --json " + dir + "/x.zip");
  EXPECT_EQ(json.out,
            "[\n{\"name\":\"d/\",\"size\":0,\"packed\":0,\"modified\":\"1980-01-01 00:00\","
            "\"directory\":true,\"deflated\":false,\"encrypted\":false},\n"
            "{\"name\":\"d/a\",\"size\":3,\"packed\":3,\"modified\":\"1980-01-01 00:00\","
            "\"directory\":false,\"deflated\":false,\"encrypted\":false}\n]\n");
}

TEST(ZipCommand, TakesAFileOnceHoweverOftenItIsNamed) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "mkdir d && printf abc > d/a && loom zip new x.zip d d/a d/a"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "unzip -l x.zip | tail -1 | tr -s ' '").out, " 3 2 files\n") << "and d/";
}

TEST(ZipCommand, SaysWhatIsMissing) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.zip", zipOf({{"a", "text"}}));
  EXPECT_EQ(runLoom({"zip", "ls", dir + "/none"}),
            (Ended{3, "", "loom: cannot open " + dir + "/none: No such file or directory\n"}));
  EXPECT_EQ(runLoom({"zip", "cat", dir + "/x.zip", "b", "a"}),
            (Ended{1, "text", "loom: there is no member b\n"}));
  EXPECT_EQ(runLoom({"zip", "x", dir + "/x.zip", "b", "-d", dir}).code, 1);
  EXPECT_EQ(runLoom({"zip", "new", dir + "/y.zip", dir + "/none"}),
            (Ended{3, "", "loom: cannot open " + dir + "/none: No such file or directory\n"}));
  EXPECT_EQ(shell("ls " + dir).out, "x.zip\n");
}

TEST(ZipCommand, ADamagedMemberLeavesNoFile) {
  const std::string dir = newFolder();
  std::string bytes = zipOf({{"bad", "data"}, {"good", "data"}});
  bytes[loomkit::zip::local::size + 3] = 'D';
  writeFile(dir + "/x.zip", bytes);
  writeFile(dir + "/text", "no archive");
  EXPECT_EQ(runLoom({"zip", "ls", dir + "/text"}).code, 4);
  EXPECT_EQ(runLoom({"zip", "cat", dir + "/x.zip", "bad"}).code, 4);
  const Ended tested = runLoom({"zip", "test", dir + "/x.zip"});
  EXPECT_EQ(tested.code, 4);
  EXPECT_EQ(tested.out, "1 good, 1 damaged\n");
  EXPECT_EQ(runLoom({"zip", "test", "--json", dir + "/x.zip"}).out, "{\"good\":1,\"damaged\":1}\n");
  EXPECT_EQ(runLoom({"zip", "x", dir + "/x.zip", "-d", dir + "/out"}).code, 4);
  EXPECT_EQ(shell("cd " + dir + " && find out | sort").out, "out\nout/good\n");
}

TEST(ZipCommand, AnArchiveWithoutTheMembersThatItStatesIsDamaged) {
  namespace end = loomkit::zip::end;
  const std::string path = newFolder() + "/x.zip";
  const std::string one = zipOf({{"a", "text"}});
  const std::size_t record = endRecordOf(one);
  const auto test = [&](const std::string& bytes) {
    writeFile(path, bytes);
    return runLoom({"zip", "test", path});
  };
  EXPECT_EQ(test(one), (Ended{0, "1 good, 0 damaged\n", ""}));
  const std::string two =
      with(with(one, end::entries.behind(record), 2), end::entriesHere.behind(record), 2);
  const std::string warning =
      "loom: warning: " + path + ": central directory entry count mismatch\n";
  EXPECT_EQ(test(two), (Ended{4, "1 good, 0 damaged\n", warning}));
  EXPECT_EQ(test(with(one, end::directorySize.behind(record), 0)),
            (Ended{4, "0 good, 0 damaged\n", warning}));
  const std::string none = zipOf({});
  EXPECT_EQ(test(none), (Ended{0, "0 good, 0 damaged\n", ""}));
  EXPECT_EQ(test(with(with(none, end::entries, 3), end::entriesHere, 3)),
            (Ended{4, "0 good, 0 damaged\n", warning}));
}

TEST(ZipCommand, TakesPasswordsFromFilesAndTerminals) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "secret text");
  writeFile(dir + "/password", "pass word\n");
  writeFile(dir + "/wrong", "wrong\n");
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "loom zip new --password-file password x.zip a"), (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "unzip -P 'pass word' -p x.zip a").out, "secret text");
  EXPECT_EQ(shell(cd + "loom zip cat --password-file password x.zip a").out, "secret text");
  EXPECT_EQ(shell(cd + "loom zip test --password-file wrong x.zip").code, 4);
  EXPECT_EQ(shell(cd + "setsid loom zip cat x.zip a </dev/null"),
            (Ended{2, "", "loom: there is no terminal to ask for the password at\n"}));
  // A person types it, and it is not shown.
  const Ended typed =
      shell(cd +
            "python3 -c 'import os, pty, time\n"
            "pid, fd = pty.fork()\n"
            "if pid == 0: os.execvp(\"loom\", [\"loom\", \"zip\", \"cat\", \"x.zip\", \"a\"])\n"
            "seen = b\"\"\n"
            "while b\"Password: \" not in seen: seen += os.read(fd, 100)\n"
            "os.write(fd, b\"pass word\\n\")\n"
            "try:\n"
            "  while True: seen += os.read(fd, 100)\n"
            "except OSError: pass\n"
            "print(seen.decode())'");
  EXPECT_NE(typed.out.find("secret text"), std::string::npos) << typed;
  EXPECT_EQ(typed.out.find("pass word"), std::string::npos) << typed;
}

TEST(ZipCommand, ReplacesOnlyWhenToldAndOnlyWhenComplete) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  writeFile(dir + "/x.zip", "old");
  writeFile(dir + "/a", "text");
  EXPECT_EQ(shell(cd + "loom zip new x.zip a"),
            (Ended{6, "", "loom: x.zip is there already (--force replaces it)\n"}));
  EXPECT_EQ(shell(cd + "loom zip new --force x.zip a none").code, 3);
  EXPECT_EQ(readFile(dir + "/x.zip"), "old");
  EXPECT_EQ(shell(cd + "ulimit -f 1; trap '' XFSZ; head -c 100000 /dev/urandom > big;"
                       " loom zip new --force x.zip big")
                .code,
            6);
  EXPECT_EQ(readFile(dir + "/x.zip"), "old");
  EXPECT_EQ(shell(cd + "loom zip new --force x.zip a && loom zip cat x.zip a").out, "text");
  EXPECT_EQ(shell(cd + "loom zip x x.zip").code, 6) << "a is there";
  EXPECT_EQ(shell(cd + "loom zip x --force x.zip"), (Ended{0, "", ""}));
}

TEST(ZipCommand, MuchOfTheSameIsNoDamageButNeedsAWord) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "head -c 20000000 /dev/zero > zeros && loom zip new x.zip zeros &&"
                       " loom zip test x.zip"),
            (Ended{0, "1 good, 0 damaged\n", ""}));
  EXPECT_EQ(shell(cd + "loom zip x x.zip -d out").code, 4);
  EXPECT_EQ(shell(cd + "loom zip x --no-limits x.zip -d out && cmp zeros out/zeros"),
            (Ended{0, "", ""}));
}

TEST(ZipCommand, ShowsNoControlCharactersOfNames) {
  const std::string path = newFolder() + "/x.zip";
  writeFile(path, zipOf({{"a\033[31m\nb", ""}}));
  EXPECT_TRUE(runLoom({"zip", "ls", path}).out.ends_with(" a\\x1b[31m\\nb\n"));
}

TEST(ZipCommand, IsReproducibleWhenAskedFor) {
  const std::string dir = newFolder();
  EXPECT_EQ(shell("cd " + dir +
                  " && mkdir d && echo 1 > d/1 && echo 2 > d/2"
                  " && TZ=UTC0 loom zip new --reproducible a.zip d && touch d/1"
                  " && TZ=XXX-9 loom zip new --reproducible b.zip d/2 d/1 && cmp a.zip b.zip"),
            (Ended{0, "", ""}));
}

}  // namespace
