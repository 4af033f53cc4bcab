// SPDX-License-Identifier: MIT
// Expressions from text to value in one call, nothing cached, beside other
// evaluators and two hand loops: the least code that could read the same text.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#ifdef LOOMKIT_PEER_MUPARSER
#include <muParser.h>
#endif
#ifdef LOOMKIT_PEER_LUA
#include <lua.hpp>
#endif

#include "loomkit/loomkit.h"

namespace {

constexpr double xValue = 0.7;

struct Work {
  const char* name;
  std::string rpn;
  std::string infix;
};

// 201 tokens, a quarter of them parameters.
Work longWork() {
  Work work{"201-tokens", "1", "1"};
  const char* const operators[] = {"+", "*", "-", "/"};
  for (int i = 0; i < 100; ++i) {
    const std::string operand = i % 2 == 0 ? "x" : std::to_string(i * 37 % 1000 + 1) + ".25";
    const char* const op = operators[i / 2 % 4];
    work.rpn += std::string(" ") + (operand == "x" ? "$x" : operand) + ' ' + op;
    work.infix = '(' + work.infix + op + operand + ')';
  }
  return work;
}

const Work works[] = {
    {"1-2-plus", "1 2 +", "1+2"},
    {"parameter", "$x 2 * 1 +", "x*2+1"},
    {"sin2-cos2", "$x sin dup * $x cos dup * +", "sin(x)*sin(x)+cos(x)*cos(x)"},
    longWork(),
};

class OneParam : public GRpnParamSet {
 public:
  bool lookup(const char*, unsigned, GRpnValue* value, GRpnErrMsg*) override {
    value->setNumber(xValue);
    return true;
  }
};

void ours(benchmark::State& state, const Work* work) {
  GRpnEval eval;
  auto* const params = new OneParam;
  eval.setParamSet(params);
  params->decRef();
  double result = 0;
  for (auto _ : state) {
    eval.evalFloat(work->rpn.c_str(), &result);
    benchmark::DoNotOptimize(result);
  }
}

// The hand loops: doubles on a fixed stack, no checks, no errors.
double strtodLoop(const char* p) {
  double stack[256];
  double* top = stack;
  for (; *p != '\0';) {
    if (*p == ' ') {
      ++p;
    } else if (*p >= '0' && *p <= '9') {
      char* end = nullptr;
      *top++ = std::strtod(p, &end);
      p = end;
    } else if (*p == '$') {
      *top++ = xValue;
      p += 2;
    } else if (std::strncmp(p, "sin", 3) == 0) {
      top[-1] = std::sin(top[-1]);
      p += 3;
    } else if (std::strncmp(p, "cos", 3) == 0) {
      top[-1] = std::cos(top[-1]);
      p += 3;
    } else if (std::strncmp(p, "dup", 3) == 0) {
      *top = top[-1];
      ++top;
      p += 3;
    } else {
      const double b = *--top;
      double& a = top[-1];
      if (*p == '+') a += b;
      if (*p == '-') a -= b;
      if (*p == '*') a *= b;
      if (*p == '/') a /= b;
      ++p;
    }
  }
  return top[-1];
}

// With tagged values and a reader of its own, still without a check.
struct Tagged {
  int type;
  double number;
};
double typedLoop(const char* p) {
  Tagged stack[256];
  Tagged* top = stack;
  for (; *p != '\0';) {
    switch (*p) {
      case ' ':
        ++p;
        break;
      case '$':
        *top++ = {1, xValue};
        p += 2;
        break;
      case '+':
        --top;
        top[-1].number += top->number;
        ++p;
        break;
      case '-':
        --top;
        top[-1].number -= top->number;
        ++p;
        break;
      case '*':
        --top;
        top[-1].number *= top->number;
        ++p;
        break;
      case '/':
        --top;
        top[-1].number /= top->number;
        ++p;
        break;
      case 's':
        top[-1].number = std::sin(top[-1].number);
        p += 3;
        break;
      case 'c':
        top[-1].number = std::cos(top[-1].number);
        p += 3;
        break;
      case 'd':
        *top = top[-1];
        ++top;
        p += 3;
        break;
      default: {
        double value = 0;
        for (; *p >= '0' && *p <= '9'; ++p) value = value * 10 + (*p - '0');
        if (*p == '.') {
          double scale = 0.1;
          for (++p; *p >= '0' && *p <= '9'; ++p, scale *= 0.1) value += scale * (*p - '0');
        }
        *top++ = {1, value};
      }
    }
  }
  return top[-1].number;
}

template <double (*loop)(const char*)>
void handLoop(benchmark::State& state, const Work* work) {
  const char* text = work->rpn.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(loop(text));
  }
}

#ifdef LOOMKIT_PEER_MUPARSER
void muParser(benchmark::State& state, const Work* work) {
  mu::Parser parser;
  double x = xValue;
  parser.DefineVar("x", &x);
  for (auto _ : state) {
    parser.SetExpr(work->infix);
    benchmark::DoNotOptimize(parser.Eval());
  }
}
#endif

#ifdef LOOMKIT_PEER_LUA
void runLua(benchmark::State& state, const std::string& text) {
  lua_State* const lua = luaL_newstate();
  luaL_openlibs(lua);
  if (luaL_dostring(lua, "sin, cos, x = math.sin, math.cos, 0.7")) state.SkipWithError("lua");
  for (auto _ : state) {
    if (luaL_dostring(lua, text.c_str())) state.SkipWithError("lua");
    lua_settop(lua, 0);
  }
  lua_close(lua);
}
void lua(benchmark::State& state, const Work* work) { runLua(state, "return " + work->infix); }
void luaStrings(benchmark::State& state) { runLua(state, "return 'abc' .. 'def' .. 'ghi'"); }
#endif

void oursStrings(benchmark::State& state) {
  GRpnEval eval;
  GRpnValue result;
  for (auto _ : state) {
    eval.eval("\"abc\" \"def\" + \"ghi\" +", &result);
    benchmark::DoNotOptimize(result);
  }
}

// How cost grows with the length of the text.
void oursGrowth(benchmark::State& state) {
  std::string text = "1";
  for (std::int64_t i = 0; i < state.range(0); ++i) text += " 2 +";
  GRpnEval eval;
  double result = 0;
  for (auto _ : state) eval.evalFloat(text.c_str(), &result);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

const bool registered = [] {
  for (const Work& work : works) {
    const std::string name = std::string("eval/") + work.name + '/';
    const auto add = [&](const char* who, auto* function) {
      benchmark::RegisterBenchmark((name + who).c_str(), function, &work);
    };
    add("ours", ours);
    add("typed-loop", handLoop<typedLoop>);
    add("strtod-loop", handLoop<strtodLoop>);
#ifdef LOOMKIT_PEER_MUPARSER
    add("muparser", muParser);
#endif
#ifdef LOOMKIT_PEER_LUA
    add("lua", lua);
#endif
  }
  benchmark::RegisterBenchmark("eval/strings/ours", oursStrings);
#ifdef LOOMKIT_PEER_LUA
  benchmark::RegisterBenchmark("eval/strings/lua", luaStrings);
#endif
  benchmark::RegisterBenchmark("growth/eval/ours", oursGrowth)
      ->RangeMultiplier(10)
      ->Range(100, 1000000);
  return true;
}();

}  // namespace
