// SPDX-License-Identifier: MIT
#include "loomkit/system/stop_watch.h"

#include <iostream>

#include "loomkit/platform/system.h"

GStopWatch::GStopWatch(const std::string& watchName, bool startNow) : name(watchName) {
  if (startNow) start();
}

GStopWatch::~GStopWatch() {
  while (depth > 0) stop();
  const double seconds = get();
  // Without a call this divides zero by zero. The line has always shown what the
  // machine makes of that.
  std::cout << "watch " << name << ": " << seconds << " seconds in " << calls << " calls, "
            << seconds / calls * 1000 << " msec/call" << std::endl;
}

void GStopWatch::start() {
  if (depth++ != 0) return;
  startTicks = loomkit::platform::counterTicks();
  ++calls;
}

void GStopWatch::stop() {
  if (depth-- == 1) totalTicks += loomkit::platform::counterTicks() - startTicks;
}

void GStopWatch::reset() {
  totalTicks = 0;
  calls = 0;
}

double GStopWatch::get() const {
  std::int64_t ticks = totalTicks;
  if (depth != 0) ticks += loomkit::platform::counterTicks() - startTicks;
  return static_cast<double>(ticks) / static_cast<double>(loomkit::platform::counterFrequency());
}

GStopWatch::Timer::Timer(GStopWatch* timed) : watch(timed) { watch->start(); }

GStopWatch::Timer::~Timer() { watch->stop(); }
