// Behind a running engine: what changes there is applied as it changes.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "agent/program/Session.h"
#include "agent/sources/engine/SeldomAsked.h"

namespace Agent {

class Run;

/// What is followed, and how.
struct Following {
  /// A bridge's name (isInterfaceName).
  std::string bridge;
  /// From one look at the engine to the next; positive.
  std::chrono::nanoseconds interval = std::chrono::seconds(1);
  /// From one look at counters to the next (SeldomAsked.h); positive.
  std::chrono::nanoseconds slowInterval = SeldomAsked::usualInterval;
  /// The engine's control program.
  std::string program = "mstpctl";
  /// Whether one look at the engine, good or bad, is all.
  bool isOnce = false;
  /// Is called, where there is one, after each good look, when it has been applied.
  std::function<void(Run&)> seen = {};
};

/// Takes a snapshot of the bridge every interval, and soon after the kernel tells of a change of
/// the bridge or its ports, and applies what changed, until a signal to end comes or nobody reads
/// the results; or does so once. The mirror starts with the first snapshot. While none can be taken
/// the state stays as it is; why is told once for each kind of reason, of up to eight kinds, and
/// when that is over. Returns the exit status: 0, 2 when a file can't be written, or 3 when there
/// was no snapshot.
int followEngine(Settings settings, Following const& following);

}  // namespace Agent
