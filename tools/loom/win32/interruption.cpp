// SPDX-License-Identifier: MIT
#include "../interruption.h"

#include <atomic>

#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

std::atomic<bool> interrupted{false};

// The system calls this on a thread of its own, for Ctrl-C, Ctrl-Break, a console that
// is closed, and the end of a session. What comes next, the end of the process, is left
// to it.
BOOL WINAPI handle(DWORD /*event*/) {
  cleanUp();
  return FALSE;
}

BOOL WINAPI note(DWORD event) {
  if (event != CTRL_C_EVENT) return FALSE;
  interrupted = true;
  return TRUE;
}

}  // namespace

void cleanUpOnSignals() { ::SetConsoleCtrlHandler(handle, TRUE); }

// The handler that was added last is asked first.
void noteInterrupts() { ::SetConsoleCtrlHandler(note, TRUE); }

bool takeInterrupt() { return interrupted.exchange(false); }

}  // namespace loom
