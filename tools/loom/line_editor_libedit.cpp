// SPDX-License-Identifier: MIT
#include <histedit.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "console.h"
#include "interrupt_key.h"
#include "line_editor.h"

namespace loom {

namespace {

constexpr int historyLength = 1000;

std::string commonStart(const std::vector<std::string>& texts) {
  std::string start = texts.front();
  for (const std::string& text : texts) {
    const auto ends = std::mismatch(start.begin(), start.end(), text.begin(), text.end());
    start.erase(ends.first, start.end());
  }
  return start;
}

bool isNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || c == ':';
}

class Editor : public LineEditor {
 public:
  Editor(const std::string& file, Completer complete)
      : historyFile(file), completer(std::move(complete)) {
    // Only the kind of the characters: numbers keep their decimal point.
    std::setlocale(LC_CTYPE, "");
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_PROMPT, &Editor::promptOf);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_HIST, history, past);
    el_set(editor, EL_ADDFN, "complete", "Complete the word", &Editor::complete);
    el_set(editor, EL_BIND, "^I", "complete", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(editor, EL_ADDFN, "drop", "Drop the line", &Editor::drop);
    el_set(editor, EL_BIND, "^C", "drop", nullptr);
    ::history(past, &event, H_SETSIZE, historyLength);
    ::history(past, &event, H_SETUNIQUE, 1);
    if (!historyFile.empty()) loadHistory();
    el_source(editor, nullptr);
  }
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  ~Editor() override {
    history_end(past);
    el_end(editor);
  }

  Typed next(const std::string& text, std::string* line) override {
    flushResults();
    prompt = text;
    dropped = false;
    int length = 0;
    InterruptKey::turnOff();
    const char* const typed = el_gets(editor, &length);
    InterruptKey::turnOn();
    if (dropped) return Typed::dropped;
    if (typed == nullptr || length <= 0) return Typed::end;
    line->assign(typed, static_cast<std::size_t>(length));
    while (!line->empty() && (line->back() == '\n' || line->back() == '\r')) line->pop_back();
    if (!line->empty()) keep(*line);
    return Typed::line;
  }

 private:
  static Editor* of(EditLine* from) {
    void* self = nullptr;
    el_get(from, EL_CLIENTDATA, &self);
    return static_cast<Editor*>(self);
  }

  // The file grows with every session; now and then its oldest lines go.
  void loadHistory() {
    const int count = ::history(past, &event, H_LOAD, historyFile.c_str());
    if (count > 2 * historyLength) ::history(past, &event, H_SAVE, historyFile.c_str());
  }

  void keep(const std::string& line) {
    ::history(past, &event, H_ENTER, line.c_str());
    if (historyFile.empty()) return;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(historyFile.c_str(), "ae"), &std::fclose);
    if (file == nullptr) return;
    std::error_code ignored;
    std::filesystem::permissions(historyFile, std::filesystem::perms(0600), ignored);
    std::fseek(file.get(), 0, SEEK_END);
    const std::string text = std::ftell(file.get()) == 0 ? fileHeader : "";
    std::fputs((text + fileLine(line)).c_str(), file.get());
  }

  // The form in which H_LOAD reads the file: a header, and lines in which blanks,
  // controls and backslashes are escaped.
  static constexpr const char* fileHeader = "_HiStOrY_V2_\n";
  static std::string fileLine(const std::string& line) {
    std::string result;
    for (const char c : line) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte > ' ' && byte != 0x7F && c != '\\') {
        result += c;
        continue;
      }
      result += '\\';
      for (const unsigned shift : {6U, 3U, 0U}) {
        result += static_cast<char>('0' + ((byte >> shift) & 7U));
      }
    }
    return result + "\n";
  }

  static unsigned char drop(EditLine* from, int /*key*/) { return of(from)->dropLine(); }

  // Shows that it was Ctrl-C, and ends the line as Enter does, wherever it is broken.
  unsigned char dropLine() {
    dropped = true;
    const LineInfo* const info = el_line(editor);
    el_cursor(editor, static_cast<int>(info->lastchar - info->cursor));
    el_insertstr(editor, "^C");
    el_push(editor, "\n");
    return CC_REFRESH;
  }

  static char* promptOf(EditLine* from) { return of(from)->prompt.data(); }

  static unsigned char complete(EditLine* from, int /*key*/) { return of(from)->completeWord(); }

  // Completes as far as it is certain; shows the choices when that is nowhere.
  unsigned char completeWord() {
    const LineInfo* const info = el_line(editor);
    const char* start = info->cursor;
    while (start != info->buffer && isNameByte(start[-1])) --start;
    const std::string prefix(start, info->cursor);
    const std::vector<std::string> choices = completer(prefix);
    if (choices.empty()) return CC_REFRESH_BEEP;
    std::string rest = commonStart(choices).substr(prefix.size());
    if (choices.size() == 1) rest += ' ';
    if (!rest.empty()) return el_insertstr(editor, rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    std::string list = "\n";
    for (const std::string& choice : choices) list.append(choice).append("  ");
    std::fputs((list + "\n").c_str(), stdout);
    return CC_REDISPLAY;
  }

  std::string prompt;
  std::string historyFile;
  Completer completer;
  bool dropped = false;
  InterruptKey interruptKey;  // from before libedit looks at the terminal until after it
  EditLine* editor = el_init("loom", stdin, stdout, stderr);
  History* past = history_init();
  HistEvent event{};
};

}  // namespace

std::unique_ptr<LineEditor> makeEditor(const std::string& historyFile, const Completer& completer) {
  return std::make_unique<Editor>(historyFile, completer);
}

}  // namespace loom
