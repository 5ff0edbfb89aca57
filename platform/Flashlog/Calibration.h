// Turns ticks of a traced process's counter into times and durations.
#pragma once

#include <chrono>
#include <cstdint>

#include "Base/Api.h"
#include "Flashlog/Layout.h"

namespace Flashlog {

/// Relates ticks to time by two moments of the traced process. Whatever exceeds
/// its type is cut off at the limit.
class STP_API Calibration {
 public:
  /// One tick is one nanosecond, and tick 0 was in 1970.
  Calibration() = default;

  /// Both the ticks and the monotonic time of `latest` are beyond those of `first`.
  Calibration(ClockPair const& first, ClockPair const& latest) noexcept;

  /// The wall-clock time of a moment.
  [[nodiscard]] std::chrono::sys_time<std::chrono::nanoseconds> time(
      std::uint64_t ticks) const noexcept;

  /// The length of an interval.
  [[nodiscard]] std::chrono::nanoseconds duration(std::uint64_t ticks) const noexcept;

 private:
  ClockPair anchor_{};
  long double nanosecondsPerTick_ = 1;
};

}  // namespace Flashlog
