// SPDX-License-Identifier: MIT
// Expressions of the dBASE family: index keys, filters and conditions, compiled
// to steps in postfix order that run against the current record of a table.
//
//   std::unique_ptr<Expression> key = parseExpression(engine, "NAME+STR(AMOUNT,10,2)", table);
//   if (key == nullptr) ...                       // engine.errorCode, engine.errorPosition
//   std::string_view text;
//   if (key->text(&text) == ok) use(text);        // key->length() bytes
//
// docs/xbase-expressions.md describes the language; expression_table.h is its table.
#ifndef LOOMKIT_XBASE_EXPRESSION_H
#define LOOMKIT_XBASE_EXPRESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace loomkit::xbase {

struct DataFile;
struct Engine;
struct Program;

/// A compiled expression. It belongs to the table that it was parsed for and must
/// not outlive it. Evaluation does not change the table; results lie in the
/// expression or in the record and hold until the next evaluation or the next
/// change of the record.
class Expression {
 public:
  explicit Expression(std::unique_ptr<Program> program);
  Expression(const Expression&) = delete;
  Expression& operator=(const Expression&) = delete;
  ~Expression();

  /// 'C' text, 'L' logical, 'n' number, 'd' date as a Julian day; 'N' and 'D' for
  /// a numeric or date field that stands alone, whose result is the field's text.
  [[nodiscard]] char type() const;
  /// Of the result in bytes: a text's fixed length, 8 for numbers and dates, 1
  /// for a logical.
  [[nodiscard]] std::size_t length() const;
  /// The text that was parsed.
  [[nodiscard]] const std::string& source() const;

  /// The result as text, of types C, N and D: length() bytes, blank padded.
  /// errorOverflow, errorReading or errorInformation (another type).
  int text(std::string_view* result);
  /// The result as a number, of types n, d, N and D; a date is its Julian day.
  int number(double* result);
  /// The result of a logical expression; another type is an error.
  int truth(bool* result);

  /// The length of keys of this expression: 8 for numbers and dates, 1 for a
  /// logical, length() for text.
  [[nodiscard]] std::size_t keyLength() const;
  /// The result as an index stores it: text as it is, a logical as T or F,
  /// numbers and Julian days as eight bytes in the order of their values.
  int key(std::string_view* result);

 private:
  std::unique_ptr<Program> program;
};

/// Compiles `source` for `data`. Null if it cannot be: the engine has the code,
/// and in errorPosition the offset of the byte where it went wrong.
std::unique_ptr<Expression> parseExpression(Engine& engine, std::string_view source,
                                            DataFile& data);

/// Whether a logical expression is true for the current record: 1 or 0, or a
/// negative code.
int exprTrue(Expression& expression);

/// The eight bytes by which an index orders a number: most significant first;
/// from 0 on the first has 128 added, below 0 all are complemented. Both zeros
/// have the bytes of 0.
void encodeKeyNumber(double value, unsigned char (&bytes)[8]) noexcept;
/// The number of such bytes.
double decodeKeyNumber(const unsigned char (&bytes)[8]) noexcept;

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_EXPRESSION_H
