// SPDX-License-Identifier: MIT
// The command table and everything that is made from it; what holds for every
// command alike: exit codes, streams, colours, closed pipes, full disks.
#include "tools/loom/command.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "run_program.h"
#include "sessions.h"
#include "terminal_session.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;

std::vector<std::string> wordsOf(const loom::Family& family, const loom::Command& command) {
  std::vector<std::string> words;
  if (!family.name.empty()) words.emplace_back(family.name);
  words.emplace_back(command.name);
  return words;
}

template <typename Check>
void forEachCommand(Check check) {
  for (const loom::Family* family : loom::families()) {
    for (const loom::Command& command : family->commands) check(*family, command);
  }
}

TEST(CommandTable, EveryRowIsComplete) {
  std::set<std::string> names;
  forEachCommand([&](const loom::Family& family, const loom::Command& command) {
    const std::string name = fullName(family, command);
    EXPECT_TRUE(names.insert(name).second) << name << " is there twice";
    EXPECT_NE(command.run, nullptr) << name;
    EXPECT_FALSE(command.summary.empty()) << name;
    EXPECT_LT(command.summary.size(), 60U) << name;
    EXPECT_FALSE(command.description.empty()) << name;
    EXPECT_TRUE(command.example.starts_with("$ ")) << name;
    for (const loom::Option& option : command.options) {
      EXPECT_TRUE(keyOf(option).starts_with("--")) << name << " " << option.names;
      EXPECT_FALSE(option.help.empty()) << name << " " << option.names;
    }
  });
}

TEST(CommandTable, EveryCommandHasHelpWithItsExample) {
  forEachCommand([&](const loom::Family& family, const loom::Command& command) {
    std::vector<std::string> words = wordsOf(family, command);
    words.emplace_back("--help");
    const Ended ended = runLoom(words);
    EXPECT_EQ(ended.code, 0) << ended;
    EXPECT_EQ(ended.err, "");
    const std::string firstLine(command.example.substr(0, command.example.find('\n')));
    for (const std::string& part :
         {std::string("Usage: loom "), firstLine, std::string("Exit codes:")}) {
      EXPECT_NE(ended.out.find(part), std::string::npos) << part << "\n" << ended.out;
    }
    EXPECT_EQ(ended.out.find("--json") != std::string::npos, !command.printsContent) << ended.out;
    for (const std::string& line : linesOf(ended.out)) {
      EXPECT_LE(line.size(), 120U) << line;
    }
    words.pop_back();
    words.insert(words.begin(), "help");
    EXPECT_EQ(runLoom(words).out, ended.out);
  });
}

TEST(CommandTable, AnUnknownOptionIsAUsageErrorOfEveryCommand) {
  forEachCommand([&](const loom::Family& family, const loom::Command& command) {
    std::vector<std::string> words = wordsOf(family, command);
    words.emplace_back("--no-such-option");
    const Ended ended = runLoom(words);
    EXPECT_EQ(ended.code, 2) << fullName(family, command) << ended;
    EXPECT_EQ(ended.out, "");
    EXPECT_TRUE(ended.err.starts_with("loom: ")) << ended.err;
  });
}

TEST(CommandTable, TheHelpAsJsonHoldsEveryCommand) {
  const Json json = Json::parse(runLoom({"help", "--json"}).out);
  std::size_t count = 0;
  forEachCommand([&](const loom::Family&, const loom::Command&) { ++count; });
  EXPECT_EQ(json.size(), count);
  for (const Json& row : json) EXPECT_TRUE(row.contains("usage"));
}

TEST(CommandLine, TakesTheOptionsThatStandForCommands) {
  EXPECT_EQ(runLoom({"--version"}).out, runLoom({"version"}).out);
  EXPECT_EQ(runLoom({"-V"}).out, runLoom({"version"}).out);
  EXPECT_EQ(runLoom({"--help"}).out, runLoom({"help"}).out);
  EXPECT_EQ(runLoom({"-h"}).out, runLoom({"help"}).out);
  EXPECT_EQ(runLoom({"--man", "text"}).out, runLoom({"man", "text"}).out);
  EXPECT_EQ(Json::parse(runLoom({"--version", "--json"}).out).count("version"), 1U);
}

TEST(CommandLine, WithoutACommandTheHelpGoesToStandardError) {
  const Ended nothing = runLoom({});
  EXPECT_EQ(nothing.code, 2);
  EXPECT_EQ(nothing.out, "");
  EXPECT_NE(nothing.err.find("Usage: loom"), std::string::npos);
  const Ended family = runLoom({"text"});
  EXPECT_EQ(family.code, 2);
  EXPECT_EQ(family.out, "");
  EXPECT_EQ(runLoom({"text", "--help"}).out, runLoom({"help", "text"}).out);
}

TEST(CommandLine, NamesTheNearestCommand) {
  EXPECT_EQ(runLoom({"versoin"}), (Ended{2, "",
                                         "loom: there is no command 'versoin'; did you mean "
                                         "'version'?\n"}));
  EXPECT_EQ(runLoom({"text", "quot"}), (Ended{2, "",
                                              "loom: text: there is no command 'quot'; did you "
                                              "mean 'quote'?\n"}));
  EXPECT_EQ(runLoom({"xyzzyxyzzy"}),
            (Ended{2, "", "loom: there is no command 'xyzzyxyzzy'\nTry 'loom help'.\n"}));
  EXPECT_EQ(runLoom({"zip", "xyzzy"}),
            (Ended{2, "", "loom: zip: there is no command 'xyzzy'\nTry 'loom help zip'.\n"}));
  EXPECT_EQ(runLoom({"help", "text", "match", "more"}).code, 2);
  EXPECT_EQ(runLoom({"text", "match", "--color", "blue", "a", "a"}).code, 2);
}

TEST(CommandLine, TakesTheOptionsOfEveryCommandAnywhere) {
  const Ended usual = runLoom({"text", "quote", "a", "--json"});
  EXPECT_EQ(runLoom({"--json", "text", "quote", "a"}), usual);
  EXPECT_EQ(runLoom({"text", "--json", "quote", "a"}), usual);
  EXPECT_EQ(runLoom({"--color", "never", "text", "--color=never", "quote", "a", "--json"}).code, 2);
  EXPECT_EQ(runLoom({"--color", "never", "--json", "text", "quote", "a"}), usual);
  EXPECT_EQ(runLoom({"--color=never", "--json", "text", "quote", "a"}), usual);
  EXPECT_EQ(runLoom({"--json", "--version"}), runLoom({"version", "--json"}));
  EXPECT_EQ(runLoom({"text", "--help", "quote"}), runLoom({"help", "text", "quote"}));
  EXPECT_EQ(runLoom({"--help", "text", "quote"}), runLoom({"help", "text", "quote"}));
  EXPECT_EQ(runLoom({"text", "quote", "--json", "--help"}),
            runLoom({"help", "text", "quote", "--json"}));
  EXPECT_EQ(runLoom({"--json"}).code, 2);
  EXPECT_EQ(runLoom({"--color"}).code, 2);
}

TEST(CommandLine, SuggestsWhatMayHaveBeenMeantAtEveryLevel) {
  const struct {
    std::vector<std::string> words;
    const char* meant;
  } rows[] = {
      {{"evla"}, "eval"},
      {{"zpi", "ls"}, "zip"},
      {{"zip", "tset"}, "test"},
      {{"help", "evla"}, "eval"},
      {{"help", "zip", "tset"}, "test"},
      {{"man", "zpi"}, "zip"},
      {{"--jsno", "eval", "1"}, "--json"},
      {{"--versoin"}, "--version"},
      {{"zip", "ls", "--jsno", "a.zip"}, "--json"},
      {{"zip", "x", "--directroy=x", "a.zip"}, "--directory"},
      {{"eval", "-json", "1"}, "--json"},
      {{"eval", "--color=nver", "1"}, "never"},
      {{"completion", "bsah"}, "bash"},
      {{"object", "fmt", "--from", "jsn", "-"}, "json"},
      {{"words", "sqr"}, "sqrt"},
      {{"eval", "4 sqr"}, "sqrt"},
      {{"eval", "-p", "width=1", "$widht"}, "$width"},
  };
  for (const auto& row : rows) {
    const Ended ended = runLoom(row.words);
    EXPECT_NE(ended.code, 0) << row.words.back();
    EXPECT_NE(ended.err.find(std::string("id you mean '") + row.meant + "'?"), std::string::npos)
        << ended;
  }
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"-x"}, {"eval", "-x", "1"}, {"eval", "--quite-another", "1"}, {"eval", "foo"}}) {
    EXPECT_EQ(runLoom(words).err.find("mean"), std::string::npos) << words.back();
  }
}

TEST(Help, FitsIntoTheTerminal) {
  for (const std::size_t columns : {40U, 80U, 200U}) {
    for (const char* const command : {"loom --help", "loom help zip", "loom"}) {
      TerminalSession session(command, columns);
      session.end();
      EXPECT_LT(session.screen().widest(), std::min<std::size_t>(columns, 101)) << command;
      EXPECT_NE(session.screen().text().find("Usage: loom"), std::string::npos) << command;
    }
  }
}

TEST(CommandLine, ACrowdedDiskIsCannotWrite) {
  for (const char* const command : {"loom --version", "loom help", "loom text quote a",
                                    "loom text quote --json a", "loom man"}) {
    const Ended ended = shell(std::string(command) + " >/dev/full");
    EXPECT_EQ(ended, (Ended{6, "", "loom: cannot write: No space left on device\n"})) << command;
  }
}

TEST(CommandLine, AClosedPipeEndsItQuietly) {
  // First as a shell leaves it, then with the signal ignored.
  for (const char* const before : {"", "trap '' PIPE; "}) {
    const Ended ended =
        shell(std::string(before) + "yes | head -1000000 | loom text quote - | head -1");
    EXPECT_EQ(ended.out, "\"y\"\n");
    EXPECT_EQ(ended.err.find("loom"), std::string::npos) << ended.err;
  }
  EXPECT_EQ(shell("loom text quote a >&-").code, 6);
}

TEST(CommandLine, AnInputThatCannotBeReadIsCannotOpen) {
  const Ended ended = shell("loom text quote - </");
  EXPECT_EQ(ended, (Ended{3, "", "loom: standard input: Is a directory\n"}));
}

TEST(CommandLine, AnswersEachLineAsItComes) {
  // Both sides wait for each other: a tool that held its answer would hang.
  const Ended ended = shell(
      "cd " + newFolder() +
      "; mkfifo in out; loom text quote - <in >out & exec 3>in 4<out; "
      "echo a >&3; read x <&4; echo b >&3; read y <&4; exec 3>&-; wait; echo $x $y; rm in out");
  EXPECT_EQ(ended.out, "\"a\" \"b\"\n");
}

// The pages that are installed.
std::string writtenPages() {
  const std::string folder = newFolder();
  EXPECT_EQ(runLoom({"man", "--directory", folder + "/man1"}), (Ended{0, "", ""}));
  return folder + "/man1";
}

TEST(Manual, FormatsWithoutAWarning) {
  EXPECT_EQ(shell("cd " + writtenPages() +
                  "; for page in *.1; do groff -man -Tutf8 -ww -z $page 2>&1; done"),
            (Ended{0, "", ""}));
}

TEST(Manual, HasAPageForEachFamilyWithExamplesAndRelatives) {
  const std::string folder = writtenPages();
  const std::string overview = readFile(folder + "/loom.1");
  for (const loom::Family* family : loom::families()) {
    const std::string name(family->name.empty() ? family->commands[0].name : family->name);
    const bool own = name != "help";
    const std::string page = own ? readFile(folder + "/loom-" + name + ".1") : overview;
    EXPECT_NE(page.find("\n.SH EXAMPLES\n"), std::string::npos) << name;
    EXPECT_NE(page.find("\n.SH SEE ALSO\nloom"), std::string::npos) << name;
    if (own) {
      EXPECT_NE(overview.find("loom\\-" + name + "(1)"), std::string::npos) << name;
      EXPECT_EQ(runLoom({"man", name}).out, page);
    }
    for (const loom::Command& command : family->commands) {
      EXPECT_NE(page.find(".SS loom " + fullName(*family, command) + "\n"), std::string::npos);
    }
  }
  EXPECT_EQ(runLoom({"man"}).out, overview);
}

TEST(Manual, RefersToNoPageOfOursThatIsNotThere) {
  const Ended ended = shell("cd " + writtenPages() +
                            "; grep -oh 'loom[a-z\\\\-]*(1)' *.1 | tr -d '\\\\' | sort -u | "
                            "while read page; do test -f ${page%(1)}.1 || echo $page; done");
  EXPECT_EQ(ended, (Ended{0, "", ""}));
}

TEST(Manual, SaysWhereItCannotWrite) {
  const std::string file = newFolder() + "/file";
  writeFile(file, "");
  EXPECT_EQ(runLoom({"man", "--directory", file + "/man1"}).code, 6);
}

}  // namespace
