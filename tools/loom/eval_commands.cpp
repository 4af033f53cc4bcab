// SPDX-License-Identifier: MIT
// loom eval: evaluates expressions, from the command line or line by line.
#include <algorithm>
#include <optional>

#include "console.h"
#include "families.h"
#include "line_params.h"
#include "line_source.h"
#include "rpn_host.h"
#include "value_text.h"

namespace loom {

namespace {

// Evaluates and prints, in either format, and keeps what the exit code needs.
class Evaluation {
 public:
  explicit Evaluation(const Invocation& call)
      : host(call), name(call.value("--name")), digits(call.number("--digits", 15, 1, 17)) {
    host.setName(name);
    if (call.json()) json.emplace().beginArray();
  }

  // An expression of the command line.
  void expression(const std::string& expr) {
    host.setName(name);
    one(expr, {});
  }

  // The lines of a file, an expression each. Empty lines and comments, which
  // no expression begins like, are passed over.
  void lines(const std::string& path) {
    LineSource source(path);
    unsigned long number = 0;
    for (std::string line; source.next(&line);) {
      ++number;
      const std::size_t first = line.find_first_not_of(" \t");
      if (first == std::string::npos || line[first] == '#') continue;
      setLineName(path, number);
      one(line, number);
    }
  }

  // Every expression once for each line of a file.
  void map(const std::string& path, const Invocation& call) {
    // A lone - stands for standard input, as it does without --map.
    std::vector<std::string> exprs = call.operands("EXPR");
    std::erase(exprs, "-");
    const Counted<LineParams> params(new LineParams(call.value("--fs"), host.params.get()));
    host.engine.setParamSet(params.get());
    host.setOtherParameters(LineParams::names());
    LineSource source(path);
    unsigned long number = 0;
    for (std::string line; source.next(&line);) {
      params->setLine(line, static_cast<double>(++number));
      setLineName(path, number);
      mapLine(exprs, call.value("--where"), number, params.get());
    }
    host.engine.setParamSet(host.params.get());
  }

  ExitCode end() {
    if (json) json->endArray();
    const unsigned long more = failures - std::min(failures, shownFailures);
    if (more > 0) {
      complain("and " + counted(more, "more error", "more errors"));
    }
    return failures > 0 ? ExitCode::evaluation : ExitCode::done;
  }

 private:
  void setLineName(const std::string& path, unsigned long number) {
    const std::string& file = name.empty() && path != "-" ? path : name;
    host.setName((file.empty() ? "line " : file + ":") + std::to_string(number));
  }

  void one(const std::string& expr, std::optional<unsigned long> line) {
    std::vector<GRpnValue> results;
    const bool good = host.evaluate(expr, &results);
    if (json) {
      json->beginObject();
      if (line) json->key("line").value(*line);
      json->key("expression").value(expr);
      jsonOutcome(good, results);
      json->endObject();
    } else if (good) {
      for (const GRpnValue& value : results) {
        printResult(value);
        print("\n");
      }
    }
    if (!good) fail();
  }

  void mapLine(const std::vector<std::string>& exprs, const std::string& where,
               unsigned long number, LineParams* params) {
    bool wanted = true;
    bool good = where.empty() || host.evaluateBool(where, &wanted);
    if (good && !wanted) return;
    std::vector<GRpnValue> results;
    for (std::size_t i = 0; good && i < exprs.size(); ++i) good = host.evaluate(exprs[i], &results);
    if (json) {
      json->beginObject().key("line").value(number);
      jsonOutcome(good, results);
      json->endObject();
    } else if (good && !results.empty()) {
      for (std::size_t i = 0; i < results.size(); ++i) {
        if (i > 0) print("\t");
        printResult(results[i]);
      }
      print("\n");
    }
    if (!good) return fail();
    if (results.size() == 1) params->setPrevious(results[0]);
  }

  // A string on its own is printed as it is: it is what the caller asked for.
  void printResult(const GRpnValue& value) const {
    if (value.getType() == GRpnValue::String) {
      print(*value.getString());
    } else {
      writeValue(value, digits, print);
    }
  }

  void jsonOutcome(bool good, const std::vector<GRpnValue>& results) {
    if (good) {
      json->key("results").beginArray();
      for (const GRpnValue& value : results) writeJson(value, &*json);
      json->endArray();
      return;
    }
    const RpnReport report = host.report();
    json->key("errors").beginArray().beginObject().key("message").value(report.message);
    json->key("expression").value(report.expression).key("position");
    if (report.position) {
      json->value(*report.position);
    } else {
      json->null();
    }
    if (!report.functions.empty()) json->key("where").value(callerText(report));
    if (!report.suggestion.empty()) json->key("suggestion").value(report.suggestion);
    json->endObject().endArray();
  }

  // Of a million bad lines nobody reads more than the first.
  void fail() {
    if (++failures <= shownFailures) printReport(host.report());
  }

  static constexpr unsigned long shownFailures = 10;

  RpnHost host;
  std::string name;
  int digits;
  std::optional<JsonWriter> json;
  unsigned long failures = 0;
};

ExitCode eval(const Invocation& call) {
  const std::vector<std::string>& exprs = call.operands("EXPR");
  const std::vector<std::string>& files = call.values("--file");
  if (exprs.empty() && (files.empty() || call.has("--map"))) {
    throw Failure(ExitCode::usage, "eval: EXPR is missing", "Try 'loom help eval'.");
  }
  if (!call.has("--map") && (call.has("--fs") || call.has("--where"))) {
    throw Failure(ExitCode::usage, "eval: --fs and --where need --map");
  }
  Evaluation evaluation(call);
  if (call.has("--map")) {
    for (const std::string& file : files.empty() ? std::vector<std::string>{"-"} : files) {
      evaluation.map(file, call);
    }
    return evaluation.end();
  }
  for (const std::string& file : files) evaluation.lines(file);
  for (const std::string& expr : exprs) {
    if (expr == "-") {
      evaluation.lines("-");
    } else {
      evaluation.expression(expr);
    }
  }
  return evaluation.end();
}

constexpr Option options[] = {
    paramOption(),
    stringOption(),
    defineOption(),
    {.names = "-n,--name",
     .value = "NAME",
     .help = "Begin error messages with NAME; for lines, with NAME and the line's number."},
    {.names = "-f,--file",
     .value = "FILE",
     .help = "Evaluate each line of FILE; with --map, take the lines from FILE.",
     .repeatable = true,
     .completes = Completes::files},
    {.names = "-m,--map",
     .help = "Evaluate the expressions once for each line of standard input or FILE."},
    {.names = "-F,--fs",
     .value = "SEPARATOR",
     .help = "With --map: what separates fields, instead of blanks and tabs."},
    {.names = "-w,--where",
     .value = "EXPR",
     .help = "With --map: only the lines for which EXPR is not 0.",
     .completes = Completes::expressions},
    digitsOption(),
};
constexpr Operand operands[] = {
    {.name = "EXPR",
     .help = "An expression in reverse Polish notation; - evaluates each line of standard input.",
     .least = 0,
     .most = many,
     .completes = Completes::expressions}};
constexpr ExitCodeMeaning exits[] = {
    {ExitCode::cannotOpen, "a file or standard input cannot be read"},
    {ExitCode::evaluation, "at least one expression failed; the others were evaluated"}};

constexpr Command commands[] = {
    {.name = "eval",
     .summary = "evaluate expressions",
     .description =
         "Evaluates expressions and prints their results, one on a line, the deepest of the stack "
         "first. 'loom words' lists the words of the language.\n\n"
         "Of lines, empty ones and those that begin with # are passed over.\n\n"
         "With --map the parameters of an expression are the fields of the line, $f1 and so on "
         "(numbers where they read as such), $line, $nf (the number of fields), $nr (the number "
         "of the line) and $prev (the result of the line before). The results of a line are "
         "printed on one line, separated by tabs; a line without results prints nothing.",
     .options = options,
     .operands = operands,
     .example = "$ loom eval '1 2 +' '\"net \" $price 1.19 / string 0 5 substr +' -p price=119.5\n"
                "3\nnet 100.4\n"
                "$ printf 'ann 3 1.5\\nbob 2 2.5\\n' | loom eval --map '$f1' '$f2 $f3 *'\n"
                "ann\t4.5\nbob\t5\n",
     .exits = exits,
     .run = eval}};

}  // namespace

const Family evalFamily = {.commands = commands};

}  // namespace loom
