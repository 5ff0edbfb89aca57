// The one thread of the agent and all that it waits for.
//
// Sources and views ask to be called: when a descriptor is ready, at a time, when a signal comes.
// What they get is a Registration; they are called until they drop it, and never after. Dropping
// one is always allowed, from inside its own callback too. Nothing that is called may wait itself.
//
// Other threads reach the agent's state through post() alone: what they post runs here, between
// two callbacks.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "Base/FileDescriptor.h"

struct sd_event;

namespace Agent {

class Loop {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;
  using Call = std::function<void()>;
  /// Is told which of poll(2)'s events came, as EPOLLIN and its like (epoll_ctl(2)).
  using EventsCall = std::function<void(std::uint32_t events)>;

  /// What is called until this goes, or is assigned another. Must go before its loop.
  class Registration {
   public:
    Registration() = default;
    Registration(Registration&& other) noexcept = default;
    Registration& operator=(Registration&& other) noexcept = default;
    ~Registration() = default;

    /// Whether there is something that may still be called.
    explicit operator bool() const { return kept_ != nullptr; }
    void drop() { kept_.reset(); }

    /// Of a descriptor: what is waited for from now on, beside EPOLLERR and EPOLLHUP.
    void eventsAre(std::uint32_t events);

   private:
    friend class Loop;
    struct Kept;
    struct Forget {
      void operator()(Kept* kept) const noexcept;
    };
    explicit Registration(std::unique_ptr<Kept, Forget> kept) : kept_(std::move(kept)) {}

    std::unique_ptr<Kept, Forget> kept_;
  };

  /// `now` is the time of the timers; a test gives another than the clock's.
  explicit Loop(std::function<Time()> now = &Clock::now);
  Loop(Loop const&) = delete;
  Loop& operator=(Loop const&) = delete;
  ~Loop();

  Time now() const { return now_(); }

  /// Calls as long as one of `events` holds for `descriptor`, which stays its owner's. A file that
  /// can't be waited for, since it is always ready, counts as ready. A descriptor can be watched
  /// once at a time. Throws std::system_error.
  [[nodiscard]] Registration whenReady(int descriptor, std::uint32_t events, EventsCall call);

  /// Calls once, at `time` or soon after; of equal times in the order in which they were asked for.
  [[nodiscard]] Registration at(Time time, Call call);
  [[nodiscard]] Registration after(Clock::duration duration, Call call) {
    return at(now() + duration, std::move(call));
  }

  /// Calls for every signal of that number, which no longer does anything else to the process from
  /// then on. To be asked for before there are other threads. Throws std::system_error.
  [[nodiscard]] Registration onSignal(int number, Call call);

  /// Has `call` run by the loop's thread, in the order of the posts. From any thread. What is still
  /// to be run when the loop goes is dropped.
  void post(Call call);

  /// Waits until something is to be called, at most `longest` if that is given, and calls it. An
  /// exception of what is called passes. Not to be called from inside a callback.
  void turn(std::optional<Clock::duration> longest = std::nullopt);

 private:
  using Timers = std::multimap<Time, Registration::Kept*>;

  std::optional<Clock::duration> patience(std::optional<Clock::duration> longest) const;
  void runTimers();
  void runPosted();
  void wakeUp() const noexcept;

  std::function<Time()> now_;
  sd_event* events_ = nullptr;
  Timers timers_;
  std::exception_ptr thrown_;
  Base::FileDescriptor posted_;
  std::mutex mutex_;
  std::deque<Call> posts_;
  Registration waking_;
};

}  // namespace Agent
