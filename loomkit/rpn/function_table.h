// SPDX-License-Identifier: MIT
// Extension: GRpnFunctionTable, ready-made external functions from lambdas. The
// number and the types of the operands are those of the lambda's parameters,
// and are checked before it is called.
//
//   GRpnFunctionTable* functions = new GRpnFunctionTable;
//   functions->add("hypot", [](double x, double y) { return std::hypot(x, y); });
//   functions->add("upper", [](std::string s) { ...; return s; });
//   functions->add("reciprocal", [](double x, GRpnErrMsg* err) -> std::optional<double> {
//     if (x != 0) return 1 / x;
//     err->append("no reciprocal of zero");
//     return std::nullopt;
//   });
//   functions->addExpression("square", "1 argc $0 $0 *");
//   eval.setExternFuncs(functions);
//   functions->decRef();
#ifndef LOOMKIT_RPN_FUNCTION_TABLE_H
#define LOOMKIT_RPN_FUNCTION_TABLE_H

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/extern_funcs.h"

/// @cond what GRpnFunctionTable is made of
namespace loomkit::rpn {

/// Stores a value of the stack in a parameter of a callable. False, with the
/// reason appended to `*err`, if the value is of another type; the reason names
/// the place of the value, `index` from the top.
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, double* result, GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, std::string* result,
                         GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, GRpnValue* result,
                         GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, std::vector<GRpnValue>* result,
                         GRpnErrMsg* err);

/// Makes a value for the stack of what a callable has returned.
LOOMKIT_API GRpnValue result(double number);
LOOMKIT_API GRpnValue result(const std::string& text);
LOOMKIT_API GRpnValue result(const GRpnValue& value);
LOOMKIT_API GRpnValue result(const std::vector<GRpnValue>& elements);

/// The parameters and the result of a callable: of a lambda through its
/// operator(), of a function and of a member function as they are.
template <typename Callable>
struct Signature : Signature<decltype(&Callable::operator())> {};
template <typename Result, typename... Parameters>
struct Signature<Result (*)(Parameters...)> {
  using ResultType = Result;
  using Operands = std::tuple<std::decay_t<Parameters>...>;
};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...)> : Signature<Result (*)(Parameters...)> {};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...) const> : Signature<Result (*)(Parameters...)> {};

/// Whether T is a std::optional.
template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

/// Whether the last parameter of a callable is a GRpnErrMsg*, which takes the
/// reason of a failure and no operand.
template <typename Tuple, std::size_t Size = std::tuple_size<Tuple>::value>
struct TakesError : std::is_same<std::tuple_element_t<Size - 1, Tuple>, GRpnErrMsg*> {};
template <typename Tuple>
struct TakesError<Tuple, 0> : std::false_type {};

}  // namespace loomkit::rpn
/// @endcond

/// External functions that a host adds by name, as callables or as expressions.
/// The example above shows both.
///
/// Each parameter of a callable takes one operand; the last operand is the top of
/// the stack. A parameter is a `double`, a `std::string`, a
/// `std::vector<GRpnValue>`, or a `GRpnValue`, which accepts every type. If the
/// last parameter is a `GRpnErrMsg*`, it takes no operand: the callable appends
/// the reason of its failure there.
///
/// The result is one of these types, a number of any other type, `bool` (pushed as
/// 1 or 0), or `void` when nothing is to be pushed. A callable that can fail
/// returns a `std::optional` of one of them; std::nullopt fails the evaluation.
///
/// Failure: operands that are missing or of another type are reported in the
/// words of the engine, "stack underflow" and "stack[n] is not a ...", without
/// the callable being called. A name that was not added gives "unknown function".
///
/// The table owns its functions. It is counted like its base class and is used
/// from the thread that runs expressions.
class LOOMKIT_API GRpnFunctionTable : public GRpnExternFuncs {
 public:
  /// A table without functions, with one reference, which belongs to the creator.
  GRpnFunctionTable();

  /// Adds the function `name`, in place of an older one of that name. The table
  /// keeps a copy of `callable`. A built-in word of the same name is preferred, so
  /// that such a function is never called.
  template <typename Callable>
  void add(const std::string& name, Callable callable) {
    functions[name] = [callable = std::move(callable)](GRpnEval* eval, GRpnErrMsg* err) mutable {
      return invoke(callable, eval, err);
    };
  }

  /// Adds a function that is itself an expression, in place of an older one of
  /// that name. It takes its arguments with the word argc and leaves its results
  /// on the stack.
  void addExpression(const std::string& name, const std::string& expr);

  /// Whether a function `name` was added.
  [[nodiscard]] bool contains(const std::string& name) const;
  /// The names of all functions, sorted bytewise.
  [[nodiscard]] std::vector<std::string> names() const;

  /// Runs a function that was added; see GRpnExternFuncs::call().
  bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override;

 protected:
  ~GRpnFunctionTable() override;

 private:
  using Function = std::function<bool(GRpnEval* eval, GRpnErrMsg* err)>;

  template <typename Callable>
  static bool invoke(Callable& callable, GRpnEval* eval, GRpnErrMsg* err) {
    using Operands = typename loomkit::rpn::Signature<Callable>::Operands;
    constexpr bool takesError = loomkit::rpn::TakesError<Operands>::value;
    constexpr std::size_t count = std::tuple_size<Operands>::value - (takesError ? 1 : 0);
    Operands operands;
    if constexpr (takesError) std::get<count>(operands) = err;
    if (!take(operands, eval, err, std::make_index_sequence<count>())) return false;
    return deliver(callable, std::move(operands), eval);
  }

  // Takes the operands off the stack, the top being the last one.
  template <typename Operands, std::size_t... Index>
  static bool take(Operands& operands, GRpnEval* eval, GRpnErrMsg* err,
                   std::index_sequence<Index...>) {
    constexpr std::size_t count = sizeof...(Index);
    std::array<GRpnValue, count> values;
    for (std::size_t i = count; i != 0; --i)
      if (!eval->pop(&values[i - 1], err)) return false;
    return (loomkit::rpn::operand(values[count - 1 - Index], static_cast<unsigned>(Index),
                                  &std::get<count - 1 - Index>(operands), err) &&
            ...);
  }

  template <typename Callable, typename Operands>
  static bool deliver(Callable& callable, Operands&& operands, GRpnEval* eval) {
    using Result = typename loomkit::rpn::Signature<Callable>::ResultType;
    if constexpr (std::is_void_v<Result>) {
      std::apply(callable, std::forward<Operands>(operands));
    } else {
      auto outcome = std::apply(callable, std::forward<Operands>(operands));
      if constexpr (loomkit::rpn::IsOptional<Result>::value) {
        if (!outcome) return false;
        pushResult(*outcome, eval);
      } else {
        pushResult(outcome, eval);
      }
    }
    return true;
  }

  template <typename Result>
  static void pushResult(const Result& outcome, GRpnEval* eval) {
    if constexpr (std::is_arithmetic_v<Result>)
      eval->push(loomkit::rpn::result(static_cast<double>(outcome)));
    else
      eval->push(loomkit::rpn::result(outcome));
  }

  std::map<std::string, Function, std::less<>> functions;
};

#endif  // LOOMKIT_RPN_FUNCTION_TABLE_H
