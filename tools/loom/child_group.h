// SPDX-License-Identifier: MIT
// Signals on their way to a program that loom runs and to all that it has started.
#ifndef LOOM_CHILD_GROUP_H
#define LOOM_CHILD_GROUP_H

#include <optional>
#include <string>

namespace loom {

/// The number of a signal that is called "TERM", "SIGTERM" or "15".
[[nodiscard]] std::optional<int> signalNumber(const std::string& name);

/// The signals that end a program unasked, and the one that it cannot refuse.
[[nodiscard]] int terminationSignal();
[[nodiscard]] int killSignal();

/// While an object lives, the signals that would end loom go to the child instead
/// and, but for `justChild`, to its whole group. One object at a time.
class ChildGroup {
 public:
  enum Kind {
    ownGroup,     ///< the child leads a group of its own
    sharedGroup,  ///< loom's group, of which loom makes itself the leader
    justChild     ///< nobody but the child
  };
  /// To be made before the child is started, so that no signal is lost.
  explicit ChildGroup(Kind kind);
  ChildGroup(const ChildGroup&) = delete;
  ChildGroup& operator=(const ChildGroup&) = delete;
  ~ChildGroup();

  /// Tells who the child is, 0 when it has ended.
  void watch(long child);

  /// Sends it a signal, and has what is stopped go on so that it notices. With a
  /// shared group SIGKILL ends loom, too.
  void send(int signal);

  /// Whether a signal has been passed on.
  [[nodiscard]] static bool passedOn();
};

}  // namespace loom

#endif  // LOOM_CHILD_GROUP_H
