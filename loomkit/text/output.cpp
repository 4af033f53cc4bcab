// SPDX-License-Identifier: MIT
#include "loomkit/text/output.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "loomkit/platform/platform.h"

GOutput::GOutput() : defaultSys("_generic") {}
GOutput::GOutput(const GOutput&) = default;
GOutput& GOutput::operator=(const GOutput&) = default;
GOutput::~GOutput() = default;

void GOutput::output(GOutputLevel level, const std::string& sys, GOStrStream& text) {
  output(level, sys, text.str().c_str());
}

void GOutput::message(const std::string& sys, const char* text) {
  output(GOutputMessage, sys, text);
}
void GOutput::message(const std::string& sys, GOStrStream& text) {
  output(GOutputMessage, sys, text);
}
void GOutput::message(const char* text) { output(GOutputMessage, defaultSys, text); }

void GOutput::warning(const std::string& sys, const char* text) {
  output(GOutputWarning, sys, text);
}
void GOutput::warning(const std::string& sys, GOStrStream& text) {
  output(GOutputWarning, sys, text);
}
void GOutput::warning(const char* text) { output(GOutputWarning, defaultSys, text); }

void GOutput::error(const std::string& sys, const char* text) { output(GOutputError, sys, text); }
void GOutput::error(const std::string& sys, GOStrStream& text) { output(GOutputError, sys, text); }
void GOutput::error(const char* text) { output(GOutputError, defaultSys, text); }

void GOutput::fatal(const std::string& sys, const char* text) { output(GOutputFatal, sys, text); }
void GOutput::fatal(const std::string& sys, GOStrStream& text) { output(GOutputFatal, sys, text); }
void GOutput::fatal(const char* text) { output(GOutputFatal, defaultSys, text); }

void GOutput::special(const char* text) { output(GOutputSpecial, defaultSys, text); }

namespace {

// Writes `first` and the further texts of a null-terminated list.
void joinTexts(GOStrStream* out, const char* first, va_list rest) {
  for (const char* text = first; text != nullptr; text = va_arg(rest, const char*)) *out << text;
}

}  // namespace

void GOutput::messageVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputMessage, defaultSys, text);
}

void GOutput::warningVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputWarning, defaultSys, text);
}

void GOutput::errorVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputError, defaultSys, text);
}

void GOutput::fatalVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputFatal, defaultSys, text);
}

void GOutput::specialVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputSpecial, defaultSys, text);
}

void GOutput::logMessageVar(const char* first, ...) {
  GOStrStream text;
  va_list rest;
  va_start(rest, first);
  joinTexts(&text, first, rest);
  va_end(rest);
  output(GOutputLog0, defaultSys, text);
}

void GOutput::log(int level, const std::string& sys, const char* text) {
  if (getLogLevel(sys) < level) return;
  const unsigned travels =
      static_cast<unsigned>(level) + GOutputLog0;  // wraps for a level near INT_MAX
  output(static_cast<GOutputLevel>(travels), sys, text);
}

void GOutput::log(int level, const std::string& sys, GOStrStream& text) {
  log(level, sys, text.str().c_str());
}

void GOutput::logMessage(const char* text) { log(7, defaultSys, text); }

void GOutput::setLogLevel(const std::string& sys, int level) {
  if (sys == "*")
    logLevel = level;
  else
    sysLogLevels[sys] = level;
}

int GOutput::getLogLevel(const std::string& sys) const {
  const auto entry = sysLogLevels.find(sys);
  return entry == sysLogLevels.end() ? logLevel : std::max(entry->second, logLevel);
}

void GOutput::setDefaultSys(const std::string& sys) { defaultSys = sys; }

GSystemOutput::GSystemOutput() = default;
GSystemOutput::GSystemOutput(const GSystemOutput&) = default;
GSystemOutput& GSystemOutput::operator=(const GSystemOutput&) = default;
GSystemOutput::~GSystemOutput() = default;

void GSystemOutput::output(GOutputLevel level, const std::string& sys, const char* text) {
  const char* name = sys.c_str();
  if (*name == '_') ++name;  // only one: "__x" prints as "_x"
  switch (level) {
    case GOutputMessage:
      std::fprintf(stdout, "%s message: %s\n", name, text);
      return;
    case GOutputWarning:
      std::fprintf(stderr, "%s warning: %s\n", name, text);
      return;
    case GOutputError:
      std::fprintf(stderr, "%s error: %s\n", name, text);
      return;
    case GOutputFatal:
      std::fprintf(stderr, "%s fatal error: %s\n", name, text);
      // A host started by a double click would otherwise close its window
      // before anybody has read the line.
      std::fputs("Press enter to exit ...", stderr);
      std::getchar();
      std::exit(1);
    default:
      if (level >= GOutputLog0)
        std::fprintf(stderr, "%s log %d: %s\n", name, level - GOutputLog0, text);
      return;
  }
}

void GSystemOutput::output(GOutputLevel level, const std::string& sys, GOStrStream& text) {
  GOutput::output(level, sys, text);
}

// These objects are made before every other static object of the library, and of a
// host that links it statically, because any of those may report something. If
// there is no memory for the channel, it stays null.
[[gnu::init_priority(200)]] std::string gGenSysName = "_generic";
[[gnu::init_priority(200)]] std::string gDataSysName = "_data";
[[gnu::init_priority(200)]] std::string g2DSysName = "_g2d";
void (*gProgressCB)(int) = nullptr;

namespace {

GOutput* makeDefaultOutput() noexcept {
  try {
    return new GSystemOutput;
  } catch (...) {
    return nullptr;
  }
}

// Makes the channel while the library is loaded. It is a class because the
// attribute init_priority is for objects of class type only. It keeps the address,
// so that a leak checker finds the object even when a host has put its own into
// gOutput.
struct LoadTimeOutput {
  LoadTimeOutput() noexcept : made(makeDefaultOutput()) { gOutput = made; }
  GOutput* made;
};

}  // namespace

constinit GOutput* gOutput = nullptr;

namespace {
[[gnu::init_priority(201), gnu::used]] LoadTimeOutput loadTimeOutput;
}  // namespace

void gProgress(int value) {
  if (gProgressCB != nullptr) gProgressCB(value);
}

void systemError(const char* prefix) {
  std::string text;
  const bool known = loomkit::platform::lastErrorText(&text);
  gOutput->errorVar(prefix, " ", known ? text.c_str() : nullptr, nullptr);
}

void systemLog(const char* prefix) {
  std::string text;
  const bool known = loomkit::platform::lastErrorText(&text);
  gOutput->logMessageVar(prefix, " ", known ? text.c_str() : nullptr, nullptr);
}
