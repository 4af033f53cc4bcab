// SPDX-License-Identifier: MIT
// loom run: another program, watched.
#include <chrono>
#include <cstdlib>

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/system/process.h"
#include "loomkit/system/stop_watch.h"

namespace loom {

namespace {

constexpr int timedOutCode = 124;  // as timeout(1) has it

// What a child has said and how it ended.
struct Outcome {
  std::string out;
  std::string err;
  int code = 0;
  bool timedOut = false;
  double seconds = 0;
};

double timeLimit(const Invocation& call) {
  constexpr double none = 1e9;
  if (!call.has("--timeout")) return none;
  const std::string text = call.value("--timeout");
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != '\0' || !(seconds >= 0)) {
    throw Failure(ExitCode::usage, "not a number of seconds: " + text);
  }
  return seconds;
}

// Passes on what both streams hold just now; true if there was anything.
bool drain(GProcess& child, bool keep, double wait, Outcome* outcome) {
  char block[65536];
  const int out = child.readAvailableStdOut(block, sizeof block, wait);
  if (out > 0) {
    const std::string_view text(block, static_cast<std::size_t>(out));
    if (keep) {
      outcome->out += text;
    } else {
      print(text);
      flushResults();
    }
  }
  const int err = child.readAvailableStdErr(block, sizeof block, 0);
  if (err > 0) {
    const std::string_view text(block, static_cast<std::size_t>(err));
    if (keep) {
      outcome->err += text;
    } else {
      std::fwrite(text.data(), 1, text.size(), stderr);
    }
  }
  return out > 0 || err > 0;
}

// Until the child has ended and its streams are empty. A grandchild that still
// holds them is not waited for.
void watch(GProcess& child, bool keep, double limit, Outcome* outcome) {
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  const auto elapsed = [begin] {
    return std::chrono::duration<double>(Clock::now() - begin).count();
  };
  constexpr double pause = 0.005;
  while (!child.waitFor(0)) {
    if (elapsed() > limit) {
      outcome->timedOut = true;
      child.kill();
      break;
    }
    if (!drain(child, keep, pause, outcome)) child.waitFor(pause);
  }
  while (drain(child, keep, 0, outcome)) {
  }
  child.getExitCode(true, &outcome->code);
  outcome->seconds = elapsed();
}

ExitCode run(const Invocation& call) {
  const std::vector<std::string>& words = call.operands("COMMAND");
  std::vector<const char*> arguments;
  for (std::size_t i = 1; i < words.size(); ++i) arguments.push_back(words[i].c_str());
  GProcess child(words[0], false, true, true);
  if (!child.run(static_cast<int>(arguments.size()), arguments.data(), call.value("--directory"),
                 call.values("--env"))) {
    return ExitCode::cannotOpen;
  }
  Outcome outcome;
  watch(child, call.json(), timeLimit(call), &outcome);
  if (outcome.timedOut) outcome.code = timedOutCode;
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("code").value(outcome.code).key("timedOut").value(outcome.timedOut);
    json.key("seconds").value(outcome.seconds).key("out").value(outcome.out);
    json.key("err").value(outcome.err).endObject();
  } else if (outcome.timedOut) {
    complain("ended after " + call.value("--timeout") + " s: " + words[0]);
  }
  return static_cast<ExitCode>(outcome.code);
}

constexpr Operand operands[] = {
    {.name = "COMMAND", .help = "The program and its arguments, behind --.", .most = many}};
constexpr Option options[] = {
    {.names = "-t,--timeout", .value = "SECONDS", .help = "End the program after so long."},
    {.names = "-C,--directory",
     .value = "DIR",
     .help = "Run it in this directory.",
     .completes = Completes::directories},
    {.names = "-e,--env",
     .value = "NAME=VALUE",
     .help = "Set a variable for it.",
     .repeatable = true}};
constexpr ExitCodeMeaning exits[] = {{ExitCode::cannotOpen, "the program cannot be started"}};

constexpr Command commands[] = {
    {.name = "run",
     .summary = "run a program, with a time limit",
     .description =
         "Runs a program without input and passes on what it prints and its exit code: 128 and "
         "the signal's number after a signal, 124 when the time is up. With --json, all of that "
         "is one object.",
     .options = options,
     .operands = operands,
     .example = "$ loom run -e WHO=you -- sh -c 'echo hello $WHO; exit 7'\nhello you\n[exit 7]\n",
     .exits = exits,
     .run = run},
};

}  // namespace

const Family runFamily = {.commands = commands};

}  // namespace loom
