// Behind SONiC's databases: what changes there is applied as it changes.
#pragma once

#include <functional>

#include "agent/program/Session.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent {

class Run;

/// What is followed, and how.
struct SonicFollowing {
  Sonic::RedisSettings redis;
  /// Whether one scan, or one attempt that fails, is all.
  bool isOnce = false;
  /// Is called, where there is one, after each scan or change, when it has been applied.
  std::function<void(Run&)> seen = {};
};

/// Reads all rows of the databases, and then those that change, and applies what they say, until a
/// signal to end comes or nobody reads the results. The mirror starts with the first complete scan.
/// While the databases can't be read the state stays as it is; why is told once, and when that is
/// over. Or reads them once. Returns the exit status: 0, 2 when a file can't be written, or 3 when
/// there was no scan.
int followSonic(Settings settings, SonicFollowing const& following);

}  // namespace Agent
