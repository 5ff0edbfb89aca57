// Behind a running engine: what changes there is applied as it changes.
#pragma once

#include <chrono>
#include <string>

#include "agent/program/Session.h"

namespace Agent {

/// What is followed, and how.
struct Following {
  /// A bridge's name (EngineSource::isBridgeName).
  std::string bridge;
  /// From one snapshot to the next; positive.
  std::chrono::milliseconds interval{1000};
  /// The engine's control program.
  std::string program = "mstpctl";
};

/// Takes a snapshot of the bridge every interval and applies what changed, until a signal to end
/// comes or nobody reads the results. While no snapshot can be taken the state stays as it is;
/// why is told once for each kind of reason, of up to eight kinds, and when that is over. Returns
/// the exit status: 0, or 2 when a file can't be written.
int followEngine(Settings const& settings, Following const& following);

}  // namespace Agent
