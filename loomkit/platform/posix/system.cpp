// SPDX-License-Identifier: MIT
#include "loomkit/platform/system.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace loomkit::platform {
namespace {

constexpr std::int64_t unitsPerSecond = 10'000'000;
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
// From 1601 to 1970.
constexpr std::int64_t epochDistance = 116'444'736'000'000'000;

}  // namespace

const char* environment(const char* name) { return std::getenv(name); }

bool localTime(long seconds, std::tm* parts) {
  const std::time_t time = seconds;
  return ::localtime_r(&time, parts) != nullptr;
}

void setEnvironment(const std::string& name, const std::string& value) {
  ::setenv(name.c_str(), value.c_str(), 1);
}

unsigned processId() { return static_cast<unsigned>(::getpid()); }

std::int64_t systemTime() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return epochDistance + now.tv_sec * unitsPerSecond + now.tv_nsec / 100;
}

std::int64_t counterTicks() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

std::int64_t counterFrequency() { return nanosecondsPerSecond; }

void sleepMilliseconds(std::uint64_t milliseconds) {
  timespec left{static_cast<std::time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace loomkit::platform
