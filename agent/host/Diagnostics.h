// What the agent tells its operator, on standard error: never results.
//
// Standard error can be a terminal, the journal of systemd, or anything else; each gets the same
// lines, with what it has a use for: a terminal colours and progress, the journal the severity
// (sd-daemon(3)).
#pragma once

#include <cstddef>
#include <string_view>

namespace Agent {

class Diagnostics {
 public:
  Diagnostics() = delete;

  /// A line about what failed.
  static void error(std::string_view text);

  /// A line about what is well again.
  static void notice(std::string_view text);

  /// That the `number`th of `count` steps, named `step`, is taken now. One line of a terminal shows
  /// the last one told; elsewhere nothing is written.
  static void progress(std::size_t number, std::size_t count, std::string_view step);

  /// Takes that line away.
  static void progressEnd();
};

}  // namespace Agent
