#include "Flashlog/Calibration.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "Flashlog/Clock.h"

namespace Flashlog {
namespace {

using std::chrono::nanoseconds;

constexpr std::uint64_t maxTicks = std::numeric_limits<std::uint64_t>::max();
constexpr std::int64_t maxTime = std::numeric_limits<std::int64_t>::max();
// Of a time near the limit of its type the day it is in could not be told.
constexpr nanoseconds lastTime = nanoseconds::max() - std::chrono::days(2);
constexpr std::int64_t minTime = std::numeric_limits<std::int64_t>::min();

TEST(Calibration, RateIsThatOfTheMonotonicClock) {
  // Meanwhile the time of day was set back by an hour.
  Calibration const calibration({.ticks = 1000, .realtime = 9'000'000'000'000, .monotonic = 500},
                                {.ticks = 4000, .realtime = 5'400'000'000'000, .monotonic = 1500});
  EXPECT_EQ(calibration.duration(3), nanoseconds(1));
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
  struct Case {
    std::int64_t realtime;  // of tick 1
    nanoseconds before;
    nanoseconds after;
  };
  for (Case const& given : {Case{minTime, -lastTime, nanoseconds(-1)}, Case{0, -lastTime, lastTime},
                            Case{maxTime, nanoseconds(0), lastTime}}) {
    SCOPED_TRACE(given.realtime);
    Calibration const steep({.ticks = 0, .realtime = 0, .monotonic = minTime},
                            {.ticks = 1, .realtime = given.realtime, .monotonic = maxTime});
    EXPECT_EQ(steep.duration(maxTicks), nanoseconds::max());
    EXPECT_EQ(steep.time(0).time_since_epoch(), given.before);
    EXPECT_EQ(steep.time(maxTicks).time_since_epoch(), given.after);
    Calibration const flat({.ticks = 0, .realtime = 0, .monotonic = 0},
                           {.ticks = maxTicks, .realtime = given.realtime, .monotonic = 1});
    EXPECT_EQ(flat.duration(maxTicks / 2), nanoseconds(0));
  }
}

TEST(Calibration, TimesWhoseDayCannotBeToldEndAtTheLastDay) {
  for (auto const& [realtime, expected] : std::vector<std::pair<nanoseconds, nanoseconds>>{
           {nanoseconds::max(), lastTime},
           {lastTime + nanoseconds(1), lastTime},
           {lastTime, lastTime},
           {lastTime - nanoseconds(1), lastTime - nanoseconds(1)},
           {-lastTime + nanoseconds(1), -lastTime + nanoseconds(1)},
           {-lastTime, -lastTime},
           {-lastTime - nanoseconds(1), -lastTime},
           {nanoseconds::min(), -lastTime}}) {
    SCOPED_TRACE(realtime.count());
    Calibration const calibration({.ticks = 0, .realtime = 0, .monotonic = 0},
                                  {.ticks = 1, .realtime = realtime.count(), .monotonic = 1});
    EXPECT_EQ(calibration.time(1).time_since_epoch(), expected);
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

// Calibrates in a process that did not ask its clock before, while signals end each wait before its
// time, and tells whether that took as long as it must.
bool calibratesForLong() {
  std::signal(SIGALRM, [](int /*number*/) {});
  itimerval const often{{0, 200}, {0, 200}};
  setitimer(ITIMER_REAL, &often, nullptr);
  std::int64_t const last = calibratedClockPair().monotonic;
  return last - firstClockPair().monotonic >= 1'500'000;
}

// A busy machine may make up for a wait that is too short, but not in each of many processes.
TEST(ClockDeathTest, CalibrationOfANewProcessTakesAsLongAsItMust) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  for (int process = 0; process < 10; ++process) {
    EXPECT_EXIT(_exit(calibratesForLong() ? 0 : 1), testing::ExitedWithCode(0), "");
  }
}

TEST(Clock, PairsTellTheTimeOfDay) {
  auto const nanosecondsOf = [](auto time) { return nanoseconds(time.time_since_epoch()).count(); };
  std::int64_t const before = nanosecondsOf(std::chrono::system_clock::now());
  std::int64_t const monotonicBefore = nanosecondsOf(std::chrono::steady_clock::now());
  ClockPair const pair = clockPair();
  EXPECT_GE(pair.realtime, before);
  EXPECT_LE(pair.realtime, nanosecondsOf(std::chrono::system_clock::now()));
  EXPECT_GE(pair.monotonic, monotonicBefore);
  EXPECT_LE(pair.monotonic, nanosecondsOf(std::chrono::steady_clock::now()));
}

// Which of its tries is the narrowest is chance: often enough it is the first, and the last.
TEST(Clock, PairsTellTheCounterOfTheirMoment) {
  for (int time = 0; time < 2'000; ++time) {
    std::uint64_t const before = timestamp();
    ClockPair const pair = clockPair();
    ASSERT_GE(pair.ticks, before);
    ASSERT_LE(pair.ticks, timestamp());
  }
}

}  // namespace
}  // namespace Flashlog
