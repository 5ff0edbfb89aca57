// Counts the instances of a class.
#pragma once

#include <cstdint>
#include <string_view>

#include "Base/Api.h"

namespace Vel {

/// How many objects of one class were allocated and how many of them live. Each class has one, in
/// static storage; the trackers of the process can be walked.
class STP_API AllocTrackTypeInfo {
 public:
  /// `className` must outlive the tracker.
  explicit AllocTrackTypeInfo(std::string_view className) noexcept;
  AllocTrackTypeInfo(AllocTrackTypeInfo const&) = delete;
  AllocTrackTypeInfo& operator=(AllocTrackTypeInfo const&) = delete;
  ~AllocTrackTypeInfo();

  void allocated() noexcept {
    ++live_;
    ++total_;
  }
  void released() noexcept { --live_; }

  /// Takes back an `allocated()` whose object never came to be.
  void uncounted() noexcept {
    --live_;
    --total_;
  }

  std::string_view className() const noexcept { return className_; }
  std::uint64_t live() const noexcept { return live_; }
  std::uint64_t total() const noexcept { return total_; }

  /// The first tracker of the process, and the one after this; null at the end.
  static AllocTrackTypeInfo const* first() noexcept;
  AllocTrackTypeInfo const* next() const noexcept { return next_; }

 private:
  std::string_view className_;
  std::uint64_t live_ = 0;
  std::uint64_t total_ = 0;
  AllocTrackTypeInfo* next_;
};

}  // namespace Vel
