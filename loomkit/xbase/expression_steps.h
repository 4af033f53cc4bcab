// SPDX-License-Identifier: MIT
// The routines of the expression language's table. Each takes its operands from
// the stack and pushes its result; each gives a code.
#ifndef LOOMKIT_XBASE_EXPRESSION_STEPS_H
#define LOOMKIT_XBASE_EXPRESSION_STEPS_H

namespace loomkit::xbase {

struct Run;
struct Step;

namespace step {

// Operands.
int fieldInPlace(Run& run, const Step& step);
int fieldCopy(Run& run, const Step& step);
int fieldTruth(Run& run, const Step& step);
int fieldDay(Run& run, const Step& step);
int fieldValue(Run& run, const Step& step);
int memo(Run& run, const Step& step);
int number(Run& run, const Step& step);
int text(Run& run, const Step& step);
int constantTrue(Run& run, const Step& step);
int constantFalse(Run& run, const Step& step);

// Operators.
int logicalNot(Run& run, const Step& step);
int logicalOr(Run& run, const Step& step);
int logicalAnd(Run& run, const Step& step);
int joinFixed(Run& run, const Step& step);
int joinVarying(Run& run, const Step& step);
int joinMovingBlanks(Run& run, const Step& step);
int add(Run& run, const Step& step);
int subtract(Run& run, const Step& step);
int power(Run& run, const Step& step);
int multiply(Run& run, const Step& step);
int divide(Run& run, const Step& step);
int contains(Run& run, const Step& step);
int textEqual(Run& run, const Step& step);
int textUnequal(Run& run, const Step& step);
int textNotLess(Run& run, const Step& step);
int textNotGreater(Run& run, const Step& step);
int textGreater(Run& run, const Step& step);
int textLess(Run& run, const Step& step);
int numberEqual(Run& run, const Step& step);
int numberUnequal(Run& run, const Step& step);
int numberNotLess(Run& run, const Step& step);
int numberNotGreater(Run& run, const Step& step);
int numberGreater(Run& run, const Step& step);
int numberLess(Run& run, const Step& step);
int truthEqual(Run& run, const Step& step);
int truthUnequal(Run& run, const Step& step);

// Functions.
int chr(Run& run, const Step& step);
int del(Run& run, const Step& step);
int str(Run& run, const Step& step);
int substr(Run& run, const Step& step);
int time(Run& run, const Step& step);
int upper(Run& run, const Step& step);
int dtosText(Run& run, const Step& step);
int dtosDay(Run& run, const Step& step);
int dtocText(Run& run, const Step& step);
int dtocDay(Run& run, const Step& step);
int trim(Run& run, const Step& step);
int ltrim(Run& run, const Step& step);
int iifText(Run& run, const Step& step);
int iifOther(Run& run, const Step& step);
int stod(Run& run, const Step& step);
int ctod(Run& run, const Step& step);
int date(Run& run, const Step& step);
int dayText(Run& run, const Step& step);
int dayDay(Run& run, const Step& step);
int monthText(Run& run, const Step& step);
int monthDay(Run& run, const Step& step);
int yearText(Run& run, const Step& step);
int yearDay(Run& run, const Step& step);
int deleted(Run& run, const Step& step);
int reccount(Run& run, const Step& step);
int recno(Run& run, const Step& step);
int val(Run& run, const Step& step);
int calculation(Run& run, const Step& step);
int pageno(Run& run, const Step& step);

}  // namespace step
}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_EXPRESSION_STEPS_H
