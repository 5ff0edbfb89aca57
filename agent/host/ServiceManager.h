// The service manager that watches over the process, if one does (sd_notify(3)).
#pragma once

#include <optional>
#include <string>

#include "agent/host/Loop.h"

namespace Agent {

/// Tells the service manager how the process is. Where none has started it, nothing is told.
class ServiceManager {
 public:
  explicit ServiceManager(Loop& loop);

  /// The process works: the service is up from the first call on, and alive as long as the loop
  /// turns. `status` is what the manager shows of it.
  void working(std::string const& status);

  /// The process is about to end.
  static void stopping();

 private:
  void alive();

  Loop& loop_;
  std::optional<Loop::Clock::duration> period_;  // half of what the manager bears
  Loop::Registration nextSign_;
};

}  // namespace Agent
