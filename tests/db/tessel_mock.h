// SPDX-License-Identifier: MIT
// A table store that does what a test tells it, and remembers what it was asked.
// tessel_mock.cpp answers the ten calls in place of the real store.
#ifndef LOOMKIT_TESTS_DB_TESSEL_MOCK_H
#define LOOMKIT_TESTS_DB_TESSEL_MOCK_H

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "loomkit/db/tessel/tessel.h"

namespace loomkit::testing {

/// The state behind the ten calls. Reset before each test.
struct TesselMock {
  /// Every call as "name(arguments)", in order.
  std::vector<std::string> calls;
  /// The error of a call's next time, by the call's name without "tsl_". It
  /// counts once; 0 lets that time succeed.
  std::map<std::string, std::deque<int>> failures;
  int lastError = 0;

  /// Handles and blocks that were given out and not taken back.
  int openDatabases = 0;
  int openTables = 0;
  int liveDescrs = 0;
  int liveResults = 0;

  std::vector<TslField> fields;
  std::vector<TslIndex> indexes;
  bool keysNeedIndex = true;
  /// What a lookup by keys gives, and the table that is scanned.
  std::vector<std::vector<TslValue>> found;
  std::vector<std::vector<TslValue>> rows;
  /// The array of keys in the latest lookup, and its bytes.
  std::vector<TslKey> keys;

  /// Whether all that was given out has been taken back.
  [[nodiscard]] bool isClean() const {
    return openDatabases == 0 && openTables == 0 && liveDescrs == 0 && liveResults == 0;
  }
};

extern TesselMock mock;

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_TESSEL_MOCK_H
