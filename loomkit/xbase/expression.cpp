// SPDX-License-Identifier: MIT
#include "loomkit/xbase/expression.h"

#include <algorithm>
#include <cstring>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/expression_program.h"
#include "loomkit/xbase/expression_table.h"
#include "loomkit/xbase/field.h"

namespace loomkit::xbase {
namespace {

constexpr std::uint64_t signBit = std::uint64_t{1} << 63;

// How much of a source a report shows.
constexpr std::size_t longestReported = 250;

// A table of another alias may have been closed since.
int checkTables(const Program& program) {
  const std::vector<DataFile*>& open = program.engine->dataFiles;
  for (std::size_t i = 1; i < program.tables.size(); ++i) {
    const ProgramTable& table = program.tables[i];
    const auto found = std::find(open.begin(), open.end(), table.data);
    if (found == open.end() || (*found)->serial != table.serial)
      return failAt(program, errorDataFileName, 0);
  }
  return ok;
}

int evaluate(Program& program, Value* result) {
  if (program.engine->errorCode < 0) return program.engine->errorCode;
  const int tables = checkTables(program);
  if (tables < 0) return tables;
  Run run{&program, program.stack.data()};
  for (const Step& step : program.steps) {
    const int code = step.row->routine(run, step);
    if (code < 0) return code;
  }
  *result = program.stack.front();
  return ok;
}

// The result at its full length.
std::string_view padded(Program& program, const Value& value) {
  if (value.length == program.length) return {value.text, value.length};
  char* out = program.buffer.data();
  if (value.text != out && value.length > 0) std::memmove(out, value.text, value.length);
  std::memset(out + value.length, ' ', program.length - value.length);
  return {out, program.length};
}

}  // namespace

int failAt(const Program& program, int code, std::size_t position, const char* text) {
  Engine& engine = *program.engine;
  engine.errorPosition = position;
  const bool reported = engine.report.expressions;
  std::string source;
  if (reported) source = program.source.substr(0, longestReported);
  return fail(engine, code, reported, source.c_str(), text);
}

Expression::Expression(std::unique_ptr<Program> compiled) : program(std::move(compiled)) {}
Expression::~Expression() = default;

char Expression::type() const { return program->type; }
std::size_t Expression::length() const { return program->length; }
const std::string& Expression::source() const { return program->source; }

int Expression::text(std::string_view* result) {
  if (type() != 'C' && type() != 'N' && type() != 'D') return failAt(*program, errorInformation, 0);
  Value value;
  const int code = evaluate(*program, &value);
  if (code == ok) *result = padded(*program, value);
  return code;
}

int Expression::number(double* result) {
  if (type() == 'C' || type() == 'L') return failAt(*program, errorInformation, 0);
  Value value;
  const int code = evaluate(*program, &value);
  if (code < 0) return code;
  const std::string_view text(value.text, value.length);
  *result = type() == 'N'   ? parseNumber(text)
            : type() == 'D' ? static_cast<double>(julianOfText(text))
                            : value.number;
  return ok;
}

int Expression::truth(bool* result) {
  if (type() != 'L')
    return failAt(*program, errorInformation, 0, "Expecting logical result.\r\nexprTrue()");
  Value value;
  const int code = evaluate(*program, &value);
  if (code == ok) *result = value.truth;
  return code;
}

std::size_t Expression::keyLength() const {
  if (type() == 'C' || type() == 'L') return program->length;
  return sizeof program->key;
}

int Expression::key(std::string_view* result) {
  if (type() == 'C') return text(result);
  const auto* bytes = reinterpret_cast<const char*>(program->key);
  if (type() == 'L') {
    bool value = false;
    const int code = truth(&value);
    program->key[0] = value ? 'T' : 'F';
    *result = {bytes, 1};
    return code;
  }
  double value = 0;
  const int code = number(&value);
  encodeKeyNumber(value, program->key);
  *result = {bytes, sizeof program->key};
  return code;
}

int exprTrue(Expression& expression) {
  bool result = false;
  const int code = expression.truth(&result);
  return code < 0 ? code : result ? 1 : 0;
}

std::unique_ptr<Expression> parseExpression(Engine& engine, std::string_view source,
                                            DataFile& data) {
  if (engine.errorCode < 0) return nullptr;
  auto program = std::make_unique<Program>();
  program->engine = &engine;
  program->source = source;
  program->tables.push_back({&data, data.serial});
  program->picture = engine.dateFormat;
  if (compile(program.get()) < 0 || resolveTypes(program.get()) < 0) return nullptr;
  return std::make_unique<Expression>(std::move(program));
}

void encodeKeyNumber(double value, unsigned char (&bytes)[8]) noexcept {
  // A negative zero is equal to zero, and so must be its key.
  if (value == 0) value = 0.0;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  storeBe64(bytes, (bits & signBit) != 0 ? ~bits : bits | signBit);
}

double decodeKeyNumber(const unsigned char (&bytes)[8]) noexcept {
  const std::uint64_t stored = loadBe64(bytes);
  const std::uint64_t bits = (stored & signBit) != 0 ? stored & ~signBit : ~stored;
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace loomkit::xbase
