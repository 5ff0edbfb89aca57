// SIGINT and SIGTERM as a request to end.
#pragma once

#include "agent/host/Loop.h"

namespace Agent {

/// Takes both signals over for as long as it lives. SIGPIPE is ignored from then on, so that output
/// into a closed pipe is an error of the write, and SIGCHLD is no longer ignored, if it was, so
/// that how children ended can be asked.
class Interrupt {
 public:
  explicit Interrupt(Loop& loop);

  /// Whether one of the signals came.
  bool requested() const { return signals_ > 0; }

  /// Whether one came after that: whoever sends it waits no longer for what is under way.
  bool urged() const { return signals_ > 1; }

 private:
  int signals_ = 0;
  Loop::Registration interrupted_;
  Loop::Registration terminated_;
};

}  // namespace Agent
