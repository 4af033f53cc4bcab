// SPDX-License-Identifier: MIT
// The evaluator beside a plain second one: random programs, damaged programs,
// and every short text over a small alphabet.
#include <gtest/gtest.h>

#include <random>

#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "loomkit/rpn/words.h"
#include "tests/rpn/model.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::Evaluator;
using loomkit::testing::RpnModel;

struct Host : Evaluator {
  Host() {
    GRpnMapParamSet* const params = new GRpnMapParamSet;
    params->set("p", 2.5);
    params->set("q", "text");
    eval.setParamSet(params);
    params->decRef();
    GRpnFunctionTable* const functions = new GRpnFunctionTable;
    functions->add("twice", [](double x) { return x * 2; });
    functions->addExpression("sub2", "2 argc $1 $0 -");
    functions->addExpression("three", "1 argc $0 $0 $0");
    eval.setExternFuncs(functions);
    functions->decRef();
  }
};

// Programs that mostly work: it keeps count of the types on the stack and picks
// tokens that fit, but now and then anything.
class Generator {
 public:
  explicit Generator(unsigned seed) : random(seed) {}

  std::string program() {
    types.clear();
    std::string text;
    const unsigned length = 1 + pick(14);
    for (unsigned i = 0; i < length; ++i) {
      text += fitting();
      if (pick(12) != 0) text += ' ';
    }
    if (pick(4) == 0) damage(text);
    return text;
  }

 private:
  unsigned pick(unsigned count) { return static_cast<unsigned>(random() % count); }
  template <std::size_t size>
  std::string any(const char* const (&list)[size]) {
    return list[pick(size)];
  }

  std::string number() {
    types += 'n';
    switch (pick(6)) {
      case 0:
        return std::to_string(pick(1000)) + "." + std::to_string(pick(1000));
      case 1:
        return "-" + std::to_string(pick(100));
      case 2:
        return any({"0x1F", "017", "08", "1e3", "1e-7", ".5", "5.", "+.25", "0XfF", "1e999", "0",
                    "4294967295", "4294967296", "123456789012", "1e-320"});
      default:
        return std::to_string(pick(10));
    }
  }

  std::string text() {
    types += 's';
    return any({"\"abc\"", "\"\"", "\"b\"", "@sym", "\"12.5\"", "\" 7 \"", R"("\x41\102")",
                R"("\n")", "\"abcabc\"", "$q", "\"}\"", "${u:-\"x\"}"});
  }

  bool endsIn(const char* suffix) const {
    const std::string wanted(suffix);
    return types.size() >= wanted.size() &&
           types.compare(types.size() - wanted.size(), wanted.size(), wanted) == 0;
  }

  std::string becomes(std::size_t taken, const char* left, const std::string& token) {
    types.resize(types.size() - taken);
    types += left;
    return token;
  }

  std::string fitting() {
    if (pick(15) == 0) return anything();
    for (int tries = 0; tries < 4; ++tries) {
      switch (pick(14)) {
        case 0:
        case 1:
          return number();
        case 2:
          return text();
        case 3:
        case 4:
          if (endsIn("nn"))
            return becomes(2, "n",
                           any({"+",  "-",  "*",  "/",     "%",   "<",    "<=",   ">", ">=", "==",
                                "!=", "&&", "||", "atan2", "pow", "fmod", "sub2", "&", "|",  "^"}));
          break;
        case 5:
          if (endsIn("n"))
            return becomes(
                1, "n",
                any({"sin", "cos", "tan", "atan", "exp", "fabs", "ceil", "floor", "neg", "sqrt",
                     "log", "log10", "asin", "acos", "sinh", "cosh", "tanh", "!", "twice"}));
          break;
        case 6:
          if (endsIn("ss"))
            return pick(2) != 0 ? becomes(2, "s", "+")
                                : becomes(2, "n", any({"find", "rfind", "<", "==", "!=", ">="}));
          break;
        case 7:
          if (endsIn("s")) return becomes(1, "n", any({"size", "empty", "float"}));
          break;
        case 8:
          if (endsIn("s"))
            return becomes(1, "s",
                           any({"1 1 substr", "0 -1 substr", "NULL substr", "1 NULL erase",
                                "0 \"x\" insert", "1 1 \"yy\" replace", "string"}));
          break;
        case 9:
          if (endsIn("n")) return becomes(1, "s", "string");
          break;
        case 10:
          if (types.size() >= 2) {
            std::swap(types[types.size() - 1], types[types.size() - 2]);
            return "swap";
          }
          break;
        case 11:
          if (!types.empty()) {
            types += types.back();
            return any({"dup", "1 dupx"});
          }
          break;
        case 12:
          if (types.size() >= 2) return becomes(2, "v", "2 ]");
          if (endsIn("v")) return becomes(1, "n", any({"size", "empty", "dup size swap pop"}));
          break;
        default:
          types += 'n';
          return any({"M_PI", "$p", "${p}", "${u:-3}", "${u:-${w:-1 2 +}}", "M_E", "M_SQRT2",
                      "${p:-oops}"});
      }
    }
    return number();
  }

  std::string anything() {
    static const std::vector<std::string> words = gRpnBuiltinWords();
    switch (pick(3)) {
      case 0:
        return words[pick(static_cast<unsigned>(words.size()))];
      case 1:
        return any({"]",
                    "[",
                    "&&",
                    "three",
                    "sub2",
                    "nosuch",
                    "$u",
                    "$0",
                    "${u:-}",
                    "${u:-1 2}",
                    "\n",
                    "${",
                    "${p",
                    "\"",
                    "@",
                    "}",
                    "{",
                    "(",
                    "=",
                    "1 argc",
                    "${u:-1 argc $0}",
                    "${u:-2 argc $1 $0}",
                    R"("\")",
                    R"("\q")",
                    R"("\777")",
                    R"("\xfe0")",
                    R"("\x")",
                    "0xFFFFFFFFF",
                    "NULL",
                    "0 ]",
                    "1 ] 0 [",
                    "modf",
                    "argc",
                    "\x80",
                    "|"});
      default:
        return std::string(1, static_cast<char>(' ' + pick(95)));
    }
  }

  void damage(std::string& text) {
    if (text.empty()) return;
    const std::size_t at = pick(static_cast<unsigned>(text.size()));
    switch (pick(3)) {
      case 0:
        text.erase(at, 1);
        break;
      case 1:
        text.insert(at, 1, static_cast<char>(' ' + pick(95)));
        break;
      default:
        text.resize(at);
    }
  }

  std::mt19937 random;
  std::string types;  // what the stack is thought to hold: n, s, v
};

TEST(RpnModel, RandomProgramsAgree) {
  constexpr unsigned seed = 20261120;
  constexpr int programs = 100000;
  Generator generator(seed);
  Host host;
  RpnModel model;
  int succeeded = 0;
  for (int i = 0; i < programs; ++i) {
    const std::string program = generator.program();
    const std::string expected = model.run(program);
    ASSERT_EQ(host.run(program.c_str()), expected)
        << "seed " << seed << ", program " << i << ": " << program;
    if (host.errors.empty()) ++succeeded;
  }
  // The generator is worth its name only if many programs run to their end.
  EXPECT_GT(succeeded, programs / 3);
}

TEST(RpnModel, EveryShortTextAgrees) {
  const std::string alphabet = "1 +a@\"$[]{}:-=.\\x0";
  Host host;
  RpnModel model;
  for (unsigned length = 1; length <= 4; ++length) {
    std::vector<std::size_t> digits(length, 0);
    for (bool more = true; more;) {
      std::string text;
      for (const std::size_t digit : digits) text += alphabet[digit];
      ASSERT_EQ(host.run(text.c_str()), model.run(text)) << text;
      more = false;
      for (std::size_t& digit : digits) {
        if (++digit < alphabet.size()) {
          more = true;
          break;
        }
        digit = 0;
      }
    }
  }
}

}  // namespace
