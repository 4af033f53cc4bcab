// SPDX-License-Identifier: MIT
#include "loomkit/rpn/word_table.h"

#include <algorithm>
#include <cstring>

#include "loomkit/rpn/words.h"

/// Owns the table and reads it for gRpnBuiltinWords().
class GRpnWordList {
 public:
  using Builtin = GRpnEval::Builtin;
  static constexpr unsigned size = 53;

  // Sorted bytewise, capitals first: the search relies on it.
  static constexpr Builtin table[size] = {{6, "M_1_PI", &GRpnEval::m_1_pi},
                                          {5, "M_2PI", &GRpnEval::m_2pi},
                                          {6, "M_2_PI", &GRpnEval::m_2_pi},
                                          {10, "M_2_SQRTPI", &GRpnEval::m_2_sqrtpi},
                                          {3, "M_E", &GRpnEval::m_e},
                                          {6, "M_LN10", &GRpnEval::m_ln10},
                                          {5, "M_LN2", &GRpnEval::m_ln2},
                                          {8, "M_LOG10E", &GRpnEval::m_log10e},
                                          {7, "M_LOG2E", &GRpnEval::m_log2e},
                                          {4, "M_PI", &GRpnEval::m_pi},
                                          {6, "M_PI_2", &GRpnEval::m_pi_2},
                                          {6, "M_PI_4", &GRpnEval::m_pi_4},
                                          {9, "M_SQRT1_2", &GRpnEval::m_sqrt1_2},
                                          {7, "M_SQRT2", &GRpnEval::m_sqrt2},
                                          {4, "NULL", &GRpnEval::f_NULL},
                                          {4, "acos", &GRpnEval::f_acos},
                                          {4, "argc", &GRpnEval::f_argc},
                                          {4, "asin", &GRpnEval::f_asin},
                                          {4, "atan", &GRpnEval::f_atan},
                                          {5, "atan2", &GRpnEval::f_atan2},
                                          {4, "ceil", &GRpnEval::f_ceil},
                                          {3, "cos", &GRpnEval::f_cos},
                                          {4, "cosh", &GRpnEval::f_cosh},
                                          {3, "dup", &GRpnEval::f_dup},
                                          {4, "dup2", &GRpnEval::f_dup2},
                                          {4, "dupx", &GRpnEval::f_dupx},
                                          {5, "empty", &GRpnEval::f_empty},
                                          {5, "erase", &GRpnEval::f_erase},
                                          {3, "exp", &GRpnEval::f_exp},
                                          {4, "fabs", &GRpnEval::f_fabs},
                                          {4, "find", &GRpnEval::f_find},
                                          {5, "float", &GRpnEval::f_float},
                                          {5, "floor", &GRpnEval::f_floor},
                                          {4, "fmod", &GRpnEval::f_fmod},
                                          {6, "insert", &GRpnEval::f_insert},
                                          {3, "log", &GRpnEval::f_log},
                                          {5, "log10", &GRpnEval::f_log10},
                                          {4, "modf", &GRpnEval::f_modf},
                                          {3, "neg", &GRpnEval::f_neg},
                                          {3, "pop", &GRpnEval::f_pop},
                                          {3, "pow", &GRpnEval::f_pow},
                                          {7, "replace", &GRpnEval::f_replace},
                                          {5, "rfind", &GRpnEval::f_rfind},
                                          {3, "sin", &GRpnEval::f_sin},
                                          {4, "sinh", &GRpnEval::f_sinh},
                                          {4, "size", &GRpnEval::f_size},
                                          {4, "sqrt", &GRpnEval::f_sqrt},
                                          {6, "string", &GRpnEval::f_string},
                                          {6, "substr", &GRpnEval::f_substr},
                                          {4, "swap", &GRpnEval::f_swap},
                                          {5, "swapx", &GRpnEval::f_swapx},
                                          {3, "tan", &GRpnEval::f_tan},
                                          {4, "tanh", &GRpnEval::f_tanh}};
};

// Binary search over [low, high). A word that a name begins with is less.
const GRpnEval::Builtin* GRpnEval::getBuiltinFuncPtr(const char* word,
                                                     std::size_t length) noexcept {
  unsigned low = 0;
  unsigned high = GRpnWordList::size;
  while (low < high) {
    const unsigned middle = (low + high) / 2;
    const Builtin& row = GRpnWordList::table[middle];
    int order = static_cast<unsigned char>(*word) - static_cast<unsigned char>(*row.name);
    if (order == 0) order = std::memcmp(word, row.name, std::min<std::size_t>(length, row.length));
    if (order == 0 && length == row.length) return &row;
    if (order > 0 || (order == 0 && length > row.length))
      low = middle + 1;
    else
      high = middle;
  }
  return nullptr;
}

std::vector<std::string> gRpnBuiltinWords() {
  std::vector<std::string> names;
  names.reserve(GRpnWordList::size);
  for (const auto& row : GRpnWordList::table) names.emplace_back(row.name);
  return names;
}
