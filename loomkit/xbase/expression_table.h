// SPDX-License-Identifier: MIT
// The table of the expression language: every operand, operator and function,
// with its types and the routine that runs it. The parser, the type pass and the
// evaluator know the language from here only.
#ifndef LOOMKIT_XBASE_EXPRESSION_TABLE_H
#define LOOMKIT_XBASE_EXPRESSION_TABLE_H

#include <cstdint>
#include <string_view>

namespace loomkit::xbase {

struct Run;
struct Step;

/// Runs a step. A code.
using StepRoutine = int (*)(Run& run, const Step& step);

/// One row. Rows of one operator or function follow each other and share its
/// code: the first whose types fit the operands is taken.
struct FunctionRow {
  StepRoutine routine;
  std::string_view name;  ///< in capitals; empty for an overload and for what has no name
  std::int16_t code;
  std::uint8_t priority;  ///< a higher one binds tighter; 0 for functions and operands
  char result;            ///< C, L, n, d, D or N, as expression.h has them
  std::int8_t operands;   ///< -1: any number, all of the first type
  char types[4];
};

// Codes that the parser and the type pass know by name.
inline constexpr int codeTextField = 0;
inline constexpr int codeTextFieldCopy = 1;
inline constexpr int codeLogicalField = 2;
inline constexpr int codeDateFieldDay = 3;
inline constexpr int codeDateField = 4;
inline constexpr int codeNumericFieldValue = 5;
inline constexpr int codeNumericField = 6;
inline constexpr int codeMemoField = 7;
inline constexpr int codeNumber = 8;
inline constexpr int codeText = 9;
inline constexpr int codeTrue = 14;
inline constexpr int codeFalse = 16;
inline constexpr int codeNot = 18;
inline constexpr int codePlus = 25;
inline constexpr int codeMinus = 30;
inline constexpr int firstFunctionCode = 120;
inline constexpr int codeChr = 120;
inline constexpr int codeDel = 130;
inline constexpr int codeStr = 140;
inline constexpr int codeSubstr = 150;
inline constexpr int codeTime = 160;
inline constexpr int codeUpper = 170;
inline constexpr int codeDtoc = 200;
inline constexpr int codeTrim = 220;
inline constexpr int codeLtrim = 230;
inline constexpr int codeLeft = 240;
inline constexpr int codeIif = 250;
inline constexpr int codeCtod = 270;
inline constexpr int codeCalculation = 390;
inline constexpr int codeTotal = 400;
inline constexpr int codeEnd = -1;

/// The table. Ends with a row of codeEnd.
extern const FunctionRow functionTable[];

/// The first row of a code. Requires: it has one.
const FunctionRow* rowOf(int code) noexcept;

/// The row behind, if it is of the same code; else null.
const FunctionRow* nextOverload(const FunctionRow* row) noexcept;

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_EXPRESSION_TABLE_H
