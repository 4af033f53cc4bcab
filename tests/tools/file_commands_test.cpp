// SPDX-License-Identifier: MIT
// loom sum and loom file: exit codes and damaged input; the plain cases are the
// examples of the commands.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

constexpr const char* abcMd5 = "900150983cd24fb0d6963f7d28e17f72";

TEST(SumCommand, AgreesWithMd5sumInBothDirections) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", std::string(300000, 'x'));
  writeFile(dir + "/b", "");
  const Ended both = shell("cd " + dir +
                           " && loom sum a b >list && md5sum -c list && md5sum a b "
                           ">theirs && loom sum --check theirs && cmp list theirs");
  EXPECT_EQ(both, (Ended{0, "a: OK\nb: OK\na: OK\nb: OK\n", ""}));
}

TEST(SumCommand, ReadsStandardInput) {
  EXPECT_EQ(runLoom({"sum"}, "abc"), (Ended{0, std::string(abcMd5) + "  -\n", ""}));
  EXPECT_EQ(runLoom({"sum", "--crc32", "-"}, "123456789"), (Ended{0, "cbf43926  -\n", ""}));
  EXPECT_EQ(runLoom({"sum", "--crc32", "--json"}, ""),
            (Ended{0, "[\n{\"file\":\"-\",\"crc32\":\"00000000\"}\n]\n", ""}));
}

TEST(SumCommand, AFileThatCannotBeReadIsNamedAndTheOthersArePrinted) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "abc");
  const Ended ended = runLoom({"sum", dir + "/none", dir, dir + "/a"});
  EXPECT_EQ(ended.code, 3);
  EXPECT_EQ(ended.out, abcMd5 + ("  " + dir) + "/a\n");
  EXPECT_EQ(ended.err, "loom: cannot open " + dir + "/none: No such file or directory\n" +
                           "loom: cannot read " + dir + ": Is a directory\n");
}

TEST(SumCommand, KnowsTheShaFamily) {
  // The examples of FIPS 180-2.
  EXPECT_EQ(runLoom({"sum", "--sha256"}, "abc").out,
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  -\n");
  EXPECT_EQ(runLoom({"sum", "--sha512"}, "abc").out,
            "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c"
            "23a3feebbd454d4423643ce80e2a9ac94fa54ca49f  -\n");
  EXPECT_EQ(runLoom({"sum", "--md5", "--sha256"}),
            (Ended{2, "", "loom: sum: --md5 and --sha256 exclude each other\n"}));
}

TEST(SumCommand, NamesWithLineEndsAndBackslashesComeBack) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  for (const char* const name : {"a\\b", "line\nend", "return\r", " blank", "*star", "\\"})
    writeFile(dir + "/" + name, name);
  for (const char* const tag : {"", " --tag"}) {
    EXPECT_EQ(shell(cd + "loom sum" + tag + " * > ../list && md5sum" + tag + " * | cmp - ../list"),
              (Ended{0, "", ""}));
    EXPECT_EQ(shell(cd + "loom sum -c ../list"), shell(cd + "md5sum -c ../list"));
    EXPECT_EQ(shell(cd + "rm ../list; sha512sum" + tag + " * | loom sum -c --quiet -"),
              (Ended{0, "", ""}));
  }
}

TEST(SumCommand, AChangedFileIsNoAndAMissingOneCannotBeOpened) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "abc");
  const std::string sums = std::string(abcMd5) + "  " + dir;
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, sums + "/none\n"),
            (Ended{3, dir + "/none: FAILED open or read\n",
                   "loom: cannot open " + dir +
                       "/none: No such file or directory\n"
                       "loom: warning: 1 listed file cannot be read\n"}));
  writeFile(dir + "/b", "abd");
  EXPECT_EQ(runLoom({"sum", "--check"}, sums + "/a\n" + sums + "/b\n"),
            (Ended{1, dir + "/a: OK\n" + dir + "/b: FAILED\n",
                   "loom: warning: 1 computed checksum does not match\n"}));
  // Capital digits and md5sum's star are read as well.
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, "352441C2 *" + dir + "/a\n").code, 0);
}

TEST(SumCommand, SaysAsMuchAsItIsTold) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "abc");
  writeFile(dir + "/b", "abd");
  const std::string sums = std::string(abcMd5) + "  " + dir;
  const std::string good = sums + "/a\n";
  const std::string list = good + sums + "/b\n" + sums + "/none\n";
  EXPECT_EQ(
      runLoom({"sum", "-c", "--quiet", "--ignore-missing"}, list),
      (Ended{1, dir + "/b: FAILED\n", "loom: warning: 1 computed checksum does not match\n"}));
  EXPECT_EQ(runLoom({"sum", "-c", "--status"}, good), (Ended{0, "", ""}));
  EXPECT_EQ(runLoom({"sum", "-c", "--status", "--ignore-missing"}, list), (Ended{1, "", ""}));
  EXPECT_EQ(runLoom({"sum", "-c", "--ignore-missing"}, sums + "/none\n"),
            (Ended{1, "", "loom: -: no file was checked\n"}));
  EXPECT_EQ(runLoom({"sum", "-c", "--sha256"}, good),
            (Ended{4, "", "loom: -: no checksum in it\n"}))
      << "only the kind that was asked for counts";
}

TEST(SumCommand, ALineThatIsNoSumIsAWarning) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "abc");
  const std::string good = std::string(abcMd5) + "  " + dir + "/a\n";
  const std::string warning = "loom: warning: 1 line is not a checksum and a file name\n";
  EXPECT_EQ(runLoom({"sum", "-c"}, "hello\n" + good), (Ended{0, dir + "/a: OK\n", warning}));
  EXPECT_EQ(runLoom({"sum", "-c", "--strict"}, "hello\n" + good).code, 4);
  EXPECT_EQ(runLoom({"sum", "-c", "--warn"}, "hello\n" + good).err,
            "loom: -:1: not a checksum and a file name\n" + warning);
  for (const char* const line :
       {"hello", "", "900150983cd24fb0d6963f7d28e17f7  a", "900150983cd24fb0d6963f7d28e17f72 a",
        "900150983cd24fb0d6963f7d28e17f72  ", "MD5 (a) = 90", "MD4 (a) = 352441c2",
        "\\352441c2  bad\\escape", "MD5 () = 900150983cd24fb0d6963f7d28e17f72"})
    EXPECT_EQ(runLoom({"sum", "-c"}, std::string(line) + "\n"),
              (Ended{4, "", "loom: -: no checksum in it\n"}))
        << line;
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, "").code, 4);
  EXPECT_EQ(runLoom({"sum", "--check", "/nowhere/list"}).code, 3);
}

TEST(FileCommand, SaysWhatIsNotThere) {
  EXPECT_EQ(runLoom({"file", "real", "/nowhere/at/all"}),
            (Ended{3, "", "loom: there is no /nowhere/at/all\n"}));
  EXPECT_EQ(runLoom({"file", "time", "/nowhere/at/all"}).code, 3);
  EXPECT_EQ(runLoom({"file", "path", "http://host/x"}),
            (Ended{1, "", "loom: not the URL of a file: http://host/x\n"}));
}

TEST(FileCommand, UrlsLeadBackToTheirPaths) {
  const std::string path = "/tmp/a b%#?\xc3\xa4";
  const Ended url = runLoom({"file", "url", path});
  EXPECT_EQ(url.code, 0);
  EXPECT_EQ(runLoom({"file", "path", url.out.substr(0, url.out.size() - 1)}),
            (Ended{0, path + "\n", ""}));
}

}  // namespace
