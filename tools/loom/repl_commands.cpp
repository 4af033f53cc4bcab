// SPDX-License-Identifier: MIT
// loom repl: an expression a line, with the stack kept from one to the next.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "console.h"
#include "did_you_mean.h"
#include "families.h"
#include "interruption.h"
#include "line_editor.h"
#include "loomkit/rpn/words.h"
#include "loomkit/version.h"
#include "open_expression.h"
#include "rpn_host.h"
#include "value_text.h"
#include "visible_text.h"
#include "word_list.h"

namespace loom {

namespace {

using Stack = std::vector<GRpnValue>;

// An evaluation cannot reach values from before it began. So every line begins
// with a word of ours that pushes them into its own part of the stack.
constexpr const char* restoreWord = "_";
constexpr std::string_view linePrefix = "_ ";

class ReplWords : public GRpnExternFuncs {
 public:
  ReplWords(const Stack* values, GRpnExternFuncs* others) : stack(values), rest(others->incRef()) {}

  bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override {
    // Local functions can call each other for ages.
    if (takeInterrupt()) {
      err->append("interrupted");
      return false;
    }
    if (restored || std::string_view(name, length) != restoreWord) {
      return rest->call(name, length, eval, err);
    }
    for (const GRpnValue& value : *stack) eval->push(value);
    restored = true;
    return true;
  }

  // Lets the word be run once more: it is for the start of a line only.
  void beginLine() { restored = false; }

 protected:
  ~ReplWords() override { rest->decRef(); }

 private:
  const Stack* stack;
  GRpnExternFuncs* rest;
  bool restored = false;
};

constexpr const char* helpText =
    "An expression leaves its results on the stack, which stays for the next line.\n"
    "A line that fails leaves the stack as it was.\n"
    "  :words [NAME]    what the words do\n"
    "  :set NAME EXPR   give $NAME the value of an expression\n"
    "  :def NAME EXPR   make NAME a word: a local function, such as\n"
    "                   :def area 2 argc $0 $1 *\n"
    "  :stack           show the whole stack\n"
    "  :undo            take the last line back\n"
    "  :clear           empty the stack\n"
    "  :quit            end; so does the end of the input";

constexpr const char* commandNames[] = {":clear", ":def",   ":help", ":quit",
                                        ":set",   ":stack", ":undo", ":words"};

// $XDG_STATE_HOME/loom/history, its folder made; empty when there is no place.
std::string historyFile() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  const char* const home = std::getenv("HOME");
  std::filesystem::path folder;
  if (state != nullptr && *state == '/') {
    folder = state;
  } else if (home != nullptr && *home == '/') {
    folder = std::filesystem::path(home) / ".local/state";
  } else {
    return {};
  }
  folder /= "loom";
  std::error_code error;
  if (std::filesystem::create_directories(folder, error)) {
    std::filesystem::permissions(folder, std::filesystem::perms(0700), error);
  }
  return std::filesystem::is_directory(folder, error) ? (folder / "history").string()
                                                      : std::string();
}

// The first word of a text, and the rest without the blanks between them.
std::pair<std::string, std::string> firstWord(const std::string& text) {
  constexpr const char* blanks = " \t";
  const std::size_t end = std::min(text.find_first_of(blanks), text.size());
  const std::size_t rest = std::min(text.find_first_not_of(blanks, end), text.size());
  return {text.substr(0, end), text.substr(rest)};
}

class Repl {
 public:
  explicit Repl(const Invocation& call)
      : host(call),
        digits(call.number("--digits", 15, 1, 17)),
        interactive(isTerminal(StandardStream::input)) {
    words.reset(new ReplWords(&stack, host.functions.get()));
    host.engine.setExternFuncs(words.get());
    if (call.json()) json.emplace().beginArray();
  }

  ExitCode run() {
    if (interactive) noteInterrupts();
    const std::unique_ptr<LineEditor> editor = openEditor();
    if (interactive) complainPlainly("loom " LOOMKIT_VERSION ", reverse Polish; :help tells more");
    for (std::string line; !ended && next(*editor, &line);) {
      const std::size_t first = line.find_first_not_of(" \t");
      if (first == std::string::npos) continue;
      if (line[first] == ':') {
        command(line.substr(first));
      } else {
        evaluate(line);
      }
    }
    if (interactive && !ended) complainPlainly("");  // the end of the input ends no line
    if (json) json->endArray();
    return failed && !interactive ? ExitCode::evaluation : ExitCode::done;
  }

 private:
  static constexpr std::size_t shownValues = 20;
  static constexpr std::size_t shownBytes = 2000;
  static constexpr std::size_t keptStacks = 100;

  std::unique_ptr<LineEditor> openEditor() {
    if (!interactive) return makePlainEditor(false);
    std::unique_ptr<LineEditor> editor = makeEditor(
        historyFile(), [this](const std::string& prefix) { return completions(prefix); });
    return editor != nullptr ? std::move(editor) : makePlainEditor(true);
  }

  // An expression, which a person may write in several lines while a string or a brace
  // is open. False at the end of the input.
  bool next(LineEditor& editor, std::string* text) {
    for (;;) {
      text->clear();
      std::string line;
      std::string prompt = "> ";
      Typed typed = Typed::line;
      while ((typed = editor.next(prompt, &line)) == Typed::line) {
        *text += line;
        const Missing missing = interactive ? missingFrom(*text) : Missing::nothing;
        if (missing == Missing::nothing) return true;
        // In a string a line end is a character, elsewhere a blank is what separates.
        *text += missing == Missing::quote ? '\n' : ' ';
        prompt = missing == Missing::quote ? "\"> " : "}> ";
      }
      if (typed == Typed::end) return !text->empty();
    }
  }

  std::vector<std::string> completions(const std::string& prefix) const {
    std::vector<std::string> all = gRpnBuiltinWords();
    for (const std::string& name : host.functions->names()) all.push_back(name);
    all.insert(all.end(), host.parameters().begin(), host.parameters().end());
    all.insert(all.end(), std::begin(commandNames), std::end(commandNames));
    std::erase_if(all, [&](const std::string& word) { return !word.starts_with(prefix); });
    std::sort(all.begin(), all.end());
    return all;
  }

  bool evaluateOnStack(const std::string& expr, Stack* results) {
    words->beginLine();
    return host.evaluate(std::string(linePrefix) + expr, results);
  }

  void evaluate(const std::string& line) {
    Stack results;
    const bool good = evaluateOnStack(line, &results);
    if (good) {
      undo.push_back(std::move(stack));
      if (undo.size() > keptStacks) undo.erase(undo.begin());
      stack = std::move(results);
    } else {
      fail(line);
    }
    if (json) {
      jsonRow(line, good);
    } else if (good) {
      show(shownValues);
    }
  }

  void jsonRow(const std::string& line, bool good) {
    json->beginObject().key("expression").value(line);
    if (!good) {
      json->key("errors").beginArray();
      json->value(host.report().message);
      json->endArray();
    }
    json->key("stack").beginArray();
    for (const GRpnValue& value : stack) writeJson(value, &*json);
    json->endArray().endObject();
  }

  void fail(const std::string& line) {
    failed = true;
    RpnReport report = host.report();
    if (report.position && report.expression == std::string(linePrefix) + line) {
      report.expression = line;
      // Ctrl-C may have come before our own word was run.
      *report.position -= std::min(*report.position, linePrefix.size());
    }
    // Under a line that has just been typed the caret is enough.
    const bool typed =
        interactive && report.expression == line && line.find('\n') == std::string::npos;
    complainPlainly(typed ? caretLine(report, "  ") : caretLines(report, "  "));
  }

  void show(std::size_t most) {
    if (stack.empty()) return printLine("  (empty)");
    const std::size_t shown = std::min(stack.size(), most);
    if (shown < stack.size()) {
      printLine("  ... " + std::to_string(stack.size() - shown) + " more below");
    }
    for (std::size_t i = shown; i-- > 0;) {
      const std::string text = valueText(stack[stack.size() - 1 - i], digits);
      printLine(colored(StandardStream::output, Color::dim, "  [" + std::to_string(i) + "] ") +
                excerpt(text, shownBytes));
    }
  }

  void command(const std::string& text) {
    try {
      const auto [name, rest] = firstWord(text);
      dispatch(name, rest);
    } catch (const Failure& failure) {
      failed = true;
      complain(failure.what());
    }
  }

  void dispatch(const std::string& name, const std::string& rest) {
    if (name == ":quit" || name == ":q") {
      ended = true;
    } else if (name == ":help") {
      complainPlainly(helpText);
    } else if (name == ":words") {
      showWords(rest);
    } else if (name == ":set") {
      setParameter(rest);
    } else if (name == ":def") {
      define(rest);
    } else if (name == ":stack") {
      if (!json) show(stack.size());
    } else if (name == ":clear") {
      replaceStack({});
    } else if (name == ":undo") {
      if (undo.empty()) throw Failure(ExitCode::usage, "there is nothing to take back");
      stack = std::move(undo.back());
      undo.pop_back();
      if (!json) show(shownValues);
    } else {
      const std::string guess = didYouMean(
          name, std::vector<std::string>(std::begin(commandNames), std::end(commandNames)));
      throw Failure(ExitCode::usage, "there is no command '" + name + "'" +
                                         (guess.empty() ? "; :help lists them" : guess));
    }
  }

  void replaceStack(Stack values) {
    undo.push_back(std::move(stack));
    stack = std::move(values);
    if (!json) show(shownValues);
  }

  static void showWords(const std::string& name) {
    if (!name.empty() && findWord(name) == nullptr) {
      throw Failure(ExitCode::usage,
                    "there is no word '" + name + "'" + didYouMean(name, gRpnBuiltinWords()));
    }
    for (const WordRow& row : wordList()) {
      if (!name.empty() && row.name != name) continue;
      complainPlainly("  " + std::string(row.name) + "  " + std::string(row.effect) + "  " +
                      std::string(row.summary));
    }
  }

  void setParameter(const std::string& text) {
    const auto [name, expr] = firstWord(text);
    if (!isIdentifier(name)) throw Failure(ExitCode::usage, ":set needs a name and an expression");
    Stack results;
    if (!evaluateOnStack(expr, &results)) return fail(expr);
    if (results.size() != stack.size() + 1) {
      throw Failure(ExitCode::usage, ":set needs an expression with one result");
    }
    host.setParameter(name, results.back());
  }

  void define(const std::string& text) {
    const auto [name, expr] = firstWord(text);
    if (!isIdentifier(name) || name == restoreWord) {
      throw Failure(ExitCode::usage, ":def needs a name and an expression");
    }
    host.define(name, expr);
    host.engine.setExternFuncs(words.get());
  }

  RpnHost host;
  int digits;
  bool interactive;
  Counted<ReplWords> words;
  std::optional<JsonWriter> json;
  Stack stack;
  std::vector<Stack> undo;
  bool ended = false;
  bool failed = false;
};

ExitCode repl(const Invocation& call) { return Repl(call).run(); }

constexpr Option options[] = {paramOption(), stringOption(), defineOption(), digitsOption()};
constexpr ExitCodeMeaning exits[] = {
    {ExitCode::cannotOpen, "standard input cannot be read"},
    {ExitCode::evaluation, "a line failed, and nobody sat at a terminal to see it"}};

constexpr Command commands[] = {
    {.name = "repl",
     .summary = "calculate line by line",
     .description =
         "Reads expressions, evaluates each on the stack that the lines before have left, and "
         "shows the stack, the top last and numbered [0] as in error messages. A line that fails "
         "leaves the stack as it was; a caret points at the place of the error.\n\n"
         "At a terminal, a string or a brace that is not closed goes on in the next line. Ctrl-C "
         "drops what was typed, or stops a calculation; Ctrl-D ends.\n\n"
         "Lines that begin with a colon are commands: :help lists them. At a terminal, lines can "
         "be edited and called back, and the tabulator completes words; the history is kept in "
         "$XDG_STATE_HOME/loom/history.",
     .options = options,
     .example = "$ printf '3 4\\ndup * swap dup * +\\nsqrt\\n' | loom repl\n"
                "  [1] 3\n  [0] 4\n  [0] 25\n  [0] 5\n",
     .exits = exits,
     .run = repl}};

}  // namespace

const Family replFamily = {.commands = commands};

}  // namespace loom
