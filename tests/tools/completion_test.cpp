// SPDX-License-Identifier: MIT
// Completion: what is offered, and what becomes of it in the shells themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "run_program.h"
#include "terminal_session.h"
#include "tools/loom/candidates.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

Texts offered(const Texts& words) {
  Texts texts;
  for (const loom::Candidate& candidate : loom::candidatesFor(words)) {
    texts.push_back(candidate.text);
  }
  return texts;
}

TEST(Candidates, FollowTheCommandTable) {
  const struct {
    Texts words;
    Texts offered;
  } rows[] = {
      {{"zi"}, {"zip"}},
      {{"--js"}, {"--json"}},
      {{"--json", "zi"}, {"zip"}},
      {{"--color", "al"}, {"always"}},
      {{"--color=n"}, {}},
      {{"zip", "t"}, {"test"}},
      {{"zip", "--json", "t"}, {"test"}},
      {{"zip", "x", "--dir"}, {"--directory"}},
      {{"zip", "x", "--color=n"}, {"--color=never"}},
      {{"zip", "x", "--color", "n"}, {"never"}},
      {{"zip", "x", "--", "--dir"}, {}},
      {{"zip", "x", "--no-such"}, {}},
      {{"nothing", "x"}, {}},
      {{"help", "zi"}, {"zip"}},
      {{"help", "zip", "te"}, {"test"}},
      {{"completion", ""}, {"bash", "zsh", "fish"}},
      {{"object", "fmt", "--from=j"}, {"--from=json"}},
      {{"words", "sqr"}, {"sqrt"}},
      {{"eval", "4 sqr"}, {"4 sqrt"}},
      {{"eval", "'4 sqr"}, {"4 sqrt"}},
      {{"eval", "4\\ sqr"}, {"4 sqrt"}},
      {{"eval", "-p", "x=1", "\"4 sqr"}, {"4 sqrt"}},
      {{"eval", "'\"sqr"}, {}},
      {{"eval", "--map", "--where", "$f1 sqr"}, {"$f1 sqrt"}},
      {{"db", "scan", "sqli"}, {"sqlite3:"}},
  };
  for (const auto& row : rows) EXPECT_EQ(offered(row.words), row.offered) << row.words.back();
  EXPECT_GT(offered({""}).size(), 15U);
  EXPECT_GT(offered({}).size(), 15U);
}

TEST(Candidates, HaveExplanations) {
  const auto found = loom::candidatesFor({"zip", "te"});
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].help, "check an archive");
}

// A folder with files of several kinds.
std::string folderOfFiles() {
  const std::string folder = newFolder();
  std::filesystem::create_directory(folder + "/data");
  std::filesystem::create_directory(folder + "/data/.hidden");
  writeFile(folder + "/data/rows.csv", "");
  writeFile(folder + "/data/two words.csv", "");
  writeFile(folder + "/dated.zip", "");
  return folder;
}

TEST(Candidates, AreFilesDirectoriesAndLocators) {
  const std::string folder = folderOfFiles();
  EXPECT_EQ(offered({"zip", "ls", folder + "/da"}),
            (Texts{folder + "/data/", folder + "/dated.zip"}));
  EXPECT_EQ(offered({"zip", "x", "--directory=" + folder + "/da"}),
            (Texts{"--directory=" + folder + "/data/"}));
  EXPECT_EQ(offered({"zip", "x", "--directory", folder + "/da"}), (Texts{folder + "/data/"}));
  EXPECT_EQ(offered({"zip", "ls", folder + "/data/"}),
            (Texts{folder + "/data/rows.csv", folder + "/data/two words.csv"}));
  EXPECT_EQ(offered({"zip", "ls", folder + "/data/."}), (Texts{folder + "/data/.hidden/"}));
  EXPECT_EQ(offered({"db", "scan", "csv:" + folder + "/da"}),
            (Texts{"csv:" + folder + "/data/", "csv:" + folder + "/dated.zip"}));
  EXPECT_EQ(offered({"zip", "ls", "/no/such/folder/"}), Texts());
}

// Types into a shell and looks for what stands there then.
struct Typed {
  const char* keys;
  const char* shown;
};

void completeIn(TerminalSession& session, const Typed& row) {
  session.type(row.keys);
  EXPECT_TRUE(session.waitForScreen(row.shown)) << session.screen().text();
  session.type("\x15");  // Ctrl-U: the next line
  session.settle();
}

TEST(Completion, WorksInBash) {
  TerminalSession session("cd " + folderOfFiles() + "; exec bash --norc --noprofile -i", 100);
  session.type(
      "bind 'set enable-bracketed-paste off'; source <(loom completion bash); PS1='% '; echo "
      "rea''dy\r");
  ASSERT_TRUE(session.waitFor("ready\r\n")) << session.screen().text();
  ASSERT_TRUE(session.waitForKeys());
  for (const Typed& row : {
           Typed{"loom zi\tte\t!", "% loom zip test !"},
           Typed{"loom zip x --dir\tdata\t!", "% loom zip x --directory data/!"},
           Typed{"loom eval --color=ne\t!", "% loom eval --color=never !"},
           Typed{"loom eval '4 sqr\t", "% loom eval '4 sqrt"},
           Typed{"loom db scan csv:data/r\t!", "% loom db scan csv:data/rows.csv !"},
           Typed{"loom zip ls data/tw\t!", "% loom zip ls data/two\\ words.csv !"},
       }) {
    completeIn(session, row);
  }
}

TEST(Completion, WorksInZshWithExplanations) {
  TerminalSession session("cd " + folderOfFiles() + "; exec zsh -f -i", 100);
  session.type(
      "unsetopt zle_bracketed_paste prompt_sp; autoload -Uz compinit && compinit -u -D; "
      "source <(loom completion zsh); PS1='%# '; echo rea''dy\r");
  ASSERT_TRUE(session.waitFor("ready\r\n")) << session.screen().text();
  ASSERT_TRUE(session.waitForKeys());
  for (const Typed& row : {
           Typed{"loom zi\tte\t!", "loom zip test !"},
           Typed{"loom zip x --dir\tdata\t!", "loom zip x --directory data/!"},
           Typed{"loom eval --color=ne\t!", "loom eval --color=never !"},
           Typed{"loom eval '4 sqr\t", "loom eval '4 sqrt"},
           Typed{"loom db scan csv:data/r\t!", "loom db scan csv:data/rows.csv !"},
           Typed{"loom zip ls data/tw\t!", "loom zip ls data/two\\ words.csv !"},
           Typed{"loom zip t\t", "loom zip test"},
           Typed{"loom zip \t", "test  -- check an archive"},
       }) {
    completeIn(session, row);
  }
}

TEST(Completion, WorksInFishWithExplanations) {
  const std::string folder = folderOfFiles();
  const auto completed = [&](const std::string& line) {
    const Ended ended =
        shell("cd " + folder + "; HOME=" + folder +
              " fish --no-config -c 'loom completion fish | source; complete -C " + line + "'");
    EXPECT_EQ(ended.code, 0) << ended;
    return ended.out;
  };
  EXPECT_EQ(completed("\"loom zi\""), "zip\tzip archives\n");
  EXPECT_EQ(completed("\"loom zip te\""), "test\tcheck an archive\n");
  EXPECT_EQ(completed("\"loom eval --color=ne\""), "--color=never\n");
  EXPECT_EQ(completed("\"loom zip x --directory da\""), "data/\n");
  EXPECT_EQ(completed("\"loom db scan csv:data/r\""), "csv:data/rows.csv\n");
  EXPECT_NE(completed("\"loom words sqr\"").find("sqrt\tSquare root"), std::string::npos);
}

}  // namespace
