// Who wants to know what changes in the targets, and how they are told.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/state/Change.h"
#include "agent/state/Database.h"
#include "agent/state/TargetRecord.h"

namespace Agent {

/// Is told from inside notifications, one thing at a time, in the order in which things happen: of
/// what happens because of what it does when it is told, it and all others hear afterwards.
class TargetObserver {
 public:
  TargetObserver() = default;
  TargetObserver(TargetObserver const&) = delete;
  TargetObserver& operator=(TargetObserver const&) = delete;
  virtual ~TargetObserver() = default;

  /// A record was published. It may be equal to the one before.
  virtual void recordIs(TargetPlace const& place, TargetRecord const& record) noexcept = 0;
  /// The record is there no longer.
  virtual void recordGone(TargetPlace const& place) noexcept = 0;
  /// What was told since the last time is one change set: one operation, one snapshot of an engine,
  /// one write of a client, or the start of the mirror. It may be nothing at all.
  virtual void changeSetEnds() noexcept {}
};

/// The targets, for observers. While there is none, it watches nothing, so that a change costs
/// nothing more. What is stored into an entity that left the tree is no change of the tree.
class ObservedTargets {
 public:
  explicit ObservedTargets(TargetView targets) : targets_(std::move(targets)) {}
  ObservedTargets(ObservedTargets const&) = delete;
  ObservedTargets& operator=(ObservedTargets const&) = delete;
  ~ObservedTargets();

  /// What an observer is told first.
  enum class From : std::uint8_t {
    now,          ///< the next change
    presentState  ///< all records that are there, target by target; then the next change
  };

  /// Adds an observer that is none of them yet, and outlives its time as one. Observers come and go
  /// at any time, also while they are told; one that comes then is told of what happens later.
  void observerAdd(TargetObserver& observer, From from);
  /// From then on it is told nothing more. Nothing happens if it is no observer.
  void observerDel(TargetObserver& observer);

  /// Tells the observers that a change set is complete. Not from inside a notification.
  void changeSetEnds();

  /// A subscription to one target, or to one member of a target.
  class Subscription {
   public:
    Subscription() = default;
    Subscription(Subscription const&) = delete;
    Subscription& operator=(Subscription const&) = delete;
    virtual ~Subscription() = default;
  };

  /// For the subscriptions, as the last thing that they do: it may drop them. A record that is
  /// absent is gone.
  void happened(TargetPlace const& place, std::optional<TargetRecord> record);

 private:
  struct Event {
    TargetPlace place;
    std::optional<TargetRecord> record;
    std::uint64_t number;
  };
  struct Seat {
    TargetObserver* observer;  // null once it has left
    std::uint64_t since;       // the number of the last event that is not for it
  };

  void tell(Event const& event);
  void tellWaiting();
  void settle();
  std::vector<Event> presentState() const;

  TargetView targets_;
  std::vector<std::unique_ptr<Subscription>> subscriptions_;
  std::vector<Seat> seats_;
  std::deque<Event> waiting_;
  std::uint64_t last_ = 0;  // the number of the last event
  bool telling_ = false;
};

}  // namespace Agent
