// SPDX-License-Identifier: MIT
// The operators. Each takes the position of its first character and returns the
// position behind it, or null after a report.
#include <algorithm>
#include <cmath>
#include <string>

#include "loomkit/rpn/eval_frame.h"

namespace {

// -1, 0 or 1. Two numbers count as equal when they differ by less than 2^-48 of
// the larger one; there is no absolute tolerance. An operand that is no number
// makes the larger one no number either, and so is never equal.
int compareNumbers(double a, double b) {
  const double larger = std::isnan(b) ? b : std::max(std::fabs(a), std::fabs(b));
  if (larger == 0) return 0;
  const double difference = (a - b) / larger;
  // The binary exponent of the difference is below 6 tolerance bits less the 53
  // bits of a double.
  if (std::fabs(difference) < 0x1p-48) return 0;
  return a >= b ? 1 : -1;
}

bool isTrue(double number) { return number < 0.0 || number > 0.0; }

double truth(bool value) { return value ? 1.0 : 0.0; }

}  // namespace

// ( a b -- function(a, b) ) on numbers.
template <typename Function>
inline const char* GRpnEval::numeric(const char* pos, Function function) {
  if (!checkNumbers(pos)) return nullptr;
  GRpnValue* const top = stack.data() + stack.size() - 1;
  top[-1].payload.number = function(top[-1].payload.number, top->payload.number);
  stack.pop_back();
  return pos + 1;
}

// ( a b -- 1.0 or 0.0 ) on two strings or two numbers: `holds` judges their
// order, which is below, at or above 0.
template <typename Holds>
inline const char* GRpnEval::compare(const char* pos, unsigned length, Holds holds) {
  int order = 0;
  if (checkStackType(GRpnValue::String, GRpnValue::String)) {
    order = fromTop(1).getString()->compare(*fromTop(0).getString());
    drop(2);
  } else {
    double a = 0;
    double b = 0;
    if (!pop(pos, &a, &b)) return nullptr;
    order = compareNumbers(a, b);
  }
  push(truth(holds(order)));
  return pos + length;
}

// ( a b -- function(a, b) ) on whole numbers of 32 bits.
template <typename Function>
inline const char* GRpnEval::bitwise(const char* pos, Function function) {
  unsigned a = 0;
  unsigned b = 0;
  if (!pop(pos, &a, &b)) return nullptr;
  push(static_cast<double>(function(a, b)));
  return pos + 1;
}

const char* GRpnEval::add(const char* pos) {
  if (checkStackType(GRpnValue::String, GRpnValue::String)) return concatenate(pos);
  return numeric(pos, [](double a, double b) { return a + b; });
}

const char* GRpnEval::concatenate(const char* pos) {
  GRpnString* const left = fromTop(1).getString();
  const GRpnString& right = *fromTop(0).getString();
  if (left->tail.fields.refCount == 1) {  // nobody else can see it change
    left->append(right);
    left->tail.fields.isSymbol = false;
  } else {
    const loomkit::CreatorRef<GRpnString> joined(new GRpnString(false));
    joined->reserve(left->size() + right.size());
    joined->append(*left).append(right);
    fromTop(1).setString(joined.get());
  }
  drop(1);
  return pos + 1;
}

const char* GRpnEval::subtract(const char* pos) {
  return numeric(pos, [](double a, double b) { return a - b; });
}

const char* GRpnEval::multiply(const char* pos) {
  return numeric(pos, [](double a, double b) { return a * b; });
}

const char* GRpnEval::divide(const char* pos) {
  double a = 0;
  double b = 0;
  if (!pop(pos, &a, &b)) return nullptr;
  if (b == 0) return error(pos, "division by zero");
  push(a / b);
  return pos + 1;
}

const char* GRpnEval::modulo(const char* pos) {
  double a = 0;
  double b = 0;
  if (!pop(pos, &a, &b)) return nullptr;
  if (b == 0) return error(pos, "division by zero");
  push(std::fmod(a, b));
  return pos + 1;
}

const char* GRpnEval::lessThan(const char* pos) {
  return compare(pos, 1, [](int order) { return order < 0; });
}

const char* GRpnEval::lessThanOrEqual(const char* pos) {
  return compare(pos, 2, [](int order) { return order <= 0; });
}

const char* GRpnEval::greaterThan(const char* pos) {
  return compare(pos, 1, [](int order) { return order > 0; });
}

const char* GRpnEval::greaterThanOrEqual(const char* pos) {
  return compare(pos, 2, [](int order) { return order >= 0; });
}

const char* GRpnEval::equal(const char* pos) {
  return compare(pos, 2, [](int order) { return order == 0; });
}

const char* GRpnEval::notEqual(const char* pos) {
  return compare(pos, 2, [](int order) { return order != 0; });
}

const char* GRpnEval::logNegate(const char* pos) {
  double a = 0;
  if (!pop(pos, &a)) return nullptr;
  push(truth(!isTrue(a)));
  return pos + 1;
}

const char* GRpnEval::logAnd(const char* pos) {
  const char* const next =
      numeric(pos, [](double a, double b) { return truth(isTrue(a) && isTrue(b)); });
  return next != nullptr ? pos + 2 : nullptr;
}

const char* GRpnEval::logOr(const char* pos) {
  const char* const next =
      numeric(pos, [](double a, double b) { return truth(isTrue(a) || isTrue(b)); });
  return next != nullptr ? pos + 2 : nullptr;
}

const char* GRpnEval::bitAnd(const char* pos) {
  return bitwise(pos, [](unsigned a, unsigned b) { return a & b; });
}

const char* GRpnEval::bitOr(const char* pos) {
  return bitwise(pos, [](unsigned a, unsigned b) { return a | b; });
}

const char* GRpnEval::bitXor(const char* pos) {
  return bitwise(pos, [](unsigned a, unsigned b) { return a ^ b; });
}

// ( v i -- element )
const char* GRpnEval::vectorIndex(const char* pos) {
  GRpnVector* popped = nullptr;
  unsigned index = 0;
  if (!pop(pos, &popped, &index)) return nullptr;
  const loomkit::CreatorRef<GRpnVector> vector(popped);
  if (index >= vector->size()) return error(pos, "index out of range");
  push((*vector.get())[index]);
  return pos + 1;
}

// ( e1 ... en n -- v )
const char* GRpnEval::vectorBuild(const char* pos) {
  unsigned count = 0;
  if (!pop(pos, &count)) return nullptr;
  if (count > available()) return error(pos, "vector size out of range");
  const loomkit::CreatorRef<GRpnVector> vector(new GRpnVector);
  vector->assign(stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
  drop(count);
  stack.emplace_back(vector.get());
  return pos + 1;
}
