// SPDX-License-Identifier: MIT
// loom run: another program, watched, by the conventions of timeout(1).
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>

#include "child_group.h"
#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/system/process.h"
#include "path_of.h"

namespace loom {

namespace {

// As timeout(1) and the shells have them.
constexpr ExitCode timedOutCode{124};
constexpr ExitCode ownFailureCode{125};
constexpr ExitCode notExecutableCode{126};
constexpr ExitCode notFoundCode{127};
constexpr int killedCode = 137;

constexpr double never = std::numeric_limits<double>::infinity();

// What a child has said and how it ended.
struct Outcome {
  std::string out;
  std::string err;
  int code = 0;
  bool timedOut = false;
  double seconds = 0;
};

struct Unit {
  std::string_view suffix;
  double seconds;
};
constexpr Unit units[] = {{"", 1}, {"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};

// "1.5", "10m"; none when the option was not given or is 0.
double spanOf(const Invocation& call, std::string_view option) {
  if (!call.has(option)) return never;
  const std::string text = call.value(option);
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const auto* const unit = std::find_if(std::begin(units), std::end(units),
                                        [end](const Unit& row) { return row.suffix == end; });
  if (end == text.c_str() || unit == std::end(units) || !(number >= 0))
    throw Failure(ownFailureCode, "not a span of time: " + text);
  return number == 0 ? never : number * unit->seconds;
}

// Passes on what both streams hold just now; true if there was anything.
bool drain(GProcess& child, double wait, Outcome* outcome) {
  char block[65536];
  const int out = child.readAvailableStdOut(block, sizeof block, wait);
  if (out > 0) outcome->out.append(block, static_cast<std::size_t>(out));
  const int err = child.readAvailableStdErr(block, sizeof block, 0);
  if (err > 0) outcome->err.append(block, static_cast<std::size_t>(err));
  return out > 0 || err > 0;
}

// Ends a child in two steps: by a signal when its time is up, and by SIGKILL if
// it has not followed that one, or one that was passed on, for some time.
class Limit {
 public:
  Limit(const Invocation& call, ChildGroup* childGroup, std::string programName)
      : group(childGroup),
        program(std::move(programName)),
        text(call.value("--timeout")),
        span(spanOf(call, "--timeout")),
        grace(spanOf(call, "--kill-after")) {
    const std::string name = call.value("--signal");
    if (name.empty()) return;
    const std::optional<int> number = signalNumber(name);
    if (!number) throw Failure(ownFailureCode, "not a signal: " + name);
    signal = *number;
  }

  // To be called again and again; true once a signal was sent.
  void look() {
    const double now = elapsed();
    if (!expired && now > span) {
      expired = true;
      complain("ended after " + text +
               (text.find_first_not_of("0123456789.") == std::string::npos ? " s: " : ": ") +
               program);
      send(signal, now);
    } else if (asked == never && ChildGroup::passedOn()) {
      asked = now;
    } else if (now - asked > grace && !killed) {
      send(killSignal(), now);
    }
  }

  [[nodiscard]] bool isExpired() const { return expired; }
  [[nodiscard]] bool hasKilled() const { return killed; }
  [[nodiscard]] double elapsed() const {
    return std::chrono::duration<double>(Clock::now() - begin).count();
  }
  // How long nothing can happen, but for signals that are passed on.
  [[nodiscard]] double pause() const {
    constexpr double longest = 0.05;
    const double next = expired || asked != never ? asked + grace : span;
    return std::clamp(next - elapsed(), 0.001, longest);
  }

 private:
  using Clock = std::chrono::steady_clock;

  void send(int number, double now) {
    killed = number == killSignal();
    asked = now;
    group->send(number);
  }

  ChildGroup* group;
  std::string program;
  std::string text;
  double span;
  double grace;
  int signal = terminationSignal();
  Clock::time_point begin = Clock::now();
  double asked = never;  // when the child was told to end
  bool expired = false;
  bool killed = false;
};

// Until the child has ended and its streams are empty. A grandchild that still
// holds them is not waited for.
void watch(GProcess& child, ChildGroup* group, Limit* limit, bool reads, Outcome* outcome) {
  constexpr double pause = 0.005;
  group->watch(child.getId());
  while (!child.waitFor(reads ? 0 : limit->pause())) {
    limit->look();
    if (reads && !drain(child, pause, outcome)) child.waitFor(pause);
  }
  group->watch(0);
  while (reads && drain(child, 0, outcome)) {
  }
  child.getExitCode(true, &outcome->code);
  outcome->seconds = limit->elapsed();
  outcome->timedOut = limit->isExpired();
  if (limit->hasKilled())
    outcome->code = killedCode;
  else if (outcome->timedOut)
    outcome->code = static_cast<int>(timedOutCode);
}

// A directory that is missing would be mistaken for a program that is.
void requireDirectory(const std::string& directory) {
  if (directory.empty()) return;
  std::error_code error;
  const bool there = std::filesystem::is_directory(pathOf(directory), error);
  if (!error && !there) error = std::make_error_code(std::errc::not_a_directory);
  if (error)
    throw Failure(ownFailureCode, "cannot change to " + directory + ": " + error.message());
}

void printJson(const Outcome& outcome) {
  JsonWriter json;
  json.beginObject().key("code").value(outcome.code).key("timedOut").value(outcome.timedOut);
  json.key("seconds").value(outcome.seconds).key("out").value(outcome.out);
  json.key("err").value(outcome.err).endObject();
}

ExitCode run(const Invocation& call) {
  const std::vector<std::string>& words = call.operands("COMMAND");
  std::vector<const char*> arguments;
  for (std::size_t i = 1; i < words.size(); ++i) arguments.push_back(words[i].c_str());
  requireDirectory(call.value("--directory"));
  ChildGroup group(call.has("--foreground") ? ChildGroup::justChild
                   : call.json()            ? ChildGroup::ownGroup
                                            : ChildGroup::sharedGroup);
  Limit limit(call, &group, words[0]);
  GProcess::Settings settings;
  settings.directory = call.value("--directory");
  settings.environment = call.values("--env");
  settings.inheritAll = !call.json();
  settings.ownGroup = call.json() && !call.has("--foreground");
  // A group in the background may not read from the terminal.
  settings.inheritStdIn = !settings.ownGroup || !isTerminal(StandardStream::input);
  GProcess child(words[0], false, call.json(), call.json());
  if (!child.start(static_cast<int>(arguments.size()), arguments.data(), settings)) {
    const int error = errno;
    complain("cannot run " + words[0] + ": " + std::strerror(error));
    return error == ENOENT ? notFoundCode : notExecutableCode;
  }
  Outcome outcome;
  watch(child, &group, &limit, call.json(), &outcome);
  if (call.json()) printJson(outcome);
  return static_cast<ExitCode>(outcome.code);
}

constexpr Operand operands[] = {
    {.name = "COMMAND", .help = "The program and its arguments, behind --.", .most = many}};
constexpr Option options[] = {
    {.names = "-t,--timeout",
     .value = "SPAN",
     .help = "End the program after so many seconds, or minutes, hours, days with m, h, d behind "
             "the number. 0 is no limit."},
    {.names = "-k,--kill-after",
     .value = "SPAN",
     .help = "Send it SIGKILL if it still runs so long after the first signal."},
    {.names = "-s,--signal",
     .value = "SIGNAL",
     .help = "The signal that ends it, by name or number; TERM without this."},
    {.names = "--foreground",
     .help = "Leave it in loom's process group, so that it can read from the terminal; only the "
             "program itself is sent signals then."},
    {.names = "-C,--directory",
     .value = "DIR",
     .help = "Run it in this directory.",
     .completes = Completes::directories},
    {.names = "-e,--env",
     .value = "NAME=VALUE",
     .help = "Set a variable for it.",
     .repeatable = true}};
constexpr ExitCodeMeaning exits[] = {{timedOutCode, "the time is up"},
                                     {ownFailureCode, "loom could not do what the options say"},
                                     {notExecutableCode, "the program cannot be run"},
                                     {notFoundCode, "there is no such program"}};

constexpr Command commands[] = {
    {.name = "run",
     .summary = "run a program, with a time limit",
     .description =
         "Runs a program with loom's own streams and returns its exit code: 128 and the signal's "
         "number after a signal, 137 if it had to be killed, 124 when the time is up, as timeout "
         "does. Signals that would end loom go to the program, and like the time limit to all "
         "that it has started. With --json, what it prints and how it ends is one object, and a "
         "terminal is no input.",
     .options = options,
     .operands = operands,
     .example = "$ loom run -e WHO=you -- sh -c 'echo hello $WHO; exit 7'\nhello you\n[exit 7]\n",
     .exits = exits,
     .run = run},
};

}  // namespace

const Family runFamily = {.commands = commands};

}  // namespace loom
