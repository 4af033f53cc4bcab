// SPDX-License-Identifier: MIT
// RpnHost: the expression engine as the commands use it, with the parameters
// and words of the command line.
#ifndef LOOM_RPN_HOST_H
#define LOOM_RPN_HOST_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "rpn_report.h"

namespace loom {

/// Holds the creator's reference on a counted object of the engine.
struct DropReference {
  template <typename Object>
  void operator()(Object* object) const {
    object->decRef();
  }
};
template <typename Object>
using Counted = std::unique_ptr<Object, DropReference>;

/// --param, --string and --define, which eval and repl share.
[[nodiscard]] constexpr Option paramOption() {
  return {.names = "-p,--param",
          .value = "NAME=VALUE",
          .help = "Give $NAME a value: a number when VALUE reads as one, else a string.",
          .repeatable = true};
}
[[nodiscard]] constexpr Option stringOption() {
  return {.names = "-s,--string",
          .value = "NAME=TEXT",
          .help = "Give $NAME a string, whatever it looks like.",
          .repeatable = true};
}
[[nodiscard]] constexpr Option defineOption() {
  return {.names = "-d,--define",
          .value = "NAME=EXPR",
          .help =
              "Make NAME a word that runs EXPR, a local function: N argc takes N arguments, "
              "$0 being the deepest.",
          .repeatable = true};
}
[[nodiscard]] constexpr Option digitsOption() {
  return {.names = "--digits",
          .value = "N",
          .help = "Print numbers with up to N digits, 1 to 17; by default 15."};
}

/// A value from text: a number when all of it reads as a decimal number, else
/// a string.
[[nodiscard]] GRpnValue typedValue(const std::string& text);
/// A string value.
[[nodiscard]] GRpnValue stringValue(const std::string& text);
/// True for a letter or _ followed by letters, digits and _.
[[nodiscard]] bool isIdentifier(const std::string& text);

class RpnHost {
 public:
  /// Without parameters and words.
  RpnHost();
  /// With what the options give. A wrong one is a usage Failure.
  explicit RpnHost(const Invocation& call);

  /// Evaluates; all results are appended to `*results`. On failure the
  /// engine's report is in report().
  bool evaluate(const std::string& expr, std::vector<GRpnValue>* results);
  /// The truth of an expression with one result, a number.
  bool evaluateBool(const std::string& expr, bool* result);
  /// What went wrong in the last evaluation, with a suggestion for a name that is not
  /// known.
  [[nodiscard]] RpnReport report() const;

  /// Has report() suggest these parameters, "$" included, besides those of the options.
  void setOtherParameters(std::vector<std::string> names) { otherParameters = std::move(names); }

  /// The name that begins the reports.
  void setName(const std::string& exprName);
  /// A parameter for expressions.
  void setParameter(const std::string& parameter, const GRpnValue& value);
  /// The names of all parameters that were set, with their "$".
  [[nodiscard]] const std::vector<std::string>& parameters() const { return parameterNames; }
  /// A word for expressions; a name that is no identifier or a built-in word
  /// is a usage Failure.
  void define(const std::string& word, const std::string& expr);

  GRpnEval engine;
  Counted<GRpnMapParamSet> params{new GRpnMapParamSet};
  Counted<GRpnFunctionTable> functions{new GRpnFunctionTable};

 private:
  // Freed as plain memory by the engine: owns nothing.
  class Collector : public GRpnEval::ErrorHandler {
   public:
    explicit Collector(std::vector<std::string>* destination) : texts(destination) {}
    void error(const std::string& message) override { texts->push_back(message); }

   private:
    std::vector<std::string>* texts;
  };

  bool begin(const std::string& expr);
  [[nodiscard]] std::vector<std::string> knownNames(bool ofParameters) const;

  std::vector<std::string> texts;
  std::vector<std::string> parameterNames;
  std::vector<std::string> otherParameters;
  std::string name;
  std::string lastExpr;
};

}  // namespace loom

#endif  // LOOM_RPN_HOST_H
