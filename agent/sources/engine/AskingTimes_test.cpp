// When the engine is asked, on a clock of the test's own.
#include "agent/sources/engine/AskingTimes.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Agent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class AskingTimesTest : public testing::Test {
 protected:
  // The next ask, in milliseconds from now on.
  long due() const { return std::chrono::ceil<milliseconds>(times.next() - now).count(); }
  // Whether it is the last of those that an event is followed by.
  bool ask(milliseconds took = milliseconds(2)) {
    now = std::max(now, times.next());
    bool const isLast = times.asks(now);
    now += took;
    times.answered(now);
    return isLast;
  }
  // Asks until only the interval is left.
  void settle() {
    for (int ask = 0; ask < 5; ++ask) {
      this->ask();
    }
  }

  Loop::Time now{seconds(1000)};
  AskingTimes times{seconds(1), now};
};

TEST_F(AskingTimesTest, FirstAskIsDueAtOnce) {
  EXPECT_EQ(due(), 0);
}

TEST_F(AskingTimesTest, IntervalGoesFromBeginToBegin) {
  ask(milliseconds(300));
  EXPECT_EQ(due(), 700);
  ask(milliseconds(999));
  EXPECT_EQ(due(), 1);
}

TEST_F(AskingTimesTest, AskThatTakesLongerThanTheIntervalIsFollowedAtOnceByOne) {
  ask(milliseconds(3500));
  EXPECT_EQ(due(), 0);
  ask(milliseconds(2));
  EXPECT_EQ(due(), 998);
}

TEST_F(AskingTimesTest, EventIsFollowedByAFewAsksAndThenTheInterval) {
  ask();
  now += milliseconds(100);
  times.event(now);
  EXPECT_EQ(due(), 1);
  for (long const pause : {4, 10, 25, 60}) {
    ask();
    EXPECT_EQ(due(), pause);
  }
  ask();
  EXPECT_EQ(due(), 998);
}

TEST_F(AskingTimesTest, LastAskThatAnEventIsFollowedByIsToldApart) {
  EXPECT_FALSE(ask());
  for (int event = 0; event < 2; ++event) {
    times.event(now += milliseconds(100));
    for (int at = 0; at < 4; ++at) {
      EXPECT_FALSE(ask());
    }
    EXPECT_TRUE(ask());
    EXPECT_FALSE(ask());
  }
}

TEST_F(AskingTimesTest, FurtherEventsDoNotPutAnAskOff) {
  ask();
  now += milliseconds(100);
  times.event(now);
  now += std::chrono::microseconds(900);
  times.event(now);
  EXPECT_LE(times.next() - now, std::chrono::microseconds(100));
}

TEST_F(AskingTimesTest, EventDuringTheFollowingAsksBeginsThemAnew) {
  ask();
  times.event(now += milliseconds(100));
  ask();
  ask();
  EXPECT_EQ(due(), 10);
  times.event(now);
  EXPECT_EQ(due(), 2);  // as long as the last one took
  ask();
  EXPECT_EQ(due(), 4);
}

TEST_F(AskingTimesTest, EventDuringAnAskIsAskedAboutSoonAfter) {
  settle();
  now = times.next();
  times.asks(now);
  times.event(now += milliseconds(1));
  times.answered(now += milliseconds(1));
  EXPECT_EQ(due(), 4);
}

TEST_F(AskingTimesTest, AtMostHalfOfTheTimeGoesIntoAskingForEvents) {
  ask();
  times.event(now += milliseconds(100));
  ask(milliseconds(50));
  EXPECT_EQ(due(), 50);
  times.event(now);
  EXPECT_EQ(due(), 50);
  ask(milliseconds(50));
  EXPECT_EQ(due(), 50);
}

TEST_F(AskingTimesTest, AskOfTheIntervalPutsNoEventOffHoweverLongItTook) {
  ask(milliseconds(400));
  times.event(now);
  EXPECT_EQ(due(), 1);
  settle();
  now = times.next();
  times.asks(now);
  times.event(now += milliseconds(1));
  times.answered(now += milliseconds(400));
  EXPECT_EQ(due(), 4);
}

TEST_F(AskingTimesTest, ShortIntervalIsNotMadeLongerByAnEvent) {
  times = AskingTimes(milliseconds(20), now);
  times.event(now);
  settle();
  ask();
  EXPECT_EQ(due(), 18);
  times.event(now);
  ask();
  ask();
  ask();
  EXPECT_EQ(due(), 18) << "the pause of 25 ms is longer than the interval";
}

}  // namespace
}  // namespace Agent
