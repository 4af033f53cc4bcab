// SPDX-License-Identifier: MIT
// InterruptKey: whether Ctrl-C interrupts, or is a key like others.
#ifndef LOOM_INTERRUPT_KEY_H
#define LOOM_INTERRUPT_KEY_H

namespace loom {

/// Makes Ctrl-C a key like others at the terminal of standard input, as long as the
/// object lives and is not turned on. However loom ends, the terminal is left as it
/// was. There is one object at a time.
class InterruptKey {
 public:
  InterruptKey() { turnOff(); }
  InterruptKey(const InterruptKey&) = delete;
  InterruptKey& operator=(const InterruptKey&) = delete;
  ~InterruptKey() { turnOn(); }

  static void turnOff();
  /// Lets it interrupt again.
  static void turnOn();
};

}  // namespace loom

#endif  // LOOM_INTERRUPT_KEY_H
