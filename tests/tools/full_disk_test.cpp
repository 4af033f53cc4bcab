// SPDX-License-Identifier: MIT
// Commands that write files when there is no room for them: a reason, an exit code, and
// everything as it was. The limit on the size of a file stands in for a full disk, since
// it needs no privilege.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

// A folder with something to read for every command.
std::string prepared() {
  const std::string dir = newFolder();
  const Ended made = shell(
      "cd " + dir +
      " && head -c 30000 /dev/urandom | base64 > text && cp text a.o && cp text b.png &&"
      " loom zip new x.zip text && ar qc x.a a.o && loom gzip -k text &&"
      " loom material new x.matz --id x --texture b.png && awk '{print \"k\" NR \" = \" $0}' text >"
      " x.conf && awk '{print NR \";\" $0}' text > t.csv && mkdir o");
  EXPECT_EQ(made, (Ended{0, "", ""}));
  return dir;
}

struct Row {
  const char* command;
  const char* said;  // with the reason behind it
};

TEST(FullDisk, EveryWritingCommandSaysSoAndLeavesEverythingAsItWas) {
  const std::string dir = prepared();
  const std::string look = "find . -type f | sort | xargs sha256sum";
  const std::string cd = "cd " + dir + " && ";
  const Ended before = shell(cd + look);
  for (const Row& row :
       {Row{"zip new y.zip text",
            "loom: y.zip: input/output error writing to zip file\nloom: y.zip"},
        Row{"zip new -f x.zip text",
            "loom: x.zip: input/output error writing to zip file\nloom: x.zip"},
        Row{"zip new -0 y.zip text",
            "loom: y.zip: input/output error writing to zip file\nloom: y.zip"},
        Row{"zip x -f x.zip", "loom: x.zip: ./text can't be written"},
        Row{"zip x -d o x.zip", "loom: x.zip: o/text can't be written"},
        Row{"zip x --sync -d o x.zip", "loom: x.zip: o/text can't be written"},
        Row{"ar x -f x.a", "loom: x.a: ./a.o can't be written"},
        Row{"ar x -d o x.a", "loom: x.a: o/a.o can't be written"}, Row{"gzip a.o", "loom: a.o.gz"},
        Row{"gzip -kf text", "loom: text.gz"}, Row{"gunzip -f text.gz", "loom: text"},
        Row{"gzip -dkf text.gz", "loom: text"}, Row{"config set x.conf k1 v", "loom: x.conf"},
        Row{"config unset x.conf k1", "loom: x.conf"},
        Row{"db copy csv:. t tessel:u.tessel --columns id:int,v:string", "loom: u.tessel"}}) {
    const Ended run = shell(cd + "ulimit -f 8 && trap '' XFSZ && loom " + row.command);
    EXPECT_EQ(run.code, 6) << row.command;
    EXPECT_TRUE(run.err == row.said + std::string(": File too large\n") ||
                run.err == row.said + std::string(" (File too large)\n"))
        << row.command << "\n"
        << run.err;
    EXPECT_EQ(shell(cd + look).out, before.out) << row.command;
  }
}

// These say more on the way.
TEST(FullDisk, AMaterialArchiveIsTheOldOneOrTheNewOne) {
  const std::string dir = prepared();
  const std::string look = "find . -type f | sort | xargs sha256sum";
  const std::string cd = "cd " + dir + " && ";
  const Ended before = shell(cd + look);
  for (const char* command : {"material new y.matz --id y --texture b.png",
                              "material set x.matz --meta m", "material x x.matz -d o"}) {
    EXPECT_EQ(shell(cd + "ulimit -f 8 && trap '' XFSZ && loom " + command).code, 6) << command;
    EXPECT_EQ(shell(cd + look).out, before.out) << command;
  }
}

// The signal's own effect stays, as it does with gzip: whoever sets a limit may count on it.
TEST(FullDisk, TheSignalOfTheLimitLeavesNothingBehind) {
  const std::string dir = prepared();
  const std::string cd = "cd " + dir + " && ";
  const Ended before = shell(cd + "ls -A");
  for (const char* command : {"zip new y.zip text", "zip x -f x.zip", "gzip -kf text"}) {
    EXPECT_NE(shell(cd + "(ulimit -f 8; exec loom " + command + ")").code, 0) << command;
    EXPECT_EQ(shell(cd + "ls -A").out, before.out) << command;
  }
}

TEST(FullDisk, AResultThatCannotBePrintedIsAFailure) {
  const std::string dir = prepared();
  for (const char* command : {"zip ls x.zip", "zip cat x.zip text", "ar ls x.a", "ar cat x.a a.o",
                              "gzip -c text", "gunzip -c text.gz", "sum text", "zip test x.zip",
                              "config get x.conf k1", "material info x.matz", "run -- cat text"}) {
    const Ended run = shell("cd " + dir + " && loom " + command + " >/dev/full");
    EXPECT_NE(run.code, 0) << command;
    EXPECT_NE(run.err.find("No space left on device"), std::string::npos) << command << run;
  }
}

}  // namespace
