// SPDX-License-Identifier: MIT
// GTime: a point in time or a span of time.
//
//   const GTime start;
//   work();
//   std::cout << GTime() - start << " s\n";
#ifndef LOOMKIT_SYSTEM_TIME_H
#define LOOMKIT_SYSTEM_TIME_H

#include <iosfwd>

#include "loomkit/platform/export.h"

/// Holds seconds and microseconds since 1970-01-01 00:00:00 UTC, or those of a span. A
/// plain value; nothing fails.
class LOOMKIT_API GTime {
 public:
  /// The present time of the wall clock.
  GTime();
  /// The parts as they are; nothing is normalised.
  GTime(long seconds, long microSeconds);

  /// Seconds, with the microseconds as a fraction.
  operator double() const;

  /// The whole seconds.
  [[nodiscard]] long getSeconds() const;
  /// The microseconds beside them.
  [[nodiscard]] long getMicroSeconds() const;

  /// The present time.
  static GTime getTime();

  /// Pauses the calling thread for at least so many seconds.
  static void sleep(unsigned int seconds);

 private:
  long seconds;
  long microSeconds;
};

/// The span from `b` to `a`. Its microseconds are not negative if those of both are
/// from 0 to 999,999.
LOOMKIT_API GTime operator-(const GTime& a, const GTime& b);

/// Writes the value as a double, in the stream's format.
LOOMKIT_API std::ostream& operator<<(std::ostream& out, const GTime& time);

#endif  // LOOMKIT_SYSTEM_TIME_H
