// SPDX-License-Identifier: MIT
#include "loomkit/rpn/eval.h"

#include <array>
#include <new>

#include "loomkit/rpn/eval_frame.h"
#include "loomkit/rpn/free_list.h"
#include "loomkit/text/output.h"

namespace {

// What the first character of a token says.
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
  std::array<Token, 256> tokens{};  // Bad: line ends and bytes from 0x80 up among them
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

// Frames.

struct GRpnEval::EvalFrame::Pool {
  static inline constinit loomkit::FreeList<sizeof(EvalFrame), 0> frames;  // linked by `previous`
};

void* GRpnEval::EvalFrame::operator new(std::size_t) { return Pool::frames.take(); }
void GRpnEval::EvalFrame::operator delete(void* block) noexcept { Pool::frames.give(block); }

void GRpnEval::pushFrame(const char* expr, const char* end) {
  frame = new EvalFrame{frame, stack.size(), EvalFrame::noArgc, {}, expr,
                        end,   nullptr,      stack.size(),      0,  nullptr};
  ++depth;
}

void GRpnEval::popFrame() noexcept {
  EvalFrame* const ended = frame;
  frame = ended->previous;
  --depth;
  delete ended;
}

// Brings the stack to `size`. It can have become smaller, because the word argc
// takes values of the caller's; void values then fill the gap, for which the
// vector still has the room.
void GRpnEval::restoreStack(std::size_t size) noexcept {
  while (stack.size() > size) stack.pop_back();
  while (stack.size() < size) stack.emplace_back();
}

// The frame of one eval() call. However the call ends, by an exception of a
// host's function too, the frame and the defaults above it are left again.
class GRpnEval::EvalScope {
 public:
  EvalScope(GRpnEval* evaluator, const char* expr) : eval(evaluator), outer(evaluator->frame) {
    eval->pushFrame(expr, nullptr);
    eval->frame->braces = &braces;
  }
  EvalScope(const EvalScope&) = delete;
  EvalScope& operator=(const EvalScope&) = delete;
  ~EvalScope() {
    while (eval->frame->previous != outer) {
      const std::size_t before = eval->frame->before;
      eval->popFrame();
      eval->restoreStack(before);
    }
    eval->popFrame();
  }

 private:
  GRpnEval* eval;
  EvalFrame* outer;
  loomkit::BraceIndex braces;
};

void GRpnEval::enterDefault(const char* expr, const char* end, const char* resume) {
  const EvalFrame* const outer = frame;
  pushFrame(expr, end);
  frame->resume = resume;
  frame->defaults = outer->defaults + 1;
  frame->braces = outer->braces;
}

// At a default's closing brace: its one result stays on the stack, as the
// parameter's value.
const char* GRpnEval::leaveDefault() {
  if (stack.size() != frame->before + 1) {
    resultError(frame->expr, frame->end,
                stack.size() == frame->before ? "stack underflow (no result)"
                                              : "too many result values on stack");
    return nullptr;
  }
  const char* const resume = frame->resume;
  popFrame();
  return resume;
}

bool GRpnEval::eval(const char* expr) {
  const EvalScope scope(this, expr);
  for (const char* p = expr; p != nullptr;) {
    switch (tokenOf(*p)) {
      case Token::Blank:
        ++p;
        break;
      case Token::Number:
        p = constNumber(p);
        break;
      case Token::Sign:
        if (tokenOf(p[1]) == Token::Number)
          p = constNumber(p);
        else
          p = *p == '+' ? add(p) : subtract(p);
        break;
      case Token::Word:
        p = function(p);
        break;
      case Token::Parameter:
        p = p[1] >= '0' && p[1] <= '9' ? argument(p) : variable(p);
        break;
      case Token::String:
        p = constString(p);
        break;
      case Token::Symbol:
        p = constSymbol(p);
        break;
      case Token::Multiply:
        p = multiply(p);
        break;
      case Token::Divide:
        p = divide(p);
        break;
      case Token::Modulo:
        p = modulo(p);
        break;
      case Token::Not:
        p = p[1] == '=' ? notEqual(p) : logNegate(p);
        break;
      case Token::And:
        p = p[1] == '&' ? logAnd(p) : bitAnd(p);
        break;
      case Token::Or:
        p = p[1] == '|' ? logOr(p) : bitOr(p);
        break;
      case Token::Xor:
        p = bitXor(p);
        break;
      case Token::Less:
        p = p[1] == '=' ? lessThanOrEqual(p) : lessThan(p);
        break;
      case Token::Equal:
        p = p[1] == '=' ? equal(p) : syntaxError(p);
        break;
      case Token::Greater:
        p = p[1] == '=' ? greaterThanOrEqual(p) : greaterThan(p);
        break;
      case Token::Index:
        p = vectorIndex(p);
        break;
      case Token::Build:
        p = vectorBuild(p);
        break;
      case Token::CloseBrace:
        p = p == frame->end ? leaveDefault() : syntaxError(p);
        break;
      case Token::End:
        return true;
      case Token::Bad:
        p = syntaxError(p);
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
  resultError(
      expr, nullptr,
      stack.size() == before ? "stack underflow (no result)" : "too many result values on stack");
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
      resultError(expr, nullptr, "result value is not a number");
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
    resultError(expr, nullptr, "too many result values on stack (expected none)");
    done = false;
  }
  restoreStack(before);
  return done;
}
