// SPDX-License-Identifier: MIT
// The system counts time in units of 100 nanoseconds since 1601, the library in seconds
// since 1970.
#ifndef LOOMKIT_PLATFORM_WIN32_FILE_TIMES_H
#define LOOMKIT_PLATFORM_WIN32_FILE_TIMES_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

inline constexpr std::int64_t unitsPerSecond = 10'000'000;
/// From 1601 to 1970, in units.
inline constexpr std::int64_t epochDistance = 116'444'736'000'000'000;

inline std::int64_t unitsOf(const FILETIME& time) {
  return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

inline FILETIME fileTimeOf(std::int64_t seconds) {
  const auto units = static_cast<std::uint64_t>(seconds * unitsPerSecond + epochDistance);
  return {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
}

/// Whole seconds, rounded down. A time that `long` cannot hold is its limit.
inline long secondsOf(const FILETIME& time) {
  const std::int64_t units = unitsOf(time) - epochDistance;
  const std::int64_t seconds = units / unitsPerSecond - (units % unitsPerSecond < 0 ? 1 : 0);
  using Limits = std::numeric_limits<long>;
  return static_cast<long>(std::clamp<std::int64_t>(seconds, Limits::min(), Limits::max()));
}

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_FILE_TIMES_H
