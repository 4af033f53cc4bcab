// SPDX-License-Identifier: MIT
// Random expressions of every type against values that are worked out while the
// expressions are made: the generator is the second, simple evaluator.
#include <cmath>
#include <random>

#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/expression.h"
#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

// An expression and what it is worth. A text keeps the length that it may have at
// most, and the bytes that it has.
struct Made {
  std::string source;
  std::string text;
  std::size_t length = 0;
  double number = 0;
  bool truth = false;
};

std::string padded(std::string text, std::size_t length) {
  text.resize(std::max(length, text.size()), ' ');
  return text;
}

int compareTexts(const std::string& a, const std::string& b) {
  const std::size_t length = std::max(a.size(), b.size());
  return padded(a, length).compare(padded(b, length));
}

class Generator {
 public:
  explicit Generator(unsigned seed) : random(seed) {}

  Made text(int depth);
  Made number(int depth);
  Made date(int depth);
  Made truth(int depth);

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random() % limit); }
  // Sometimes in brackets or behind blanks, which change nothing.
  std::string dress(const std::string& source) {
    return below(3) == 0 ? "( " + source + " )" : source;
  }
  static Made textOf(const std::string& source, const std::string& value, std::size_t length) {
    Made made;
    made.source = source;
    made.text = value;
    made.length = length;
    return made;
  }
  static Made numberOf(const std::string& source, double value) {
    Made made;
    made.source = source;
    made.number = value;
    return made;
  }
  static Made truthOf(const std::string& source, bool value) {
    Made made;
    made.source = source;
    made.truth = value;
    return made;
  }

  std::mt19937 random;
};

Made Generator::text(int depth) {
  if (depth == 0 || below(5) == 0) {
    switch (below(3)) {
      case 0:
        return textOf("NAME", "  Bolt  ", 8);
      case 1:
        return textOf("CODE", "b7  ", 4);
      default:
        return textOf("'x y '", "x y ", 4);
    }
  }
  const Made a = text(depth - 1);
  const std::size_t last = a.text.find_last_not_of(' ') + 1;
  switch (below(8)) {
    case 0: {
      const Made b = text(depth - 1);
      return textOf(dress(a.source + " + (" + b.source + ")"), a.text + b.text,
                    a.length + b.length);
    }
    case 1: {
      const Made b = text(depth - 1);
      return textOf(dress(a.source + "-(" + b.source + ")"),
                    a.text.substr(0, last) + b.text + std::string(a.text.size() - last, ' '),
                    a.length + b.length);
    }
    case 2:
      return textOf("TRIM(" + a.source + ")", a.text.substr(0, last), a.length);
    case 3:
      return textOf("ltrim( " + a.source + ")",
                    a.text.substr(std::min(a.text.find_first_not_of(' '), a.text.size())),
                    a.length);
    case 4: {
      std::string upper = a.text;
      for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
      return textOf("UPPER(" + a.source + ")", upper, a.length);
    }
    case 5: {
      const unsigned start = 1 + below(6);
      const unsigned count = below(9);
      const std::string part = a.text.size() < start ? "" : a.text.substr(start - 1, count);
      const std::size_t room = a.length < start ? 0 : a.length - (start - 1);
      return textOf(
          "SUBSTR(" + a.source + "," + std::to_string(start) + "," + std::to_string(count) + ")",
          part, std::min<std::size_t>(count, room));
    }
    case 6: {
      const Made condition = truth(depth - 1);
      return textOf("IIF(" + condition.source + "," + a.source + ",UPPER(" + a.source + "))",
                    condition.truth ? a.text : [&] {
                      std::string upper = a.text;
                      for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
                      return upper;
                    }(),
                    a.length);
    }
    default: {
      const Made day = date(depth - 1);
      return textOf("DTOS(" + day.source + ")", textOfJulian(static_cast<long>(day.number)), 8);
    }
  }
}

Made Generator::number(int depth) {
  if (depth == 0 || below(5) == 0) {
    const unsigned kind = below(3);
    if (kind == 0) return numberOf("AMOUNT", 1234.5);
    if (kind == 1) return numberOf("RECNO()", 1);
    const unsigned value = below(50);
    return numberOf(std::to_string(value), value);
  }
  const Made a = number(depth - 1);
  const Made b = number(depth - 1);
  switch (below(5)) {
    case 0:
      return numberOf("(" + a.source + "+" + b.source + ")", a.number + b.number);
    case 1:
      return numberOf("(" + a.source + "-(" + b.source + "))", a.number - b.number);
    case 2:
      return numberOf("(" + a.source + "*" + b.source + ")", a.number * b.number);
    case 3: {
      const Made condition = truth(depth - 1);
      return numberOf("IIF(" + condition.source + "," + a.source + "+0," + b.source + "+0)",
                      condition.truth ? a.number : b.number);
    }
    default: {
      const Made x = date(depth - 1);
      const Made y = date(depth - 1);
      return numberOf("(" + x.source + "-" + y.source + ")", x.number - y.number);
    }
  }
}

Made Generator::date(int depth) {
  if (depth == 0 || below(3) == 0) return numberOf("STOD('19950726')", 2449925);
  const Made a = date(depth - 1);
  const unsigned days = below(400);
  if (below(2) == 0)
    return numberOf("(" + a.source + "+" + std::to_string(days) + ")", a.number + days);
  return numberOf("(" + std::to_string(days) + "+" + a.source + ")", a.number + days);
}

Made Generator::truth(int depth) {
  if (depth == 0 || below(6) == 0)
    return below(2) == 0 ? truthOf("GOOD", true) : truthOf(".F.", false);
  const char* relations[] = {"=", "#", "<>", "<", ">", "<=", ">="};
  const unsigned relation = below(7);
  const auto holds = [relation](int order) {
    const bool values[] = {order == 0,        order != 0, order != 0,
                           order<0, order> 0, order <= 0, order >= 0};
    return values[relation];
  };
  switch (below(6)) {
    case 0: {
      const Made a = truth(depth - 1);
      const Made b = truth(depth - 1);
      const Made c = truth(depth - 1);
      return truthOf("(" + a.source + ".AND." + b.source + " .and. " + c.source + ")",
                     a.truth && b.truth && c.truth);
    }
    case 1: {
      const Made a = truth(depth - 1);
      const Made b = truth(depth - 1);
      return truthOf("(" + a.source + " .OR." + b.source + ")", a.truth || b.truth);
    }
    case 2: {
      const Made a = truth(depth - 1);
      return truthOf("(.NOT." + a.source + ")", !a.truth);
    }
    case 3: {
      const Made a = text(depth - 1);
      const Made b = text(depth - 1);
      return truthOf("(" + a.source + relations[relation] + b.source + ")",
                     holds(compareTexts(a.text, b.text)));
    }
    case 4: {
      const Made a = text(depth - 1);
      const Made b = text(depth - 1);
      return truthOf("(" + a.source + " $ " + b.source + ")",
                     b.text.find(a.text) != std::string::npos);
    }
    default: {
      const Made a = number(depth - 1);
      const Made b = number(depth - 1);
      return truthOf("(" + a.source + relations[relation] + b.source + ")",
                     holds(a.number < b.number   ? -1
                           : a.number > b.number ? 1
                                                 : 0));
    }
  }
}

class XBaseExpressionModel : public TableTest {
 protected:
  XBaseExpressionModel() {
    table = createDataFile(
        engine, scratch / "t.dbf",
        {{"NAME", 'C', 8, 0}, {"CODE", 'C', 4, 0}, {"AMOUNT", 'N', 10, 2}, {"GOOD", 'L', 0, 0}});
    startAppend(*table);
    blank(*table);
    assignText(*table, 0, "  Bolt");
    assignText(*table, 1, "b7");
    assignDouble(*table, 2, 1234.5);
    assignChar(*table, 3, 'T');
    finishAppend(*table);
  }
  TableOwner table;
};

TEST_F(XBaseExpressionModel, GivesWhatASimpleEvaluatorGives) {
  constexpr unsigned seed = 20261122;
  Generator generator(seed);
  for (int i = 0; i < 8000; ++i) {
    const int depth = i % 5;
    const Made made = i % 3 == 0   ? generator.text(depth)
                      : i % 3 == 1 ? generator.number(depth)
                                   : generator.truth(depth);
    const std::unique_ptr<Expression> expression = parseExpression(engine, made.source, *table);
    ASSERT_NE(expression, nullptr) << "seed " << seed << ", " << engine.errorCode << " at "
                                   << engine.errorPosition << ": " << made.source;
    std::string_view text;
    double number = 0;
    bool truth = false;
    if (i % 3 == 0) {
      ASSERT_EQ(expression->length(), made.length) << made.source;
      ASSERT_EQ(expression->text(&text), ok);
      ASSERT_EQ(text, padded(made.text, made.length)) << made.source;
    } else if (i % 3 == 1) {
      ASSERT_EQ(expression->number(&number), ok);
      ASSERT_EQ(number, made.number) << made.source;
    } else {
      ASSERT_EQ(expression->truth(&truth), ok);
      ASSERT_EQ(truth, made.truth) << made.source;
    }
  }
}

}  // namespace
}  // namespace loomkit::xbase
