// SPDX-License-Identifier: MIT
// The table of built-in words. Private to the engine.
#ifndef LOOMKIT_RPN_WORD_TABLE_H
#define LOOMKIT_RPN_WORD_TABLE_H

#include "loomkit/rpn/eval.h"

/// One built-in word.
struct GRpnEval::Builtin {
  unsigned length;
  const char* name;
  bool (GRpnEval::*handler)(const char* pos);
};

#endif  // LOOMKIT_RPN_WORD_TABLE_H
