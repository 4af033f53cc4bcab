// SPDX-License-Identifier: MIT
// FaultProxy: stands between a client and a PostgreSQL server on 127.0.0.1, and
// delays, cuts or truncates what the server says, message by message
// (https://www.postgresql.org/docs/current/protocol-message-formats.html).
#ifndef LOOMKIT_TESTS_DB_FAULT_PROXY_H
#define LOOMKIT_TESTS_DB_FAULT_PROXY_H

#include <chrono>
#include <cstddef>
#include <deque>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace loomkit::testing {

/// How a connection ends.
enum class Cut {
  cleanly,    ///< behind a whole message
  truncated,  ///< in the middle of a message
  byReset     ///< behind a whole message, with a reset instead of an end
};

/// Runs in a thread of its own from construction to destruction.
class FaultProxy {
 public:
  explicit FaultProxy(int serverPort);
  FaultProxy(const FaultProxy&) = delete;
  FaultProxy& operator=(const FaultProxy&) = delete;
  ~FaultProxy();

  [[nodiscard]] int port() const { return ownPort; }

  /// Ends the connection that sends the server's message of that number from now
  /// on, once; 0 is the next one, which does not arrive.
  void cutAt(int message, Cut how);
  /// No more cut.
  void mend() { cutAt(-1, Cut::cleanly); }
  /// Whether the cut that was asked for has happened.
  [[nodiscard]] bool hasCut();
  /// Ends all connections now.
  void cutAll();
  /// Everything takes that long, in each direction.
  void setDelay(std::chrono::microseconds time);
  /// Accepts connections and lets nothing through.
  void setSilent(bool silent);

  /// The connections that were made so far.
  [[nodiscard]] int connections();
  /// How often the server began to answer behind something that a client had said.
  [[nodiscard]] int turns();

 private:
  using Clock = std::chrono::steady_clock;
  struct Chunk {
    Clock::time_point due;
    std::string bytes;
  };
  struct Pipe {
    int from = -1;
    int to = -1;
    std::string unread = {};  // the begin of a message
    std::deque<Chunk> chunks = {};
  };
  struct Link {
    Pipe toServer;
    Pipe toClient;
    bool ended = false;
    bool clientSpoke = false;  // last
  };

  void run();
  void accept();
  void transfer(Link& link, Pipe& pipe, bool fromServer);
  void takeMessages(Link& link, Pipe& pipe);
  void deliver(Link& link, Pipe& pipe);
  [[nodiscard]] std::chrono::nanoseconds patience();
  static void close(Link& link, bool byReset);

  std::mutex mutex;
  int upstream;
  int listener = -1;
  int ownPort = 0;
  std::list<Link> links;
  int cutMessage = -1;
  Cut cutHow = Cut::cleanly;
  bool cutDone = false;
  bool isSilent = false;
  bool ending = false;
  int accepted = 0;
  int turnCount = 0;
  std::chrono::microseconds delay{0};
  std::thread worker;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_FAULT_PROXY_H
