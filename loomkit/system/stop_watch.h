// SPDX-License-Identifier: MIT
// GStopWatch: adds up the time spent in a named piece of code.
//
//   static GStopWatch watch("parse", false);
//   void parse() {
//     GStopWatch::Timer timer(&watch);
//     ...
//   }   // the watch reports when the program ends
#ifndef LOOMKIT_SYSTEM_STOP_WATCH_H
#define LOOMKIT_SYSTEM_STOP_WATCH_H

#include <cstdint>
#include <string>

#include "loomkit/platform/export.h"

/// Adds up the time of many calls, which may be nested: only the outermost start() and
/// stop() count. When the watch ends, it writes one line to std::cout:
///   watch NAME: S seconds in N calls, M msec/call
/// Nothing fails. One thread at a time uses a watch.
class LOOMKIT_API GStopWatch {
 public:
  /// A watch of that name, which already runs if `startNow` is set.
  GStopWatch(const std::string& name, bool startNow);
  /// Stops the watch to the outermost level, and reports.
  ~GStopWatch();

  /// Begins a span, or goes one level deeper in a running one.
  void start();
  /// Ends a level, and at the outermost one the span. Requires: a start() for each
  /// stop(), which nothing checks.
  void stop();
  /// Forgets the time and the calls so far. A running span goes on, from its
  /// start.
  void reset();

  /// The seconds so far, those of a running span included.
  [[nodiscard]] double get() const;

  /// Runs a watch as long as it lives. The watch must outlive it.
  class LOOMKIT_API Timer {
   public:
    /// Starts the watch, which stays the caller's.
    Timer(GStopWatch* watch);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    /// Stops the watch.
    ~Timer();

   private:
    GStopWatch* watch;
  };

 private:
  std::string name;
  int depth = 0;
  std::int64_t startTicks = 0;
  std::int64_t totalTicks = 0;
  int calls = 0;
};

#endif  // LOOMKIT_SYSTEM_STOP_WATCH_H
