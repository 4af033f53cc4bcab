// SPDX-License-Identifier: MIT
// What a compiled expression is made of: steps in postfix order, and the room in
// which they run.
#ifndef LOOMKIT_XBASE_EXPRESSION_PROGRAM_H
#define LOOMKIT_XBASE_EXPRESSION_PROGRAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace loomkit::xbase {

struct DataFile;
struct Engine;
struct FunctionRow;

/// One step: an operand that is pushed, or an operator or function that takes
/// its operands from the stack and pushes its result.
struct Step {
  const FunctionRow* row = nullptr;
  std::size_t operands = 0;  ///< that it takes from the stack
  std::size_t position = 0;  ///< in the source, for errors

  // What kind of operand or call it is, decides which of these count.
  std::size_t table = 0;     ///< in Program::tables, of a field
  std::size_t field = 0;     ///< number of a field
  double number = 0;         ///< a numeric literal
  std::size_t begin = 0;     ///< of a text literal in the source, or of SUBSTR, from 0
  std::size_t count = 0;     ///< characters of a text literal, SUBSTR, LEFT or STR
  unsigned decimals = 0;     ///< of STR
  std::string_view picture;  ///< of DTOC and CTOD

  // Set by the type pass.
  std::size_t room = 0;    ///< offset in Program::buffer of the result's bytes
  std::size_t length = 0;  ///< of the result, at most
};

/// A value on the stack. Which member counts, the type of its step tells.
struct Value {
  const char* text = nullptr;
  std::size_t length = 0;
  double number = 0;
  bool truth = false;
};

/// A table whose fields the program reads.
struct ProgramTable {
  DataFile* data = nullptr;
  std::uint64_t serial = 0;  ///< to know it by, since another may get its address
};

/// A compiled expression.
struct Program {
  Engine* engine = nullptr;
  std::string source;
  std::vector<ProgramTable> tables;  ///< the expression's own first
  std::vector<Step> steps;
  std::string picture;  ///< the date format at the time of parsing
  char type = 'C';      ///< of the result
  std::size_t length = 0;

  std::vector<Value> stack;  ///< as deep as it gets
  std::string buffer;        ///< room for the texts of all values on the stack
  unsigned char key[8] = {};
};

/// The most bytes that the texts on the stack may need together. A longer
/// expression is refused, so that none can ask for any amount of memory.
inline constexpr std::size_t largestBuffer = std::size_t{256} << 10;

/// A program while it runs.
struct Run {
  Program* program;
  Value* top;  ///< behind the last value

  [[nodiscard]] DataFile& table(const Step& step) const {
    return *program->tables[step.table].data;
  }
  /// Where the text of the step's result goes.
  [[nodiscard]] char* out(const Step& step) const { return program->buffer.data() + step.room; }
};

/// Turns `program->source` into steps, without types. A code.
int compile(Program* program);
/// Finds the overload of each step by the types of its operands, and lays out
/// the stack and the buffer. A code.
int resolveTypes(Program* program);
/// Keeps the code and where in the source it happened, and reports it. The code.
int failAt(const Program& program, int code, std::size_t position, const char* text = nullptr);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_EXPRESSION_PROGRAM_H
