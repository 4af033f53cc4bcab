// SPDX-License-Identifier: MIT
#include "line_editor.h"

#include <cstdio>

#include "line_source.h"

namespace loom {

namespace {

class PlainEditor : public LineEditor {
 public:
  explicit PlainEditor(std::string text) : prompt(std::move(text)), source("-") {}

  bool next(std::string* line) override {
    if (!prompt.empty()) std::fputs(prompt.c_str(), stderr);
    return source.next(line);
  }

 private:
  std::string prompt;
  LineSource source;
};

}  // namespace

std::unique_ptr<LineEditor> makePlainEditor(const std::string& prompt) {
  return std::make_unique<PlainEditor>(prompt);
}

}  // namespace loom
