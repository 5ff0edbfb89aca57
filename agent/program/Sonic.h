// Behind SONiC's databases: what changes there is applied as it changes.
#pragma once

#include "agent/program/Session.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent {

/// Reads all rows of the databases, and then those that change, and applies what they say, until a
/// signal to end comes or nobody reads the results. The mirror starts with the first complete scan.
/// While the databases can't be read the state stays as it is; why is told once, and when that is
/// over. Returns the exit status: 0, 2 when a file can't be written, or 3 when there was no scan.
int followSonic(Settings settings, Sonic::RedisSettings const& redis);

}  // namespace Agent
