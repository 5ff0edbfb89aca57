#include "Flashlog/Calibration.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

#include "Flashlog/Clock.h"
#include "Flashlog/Format.h"

namespace Flashlog {
namespace {

using std::chrono::nanoseconds;

constexpr std::uint64_t maxTicks = std::numeric_limits<std::uint64_t>::max();
constexpr std::int64_t maxTime = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t minTime = std::numeric_limits<std::int64_t>::min();

TEST(Calibration, RateIsThatOfTheMonotonicClock) {
  // Meanwhile the time of day was set back by an hour.
  Calibration const calibration({.ticks = 1000, .realtime = 9'000'000'000'000, .monotonic = 500},
                                {.ticks = 4000, .realtime = 5'400'000'000'000, .monotonic = 1500});
  EXPECT_DOUBLE_EQ(calibration.nanosecondsPerTick(), 1.0 / 3.0);
  EXPECT_EQ(calibration.duration(0), nanoseconds(0));
  EXPECT_EQ(calibration.duration(3'000'000'000'000), nanoseconds(1'000'000'000'000));
  EXPECT_EQ(calibration.time(4000).time_since_epoch(), nanoseconds(5'400'000'000'000));
  EXPECT_EQ(calibration.time(4300).time_since_epoch(), nanoseconds(5'400'000'000'100));
  EXPECT_EQ(calibration.time(1000).time_since_epoch(), nanoseconds(5'399'999'999'000));
}

TEST(Calibration, NanosecondsOfToDayAreKept) {
  std::int64_t const now = 1'800'000'000'123'456'789;
  Calibration const calibration({.ticks = 0, .realtime = now - 1, .monotonic = 0},
                                {.ticks = 1, .realtime = now, .monotonic = 1});
  EXPECT_EQ(calibration.time(1).time_since_epoch(), nanoseconds(now));
  EXPECT_EQ(calibration.time(1001).time_since_epoch(), nanoseconds(now + 1000));
}

TEST(Calibration, WhatIsTooLongEndsAtTheLimit) {
  for (std::int64_t const realtime : {minTime, std::int64_t{0}, maxTime}) {
    SCOPED_TRACE(realtime);
    Calibration const steep({.ticks = 0, .realtime = 0, .monotonic = minTime},
                            {.ticks = 1, .realtime = realtime, .monotonic = maxTime});
    EXPECT_EQ(steep.duration(maxTicks), nanoseconds::max());
    EXPECT_GT(steep.time(maxTicks), steep.time(0));
    for (std::uint64_t const ticks : {std::uint64_t{0}, std::uint64_t{1}, maxTicks}) {
      EXPECT_EQ(utcTime(steep.time(ticks)).size(), 30U) << ticks;
    }
    Calibration const flat({.ticks = 0, .realtime = 0, .monotonic = 0},
                           {.ticks = maxTicks, .realtime = realtime, .monotonic = 1});
    EXPECT_EQ(flat.duration(maxTicks / 2), nanoseconds(0));
  }
}

TEST(Clock, PairsAdvanceWithTheCounter) {
  std::uint64_t const before = timestamp();
  ClockPair const pair = calibratedClockPair();
  EXPECT_GE(pair.ticks, before);
  EXPECT_LE(pair.ticks, timestamp());
  ClockPair const& first = firstClockPair();
  EXPECT_EQ(&first, &firstClockPair());
  EXPECT_LT(first.ticks, pair.ticks);
  EXPECT_GE(pair.monotonic - first.monotonic, 1'500'000);
}

}  // namespace
}  // namespace Flashlog
