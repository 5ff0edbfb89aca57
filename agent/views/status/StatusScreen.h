// The status of a bridge for people, on one screen.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/views/status/BridgeStatus.h"

namespace Agent {

/// How a screen is drawn.
struct ScreenLook {
  /// Whether what needs attention is coloured, by the sequences of a terminal.
  bool isColoured = false;
  /// The present, in nanoseconds since the beginning of 1970 (UTC).
  std::uint64_t now = 0;
};

/// Lines of text, each with its end: the bridge, its trees in a table and its ports in another. A
/// port has one row for all trees in which it does the same. Names are shown such that no terminal
/// takes them for commands.
std::string statusScreen(std::string_view bridge, BridgeStatus const& status,
                         ScreenLook const& look);

}  // namespace Agent
