// Where changes and streams meet: the latest state, and all Subscribe calls.
//
// The notification thread hands change sets over and goes on. A thread of the hub's own applies
// them to the state, matches them against the streams, and runs their timers; what is sent, and
// when, is the affair of each stream's owner.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "agent/views/gnmi/ChangeSet.h"
#include "agent/views/gnmi/Clocks.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/MergedChanges.h"
#include "agent/views/gnmi/Notification.h"
#include "agent/views/gnmi/Snapshot.h"
#include "agent/views/gnmi/Stream.h"
#include "agent/views/gnmi/Subscription.h"

namespace Agent::Gnmi {

struct HubSettings {
  SubscribeLimits limits = {};
  std::size_t mostStreams = 1024;
  /// How many changed entries may wait to be told with their own change set; what more changes
  /// meanwhile is one change set.
  std::size_t mostWaiting = 10'000;
  /// How long what a stream gave may take to be sent. Looked at every sixtieth of it.
  SteadyClock::duration sendPatience = std::chrono::seconds(60);
};

/// An entry before and after, while it is being published.
struct EntryDraft {
  EntryPtr before;
  std::shared_ptr<Entry> after;
  RowSet updates;
  RowSet deletes;

  Entry const& any() const { return after ? *after : *before; }
};

class Hub {
 public:
  explicit Hub(HubSettings settings = {}, Clocks clocks = {});
  Hub(Hub const&) = delete;
  Hub& operator=(Hub const&) = delete;
  /// Shuts down. Nobody may use its streams any more.
  ~Hub();

  /// Starts the thread, which lives until shutdown. Without one, step() does its work.
  void start();

  /// Makes a change set of what changed, with its time, the times of its leaves included, and
  /// hands it over; that is all that is done. `changed` is in the order of paths, and new
  /// values of leaves that were there have the time of their creation. From the notification thread
  /// alone. Change sets that come too fast are made one, of the time of the last.
  void publish(std::vector<EntryDraft> changed);

  /// The state with all that was published. From any thread, as all that follows.
  Snapshot snapshot();

  /// A call begins, with the present state and all changes behind it. `ready` is called, without
  /// any lock held, from whatever thread, when there is something to take after there was nothing,
  /// and when the stream is ended; it may still be called once more after the stream was dropped,
  /// and should hold what it needs. The first messages are there at once. Throws a Failure.
  std::shared_ptr<Stream> subscribe(SubscribeRequest const& request, std::function<void()> ready);
  /// The call is over.
  void unsubscribe(std::shared_ptr<Stream> const& stream);

  /// Ends all streams, and those that come, as unavailable, and the thread.
  void shutdown();

  /// What the thread does whenever something was published or a timer is due.
  void step();
  /// When step() has something to do because of a timer; the greatest time if it has not.
  Time due();

  std::size_t streamCount();

 private:
  friend class Stream;
  using Streams = std::vector<std::shared_ptr<Stream>>;

  // The streams that are told the same.
  struct Audience {
    FilterPtr filter;
    Streams streams;
  };

  // For streams.
  Time now() const { return clocks_.steady(); }
  void timersStart(Stream& stream);

  // What the next needs mutex_ for; they return or add the streams that are to be told.
  Nanoseconds apply(Streams& ready);
  void runTimers(Time now, Nanoseconds time, Streams& ready);
  void endStuck(Time now, Streams& ready);
  Audience& audienceOf(SubscriptionPlan const& plan);

  static void tell(Streams const& ready);
  void wakeUp();
  void run();

  HubSettings const settings_;
  Clocks const clocks_;

  // The state and the streams. Taken before a stream's own.
  std::mutex mutex_;
  Snapshot state_;
  Streams streams_;
  std::vector<Audience> audiences_;
  std::multimap<Time, std::shared_ptr<Stream>> timers_;
  Time nextCheck_ = Time::max();
  bool isShut_ = false;

  // What was published and not yet applied. Taken last, and never for long.
  std::mutex handOver_;
  std::condition_variable wakeUp_;
  std::vector<ChangeSetPtr> published_;
  std::size_t waiting_ = 0;  // entries in it
  MergedChanges merged_;     // what came behind it
  Nanoseconds time_ = 0;
  bool isWoken_ = false;
  bool stops_ = false;

  std::thread thread_;
};

}  // namespace Agent::Gnmi
