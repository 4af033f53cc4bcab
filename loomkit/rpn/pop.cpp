// SPDX-License-Identifier: MIT
// Operands: the checks of type and number, and the typed pops on which all
// words rest. The numbering in the texts does not always agree with the place
// on the stack; it is kept, as hosts compare these texts.
#include "loomkit/rpn/eval_frame.h"

namespace {

// Exactly the whole numbers from 0 to 4294967295 pass.
bool wholeNumber(double number, unsigned* result) {
  if (!(number >= 0.0 && number <= 4294967295.0)) return false;
  *result = static_cast<unsigned>(number);
  return static_cast<double>(*result) == number;
}

constexpr unsigned toTheEnd = ~0U;

}  // namespace

bool GRpnEval::checkStackType(GRpnValue::Type t) const noexcept {
  return available() >= 1 && stack.back().getType() == t;
}

bool GRpnEval::checkStackType(GRpnValue::Type t1, GRpnValue::Type t2) const noexcept {
  return available() >= 2 && stack[stack.size() - 2].getType() == t1 &&
         stack.back().getType() == t2;
}

void GRpnEval::pushText(const std::string& text) {
  const loomkit::CreatorRef<GRpnString> string(new GRpnString(text, false));
  stack.emplace_back(string.get());
}

bool GRpnEval::pop(GRpnValue* value, GRpnErrMsg* err) {
  assert(frame != nullptr);
  if (available() < 1) {
    err->append("stack underflow");
    return false;
  }
  *value = stack.back();
  stack.pop_back();
  return true;
}

bool GRpnEval::pop(std::vector<GRpnValue>* values, unsigned count, GRpnErrMsg* err) {
  assert(frame != nullptr);
  if (available() < count) {
    err->append("stack underflow");
    return false;
  }
  values->insert(values->end(), stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
  drop(count);
  return true;
}

bool GRpnEval::pop(const char* pos, double* a) {
  if (!checkSize(pos, 1)) return false;
  if (fromTop(0).getType() != GRpnValue::Number)
    return error(pos, "stack[0] is not a number") != nullptr;
  *a = fromTop(0).getNumber();
  drop(1);
  return true;
}

bool GRpnEval::pop(const char* pos, double* a, double* b) {
  if (!checkNumbers(pos)) return false;
  *b = fromTop(0).getNumber();
  *a = fromTop(1).getNumber();
  drop(2);
  return true;
}

bool GRpnEval::pop(const char* pos, unsigned* a) {
  if (!checkSize(pos, 1)) return false;
  if (fromTop(0).getType() != GRpnValue::Number)
    return error(pos, "stack[0] is not an integral number") != nullptr;
  if (!wholeNumber(fromTop(0).getNumber(), a))
    return error(pos, "stack[0] is not an natural number") != nullptr;
  drop(1);
  return true;
}

bool GRpnEval::pop(const char* pos, unsigned* a, unsigned* b) {
  if (!checkSize(pos, 2)) return false;
  if (fromTop(0).getType() != GRpnValue::Number)
    return error(pos, "stack[0] is not an integral number") != nullptr;
  if (!wholeNumber(fromTop(0).getNumber(), b))
    return error(pos, "stack[0] is not an natural number") != nullptr;
  if (fromTop(1).getType() != GRpnValue::Number)
    return error(pos, "stack[1] is not an integral number") != nullptr;
  if (!wholeNumber(fromTop(1).getNumber(), a))
    return error(pos, "stack[1] is not an natural number") != nullptr;
  drop(2);
  return true;
}

bool GRpnEval::pop(const char* pos, std::string* a) {
  if (!checkSize(pos, 1)) return false;
  if (fromTop(0).getType() != GRpnValue::String)
    return error(pos, "stack[0] is not a string") != nullptr;
  *a = *fromTop(0).getString();
  drop(1);
  return true;
}

bool GRpnEval::pop(const char* pos, std::string* a, std::string* b) {
  if (!checkSize(pos, 2)) return false;
  if (fromTop(0).getType() != GRpnValue::String)
    return error(pos, "stack[0] is not a string") != nullptr;
  if (fromTop(1).getType() != GRpnValue::String)
    return error(pos, "stack[1] is not a string") != nullptr;
  *b = *fromTop(0).getString();
  *a = *fromTop(1).getString();
  drop(2);
  return true;
}

// A position or length: NULL and -1 mean none or to the end, and so does a NaN,
// which counts as -1.
bool GRpnEval::getSizeType(const GRpnValue* value, unsigned* result) noexcept {
  if (value->getType() == GRpnValue::Void) {
    *result = toTheEnd;
    return true;
  }
  if (value->getType() != GRpnValue::Number) return false;
  const double number = value->getNumber();
  if (!(number < -1.0 || number > -1.0)) {
    *result = toTheEnd;
    return true;
  }
  return wholeNumber(number, result);
}

bool GRpnEval::pop(const char* pos, std::string* s, unsigned* i, unsigned* n) {
  if (!checkSize(pos, 3)) return false;
  if (!getSizeType(&fromTop(0), n))
    return error(pos, "stack[1] is not a natural number") != nullptr;
  if (!getSizeType(&fromTop(1), i))
    return error(pos, "stack[2] is not a natural number") != nullptr;
  if (fromTop(2).getType() != GRpnValue::String)
    return error(pos, "stack[0] is not a string") != nullptr;
  *s = *fromTop(2).getString();
  drop(3);
  return true;
}

bool GRpnEval::pop(const char* pos, std::string* a, unsigned* i, std::string* b) {
  if (!checkSize(pos, 3)) return false;
  if (fromTop(0).getType() != GRpnValue::String)
    return error(pos, "stack[0] is not a string") != nullptr;
  if (!getSizeType(&fromTop(1), i))
    return error(pos, "stack[1] is not a natural number") != nullptr;
  if (fromTop(2).getType() != GRpnValue::String)
    return error(pos, "stack[2] is not a string") != nullptr;
  *b = *fromTop(0).getString();
  *a = *fromTop(2).getString();
  drop(3);
  return true;
}

bool GRpnEval::pop(const char* pos, std::string* a, unsigned* i, unsigned* n, std::string* b) {
  if (!checkSize(pos, 4)) return false;
  if (fromTop(0).getType() != GRpnValue::String)
    return error(pos, "stack[0] is not a string") != nullptr;
  if (!getSizeType(&fromTop(1), n))
    return error(pos, "stack[1] is not a natural number") != nullptr;
  if (!getSizeType(&fromTop(2), i))
    return error(pos, "stack[2] is not a natural number") != nullptr;
  if (fromTop(3).getType() != GRpnValue::String)
    return error(pos, "stack[3] is not a string") != nullptr;
  *b = *fromTop(0).getString();
  *a = *fromTop(3).getString();
  drop(4);
  return true;
}

// The stack's reference goes and the caller gets none, so that a vector that
// nobody else refers to has ended here: *v is null then.
bool GRpnEval::pop(const char* pos, GRpnVector** v) {
  if (!checkSize(pos, 1)) return false;
  if (fromTop(0).getType() != GRpnValue::Vector)
    return error(pos, "stack[0] is not a vector") != nullptr;
  GRpnVector* const vector = fromTop(0).getVector();
  *v = vector->tail.refCount == 1 ? nullptr : vector;
  drop(1);
  return true;
}

// The caller gets a reference of its own.
bool GRpnEval::pop(const char* pos, GRpnVector** v, unsigned* i) {
  if (!checkSize(pos, 2)) return false;
  if (fromTop(0).getType() != GRpnValue::Number || !wholeNumber(fromTop(0).getNumber(), i))
    return error(pos, "stack[0] is not an integral number") != nullptr;
  if (fromTop(1).getType() != GRpnValue::Vector)
    return error(pos, "stack[1] is not a vector") != nullptr;
  *v = fromTop(1).getVector()->incRef();
  drop(2);
  return true;
}
