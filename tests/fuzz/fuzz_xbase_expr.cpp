// SPDX-License-Identifier: MIT
// Expressions of any bytes: what compiles has a result of its length at every
// record, and compiles again to the same.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/expression.h"
#include "loomkit/xbase/field.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

using namespace loomkit::xbase;

void require(bool holds) {
  if (!holds) std::abort();
}

std::unique_ptr<DataFile> makeTable(Engine& engine) {
  static const loomkit::testing::FuzzDirectory directory;
  std::unique_ptr<DataFile> table = createDataFile(engine, directory.path() + "/parts.dbf",
                                                   {{"NAME", 'C', 8, 0},
                                                    {"CODE", 'C', 4, 0},
                                                    {"AMOUNT", 'N', 10, 2},
                                                    {"BORN", 'D', 0, 0},
                                                    {"GOOD", 'L', 0, 0},
                                                    {"NOTE", 'M', 0, 0}});
  require(table != nullptr);
  for (int i = 0; i < 2; ++i) {
    startAppend(*table);
    blank(*table);
    if (i == 0) {
      assignText(*table, 0, "  Bolt");
      assignText(*table, 1, "b7");
      assignDouble(*table, 2, -12.5);
      assignText(*table, 3, "19950726");
      assignChar(*table, 4, 'T');
      assignMemo(*table, 5, "a memo");
    }
    require(finishAppend(*table) == ok);
  }
  return table;
}

void evaluate(Engine& engine, Expression& expression) {
  std::string_view bytes;
  double number = 0;
  bool truth = false;
  const char type = expression.type();
  if (type == 'C' || type == 'N' || type == 'D') {
    if (expression.text(&bytes) == ok) require(bytes.size() == expression.length());
  } else if (type == 'L') {
    static_cast<void>(expression.truth(&truth));
  } else {
    static_cast<void>(expression.number(&number));
  }
  engine.errorCode = 0;
  if (expression.key(&bytes) == ok) require(bytes.size() == expression.keyLength());
  engine.errorCode = 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Engine engine;
  static const std::unique_ptr<DataFile> table = makeTable(engine);
  engine.report = Reporting::none();
  // What the evaluation of the input before has left is not this one's.
  engine.errorCode = 0;
  engine.errorPosition = 0;
  const std::string_view source(reinterpret_cast<const char*>(data), size);
  const std::unique_ptr<Expression> expression = parseExpression(engine, source, *table);
  require((expression == nullptr) == (engine.errorCode < 0) && engine.errorPosition <= size + 1);
  engine.errorCode = 0;
  engine.errorPosition = 0;
  if (expression == nullptr) return 0;
  for (std::uint32_t n = 0; n <= table->recordCount + 1; ++n) {
    static_cast<void>(go(*table, n));
    evaluate(engine, *expression);
  }
  const std::unique_ptr<Expression> again = parseExpression(engine, expression->source(), *table);
  require(again != nullptr && again->type() == expression->type() &&
          again->length() == expression->length());
  return 0;
}
