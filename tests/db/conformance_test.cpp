// SPDX-License-Identifier: MIT
// The conformance suite over the backends that need no server. A backend is added
// in conformance_backends.h.
#include "tests/db/conformance_backends.h"

namespace loomkit::testing {
using TestedBackends = Backends;
}  // namespace loomkit::testing

#include "tests/db/conformance_suite.h"
