// SIGINT and SIGTERM as a request to end, which the run notices between two operations and while
// it waits for input.
#pragma once

namespace Agent {

/// Takes both signals over for the life of the process; SIGPIPE is ignored from then on, so that
/// output into a closed pipe is an error of the write.
class Interrupt {
 public:
  Interrupt() = delete;

  static void install();

  /// Whether one of the signals came.
  static bool requested() noexcept;

  /// Waits until `descriptor` can be read, or has ended or failed. False when one of the signals
  /// came, before or meanwhile.
  static bool waitReadable(int descriptor);
};

}  // namespace Agent
