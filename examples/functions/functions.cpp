// SPDX-License-Identifier: MIT
// Functions: words that a host adds to the expression language.
//
// First with GRpnFunctionTable, which takes the number and the types of the
// operands from a lambda's parameters and checks them; then with a table of our
// own, whose words work on the stack as they like.
#include <loomkit/loomkit.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// Two words with a number of operands that only the stack tells: "n sum" adds
// the n values below, "average" those of a vector. All others are those of
// another table.
class Statistics : public GRpnExternFuncs {
 public:
  explicit Statistics(loomkit::Ref<GRpnExternFuncs> otherWords) : others(std::move(otherWords)) {}

  bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override {
    const std::string word(name, length);
    if (word == "sum") return sum(eval, err);
    if (word == "average") return average(eval, err);
    return others->call(name, length, eval, err);
  }

 private:
  static bool add(const std::vector<GRpnValue>& values, double* total, GRpnErrMsg* err) {
    *total = 0;
    for (const GRpnValue& value : values) {
      if (value.getType() != GRpnValue::Number) {
        err->append("cannot add a ");
        err->append(value.getTypeName());
        return false;
      }
      *total += value.getNumber();
    }
    return true;
  }

  static bool sum(GRpnEval* eval, GRpnErrMsg* err) {
    GRpnValue count;
    if (!eval->pop(&count, err)) return false;
    if (count.getType() != GRpnValue::Number || !(count.getNumber() >= 0) ||
        count.getNumber() > 1e6) {
      err->append("sum needs a count");
      return false;
    }
    std::vector<GRpnValue> values;
    if (!eval->pop(&values, static_cast<unsigned>(count.getNumber()), err)) return false;
    double total = 0;
    if (!add(values, &total, err)) return false;
    eval->push(total);
    return true;
  }

  static bool average(GRpnEval* eval, GRpnErrMsg* err) {
    GRpnValue value;
    if (!eval->pop(&value, err)) return false;
    if (value.getType() != GRpnValue::Vector || value.getVector()->empty()) {
      err->append("average needs a vector with elements");
      return false;
    }
    double total = 0;
    if (!add(*value.getVector(), &total, err)) return false;
    eval->push(total / static_cast<double>(value.getVector()->size()));
    return true;
  }

  loomkit::Ref<GRpnExternFuncs> others;
};

void show(GRpnEval* eval, const char* expr) {
  double result = 0;
  if (!eval->evalFloat(expr, &result)) return;  // the reason has gone to gOutput
  std::printf("%-40s %g\n", expr, result);
  std::fflush(stdout);
}

}  // namespace

int main() {
  const auto table = loomkit::make<GRpnFunctionTable>();
  table->add("hypot", [](double x, double y) { return std::hypot(x, y); });
  table->add("repeat", [](std::string_view text, std::optional<unsigned> times) {
    std::string result;
    for (unsigned i = 0; i < times.value_or(2) && i < 1000; ++i) result += text;
    return result;
  });
  // An expression can be a word, too: a local function with two arguments.
  table->addExpression("area", "2 argc $0 $1 *");

  GRpnEval eval;
  eval.setExternFuncs(loomkit::make<Statistics>(table));

  show(&eval, "3 4 hypot");
  show(&eval, "\"ab\" 3 repeat size");
  show(&eval, "\"ab\" repeat size");
  show(&eval, "\"ab\" -1 repeat size");
  show(&eval, "3 4 area 2 *");
  show(&eval, "1 2 3 4 4 sum");
  show(&eval, "1 2 3 4 4 ] average");
  show(&eval, "3 \"four\" hypot");
  show(&eval, "1 \"two\" 2 sum");
  return 0;
}
