// SPDX-License-Identifier: MIT
#include "loomkit/xbase/expression_steps.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/expression_program.h"
#include "loomkit/xbase/field.h"

namespace loomkit::xbase::step {
namespace {

std::string_view textOf(const Value& value) { return {value.text, value.length}; }

Value& pop(Run& run) { return *--run.top; }

int push(Run& run, std::string_view result) {
  run.top->text = result.data();
  run.top->length = result.size();
  ++run.top;
  return ok;
}

int push(Run& run, double result) {
  (run.top++)->number = result;
  return ok;
}

int push(Run& run, bool result) {
  (run.top++)->truth = result;
  return ok;
}

// The result of arithmetic, which must be a number.
int pushFinite(Run& run, const Step& step, double result) {
  if (!std::isfinite(result)) return failAt(*run.program, errorOverflow, step.position);
  return push(run, result);
}

// Brings a text to its place, unless it is there.
void place(std::string_view text, char* out) {
  if (text.data() != out && !text.empty()) std::memmove(out, text.data(), text.size());
}

int pushAt(Run& run, char* out, std::string_view text) {
  place(text, out);
  return push(run, std::string_view(out, text.size()));
}

// A day as the calendar's functions take it; what is out of reach is no day.
long dayOfNumber(double value) {
  constexpr double farthest = 1e9;
  return std::fabs(value) < farthest ? static_cast<long>(std::floor(value)) : invalidDay;
}

// The order of two texts, the shorter of which counts as padded with blanks.
int compare(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
  if (order != 0) return order;
  const bool firstIsLonger = a.size() > common;
  for (const char c : (firstIsLonger ? a : b).substr(common)) {
    if (c != ' ') return (static_cast<unsigned char>(c) > ' ') == firstIsLonger ? 1 : -1;
  }
  return 0;
}

template <class Relation>
int compareTexts(Run& run, Relation relation) {
  const std::string_view right = textOf(pop(run));
  const std::string_view left = textOf(pop(run));
  return push(run, static_cast<bool>(relation(compare(left, right), 0)));
}

template <class Relation>
int compareNumbers(Run& run, Relation relation) {
  const double right = pop(run).number;
  const double left = pop(run).number;
  return push(run, static_cast<bool>(relation(left, right)));
}

template <class Operation>
int calculate(Run& run, const Step& step, Operation operation) {
  const double right = pop(run).number;
  const double left = pop(run).number;
  return pushFinite(run, step, operation(left, right));
}

std::size_t lengthWithoutBlanks(std::string_view text) { return text.find_last_not_of(' ') + 1; }

Day calendarDay(long julian) {
  Day day;
  dayOf(julian, &day);
  return day;
}

Day popTextDay(Run& run) { return calendarDay(julianOfText(textOf(pop(run)))); }
Day popDay(Run& run) { return calendarDay(dayOfNumber(pop(run).number)); }

}  // namespace

int fieldInPlace(Run& run, const Step& step) {
  return push(run, fieldText(run.table(step), step.field));
}

int fieldCopy(Run& run, const Step& step) {
  return pushAt(run, run.out(step), fieldText(run.table(step), step.field));
}

int fieldTruth(Run& run, const Step& step) {
  const char c = fieldChar(run.table(step), step.field);
  return push(run, c == 'T' || c == 't' || c == 'Y' || c == 'y');
}

int fieldDay(Run& run, const Step& step) {
  return push(run, static_cast<double>(julianOfText(fieldText(run.table(step), step.field))));
}

int fieldValue(Run& run, const Step& step) {
  return pushFinite(run, step, fieldNumber(run.table(step), step.field));
}

int memo(Run& run, const Step& step) {
  std::string text;
  const int result = memoText(run.table(step), step.field, &text);
  if (result < 0) return result;
  return pushAt(run, run.out(step), std::string_view(text).substr(0, step.length));
}

int number(Run& run, const Step& step) { return push(run, step.number); }

int text(Run& run, const Step& step) {
  return push(run, std::string_view(run.program->source).substr(step.begin, step.count));
}

int constantTrue(Run& run, const Step& /*step*/) { return push(run, true); }
int constantFalse(Run& run, const Step& /*step*/) { return push(run, false); }

int logicalNot(Run& run, const Step& /*step*/) { return push(run, !pop(run).truth); }

int logicalOr(Run& run, const Step& step) {
  bool result = false;
  for (std::size_t i = 0; i < step.operands; ++i) result = pop(run).truth || result;
  return push(run, result);
}

int logicalAnd(Run& run, const Step& step) {
  bool result = true;
  for (std::size_t i = 0; i < step.operands; ++i) result = pop(run).truth && result;
  return push(run, result);
}

// The first operand lies where the result goes, or is brought there, and the
// second mostly lies behind it already.
int joinFixed(Run& run, const Step& step) {
  const std::string_view right = textOf(pop(run));
  const std::string_view left = textOf(pop(run));
  char* out = run.out(step);
  place(left, out);
  place(right, out + left.size());
  return push(run, std::string_view(out, left.size() + right.size()));
}

// A first operand that is shorter than it might be has the second moved up to
// it; the blanks go behind the whole, when all is done.
int joinVarying(Run& run, const Step& step) { return joinFixed(run, step); }

int joinMovingBlanks(Run& run, const Step& step) {
  const std::string_view right = textOf(pop(run));
  const std::string_view left = textOf(pop(run));
  char* out = run.out(step);
  const std::size_t kept = lengthWithoutBlanks(left);
  place(left.substr(0, kept), out);
  place(right, out + kept);
  std::memset(out + kept + right.size(), ' ', left.size() - kept);
  return push(run, std::string_view(out, left.size() + right.size()));
}

int add(Run& run, const Step& step) { return calculate(run, step, std::plus<>()); }
int subtract(Run& run, const Step& step) { return calculate(run, step, std::minus<>()); }
int multiply(Run& run, const Step& step) { return calculate(run, step, std::multiplies<>()); }
int divide(Run& run, const Step& step) { return calculate(run, step, std::divides<>()); }
int power(Run& run, const Step& step) {
  return calculate(run, step,
                   [](double base, double exponent) { return std::pow(base, exponent); });
}

int contains(Run& run, const Step& /*step*/) {
  const std::string_view whole = textOf(pop(run));
  const std::string_view part = textOf(pop(run));
  return push(run, whole.find(part) != std::string_view::npos);
}

int textEqual(Run& run, const Step& /*step*/) { return compareTexts(run, std::equal_to<>()); }
int textUnequal(Run& run, const Step& /*step*/) { return compareTexts(run, std::not_equal_to<>()); }
int textNotLess(Run& run, const Step& /*step*/) {
  return compareTexts(run, std::greater_equal<>());
}
int textNotGreater(Run& run, const Step& /*step*/) {
  return compareTexts(run, std::less_equal<>());
}
int textGreater(Run& run, const Step& /*step*/) { return compareTexts(run, std::greater<>()); }
int textLess(Run& run, const Step& /*step*/) { return compareTexts(run, std::less<>()); }

int numberEqual(Run& run, const Step& /*step*/) { return compareNumbers(run, std::equal_to<>()); }
int numberUnequal(Run& run, const Step& /*step*/) {
  return compareNumbers(run, std::not_equal_to<>());
}
int numberNotLess(Run& run, const Step& /*step*/) {
  return compareNumbers(run, std::greater_equal<>());
}
int numberNotGreater(Run& run, const Step& /*step*/) {
  return compareNumbers(run, std::less_equal<>());
}
int numberGreater(Run& run, const Step& /*step*/) { return compareNumbers(run, std::greater<>()); }
int numberLess(Run& run, const Step& /*step*/) { return compareNumbers(run, std::less<>()); }

int truthEqual(Run& run, const Step& /*step*/) {
  const bool right = pop(run).truth;
  return push(run, pop(run).truth == right);
}

int truthUnequal(Run& run, const Step& /*step*/) {
  const bool right = pop(run).truth;
  return push(run, pop(run).truth != right);
}

int chr(Run& run, const Step& step) {
  char* out = run.out(step);
  const double value = pop(run).number;
  *out = value >= 0 && value < 256 ? static_cast<char>(static_cast<int>(value)) : ' ';
  return push(run, std::string_view(out, 1));
}

int del(Run& run, const Step& step) {
  return push(run, std::string_view(run.table(step).record).substr(0, 1));
}

int str(Run& run, const Step& step) {
  char* out = run.out(step);
  formatNumber(pop(run).number, out, step.count, step.decimals);
  return push(run, std::string_view(out, step.count));
}

int substr(Run& run, const Step& step) {
  const std::string_view whole = textOf(pop(run));
  const std::string_view part =
      step.begin < whole.size() ? whole.substr(step.begin, step.count) : std::string_view();
  return pushAt(run, run.out(step), part);
}

int time(Run& run, const Step& step) { return pushAt(run, run.out(step), timeOfDay()); }

int upper(Run& run, const Step& step) {
  const std::string_view whole = textOf(pop(run));
  char* out = run.out(step);
  place(whole, out);
  for (char* c = out; c != out + whole.size(); ++c) {
    if (*c >= 'a' && *c <= 'z') *c = static_cast<char>(*c - 'a' + 'A');
  }
  return push(run, std::string_view(out, whole.size()));
}

int dtosText(Run& run, const Step& step) {
  return pushAt(run, run.out(step), textOf(pop(run)).substr(0, step.length));
}
int dtosDay(Run& run, const Step& step) {
  return pushAt(run, run.out(step), textOfJulian(dayOfNumber(pop(run).number)));
}

int dtocText(Run& run, const Step& step) {
  return pushAt(run, run.out(step), formatDate(julianOfText(textOf(pop(run))), step.picture));
}
int dtocDay(Run& run, const Step& step) {
  return pushAt(run, run.out(step), formatDate(dayOfNumber(pop(run).number), step.picture));
}

int trim(Run& run, const Step& step) {
  const std::string_view whole = textOf(pop(run));
  return pushAt(run, run.out(step), whole.substr(0, lengthWithoutBlanks(whole)));
}

int ltrim(Run& run, const Step& step) {
  const std::string_view whole = textOf(pop(run));
  return pushAt(run, run.out(step),
                whole.substr(std::min(whole.find_first_not_of(' '), whole.size())));
}

int iifText(Run& run, const Step& step) {
  const std::string_view otherwise = textOf(pop(run));
  const std::string_view then = textOf(pop(run));
  return pushAt(run, run.out(step), pop(run).truth ? then : otherwise);
}

int iifOther(Run& run, const Step& /*step*/) {
  const Value otherwise = pop(run);
  const Value then = pop(run);
  Value& condition = pop(run);
  condition = condition.truth ? then : otherwise;
  ++run.top;
  return ok;
}

int stod(Run& run, const Step& /*step*/) {
  return push(run, static_cast<double>(julianOfText(textOf(pop(run)))));
}

int ctod(Run& run, const Step& step) {
  return push(run, static_cast<double>(parseDate(textOf(pop(run)), step.picture)));
}

int date(Run& run, const Step& /*step*/) {
  return push(run, static_cast<double>(julianDay(today())));
}

int dayText(Run& run, const Step& /*step*/) { return push(run, double(popTextDay(run).day)); }
int dayDay(Run& run, const Step& /*step*/) { return push(run, double(popDay(run).day)); }
int monthText(Run& run, const Step& /*step*/) { return push(run, double(popTextDay(run).month)); }
int monthDay(Run& run, const Step& /*step*/) { return push(run, double(popDay(run).month)); }
int yearText(Run& run, const Step& /*step*/) { return push(run, double(popTextDay(run).year)); }
int yearDay(Run& run, const Step& /*step*/) { return push(run, double(popDay(run).year)); }

int deleted(Run& run, const Step& step) { return push(run, isDeleted(run.table(step))); }
int reccount(Run& run, const Step& step) { return push(run, double(run.table(step).recordCount)); }
int recno(Run& run, const Step& step) { return push(run, double(run.table(step).recordNumber)); }

int val(Run& run, const Step& step) { return pushFinite(run, step, parseNumber(textOf(pop(run)))); }

int calculation(Run& run, const Step& step) {
  return failAt(*run.program, errorFunction, step.position);
}

int pageno(Run& run, const Step& /*step*/) { return push(run, 1.0); }

}  // namespace loomkit::xbase::step
