// SPDX-License-Identifier: MIT
#include "loomkit/rpn/operands.h"

#include "loomkit/rpn/creator_ref.h"

namespace {

// Whether the number is a whole one from 0 to 4294967295, which is then stored.
bool wholeNumber(double number, unsigned* result) {
  if (!(number >= 0.0 && number <= 4294967295.0)) return false;
  *result = static_cast<unsigned>(number);
  return static_cast<double>(*result) == number;
}

constexpr unsigned toTheEnd = ~0U;

}  // namespace

void GRpnEval::Operands::pushText(GRpnEval& eval, const std::string& text) {
  const loomkit::CreatorRef<GRpnString> string(new GRpnString(text, false));
  eval.stack.emplace_back(string.get());
}

// Checks.

bool GRpnEval::Operands::checkStackType(const GRpnEval& eval, GRpnValue::Type type) noexcept {
  return available(eval) >= 1 && eval.stack.back().getType() == type;
}

bool GRpnEval::Operands::checkStackType(const GRpnEval& eval, GRpnValue::Type below,
                                        GRpnValue::Type top) noexcept {
  return available(eval) >= 2 && eval.stack[eval.stack.size() - 2].getType() == below &&
         eval.stack.back().getType() == top;
}

// Numbers.

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, double* a) {
  if (!checkNumber(eval, position)) return false;
  *a = fromTop(eval, 0).getNumber();
  drop(eval, 1);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, double* a, double* b) {
  if (!checkNumbers(eval, position)) return false;
  *b = fromTop(eval, 0).getNumber();
  *a = fromTop(eval, 1).getNumber();
  drop(eval, 2);
  return true;
}

// Reads the value at `depth`, which is 0 or 1, as a whole number.
bool GRpnEval::Operands::readNatural(GRpnEval& eval, const char* position, std::size_t depth,
                                     unsigned* result) {
  const bool top = depth == 0;
  return checkType(
             eval, position, depth, GRpnValue::Number,
             top ? "stack[0] is not an integral number" : "stack[1] is not an integral number") &&
         (wholeNumber(fromTop(eval, depth).getNumber(), result) ||
          Errors::refuse(
              eval, position,
              top ? "stack[0] is not an natural number" : "stack[1] is not an natural number"));
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, unsigned* a) {
  if (!checkSize(eval, position, 1) || !readNatural(eval, position, 0, a)) return false;
  drop(eval, 1);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, unsigned* a, unsigned* b) {
  if (!checkSize(eval, position, 2) || !readNatural(eval, position, 0, b) ||
      !readNatural(eval, position, 1, a))
    return false;
  drop(eval, 2);
  return true;
}

// Strings.

// Reads a position or a length. NULL and -1 mean no position, or everything up to
// the end; a NaN counts as -1.
bool GRpnEval::Operands::getSizeType(const GRpnValue& value, unsigned* result) noexcept {
  if (value.getType() == GRpnValue::Void) {
    *result = toTheEnd;
    return true;
  }
  if (value.getType() != GRpnValue::Number) return false;
  const double number = value.getNumber();
  if (!(number < -1.0 || number > -1.0)) {
    *result = toTheEnd;
    return true;
  }
  return wholeNumber(number, result);
}

bool GRpnEval::Operands::readSize(GRpnEval& eval, const char* position, std::size_t depth,
                                  const char* message, unsigned* result) {
  return getSizeType(fromTop(eval, depth), result) || Errors::refuse(eval, position, message);
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, std::string* a) {
  if (!checkSize(eval, position, 1) ||
      !checkType(eval, position, 0, GRpnValue::String, "stack[0] is not a string"))
    return false;
  *a = *fromTop(eval, 0).getString();
  drop(eval, 1);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, std::string* a, std::string* b) {
  if (!checkSize(eval, position, 2) ||
      !checkType(eval, position, 0, GRpnValue::String, "stack[0] is not a string") ||
      !checkType(eval, position, 1, GRpnValue::String, "stack[1] is not a string"))
    return false;
  *b = *fromTop(eval, 0).getString();
  *a = *fromTop(eval, 1).getString();
  drop(eval, 2);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, std::string* s, unsigned* i,
                             unsigned* n) {
  if (!checkSize(eval, position, 3) ||
      !readSize(eval, position, 0, "stack[1] is not a natural number", n) ||
      !readSize(eval, position, 1, "stack[2] is not a natural number", i) ||
      !checkType(eval, position, 2, GRpnValue::String, "stack[0] is not a string"))
    return false;
  *s = *fromTop(eval, 2).getString();
  drop(eval, 3);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, std::string* a, unsigned* i,
                             std::string* b) {
  if (!checkSize(eval, position, 3) ||
      !checkType(eval, position, 0, GRpnValue::String, "stack[0] is not a string") ||
      !readSize(eval, position, 1, "stack[1] is not a natural number", i) ||
      !checkType(eval, position, 2, GRpnValue::String, "stack[2] is not a string"))
    return false;
  *b = *fromTop(eval, 0).getString();
  *a = *fromTop(eval, 2).getString();
  drop(eval, 3);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, std::string* a, unsigned* i,
                             unsigned* n, std::string* b) {
  if (!checkSize(eval, position, 4) ||
      !checkType(eval, position, 0, GRpnValue::String, "stack[0] is not a string") ||
      !readSize(eval, position, 1, "stack[1] is not a natural number", n) ||
      !readSize(eval, position, 2, "stack[2] is not a natural number", i) ||
      !checkType(eval, position, 3, GRpnValue::String, "stack[3] is not a string"))
    return false;
  *b = *fromTop(eval, 0).getString();
  *a = *fromTop(eval, 3).getString();
  drop(eval, 4);
  return true;
}

// Vectors.

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, GRpnVector** v) {
  if (!checkSize(eval, position, 1) ||
      !checkType(eval, position, 0, GRpnValue::Vector, "stack[0] is not a vector"))
    return false;
  GRpnVector* const vector = fromTop(eval, 0).getVector();
  *v = vector->tail.refCount == 1 ? nullptr : vector;
  drop(eval, 1);
  return true;
}

bool GRpnEval::Operands::pop(GRpnEval& eval, const char* position, GRpnVector** v, unsigned* i) {
  constexpr const char* notAnIndex = "stack[0] is not an integral number";
  if (!checkSize(eval, position, 2) || !checkType(eval, position, 0, GRpnValue::Number, notAnIndex))
    return false;
  if (!wholeNumber(fromTop(eval, 0).getNumber(), i))
    return Errors::refuse(eval, position, notAnIndex);
  if (!checkType(eval, position, 1, GRpnValue::Vector, "stack[1] is not a vector")) return false;
  *v = fromTop(eval, 1).getVector()->incRef();
  drop(eval, 2);
  return true;
}
