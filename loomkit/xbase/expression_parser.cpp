// SPDX-License-Identifier: MIT
// The parser of expressions: by operator precedence, over a stack of its own, so
// that brackets may nest as deep as the text is long.
//
// After E. W. Dijkstra's shunting yard (1961).
#include <algorithm>
#include <cmath>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/expression_program.h"
#include "loomkit/xbase/expression_table.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/file_names.h"

namespace loomkit::xbase {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
// Field names of other programs have letters beyond ASCII.
bool isNameChar(char c) {
  return isLetter(c) || isDigit(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

// How many constants stand behind the first argument of a function.
std::size_t constantsOf(int code) {
  if (code == codeStr || code == codeSubstr) return 2;
  return code == codeLeft ? 1 : 0;
}

// What waits on the parser's stack: an operator, or an open bracket.
struct Pending {
  enum class Kind { binary, bracket, call };
  Kind kind;
  const FunctionRow* row;  // null for a bracket
  std::size_t operands;
  std::size_t position;
  bool hasConstants = false;  // they were read
  double constants[2] = {0, 0};
};

class Parser {
 public:
  explicit Parser(Program* target) : program(target), source(target->source) {}

  int parse();

 private:
  int parseValue();
  int parseOperator();
  int parseConstantOrNot();
  int parseString(char closing);
  int parseNumberOrName();
  int parseName();
  int parseCall(std::string_view name, std::size_t begin);
  int parseField(std::string_view name, std::size_t begin, DataFile* data);
  int parseConstants(Pending* call);
  int closeBracket();
  int nextArgument();
  int finish();
  void reduceTo(int priority, const FunctionRow* incoming);
  void pushOperator(const FunctionRow* row, std::size_t begin);
  bool scanNumber(double* value);
  [[nodiscard]] bool startsWith(std::string_view word) const;
  [[nodiscard]] bool atLogicalOperator() const;
  DataFile* findTable(std::string_view alias);
  std::size_t tableNumber(DataFile* data);
  Step& emit(const FunctionRow* row, std::size_t position);
  void skipBlanks();
  [[nodiscard]] char peek(std::size_t ahead = 0) const {
    return at + ahead < source.size() ? source[at + ahead] : '\0';
  }
  int failed(int code, std::size_t position, const char* text = nullptr) {
    return failAt(*program, code, position, text);
  }

  Program* program;
  std::string_view source;
  std::size_t at = 0;
  std::vector<Pending> stack;
  bool wantsValue = true;
  bool done = false;
};

void Parser::skipBlanks() {
  while (peek() == ' ') ++at;
}

// Whether the text goes on with that word, in any letter case.
bool Parser::startsWith(std::string_view word) const {
  if (source.size() - at < word.size()) return false;
  return std::equal(word.begin(), word.end(), source.begin() + static_cast<long>(at),
                    [](char a, char b) { return a == (b >= 'a' && b <= 'z' ? b - 'a' + 'A' : b); });
}

bool Parser::atLogicalOperator() const {
  return startsWith(".AND.") || startsWith(".OR.") || startsWith(".NOT.");
}

Step& Parser::emit(const FunctionRow* row, std::size_t position) {
  Step step;
  step.row = row;
  step.position = position;
  program->steps.push_back(step);
  return program->steps.back();
}

// Emits what binds at least as tight as the new operator, down to the innermost
// open bracket.
void Parser::reduceTo(int priority, const FunctionRow* incoming) {
  while (!stack.empty() && stack.back().kind == Pending::Kind::binary &&
         stack.back().row->priority >= priority) {
    const Pending& top = stack.back();
    // A chain of .AND. or of .OR. stays one step.
    if (incoming != nullptr && top.row == incoming && incoming->operands < 0) return;
    emit(top.row, top.position).operands = top.operands;
    stack.pop_back();
  }
}

void Parser::pushOperator(const FunctionRow* row, std::size_t begin) {
  reduceTo(row->priority, row);
  const bool merges = row->operands < 0 && !stack.empty() && stack.back().row == row;
  if (merges) {
    ++stack.back().operands;
  } else {
    stack.push_back({Pending::Kind::binary, row, 2, begin});
  }
  wantsValue = true;
}

int Parser::parse() {
  skipBlanks();
  if (at == source.size()) return failed(errorResult, at);
  int result = ok;
  while (result == ok && !done) {
    skipBlanks();
    result = wantsValue ? parseValue() : parseOperator();
  }
  return result;
}

int Parser::parseValue() {
  const char c = peek();
  if (c == '(') {
    stack.push_back({Pending::Kind::bracket, nullptr, 0, at++});
    return ok;
  }
  if (c == '.' && !isDigit(peek(1))) return parseConstantOrNot();
  if (c == '\'' || c == '"') return parseString(c);
  if (c == '[') return parseString(']');
  return parseNumberOrName();
}

int Parser::parseConstantOrNot() {
  for (const FunctionRow* row = rowOf(codeTrue); row->code <= codeNot; ++row) {
    if (!startsWith(row->name)) continue;
    const std::size_t begin = at;
    at += row->name.size();
    if (row->code == codeNot) {
      stack.push_back({Pending::Kind::binary, row, 1, begin});
    } else {
      emit(row, begin);
      wantsValue = false;
    }
    return ok;
  }
  return failed(errorValue, at);
}

int Parser::parseString(char closing) {
  const std::size_t begin = at;
  const std::size_t end = source.find(closing, begin + 1);
  if (end == std::string_view::npos) return failed(errorString, begin);
  Step& step = emit(rowOf(codeText), begin);
  step.begin = begin + 1;
  step.count = end - begin - 1;
  at = end + 1;
  wantsValue = false;
  return ok;
}

// Reads a number and moves behind it. False, and nothing moved, for what is none.
bool Parser::scanNumber(double* value) {
  const std::size_t begin = at;
  if (peek() == '-' || peek() == '+') ++at;
  bool digits = false;
  for (; isDigit(peek()) || peek() == '.'; ++at) {
    if (isDigit(peek())) {
      digits = true;
    } else if (atLogicalOperator() || isLetter(peek(1))) {
      break;
    }
  }
  if (!digits || isNameChar(peek())) {
    at = begin;
    return false;
  }
  *value = parseNumber(source.substr(begin, at - begin));
  return true;
}

int Parser::parseNumberOrName() {
  const std::size_t begin = at;
  const char c = peek();
  double value = 0;
  if ((isDigit(c) || c == '-' || c == '+' || c == '.') && scanNumber(&value)) {
    if (!std::isfinite(value)) return failed(errorOverflow, begin);
    emit(rowOf(codeNumber), begin).number = value;
    wantsValue = false;
    return ok;
  }
  return isNameChar(c) ? parseName() : failed(errorValue, begin);
}

int Parser::parseName() {
  const std::size_t begin = at;
  while (isNameChar(peek())) ++at;
  const std::string_view name = source.substr(begin, at - begin);
  const std::size_t behind = at;
  skipBlanks();
  if (peek() == '(') return parseCall(name, begin);
  at = behind;
  DataFile* data = program->tables.front().data;
  if (peek() == '-' && peek(1) == '>') {
    data = findTable(name);
    if (data == nullptr) return failed(errorDataFileName, begin);
    at += 2;
  } else if (peek() == '.' && isNameChar(peek(1)) && !atLogicalOperator()) {
    data = findTable(name);
    if (data == nullptr) return parseField(name, begin, program->tables.front().data);
    ++at;
  } else {
    return parseField(name, begin, data);
  }
  const std::size_t fieldBegin = at;
  while (isNameChar(peek())) ++at;
  return parseField(source.substr(fieldBegin, at - fieldBegin), fieldBegin, data);
}

// The open table of an alias, of which ten characters count; the expression's
// own goes before others of that name.
DataFile* Parser::findTable(std::string_view alias) {
  const std::string wanted = inCapitals(std::string(alias.substr(0, dbf::longestName)));
  DataFile* own = program->tables.front().data;
  const auto isWanted = [&](const DataFile* data) {
    return data->alias.substr(0, dbf::longestName) == wanted;
  };
  if (isWanted(own)) return own;
  const std::vector<DataFile*>& open = program->engine->dataFiles;
  const auto found = std::find_if(open.begin(), open.end(), isWanted);
  return found == open.end() ? nullptr : *found;
}

std::size_t Parser::tableNumber(DataFile* data) {
  std::vector<ProgramTable>& tables = program->tables;
  const auto found = std::find_if(tables.begin(), tables.end(),
                                  [&](const ProgramTable& table) { return table.data == data; });
  const auto number = static_cast<std::size_t>(found - tables.begin());
  if (found == tables.end()) tables.push_back({data, data->serial});
  return number;
}

int Parser::parseField(std::string_view name, std::size_t begin, DataFile* data) {
  const int number = fieldNumber(*data, name);
  if (number < 0) return failed(errorValue, begin);
  const auto field = static_cast<std::size_t>(number);
  int code = codeTextField;
  switch (data->fields[field].type) {
    case 'C':
      break;
    case 'D':
      code = codeDateField;
      break;
    case 'F':
    case 'N':
      code = codeNumericField;
      break;
    case 'L':
      code = codeLogicalField;
      break;
    case 'M':
      code = codeMemoField;
      break;
    default:
      return failed(errorOperandType, begin, "Unknown field type");
  }
  const std::size_t table = tableNumber(data);
  Step& step = emit(rowOf(code), begin);
  step.table = table;
  step.field = field;
  wantsValue = false;
  return ok;
}

int Parser::parseCall(std::string_view name, std::size_t begin) {
  const std::string wanted = inCapitals(std::string(name.substr(0, dbf::longestName)));
  const FunctionRow* row = rowOf(firstFunctionCode);
  while (row->code != codeEnd && (row->name.empty() || row->name != wanted)) ++row;
  if (row->code == codeEnd || name.size() > wanted.size()) return failed(errorFunction, begin);
  ++at;
  stack.push_back({Pending::Kind::call, row, 0, begin});
  skipBlanks();
  if (peek() == ')') {
    wantsValue = false;
    return closeBracket();
  }
  stack.back().operands = 1;
  return ok;
}

// Reads the arguments that are constants, as far as the closing bracket.
int Parser::parseConstants(Pending* call) {
  const std::size_t wanted = constantsOf(call->row->code);
  for (std::size_t i = 0;; ++i) {
    skipBlanks();
    const std::size_t begin = at;
    double value = 0;
    if (!scanNumber(&value)) return failed(errorConstantNeeded, begin);
    skipBlanks();
    if (at == source.size()) return failed(errorCommaExpected, at);
    if (peek() != ',' && peek() != ')') return failed(errorConstantNeeded, begin);
    if (i >= wanted) return failed(errorParameterCount, call->position);
    if (!(value >= 0 && value <= static_cast<double>(dbf::longestRecord)))
      return failed(errorParameter, begin);
    call->constants[i] = value;
    if (peek() == ')') {
      call->hasConstants = i + 1 == wanted;
      return call->hasConstants ? ok : failed(errorParameterCount, call->position);
    }
    ++at;
  }
}

// A comma: of a function with constants they follow, of others the next argument.
int Parser::nextArgument() {
  reduceTo(0, nullptr);
  if (stack.empty()) return failed(errorIncomplete, at);
  Pending& top = stack.back();
  if (top.kind == Pending::Kind::bracket) return failed(errorRightBracket, at);
  ++at;
  if (constantsOf(top.row->code) > 0) return parseConstants(&top);
  ++top.operands;
  wantsValue = true;
  return ok;
}

int Parser::closeBracket() {
  reduceTo(0, nullptr);
  if (stack.empty()) return failed(errorIncomplete, at);
  const Pending top = stack.back();
  stack.pop_back();
  ++at;
  if (top.kind == Pending::Kind::bracket) return ok;
  const int code = top.row->code;
  // Without the comma, the constants were never read.
  if (constantsOf(code) > 0 && !top.hasConstants) return failed(errorParameterCount, top.position);
  Step& step = emit(top.row, top.position);
  step.operands = top.operands;
  const auto first = static_cast<std::size_t>(top.constants[0]);
  const auto second = static_cast<std::size_t>(top.constants[1]);
  if (code == codeStr) {
    step.count = first;
    step.decimals = static_cast<unsigned>(second);
  } else if (code == codeSubstr) {
    step.begin = first > 0 ? first - 1 : 0;
    step.count = second;
  } else if (code == codeLeft) {
    step.count = first;
  }
  return ok;
}

int Parser::finish() {
  reduceTo(0, nullptr);
  if (stack.empty()) {
    done = true;
    return ok;
  }
  const bool bracket = stack.back().kind == Pending::Kind::bracket;
  return failed(bracket ? errorRightBracket : errorCommaExpected, at);
}

int Parser::parseOperator() {
  if (at == source.size()) return finish();
  if (peek() == ')') return closeBracket();
  if (peek() == ',') return nextArgument();
  for (const FunctionRow* row = rowOf(codeNot) + 1; row->code < firstFunctionCode; ++row) {
    if (row->name.empty() || !startsWith(row->name)) continue;
    const std::size_t begin = at;
    at += row->name.size();
    pushOperator(row, begin);
    return ok;
  }
  return failed(errorOperator, at);
}

}  // namespace

int compile(Program* program) { return Parser(program).parse(); }

}  // namespace loomkit::xbase
