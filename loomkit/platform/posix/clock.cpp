// SPDX-License-Identifier: MIT
#include "loomkit/platform/clock.h"

#include <cerrno>
#include <ctime>

namespace loomkit::platform {
namespace {

constexpr std::int64_t from1601To1970 = 116444736000000000;  // in 100 ns

timespec now(clockid_t clock) noexcept {
  timespec time{};
  clock_gettime(clock, &time);
  return time;
}

}  // namespace

std::int64_t wallClock() noexcept {
  const timespec time = now(CLOCK_REALTIME);
  return std::int64_t{time.tv_sec} * 10'000'000 + time.tv_nsec / 100 + from1601To1970;
}

std::int64_t monotonicTicks() noexcept {
  const timespec time = now(CLOCK_MONOTONIC);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::int64_t monotonicFrequency() noexcept { return 1'000'000'000; }

void sleepMilliseconds(std::uint64_t milliseconds) noexcept {
  timespec left{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000 * 1'000'000)};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace loomkit::platform
