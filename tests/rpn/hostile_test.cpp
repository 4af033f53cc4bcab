// SPDX-License-Identifier: MIT
// Texts that nobody means well with: long, deep and unbalanced, evaluated on a
// thread with a small stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>

#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::Evaluator;

constexpr std::size_t megabyte = 1 << 20;

// Runs `body` on a thread with a stack of 256 KiB (more under the sanitizers,
// whose frames are larger).
void onSmallStack(const std::function<void()>& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  const auto start = [](void* function) -> void* {
    (*static_cast<const std::function<void()>*>(function))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start,
                           const_cast<void*>(static_cast<const void*>(&body))),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

std::string repeat(const std::string& text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

TEST(HostileText, AMegabyteOfAnyCharacterEnds) {
  onSmallStack([] {
    Evaluator e;
    for (int c = 1; c < 256; ++c) {
      const std::string text(megabyte, static_cast<char>(c));
      e.errors.clear();
      e.eval.evalVoid(text.c_str());
      EXPECT_LE(e.errors.size(), 1U) << c;
    }
  });
}

TEST(HostileText, DefaultsNestedToAMegabyteAreEvaluated) {
  onSmallStack([] {
    const std::size_t levels = megabyte / 6;
    Evaluator e;
    EXPECT_EQ(e.run((repeat("${a:-", levels) + "7" + std::string(levels, '}')).c_str()), "7");
    // The same, failing at the innermost level.
    const std::string failing = repeat("${a:-", levels) + "+" + std::string(levels, '}');
    EXPECT_EQ(e.run(failing.c_str()), "rpn error: stack underflow:\n >!< +");
    EXPECT_EQ(e.run("1 2 +"), "3");
  });
}

TEST(HostileText, UnclosedNestsAreRefusedAtOnce) {
  onSmallStack([] {
    Evaluator e;
    for (const char* piece : {"${a:-", "${a:-{", "${a:-\"", "${a:-1 ", "{", "${", "$a{"}) {
      e.errors.clear();
      EXPECT_FALSE(e.eval.evalVoid(repeat(piece, megabyte / 8).c_str())) << piece;
    }
  });
}

TEST(HostileText, SiblingsInsideDeepNestsStayQuick) {
  onSmallStack([] {
    Evaluator e;
    const std::string siblings = repeat("${b:-${c:-1}}pop ", 200);
    const std::string flat = repeat("${b:-${c:-{}1}} + ", 20000);
    EXPECT_EQ(e.run((repeat("${a:-", 60) + siblings + "5" + std::string(60, '}')).c_str()), "5");
    e.run(("0 " + flat).c_str());
    EXPECT_EQ(
        e.run((repeat("${a:-", 5000) + repeat("${b:-1} ${c:-2} + ", 1) + std::string(5000, '}'))
                  .c_str()),
        "3");
  });
}

// Literals that the scanner and the search for the closing brace see
// differently: behind "\" the one is outside a literal and the other inside.
TEST(HostileText, LiteralsThatTheTwoReadersDisagreeOnEnd) {
  onSmallStack([] {
    Evaluator e;
    for (const char* piece : {R"(${a:-"\")", R"(${a:-"\"")", R"(${a:-"\\")", R"("\")"}) {
      for (const char* close : {"}", "\"}", "}\"", "\"}\"}"}) {
        const std::string text = repeat(piece, 20000) + "1" + repeat(close, 20000);
        e.errors.clear();
        e.eval.evalVoid(text.c_str());
      }
    }
    e.run((std::string("\"") + std::string(megabyte, '\\')).c_str());
    e.run((std::string("${a:-\"") + std::string(megabyte, '\\') + "\"}").c_str());
  });
}

TEST(HostileText, VectorsNestedAHundredThousandDeepEnd) {
  onSmallStack([] {
    const std::string text = "0 ]" + repeat(" 1 ]", 250000);
    GRpnEval eval;
    GRpnValue a;
    GRpnValue b;
    ASSERT_TRUE(eval.eval(text.c_str(), &a));
    ASSERT_TRUE(eval.eval(text.c_str(), &b));
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a < b);
  });
}

TEST(HostileText, LongLiteralsAreRead) {
  onSmallStack([] {
    Evaluator e;
    EXPECT_EQ(e.run(("\"" + std::string(megabyte, 'x') + "\" size").c_str()), "1048576");
    e.run(std::string(megabyte, '9').c_str());
    e.run(("0." + std::string(megabyte, '9')).c_str());
    e.run(("1e" + std::string(megabyte, '9')).c_str());
    EXPECT_EQ(e.run(("0x" + std::string(megabyte, '0') + "7").c_str()), "7");
    EXPECT_EQ(e.run((std::string("$") + std::string(megabyte, '1')).c_str()).substr(0, 27),
              "rpn error: function has no ");
    e.run(("@" + std::string(megabyte, 'a') + " size").c_str());
    e.run(std::string(megabyte, 'a').c_str());
  });
}

TEST(HostileText, AHugeStackOfValuesIsFreed) {
  Evaluator e;
  EXPECT_FALSE(e.eval.evalVoid(repeat("1 ", megabyte / 2).c_str()));
  EXPECT_EQ(e.run("1"), "1");
}

}  // namespace
