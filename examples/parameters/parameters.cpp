// SPDX-License-Identifier: MIT
// Parameters: an expression's $names get their values from the host.
//
// First with GRpnMapParamSet, where the host sets values by name; then with a
// set of our own, which asks a C++ object for them only when an expression
// does.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <string>

namespace {

struct Part {
  std::string material;
  double width;
  double height;
  double depth;
};

// Shows the members of a Part to expressions. Objects of this kind are counted;
// the evaluator keeps a reference of its own.
class PartParams : public GRpnParamSet {
 public:
  explicit PartParams(const Part& shownPart) : part(shownPart) {}

  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override {
    // The name lies within the expression and is not terminated.
    const std::string wanted(name, length);
    if (wanted == "width") {
      value->setNumber(part.width);
    } else if (wanted == "height") {
      value->setNumber(part.height);
    } else if (wanted == "depth") {
      value->setNumber(part.depth);
    } else if (wanted == "material") {
      value->setString(loomkit::make<GRpnString>(part.material, false));
    } else {
      err->append("a part has no ");
      err->append(wanted);
      return false;
    }
    return true;
  }

 private:
  const Part& part;
};

void show(GRpnEval* eval, const char* expr) {
  GRpnValue result;
  if (!eval->eval(expr, &result)) return;  // the reason has gone to gOutput
  if (result.getType() == GRpnValue::Number) {
    std::printf("%-40s %g\n", expr, result.getNumber());
  } else if (result.getType() == GRpnValue::String) {
    std::printf("%-40s %s\n", expr, result.getString()->c_str());
  }
  std::fflush(stdout);
}

}  // namespace

int main() {
  GRpnEval eval;

  const auto prices = loomkit::make<GRpnMapParamSet>();
  eval.setParamSet(prices);
  prices->set("net", 100.0);
  prices->set("currency", "EUR");
  show(&eval, "$net ${rate:-0.19} 1 + *");
  prices->set("rate", 0.07);
  show(&eval, "$net ${rate:-0.19} 1 + *");
  show(&eval, "$net string \" \" + $currency +");

  const Part plate = {"oak", 40, 2.5, 30};
  eval.setParamSet(loomkit::make<PartParams>(plate));
  show(&eval, "$width $height * $depth *");
  show(&eval, "$material \" board\" +");
  eval.setExprName("plate");
  show(&eval, "$weight 2 *");
  return 0;
}
