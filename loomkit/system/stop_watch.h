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

/// Adds up spans over many calls, with nesting: only the outermost start() and
/// stop() count. When it ends, it writes one line to std::cout:
///   watch NAME: S seconds in N calls, M msec/call
/// A watch belongs to one thread.
class LOOMKIT_API GStopWatch {
 public:
  GStopWatch(const std::string& name, bool startNow);
  /// Stops the watch to the outermost level, and reports.
  ~GStopWatch();

  void start();
  /// Requires: a start() for each stop(); it is not guarded.
  void stop();
  /// Forgets the time and the calls so far. A running span goes on, from its
  /// start.
  void reset();

  /// The seconds so far, those of a running span included.
  [[nodiscard]] double get() const;

  /// Runs a watch as long as it lives. The watch must outlive it.
  class LOOMKIT_API Timer {
   public:
    Timer(GStopWatch* watch);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
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
