// What an engine is asked about less often than about the rest, and what it said of it last.
//
// There is a question for each port and MST instance: many times as many as all others together,
// about what seldom changes and then seldom alone. So they are asked where something else tells of
// a change (what is said of the port or of the instance), where a port has not come to rest, after
// an event, and otherwise after a few intervals. The interval is that of counters, which come with
// every answer, and change with nearly each.
#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/engine/EngineQuestions.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

class SeldomAsked {
 public:
  using Time = Loop::Time;
  using Duration = Loop::Clock::duration;

  static constexpr std::chrono::seconds usualInterval{10};

  /// After so many of them all is asked.
  static constexpr int intervalsOfAll = 3;

  explicit SeldomAsked(Duration interval) : interval_(interval) {}

  /// What is to be asked beside the questions that are always asked, which were so at `now` and
  /// gave `snapshot`; `isAll`: about every port and instance. Counters whose time has not come are
  /// set back to what they were.
  std::vector<TreePortPair> due(EngineSnapshot& snapshot, Time now, bool isAll) const;

  /// `snapshot` is complete but for what was not asked now, and is completed with what was said of
  /// that last. `asked` is the time that was given for it before.
  void complete(EngineSnapshot& snapshot, Time asked);

 private:
  bool isOver(Time now) const { return !over_ || now >= *over_; }

  Duration interval_;
  std::optional<Time> over_;  // when the interval is; absent before the first snapshot
  int untilAll_ = 0;          // so many further ones until all is asked
  std::vector<EngineSnapshot::Port> ports_;
  std::vector<EngineSnapshot::Tree> trees_;
};

}  // namespace Agent
