// SPDX-License-Identifier: MIT
#include "line_editor.h"

#include <cstdio>

#include "line_source.h"

namespace loom {

namespace {

class PlainEditor : public LineEditor {
 public:
  explicit PlainEditor(bool prompts) : wantsPrompts(prompts), source("-") {}

  Typed next(const std::string& prompt, std::string* line) override {
    if (wantsPrompts) std::fputs(prompt.c_str(), stderr);
    return source.next(line) ? Typed::line : Typed::end;
  }

 private:
  bool wantsPrompts;
  LineSource source;
};

}  // namespace

std::unique_ptr<LineEditor> makePlainEditor(bool wantsPrompts) {
  return std::make_unique<PlainEditor>(wantsPrompts);
}

}  // namespace loom
