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
  EXPECT_EQ(ended.err, "loom: cannot read " + dir + "/none\nloom: cannot read " + dir + "\n");
}

TEST(SumCommand, AChangedFileIsNoAndAMissingOneCannotBeOpened) {
  const std::string dir = newFolder();
  writeFile(dir + "/a", "abc");
  const std::string sums = std::string(abcMd5) + "  " + dir;
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, sums + "/none\n").code, 3);
  writeFile(dir + "/b", "abd");
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, sums + "/a\n" + sums + "/b\n"),
            (Ended{1, dir + "/a: OK\n" + dir + "/b: FAILED\n", ""}));
  // Capital digits and md5sum's star are read as well.
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, "352441C2 *" + dir + "/a\n").code, 0);
}

TEST(SumCommand, ALineThatIsNoSumIsDamage) {
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, "hello\n"),
            (Ended{4, "", "loom: -:1: not a checksum and a file name\n"}));
  EXPECT_EQ(runLoom({"sum", "--check", "-"}, "").code, 4);
  EXPECT_EQ(runLoom({"sum", "--check", "/nowhere/list"}).code, 3);
  EXPECT_EQ(runLoom({"sum", "--check", "-", "--md5"}, "").code, 2);
  EXPECT_EQ(runLoom({"sum", "--crc32", "--md5"}, "").code, 2);
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
