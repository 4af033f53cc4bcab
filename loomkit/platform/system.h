// SPDX-License-Identifier: MIT
// The process and its surroundings: environment, number, clocks.
#ifndef LOOMKIT_PLATFORM_SYSTEM_H
#define LOOMKIT_PLATFORM_SYSTEM_H

#include <cstdint>
#include <ctime>
#include <string>

namespace loomkit::platform {

/// The value of an environment variable, or null. Valid until the environment
/// is changed.
const char* environment(const char* name);

/// Seconds since 1970 as local time of day and date; false for a time that has
/// none.
bool localTime(long seconds, std::tm* parts);

/// Sets a variable of this process, which children inherit.
void setEnvironment(const std::string& name, const std::string& value);

/// This process's number.
unsigned processId();

/// The wall clock: units of 100 nanoseconds since 1601-01-01 00:00 UTC.
std::int64_t systemTime();

/// The monotonic counter, which no change of the clock moves.
std::int64_t counterTicks();
/// How many ticks of the counter make a second.
std::int64_t counterFrequency();

/// Lets the calling thread wait for at least that time.
void sleepMilliseconds(std::uint64_t milliseconds);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_SYSTEM_H
