// SPDX-License-Identifier: MIT
// Messages: where the library's words go, and how a host takes them over.
//
// Everything that the library tells a person goes through gOutput, with a
// level and the name of a subsystem. A host can put an object of its own there.
// The errors of one evaluator can go to a handler of their own instead.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// Numbers each line and prints all levels to standard output.
class NumberedOutput : public GOutput {
 public:
  using GOutput::output;
  void output(GOutputLevel level, const std::string& sys, const char* text) override {
    const char* const kind = level == GOutputMessage   ? "message"
                             : level == GOutputWarning ? "warning"
                             : level == GOutputError   ? "error"
                                                       : "log";
    std::printf("%d. %s %s: %s\n", ++count, sys.c_str(), kind, text);
  }

 private:
  int count = 0;
};

// Collects an evaluator's errors. The evaluator frees its handler as plain
// memory, so that a handler must hold nothing that needs a destructor: the list
// belongs to somebody else.
class Collector : public GRpnEval::ErrorHandler {
 public:
  explicit Collector(std::vector<std::string>* destination) : texts(destination) {}
  void error(const std::string& message) override { texts->push_back(message); }

 private:
  std::vector<std::string>* texts;
};

}  // namespace

int main() {
  NumberedOutput output;
  GOutput* const before = gOutput;
  gOutput = &output;

  gOutput->setDefaultSys("example");
  gOutput->message("hello");
  gOutput->warning("storage", "almost full");
  gOutput->log(0, "example", "not shown: no log level is set");
  gOutput->setLogLevel("example", 1);
  gOutput->log(1, "example", "shown");

  GRpnEval eval;
  eval.setExprName("price");
  double result = 0;
  eval.evalFloat("1 +", &result);

  std::vector<std::string> texts;
  eval.setErrorHandler(new Collector(&texts));
  eval.evalFloat("1 0 /", &result);
  eval.evalFloat("\"net\"", &result);
  for (const std::string& text : texts) std::printf("collected: %s\n", text.c_str());

  gOutput = before;
  return 0;
}
