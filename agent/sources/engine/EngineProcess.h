// The process that asks the engine: one run of its control program.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "agent/host/Interrupt.h"

namespace Agent {

/// What one run of the control program came to.
struct EngineAnswer {
  /// What it printed until it ended, or was ended.
  std::string output;
  /// Why the output can't be all that was asked for; empty when the program ended well.
  std::string problem;
  /// Beside a problem, the first line that the program wrote on its standard error.
  std::string complaint;
};

/// More output than this is no answer; it is several times what the largest bridge needs.
inline constexpr std::size_t longestAnswer = std::size_t{32} << 20U;

/// Runs `program`, looked up in the PATH unless it holds a slash, for JSON output and with
/// `commands` as its standard input. Whatever it started dies with it at the `deadline` at the
/// latest, and nothing of it is left when this returns. Nothing is returned when a signal to end
/// (Interrupt.h, which must be installed) came meanwhile.
std::optional<EngineAnswer> askEngine(std::string const& program, std::string_view commands,
                                      Interrupt::Clock::time_point deadline);

}  // namespace Agent
