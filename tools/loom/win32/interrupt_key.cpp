// SPDX-License-Identifier: MIT
#include "../interrupt_key.h"

#include <atomic>

#include "../interruption.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

std::atomic<bool> isOff{false};

// Whether the console takes Ctrl-C for itself.
void setProcessing(bool on) {
  const HANDLE console = ::GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (::GetConsoleMode(console, &mode) == 0) return;
  const DWORD others = mode & ~DWORD{ENABLE_PROCESSED_INPUT};
  ::SetConsoleMode(console, others | (on ? ENABLE_PROCESSED_INPUT : 0));
}

void setUsualKey() {
  if (isOff.exchange(false)) setProcessing(true);
}

}  // namespace

void InterruptKey::turnOff() {
  if (isOff.exchange(true)) return;
  addCleanup(setUsualKey);
  setProcessing(false);
}

void InterruptKey::turnOn() { setUsualKey(); }

}  // namespace loom
