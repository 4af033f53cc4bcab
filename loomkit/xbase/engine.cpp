// SPDX-License-Identifier: MIT
#include "loomkit/xbase/engine.h"

#include <new>

#include "loomkit/platform/message_box.h"
#include "loomkit/xbase/error_texts.h"

namespace loomkit::xbase {
namespace {

constexpr char reportTitle[] = "XBASE ERROR";
constexpr char severeTitle[] = "XBASE SEVERE ERROR";
constexpr char severeHeading[] = "\r\n\r\nSevere Error Number";
constexpr char noMemory[] = "Memory Error";

void send(const Engine& engine, const char* title, const std::string& text) {
  if (engine.sink != nullptr) {
    engine.sink(title, text.c_str(), engine.sinkContext);
  } else {
    platform::showMessage(title, text.c_str());
  }
}

void appendLines(std::string* text, std::initializer_list<const char*> lines) {
  for (const char* line : lines) {
    if (line != nullptr) text->append("\r\n").append(line);
  }
}

// A report that finds no memory must not end in an exception: who fails here
// has callers that can no longer be trusted to clean up.
void reportError(const Engine& engine, const char* title, const char* heading, int code,
                 std::initializer_list<const char*> lines) {
  try {
    std::string text = heading;
    text.append(" #: ").append(std::to_string(code));
    appendLines(&text, {errorText(code)});
    appendLines(&text, lines);
    send(engine, title, text);
  } catch (const std::bad_alloc&) {
    platform::fatalExit(noMemory);
  }
}

}  // namespace

Engine& theEngine() {
  // Never destroyed: hosts may hold tables until after static destructors ran.
  static Engine* const engine = new Engine;
  return *engine;
}

void noteFailure(Engine& engine, int code, bool reported, const char* text1, const char* text2,
                 const char* text3) {
  engine.errorCode = code;
  if (reported) reportError(engine, reportTitle, "Error", code, {text1, text2, text3});
}

int failSeverely(Engine& engine, int code, const char* text1, const char* text2,
                 const char* text3) {
  engine.errorCode = code;
  reportError(engine, severeTitle, severeHeading, code, {text1, text2, text3});
  return code;
}

std::string fileNameLine(const std::string& name) {
  return "File Name: " + (name.empty() ? std::string("Unknown Name") : name);
}

}  // namespace loomkit::xbase
