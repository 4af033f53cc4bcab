// SPDX-License-Identifier: MIT
// What the engine's tests share: results as text, and collected error texts.
#ifndef LOOMKIT_TESTS_RPN_RPN_FIXTURE_H
#define LOOMKIT_TESTS_RPN_RPN_FIXTURE_H

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "loomkit/rpn/eval.h"

namespace loomkit::testing {

/// Sends error texts to a list that outlives the evaluator. Holds nothing that
/// needs a destructor, as the evaluator calls none.
class ErrorList : public GRpnEval::ErrorHandler {
 public:
  explicit ErrorList(std::vector<std::string>* target) : errors(target) {}
  void error(const std::string& message) override { errors->push_back(message); }

 private:
  std::vector<std::string>* errors;
};

/// A value as text: void, 1.5, "text", @symbol, [a b].
inline std::string show(const GRpnValue& value) {
  switch (value.getType()) {
    case GRpnValue::Void:
      return "void";
    case GRpnValue::Number: {
      if (std::isnan(value.getNumber())) return "nan";  // of either sign
      char text[40];
      std::snprintf(text, sizeof text, "%.17g", value.getNumber());
      return text;
    }
    case GRpnValue::String:
      return value.getString()->isSymbol() ? "@" + *value.getString()
                                           : '"' + *value.getString() + '"';
    case GRpnValue::Vector:
      break;
  }
  std::string text = "[";
  for (const GRpnValue& element : *value.getVector()) {
    if (text.size() > 1) text += ' ';
    text += show(element);
  }
  return text + "]";
}

/// An evaluator whose errors are kept.
struct Evaluator {
  Evaluator() { eval.setErrorHandler(new ErrorList(&errors)); }

  /// The results, separated by blanks, or the error texts.
  std::string run(const char* expr) {
    errors.clear();
    std::vector<GRpnValue> results;
    std::string text;
    if (!eval.eval(expr, &results)) {
      for (const std::string& error : errors) text += error + '\n';
      if (!text.empty()) text.pop_back();
      return text;
    }
    for (const GRpnValue& value : results) text += (text.empty() ? "" : " ") + show(value);
    return text;
  }

  std::vector<std::string> errors;
  GRpnEval eval;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_RPN_RPN_FIXTURE_H
