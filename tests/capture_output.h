// SPDX-License-Identifier: MIT
// CaptureOutput: stands in for gOutput during a test and keeps what arrives.
#ifndef LOOMKIT_TESTS_CAPTURE_OUTPUT_H
#define LOOMKIT_TESTS_CAPTURE_OUTPUT_H

#include <ostream>
#include <string>
#include <vector>

#include "loomkit/text/output.h"

namespace loomkit::testing {

/// One call of GOutput::output.
struct OutputLine {
  int level;
  std::string sys;
  std::string text;
  friend bool operator==(const OutputLine& a, const OutputLine& b) {
    return a.level == b.level && a.sys == b.sys && a.text == b.text;
  }
  friend std::ostream& operator<<(std::ostream& out, const OutputLine& line) {
    return out << "{" << line.level << ", " << line.sys << ", " << line.text << "}";
  }
};

/// Takes the place of gOutput for its own lifetime.
class CaptureOutput : public GOutput {
 public:
  CaptureOutput() : previous(gOutput) { gOutput = this; }
  CaptureOutput(const CaptureOutput&) = delete;
  CaptureOutput& operator=(const CaptureOutput&) = delete;
  ~CaptureOutput() override { gOutput = previous; }

  using GOutput::output;
  void output(GOutputLevel level, const std::string& sys, const char* text) override {
    lines.push_back({level, sys, text});
  }

  /// The texts alone, in order of arrival.
  [[nodiscard]] std::vector<std::string> texts() const {
    std::vector<std::string> result;
    for (const OutputLine& line : lines) result.push_back(line.text);
    return result;
  }

  std::vector<OutputLine> lines;

 private:
  GOutput* previous;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_CAPTURE_OUTPUT_H
