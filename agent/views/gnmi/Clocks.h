// The times that gNMI knows: that of timers, and that of day.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace Agent::Gnmi {

using SteadyClock = std::chrono::steady_clock;
using Time = SteadyClock::time_point;

/// Since 1970, as clients are told.
using Nanoseconds = std::int64_t;

/// Where the times come from; a test gives its own. Asked from any thread.
struct Clocks {
  std::function<Time()> steady = &SteadyClock::now;
  std::function<Nanoseconds()> wall = [] {
    return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
  };
};

}  // namespace Agent::Gnmi
