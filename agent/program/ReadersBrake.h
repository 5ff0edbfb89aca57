// Who prints what changes for a reader that does not read.
#pragma once

#include <cstddef>
#include <utility>

#include "agent/host/Diagnostics.h"
#include "agent/host/Output.h"

namespace Agent {

/// Who does not read gets no more before he has read: what changed in between is then printed as
/// one change.
class ReadersBrake {
 public:
  /// Whether more may be printed. That it may not is told once each time.
  bool isRead(DescriptorOutput const& output) {
    constexpr std::size_t enough = std::size_t{16} << 20U;
    bool const was = std::exchange(isRead_, output.waiting() < enough);
    if (was && !isRead_) {
      Diagnostics::error("standard output: nobody reads, no further changes until somebody does");
    }
    return isRead_;
  }

 private:
  bool isRead_ = true;
};

}  // namespace Agent
