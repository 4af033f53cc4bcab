// SPDX-License-Identifier: MIT
#include "../interruption.h"

#include <atomic>

#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

std::atomic<bool> interrupted{false};

// The system calls this on a thread of its own, for Ctrl-C, Ctrl-Break, a console that
// is closed, and the end of a session. For the keys the process ends with the exit code
// by which a shell knows them; the rest is left to the system.
BOOL WINAPI handle(DWORD event) {
  cleanUp();
  if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
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
