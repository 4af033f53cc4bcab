// SPDX-License-Identifier: MIT
#include <histedit.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <filesystem>

#include "console.h"
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
  Editor(const std::string& text, const std::string& file, Completer complete)
      : prompt(text), historyFile(file), completer(std::move(complete)) {
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
    ::history(past, &event, H_SETSIZE, historyLength);
    ::history(past, &event, H_SETUNIQUE, 1);
    if (!historyFile.empty()) ::history(past, &event, H_LOAD, historyFile.c_str());
    el_source(editor, nullptr);
  }
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  ~Editor() override {
    if (!historyFile.empty()) {
      ::history(past, &event, H_SAVE, historyFile.c_str());
      std::error_code ignored;
      std::filesystem::permissions(historyFile, std::filesystem::perms(0600), ignored);
    }
    history_end(past);
    el_end(editor);
  }

  bool next(std::string* line) override {
    flushResults();
    int length = 0;
    const char* const text = el_gets(editor, &length);
    if (text == nullptr || length <= 0) return false;
    line->assign(text, static_cast<std::size_t>(length));
    while (!line->empty() && (line->back() == '\n' || line->back() == '\r')) line->pop_back();
    if (!line->empty()) ::history(past, &event, H_ENTER, line->c_str());
    return true;
  }

 private:
  static Editor* of(EditLine* from) {
    void* self = nullptr;
    el_get(from, EL_CLIENTDATA, &self);
    return static_cast<Editor*>(self);
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
  EditLine* editor = el_init("loom", stdin, stdout, stderr);
  History* past = history_init();
  HistEvent event{};
};

}  // namespace

std::unique_ptr<LineEditor> makeEditor(const std::string& prompt, const std::string& historyFile,
                                       const Completer& completer) {
  return std::make_unique<Editor>(prompt, historyFile, completer);
}

}  // namespace loom
