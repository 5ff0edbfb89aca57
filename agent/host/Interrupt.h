// SIGINT and SIGTERM as a request to end, which the run notices between two operations and while
// it waits for input.
#pragma once

#include <poll.h>

#include <chrono>
#include <optional>
#include <span>

namespace Agent {

/// Takes both signals over for the life of the process; SIGPIPE is ignored from then on, so that
/// output into a closed pipe is an error of the write, and SIGCHLD is no longer ignored, if it was.
class Interrupt {
 public:
  Interrupt() = delete;

  static void install();

  /// Whether one of the signals came.
  static bool requested() noexcept;

  /// Whether one came after that: whoever sends it waits no longer for what is under way.
  static bool urged() noexcept;

  using Clock = std::chrono::steady_clock;

  /// Waits until one of the descriptors is ready, as poll(2) does, or until `deadline`, if there is
  /// one; `revents` tell which is. False when one of the signals came, before or meanwhile.
  static bool wait(std::span<pollfd> awaited, std::optional<Clock::time_point> deadline);

  /// Waits until `descriptor` can be read, or has ended or failed. False when one of the signals
  /// came, before or meanwhile.
  static bool waitReadable(int descriptor);
};

}  // namespace Agent
