// SPDX-License-Identifier: MIT
// An engine of the tests' own, with a directory, that keeps its reports.
#ifndef LOOMKIT_TESTS_XBASE_ENGINE_FIXTURE_H
#define LOOMKIT_TESTS_XBASE_ENGINE_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "tests/scratch_directory.h"

namespace loomkit::xbase {

/// Collects an engine's reports, each as "title|text".
inline void keepReport(const char* title, const char* text, void* context) {
  static_cast<std::vector<std::string>*>(context)->push_back(std::string(title) + "|" + text);
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    engine.sink = keepReport;
    engine.sinkContext = &reports;
  }

  /// The error code, which is cleared.
  int takeError() {
    const int code = engine.errorCode;
    engine.errorCode = 0;
    return code;
  }

  testing::ScratchDirectory scratch;
  std::vector<std::string> reports;
  Engine engine;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_TESTS_XBASE_ENGINE_FIXTURE_H
