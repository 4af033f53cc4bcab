// SPDX-License-Identifier: MIT
#include "loomkit/rpn/function_table.h"

#include <algorithm>
#include <string_view>

#include "loomkit/rpn/creator_ref.h"

namespace loomkit::rpn {

bool refuse(unsigned index, const std::string& type, GRpnErrMsg* err) {
  err->append("stack[" + std::to_string(index) + "] is not a " + type);
  return false;
}

bool popOperands(GRpnEval* eval, GRpnValue* values, std::size_t count, std::size_t required,
                 std::size_t* given, GRpnErrMsg* err) {
  GRpnErrMsg ignored;  // that an optional operand is missing is no failure
  std::size_t popped = 0;
  while (popped < count) {
    const bool needed = popped < required;
    if (!eval->pop(&values[count - 1 - popped], needed ? err : &ignored)) {
      if (needed) return false;
      break;
    }
    ++popped;
  }
  std::rotate(values, values + (count - popped), values + count);
  *given = popped;
  return true;
}

bool operand(const GRpnValue& value, unsigned index, double* result, GRpnErrMsg* err) {
  if (value.getType() != GRpnValue::Number) return refuse(index, "number", err);
  *result = value.getNumber();
  return true;
}

bool operand(const GRpnValue& value, unsigned index, bool* result, GRpnErrMsg* err) {
  if (value.getType() != GRpnValue::Number) return refuse(index, "number", err);
  const double number = value.getNumber();
  *result = number < 0 || number > 0;
  return true;
}

bool operand(const GRpnValue& value, unsigned index, std::string_view* result, GRpnErrMsg* err) {
  if (value.getType() != GRpnValue::String) return refuse(index, "string", err);
  *result = *value.getString();
  return true;
}

bool operand(const GRpnValue& value, unsigned index, std::string* result, GRpnErrMsg* err) {
  if (value.getType() != GRpnValue::String) return refuse(index, "string", err);
  *result = *value.getString();
  return true;
}

bool operand(const GRpnValue& value, unsigned, GRpnValue* result, GRpnErrMsg*) {
  *result = value;
  return true;
}

bool operand(const GRpnValue& value, unsigned index, std::vector<GRpnValue>* result,
             GRpnErrMsg* err) {
  if (value.getType() != GRpnValue::Vector) return refuse(index, "vector", err);
  *result = *value.getVector();
  return true;
}

GRpnValue result(double number) { return {number}; }

GRpnValue result(std::string_view text) {
  const CreatorRef<GRpnString> string(new GRpnString(std::string(text), false));
  return {string.get()};
}

GRpnValue result(const GRpnValue& value) { return value; }

GRpnValue result(const std::vector<GRpnValue>& elements) {
  const CreatorRef<GRpnVector> vector(new GRpnVector);
  vector->assign(elements.begin(), elements.end());
  return {vector.get()};
}

}  // namespace loomkit::rpn

GRpnFunctionTable::GRpnFunctionTable() = default;
GRpnFunctionTable::~GRpnFunctionTable() = default;

void GRpnFunctionTable::addExpression(const std::string& name, const std::string& expr) {
  functions[name] = [name, expr](GRpnEval* eval, GRpnErrMsg* err) {
    if (eval->eval(expr.c_str())) return true;
    err->append("error in local function \"" + name + "\"");
    return false;
  };
}

bool GRpnFunctionTable::contains(const std::string& name) const {
  return functions.find(name) != functions.end();
}

std::vector<std::string> GRpnFunctionTable::names() const {
  std::vector<std::string> result;
  result.reserve(functions.size());
  for (const auto& entry : functions) result.push_back(entry.first);
  return result;
}

bool GRpnFunctionTable::call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) {
  const auto found = functions.find(std::string_view(name, length));
  if (found == functions.end()) {
    err->append("unknown function");
    return false;
  }
  return found->second(eval, err);
}
