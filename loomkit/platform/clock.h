// SPDX-License-Identifier: MIT
// The machine's clocks.
#ifndef LOOMKIT_PLATFORM_CLOCK_H
#define LOOMKIT_PLATFORM_CLOCK_H

#include <cstdint>

namespace loomkit::platform {

/// The wall clock, in units of 100 nanoseconds since 1601-01-01 00:00:00 UTC.
std::int64_t wallClock() noexcept;

/// A counter that never goes back, and how often it counts in a second.
std::int64_t monotonicTicks() noexcept;
std::int64_t monotonicFrequency() noexcept;

/// Pauses the calling thread, for at least that long.
void sleepMilliseconds(std::uint64_t milliseconds) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_CLOCK_H
