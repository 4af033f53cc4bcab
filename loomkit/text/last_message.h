// SPDX-License-Identifier: MIT
// Extension: LastMessage, a scope that collects what is said to the channel.
//
//   loomkit::LastMessage reason(loomkit::LastMessage::Keep::quiet);
//   GZipReader reader;
//   if (!reader.open(path)) show("Cannot open the archive: " + reason.text());
#ifndef LOOMKIT_TEXT_LAST_MESSAGE_H
#define LOOMKIT_TEXT_LAST_MESSAGE_H

#include <deque>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/output.h"

namespace loomkit {

/// Collects the messages that arrive at `gOutput` for as long as it lives, so
/// that a host learns why a call has failed without a channel of its own. It
/// keeps the latest `most` of them and forgets older ones.
///
/// It stands in for the object in `gOutput` and passes everything on to it,
/// unless it is told to be quiet. Log lines arrive as that object's log levels
/// let them; levels that are set meanwhile are the object's afterwards. Scopes
/// may lie in each other: each sees what the inner ones pass on. The channel is
/// one for the process, so at a time one thread collects and calls the library.
class LOOMKIT_API LastMessage : private GOutput {
 public:
  enum class Keep {
    passingOn,  ///< the channel of before gets the messages, too
    quiet       ///< it does not
  };

  /// One message, as GOutput::output() took it.
  struct Entry {
    GOutputLevel level;
    std::string system;
    std::string text;
  };

  static constexpr std::size_t most = 100;

  /// Begins to collect. Requires: `gOutput` is not null.
  explicit LastMessage(Keep keep = Keep::passingOn);
  LastMessage(const LastMessage&) = delete;
  LastMessage& operator=(const LastMessage&) = delete;
  /// Puts the channel of before back. Requires: scopes that were begun later
  /// have ended, and `gOutput` is as this one has set it.
  ~LastMessage() override;

  /// The text of the last error or fatal error; of the last warning when there
  /// was none; of the last message of any level when there was no warning
  /// either. Empty when nothing was said.
  [[nodiscard]] std::string text() const;

  /// The last message of exactly this level, and of this system unless that is
  /// empty; null when there is none. It is valid until the next message.
  [[nodiscard]] const Entry* last(GOutputLevel level, const std::string& system = {}) const;

  /// What is kept, in the order of arrival.
  [[nodiscard]] const std::deque<Entry>& entries() const { return kept; }

  /// Forgets what was collected.
  void clear() { kept.clear(); }

 private:
  void output(GOutputLevel level, const std::string& sys, const char* text) override;

  GOutput* before;
  bool passesOn;
  std::deque<Entry> kept;
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_LAST_MESSAGE_H
