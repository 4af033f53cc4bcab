// SPDX-License-Identifier: MIT
// Plugins: a host of the expression language. Each plug-in adds words with the
// types they have; users combine them, and learn what they did wrong.
#include <loomkit/loomkit.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

void textPlugin(GRpnFunctionTable* words) {
  words->add("left", [](std::string_view text, unsigned count) { return text.substr(0, count); });
  words->add("repeat", [](const std::string& text, std::optional<int> times) {
    std::string result;
    for (int i = 0; i < times.value_or(2) && i < 1000; ++i) result += text;
    return result;
  });
}

void numberPlugin(GRpnFunctionTable* words) {
  words->add("clamp",
             [](double x, double low, double high) { return std::fmin(std::fmax(x, low), high); });
  words->add("choose", [](bool which, const GRpnValue& yes, const GRpnValue& no) {
    return which ? yes : no;
  });
  words->add("root", [](double x, GRpnErrMsg* err) -> std::optional<double> {
    if (x >= 0) return std::sqrt(x);
    err->append("no root of a negative number");
    return std::nullopt;
  });
  words->addExpression("square", "1 argc $0 $0 *");
}

void show(GRpnEval* eval, const char* expression) {
  loomkit::LastMessage reason(loomkit::LastMessage::Keep::quiet);
  GRpnValue result;
  if (!eval->eval(expression, &result))
    std::printf("%s\n", reason.text().c_str());
  else if (result.getType() == GRpnValue::Number)
    std::printf("%-24s %g\n", expression, result.getNumber());
  else if (result.getType() == GRpnValue::String)
    std::printf("%-24s %s\n", expression, result.getString()->c_str());
}

}  // namespace

int main() {
  const auto words = loomkit::make<GRpnFunctionTable>();
  textPlugin(words);
  numberPlugin(words);
  const auto params = loomkit::make<GRpnMapParamSet>();
  params->set("name", "loom");
  GRpnEval eval;
  eval.setExternFuncs(words);
  eval.setParamSet(params);
  for (const char* expression :
       {"$name 3 left", "$name repeat", "$name 3 repeat", "7 0 5 clamp square",
        "1 @warp @weft choose", "-1 root", "$name 1.5 left"})
    show(&eval, expression);
  return 0;
}
