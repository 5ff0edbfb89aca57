#include "agent/host/Loop.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <system_error>

namespace Agent {

namespace {

// sd-event returns negative error numbers.
void require(int result, char const* what) {
  if (result < 0) {
    throw std::system_error(-result, std::system_category(), what);
  }
}

}  // namespace

// What is called, by whom: one event source, or one entry among the timers. It outlives its
// Registration where that goes during the call.
struct Loop::Registration::Kept {
  explicit Kept(Loop& owner) : loop(owner) {}

  Loop& loop;
  sd_event_source* source = nullptr;
  EventsCall onEvents;
  Call onTime;
  std::optional<Timers::iterator> timer;
  bool isCalling = false;
  bool isDropped = false;

  // No exception passes through the C library: turn() throws it again.
  void call(std::uint32_t events) noexcept {
    isCalling = true;
    try {
      onEvents ? onEvents(events) : onTime();
    } catch (...) {
      loop.thrown_ = std::current_exception();
    }
    isCalling = false;
    if (isDropped) {
      delete this;
    }
  }

  static Kept* of(void* data) { return static_cast<Kept*>(data); }
  static int onReady(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t events,
                     void* data) {
    of(data)->call(events);
    return 0;
  }
  static int onAlwaysReady(sd_event_source* /*source*/, void* data) {
    of(data)->call(EPOLLIN | EPOLLOUT);
    return 0;
  }
  static int onSignal(sd_event_source* /*source*/, signalfd_siginfo const* /*signal*/, void* data) {
    of(data)->call(0);
    return 0;
  }
};

void Loop::Registration::Forget::operator()(Kept* kept) const noexcept {
  if (kept->source != nullptr) {
    (void)::sd_event_source_disable_unref(kept->source);
    kept->source = nullptr;
  }
  if (kept->timer) {
    kept->loop.timers_.erase(*kept->timer);
    kept->timer.reset();
  }
  if (kept->isCalling) {
    kept->isDropped = true;
  } else {
    delete kept;
  }
}

void Loop::Registration::eventsAre(std::uint32_t events) {
  int const result = ::sd_event_source_set_io_events(kept_->source, events);
  if (result == -EDOM) {  // always ready: called, or not
    require(::sd_event_source_set_enabled(kept_->source, events != 0 ? SD_EVENT_ON : SD_EVENT_OFF),
            "sd_event_source_set_enabled");
    return;
  }
  require(result, "sd_event_source_set_io_events");
}

Loop::Loop(std::function<Time()> now)
    : now_(std::move(now)), posted_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  require(posted_.isOpen() ? 0 : -errno, "eventfd");
  require(::sd_event_new(&events_), "sd_event_new");
  waking_ = whenReady(posted_.number(), EPOLLIN, [this](std::uint32_t /*events*/) { runPosted(); });
}

Loop::~Loop() {
  waking_.drop();
  (void)::sd_event_unref(events_);
}

Loop::Registration Loop::whenReady(int descriptor, std::uint32_t events, EventsCall call) {
  Registration made(
      std::unique_ptr<Registration::Kept, Registration::Forget>(new Registration::Kept(*this)));
  auto& kept = *made.kept_;
  kept.onEvents = std::move(call);
  int const result = ::sd_event_add_io(events_, &kept.source, descriptor, events,
                                       &Registration::Kept::onReady, &kept);
  if (result != -EPERM) {
    require(result, "sd_event_add_io");
    return made;
  }
  require(::sd_event_add_defer(events_, &kept.source, &Registration::Kept::onAlwaysReady, &kept),
          "sd_event_add_defer");
  made.eventsAre(events);
  return made;
}

Loop::Registration Loop::at(Time time, Call call) {
  Registration made(
      std::unique_ptr<Registration::Kept, Registration::Forget>(new Registration::Kept(*this)));
  made.kept_->onTime = std::move(call);
  made.kept_->timer = timers_.emplace(time, made.kept_.get());
  return made;
}

Loop::Registration Loop::onSignal(int number, Call call) {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, number);
  require(-::pthread_sigmask(SIG_BLOCK, &signals, nullptr), "pthread_sigmask");
  Registration made(
      std::unique_ptr<Registration::Kept, Registration::Forget>(new Registration::Kept(*this)));
  made.kept_->onTime = std::move(call);
  require(::sd_event_add_signal(events_, &made.kept_->source, number, &Registration::Kept::onSignal,
                                made.kept_.get()),
          "sd_event_add_signal");
  // Whoever wants an end is heard before all else.
  require(::sd_event_source_set_priority(made.kept_->source, SD_EVENT_PRIORITY_IMPORTANT),
          "sd_event_source_set_priority");
  return made;
}

void Loop::post(Call call) {
  {
    std::lock_guard const lock(mutex_);
    posts_.push_back(std::move(call));
  }
  wakeUp();
}

void Loop::turn(std::optional<Clock::duration> longest) {
  auto const wait = patience(longest);
  std::uint64_t const microseconds =
      wait ? static_cast<std::uint64_t>(std::chrono::ceil<std::chrono::microseconds>(*wait).count())
           : std::numeric_limits<std::uint64_t>::max();
  require(::sd_event_run(events_, microseconds), "sd_event_run");
  if (!thrown_) {
    runTimers();
  }
  if (auto const thrown = std::exchange(thrown_, nullptr)) {
    std::rethrow_exception(thrown);
  }
}

// How long nothing is to be called but what descriptors, signals and other threads bring.
std::optional<Loop::Clock::duration> Loop::patience(std::optional<Clock::duration> longest) const {
  if (timers_.empty()) {
    return longest;
  }
  auto const rest = std::max(timers_.begin()->first - now_(), Clock::duration::zero());
  return longest ? std::min(rest, *longest) : rest;
}

// Those that were due when this began: one that asks for the same time again waits for a turn.
void Loop::runTimers() {
  Time const now = now_();
  auto const last = timers_.upper_bound(now);
  auto due = static_cast<std::size_t>(std::distance(timers_.begin(), last));
  while (due-- > 0 && !timers_.empty() && timers_.begin()->first <= now && !thrown_) {
    Registration::Kept* const kept = timers_.begin()->second;
    timers_.erase(timers_.begin());
    kept->timer.reset();
    kept->call(0);
  }
}

// Those that were there when this began; if one throws, the others wait for a turn.
void Loop::runPosted() {
  std::uint64_t count = 0;
  (void)!::read(posted_.number(), &count, sizeof count);
  std::unique_lock lock(mutex_);
  for (std::size_t left = posts_.size(); left > 0; --left) {
    Call const call = std::move(posts_.front());
    posts_.pop_front();
    bool const isLast = left == 1;
    lock.unlock();
    try {
      call();
    } catch (...) {
      if (!isLast) {
        wakeUp();
      }
      throw;
    }
    lock.lock();
  }
}

void Loop::wakeUp() const noexcept {
  std::uint64_t const one = 1;
  (void)!::write(posted_.number(), &one, sizeof one);
}

}  // namespace Agent
