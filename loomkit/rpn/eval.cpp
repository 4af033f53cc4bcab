// SPDX-License-Identifier: MIT
#include "loomkit/rpn/eval.h"

#include <array>
#include <cassert>
#include <new>

#include "loomkit/rpn/errors.h"
#include "loomkit/rpn/eval_frame.h"
#include "loomkit/rpn/literals.h"
#include "loomkit/rpn/names.h"
#include "loomkit/rpn/operands.h"
#include "loomkit/rpn/operators.h"
#include "loomkit/text/output.h"

namespace {

// The kinds of tokens, which the first character of a token tells apart.
enum class Token : unsigned char {
  Bad,
  End,
  Blank,
  Not,
  String,
  Parameter,
  Modulo,
  And,
  Multiply,
  Sign,
  Number,
  Divide,
  Less,
  Equal,
  Greater,
  Symbol,
  Index,
  Build,
  Xor,
  Or,
  CloseBrace,
  Word
};

constexpr std::array<Token, 256> makeTokens() {
  std::array<Token, 256> tokens{};  // Bad at first: line ends and bytes from 0x80 up stay so
  const auto set = [&](char c, Token token) { tokens[static_cast<unsigned char>(c)] = token; };
  set('\0', Token::End);
  set(' ', Token::Blank);
  set('\t', Token::Blank);
  set('!', Token::Not);
  set('"', Token::String);
  set('$', Token::Parameter);
  set('%', Token::Modulo);
  set('&', Token::And);
  set('*', Token::Multiply);
  set('+', Token::Sign);
  set('-', Token::Sign);
  set('.', Token::Number);
  for (char c = '0'; c <= '9'; ++c) set(c, Token::Number);
  set('/', Token::Divide);
  set('<', Token::Less);
  set('=', Token::Equal);
  set('>', Token::Greater);
  set('@', Token::Symbol);
  set('[', Token::Index);
  set(']', Token::Build);
  set('^', Token::Xor);
  set('|', Token::Or);
  set('}', Token::CloseBrace);
  set('_', Token::Word);
  for (char c = 'a'; c <= 'z'; ++c) set(c, Token::Word);
  for (char c = 'A'; c <= 'Z'; ++c) set(c, Token::Word);
  return tokens;
}

constexpr std::array<Token, 256> tokens = makeTokens();

constexpr Token tokenOf(char c) { return tokens[static_cast<unsigned char>(c)]; }

}  // namespace

void GRpnEval::ErrorHandler::error(const std::string& message) { gOutput->error(message.c_str()); }

GRpnEval::GRpnEval() : errorHandler(new ErrorHandler) {}
GRpnEval::GRpnEval(const GRpnEval&) = default;
GRpnEval& GRpnEval::operator=(const GRpnEval&) = default;

GRpnEval::~GRpnEval() {
  if (paramSet != nullptr) paramSet->decRef();
  if (externFuncs != nullptr) externFuncs->decRef();
  ::operator delete(errorHandler);  // hosts rely on no destructor being called
}

void GRpnEval::setErrorHandler(ErrorHandler* handler) {
  assert(handler != nullptr);
  if (handler == errorHandler) return;
  ::operator delete(errorHandler);
  errorHandler = handler;
}

void GRpnEval::setParamSet(GRpnParamSet* params) {
  if (params != nullptr) params->incRef();
  if (paramSet != nullptr) paramSet->decRef();
  paramSet = params;
}

void GRpnEval::setExternFuncs(GRpnExternFuncs* functions) {
  if (functions != nullptr) functions->incRef();
  if (externFuncs != nullptr) externFuncs->decRef();
  externFuncs = functions;
}

void GRpnEval::setExprName(const std::string& name) { exprName = name; }
void GRpnEval::resetExprName() { exprName.clear(); }

// Brings the stack back to `size`. The stack can have become smaller, because the
// word argc takes values from the caller's part of it. Void values then fill the
// gap; the vector has kept the room for them, so that nothing is allocated.
void GRpnEval::restoreStack(std::size_t size) noexcept {
  while (stack.size() > size) stack.pop_back();
  while (stack.size() < size) stack.emplace_back();
}

bool GRpnEval::eval(const char* expr) {
  const EvalScope scope(*this, expr);
  for (const char* p = expr; p != nullptr;) {
    switch (tokenOf(*p)) {
      case Token::Blank:
        ++p;
        break;
      case Token::Number:
        p = Literals::constNumber(*this, p);
        break;
      case Token::Sign:
        if (tokenOf(p[1]) == Token::Number)
          p = Literals::constNumber(*this, p);
        else
          p = *p == '+' ? Operators::add(*this, p) : Operators::subtract(*this, p);
        break;
      case Token::Word:
        p = Names::function(*this, p);
        break;
      case Token::Parameter:
        p = p[1] >= '0' && p[1] <= '9' ? Names::argument(*this, p) : Names::variable(*this, p);
        break;
      case Token::String:
        p = Literals::constString(*this, p);
        break;
      case Token::Symbol:
        p = Literals::constSymbol(*this, p);
        break;
      case Token::Multiply:
        p = Operators::multiply(*this, p);
        break;
      case Token::Divide:
        p = Operators::divide(*this, p);
        break;
      case Token::Modulo:
        p = Operators::modulo(*this, p);
        break;
      case Token::Not:
        p = p[1] == '=' ? Operators::notEqual(*this, p) : Operators::logNegate(*this, p);
        break;
      case Token::And:
        p = p[1] == '&' ? Operators::logAnd(*this, p) : Operators::bitAnd(*this, p);
        break;
      case Token::Or:
        p = p[1] == '|' ? Operators::logOr(*this, p) : Operators::bitOr(*this, p);
        break;
      case Token::Xor:
        p = Operators::bitXor(*this, p);
        break;
      case Token::Less:
        p = p[1] == '=' ? Operators::lessThanOrEqual(*this, p) : Operators::lessThan(*this, p);
        break;
      case Token::Equal:
        p = p[1] == '=' ? Operators::equal(*this, p) : Errors::syntaxError(*this, p);
        break;
      case Token::Greater:
        p = p[1] == '=' ? Operators::greaterThanOrEqual(*this, p)
                        : Operators::greaterThan(*this, p);
        break;
      case Token::Index:
        p = Operators::vectorIndex(*this, p);
        break;
      case Token::Build:
        p = Operators::vectorBuild(*this, p);
        break;
      case Token::CloseBrace:
        p = p == frame->end ? EvalFrame::leaveDefault(*this) : Errors::syntaxError(*this, p);
        break;
      case Token::End:
        return true;
      case Token::Bad:
        p = Errors::syntaxError(*this, p);
        break;
    }
  }
  return false;
}

bool GRpnEval::eval(const char* expr, std::vector<GRpnValue>* results) {
  const std::size_t before = stack.size();
  const bool done = eval(expr);
  if (done && stack.size() > before)
    results->insert(results->end(), stack.begin() + static_cast<std::ptrdiff_t>(before),
                    stack.end());
  restoreStack(before);
  return done;
}

bool GRpnEval::oneResult(const char* expr, std::size_t before) {
  if (!eval(expr)) return false;
  if (stack.size() == before + 1) return true;
  Errors::notOneResult(*this, expr, nullptr, stack.size() == before);
  return false;
}

bool GRpnEval::eval(const char* expr, GRpnValue* result) {
  const std::size_t before = stack.size();
  const bool done = oneResult(expr, before);
  if (done) *result = stack.back();
  restoreStack(before);
  return done;
}

bool GRpnEval::evalFloat(const char* expr, double* result) {
  const std::size_t before = stack.size();
  bool done = oneResult(expr, before);
  if (done) {
    done = stack.back().getType() == GRpnValue::Number;
    if (done)
      *result = stack.back().getNumber();
    else
      Errors::resultError(*this, expr, nullptr, "result value is not a number");
  }
  restoreStack(before);
  return done;
}

bool GRpnEval::evalBool(const char* expr, bool* result) {
  double number = 0;
  if (!evalFloat(expr, &number)) return false;
  *result = number < 0.0 || number > 0.0;
  return true;
}

bool GRpnEval::evalVoid(const char* expr) {
  const std::size_t before = stack.size();
  bool done = eval(expr);
  if (done && stack.size() != before) {
    Errors::resultError(*this, expr, nullptr, "too many result values on stack (expected none)");
    done = false;
  }
  restoreStack(before);
  return done;
}

// For external functions.

bool GRpnEval::pop(GRpnValue* value, GRpnErrMsg* err) {
  assert(frame != nullptr);
  if (Operands::available(*this) < 1) {
    err->append("stack underflow");
    return false;
  }
  *value = stack.back();
  stack.pop_back();
  return true;
}

bool GRpnEval::pop(std::vector<GRpnValue>* values, unsigned count, GRpnErrMsg* err) {
  assert(frame != nullptr);
  if (Operands::available(*this) < count) {
    err->append("stack underflow");
    return false;
  }
  values->insert(values->end(), stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
  Operands::drop(*this, count);
  return true;
}
