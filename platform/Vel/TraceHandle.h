// The text trace: named handles with levels, and where their lines go.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

#include "Base/Api.h"

namespace Vel {

/// What belongs to one line of the text trace.
struct TraceLine {
  std::chrono::system_clock::time_point time;
  std::string_view handle;
  unsigned level = 0;
  std::string_view sourcePath;
  unsigned sourceLine = 0;
  std::string_view function;
  std::string_view text;
};

/// A module's switchboard of trace levels 0 to 63, in static storage.
class STP_API TraceHandle {
 public:
  /// `name` must outlive the handle. With `allLevels` every level is enabled from the start,
  /// otherwise none.
  constexpr TraceHandle(std::string_view name, bool allLevels) noexcept
      : name_(name), levels_(allLevels ? ~std::uint64_t{0} : 0) {}
  TraceHandle(TraceHandle const&) = delete;
  TraceHandle& operator=(TraceHandle const&) = delete;

  std::string_view name() const noexcept { return name_; }
  bool enabled(unsigned level) const noexcept { return (levels_ >> level & 1U) != 0; }
  void levelIs(unsigned level, bool enabled) noexcept {
    std::uint64_t const bit = std::uint64_t{1} << level;
    levels_ = enabled ? levels_ | bit : levels_ & ~bit;
  }

 private:
  std::string_view name_;
  std::uint64_t levels_;
};

/// Where the lines of all handles go.
using TraceSink = std::function<void(TraceLine const&)>;

/// Replaces the sink; an empty one stands for the default, which writes lines to standard error as
/// "TIME HANDLE LEVEL PATH:LINE TEXT". Returns the sink before, which is never empty.
STP_API TraceSink traceSinkIs(TraceSink sink);

}  // namespace Vel
