// The calls that have yet to say what they want.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "agent/views/gnmi/Clocks.h"
#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

/// How long a call may be there without its request.
inline constexpr std::chrono::seconds requestPatience{60};

/// What such a call is then told.
Failure requestIsLate();

/// Gives up the calls whose request does not come: each counts, and costs memory. From any thread.
class AwaitedRequests {
  struct Awaited {
    Time since;
    std::function<void()> giveUp;
  };
  using List = std::list<Awaited>;

 public:
  /// One call that waits; its request is there when this goes.
  class Wait {
   public:
    Wait(AwaitedRequests& all, List::iterator own) : all_(all), own_(own) {}
    Wait(Wait const&) = delete;
    Wait& operator=(Wait const&) = delete;
    ~Wait() { all_.ends(own_); }

   private:
    AwaitedRequests& all_;
    List::iterator own_;
  };

  /// `giveUp` is called once, without a lock, if the request does not come in time; also when it
  /// comes just then.
  std::unique_ptr<Wait> begins(std::function<void()> giveUp);

  /// To be called every second or so.
  void look(Time now);

 private:
  void ends(List::iterator awaited);

  std::mutex mutex_;
  List list_;  // by time
};

}  // namespace Agent::Gnmi
