// SPDX-License-Identifier: MIT
#include "tools/loom/visible_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/archive/ar_builder.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/tools/run_program.h"

namespace loomkit::testing {
namespace {

struct Row {
  std::string text;
  std::string visible;
};

TEST(VisibleText, EscapesWhatATerminalObeysAndNothingElse) {
  const Row rows[] = {
      {"", ""},
      {"plain \\ text ~", "plain \\ text ~"},
      {std::string("a\0b", 3), "a\\x00b"},
      {"\x1b[31mred\x1b[0m", "\\x1b[31mred\\x1b[0m"},
      {"bell\a back\b del\x7f", "bell\\x07 back\\x08 del\\x7f"},
      {"two\nlines\r\tand a tab", "two\\nlines\\r\\tand a tab"},
      {"\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80", "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80"},
      {"CSI as UTF-8 \xc2\x9b", "CSI as UTF-8 \\xc2\\x9b"},
      {"the last one \xc2\x9f, none \xc2\xa0", "the last one \\xc2\\x9f, none \xc2\xa0"},
      {"CSI as a byte \x9bm", "CSI as a byte \\x9bm"},
      {"Latin-1 \xe4\xf6", "Latin-1 \xe4\xf6"},
      {"cut off \xe2\x82", "cut off \xe2\\x82"},
  };
  for (const Row& row : rows) EXPECT_EQ(loom::visible(row.text), row.visible);
}

TEST(VisibleText, KeepsTheLinesOfATextOfSeveral) {
  EXPECT_EQ(loom::visibleLines("a\tb\nc\x1b\r"), "a\tb\nc\\x1b\\r");
}

const std::string evil = "e\x1b[2Jvil";
const std::string tamed = "e\\x1b[2Jvil";

std::string evilZip() {
  const std::string path = newFolder() + "/evil.zip";
  std::string bytes = zipOf({{evil, "data"}});
  bytes[zip::local::size + evil.size()] ^= 1;  // damaged, so that the library names it
  writeFile(path, bytes);
  return path;
}

// What a command prints on a terminal, its messages among it.
std::string onATerminal(const std::string& command) {
  return shell("script -qec \"" + command + "\" /dev/null </dev/null").out;
}

TEST(VisibleText, NoMessageCarriesTheControlCharactersOfAName) {
  const std::string zip = evilZip();
  const std::string commands[] = {"loom zip test " + zip,
                                  "loom zip cat " + zip + " \"$NAME\"",
                                  "loom zip cat " + zip + " \"$NAME\"none",
                                  "loom zip x " + zip + " -d " + newFolder(),
                                  "loom ar ls \"$NAME\"",
                                  "loom sum \"$NAME\"",
                                  "loom gzip \"$NAME\"",
                                  "loom file real \"$NAME\"",
                                  "loom config ls \"$NAME\"",
                                  "loom no\"$NAME\"such",
                                  "loom eval --param \"$NAME\" 1"};
  for (const std::string& command : commands) {
    const Ended ended = shell("NAME=$(printf 'e\\033[2Jvil')\n" + command);
    EXPECT_NE(ended.code, 0) << command;
    EXPECT_NE(ended.err.find(tamed), std::string::npos) << command << ": " << ended.err;
    EXPECT_EQ(ended.err.find('\x1b'), std::string::npos) << command << ": " << ended.err;
  }
}

TEST(VisibleText, AnExcerptEndsBehindAWholeCharacter) {
  EXPECT_EQ(loom::excerpt("abcdef", 6), "abcdef");
  EXPECT_EQ(loom::excerpt("abcdefg", 6), "abcdef ...");
  EXPECT_EQ(loom::excerpt("abc\xe2\x82\xac", 4), "abc ...");
  EXPECT_EQ(loom::excerpt("abc\xe2\x82\xac", 5), "abc ...");
  EXPECT_EQ(loom::excerpt("ab\xf0\x9f\x98\x80 ", 5), "ab ...");
  EXPECT_EQ(loom::excerpt("\x82\x82\x82\x82\x82\x82", 5), "\x82\x82 ...") << "no UTF-8";
  EXPECT_EQ(loom::excerpt("abc", 0), " ...");
}

TEST(VisibleText, AMessageIsOneLineWhateverNameItHas) {
  const Ended ended = shell("loom sum \"$(printf 'a\\nloom: b')\"");
  EXPECT_EQ(ended.err, "loom: cannot open a\\nloom: b: No such file or directory\n");
}

TEST(VisibleText, ATableOfNamesIsEscapedEverywhere) {
  const std::string ar = newFolder() + "/x.ar";
  writeFile(ar, arArchive(arLongMember(evil, "data")));
  for (const std::string& command : {"loom zip ls " + evilZip(), "loom ar ls " + ar}) {
    EXPECT_TRUE(shell(command).out.ends_with(" " + tamed + "\n")) << command;
    EXPECT_NE(shell(command + " --json").out.find("e\\u001b[2Jvil"), std::string::npos);
  }
}

TEST(VisibleText, APathIsEscapedForATerminalAndExactForAPipe) {
  const std::string folder = newFolder();
  writeFile(folder + "/" + evil, "data");
  const std::string commands[] = {"loom sum " + folder + "/e*", "loom file real " + folder + "/e*"};
  for (const std::string& command : commands) {
    const std::string seen = onATerminal(command);
    EXPECT_NE(seen.find(tamed), std::string::npos) << command << ": " << seen;
    EXPECT_EQ(seen.find('\x1b'), std::string::npos) << command << ": " << seen;
    EXPECT_NE(shell(command).out.find(evil), std::string::npos) << command;
  }
}

}  // namespace
}  // namespace loomkit::testing
