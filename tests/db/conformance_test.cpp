// SPDX-License-Identifier: MIT
// The conformance suites over the backends that need no server. A backend is added
// in conformance_backends.h.
#include "tests/db/conformance_backends.h"

namespace loomkit::testing {
using TestedBackends = Backends;
using TestedSqlBackends = SqlBackends;
}  // namespace loomkit::testing

#include "tests/db/conformance_suite.h"
#include "tests/db/sql_suite.h"
