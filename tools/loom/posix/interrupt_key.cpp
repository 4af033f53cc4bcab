// SPDX-License-Identifier: MIT
#include "../interrupt_key.h"

#include <termios.h>
#include <unistd.h>

#include <atomic>

#include "../interruption.h"

namespace loom {

namespace {

std::atomic<bool> isOff{false};
cc_t usualKey = 0;

void setKey(cc_t key) {
  termios modes{};
  if (tcgetattr(STDIN_FILENO, &modes) != 0) return;
  modes.c_cc[VINTR] = key;
  tcsetattr(STDIN_FILENO, TCSANOW, &modes);
}

void setUsualKey() {
  if (isOff.exchange(false)) setKey(usualKey);
}

}  // namespace

void InterruptKey::turnOff() {
  termios modes{};
  if (isOff || tcgetattr(STDIN_FILENO, &modes) != 0) return;
  usualKey = modes.c_cc[VINTR];
  addCleanup(setUsualKey);
  isOff = true;
  setKey(_POSIX_VDISABLE);
}

void InterruptKey::turnOn() { setUsualKey(); }

}  // namespace loom
