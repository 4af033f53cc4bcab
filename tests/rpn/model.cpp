// SPDX-License-Identifier: MIT
#include "tests/rpn/model.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "loomkit/text/number.h"

namespace loomkit::testing {
namespace {

constexpr auto none = std::string::npos;

bool digit(char c) { return c >= '0' && c <= '9'; }
bool letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

std::string show(const ModelValue& value) {
  if (value.kind == ModelValue::none) return "void";
  if (value.kind == ModelValue::string) return value.symbol ? "@" + value.s : '"' + value.s + '"';
  if (value.kind == ModelValue::number) {
    if (std::isnan(value.n)) return "nan";
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value.n);
    return text;
  }
  std::string text = "[";
  for (const ModelValue& element : *value.v) text += (text.size() > 1 ? " " : "") + show(element);
  return text + "]";
}

bool whole(double x) { return x >= 0 && x <= 4294967295.0 && std::floor(x) == x; }

int compare(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return -1;
  const double m = std::fmax(std::fabs(a), std::fabs(b));
  if (m == 0) return 0;
  const double d = (a - b) / m;
  if (d == 0) return 0;
  int exponent = 0;
  if (std::isfinite(d)) {
    std::frexp(d, &exponent);
    if (exponent < 6 - 53) return 0;
  }
  return a >= b ? 1 : -1;
}

bool compares(const std::string& op, int r) {
  if (op == "<") return r < 0;
  if (op == "<=") return r <= 0;
  if (op == ">") return r > 0;
  if (op == ">=") return r >= 0;
  if (op == "==") return r == 0;
  return r != 0;
}

bool truth(double x) { return x < 0 || x > 0; }

}  // namespace

void RpnModel::fail(std::size_t pos, const std::string& message) {
  const std::string& text = frame().text;
  errors.push_back("rpn error: " + message + ":\n" + text.substr(0, pos) + " >!< " +
                   text.substr(pos));
  throw Failed();
}

std::string RpnModel::run(const std::string& expr) {
  errors.clear();
  stack.clear();
  frames.clear();
  std::string text;
  try {
    evaluate(expr);
  } catch (const Failed&) {
    for (const std::string& error : errors) text += (text.empty() ? "" : "\n") + error;
    return text;
  }
  for (const ModelValue& value : stack) text += (text.empty() ? "" : " ") + show(value);
  return text;
}

void RpnModel::evaluate(const std::string& text) {
  frames.push_back({text, stack.size(), std::nullopt, {}});
  try {
    std::size_t p = 0;
    while (p < frame().text.size()) p = token(p);
  } catch (...) {
    frames.pop_back();
    throw;
  }
  frames.pop_back();
}

std::size_t RpnModel::token(std::size_t p) {
  const std::string& text = frame().text;
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  const char c = text[p];
  const char n = at(p + 1);
  if (c == ' ' || c == '\t') return p + 1;
  if (digit(c) || c == '.' || ((c == '+' || c == '-') && (digit(n) || n == '.')))
    return numberToken(p);
  if (c == '"') return stringToken(p);
  if (c == '$') return parameterToken(p);
  if (letter(c)) return wordToken(p);
  if (c == '@') {
    if (!letter(n)) fail(p + 1, "invalid symbol");
    std::size_t end = p + 1;
    while (letter(at(end)) || digit(at(end))) ++end;
    push(text.substr(p + 1, end - p - 1), true);
    return end;
  }
  for (const char* op : {"!=", "&&", "||", "<=", ">=", "==", "!", "%", "&", "*", "+", "-", "/", "<",
                         ">", "^", "|", "[", "]"}) {
    const std::string name(op);
    if (text.compare(p, name.size(), name) != 0) continue;
    binary(name, p);
    return p + name.size();
  }
  fail(p, "syntax error");
}

std::size_t RpnModel::numberToken(std::size_t p) {
  const std::string rest = frame().text.substr(p);
  const char* const begin = rest.c_str();
  char* end = nullptr;
  double value = 0;
  bool overflow = false;
  const auto convert = [&](int base) {
    const unsigned long long wide = std::strtoull(begin, &end, base);
    overflow = wide > 0xFFFFFFFFULL;
    value = overflow ? 4294967295.0 : static_cast<double>(wide);
  };
  bool done = false;
  if (rest.compare(0, 2, "0x") == 0 || (rest.size() > 1 && rest[1] == 'X')) {
    convert(16);
    done = true;
  } else if (rest[0] == '0' && rest.size() > 1 && digit(rest[1])) {
    convert(8);
    done = *end == '\0' || (*end >= '\t' && *end <= '\r') || *end == ' ';
  }
  if (!done) {
    overflow = false;
    const char* stop = nullptr;
    value = gParseCDouble(begin, &stop);
    end = const_cast<char*>(stop);
  }
  if (end == begin) fail(p, "syntax error");
  if (overflow) fail(p, "numeric overflow");
  push(value);
  return p + static_cast<std::size_t>(end - begin);
}

std::size_t RpnModel::stringToken(std::size_t p) {
  const std::string& text = frame().text;
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  const auto hex = [](char c) {
    return std::string("0123456789abcdef")
        .find(c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c);
  };
  static const std::map<char, char> simple = {{'"', '"'}, {'\'', '\''}, {'?', '?'}, {'\\', '\\'},
                                              {'a', 7},   {'b', 8},     {'f', 12},  {'n', 10},
                                              {'r', 13},  {'t', 9},     {'v', 11}};
  std::string result;
  std::size_t i = p + 1;
  for (;;) {
    const char c = at(i);
    ++i;
    if (c == '"') break;
    if (c == '\0') fail(i - 1, "unexpected end of expression");
    if (c != '\\') {
      result += c;
      continue;
    }
    const char e = at(i);
    if (simple.count(e) != 0) {
      result += simple.at(e);  // and e is read once more
    } else if (e >= '0' && e <= '7') {
      unsigned value = 0;
      for (int digits = 0; digits < 3 && at(i) >= '0' && at(i) <= '7'; ++digits, ++i)
        value = value * 8 + static_cast<unsigned>(at(i) - '0');
      if (value > 255) fail(i, "octal character escape out of range");
      result += static_cast<char>(value);
    } else if (e == 'x') {
      const std::size_t first = ++i;
      std::size_t value = 0;
      for (; value < 255 && at(i) != '\0' && hex(at(i)) != none; ++i)
        value = value * 16 + hex(at(i));
      if (i == first) fail(i, "invalid hexadeximal character escape");
      if (value > 255) fail(i, "hexadeximal character escape out of range");
      result += static_cast<char>(value);
    } else {
      fail(i - 1, "invalid character escape");
    }
  }
  push(result);
  return i;
}

std::size_t RpnModel::parameterToken(std::size_t p) {
  const std::string text = frame().text;
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  if (digit(at(p + 1))) {
    std::size_t end = p + 1;
    while (digit(at(end))) ++end;
    const double index = std::strtod(text.substr(p + 1, end - p - 1).c_str(), nullptr);
    if (!frame().argc) fail(p, "function has no argument(s)");
    if (index >= static_cast<double>(*frame().argc)) fail(p, "argument index out of range");
    stack.push_back(frame().args[static_cast<std::size_t>(index)]);
    return end;
  }
  const bool braces = at(p + 1) == '{';
  const std::size_t begin = p + (braces ? 2 : 1);
  if (!letter(at(begin))) fail(p, "invalid parameter name");
  std::size_t end = begin;
  while (letter(at(end)) || digit(at(end))) ++end;
  const std::string name = text.substr(begin, end - begin);
  std::optional<std::string> fallback;
  std::size_t next = end;
  if (braces) {
    if (at(end) == '}') {
      next = end + 1;
    } else if (text.compare(end, 2, ":-") == 0) {
      std::size_t i = end + 2;
      int count = 1;
      for (bool inString = false; i < text.size(); ++i) {
        if (inString) {
          std::size_t slashes = 0;
          while (text[i - 1 - slashes] == '\\') ++slashes;
          if (text[i] == '"' && slashes % 2 == 0) inString = false;
        } else if (text[i] == '"') {
          inString = true;
        } else if (text[i] == '{') {
          ++count;
        } else if (text[i] == '}' && --count == 0) {
          break;
        }
      }
      if (i >= text.size()) fail(p, "parameter syntax error");
      fallback = text.substr(end + 2, i - end - 2);
      next = i + 1;
    } else {
      fail(p, "parameter syntax error");
    }
  }
  if (name == "p") {
    push(2.5);
  } else if (name == "q") {
    push("text");
  } else if (fallback) {
    defaultValue(*fallback);
  } else {
    fail(p, "unknown parameter");
  }
  return next;
}

void RpnModel::defaultValue(const std::string& text) {
  const std::size_t before = stack.size();
  evaluate(text);
  if (stack.size() == before + 1) return;
  errors.push_back(
      std::string("rpn error: ") +
      (stack.size() == before ? "stack underflow (no result)" : "too many result values on stack") +
      "\nin: " + text);
  throw Failed();
}

std::size_t RpnModel::wordToken(std::size_t p) {
  const std::string& text = frame().text;
  std::size_t end = p;
  while (end < text.size() && (letter(text[end]) || digit(text[end]))) ++end;
  if (frames.size() > 100) fail(p, "possibly infinite recursion (aborted)");
  word(text.substr(p, end - p), p, end);
  return end;
}

void RpnModel::need(std::size_t pos, std::size_t count) {
  if (here() < count) fail(pos, "stack underflow");
}

ModelValue RpnModel::take() {
  ModelValue value = std::move(stack.back());
  stack.pop_back();
  return value;
}

void RpnModel::push(double x) {
  ModelValue value;
  value.kind = ModelValue::number;
  value.n = x;
  stack.push_back(value);
}

void RpnModel::push(const std::string& x, bool symbol) {
  ModelValue value;
  value.kind = ModelValue::string;
  value.s = x;
  value.symbol = symbol;
  stack.push_back(value);
}

void RpnModel::requireNumber(std::size_t pos, std::size_t n, const char* what) {
  if (top(n).kind != ModelValue::number)
    fail(pos, "stack[" + std::to_string(n) + "] is not " + what);
}

void RpnModel::requireString(std::size_t pos, std::size_t n, std::size_t named) {
  if (top(n).kind != ModelValue::string)
    fail(pos, "stack[" + std::to_string(named) + "] is not a string");
}

double RpnModel::takeNumber(std::size_t pos) {
  need(pos, 1);
  requireNumber(pos, 0, "a number");
  return take().n;
}

unsigned RpnModel::takeCount(std::size_t pos) {
  need(pos, 1);
  requireNumber(pos, 0, "an integral number");
  if (!whole(top(0).n)) fail(pos, "stack[0] is not an natural number");
  return static_cast<unsigned>(take().n);
}

std::size_t RpnModel::sizeOperand(std::size_t pos, std::size_t n, std::size_t named) {
  const ModelValue& value = top(n);
  if (value.kind == ModelValue::none) return none;
  if (value.kind == ModelValue::number && (std::isnan(value.n) || value.n == -1)) return none;
  if (value.kind != ModelValue::number || !whole(value.n))
    fail(pos, "stack[" + std::to_string(named) + "] is not a natural number");
  return static_cast<std::size_t>(value.n);
}

void RpnModel::binary(const std::string& op, std::size_t p) {
  if (op == "!") return push(truth(takeNumber(p)) ? 0 : 1);
  if (op == "]") {
    const unsigned count = takeCount(p);
    if (count > here()) fail(p, "vector size out of range");
    ModelValue value;
    value.kind = ModelValue::vector;
    value.v = std::make_shared<std::vector<ModelValue>>(
        stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
    stack.erase(stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
    stack.push_back(value);
    return;
  }
  need(p, 2);
  if (op == "[") {
    if (top(0).kind != ModelValue::number || !whole(top(0).n))
      fail(p, "stack[0] is not an integral number");
    if (top(1).kind != ModelValue::vector) fail(p, "stack[1] is not a vector");
    const double index = take().n;
    const ModelValue vector = take();
    if (index >= static_cast<double>(vector.v->size())) fail(p, "index out of range");
    stack.push_back((*vector.v)[static_cast<std::size_t>(index)]);
    return;
  }
  if (op == "&" || op == "|" || op == "^") {
    for (std::size_t n : {0U, 1U}) {
      requireNumber(p, n, "an integral number");
      if (!whole(top(n).n)) fail(p, "stack[" + std::to_string(n) + "] is not an natural number");
    }
    const auto b = static_cast<std::uint32_t>(take().n);
    const auto a = static_cast<std::uint32_t>(take().n);
    return push(static_cast<double>(op == "&" ? a & b : op == "|" ? a | b : a ^ b));
  }
  const bool comparison = op[0] == '<' || op[0] == '>' || op == "==" || op == "!=";
  if (top(0).kind == ModelValue::string && top(1).kind == ModelValue::string &&
      (comparison || op == "+")) {
    const std::string b = take().s;
    const std::string a = take().s;
    if (op == "+") return push(a + b);
    return push(compares(op, a.compare(b)) ? 1 : 0);
  }
  requireNumber(p, 0, "a number");
  requireNumber(p, 1, "a number");
  const double b = take().n;
  const double a = take().n;
  if (comparison) return push(compares(op, compare(a, b)) ? 1 : 0);
  if (op == "&&") return push(truth(a) && truth(b) ? 1 : 0);
  if (op == "||") return push(truth(a) || truth(b) ? 1 : 0);
  if ((op == "/" || op == "%") && b == 0) fail(p, "division by zero");
  push(op == "+"   ? a + b
       : op == "-" ? a - b
       : op == "*" ? a * b
       : op == "/" ? a / b
                   : std::fmod(a, b));
}

void RpnModel::word(const std::string& name, std::size_t begin, std::size_t end) {
  if (numberWord(name, end) || stackWord(name, end) || stringWord(name, end)) return;
  foreign(name, begin, end);
}

bool RpnModel::numberWord(const std::string& name, std::size_t pos) {
  static const std::map<std::string, double> constants = {
      {"M_1_PI", 0.3183098861837907},    {"M_2PI", 6.283185307179586},
      {"M_2_PI", 0.6366197723675814},    {"M_2_SQRTPI", 1.1283791670955126},
      {"M_E", 2.718281828459045},        {"M_LN10", 2.302585092994046},
      {"M_LN2", 0.6931471805599453},     {"M_LOG10E", 0.4342944819032518},
      {"M_LOG2E", 1.4426950408889634},   {"M_PI", 3.141592653589793},
      {"M_PI_2", 1.5707963267948966},    {"M_PI_4", 0.7853981633974483},
      {"M_SQRT1_2", 0.7071067811865476}, {"M_SQRT2", 1.4142135623730951}};
  static const std::map<std::string, double (*)(double)> unary = {
      {"atan", std::atan}, {"ceil", std::ceil}, {"cos", std::cos},     {"cosh", std::cosh},
      {"exp", std::exp},   {"fabs", std::fabs}, {"floor", std::floor}, {"sin", std::sin},
      {"sinh", std::sinh}, {"tan", std::tan},   {"tanh", std::tanh},   {"acos", std::acos},
      {"asin", std::asin}, {"log", std::log},   {"log10", std::log10}, {"sqrt", std::sqrt}};
  if (constants.count(name) != 0) return push(constants.at(name)), true;
  if (unary.count(name) != 0) {
    const double x = takeNumber(pos);
    if ((name == "acos" || name == "asin") && !(x >= -1 && x <= 1))
      fail(pos, "stack[0] out of range ([-1.0, +1.0])");
    if (name.substr(0, 3) == "log" && !(x > 0)) fail(pos, "argument is less than or equal to zero");
    if (name == "sqrt" && !(x >= 0)) fail(pos, "argument is less than zero");
    return push(unary.at(name)(x)), true;
  }
  if (name == "neg") return push(-takeNumber(pos)), true;
  if (name == "modf") {
    double part = 0;
    const double fraction = std::modf(takeNumber(pos), &part);
    push(part);
    return push(fraction), true;
  }
  if (name == "atan2" || name == "fmod" || name == "pow") {
    need(pos, 2);
    requireNumber(pos, 0, "a number");
    requireNumber(pos, 1, "a number");
    const double b = take().n;
    const double a = take().n;
    if (name == "fmod" && b == 0) fail(pos, "division by zero");
    return push(name == "atan2" ? std::atan2(a, b)
                : name == "pow" ? std::pow(a, b)
                                : std::fmod(a, b)),
           true;
  }
  return false;
}

bool RpnModel::stackWord(const std::string& name, std::size_t pos) {
  if (name == "NULL") return stack.emplace_back(), true;
  if (name == "dup" || name == "dup2") {
    const std::size_t n = name == "dup" ? 1 : 2;
    need(pos, n);
    const ModelValue copy = top(n - 1);
    return stack.push_back(copy), true;
  }
  if (name == "dupx") {
    const unsigned n = takeCount(pos);
    if (n == 0) fail(pos, "index must be non-zero");
    need(pos, n);
    const ModelValue copy = top(n - 1);
    return stack.push_back(copy), true;
  }
  if (name == "pop") return need(pos, 1), stack.pop_back(), true;
  if (name == "swap") return need(pos, 2), std::swap(top(0), top(1)), true;
  if (name == "swapx") {
    const unsigned n = takeCount(pos);
    if (n < 2) fail(pos, "index must greater than one");
    need(pos, n);
    return std::swap(top(0), top(n - 1)), true;
  }
  if (name == "argc") return argcWord(pos), true;
  return false;
}

void RpnModel::argcWord(std::size_t pos) {
  if (frame().argc) fail(pos, "there can't be more than one \"argc\" per function");
  if (here() > 1) fail(pos, "local function stack not empty");
  const unsigned n = takeCount(pos);
  const std::size_t callers = frames.size() > 1 ? frame().base - frames[frames.size() - 2].base : 0;
  if (n == 0) fail(pos, "the number of arguments must be greater than 0");
  if (n > callers) fail(pos, "too few arguments on local caller stack");
  frame().args.assign(stack.end() - static_cast<std::ptrdiff_t>(n), stack.end());
  stack.erase(stack.end() - static_cast<std::ptrdiff_t>(n), stack.end());
  frame().argc = n;
  frame().base -= n;
}

bool RpnModel::stringWord(const std::string& name, std::size_t pos) {
  if (name == "size" || name == "empty") {
    need(pos, 1);
    if (top(0).kind != ModelValue::string && top(0).kind != ModelValue::vector)
      fail(pos, "stack[0] is not a vector");
    const ModelValue value = take();
    std::size_t count = value.s.size();
    if (value.kind == ModelValue::vector) count = value.v.use_count() == 1 ? 0 : value.v->size();
    return push(name == "size" ? static_cast<double>(count) : count == 0 ? 1 : 0), true;
  }
  if (name == "find" || name == "rfind") {
    need(pos, 2);
    requireString(pos, 0, 0);
    requireString(pos, 1, 1);
    const std::string b = take().s;
    const std::string a = take().s;
    const std::size_t index = name == "find" ? a.find(b) : a.rfind(b);
    return push(index == none ? -1.0 : static_cast<double>(index)), true;
  }
  if (name == "insert" || name == "replace") {
    const bool inserts = name == "insert";
    need(pos, inserts ? 3 : 4);
    requireString(pos, 0, 0);
    const std::size_t n = inserts ? 0 : sizeOperand(pos, 1, 1);
    const std::size_t i = sizeOperand(pos, inserts ? 1 : 2, inserts ? 1 : 2);
    requireString(pos, inserts ? 2 : 3, inserts ? 2 : 3);
    const std::string b = take().s;
    stack.pop_back();
    if (!inserts) stack.pop_back();
    std::string a = take().s;
    if (i > a.size()) fail(pos, "string index out of range");
    return push(a.replace(i, n, b)), true;
  }
  if (name == "substr" && here() > 0 && top(0).kind == ModelValue::none) {
    stack.pop_back();
    need(pos, 1);
    requireString(pos, 0, 0);
    return push(take().s), true;
  }
  if (name == "substr" || name == "erase") {
    need(pos, 3);
    const std::size_t n = sizeOperand(pos, 0, 1);
    const std::size_t i = sizeOperand(pos, 1, 2);
    requireString(pos, 2, 0);
    stack.pop_back();
    stack.pop_back();
    std::string s = take().s;
    if (i > s.size()) fail(pos, "string index out of range");
    return push(name == "erase" ? s.erase(i, n) : s.substr(i, n)), true;
  }
  if (name == "float") {
    need(pos, 1);
    requireString(pos, 0, 0);
    const std::string s = take().s;
    const char* end = nullptr;
    const double value = gParseCDouble(s.c_str(), &end);
    const std::size_t used = static_cast<std::size_t>(end - s.c_str());
    if (used == 0 || s.find_first_not_of(" \t\n\v\f\r", used) != none)
      fail(pos, "can't convert string to float");
    return push(value), true;
  }
  if (name == "string") {
    if (here() > 0 && top(0).kind == ModelValue::string) return true;
    std::ostringstream out;
    out.precision(15);
    out << takeNumber(pos);
    return push(out.str()), true;
  }
  return false;
}

void RpnModel::foreign(const std::string& name, std::size_t, std::size_t end) {
  const std::map<std::string, std::string> local = {{"sub2", "2 argc $1 $0 -"},
                                                    {"three", "1 argc $0 $0 $0"}};
  if (name == "twice") {
    if (here() < 1) fail(end, "stack underflow");
    const ModelValue value = take();
    if (value.kind != ModelValue::number) fail(end, "stack[0] is not a number");
    return push(value.n * 2);
  }
  if (local.count(name) == 0) fail(end, "unknown function");
  try {
    evaluate(local.at(name));
  } catch (const Failed&) {
    fail(end, "error in local function \"" + name + "\"");
  }
}

}  // namespace loomkit::testing
