// A look into the library: its objects as they live, and its wiring.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/program/Session.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent {

/// Applies operations from `inputs` (files, as runOperations does), or, of a bridge that is named,
/// snapshots (folders, as replaySnapshots does), and then prints the tree of objects, how many of
/// each class live, and the wiring. Returns the exit status of that run.
int inspectMirror(Settings const& settings, std::optional<std::string> const& bridge,
                  std::vector<std::string> const& inputs);

/// The same with what the rows of a switch's databases say.
int inspectSonic(Settings const& settings, Sonic::RedisSettings const& redis);

/// How the wiring is told.
enum class WiringForm { page, graph };

/// Prints the wiring alone. Returns the exit status: 0, or 2 when it can't be written.
int printWiring(WiringForm form);

}  // namespace Agent
