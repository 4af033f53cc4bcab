// SPDX-License-Identifier: MIT
// The built-in words on numbers, the constants and the stack words. `pos` is
// the position just after the word. Range checks run after the operands have
// been taken.
#include <cmath>

#include "loomkit/rpn/eval_frame.h"

bool GRpnEval::m_1_pi(const char*) { return push(0x1.45f306dc9c883p-2), true; }
bool GRpnEval::m_2pi(const char*) { return push(0x1.921fb54442d18p+2), true; }
bool GRpnEval::m_2_pi(const char*) { return push(0x1.45f306dc9c883p-1), true; }
bool GRpnEval::m_2_sqrtpi(const char*) { return push(0x1.20dd750429b6dp+0), true; }
bool GRpnEval::m_e(const char*) { return push(0x1.5bf0a8b145769p+1), true; }
bool GRpnEval::m_ln10(const char*) { return push(0x1.26bb1bbb55516p+1), true; }
bool GRpnEval::m_ln2(const char*) { return push(0x1.62e42fefa39efp-1), true; }
bool GRpnEval::m_log10e(const char*) { return push(0x1.bcb7b1526e50ep-2), true; }
bool GRpnEval::m_log2e(const char*) { return push(0x1.71547652b82fep+0), true; }
bool GRpnEval::m_pi(const char*) { return push(0x1.921fb54442d18p+1), true; }
bool GRpnEval::m_pi_2(const char*) { return push(0x1.921fb54442d18p+0), true; }
bool GRpnEval::m_pi_4(const char*) { return push(0x1.921fb54442d18p-1), true; }
bool GRpnEval::m_sqrt1_2(const char*) { return push(0x1.6a09e667f3bcdp-1), true; }
bool GRpnEval::m_sqrt2(const char*) { return push(0x1.6a09e667f3bcdp+0), true; }

bool GRpnEval::f_NULL(const char*) {
  stack.emplace_back();
  return true;
}

// ( x -- function(x) )
template <typename Function>
inline bool GRpnEval::numericWord(const char* pos, Function function) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  push(function(x));
  return true;
}

bool GRpnEval::f_atan(const char* pos) {
  return numericWord(pos, [](double x) { return std::atan(x); });
}
bool GRpnEval::f_ceil(const char* pos) {
  return numericWord(pos, [](double x) { return std::ceil(x); });
}
bool GRpnEval::f_cos(const char* pos) {
  return numericWord(pos, [](double x) { return std::cos(x); });
}
bool GRpnEval::f_cosh(const char* pos) {
  return numericWord(pos, [](double x) { return std::cosh(x); });
}
bool GRpnEval::f_exp(const char* pos) {
  return numericWord(pos, [](double x) { return std::exp(x); });
}
bool GRpnEval::f_fabs(const char* pos) {
  return numericWord(pos, [](double x) { return std::fabs(x); });
}
bool GRpnEval::f_floor(const char* pos) {
  return numericWord(pos, [](double x) { return std::floor(x); });
}
bool GRpnEval::f_neg(const char* pos) {
  return numericWord(pos, [](double x) { return -x; });
}
bool GRpnEval::f_sin(const char* pos) {
  return numericWord(pos, [](double x) { return std::sin(x); });
}
bool GRpnEval::f_sinh(const char* pos) {
  return numericWord(pos, [](double x) { return std::sinh(x); });
}
bool GRpnEval::f_tan(const char* pos) {
  return numericWord(pos, [](double x) { return std::tan(x); });
}
bool GRpnEval::f_tanh(const char* pos) {
  return numericWord(pos, [](double x) { return std::tanh(x); });
}

// The tests are negated so that a NaN fails them.

bool GRpnEval::f_acos(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  if (!(x >= -1 && x <= 1)) return error(pos, "stack[0] out of range ([-1.0, +1.0])") != nullptr;
  push(std::acos(x));
  return true;
}

bool GRpnEval::f_asin(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  if (!(x >= -1 && x <= 1)) return error(pos, "stack[0] out of range ([-1.0, +1.0])") != nullptr;
  push(std::asin(x));
  return true;
}

bool GRpnEval::f_log(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  if (!(x > 0)) return error(pos, "argument is less than or equal to zero") != nullptr;
  push(std::log(x));
  return true;
}

bool GRpnEval::f_log10(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  if (!(x > 0)) return error(pos, "argument is less than or equal to zero") != nullptr;
  push(std::log10(x));
  return true;
}

bool GRpnEval::f_sqrt(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  if (!(x >= 0)) return error(pos, "argument is less than zero") != nullptr;
  push(std::sqrt(x));
  return true;
}

bool GRpnEval::f_atan2(const char* pos) {
  double y = 0;
  double x = 0;
  if (!pop(pos, &y, &x)) return false;
  push(std::atan2(y, x));
  return true;
}

bool GRpnEval::f_fmod(const char* pos) {
  double x = 0;
  double y = 0;
  if (!pop(pos, &x, &y)) return false;
  if (y == 0) return error(pos, "division by zero") != nullptr;
  push(std::fmod(x, y));
  return true;
}

bool GRpnEval::f_pow(const char* pos) {
  double x = 0;
  double y = 0;
  if (!pop(pos, &x, &y)) return false;
  push(std::pow(x, y));
  return true;
}

// ( x -- ipart fpart )
bool GRpnEval::f_modf(const char* pos) {
  double x = 0;
  if (!pop(pos, &x)) return false;
  double whole = 0;
  const double fraction = std::modf(x, &whole);
  push(whole);
  push(fraction);
  return true;
}

// Stack words.

bool GRpnEval::f_dup(const char* pos) {
  if (!checkSize(pos, 1)) return false;
  push(GRpnValue(fromTop(0)));  // a copy first: pushing can move the stack
  return true;
}

// ( a b -- a b a )
bool GRpnEval::f_dup2(const char* pos) {
  if (!checkSize(pos, 2)) return false;
  push(GRpnValue(fromTop(1)));
  return true;
}

// ( ... n -- ... v ): the value n places down.
bool GRpnEval::f_dupx(const char* pos) {
  unsigned n = 0;
  if (!pop(pos, &n)) return false;
  if (n == 0) return error(pos, "index must be non-zero") != nullptr;
  if (!checkSize(pos, n)) return false;
  push(GRpnValue(fromTop(n - 1)));
  return true;
}

bool GRpnEval::f_pop(const char* pos) {
  if (!checkSize(pos, 1)) return false;
  drop(1);
  return true;
}

bool GRpnEval::f_swap(const char* pos) {
  if (!checkSize(pos, 2)) return false;
  std::swap(fromTop(0), fromTop(1));
  return true;
}

// ( ... n -- ... ): exchanges the top with the value n places down.
bool GRpnEval::f_swapx(const char* pos) {
  unsigned n = 0;
  if (!pop(pos, &n)) return false;
  if (n < 2) return error(pos, "index must greater than one") != nullptr;
  if (!checkSize(pos, n)) return false;
  std::swap(fromTop(0), fromTop(n - 1));
  return true;
}
