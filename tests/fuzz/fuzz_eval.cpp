// SPDX-License-Identifier: MIT
// Expressions, with parameters and functions. Each failure is reported exactly
// once for each evaluation that fails, and the evaluator stays usable.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"

namespace {

int reports = 0;

struct Counter : GRpnEval::ErrorHandler {
  void error(const std::string& message) override {
    if (message.rfind("rpn error: ", 0) != 0) std::abort();
    ++reports;
  }
};

// Strings that double with every word are legitimate, so the text is kept short
// enough for them to stay small.
constexpr std::size_t longestText = 4096;
constexpr std::size_t longestDoubling = 200;

GRpnEval* makeEvaluator() {
  auto* const eval = new GRpnEval;
  eval->setErrorHandler(new Counter);
  auto* const params = new GRpnMapParamSet;
  params->set("n", 2.5);
  params->set("s", "text");
  eval->setParamSet(params);
  params->decRef();
  auto* const functions = new GRpnFunctionTable;
  functions->add("twice", [](double x) { return x * 2; });
  functions->addExpression("local", "2 argc $1 $0");
  functions->addExpression("loop", "loop");
  eval->setExternFuncs(functions);
  functions->decRef();
  return eval;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static GRpnEval* const eval = makeEvaluator();
  if (size > longestText) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::size_t doubling = 0;
  for (const char* word : {"+", "insert", "replace"})
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
      ++doubling;
  if (doubling > 16 && size > longestDoubling) return 0;
  reports = 0;
  GRpnValue value;
  const bool done = eval->eval(text.c_str(), &value);
  if (done != (reports == 0)) std::abort();
  double sum = 0;
  if (!eval->evalFloat("1 2 +", &sum) || sum != 3) std::abort();
  return 0;
}
