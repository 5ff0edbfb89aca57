#include "agent/views/gnmi/Hub.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace Agent::Gnmi {

namespace {

std::uint64_t newFilterId() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

// How far ahead the thread waits at most.
constexpr std::chrono::hours longestWait{1};

}  // namespace

Hub::Hub(HubSettings settings, Clocks clocks) : settings_(settings), clocks_(std::move(clocks)) {
}

Hub::~Hub() {
  shutdown();
}

void Hub::start() {
  thread_ = std::thread([this] { run(); });
}

void Hub::publish(std::vector<EntryDraft> changed) {
  std::vector<ChangedEntry> entries;
  entries.reserve(changed.size());
  {
    std::scoped_lock const lock(handOver_);
    // Times rise, whatever the clock does: a client drops what is older than what it has.
    time_ = std::max(clocks_.wall(), time_ + 1);
    for (EntryDraft& draft : changed) {
      if (draft.after) {
        for (LeafState& leaf : draft.after->leaves) {
          if (draft.updates[leaf.row]) {
            leaf.changed = time_;
            leaf.created = leaf.created == 0 ? time_ : leaf.created;
          }
        }
      }
      entries.push_back(
          {std::move(draft.before), std::move(draft.after), draft.updates, draft.deletes});
    }
    if (waiting_ < settings_.mostWaiting) {
      waiting_ += entries.size();
      published_.push_back(std::make_shared<ChangeSet const>(time_, std::move(entries)));
    } else {
      merged_.add(std::move(entries));
    }
  }
  wakeUp_.notify_one();
}

Snapshot Hub::snapshot() {
  Streams ready;
  Snapshot state;
  {
    std::scoped_lock const lock(mutex_);
    apply(ready);
    state = state_;
  }
  tell(ready);
  return state;
}

std::shared_ptr<Stream> Hub::subscribe(SubscribeRequest const& request,
                                       std::function<void()> ready) {
  SubscriptionPlan plan = planOf(request, settings_.limits);
  Streams others;
  std::shared_ptr<Stream> stream;
  {
    std::scoped_lock const lock(mutex_);
    if (isShut_) {
      throw Failure(Code::unavailable, "the agent ends");
    }
    if (streams_.size() >= settings_.mostStreams) {
      throw Failure(Code::resourceExhausted, "the most subscriptions at a time are " +
                                                 std::to_string(settings_.mostStreams));
    }
    apply(others);
    bool const isTold = plan.mode == CallMode::stream;
    Audience* const audience = isTold ? &audienceOf(plan) : nullptr;
    stream.reset(new Stream(*this, std::move(plan), isTold ? audience->filter : nullptr, state_,
                            std::move(ready)));
    if (isTold) {
      audience->streams.push_back(stream);
    }
    if (streams_.empty()) {
      nextCheck_ = now() + settings_.sendPatience / 60;
    }
    streams_.push_back(stream);
  }
  tell(others);
  wakeUp();
  return stream;
}

void Hub::unsubscribe(std::shared_ptr<Stream> const& stream) {
  std::scoped_lock const lock(mutex_);
  std::erase(streams_, stream);
  for (Audience& audience : audiences_) {
    std::erase(audience.streams, stream);
  }
  std::erase_if(audiences_, [](Audience const& audience) { return audience.streams.empty(); });
  std::erase_if(timers_, [&](auto const& timer) { return timer.second == stream; });
  if (streams_.empty()) {
    nextCheck_ = Time::max();
  }
}

void Hub::shutdown() {
  Streams ended;
  {
    std::scoped_lock const lock(mutex_);
    isShut_ = true;
    for (auto const& stream : streams_) {
      if (stream->endWith({Code::unavailable, "the agent ends"})) {
        ended.push_back(stream);
      }
    }
  }
  tell(ended);
  {
    std::scoped_lock const lock(handOver_);
    stops_ = true;
  }
  wakeUp_.notify_one();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Hub::step() {
  Streams ready;
  {
    std::scoped_lock const lock(mutex_);
    Time const now = clocks_.steady();
    Nanoseconds const time = apply(ready);
    runTimers(now, time, ready);
    endStuck(now, ready);
  }
  tell(ready);
}

Time Hub::due() {
  std::scoped_lock const lock(mutex_);
  return timers_.empty() ? nextCheck_ : std::min(nextCheck_, timers_.begin()->first);
}

std::size_t Hub::streamCount() {
  std::scoped_lock const lock(mutex_);
  return streams_.size();
}

void Hub::timersStart(Stream& stream) {
  {
    std::scoped_lock const lock(mutex_);
    auto const found = std::ranges::find(streams_, &stream, &std::shared_ptr<Stream>::get);
    if (found == streams_.end()) {
      return;
    }
    timers_.emplace(stream.due(), *found);
  }
  wakeUp();
}

// Returns a time behind all that was published, and before all that will be.
Nanoseconds Hub::apply(Streams& ready) {
  std::vector<ChangeSetPtr> changeSets;
  Nanoseconds time = 0;
  {
    std::scoped_lock const lock(handOver_);
    changeSets.swap(published_);
    waiting_ = 0;
    if (!merged_.empty()) {
      changeSets.push_back(std::make_shared<ChangeSet const>(time_, merged_.take()));
    }
    time = time_ = std::max(clocks_.wall(), time_ + 1);
  }
  for (ChangeSetPtr const& changes : changeSets) {
    state_ = state_.with(*changes);
    for (Audience const& audience : audiences_) {
      if (!audience.filter->matches(*changes)) {
        continue;
      }
      for (auto const& stream : audience.streams) {
        if (stream->push(changes)) {
          ready.push_back(stream);
        }
      }
    }
  }
  return time;
}

void Hub::runTimers(Time now, Nanoseconds time, Streams& ready) {
  while (!timers_.empty() && timers_.begin()->first <= now) {
    auto timer = timers_.extract(timers_.begin());
    auto const& stream = timer.mapped();
    if (stream->tick(now, state_, time)) {
      ready.push_back(stream);
    }
    timer.key() = stream->due();
    if (timer.key() != Time::max()) {
      timers_.insert(std::move(timer));
    }
  }
}

void Hub::endStuck(Time now, Streams& ready) {
  if (now < nextCheck_) {
    return;
  }
  nextCheck_ = now + settings_.sendPatience / 60;
  for (auto const& stream : streams_) {
    if (stream->endIfStuck(now, settings_.sendPatience)) {
      ready.push_back(stream);
    }
  }
}

Hub::Audience& Hub::audienceOf(SubscriptionPlan const& plan) {
  auto const found = std::ranges::find_if(audiences_, [&](Audience const& audience) {
    return audience.filter->updates() == plan.onChange &&
           audience.filter->deletes() == plan.onDelete;
  });
  return found != audiences_.end()
             ? *found
             : audiences_.emplace_back(Audience{
                   std::make_shared<Filter const>(newFilterId(), plan.onChange, plan.onDelete),
                   {}});
}

void Hub::tell(Streams const& ready) {
  for (auto const& stream : ready) {
    stream->ready_();
  }
}

void Hub::wakeUp() {
  {
    std::scoped_lock const lock(handOver_);
    isWoken_ = true;
  }
  wakeUp_.notify_one();
}

void Hub::run() {
  while (true) {
    Time const next = due();
    {
      std::unique_lock lock(handOver_);
      auto const isNeeded = [this] { return !published_.empty() || isWoken_ || stops_; };
      if (next == Time::max()) {
        wakeUp_.wait(lock, isNeeded);
      } else {
        wakeUp_.wait_for(lock, std::min<SteadyClock::duration>(next - now(), longestWait),
                         isNeeded);
      }
      if (stops_) {
        return;
      }
      isWoken_ = false;
    }
    step();
  }
}

}  // namespace Agent::Gnmi
