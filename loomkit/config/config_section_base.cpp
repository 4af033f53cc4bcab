// SPDX-License-Identifier: MIT
#include "loomkit/config/config_section_base.h"

#include <cerrno>

#include "loomkit/config/config_line.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"

namespace loomkit {
namespace {

// Whether the text is one of these words, in either case.
bool isOneOf(const std::string& text, const char* const (&words)[4]) {
  const std::string lower = sectionKey(text);
  for (const char* word : words) {
    if (lower == word) return true;
  }
  return false;
}

// True if a reader of numbers that stopped at `end` has taken all of the text.
bool isConsumed(const std::string& text, const char* end) {
  return !text.empty() && end == text.c_str() + text.size();
}

}  // namespace

const char* parseConfigValue(const std::string& text, bool* result) {
  const bool yes = isOneOf(text, {"yes", "on", "true", "1"});
  if (!yes && !isOneOf(text, {"no", "off", "false", "0"})) return "boolean value expected";
  *result = yes;
  return nullptr;
}

const char* parseConfigValue(const std::string& text, int* result) {
  const char* end = nullptr;
  errno = 0;
  const int value = parseLong32(text.c_str(), &end, 0);
  if (!isConsumed(text, end)) return "integer value expected";
  if (errno == ERANGE) return "integer value out of range";
  *result = value;
  return nullptr;
}

const char* parseConfigValue(const std::string& text, double* result) {
  const char* end = nullptr;
  errno = 0;
  const double value = gParseCDouble(text.c_str(), &end);
  if (!isConsumed(text, end)) return "floating point value expected";
  if (errno == ERANGE) return "floating point value out of range";
  *result = value;
  return nullptr;
}

ConfigSectionBase::ConfigSectionBase(const std::string& name) : sectionName(name) {}
ConfigSectionBase::ConfigSectionBase(const ConfigSectionBase&) = default;
ConfigSectionBase& ConfigSectionBase::operator=(const ConfigSectionBase&) = default;
ConfigSectionBase::~ConfigSectionBase() = default;

bool ConfigSectionBase::setErrMsg(const std::string& msg) {
  errMsg = msg;
  return false;
}

bool ConfigSectionBase::invalidKey(const std::string& key) {
  return setErrMsg("invalid key: " + key);
}

bool ConfigSectionBase::parse(const std::string& text, bool* result) {
  const char* error = parseConfigValue(text, result);
  return error == nullptr || setErrMsg(error);
}

bool ConfigSectionBase::parse(const std::string& text, int* result) {
  const char* error = parseConfigValue(text, result);
  return error == nullptr || setErrMsg(error);
}

bool ConfigSectionBase::parse(const std::string& text, double* result) {
  const char* error = parseConfigValue(text, result);
  return error == nullptr || setErrMsg(error);
}

}  // namespace loomkit
