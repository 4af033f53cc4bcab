// SPDX-License-Identifier: MIT
#include "rpn_host.h"

#include <algorithm>

#include "did_you_mean.h"
#include "loomkit/rpn/words.h"
#include "loomkit/text/number.h"
#include "word_list.h"

namespace loom {

namespace {

struct Assignment {
  std::string name;
  std::string text;
};

Assignment splitAssignment(std::string_view option, const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || !isIdentifier(text.substr(0, equals))) {
    throw Failure(ExitCode::usage, std::string(option) + ": '" + text +
                                       "' does not begin with a name and an equals sign");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

}  // namespace

bool isIdentifier(const std::string& text) {
  const auto inside = [](char c) { return isAsciiLetter(c) || c == '_' || (c >= '0' && c <= '9'); };
  return !text.empty() && (isAsciiLetter(text[0]) || text[0] == '_') &&
         std::all_of(text.begin(), text.end(), inside);
}

GRpnValue stringValue(const std::string& text) {
  const Counted<GRpnString> string(new GRpnString(text, false));
  return {string.get()};
}

GRpnValue typedValue(const std::string& text) {
  const char* end = nullptr;
  const double number = gParseCDouble(text.c_str(), &end);
  const bool blankFirst = !text.empty() && (text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r'));
  if (text.empty() || blankFirst || end != text.c_str() + text.size()) return stringValue(text);
  return {number};
}

RpnHost::RpnHost() {
  engine.setErrorHandler(new Collector(&texts));
  engine.setParamSet(params.get());
}

RpnHost::RpnHost(const Invocation& call) : RpnHost() {
  for (const std::string& text : call.values("--param")) {
    const Assignment given = splitAssignment("--param", text);
    setParameter(given.name, typedValue(given.text));
  }
  for (const std::string& text : call.values("--string")) {
    const Assignment given = splitAssignment("--string", text);
    setParameter(given.name, stringValue(given.text));
  }
  for (const std::string& text : call.values("--define")) {
    const Assignment given = splitAssignment("--define", text);
    define(given.name, given.text);
  }
}

void RpnHost::setParameter(const std::string& parameter, const GRpnValue& value) {
  params->set(parameter, value);
  parameterNames.push_back("$" + parameter);
}

void RpnHost::define(const std::string& word, const std::string& expr) {
  const std::vector<std::string> builtin = gRpnBuiltinWords();
  if (std::binary_search(builtin.begin(), builtin.end(), word)) {
    throw Failure(ExitCode::usage, "'" + word + "' is a built-in word");
  }
  functions->addExpression(word, expr);
  engine.setExternFuncs(functions.get());
}

void RpnHost::setName(const std::string& exprName) {
  name = exprName;
  engine.setExprName(exprName);
}

// The engine reads up to a NUL; what stands behind one must not be lost
// silently.
bool RpnHost::begin(const std::string& expr) {
  texts.clear();
  lastExpr = expr;
  const std::size_t end = expr.find('\0');
  if (end == std::string::npos) return true;
  texts.push_back((name.empty() ? "" : name + ": ") + "rpn error: zero byte in the expression:\n" +
                  expr.substr(0, end) + " >!< " + expr.substr(end));
  return false;
}

bool RpnHost::evaluate(const std::string& expr, std::vector<GRpnValue>* results) {
  return begin(expr) && engine.eval(expr.c_str(), results);
}

bool RpnHost::evaluateBool(const std::string& expr, bool* result) {
  return begin(expr) && engine.evalBool(expr.c_str(), result);
}

std::vector<std::string> RpnHost::knownNames(bool ofParameters) const {
  if (ofParameters) {
    std::vector<std::string> names = otherParameters;
    names.insert(names.end(), parameterNames.begin(), parameterNames.end());
    return names;
  }
  std::vector<std::string> names = gRpnBuiltinWords();
  for (const std::string& word : functions->names()) names.push_back(word);
  return names;
}

RpnReport RpnHost::report() const {
  std::vector<RpnReport> reports;
  for (const std::string& text : texts) reports.push_back(readReport(text, name, lastExpr));
  RpnReport cause = causeOf(reports);
  const std::string unknown = unknownName(cause);
  if (!unknown.empty()) cause.suggestion = nearestOf(unknown, knownNames(unknown[0] == '$'));
  return cause;
}

}  // namespace loom
