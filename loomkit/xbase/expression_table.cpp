// SPDX-License-Identifier: MIT
#include "loomkit/xbase/expression_table.h"

#include "loomkit/xbase/expression_steps.h"

namespace loomkit::xbase {

// The order counts: of operators that begin alike, the longer stands first; the
// constants and .NOT. are looked for from the top; and of several overloads the
// first that fits is taken.
constexpr FunctionRow functionTable[] = {
    // routine, name, code, priority, result, operands, types
    {step::fieldInPlace, "", codeTextField, 0, 'C', 0, ""},
    {step::fieldCopy, "", codeTextFieldCopy, 0, 'C', 0, ""},
    {step::fieldTruth, "", codeLogicalField, 0, 'L', 0, ""},
    {step::fieldDay, "", codeDateFieldDay, 0, 'd', 0, ""},
    {step::fieldInPlace, "", codeDateField, 0, 'D', 0, ""},
    {step::fieldValue, "", codeNumericFieldValue, 0, 'n', 0, ""},
    {step::fieldInPlace, "", codeNumericField, 0, 'N', 0, ""},
    {step::memo, "", codeMemoField, 0, 'C', 0, ""},
    {step::number, "", codeNumber, 0, 'n', 0, ""},
    {step::text, "", codeText, 0, 'C', 0, ""},

    {step::constantTrue, ".TRUE.", codeTrue, 0, 'L', 0, ""},
    {step::constantTrue, ".T.", codeTrue, 0, 'L', 0, ""},
    {step::constantFalse, ".FALSE.", codeFalse, 0, 'L', 0, ""},
    {step::constantFalse, ".F.", codeFalse, 0, 'L', 0, ""},
    {step::logicalNot, ".NOT.", codeNot, 5, 'L', 1, "L"},
    {step::logicalOr, ".OR.", 20, 3, 'L', -1, "L"},
    {step::logicalAnd, ".AND.", 22, 4, 'L', -1, "L"},

    {step::joinFixed, "+", codePlus, 7, 'C', 2, "CC"},
    {step::joinVarying, "", codePlus, 7, 'C', 2, "CC"},
    {step::add, "", codePlus, 7, 'n', 2, "nn"},
    {step::add, "", codePlus, 7, 'd', 2, "nd"},
    {step::add, "", codePlus, 7, 'd', 2, "dn"},
    {step::joinMovingBlanks, "-", codeMinus, 7, 'C', 2, "CC"},
    {step::subtract, "", codeMinus, 7, 'n', 2, "nn"},
    {step::subtract, "", codeMinus, 7, 'n', 2, "dd"},
    {step::subtract, "", codeMinus, 7, 'd', 2, "dn"},

    {step::textEqual, "=", 40, 6, 'L', 2, "CC"},
    {step::truthEqual, "", 40, 6, 'L', 2, "LL"},
    {step::numberEqual, "", 40, 6, 'L', 2, "nn"},
    {step::numberEqual, "", 40, 6, 'L', 2, "dd"},
    {step::textUnequal, "#", 50, 6, 'L', 2, "CC"},
    {step::textUnequal, "<>", 50, 6, 'L', 2, "CC"},
    {step::numberUnequal, "", 50, 6, 'L', 2, "nn"},
    {step::numberUnequal, "", 50, 6, 'L', 2, "dd"},
    {step::truthUnequal, "", 50, 6, 'L', 2, "LL"},
    {step::textNotLess, ">=", 60, 6, 'L', 2, "CC"},
    {step::numberNotLess, "", 60, 6, 'L', 2, "nn"},
    {step::numberNotLess, "", 60, 6, 'L', 2, "dd"},
    {step::textNotGreater, "<=", 70, 6, 'L', 2, "CC"},
    {step::numberNotGreater, "", 70, 6, 'L', 2, "nn"},
    {step::numberNotGreater, "", 70, 6, 'L', 2, "dd"},
    {step::textGreater, ">", 80, 6, 'L', 2, "CC"},
    {step::numberGreater, "", 80, 6, 'L', 2, "nn"},
    {step::numberGreater, "", 80, 6, 'L', 2, "dd"},
    {step::textLess, "<", 90, 6, 'L', 2, "CC"},
    {step::numberLess, "", 90, 6, 'L', 2, "nn"},
    {step::numberLess, "", 90, 6, 'L', 2, "dd"},

    {step::power, "^", 100, 9, 'n', 2, "nn"},
    {step::power, "**", 100, 9, 'n', 2, "nn"},
    {step::multiply, "*", 102, 8, 'n', 2, "nn"},
    {step::divide, "/", 105, 8, 'n', 2, "nn"},
    {step::contains, "$", 110, 6, 'L', 2, "CC"},

    {step::chr, "CHR", codeChr, 0, 'C', 1, "n"},
    {step::del, "DEL", codeDel, 0, 'C', 0, ""},
    {step::str, "STR", codeStr, 0, 'C', 1, "n"},
    {step::substr, "SUBSTR", codeSubstr, 0, 'C', 1, "C"},
    {step::time, "TIME", codeTime, 0, 'C', 0, ""},
    {step::upper, "UPPER", codeUpper, 0, 'C', 1, "C"},
    {step::dtosText, "DTOS", 180, 0, 'C', 1, "D"},
    {step::dtosDay, "", 180, 0, 'C', 1, "d"},
    {step::dtocText, "DTOC", codeDtoc, 0, 'C', 1, "D"},
    {step::dtocDay, "", codeDtoc, 0, 'C', 1, "d"},
    {step::trim, "TRIM", codeTrim, 0, 'C', 1, "C"},
    {step::ltrim, "LTRIM", codeLtrim, 0, 'C', 1, "C"},
    {step::substr, "LEFT", codeLeft, 0, 'C', 1, "C"},
    {step::iifText, "IIF", codeIif, 0, 'C', 3, "LCC"},
    {step::iifOther, "", codeIif, 0, 'n', 3, "Lnn"},
    {step::iifOther, "", codeIif, 0, 'd', 3, "Ldd"},
    {step::iifOther, "", codeIif, 0, 'L', 3, "LLL"},
    {step::stod, "STOD", 260, 0, 'd', 1, "C"},
    {step::ctod, "CTOD", codeCtod, 0, 'd', 1, "C"},
    {step::date, "DATE", 280, 0, 'd', 0, ""},
    {step::dayText, "DAY", 290, 0, 'n', 1, "D"},
    {step::dayDay, "", 290, 0, 'n', 1, "d"},
    {step::monthText, "MONTH", 310, 0, 'n', 1, "D"},
    {step::monthDay, "", 310, 0, 'n', 1, "d"},
    {step::yearText, "YEAR", 340, 0, 'n', 1, "D"},
    {step::yearDay, "", 340, 0, 'n', 1, "d"},
    {step::deleted, "DELETED", 350, 0, 'L', 0, ""},
    {step::reccount, "RECCOUNT", 360, 0, 'n', 0, ""},
    {step::recno, "RECNO", 370, 0, 'n', 0, ""},
    {step::val, "VAL", 380, 0, 'n', 1, "C"},
    // Named calculations and totals. No list of them is kept, so that no name
    // leads here; their codes stay theirs.
    {step::calculation, "", codeCalculation, 0, 'C', 0, ""},
    {step::calculation, "", codeTotal, 0, 'C', 0, ""},
    {step::pageno, "PAGENO", 410, 0, 'n', 0, ""},
    {nullptr, "", codeEnd, 0, '\0', 0, ""}};

const FunctionRow* rowOf(int code) noexcept {
  const FunctionRow* row = functionTable;
  while (row->code != code && row->code != codeEnd) ++row;
  return row;
}

const FunctionRow* nextOverload(const FunctionRow* row) noexcept {
  const FunctionRow* next = row + 1;
  return next->code == row->code ? next : nullptr;
}

}  // namespace loomkit::xbase
