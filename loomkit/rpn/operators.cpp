// SPDX-License-Identifier: MIT
#include "loomkit/rpn/operators.h"

#include <algorithm>
#include <cmath>

#include "loomkit/rpn/creator_ref.h"

namespace {

// The order of two numbers: -1, 0 or 1. They count as equal when they differ by
// less than 2^-48 of the larger one; there is no absolute tolerance. A NaN counts
// as the larger one, so that it is equal to nothing.
int compareNumbers(double a, double b) {
  const double larger = std::isnan(b) ? b : std::max(std::fabs(a), std::fabs(b));
  if (larger == 0) return 0;
  const double difference = (a - b) / larger;
  // A double has 53 bits, of which the last 6 are tolerated: the binary exponent
  // of such a difference is below 6 - 53.
  if (std::fabs(difference) < 0x1p-48) return 0;
  return a >= b ? 1 : -1;
}

bool isTrue(double number) { return number < 0.0 || number > 0.0; }

double truth(bool value) { return value ? 1.0 : 0.0; }

}  // namespace

template <typename Function>
inline const char* GRpnEval::Operators::numeric(GRpnEval& eval, const char* position,
                                                Function function) {
  if (!checkNumbers(eval, position)) return nullptr;
  GRpnValue* const top = eval.stack.data() + eval.stack.size() - 1;
  top[-1].payload.number = function(top[-1].payload.number, top->payload.number);
  eval.stack.pop_back();
  return position + 1;
}

template <typename Holds>
inline const char* GRpnEval::Operators::compare(GRpnEval& eval, const char* position,
                                                unsigned length, Holds holds) {
  int order = 0;
  if (checkStackType(eval, GRpnValue::String, GRpnValue::String)) {
    order = fromTop(eval, 1).getString()->compare(*fromTop(eval, 0).getString());
    drop(eval, 2);
  } else {
    double a = 0;
    double b = 0;
    if (!pop(eval, position, &a, &b)) return nullptr;
    order = compareNumbers(a, b);
  }
  eval.push(truth(holds(order)));
  return position + length;
}

template <typename Function>
inline const char* GRpnEval::Operators::bitwise(GRpnEval& eval, const char* position,
                                                Function function) {
  unsigned a = 0;
  unsigned b = 0;
  if (!pop(eval, position, &a, &b)) return nullptr;
  eval.push(static_cast<double>(function(a, b)));
  return position + 1;
}

const char* GRpnEval::Operators::add(GRpnEval& eval, const char* position) {
  if (checkStackType(eval, GRpnValue::String, GRpnValue::String))
    return concatenate(eval, position);
  return numeric(eval, position, [](double a, double b) { return a + b; });
}

const char* GRpnEval::Operators::concatenate(GRpnEval& eval, const char* position) {
  GRpnString* const left = fromTop(eval, 1).getString();
  const GRpnString& right = *fromTop(eval, 0).getString();
  if (left->tail.fields.refCount == 1) {  // nobody else can see it change
    left->append(right);
    left->tail.fields.isSymbol = false;
  } else {
    const loomkit::CreatorRef<GRpnString> joined(new GRpnString(false));
    joined->reserve(left->size() + right.size());
    joined->append(*left).append(right);
    fromTop(eval, 1).setString(joined.get());
  }
  drop(eval, 1);
  return position + 1;
}

const char* GRpnEval::Operators::subtract(GRpnEval& eval, const char* position) {
  return numeric(eval, position, [](double a, double b) { return a - b; });
}

const char* GRpnEval::Operators::multiply(GRpnEval& eval, const char* position) {
  return numeric(eval, position, [](double a, double b) { return a * b; });
}

const char* GRpnEval::Operators::divide(GRpnEval& eval, const char* position) {
  double a = 0;
  double b = 0;
  if (!pop(eval, position, &a, &b)) return nullptr;
  if (b == 0) return Errors::error(eval, position, "division by zero");
  eval.push(a / b);
  return position + 1;
}

const char* GRpnEval::Operators::modulo(GRpnEval& eval, const char* position) {
  double a = 0;
  double b = 0;
  if (!pop(eval, position, &a, &b)) return nullptr;
  if (b == 0) return Errors::error(eval, position, "division by zero");
  eval.push(std::fmod(a, b));
  return position + 1;
}

const char* GRpnEval::Operators::lessThan(GRpnEval& eval, const char* position) {
  return compare(eval, position, 1, [](int order) { return order < 0; });
}

const char* GRpnEval::Operators::lessThanOrEqual(GRpnEval& eval, const char* position) {
  return compare(eval, position, 2, [](int order) { return order <= 0; });
}

const char* GRpnEval::Operators::greaterThan(GRpnEval& eval, const char* position) {
  return compare(eval, position, 1, [](int order) { return order > 0; });
}

const char* GRpnEval::Operators::greaterThanOrEqual(GRpnEval& eval, const char* position) {
  return compare(eval, position, 2, [](int order) { return order >= 0; });
}

const char* GRpnEval::Operators::equal(GRpnEval& eval, const char* position) {
  return compare(eval, position, 2, [](int order) { return order == 0; });
}

const char* GRpnEval::Operators::notEqual(GRpnEval& eval, const char* position) {
  return compare(eval, position, 2, [](int order) { return order != 0; });
}

const char* GRpnEval::Operators::logNegate(GRpnEval& eval, const char* position) {
  double a = 0;
  if (!pop(eval, position, &a)) return nullptr;
  eval.push(truth(!isTrue(a)));
  return position + 1;
}

const char* GRpnEval::Operators::logAnd(GRpnEval& eval, const char* position) {
  const char* const next =
      numeric(eval, position, [](double a, double b) { return truth(isTrue(a) && isTrue(b)); });
  return next != nullptr ? position + 2 : nullptr;
}

const char* GRpnEval::Operators::logOr(GRpnEval& eval, const char* position) {
  const char* const next =
      numeric(eval, position, [](double a, double b) { return truth(isTrue(a) || isTrue(b)); });
  return next != nullptr ? position + 2 : nullptr;
}

const char* GRpnEval::Operators::bitAnd(GRpnEval& eval, const char* position) {
  return bitwise(eval, position, [](unsigned a, unsigned b) { return a & b; });
}

const char* GRpnEval::Operators::bitOr(GRpnEval& eval, const char* position) {
  return bitwise(eval, position, [](unsigned a, unsigned b) { return a | b; });
}

const char* GRpnEval::Operators::bitXor(GRpnEval& eval, const char* position) {
  return bitwise(eval, position, [](unsigned a, unsigned b) { return a ^ b; });
}

const char* GRpnEval::Operators::vectorIndex(GRpnEval& eval, const char* position) {
  GRpnVector* popped = nullptr;
  unsigned index = 0;
  if (!pop(eval, position, &popped, &index)) return nullptr;
  const loomkit::CreatorRef<GRpnVector> vector(popped);
  if (index >= vector->size()) return Errors::error(eval, position, "index out of range");
  eval.push((*vector)[index]);
  return position + 1;
}

const char* GRpnEval::Operators::vectorBuild(GRpnEval& eval, const char* position) {
  unsigned count = 0;
  if (!pop(eval, position, &count)) return nullptr;
  if (count > available(eval)) return Errors::error(eval, position, "vector size out of range");
  const loomkit::CreatorRef<GRpnVector> vector(new GRpnVector);
  vector->assign(eval.stack.end() - static_cast<std::ptrdiff_t>(count), eval.stack.end());
  drop(eval, count);
  eval.stack.emplace_back(vector.get());
  return position + 1;
}
