// SPDX-License-Identifier: MIT
// The type pass: finds for each step the overload that fits its operands, and
// where its result goes.
#include <algorithm>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/expression_program.h"
#include "loomkit/xbase/expression_table.h"

namespace loomkit::xbase {
namespace {

constexpr std::size_t numberLength = 8;
constexpr std::size_t timeLength = 8;

// An operand on the stack, as far as it is known without a record.
struct Operand {
  char type;
  std::size_t length;
  std::size_t step;  // that produces it
  std::size_t room;  // where its text begins
};

// Whether an operand of type `given` can stand where `wanted` is asked for, as
// it is or converted by the step that fetches it.
bool fits(char given, char wanted) {
  return given == wanted || (given == 'D' && wanted == 'd') || (given == 'N' && wanted == 'n');
}

// Steps that change a text where it stands, or need it at its place.
bool wantsCopy(int code) {
  return code == codePlus || code == codeMinus || code == codeSubstr || code == codeUpper ||
         code == codeTrim || code == codeLtrim || code == codeLeft;
}

bool isVarying(const Step& step) {
  const int code = step.row->code;
  return code == codeMemoField || code == codeTrim || code == codeLtrim;
}

class TypePass {
 public:
  explicit TypePass(Program* target)
      : program(target),
        varying(std::any_of(target->steps.begin(), target->steps.end(), isVarying)) {}

  int run();

 private:
  int resolve(std::size_t index);
  const FunctionRow* findOverload(const Step& step, const Operand* operands) const;
  void convert(Operand* operands, const Step& step);
  int measure(Step* step, const Operand* operands);
  [[nodiscard]] std::size_t lengthOf(const Step& step, const Operand* operands) const;

  Program* program;
  bool varying;
  std::vector<Operand> stack;
  std::size_t deepest = 0;
  std::size_t room = 0;
};

char wantedType(const FunctionRow& row, std::size_t operand) {
  return row.operands < 0 ? row.types[0] : row.types[operand];
}

const FunctionRow* TypePass::findOverload(const Step& step, const Operand* operands) const {
  for (const FunctionRow* row = step.row; row != nullptr; row = nextOverload(row)) {
    bool good = true;
    for (std::size_t i = 0; i < step.operands && good; ++i)
      good = fits(operands[i].type, wantedType(*row, i));
    if (good) return row;
  }
  return nullptr;
}

// Changes the steps that fetch fields to what this step wants of them.
void TypePass::convert(Operand* operands, const Step& step) {
  for (std::size_t i = 0; i < step.operands; ++i) {
    Step& producer = program->steps[operands[i].step];
    if (operands[i].type != wantedType(*step.row, i)) {
      const bool isDate = operands[i].type == 'D';
      producer.row = rowOf(isDate ? codeDateFieldDay : codeNumericFieldValue);
      producer.length = numberLength;
      operands[i].length = numberLength;
    }
    if (producer.row->code == codeTextField && wantsCopy(step.row->code))
      producer.row = rowOf(codeTextFieldCopy);
  }
}

std::size_t TypePass::lengthOf(const Step& step, const Operand* operands) const {
  switch (step.row->code) {
    case codeTextField:
    case codeDateField:
    case codeNumericField:
      return program->tables[step.table].data->fields[step.field].width;
    case codeMemoField:
      return program->engine->memoTextLength;
    case codeText:
    case codeStr:
      return step.count;
    case codeChr:
    case codeDel:
      return 1;
    case codeTime:
      return timeLength;
    case codeDtoc:
      return step.picture.size();
    case codeSubstr:
    case codeLeft: {
      const std::size_t whole = operands[0].length;
      return step.begin < whole ? std::min(step.count, whole - step.begin) : 0;
    }
    case codePlus:
    case codeMinus:
      return step.row->result == 'C' ? operands[0].length + operands[1].length : numberLength;
    case codeUpper:
    case codeTrim:
    case codeLtrim:
      return operands[0].length;
    case codeIif:
      return operands[1].length;
    default:
      return step.row->result == 'L' ? 1 : numberLength;
  }
}

// Sets the length of the result and its place, which is that of the first
// operand: what is taken from the stack gives its room back.
int TypePass::measure(Step* step, const Operand* operands) {
  const int code = step->row->code;
  if (code == codeDtoc || code == codeCtod) step->picture = program->picture;
  step->room = step->operands > 0 ? operands[0].room : room;
  step->length = lengthOf(*step, operands);
  if (code == codeIif && operands[1].length != operands[2].length)
    return failAt(*program, errorIifLength, step->position);
  // Numbers and logicals lie on the stack itself.
  const char type = step->row->result;
  const bool isText = type == 'C' || type == 'D' || type == 'N';
  room = step->room + (isText ? step->length : 0);
  if (room > largestBuffer) return failAt(*program, errorMemory, step->position);
  if (room > program->buffer.size()) program->buffer.resize(room);
  return ok;
}

int TypePass::resolve(std::size_t index) {
  Step& step = program->steps[index];
  // All overloads take the same number.
  if (step.row->operands >= 0 && step.operands != static_cast<std::size_t>(step.row->operands))
    return failAt(*program, errorParameterCount, step.position);
  Operand* operands = stack.data() + (stack.size() - step.operands);
  const FunctionRow* row = findOverload(step, operands);
  if (row == nullptr) return failAt(*program, errorOperandType, step.position);
  step.row = row;
  convert(operands, step);
  if (varying && row->code == codePlus && row->result == 'C') step.row = nextOverload(row);
  const int result = measure(&step, operands);
  if (result < 0) return result;
  const Operand made{step.row->result, step.length, index, step.room};
  stack.resize(stack.size() - step.operands);
  stack.push_back(made);
  deepest = std::max(deepest, stack.size());
  return ok;
}

int TypePass::run() {
  for (std::size_t i = 0; i < program->steps.size(); ++i) {
    const int result = resolve(i);
    if (result < 0) return result;
  }
  program->type = stack.back().type;
  program->length = stack.back().length;
  program->stack.resize(deepest);
  return ok;
}

}  // namespace

int resolveTypes(Program* program) { return TypePass(program).run(); }

}  // namespace loomkit::xbase
