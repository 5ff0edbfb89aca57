#include "Flashlog/Calibration.h"

#include <algorithm>
#include <limits>

namespace Flashlog {

Calibration::Calibration(ClockPair const& first, ClockPair const& latest) noexcept
    : anchor_(latest),
      nanosecondsPerTick_(static_cast<long double>(static_cast<std::uint64_t>(latest.monotonic) -
                                                   static_cast<std::uint64_t>(first.monotonic)) /
                          static_cast<long double>(latest.ticks - first.ticks)) {
}

std::chrono::nanoseconds Calibration::duration(std::uint64_t ticks) const noexcept {
  using Limits = std::numeric_limits<std::int64_t>;
  long double const nanoseconds = static_cast<long double>(ticks) * nanosecondsPerTick_;
  return std::chrono::nanoseconds(nanoseconds < static_cast<long double>(Limits::max())
                                      ? static_cast<std::int64_t>(nanoseconds)
                                      : Limits::max());
}

std::chrono::sys_time<std::chrono::nanoseconds> Calibration::time(
    std::uint64_t ticks) const noexcept {
  // The day that a time is in must be representable as well.
  constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() -
                                 std::chrono::nanoseconds(std::chrono::days(2)).count();
  bool const after = ticks >= anchor_.ticks;
  std::int64_t const distance =
      duration(after ? ticks - anchor_.ticks : anchor_.ticks - ticks).count();
  std::int64_t sum = 0;
  if (__builtin_add_overflow(anchor_.realtime, after ? distance : -distance, &sum)) {
    sum = after ? limit : -limit;
  }
  return std::chrono::sys_time<std::chrono::nanoseconds>(
      std::chrono::nanoseconds(std::clamp(sum, -limit, limit)));
}

}  // namespace Flashlog
