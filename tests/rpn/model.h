// SPDX-License-Identifier: MIT
// RpnModel: a second evaluator, written for plainness and nothing else. It cuts
// the text into tokens first, recurses, copies, and shares no code with the
// engine but the reader of decimal numbers, which has a model of its own.
#ifndef LOOMKIT_TESTS_RPN_MODEL_H
#define LOOMKIT_TESTS_RPN_MODEL_H

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace loomkit::testing {

/// A value of the model.
struct ModelValue {
  enum Kind { none, number, string, vector } kind = none;
  double n = 0;
  std::string s;
  bool symbol = false;
  std::shared_ptr<std::vector<ModelValue>> v;
};

/// Evaluates like GRpnEval, with these fixed parameters and functions: $p is
/// 2.5, $q is "text"; `twice` doubles a number, `sub2` is the local function
/// "2 argc $1 $0 -", `three` is "1 argc $0 $0 $0".
class RpnModel {
 public:
  /// The results as show() writes them, or the error texts, one a line.
  std::string run(const std::string& expr);

 private:
  struct Failed {};
  struct Frame {
    std::string text;
    std::size_t base;
    std::optional<std::size_t> argc;
    std::vector<ModelValue> args;
  };

  void evaluate(const std::string& text);
  void frameLoop();
  std::size_t token(std::size_t p);
  std::size_t numberToken(std::size_t p);
  std::size_t stringToken(std::size_t p);
  std::size_t parameterToken(std::size_t p);
  std::size_t wordToken(std::size_t p);
  void defaultValue(const std::string& text);
  void binary(const std::string& op, std::size_t p);
  void word(const std::string& name, std::size_t begin, std::size_t end);
  bool stackWord(const std::string& name, std::size_t pos);
  bool numberWord(const std::string& name, std::size_t pos);
  bool stringWord(const std::string& name, std::size_t pos);
  void argcWord(std::size_t pos);
  void foreign(const std::string& name, std::size_t begin, std::size_t end);

  [[noreturn]] void fail(std::size_t pos, const std::string& message);
  Frame& frame() { return frames.back(); }
  std::size_t here() { return stack.size() - frame().base; }
  void need(std::size_t pos, std::size_t count);
  ModelValue& top(std::size_t n) { return stack[stack.size() - 1 - n]; }
  ModelValue take();
  void requireNumber(std::size_t pos, std::size_t n, const char* what);
  void requireString(std::size_t pos, std::size_t n, std::size_t named);
  double takeNumber(std::size_t pos);
  unsigned takeCount(std::size_t pos);
  std::size_t sizeOperand(std::size_t pos, std::size_t n, std::size_t named);
  void push(double x);
  void push(const std::string& x, bool symbol = false);

  std::vector<ModelValue> stack;
  std::vector<Frame> frames;
  std::vector<std::string> errors;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_RPN_MODEL_H
