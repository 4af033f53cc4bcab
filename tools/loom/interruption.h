// SPDX-License-Identifier: MIT
// What is done when a signal ends loom, so that it leaves nothing behind.
#ifndef LOOM_INTERRUPTION_H
#define LOOM_INTERRUPTION_H

namespace loom {

/// Ctrl-C, SIGTERM, SIGHUP and the like, where they are not ignored, from now on
/// delete the files that are not complete, call what addCleanup() was given, and
/// then end the process as they would have done at once.
void cleanUpOnSignals();

/// From now on Ctrl-C does not end loom but is noted.
void noteInterrupts();
/// True once for Ctrl-C that came since the last call.
[[nodiscard]] bool takeInterrupt();

/// Has a function called then. It may only do what a signal handler may. To be
/// called for at most four of them; a second time for one of them is no harm.
void addCleanup(void (*cleanup)());

/// Deletes the files that are not complete and calls what addCleanup() was given. Does
/// only what a signal handler may.
void cleanUp();

}  // namespace loom

#endif  // LOOM_INTERRUPTION_H
