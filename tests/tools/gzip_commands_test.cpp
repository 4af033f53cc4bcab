// SPDX-License-Identifier: MIT
// loom gzip and gunzip: the plain cases are the examples of the commands, and
// side_by_side.sh compares them with gzip itself.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

TEST(GzipCommand, AgreesWithGzip) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "seq 200000 > a && : > b && loom gzip -k a b && gzip -t a.gz b.gz && "
                       "gzip -dc a.gz | cmp - a && gzip -dc b.gz | cmp - b"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "gzip -9kf a && mv a a0 && loom gunzip -k a.gz && cmp a a0 && ls"),
            (Ended{0, "a\na.gz\na0\nb\nb.gz\n", ""}));
  EXPECT_EQ(shell(cd + "cat a.gz b.gz a.gz > c.gz && loom gunzip -c c.gz > c && "
                       "cat a0 a0 | cmp - c"),
            (Ended{0, "", ""}))
      << "several members are one file";
  EXPECT_EQ(
      shell(cd + "head -c 1000 /dev/zero | cat a.gz - > z.gz && loom gunzip -c z.gz | cmp - a0"),
      (Ended{0, "", ""}))
      << "zeros may fill up the end";
}

TEST(GzipCommand, ADamagedFileLeavesNothingAndStays) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  ASSERT_EQ(shell(cd + "seq 1000 | gzip > good.gz && head -c 500 good.gz > cut.gz && "
                       "head -c -8 good.gz > tail.gz && printf 12345678 >> tail.gz && "
                       "echo text > text.gz && : > empty.gz")
                .code,
            0);
  struct Case {
    const char* name;
    const char* text;
  };
  for (const Case& c : {Case{"cut", "unexpected end of file"}, Case{"tail", "the data are damaged"},
                        Case{"text", "not a gzip file"}, Case{"empty", "not a gzip file"}}) {
    const std::string name = c.name;
    const Ended expected{4, "", "loom: " + name + ".gz: " + c.text + "\n"};
    EXPECT_EQ(shell(cd + "loom gunzip " + name + ".gz"), expected);
    EXPECT_EQ(shell(cd + "loom gzip -t " + name + ".gz"), expected);
    EXPECT_EQ(shell(cd + "loom gzip -l " + name + ".gz"), expected);
    EXPECT_EQ(shell(cd + "test -e " + name + " || test ! -e " + name + ".gz").code, 1);
  }
  EXPECT_EQ(shell(cd + "ls -A").out, "cut.gz\nempty.gz\ngood.gz\ntail.gz\ntext.gz\n");
}

TEST(GzipCommand, DataBehindTheCompressedDataAreAWarning) {
  const std::string cd = "cd " + newFolder() + " && ";
  const std::string text = "behind.gz: other data follow the compressed data\n";
  ASSERT_EQ(shell(cd + "{ echo abc | gzip; echo rubbish; } > behind.gz").code, 0);
  EXPECT_EQ(shell(cd + "loom gunzip behind.gz && cat behind && ls"),
            (Ended{0, "abc\nbehind\nbehind.gz\n", "loom: warning: " + text}))
      << "the rubbish may be of use: its file stays";
  EXPECT_EQ(shell(cd + "loom gunzip -c --strict behind.gz"), (Ended{4, "abc\n", "loom: " + text}));
  EXPECT_EQ(shell(cd + "loom gunzip -cq behind.gz"), (Ended{0, "abc\n", ""}));
  EXPECT_EQ(shell(cd + "loom gzip -t behind.gz").code, 0);
  EXPECT_EQ(shell(cd + "loom gzip -t --strict behind.gz").code, 4);
}

TEST(GzipCommand, AFileIsNeverMoreOpenThanTheOneItIsMadeFrom) {
  const std::string cd = "cd " + newFolder() + " && umask 022 && ";
  const std::string show = "stat -c '%a %Y %n' *";
  EXPECT_EQ(
      shell(cd + "echo secret > a && chmod 600 a && touch -d @1000000000 a && loom gzip a && " +
            show),
      (Ended{0, "600 1000000000 a.gz\n", ""}));
  EXPECT_EQ(shell(cd + "chmod 640 a.gz && loom gunzip a.gz && " + show),
            (Ended{0, "640 1000000000 a\n", ""}));
  EXPECT_EQ(
      shell(cd + "echo open > a.gz && chmod 666 a.gz && chmod 600 a && loom gzip -f a && " + show),
      (Ended{0, "600 1000000000 a.gz\n", ""}))
      << "what was there before has no say";
}

TEST(GzipCommand, NameAndTimeAreStoredAndRestored) {
  const std::string cd = "cd " + newFolder() + " && ";
  ASSERT_EQ(shell(cd + "echo abc > name && touch -d @1000000000 name && loom gzip -k name && "
                       "mv name.gz other.gz && rm name && touch -d @1200000000 other.gz")
                .code,
            0);
  EXPECT_EQ(shell(cd + "TZ=UTC gzip -lvN other.gz | tail -1 | cut -d' ' -f 3-6,52-"),
            shell(cd + "TZ=UTC loom gzip -lvN other.gz | tail -1 | cut -d' ' -f 3-6,52-"));
  EXPECT_EQ(shell(cd + "loom gunzip -k other.gz && loom gunzip -kN other.gz && stat -c '%Y %n' *"),
            (Ended{0, "1000000000 name\n1200000000 other\n1200000000 other.gz\n", ""}));
  EXPECT_EQ(shell(cd + "loom gzip -nc name | head -c 10 | od -An -tx1"),
            (Ended{0, " 1f 8b 08 00 00 00 00 00 00 03\n", ""}));
}

TEST(GzipCommand, AStoredNameNeverLeavesTheDirectory) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && mkdir -p d && ";
  const std::string head = "printf '\\037\\213\\010\\010\\0\\0\\0\\0\\0\\003";
  for (const char* const name : {"../one", "/tmp/x/two", ".."}) {
    EXPECT_EQ(shell(cd + head + name +
                    "\\0' > d/a.gz && printf abc | gzip -n | tail -c +11 >> d/a.gz && "
                    "loom gunzip -N d/a.gz")
                  .code,
              0);
  }
  EXPECT_EQ(shell("cd " + dir + " && find . -type f | sort").out, "./d/a\n./d/one\n./d/two\n")
      << "the last part is the name; '..' is none";
}

TEST(GzipCommand, KnowsTheSuffixes) {
  const std::string cd = "cd " + newFolder() + " && ";
  EXPECT_EQ(
      shell(cd + "echo 1 > a && loom gzip -k a && cp a.gz b.tgz && cp a.gz c.Z && cp a.gz d-gz "
                 "&& cp a.gz e.own && loom gunzip b.tgz c.Z d-gz && loom gunzip -S .own e.own "
                 "&& loom gzip -S .my a && ls"),
      (Ended{0, "a.gz\na.my\nb.tar\nc\nd\ne\n", ""}));
  EXPECT_EQ(shell(cd + "loom gunzip a && cat a"), (Ended{0, "1\n", ""})) << "a stands for a.gz";
  EXPECT_EQ(shell(cd + "loom gunzip c"),
            (Ended{2, "", "loom: passed over: c has no suffix of a compressed file\n"}));
  EXPECT_EQ(
      shell(cd + "cp a x.gz && loom gzip x.gz"),
      (Ended{2, "", "loom: passed over: x.gz has the suffix of a compressed file (--force)\n"}));
  EXPECT_EQ(shell(cd + "loom gzip -f x.gz && ls x*").out, "x.gz.gz\n");
  EXPECT_EQ(shell(cd + "loom gzip -S '' a").code, 2);
  EXPECT_EQ(shell(cd + "loom gzip -S /x a").code, 2);
}

TEST(GzipCommand, IsAFilter) {
  const std::string cd = "cd " + newFolder() + " && ";
  EXPECT_EQ(shell(cd + "seq 100 > a && loom gzip < a | loom gunzip | cmp - a && "
                       "loom gzip -9 - < a | loom gzip -dc - | cmp - a && ls"),
            (Ended{0, "a\n", ""}));
  EXPECT_EQ(shell(cd + "for n in 1 2 3 4 5 6 7 8 9; do loom gzip -c$n a | gzip -d | cmp - a; done"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "mkfifo p && (loom gzip -c a > p & loom gunzip -c p | cmp - a); rm p"),
            (Ended{0, "", ""}));
}

TEST(GzipCommand, ReplacesOnlyWhenTold) {
  const std::string cd = "cd " + newFolder() + " && ";
  EXPECT_EQ(shell(cd + "echo 1 > a && loom gzip -k a && loom gzip a"),
            (Ended{6, "", "loom: a.gz is there already (--force replaces it)\n"}));
  EXPECT_EQ(shell(cd + "loom gzip -f a && ls"), (Ended{0, "a.gz\n", ""}));
  EXPECT_EQ(shell(cd + "loom gunzip a.gz && ls && cat a"), (Ended{0, "a\n1\n", ""}));
  EXPECT_EQ(shell(cd + "loom gzip none a"),
            (Ended{3, "", "loom: cannot open none: No such file or directory\n"}))
      << "the others are compressed all the same";
  EXPECT_EQ(shell(cd + "ls"), (Ended{0, "a.gz\n", ""}));
  EXPECT_EQ(
      shell(cd + "echo old > victim && ln -s victim a && loom gunzip -f a.gz && cat a victim"),
      (Ended{0, "1\nold\n", ""}))
      << "a link is replaced, and never written through";
}

TEST(GzipCommand, PassesOverWhatIsNoPlainFile) {
  const std::string cd = "cd " + newFolder() + " && ";
  ASSERT_EQ(shell(cd + "mkdir dir && mkfifo fifo && echo 1 > a && ln -s a link && ln a hard").code,
            0);
  const auto passed = [](const std::string& why) {
    return Ended{2, "", "loom: passed over: " + why + "\n"};
  };
  EXPECT_EQ(shell(cd + "loom gzip dir"), passed("dir is a directory"));
  EXPECT_EQ(shell(cd + "loom gzip fifo"), passed("fifo is no regular file"));
  EXPECT_EQ(shell(cd + "loom gzip link"), passed("link is a symbolic link (--force follows it)"));
  EXPECT_EQ(shell(cd + "loom gzip hard"), passed("hard has other links (--force or --keep)"));
  EXPECT_EQ(shell(cd + "loom gzip -q dir"), (Ended{2, "", ""}));
  EXPECT_EQ(shell(cd + "chmod u+s a && rm hard && loom gzip a").code, 2);
  EXPECT_EQ(shell(cd + "ls"), (Ended{0, "a\ndir\nfifo\nlink\n", ""}));
}

TEST(GzipCommand, AFullDiskIsTold) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "head -c 300000 /dev/urandom > a; ulimit -f 8; trap '' XFSZ; loom gzip a"),
            (Ended{6, "", "loom: a.gz: File too large\n"}));
  EXPECT_EQ(shell(cd + "loom gzip -c a > /dev/full").code, 6);
  EXPECT_EQ(shell(cd + "ls -A"), (Ended{0, "a\n", ""}));
}

TEST(Interruption, ASignalLeavesNoHiddenFileAndEndsTheProcess) {
  struct Case {
    const char* signal;
    int code;
  };
  for (const Case& c : {Case{"HUP", 129}, Case{"INT", 130}, Case{"TERM", 143}}) {
    const std::string cd = "cd " + newFolder() + " && ";
    const Ended ended = shell(cd +
                              "truncate -s 20G big; env --default-signal loom gzip big & "
                              "while ! ls .loomkit* >ignored 2>&1; do sleep 0.01; done; kill -" +
                              c.signal + " $!; wait $!; code=$?; ls -A; exit $code");
    EXPECT_EQ(ended.code, c.code) << ended;
    EXPECT_EQ(ended.out, "big\nignored\n");
  }
}

TEST(Interruption, AnIgnoredSignalStaysIgnored) {
  EXPECT_EQ(shell("cd " + newFolder() +
                  " && trap '' HUP && mkfifo p && { loom gzip -c < p > a.gz & } && exec 3>p && "
                  "kill -HUP $! && echo 1 >&3 && exec 3>&- && wait $! && gzip -dc a.gz"),
            (Ended{0, "1\n", ""}));
}

}  // namespace
