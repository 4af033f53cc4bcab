// SPDX-License-Identifier: MIT
// Extension: GRpnFunctionTable, ready-made external functions from lambdas. The
// number and the types of the operands are those of the lambda's parameters,
// and are checked before it is called.
//
//   auto functions = loomkit::make<GRpnFunctionTable>();
//   functions->add("hypot", [](double x, double y) { return std::hypot(x, y); });
//   functions->add("upper", [](std::string s) { ...; return s; });
//   functions->add("left", [](std::string_view s, unsigned n) { return s.substr(0, n); });
//   functions->add("round", [](double x, std::optional<int> digits) { ... });
//   functions->add("reciprocal", [](double x, GRpnErrMsg* err) -> std::optional<double> {
//     if (x != 0) return 1 / x;
//     err->append("no reciprocal of zero");
//     return std::nullopt;
//   });
//   functions->addExpression("square", "1 argc $0 $0 *");
//   eval.setExternFuncs(functions);
#ifndef LOOMKIT_RPN_FUNCTION_TABLE_H
#define LOOMKIT_RPN_FUNCTION_TABLE_H

#include <array>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/extern_funcs.h"
#include "loomkit/rpn/ref.h"

/// @cond what GRpnFunctionTable is made of
namespace loomkit::rpn {

/// Appends "stack[`index`] is not a `type`" to `*err`, where `index` counts from
/// the top of the stack. Returns false, for the caller to pass on.
LOOMKIT_API bool refuse(unsigned index, const std::string& type, GRpnErrMsg* err);

/// Stores a value of the stack in a parameter of a callable. False, with the
/// reason appended to `*err`, if the value is of another type; the reason names
/// the place of the value, `index` from the top.
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, double* result, GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, bool* result, GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, std::string* result,
                         GRpnErrMsg* err);
/// The text stays the value's.
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, std::string_view* result,
                         GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, GRpnValue* result,
                         GRpnErrMsg* err);
LOOMKIT_API bool operand(const GRpnValue& value, unsigned index, std::vector<GRpnValue>* result,
                         GRpnErrMsg* err);

/// Whether T is a type of integers that count something; a bool and a character
/// do not.
template <typename T>
struct IsInteger
    : std::bool_constant<std::is_integral<T>::value && !std::is_same<T, bool>::value &&
                         !std::is_same<T, char>::value && !std::is_same<T, wchar_t>::value &&
                         !std::is_same<T, char16_t>::value && !std::is_same<T, char32_t>::value> {};

/// A whole number that the type can hold.
template <typename Integer>
/// Stores a number in an integer type. False when it has a fraction or is beyond
/// the range of the type, as nothing is rounded or cut off silently.
std::enable_if_t<IsInteger<Integer>::value, bool> operand(const GRpnValue& value, unsigned index,
                                                          Integer* result, GRpnErrMsg* err) {
  using Limits = std::numeric_limits<Integer>;
  double number = 0;
  if (!operand(value, index, &number, err)) return false;
  // The first number beyond the type is a power of two, which a double holds
  // exactly, as it does the lowest one. A NaN is within no limits.
  const double beyond = static_cast<double>(Limits::max() / 2 + 1) * 2;
  const bool fits = number >= static_cast<double>(Limits::min()) && number < beyond;
  if (fits) *result = static_cast<Integer>(number);
  if (fits && !(static_cast<double>(*result) < number) && !(static_cast<double>(*result) > number))
    return true;
  return refuse(
      index,
      "whole number from " + std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()),
      err);
}

/// Stores the number in a float, which keeps about seven digits of it.
inline bool operand(const GRpnValue& value, unsigned index, float* result, GRpnErrMsg* err) {
  double number = 0;
  if (!operand(value, index, &number, err)) return false;
  *result = static_cast<float>(number);
  return true;
}

/// A void value is an operand that is not given.
template <typename T>
/// Stores an operand that may be missing: a void value leaves `*result` empty.
bool operand(const GRpnValue& value, unsigned index, std::optional<T>* result, GRpnErrMsg* err) {
  if (value.getType() == GRpnValue::Void) return true;
  return operand(value, index, &result->emplace(), err);
}

/// Takes `count` values off the stack, the top being the last one; when there are
/// fewer, as many as there are, but `required` at least. Stores their number in
/// `*given`. False, with the reason appended, when even those are not there.
LOOMKIT_API bool popOperands(GRpnEval* eval, GRpnValue* values, std::size_t count,
                             std::size_t required, std::size_t* given, GRpnErrMsg* err);

/// Makes a value for the stack of what a callable has returned.
LOOMKIT_API GRpnValue result(double number);
LOOMKIT_API GRpnValue result(std::string_view text);
LOOMKIT_API GRpnValue result(const GRpnValue& value);
LOOMKIT_API GRpnValue result(const std::vector<GRpnValue>& elements);

/// The parameters and the result of a callable: of a lambda through its
/// operator(), of a function and of a member function as they are.
template <typename Callable>
struct Signature : Signature<decltype(&Callable::operator())> {};
template <typename Result, typename... Parameters>
struct Signature<Result (*)(Parameters...)> {
  using ResultType = Result;
  using ParameterTypes = std::tuple<Parameters...>;
  using Operands = std::tuple<std::decay_t<Parameters>...>;
};
template <typename Result, typename... Parameters>
struct Signature<Result (*)(Parameters...) noexcept> : Signature<Result (*)(Parameters...)> {};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...)> : Signature<Result (*)(Parameters...)> {};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...) const> : Signature<Result (*)(Parameters...)> {};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...) noexcept> : Signature<Result (*)(Parameters...)> {
};
template <typename Class, typename Result, typename... Parameters>
struct Signature<Result (Class::*)(Parameters...) const noexcept>
    : Signature<Result (*)(Parameters...)> {};

/// Whether a callable has one signature: a lambda with `auto` parameters has none.
template <typename Callable, typename = void>
struct HasSignature : std::false_type {};
template <typename Callable>
struct HasSignature<Callable, std::void_t<decltype(&Callable::operator())>> : std::true_type {};
template <typename Result, typename... Parameters>
struct HasSignature<Result (*)(Parameters...), void> : std::true_type {};
template <typename Result, typename... Parameters>
struct HasSignature<Result (*)(Parameters...) noexcept, void> : std::true_type {};

/// Whether T is a std::optional.
template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

/// Whether one of the operand() functions takes a T.
template <typename T, typename = void>
struct IsOperand : std::false_type {};
template <typename T>
struct IsOperand<T, std::void_t<decltype(operand(std::declval<const GRpnValue&>(), 0U,
                                                 std::declval<T*>(), nullptr))>>
    : std::is_default_constructible<T> {};
template <typename T>
struct IsOperand<std::optional<T>, void> : IsOperand<T> {};

/// Whether a parameter of this type can be given an operand: the table holds the
/// operand, so that there is nothing that a callable could change.
template <typename Parameter>
struct IsParameter
    : std::bool_constant<IsOperand<std::decay_t<Parameter>>::value &&
                         !(std::is_lvalue_reference<Parameter>::value &&
                           !std::is_const<std::remove_reference_t<Parameter>>::value)> {};

/// Whether what a callable returns can be pushed.
template <typename T>
struct IsResult : std::bool_constant<std::is_arithmetic<T>::value || std::is_void<T>::value ||
                                     std::is_convertible<T, std::string_view>::value ||
                                     std::is_convertible<T, GRpnValue>::value ||
                                     std::is_same<T, std::vector<GRpnValue>>::value> {};
template <typename T>
struct IsResult<std::optional<T>> : IsResult<T> {};
template <typename T>
struct IsResult<T&> : IsResult<std::remove_const_t<T>> {};

/// Whether the last parameter of a callable is a GRpnErrMsg*, which takes the
/// reason of a failure and no operand.
template <typename Tuple, std::size_t Size = std::tuple_size<Tuple>::value>
struct TakesError : std::is_same<std::tuple_element_t<Size - 1, Tuple>, GRpnErrMsg*> {};
template <typename Tuple>
struct TakesError<Tuple, 0> : std::false_type {};

/// What is to be known of a callable's parameters before it is called.
template <typename Callable>
struct Call {
  using Result = typename Signature<Callable>::ResultType;
  using Operands = typename Signature<Callable>::Operands;
  static constexpr bool takesError = TakesError<Operands>::value;
  static constexpr std::size_t count = std::tuple_size<Operands>::value - (takesError ? 1 : 0);

  /// How many operands stand in front of the first optional one.
  template <std::size_t Index = 0>
  static constexpr std::size_t required() {
    if constexpr (Index == count)
      return count;
    else if constexpr (IsOptional<std::tuple_element_t<Index, Operands>>::value)
      return Index;
    else
      return required<Index + 1>();
  }
  /// Whether all operands from the first optional one on are optional.
  template <std::size_t Index = required()>
  static constexpr bool optionalsAreLast() {
    if constexpr (Index == count)
      return true;
    else
      return IsOptional<std::tuple_element_t<Index, Operands>>::value &&
             optionalsAreLast<Index + 1>();
  }
  template <std::size_t... Index>
  static constexpr bool parametersFit(std::index_sequence<Index...>) {
    return (IsParameter<
                std::tuple_element_t<Index, typename Signature<Callable>::ParameterTypes>>::value &&
            ...);
  }
};

/// Says at compile time, in one sentence, why a callable cannot be a function of
/// the expression language.
template <typename Callable>
constexpr bool isFunction() {
  constexpr bool hasSignature = HasSignature<Callable>::value;
  static_assert(hasSignature,
                "GRpnFunctionTable::add() takes a function or an object with one operator(); a "
                "lambda with auto parameters does not tell its operands");
  if constexpr (hasSignature) {
    using TheCall = Call<Callable>;
    constexpr bool fits = TheCall::parametersFit(std::make_index_sequence<TheCall::count>());
    static_assert(fits,
                  "GRpnFunctionTable::add(): a parameter is of a type that cannot be an operand; "
                  "take double, int, unsigned, bool, std::string, std::string_view, "
                  "std::vector<GRpnValue>, GRpnValue, a const reference to one of them, or as the "
                  "last ones std::optional of one of them, and GRpnErrMsg* behind all");
    constexpr bool ordered = !fits || TheCall::optionalsAreLast();
    static_assert(ordered,
                  "GRpnFunctionTable::add(): behind a std::optional parameter all others "
                  "must be std::optional, too");
    constexpr bool pushed = IsResult<typename TheCall::Result>::value;
    static_assert(pushed,
                  "GRpnFunctionTable::add(): the function returns what cannot be pushed; return a "
                  "number, bool, text, std::vector<GRpnValue>, GRpnValue, std::optional of one of "
                  "them, or void");
    return fits && ordered && pushed;
  } else {
    return false;
  }
}

}  // namespace loomkit::rpn
/// @endcond

/// External functions that a host adds by name, as callables or as expressions.
/// The example above shows both.
///
/// Each parameter of a callable takes one operand; the last operand is the top of
/// the stack. A parameter is of one of these types, or a const reference to one:
///
/// - `double` or `float`, a number;
/// - `int`, `unsigned` or another type of integers, a whole number within its range;
/// - `bool`, a number that is true unless it is 0 or a NaN;
/// - `std::string`, or `std::string_view`, which is valid during the call;
/// - `std::vector<GRpnValue>`; or `GRpnValue`, which accepts every type;
/// - `std::optional` of one of these, as the last operands: without a value when
///   the stack of the running expression has not that many values, or has a void
///   value there. As the language has no other mark for the end of the operands,
///   such a function takes as many values as there are, up to its parameters.
///
/// If the last parameter is a `GRpnErrMsg*`, it takes no operand: the callable
/// appends the reason of its failure there.
///
/// The result is a number of any type, `bool` (pushed as 1 or 0), a text, a
/// `std::vector<GRpnValue>`, a `GRpnValue`, or `void` when nothing is to be pushed.
/// A callable that can fail returns a `std::optional` of one of them; std::nullopt
/// fails the evaluation. What cannot be an operand or a result is refused by the
/// compiler with one sentence.
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
    if constexpr (loomkit::rpn::isFunction<Callable>())
      functions[name] = [callable = std::move(callable)](GRpnEval* eval, GRpnErrMsg* err) mutable {
        return invoke(callable, eval, err);
      };
  }

  /// Adds a function that is itself an expression, in place of an older one of that
  /// name. It takes its arguments with the word argc, which makes them $0, $1 and
  /// so on, and leaves its results on the stack. The table keeps a copy of both
  /// texts. The expression is not read before it is called: a mistake in it fails
  /// that evaluation, with `error in local function "name"`.
  void addExpression(const std::string& name, const std::string& expr);

  /// Whether a function `name` was added, as a callable or as an expression. Letter
  /// case counts, and built-in words are not looked at.
  [[nodiscard]] bool contains(const std::string& name) const;
  /// The names of all functions that were added, sorted bytewise. The list is a
  /// copy.
  [[nodiscard]] std::vector<std::string> names() const;

  /// Runs a function that was added. The evaluator calls this for a word that it
  /// does not know; see GRpnExternFuncs::call(). `name` is `length` bytes long and
  /// is not terminated. False appends the reason to `*err`, unless the callable
  /// that failed gave none.
  bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override;

 protected:
  ~GRpnFunctionTable() override;

 private:
  using Function = std::function<bool(GRpnEval* eval, GRpnErrMsg* err)>;

  template <typename Callable>
  static bool invoke(Callable& callable, GRpnEval* eval, GRpnErrMsg* err) {
    using Call = loomkit::rpn::Call<Callable>;
    std::array<GRpnValue, Call::count> values;  // std::string_view operands point into them
    std::size_t given = 0;
    if (!loomkit::rpn::popOperands(eval, values.data(), Call::count, Call::required(), &given, err))
      return false;
    typename Call::Operands operands;
    if constexpr (Call::takesError) std::get<Call::count>(operands) = err;
    if (!convert(values, given, &operands, err, std::make_index_sequence<Call::count>()))
      return false;
    return deliver(callable, std::move(operands), eval);
  }

  // Makes the operands of the first `given` values, the top first.
  template <typename Operands, std::size_t... Index>
  static bool convert(const std::array<GRpnValue, sizeof...(Index)>& values, std::size_t given,
                      [[maybe_unused]] Operands* operands, [[maybe_unused]] GRpnErrMsg* err,
                      std::index_sequence<Index...>) {
    constexpr std::size_t last = sizeof...(Index) - 1;
    return ((last - Index >= given ||
             loomkit::rpn::operand(values[last - Index],
                                   static_cast<unsigned>(given - 1 - (last - Index)),
                                   &std::get<last - Index>(*operands), err)) &&
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
