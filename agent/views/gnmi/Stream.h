// One Subscribe call: what is to be sent next.
//
// Change sets, samples and heartbeats wait here until the call's owner takes them, in the order in
// which they happened. Who is slow gets no more than a bounded number of them one by one: what is
// beyond is coalesced by leaf, with a count of the values that are left out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/views/gnmi/Backlog.h"
#include "agent/views/gnmi/ChangeSet.h"
#include "agent/views/gnmi/Clocks.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Notification.h"
#include "agent/views/gnmi/Snapshot.h"
#include "agent/views/gnmi/Subscription.h"

namespace Agent::Gnmi {

class Hub;

/// A change set as a filter lets it through: `filter->notifications(*changes)`, to be serialised
/// once for all streams with the same filter (ChangeSet::shared, Filter::id).
struct SharedChange {
  ChangeSetPtr changes;
  FilterPtr filter;
};
/// The marker behind the initial values, or the values of a poll.
struct Sync {};
/// Nothing comes behind it. The code is `ok` where the call did what was asked.
struct End {
  Code code = Code::ok;
  std::string message = {};
};
using StreamMessage = std::variant<SharedChange, Notification, Sync, End>;

/// Its owner takes from it; a hub makes and feeds it. From any thread.
class Stream {
 public:
  /// How many change sets wait before they are coalesced.
  static constexpr std::size_t mostWaiting = 64;

  Stream(Stream const&) = delete;
  Stream& operator=(Stream const&) = delete;
  ~Stream() = default;

  /// What is to be sent now; nothing if there is nothing, then `ready` will be called when there
  /// is. To be called again only when what it gave before has been sent: who does not call again
  /// within the hub's patience counts as stuck.
  std::optional<StreamMessage> next();
  /// What is to be sent behind what was given, if that is there already and not the end: to be
  /// asked for once, when the sending of what was given begins; the patience begins anew. `ready`
  /// is not called for what is not there yet.
  std::optional<StreamMessage> following();

  /// The client asks: the present state, and the marker behind it. Throws a Failure, and ends the
  /// stream with it, unless that is how the call goes on.
  void poll();

  /// Ends the stream: what waits is dropped, and the next message is the end. `ready` is not
  /// called.
  void end(Failure const& failure);
  /// Whether the end has come, if it was taken or not. An owner that is told `ready` while it is
  /// still sending looks here.
  bool hasEnded() const;

  SubscriptionPlan const& plan() const { return plan_; }

 private:
  friend class Hub;

  // Samples and heartbeats that are due, by their places in the plan.
  struct Tick {
    std::vector<std::size_t> samplings;
    Snapshot state;
    Nanoseconds time;
  };
  using Item = std::variant<ChangeSetPtr, Tick>;

  // When a sampling is due next, and of which state all changes were told with it.
  struct Progress {
    Time due = Time::max();
    Nanoseconds told = 0;
  };

  Stream(Hub& hub, SubscriptionPlan plan, FilterPtr filter, Snapshot const& state,
         std::function<void()> ready);

  // For the hub; each says whether `ready` is to be called.
  [[nodiscard]] bool push(ChangeSetPtr const& changes);
  [[nodiscard]] bool tick(Time now, Snapshot const& state, Nanoseconds time);
  [[nodiscard]] bool endIfStuck(Time now, SteadyClock::duration patience);
  [[nodiscard]] bool endWith(Failure const& failure);
  // When the next sample or heartbeat is due; the greatest time if none is.
  Time due() const;

  enum class Asked : std::uint8_t { next, following };
  std::optional<StreamMessage> give(Asked asked);
  std::optional<StreamMessage> take(Asked asked);
  void prepareState(Snapshot const& state);
  void prepare(std::vector<Notification> notifications);
  std::optional<StreamMessage> takeItem();
  std::vector<Update> sampled(Tick const& tick);
  bool isWaiting(std::vector<std::size_t> const& samplings) const;
  void coalesce();
  bool wake() { return std::exchange(isIdle_, false); }

  Hub& hub_;
  SubscriptionPlan const plan_;
  FilterPtr const filter_;
  std::function<void()> const ready_;

  mutable std::mutex mutex_;
  // What is sent next comes from the first of these that has something.
  std::deque<StreamMessage> prepared_;
  std::optional<Snapshot> initial_;
  Snapshot polled_;
  std::uint64_t polls_ = 0;
  Backlog backlog_;
  std::deque<Item> items_;
  // Up to which time the client has been told, and has been or waits in the backlog.
  Nanoseconds told_ = 0;
  Nanoseconds coalesced_ = 0;
  std::vector<Progress> progress_;  // by the plan's samplings
  bool isIdle_ = false;
  bool hasSynced_ = false;
  bool hasEnded_ = false;
  std::optional<Time> gaveAt_;
};

}  // namespace Agent::Gnmi
