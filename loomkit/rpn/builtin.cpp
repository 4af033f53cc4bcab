// SPDX-License-Identifier: MIT
#include "loomkit/rpn/builtin.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/rpn/words.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"

namespace {

constexpr const char* outOfRange = "string index out of range";

double indexOrMinusOne(std::string::size_type index) {
  return index == std::string::npos ? -1.0 : static_cast<double>(index);
}

}  // namespace

/// The words that are more than a constant or a function of one number. Range
/// checks run after the operands have been taken. Every word that gives a text
/// pushes a new plain string.
struct GRpnEval::Builtin::Handlers : Operands {
  // Numbers. The tests are negated so that a NaN fails them.

  static bool f_acos(GRpnEval& eval, const char* position) {
    return arc(eval, position, [](double x) { return std::acos(x); });
  }

  static bool f_asin(GRpnEval& eval, const char* position) {
    return arc(eval, position, [](double x) { return std::asin(x); });
  }

  static bool f_log(GRpnEval& eval, const char* position) {
    return logarithm(eval, position, [](double x) { return std::log(x); });
  }

  static bool f_log10(GRpnEval& eval, const char* position) {
    return logarithm(eval, position, [](double x) { return std::log10(x); });
  }

  static bool f_sqrt(GRpnEval& eval, const char* position) {
    double x = 0;
    if (!pop(eval, position, &x)) return false;
    if (!(x >= 0)) return Errors::refuse(eval, position, "argument is less than zero");
    eval.push(std::sqrt(x));
    return true;
  }

  // ( y x -- angle )
  static bool f_atan2(GRpnEval& eval, const char* position) {
    double y = 0;
    double x = 0;
    if (!pop(eval, position, &y, &x)) return false;
    eval.push(std::atan2(y, x));
    return true;
  }

  static bool f_fmod(GRpnEval& eval, const char* position) {
    double x = 0;
    double y = 0;
    if (!pop(eval, position, &x, &y)) return false;
    if (y == 0) return Errors::refuse(eval, position, "division by zero");
    eval.push(std::fmod(x, y));
    return true;
  }

  static bool f_pow(GRpnEval& eval, const char* position) {
    double x = 0;
    double y = 0;
    if (!pop(eval, position, &x, &y)) return false;
    eval.push(std::pow(x, y));
    return true;
  }

  // ( x -- ipart fpart )
  static bool f_modf(GRpnEval& eval, const char* position) {
    double x = 0;
    if (!pop(eval, position, &x)) return false;
    double whole = 0;
    const double fraction = std::modf(x, &whole);
    eval.push(whole);
    eval.push(fraction);
    return true;
  }

  // The stack.

  static bool f_NULL(GRpnEval& eval, const char*) {
    eval.stack.emplace_back();
    return true;
  }

  static bool f_dup(GRpnEval& eval, const char* position) {
    return checkSize(eval, position, 1) && pushCopy(eval, 0);
  }

  // ( a b -- a b a )
  static bool f_dup2(GRpnEval& eval, const char* position) {
    return checkSize(eval, position, 2) && pushCopy(eval, 1);
  }

  // ( ... n -- ... v ): the value n places down.
  static bool f_dupx(GRpnEval& eval, const char* position) {
    unsigned n = 0;
    if (!pop(eval, position, &n)) return false;
    if (n == 0) return Errors::refuse(eval, position, "index must be non-zero");
    return checkSize(eval, position, n) && pushCopy(eval, n - 1);
  }

  static bool f_pop(GRpnEval& eval, const char* position) {
    if (!checkSize(eval, position, 1)) return false;
    drop(eval, 1);
    return true;
  }

  static bool f_swap(GRpnEval& eval, const char* position) {
    if (!checkSize(eval, position, 2)) return false;
    std::swap(fromTop(eval, 0), fromTop(eval, 1));
    return true;
  }

  // ( ... n -- ... ): exchanges the top with the value n places down.
  static bool f_swapx(GRpnEval& eval, const char* position) {
    unsigned n = 0;
    if (!pop(eval, position, &n)) return false;
    if (n < 2) return Errors::refuse(eval, position, "index must greater than one");
    if (!checkSize(eval, position, n)) return false;
    std::swap(fromTop(eval, 0), fromTop(eval, n - 1));
    return true;
  }

  // ( e1 ... en n -- ): takes n values from the caller's part of the stack, as
  // the arguments $0 ... of the running expression.
  static bool f_argc(GRpnEval& eval, const char* position) {
    EvalFrame& frame = *eval.frame;
    if (frame.argc != EvalFrame::noArgc)
      return Errors::refuse(eval, position, "there can't be more than one \"argc\" per function");
    if (available(eval) > 1)
      return Errors::refuse(eval, position, "local function stack not empty");
    unsigned count = 0;
    if (!pop(eval, position, &count)) return false;
    const EvalFrame* const caller = frame.previous;
    const std::size_t callers = caller != nullptr ? frame.stackBase - caller->stackBase : 0;
    if (count == 0)
      return Errors::refuse(eval, position, "the number of arguments must be greater than 0");
    if (count > callers)
      return Errors::refuse(eval, position, "too few arguments on local caller stack");
    frame.args.assign(eval.stack.end() - static_cast<std::ptrdiff_t>(count), eval.stack.end());
    drop(eval, count);
    frame.argc = count;
    frame.stackBase -= count;
    return true;
  }

  // Strings and vectors.

  static bool f_size(GRpnEval& eval, const char* position) {
    std::size_t size = 0;
    if (!takeSize(eval, position, &size)) return false;
    eval.push(static_cast<double>(size));
    return true;
  }

  static bool f_empty(GRpnEval& eval, const char* position) {
    std::size_t size = 0;
    if (!takeSize(eval, position, &size)) return false;
    eval.push(size == 0 ? 1.0 : 0.0);
    return true;
  }

  // ( a i b -- r )
  static bool f_insert(GRpnEval& eval, const char* position) {
    std::string text;
    std::string inserted;
    unsigned i = 0;
    if (!pop(eval, position, &text, &i, &inserted)) return false;
    if (i > text.size()) return Errors::refuse(eval, position, outOfRange);
    pushText(eval, text.insert(i, inserted));
    return true;
  }

  // ( s i n -- r )
  static bool f_erase(GRpnEval& eval, const char* position) {
    std::string text;
    unsigned i = 0;
    unsigned n = 0;
    if (!pop(eval, position, &text, &i, &n)) return false;
    if (i > text.size()) return Errors::refuse(eval, position, outOfRange);
    pushText(eval, text.erase(i, n));
    return true;
  }

  // ( a i n b -- r )
  static bool f_replace(GRpnEval& eval, const char* position) {
    std::string text;
    std::string replacement;
    unsigned i = 0;
    unsigned n = 0;
    if (!pop(eval, position, &text, &i, &n, &replacement)) return false;
    if (i > text.size()) return Errors::refuse(eval, position, outOfRange);
    pushText(eval, text.replace(i, n, replacement));
    return true;
  }

  // ( a b -- index )
  static bool f_find(GRpnEval& eval, const char* position) {
    std::string text;
    std::string wanted;
    if (!pop(eval, position, &text, &wanted)) return false;
    eval.push(indexOrMinusOne(text.find(wanted)));
    return true;
  }

  // ( a b -- index )
  static bool f_rfind(GRpnEval& eval, const char* position) {
    std::string text;
    std::string wanted;
    if (!pop(eval, position, &text, &wanted)) return false;
    eval.push(indexOrMinusOne(text.rfind(wanted)));
    return true;
  }

  // ( s i n -- r ), but ( s void -- s ): with NULL on top there are two operands
  // and not three.
  static bool f_substr(GRpnEval& eval, const char* position) {
    std::string text;
    if (checkStackType(eval, GRpnValue::Void)) {
      drop(eval, 1);
      if (!pop(eval, position, &text)) return false;
      pushText(eval, text);
      return true;
    }
    unsigned i = 0;
    unsigned n = 0;
    if (!pop(eval, position, &text, &i, &n)) return false;
    if (i > text.size()) return Errors::refuse(eval, position, outOfRange);
    pushText(eval, text.substr(i, n));
    return true;
  }

  // ( s -- x ): a number out of range gives an infinity or zero.
  static bool f_float(GRpnEval& eval, const char* position) {
    std::string text;
    if (!pop(eval, position, &text)) return false;
    const char* const begin = text.c_str();
    const char* end = begin;
    const double value = gParseCDouble(begin, &end);
    if (end == begin || loomkit::skipAsciiSpace(end) != begin + text.size())
      return Errors::refuse(eval, position, "can't convert string to float");
    eval.push(value);
    return true;
  }

  // ( x -- s ), ( s -- s ): a string stays as it is, and so does a symbol.
  static bool f_string(GRpnEval& eval, const char* position) {
    if (checkStackType(eval, GRpnValue::String)) return true;
    double number = 0;
    if (!pop(eval, position, &number)) return false;
    // This gives the same text as a stream in the classic locale with precision
    // 15, a dozen times faster.
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, number, std::chars_format::general, 15).ptr;
    pushText(eval, std::string(text, end));
    return true;
  }

 private:
  static bool arc(GRpnEval& eval, const char* position, Function function) {
    double x = 0;
    if (!pop(eval, position, &x)) return false;
    if (!(x >= -1 && x <= 1))
      return Errors::refuse(eval, position, "stack[0] out of range ([-1.0, +1.0])");
    eval.push(function(x));
    return true;
  }

  static bool logarithm(GRpnEval& eval, const char* position, Function function) {
    double x = 0;
    if (!pop(eval, position, &x)) return false;
    if (!(x > 0)) return Errors::refuse(eval, position, "argument is less than or equal to zero");
    eval.push(function(x));
    return true;
  }

  static bool pushCopy(GRpnEval& eval, std::size_t depth) {
    eval.push(GRpnValue(fromTop(eval, depth)));  // a copy first: pushing can move the stack
    return true;
  }

  // Takes the string or vector on top and gives its length.
  static bool takeSize(GRpnEval& eval, const char* position, std::size_t* size) {
    if (checkStackType(eval, GRpnValue::String)) {
      *size = fromTop(eval, 0).getString()->size();
      drop(eval, 1);
      return true;
    }
    GRpnVector* vector = nullptr;
    if (!pop(eval, position, &vector)) return false;
    // A vector that only the stack referred to has ended with the pop and counts
    // as empty: "1 2 2 ] size" is 0. Expressions in the field rely on it.
    *size = vector != nullptr ? vector->size() : 0;
    return true;
  }
};

struct GRpnEval::Builtin::Table {
  // The search relies on the order, which is bytewise, so that capitals come first.
  static constexpr Builtin words[] = {
      {"M_1_PI", 0x1.45f306dc9c883p-2},
      {"M_2PI", 0x1.921fb54442d18p+2},
      {"M_2_PI", 0x1.45f306dc9c883p-1},
      {"M_2_SQRTPI", 0x1.20dd750429b6dp+0},
      {"M_E", 0x1.5bf0a8b145769p+1},
      {"M_LN10", 0x1.26bb1bbb55516p+1},
      {"M_LN2", 0x1.62e42fefa39efp-1},
      {"M_LOG10E", 0x1.bcb7b1526e50ep-2},
      {"M_LOG2E", 0x1.71547652b82fep+0},
      {"M_PI", 0x1.921fb54442d18p+1},
      {"M_PI_2", 0x1.921fb54442d18p+0},
      {"M_PI_4", 0x1.921fb54442d18p-1},
      {"M_SQRT1_2", 0x1.6a09e667f3bcdp-1},
      {"M_SQRT2", 0x1.6a09e667f3bcdp+0},
      {"NULL", Handlers::f_NULL},
      {"acos", Handlers::f_acos},
      {"argc", Handlers::f_argc},
      {"asin", Handlers::f_asin},
      {"atan", [](double x) { return std::atan(x); }},
      {"atan2", Handlers::f_atan2},
      {"ceil", [](double x) { return std::ceil(x); }},
      {"cos", [](double x) { return std::cos(x); }},
      {"cosh", [](double x) { return std::cosh(x); }},
      {"dup", Handlers::f_dup},
      {"dup2", Handlers::f_dup2},
      {"dupx", Handlers::f_dupx},
      {"empty", Handlers::f_empty},
      {"erase", Handlers::f_erase},
      {"exp", [](double x) { return std::exp(x); }},
      {"fabs", [](double x) { return std::fabs(x); }},
      {"find", Handlers::f_find},
      {"float", Handlers::f_float},
      {"floor", [](double x) { return std::floor(x); }},
      {"fmod", Handlers::f_fmod},
      {"insert", Handlers::f_insert},
      {"log", Handlers::f_log},
      {"log10", Handlers::f_log10},
      {"modf", Handlers::f_modf},
      {"neg", [](double x) { return -x; }},
      {"pop", Handlers::f_pop},
      {"pow", Handlers::f_pow},
      {"replace", Handlers::f_replace},
      {"rfind", Handlers::f_rfind},
      {"sin", [](double x) { return std::sin(x); }},
      {"sinh", [](double x) { return std::sinh(x); }},
      {"size", Handlers::f_size},
      {"sqrt", Handlers::f_sqrt},
      {"string", Handlers::f_string},
      {"substr", Handlers::f_substr},
      {"swap", Handlers::f_swap},
      {"swapx", Handlers::f_swapx},
      {"tan", [](double x) { return std::tan(x); }},
      {"tanh", [](double x) { return std::tanh(x); }},
  };
  static_assert(std::size(words) == 53);
  static_assert(std::is_sorted(std::begin(words), std::end(words),
                               [](const Builtin& a, const Builtin& b) { return a.name < b.name; }));
};

// A binary search over the rows from `low` up to, not including, `high`.
const GRpnEval::Builtin* GRpnEval::Builtin::find(std::string_view name) noexcept {
  std::size_t low = 0;
  std::size_t high = std::size(Table::words);
  while (low < high) {
    const std::size_t middle = (low + high) / 2;
    const Builtin& row = Table::words[middle];
    // The first byte decides most steps and is cheaper than a whole comparison.
    int order =
        static_cast<unsigned char>(name.front()) - static_cast<unsigned char>(row.name.front());
    if (order == 0) order = name.compare(row.name);
    if (order == 0) return &row;
    if (order > 0)
      low = middle + 1;
    else
      high = middle;
  }
  return nullptr;
}

/// The names of the words, in the order of the table.
struct GRpnBuiltinNames {
  static std::vector<std::string> all() {
    std::vector<std::string> names;
    for (const GRpnEval::Builtin& word : GRpnEval::Builtin::Table::words)
      names.emplace_back(word.name);
    return names;
  }
};

std::vector<std::string> gRpnBuiltinWords() { return GRpnBuiltinNames::all(); }
