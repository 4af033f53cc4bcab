// SPDX-License-Identifier: MIT
#include "loomkit/platform/system.h"

#include <algorithm>
#include <cstdlib>

#include "loomkit/platform/win32/file_times.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

const char* environment(const char* name) { return std::getenv(name); }

bool localTime(long seconds, std::tm* parts) {
  const std::time_t time = seconds;
  return ::localtime_s(parts, &time) == 0;
}

// The C runtime has a copy of the environment, which environment() reads. It takes an
// empty value for the wish to have no such variable, and takes it from the system's too.
void setEnvironment(const std::string& name, const std::string& value) {
  ::_putenv_s(name.c_str(), value.c_str());
  ::SetEnvironmentVariableA(name.c_str(), value.c_str());
}

unsigned processId() { return ::GetCurrentProcessId(); }

std::int64_t systemTime() {
  FILETIME now;
  ::GetSystemTimeAsFileTime(&now);
  return unitsOf(now);
}

std::int64_t counterTicks() {
  LARGE_INTEGER ticks;
  ::QueryPerformanceCounter(&ticks);
  return ticks.QuadPart;
}

std::int64_t counterFrequency() {
  LARGE_INTEGER frequency;
  ::QueryPerformanceFrequency(&frequency);
  return frequency.QuadPart;
}

void sleepMilliseconds(std::uint64_t milliseconds) {
  constexpr std::uint64_t longest = 1'000'000'000;  // the system takes all ones for ever
  do {
    const std::uint64_t now = std::min(milliseconds, longest);
    ::Sleep(static_cast<DWORD>(now));
    milliseconds -= now;
  } while (milliseconds > 0);
}

}  // namespace loomkit::platform
