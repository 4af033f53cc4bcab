// SPDX-License-Identifier: MIT
#include "loomkit/system/time.h"

#include <cstdint>
#include <ostream>

#include "loomkit/platform/system.h"

namespace {

constexpr std::int64_t from1601To1970 = 116444736000000000;  // in 100 ns
constexpr std::int64_t unitsPerSecond = 10'000'000;
constexpr long microSecondsPerSecond = 1'000'000;

}  // namespace

GTime::GTime() {
  const std::int64_t units = loomkit::platform::systemTime() - from1601To1970;
  seconds = static_cast<long>(units / unitsPerSecond);
  microSeconds = static_cast<long>(units % unitsPerSecond / 10);
}

GTime::GTime(long wholeSeconds, long fraction) : seconds(wholeSeconds), microSeconds(fraction) {}

GTime::operator double() const {
  return static_cast<double>(microSeconds) * 1e-6 + static_cast<double>(seconds);
}

long GTime::getSeconds() const { return seconds; }
long GTime::getMicroSeconds() const { return microSeconds; }

GTime GTime::getTime() { return {}; }

void GTime::sleep(unsigned int seconds) {
  loomkit::platform::sleepMilliseconds(std::uint64_t{seconds} * 1000);
}

GTime operator-(const GTime& a, const GTime& b) {
  long seconds = a.getSeconds() - b.getSeconds();
  long microSeconds = a.getMicroSeconds() - b.getMicroSeconds();
  if (microSeconds < 0) {
    microSeconds += microSecondsPerSecond;
    --seconds;
  }
  return {seconds, microSeconds};
}

std::ostream& operator<<(std::ostream& out, const GTime& time) {
  return out << static_cast<double>(time);
}
