// When the engine is to be asked: every interval, and soon after each event.
//
// The engine hears of an event when the agent does, and may take a moment to act on it; and one
// event is seldom alone. So a first ask gathers for a moment what comes together, and a few follow
// it after longer and longer pauses. However many events come, those that they cause rest as long
// as they took, so that at most half of the time goes into them. One of the interval's own makes no
// event wait: it may have taken long because the engine or the machine stood still, and has asked
// before the event.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

#include "agent/host/Loop.h"

namespace Agent {

class AskingTimes {
 public:
  using Time = Loop::Time;
  using Duration = Loop::Clock::duration;

  /// From an event to the ask that it causes.
  static constexpr std::chrono::milliseconds gathering{1};
  /// From the answer to that ask to the next ask, and so on.
  static constexpr std::array<std::chrono::milliseconds, 4> pauses{
      std::chrono::milliseconds(4), std::chrono::milliseconds(10), std::chrono::milliseconds(25),
      std::chrono::milliseconds(60)};

  /// The first ask is due at once.
  AskingTimes(Duration interval, Time now) : interval_(interval), due_(now), ended_(now) {}

  /// An ask begins, and is over. The first tells whether it is the last of those that an event is
  /// followed by.
  bool asks(Time now);
  void answered(Time now);

  void event(Time now);

  /// When the next ask is due, while none is under way.
  Time next() const;

 private:
  Duration interval_;
  Time due_;
  Time begun_;
  Time ended_;
  Duration rest_{};  // after the last ask, before one that an event causes
  bool isAsking_ = false;
  bool isOfEvent_ = false;            // that ask
  std::size_t step_ = pauses.size();  // the pause that comes next; behind the last, none
  std::optional<Time> followUp_;
};

}  // namespace Agent
