#include "agent/views/gnmi/Stream.h"

#include <algorithm>
#include <chrono>
#include <map>

#include "agent/views/gnmi/Hub.h"

namespace Agent::Gnmi {

namespace {

// Far enough for ever, and near enough to be added to any time.
constexpr std::chrono::nanoseconds longestInterval{std::int64_t{1} << 61U};

}  // namespace

Stream::Stream(Hub& hub, SubscriptionPlan plan, FilterPtr filter, Snapshot const& state,
               std::function<void()> ready)
    : hub_(hub),
      plan_(std::move(plan)),
      filter_(std::move(filter)),
      ready_(std::move(ready)),
      told_(state.time()),
      progress_(plan_.samplings.size(), Progress{Time::max(), state.time()}) {
  if (plan_.mode != CallMode::poll) {
    initial_ = state;
  }
}

std::optional<StreamMessage> Stream::next() {
  return give(Asked::next);
}

std::optional<StreamMessage> Stream::following() {
  return give(Asked::following);
}

std::optional<StreamMessage> Stream::give(Asked asked) {
  bool hasTimers = false;
  std::optional<StreamMessage> message;
  {
    std::scoped_lock const lock(mutex_);
    message = take(asked);
    isIdle_ = asked == Asked::next && !message;
    gaveAt_.reset();
    if (!isIdle_) {
      Time const now = hub_.now();
      gaveAt_ = now;
      bool const isFirstSync = message && std::holds_alternative<Sync>(*message) && !hasSynced_;
      if (isFirstSync && !progress_.empty()) {
        for (std::size_t at = 0; at < progress_.size(); ++at) {
          progress_[at].due = now + std::min(plan_.samplings[at].interval, longestInterval);
        }
        hasTimers = true;
      }
      hasSynced_ = hasSynced_ || isFirstSync;
    }
  }
  if (hasTimers) {
    hub_.timersStart(*this);
  }
  return message;
}

void Stream::poll() {
  Failure const wrong(Code::invalidArgument,
                      "a poll, but the mode of the subscription is not POLL");
  if (plan_.mode != CallMode::poll) {
    end(wrong);
    throw wrong;
  }
  Snapshot state = hub_.snapshot();
  bool isWoken = false;
  {
    std::scoped_lock const lock(mutex_);
    if (hasEnded_) {
      return;
    }
    polled_ = std::move(state);
    ++polls_;
    isWoken = wake();
  }
  if (isWoken) {
    ready_();
  }
}

void Stream::end(Failure const& failure) {
  (void)endWith(failure);
}

bool Stream::hasEnded() const {
  std::scoped_lock const lock(mutex_);
  return hasEnded_;
}

bool Stream::push(ChangeSetPtr const& changes) {
  std::scoped_lock const lock(mutex_);
  if (hasEnded_) {
    return false;
  }
  items_.emplace_back(changes);
  if (items_.size() > mostWaiting) {
    coalesce();
  }
  return wake();
}

bool Stream::tick(Time now, Snapshot const& state, Nanoseconds time) {
  std::scoped_lock const lock(mutex_);
  Tick tick{{}, state, time};
  for (std::size_t at = 0; at < progress_.size() && !hasEnded_; ++at) {
    Time& due = progress_[at].due;
    if (due <= now) {
      auto const interval = std::min(plan_.samplings[at].interval, longestInterval);
      due += interval * ((now - due) / interval + 1);  // what was missed is missed
      tick.samplings.push_back(at);
    }
  }
  if (tick.samplings.empty()) {
    return false;
  }
  bool const isBehind = isWaiting(tick.samplings);
  items_.emplace_back(std::move(tick));
  if (isBehind || items_.size() > mostWaiting) {
    coalesce();
  }
  return wake();
}

bool Stream::endIfStuck(Time now, SteadyClock::duration patience) {
  {
    std::scoped_lock const lock(mutex_);
    if (hasEnded_ || !gaveAt_ || now - *gaveAt_ < patience) {
      return false;
    }
  }
  auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(patience).count();
  return endWith(
      {Code::resourceExhausted, "the client took nothing for " + std::to_string(seconds) + " s"});
}

bool Stream::endWith(Failure const& failure) {
  std::scoped_lock const lock(mutex_);
  if (std::exchange(hasEnded_, true)) {
    return false;
  }
  prepared_.clear();
  prepared_.emplace_back(End{failure.code(), failure.what()});
  initial_.reset();
  polled_ = {};
  polls_ = 0;
  backlog_ = {};
  items_.clear();
  std::ranges::fill(progress_, Progress());
  isIdle_ = false;
  return true;
}

Time Stream::due() const {
  std::scoped_lock const lock(mutex_);
  Time due = Time::max();
  for (Progress const& progress : progress_) {
    due = std::min(due, progress.due);
  }
  return due;
}

std::optional<StreamMessage> Stream::take(Asked asked) {
  while (prepared_.empty()) {
    if (initial_) {
      prepareState(*std::exchange(initial_, std::nullopt));
      if (plan_.mode == CallMode::once) {
        prepared_.emplace_back(End());
      }
    } else if (polls_ > 0) {
      --polls_;
      prepareState(polled_);
      if (polls_ == 0) {
        polled_ = {};
      }
    } else if (!backlog_.empty()) {
      told_ = coalesced_;
      prepare(backlog_.take());
    } else if (items_.empty()) {
      return std::nullopt;
    } else if (auto message = takeItem()) {
      return message;
    }
  }
  if (asked == Asked::following && std::holds_alternative<End>(prepared_.front())) {
    return std::nullopt;
  }
  StreamMessage message = std::move(prepared_.front());
  prepared_.pop_front();
  hasEnded_ = hasEnded_ || std::holds_alternative<End>(message);
  return message;
}

// All that is selected by the time at which it changed, and the marker.
void Stream::prepareState(Snapshot const& state) {
  if (!plan_.updatesOnly) {
    std::map<Nanoseconds, Notification> byTime;
    for (LeafRef& leaf : state.leaves(plan_.initial)) {
      Notification& notification = byTime[leaf.changed()];
      notification.time = leaf.changed();
      notification.updates.push_back({std::move(leaf)});
    }
    for (auto& [time, notification] : byTime) {
      prepare(split(std::move(notification)));
    }
  }
  prepared_.emplace_back(Sync());
}

void Stream::prepare(std::vector<Notification> notifications) {
  for (Notification& notification : notifications) {
    prepared_.emplace_back(std::move(notification));
  }
}

// Nothing if what it is was prepared, or is nothing.
std::optional<StreamMessage> Stream::takeItem() {
  Item const item = std::move(items_.front());
  items_.pop_front();
  if (auto const* const changes = std::get_if<ChangeSetPtr>(&item)) {
    told_ = (*changes)->time();
    return SharedChange{*changes, filter_};
  }
  auto const& tick = std::get<Tick>(item);
  told_ = tick.state.time();
  prepare(split({tick.time, {}, sampled(tick)}));
  return std::nullopt;
}

// Each leaf once, whatever of it is due. What was told counts as told.
std::vector<Update> Stream::sampled(Tick const& tick) {
  Selection selection;
  for (std::size_t const at : tick.samplings) {
    selection.add(plan_.samplings[at].selection);
  }
  std::vector<Update> updates;
  tick.state.visit(selection, [&](EntryPtr const& entry, RowSet const& /*rows*/) {
    for (LeafState const& leaf : entry->leaves) {
      bool const isTold = std::ranges::any_of(tick.samplings, [&](std::size_t at) {
        Sampling const& sampling = plan_.samplings[at];
        return sampling.selection.rows(entry->key)[leaf.row] &&
               (!sampling.suppressesRedundant || leaf.changed > progress_[at].told);
      });
      if (isTold) {
        updates.push_back({LeafRef(entry, leaf)});
      }
    }
  });
  for (std::size_t const at : tick.samplings) {
    progress_[at].told = tick.state.time();
    if (auto const beaten = plan_.samplings[at].beats) {
      progress_[*beaten].told = tick.state.time();
    }
  }
  return updates;
}

bool Stream::isWaiting(std::vector<std::size_t> const& samplings) const {
  return std::ranges::any_of(items_, [&](Item const& item) {
    auto const* const tick = std::get_if<Tick>(&item);
    return tick != nullptr &&
           std::ranges::find_first_of(tick->samplings, samplings) != tick->samplings.end();
  });
}

void Stream::coalesce() {
  for (Item const& item : items_) {
    if (auto const* const changes = std::get_if<ChangeSetPtr>(&item)) {
      for (Notification const& notification : filter_->notifications(**changes)) {
        backlog_.add(notification, told_);
      }
      coalesced_ = (*changes)->time();
    } else {
      auto const& tick = std::get<Tick>(item);
      backlog_.add({tick.time, {}, sampled(tick)}, told_);
      coalesced_ = tick.state.time();
    }
  }
  items_.clear();
}

}  // namespace Agent::Gnmi
