// Records how long a block ran, from the timer's construction to the end of its scope.
#pragma once

#include <cstdint>

#include "Flashlog/Clock.h"
#include "Flashlog/TraceFile.h"

namespace Flashlog {

/// Times the block it stands in, whichever way control leaves it.
class BlockTimerSelf {
 public:
  /// `file` is null when nothing is traced, otherwise it must outlive the timer, be the calling
  /// thread's, and have `id` registered.
  BlockTimerSelf(TraceFile* file, int id) noexcept : file_(file) {  // NOLINT(*-member-init)
    if (file != nullptr) [[unlikely]] {
      id_ = id;
      start_ = timestamp();
    }
  }

  ~BlockTimerSelf() {
    if (file_ != nullptr) [[unlikely]] {
      file_->write(start_, timestamp() - start_, id_);
    }
  }

  BlockTimerSelf(BlockTimerSelf const&) = delete;
  BlockTimerSelf& operator=(BlockTimerSelf const&) = delete;

 private:
  TraceFile* file_;
  std::uint64_t start_;  // this and the id only with a file: a trace that is off costs one test
  int id_;
};

}  // namespace Flashlog
