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
  EXPECT_EQ(runLoom({"zip", "ls", dir}),
            (Ended{3, "", "loom: cannot open " + dir + ": Is a directory\n"}));
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

TEST(ZipCommand, MuchOfTheSameNeedsAWordBeyond64MiB) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "head -c 20000000 /dev/zero > zeros && loom zip new x.zip zeros &&"
                       " loom zip test x.zip && loom zip x x.zip -d out && cmp zeros out/zeros"),
            (Ended{0, "1 good, 0 damaged\n", ""}));
  const std::string refused =
      "loom: y.zip: many is larger than is allowed\nloom: --no-limits reads it all the same\n";
  EXPECT_EQ(shell(cd + "head -c 70000000 /dev/zero > many && loom zip new y.zip many &&"
                       " loom zip x y.zip -d out"),
            (Ended{4, "", refused}));
  EXPECT_EQ(shell(cd + "loom zip test y.zip"), (Ended{4, "0 good, 1 damaged\n", refused}));
  EXPECT_EQ(shell(cd + "ls out").out, "zeros\n");
  EXPECT_EQ(shell(cd + "loom zip x --no-limits y.zip -d out && cmp many out/many"),
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

TEST(ZipCommand, KeepsTimesRightsAndEmptyDirectories) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && umask 022 && ";
  const std::string look = "(cd t && find . -printf '%p %m %Ts\\n' | sort)";
  ASSERT_EQ(shell(cd + "mkdir -p t/empty t/sub/deep && echo 1 > t/private && echo 2 > t/sub/run &&"
                       " chmod 600 t/private && chmod 755 t/sub/run && chmod 500 t/sub/deep &&"
                       " touch -d '2001-02-03 04:05:07' t/private t/empty t/sub/deep t/sub t &&"
                       " loom zip new x.zip t"),
            (Ended{0, "", ""}));
  const Ended before = shell(cd + look);
  EXPECT_EQ(shell(cd + "mv t old && loom zip x x.zip"), (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + look), Ended({0, before.out, ""})) << "with our extraction";
  EXPECT_EQ(shell(cd + "rm -rf t && unzip -qq x.zip && " + look), Ended({0, before.out, ""}))
      << "and with another";
}

TEST(ZipCommand, NeverOpensAFileWiderThanItWas) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "echo 1 > a && chmod 6755 a && loom zip new x.zip a && loom zip x x.zip -d "
                       "plain && loom zip x -K x.zip -d kept && (umask 077; loom zip x x.zip -d "
                       "narrow) && stat -c %a plain/a kept/a narrow/a"),
            (Ended{0, "755\n6755\n700\n", ""}));
  writeFile(dir + "/y.zip", zipOf({{"a", "new"}}));
  EXPECT_EQ(shell(cd + "mkdir o && echo old > o/a && chmod 600 o/a && loom zip x -f y.zip -d o &&"
                       " stat -c %a o/a && cat o/a"),
            (Ended{0, "600\nnew", ""}))
      << "an archive without rights leaves those of the file that it replaces";
}

TEST(ZipCommand, SaysWhatItLeavesOut) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  const std::string said =
      "loom: left out: t/fifo: it is a FIFO\n"
      "loom: left out: t/link: it is a link (--links stores links)\n";
  EXPECT_EQ(shell(cd + "mkdir t && echo 1 > t/a && mkfifo t/fifo && ln -s a t/link &&"
                       " loom zip new x.zip t 2>&1 | sort"),
            (Ended{0, said, ""}));
  EXPECT_EQ(shell(cd + "loom zip new --strict -f x.zip t").code, 1);
  EXPECT_EQ(shell(cd + "loom zip cat x.zip t/a"), (Ended{0, "1\n", ""})) << "the rest is there";
  EXPECT_EQ(shell(cd + "loom zip new --strict --links -f x.zip t"),
            (Ended{1, "", "loom: left out: t/fifo: it is a FIFO\n"}));
  EXPECT_EQ(shell(cd + "loom zip new -f t/a.zip t/a t && cd t && loom zip new -f a.zip a.zip a"),
            (Ended{0, "",
                   "loom: left out: t/fifo: it is a FIFO\n"
                   "loom: left out: t/link: it is a link (--links stores links)\n"
                   "loom: left out: a.zip: it is the archive itself\n"}));
}

TEST(ZipCommand, MakesLinksOnlyWhenToldAndNeverOutOfTheDirectory) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  ASSERT_EQ(shell(cd + "mkdir -p t/d && echo 1 > t/a && ln -s ../a t/d/good &&"
                       " loom zip new --links x.zip t"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "loom zip x x.zip -d text && cat text/t/d/good"),
            (Ended{0, "../a",
                   "loom: warning: x.zip: t/d/good is a link; its target is written as text\n"}));
  EXPECT_EQ(shell(cd + "loom zip x --links x.zip -d links && readlink links/t/d/good"),
            (Ended{0, "../a\n", ""}));
  EXPECT_EQ(shell(cd + "unzip -qq x.zip -d other && readlink other/t/d/good").out, "../a\n");
  for (const std::string target : {"/etc", "../../..", "d/../../..", "../.."}) {
    EXPECT_EQ(
        shell(cd + "rm -rf t links && mkdir t && ln -s " + target +
              " t/bad && loom zip new -f --links x.zip t && loom zip x --links x.zip -d links"),
        (Ended{4, "",
               "loom: x.zip: t/bad is a link that leads out of the directory: " + target + "\n"}));
  }
}

TEST(ZipCommand, MarksNamesInUtf8) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "touch a \u00e9 \"$(printf 'x\\377')\" && loom zip new x.zip ? ?? &&"
                       " python3 -c \"import zipfile\n"
                       "print([i.flag_bits for i in zipfile.ZipFile('x.zip').infolist()])\""),
            (Ended{0, "[0, 0, 2048]\n", ""}));
}

TEST(ZipCommand, RefusesAnEmptyPassword) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "echo 1 > a && echo > empty && loom zip new --password-file empty x.zip a"),
            (Ended{2, "", "loom: the password is empty, which would mean no encryption\n"}));
  EXPECT_EQ(shell(cd + "ls").out, "a\nempty\n");
  const Ended wrong =
      shell(cd +
            "echo pw > pw && echo no > no && loom zip new --password-file pw x.zip a &&"
            " loom zip cat --password-file no x.zip a");
  EXPECT_EQ(wrong.code, 4);
  // Which check finds it stands in brackets and is chance.
  EXPECT_EQ(wrong.err.rfind("loom: x.zip: a is damaged, or the password is wrong (", 0), 0U)
      << wrong;
}

TEST(ZipCommand, BringsAllToTheDiskWhenTold) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "mkdir t && echo 1 > t/a && loom zip new x.zip t &&"
                       " loom zip x --sync x.zip -d out && diff -r t out/t"),
            (Ended{0, "", ""}));
}

TEST(ZipCommand, TakesDirectoriesAndPatterns) {
  const std::string dir = newFolder();
  writeFile(dir + "/x.zip", zipOf({{"a/b/1", "1"}, {"a/2", "2"}, {"ab/3", "3"}, {"x[1]", "4"}}));
  const auto cat = [&](const std::string& member) {
    return runLoom({"zip", "cat", dir + "/x.zip", member}).out;
  };
  EXPECT_EQ(cat("a"), "12");
  EXPECT_EQ(cat("a/b/"), "1");
  EXPECT_EQ(cat("a*"), "123");
  EXPECT_EQ(cat("*[23]"), "23");
  EXPECT_EQ(cat("x[1]"), "4") << "a name is a name before it is a pattern";
  EXPECT_EQ(runLoom({"zip", "cat", dir + "/x.zip", "b*", "a", "a/2"}),
            (Ended{1, "12", "loom: there is no member b*\n"}));
}

// Two archives one behind the other, with one directory over both.
std::string twoOfOneName() {
  const std::string dir = newFolder();
  const Ended made = shell("cd " + dir +
                           " && python3 -W ignore -c \"import zipfile\n"
                           "z = zipfile.ZipFile('x.zip', 'w')\n"
                           "z.writestr('a', 'first')\nz.writestr('a', 'last')\nz.close()\"");
  EXPECT_EQ(made.code, 0) << made;
  return dir;
}

TEST(ZipCommand, SaysWhichOfTwoMembersOfOneNameItTook) {
  const std::string dir = twoOfOneName();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "loom zip ls x.zip | wc -l").out, "2\n");
  EXPECT_EQ(shell(cd + "loom zip test x.zip"), (Ended{0, "2 good, 0 damaged\n", ""}));
  EXPECT_EQ(shell(cd + "loom zip x x.zip -d out; cat out/a"),
            (Ended{0, "last",
                   "loom: warning: x.zip: a is there more than once; the last one is taken\n"}));
  EXPECT_EQ(shell(cd + "unzip -oqq x.zip -d other; cat other/a").out, "last") << "as others do";
}

}  // namespace
