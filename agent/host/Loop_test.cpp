// Descriptors, times, signals and posts, each as it comes.
#include "agent/host/Loop.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Duration = Loop::Clock::duration;
using std::chrono::seconds;

static_assert(!std::is_copy_constructible_v<Loop::Registration>);
static_assert(std::is_nothrow_move_constructible_v<Loop::Registration>);

// A loop whose time is the test's.
class LoopTest : public testing::Test {
 protected:
  LoopTest() { EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK), 0); }
  ~LoopTest() override {
    ::close(pipe[0]);
    ::close(pipe[1]);
  }

  // All that is to be called without waiting.
  void settle() {
    for (int turn = 0; turn < 20; ++turn) {
      loop.turn(Duration::zero());
    }
  }
  void passes(Duration time) {
    now += time;
    settle();
  }
  Loop::Call saying(std::string const& word) {
    return [this, word] { said.push_back(word); };
  }
  Loop::EventsCall sayingOf(std::string const& word) {
    return [this, word](std::uint32_t /*events*/) { said.push_back(word); };
  }

  std::array<int, 2> pipe{-1, -1};
  std::vector<std::string> said;
  Loop::Time now{seconds(1000)};
  Loop loop{[this] { return now; }};
};

TEST_F(LoopTest, TimersAreCalledOnceInTheOrderOfTheirTimes) {
  auto const third = loop.after(seconds(3), saying("third"));
  auto const first = loop.after(seconds(1), saying("first"));
  auto const second = loop.at(now + seconds(2), saying("second"));
  auto const sameTime = loop.at(now + seconds(2), saying("same time"));
  passes(seconds(1) - Duration(1));
  EXPECT_THAT(said, IsEmpty());
  passes(Duration(1));
  EXPECT_THAT(said, ElementsAre("first"));
  passes(seconds(9));
  EXPECT_THAT(said, ElementsAre("first", "second", "same time", "third"));
}

TEST_F(LoopTest, DroppedTimerIsNotCalled) {
  auto dropped = loop.after(seconds(1), saying("dropped"));
  auto replaced = loop.after(seconds(1), saying("replaced"));
  { auto const gone = loop.after(seconds(1), saying("gone")); }
  dropped.drop();
  replaced = loop.after(seconds(1), saying("its replacement"));
  EXPECT_FALSE(dropped);
  EXPECT_TRUE(replaced);
  passes(seconds(1));
  EXPECT_THAT(said, ElementsAre("its replacement"));
}

TEST_F(LoopTest, TimerMayDropOthersAndItselfAndAskForTheNext) {
  Loop::Registration other = loop.after(seconds(2), saying("other"));
  Loop::Registration timer;
  std::function<void()> const again = [&] {
    said.emplace_back("again");
    other.drop();
    timer = loop.after(seconds(1), again);
  };
  timer = loop.after(seconds(1), again);
  passes(seconds(1));
  passes(seconds(1));
  EXPECT_THAT(said, ElementsAre("again", "again"));
  timer.drop();
  passes(seconds(5));
  EXPECT_EQ(said.size(), 2U);
}

TEST_F(LoopTest, TimerThatIsDueAgainAtOnceLetsOthersHaveTheirTurn) {
  Loop::Registration timer;
  std::function<void()> const atOnce = [&] {
    said.emplace_back("at once");
    timer = loop.at(now, atOnce);
  };
  timer = loop.at(now, atOnce);
  loop.turn();
  EXPECT_THAT(said, ElementsAre("at once"));
}

TEST_F(LoopTest, TimerThatIsNotDueYetWaitsThoughOneThatWasDueGoes) {
  Loop::Registration second;
  auto const first = loop.at(now, [&] {
    said.emplace_back("first");
    second = loop.after(seconds(1), saying("later"));
  });
  second = loop.at(now, saying("dropped"));
  loop.turn();
  EXPECT_THAT(said, ElementsAre("first"));
  passes(seconds(1));
  EXPECT_THAT(said, ElementsAre("first", "later"));
}

TEST_F(LoopTest, CallbackOutlivesItsRegistration) {
  auto const kept = std::make_shared<std::string>("kept");
  Loop::Registration timer;
  timer = loop.at(now, [&timer, this, kept = std::make_unique<std::string>("kept").release()] {
    std::unique_ptr<std::string> const owned(kept);
    timer.drop();
    said.push_back(*owned);
  });
  settle();
  EXPECT_THAT(said, ElementsAre("kept"));
}

TEST_F(LoopTest, DescriptorIsCalledAsLongAsItIsReady) {
  auto reading = loop.whenReady(pipe[0], EPOLLIN, [this](std::uint32_t events) {
    char byte = 0;
    EXPECT_EQ(events, static_cast<std::uint32_t>(EPOLLIN));
    EXPECT_EQ(::read(pipe[0], &byte, 1), 1);
    said.emplace_back(1, byte);
  });
  settle();
  EXPECT_THAT(said, IsEmpty());
  ASSERT_EQ(::write(pipe[1], "ab", 2), 2);
  loop.turn();
  loop.turn();
  EXPECT_THAT(said, ElementsAre("a", "b"));
  reading.drop();
  ASSERT_EQ(::write(pipe[1], "c", 1), 1);
  settle();
  EXPECT_EQ(said.size(), 2U);
}

TEST_F(LoopTest, DescriptorMayBeDroppedFromInsideAndWatchedAgain) {
  ASSERT_EQ(::write(pipe[1], "a", 1), 1);
  Loop::Registration reading;
  reading = loop.whenReady(pipe[0], EPOLLIN, [&](std::uint32_t /*events*/) {
    said.emplace_back("first");
    reading.drop();
    reading = loop.whenReady(pipe[0], EPOLLIN, [&](std::uint32_t /*more*/) {
      said.emplace_back("second");
      reading.drop();
    });
  });
  settle();
  EXPECT_THAT(said, ElementsAre("first", "second"));
}

TEST_F(LoopTest, AwaitedEventsChange) {
  auto writing = loop.whenReady(pipe[1], 0, sayingOf("writable"));
  settle();
  EXPECT_THAT(said, IsEmpty());
  writing.eventsAre(EPOLLOUT);
  loop.turn();
  EXPECT_THAT(said, ElementsAre("writable"));
  writing.eventsAre(0);
  settle();
  EXPECT_EQ(said.size(), 1U);
}

TEST_F(LoopTest, ReaderThatGoesIsNoticedWithoutAskingForAnything) {
  std::uint32_t seen = 0;
  auto const writing = loop.whenReady(pipe[1], 0, [&](std::uint32_t events) { seen = events; });
  ::close(pipe[0]);
  loop.turn();
  EXPECT_NE(seen & EPOLLERR, 0U);
  pipe[0] = ::open("/dev/null", O_RDONLY);
}

TEST_F(LoopTest, FileThatIsAlwaysReadyCountsAsReady) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::tmpfile(), &std::fclose);
  auto reading = loop.whenReady(::fileno(file.get()), EPOLLIN, sayingOf("ready"));
  loop.turn();
  loop.turn();
  EXPECT_THAT(said, ElementsAre("ready", "ready"));
  reading.eventsAre(0);
  settle();
  EXPECT_EQ(said.size(), 2U);
  reading.eventsAre(EPOLLIN);
  loop.turn();
  EXPECT_EQ(said.size(), 3U);
  reading = loop.whenReady(::fileno(file.get()), 0, sayingOf("unasked"));
  settle();
  EXPECT_EQ(said.size(), 3U);
}

TEST_F(LoopTest, DescriptorThatIsNoneIsAnError) {
  EXPECT_THROW((void)loop.whenReady(-1, EPOLLIN, sayingOf("never")), std::system_error);
  EXPECT_THROW((void)loop.whenReady(9999, EPOLLIN, sayingOf("never")), std::system_error);
}

TEST_F(LoopTest, SignalsComeAsCalls) {
  auto const one = loop.onSignal(SIGUSR1, saying("one"));
  auto const two = loop.onSignal(SIGUSR2, saying("two"));
  ::raise(SIGUSR2);
  loop.turn();
  ::raise(SIGUSR1);
  loop.turn();
  EXPECT_THAT(said, ElementsAre("two", "one"));
}

TEST_F(LoopTest, SignalIsHeardBeforeADescriptorThatIsAlwaysReady) {
  ASSERT_EQ(::write(pipe[1], "a", 1), 1);
  auto const reading = loop.whenReady(pipe[0], EPOLLIN, sayingOf("readable"));
  auto const signal = loop.onSignal(SIGUSR1, saying("signal"));
  ::raise(SIGUSR1);
  loop.turn();
  EXPECT_THAT(said, ElementsAre("signal"));
}

TEST_F(LoopTest, WhatIsPostedFromAPostWaitsForATurn) {
  loop.post([this] {
    said.emplace_back("first");
    loop.post(saying("second"));
  });
  loop.turn();
  EXPECT_THAT(said, ElementsAre("first"));
  loop.turn();
  EXPECT_THAT(said, ElementsAre("first", "second"));
}

TEST_F(LoopTest, ExceptionPassesAndTheRestGoesOn) {
  auto const timer = loop.at(now, [] { throw std::runtime_error("of a timer"); });
  auto const next = loop.at(now, saying("next timer"));
  EXPECT_THROW(settle(), std::runtime_error);
  loop.post([] { throw std::runtime_error("of a post"); });
  loop.post(saying("next post"));
  EXPECT_THROW(settle(), std::runtime_error);
  settle();
  EXPECT_THAT(said, UnorderedElementsAre("next timer", "next post"));
}

TEST_F(LoopTest, EachExceptionPassesThoughSeveralAreDueTogether) {
  auto const one = loop.at(now, [] { throw std::runtime_error("one"); });
  auto const two = loop.at(now, [] { throw std::runtime_error("two"); });
  loop.post([] { throw std::runtime_error("three"); });
  loop.post([] { throw std::runtime_error("four"); });
  std::vector<std::string> passed;
  for (int turn = 0; turn < 20; ++turn) {
    try {
      loop.turn(Duration::zero());
    } catch (std::runtime_error const& error) {
      passed.emplace_back(error.what());
    }
  }
  EXPECT_THAT(passed, UnorderedElementsAre("one", "two", "three", "four"));
}

TEST_F(LoopTest, WaitsNoLongerThanAsked) {
  auto const timer = loop.after(seconds(1000), saying("late"));
  loop.turn(std::chrono::milliseconds(1));
  EXPECT_THAT(said, IsEmpty());
}

TEST(Loop, IsAtRestOnceAllIsDone) {
  Loop loop;
  bool isOver = false;
  loop.post([] {});
  loop.turn();
  auto const limit = loop.after(std::chrono::milliseconds(200), [&] { isOver = true; });
  int turns = 0;
  while (!isOver) {
    loop.turn();
    ++turns;
  }
  EXPECT_LT(turns, 20);
}

TEST(Loop, KeepsTheClocksTimeUnlessGivenAnother) {
  Loop loop;
  bool called = false;
  auto const begun = Loop::Clock::now();
  auto const timer = loop.after(std::chrono::milliseconds(5), [&] { called = true; });
  while (!called) {
    loop.turn();
  }
  EXPECT_GE(Loop::Clock::now(), begun + std::chrono::milliseconds(5));
}

}  // namespace
}  // namespace Agent
