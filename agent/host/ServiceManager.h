// The service manager that watches over the process, if one does (sd_notify(3)).
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Agent {

/// Tells the service manager how the process is. Where none has started it, nothing is told.
class ServiceManager {
 public:
  ServiceManager();

  /// The process works: the service is up from the first call on, and alive. `status` is what the
  /// manager shows of it.
  void working(std::string const& status);

  /// The process is alive.
  static void alive();

  /// The process is about to end.
  static void stopping();

  /// Longer than this the process must not be silent; half of what the manager bears.
  std::optional<std::chrono::microseconds> patience() const { return patience_; }

 private:
  std::optional<std::chrono::microseconds> patience_;
};

}  // namespace Agent
