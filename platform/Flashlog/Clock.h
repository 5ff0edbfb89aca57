// The time of the trace: a counter that is read in a few nanoseconds, and what relates it to the
// clocks of the system. The counter must run at one rate on all cores, as those of the last fifteen
// years do.
#pragma once

#include <cstdint>

#if !defined(__x86_64__) && !defined(__aarch64__)
#include <chrono>
#endif

#include "Base/Api.h"
#include "Flashlog/Layout.h"

namespace Flashlog {

/// The time-stamp counter of this machine, in ticks of an unknown rate.
[[nodiscard]] inline std::uint64_t timestamp() noexcept {
#if defined(__x86_64__)
  return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
  std::uint64_t ticks = 0;
  asm volatile("mrs %0, cntvct_el0" : "=r"(ticks));
  return ticks;
#else
  return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

/// Counter and clocks at one moment, a fraction of a microsecond apart at most.
[[nodiscard]] STP_API ClockPair clockPair() noexcept;

/// The first clock pair of this process, the same at every call.
[[nodiscard]] STP_API ClockPair const& firstClockPair() noexcept;

/// A clock pair far enough from the first one (1.5 ms) to tell the rate of the counter; waits
/// until there can be one.
[[nodiscard]] STP_API ClockPair calibratedClockPair() noexcept;

}  // namespace Flashlog
