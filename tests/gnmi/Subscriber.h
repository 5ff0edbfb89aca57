// One random subscription, and what it has to have been told.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Operations.h"
#include "Plain.h"

namespace Harness {

/// Checks itself step by step: what is wrong is said by GoogleTest.
class Subscriber {
 public:
  /// How often the hub has to tell counters that are left to it.
  static constexpr std::chrono::seconds counterInterval{2};

  /// `leaves` is the document that is there now.
  Subscriber(Agent::Gnmi::Hub& hub, Dice& dice, Leaves const& leaves);
  Subscriber(Subscriber const&) = delete;
  Subscriber& operator=(Subscriber const&) = delete;
  ~Subscriber();

  /// The document has become this; `passed` is the time since the last step.
  void step(Dice& dice, Leaves const& leaves, std::chrono::nanoseconds passed);
  /// The document has become this, and became something else before anybody could be told.
  void miss(Leaves const& leaves);
  /// It takes all that there is, and has to have it all.
  void settle();

  std::string text() const;

  struct Counts {
    std::uint64_t updates = 0;
    std::uint64_t deletes = 0;
    std::uint64_t duplicates = 0;
    std::uint64_t samples = 0;
    std::uint64_t answers = 0;
  };
  Counts const& counts() const { return counts_; }

 private:
  Difference changed(Leaves const& leaves);
  void take(bool all);
  void takeMessage(Agent::Gnmi::StreamMessage const& message);
  void expectAnswer(Leaves const& leaves);
  Leaves changing(Leaves const& leaves) const;

  Agent::Gnmi::Hub& hub_;
  Agent::Gnmi::SubscribeRequest request_;
  std::vector<RequestPath> changing_;  // the paths that are told on change
  std::vector<RequestPath> left_;      // the paths that are left to the target
  bool isSampled_ = false;             // whether some are told by samples
  std::vector<RequestPath> all_;
  std::uint64_t slowness_;
  std::shared_ptr<Agent::Gnmi::Stream> stream_;

  Agent::Gnmi::Client client_;
  Leaves document_;
  Leaves expected_;            // of what is told on change
  std::uint64_t changes_ = 0;  // how often a leaf of theirs took a value since the sync
  std::uint64_t deletes_ = 0;  // how often a leaf of any path went
  std::uint64_t initialUpdates_ = 0;
  bool hasMissed_ = false;
  std::uint64_t syncs_ = 0;
  Agent::Gnmi::Nanoseconds last_ = 0;
  Counts counts_;
};

}  // namespace Harness
