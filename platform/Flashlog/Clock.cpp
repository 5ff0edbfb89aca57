#include "Flashlog/Clock.h"

#include <ctime>
#include <limits>

namespace Flashlog {

namespace {

// At 50 ns of error at either end the rate is off by less than one in ten thousand.
constexpr std::int64_t calibrationNanoseconds = 1'500'000;

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t nanoseconds(clockid_t clock) noexcept {
  timespec time{};
  clock_gettime(clock, &time);
  return time.tv_sec * nanosecondsPerSecond + time.tv_nsec;
}

}  // namespace

ClockPair clockPair() noexcept {
  // Anything may interrupt between two readings of the counter; the narrowest try is the best.
  constexpr int tries = 4;
  ClockPair best{};
  std::uint64_t narrowest = std::numeric_limits<std::uint64_t>::max();
  for (int i = 0; i < tries; ++i) {
    std::uint64_t const before = timestamp();
    std::int64_t const monotonic = nanoseconds(CLOCK_MONOTONIC);
    std::int64_t const realtime = nanoseconds(CLOCK_REALTIME);
    std::uint64_t const width = timestamp() - before;
    if (width < narrowest) {
      narrowest = width;
      best = {before + width / 2, realtime, monotonic};
    }
  }
  return best;
}

ClockPair const& firstClockPair() noexcept {
  static ClockPair const first = clockPair();
  return first;
}

ClockPair calibratedClockPair() noexcept {
  ClockPair const& first = firstClockPair();
  ClockPair now = clockPair();
  while (now.monotonic - first.monotonic < calibrationNanoseconds) {
    timespec const rest{0, calibrationNanoseconds - (now.monotonic - first.monotonic)};
    nanosleep(&rest, nullptr);
    now = clockPair();
  }
  return now;
}

}  // namespace Flashlog
