// What the mirror keeps of ports that have left.
#pragma once

#include "agent/state/Change.h"
#include "agent/state/Database.h"

namespace Agent {

/// The changes that delete the state of the interfaces that no source knows any more, neither a
/// configuration nor a running instance. The mirror keeps it, as the last that was known of them;
/// to delete it is the host's decision.
Changes departed(SourceView const& sources, TargetView const& targets);

}  // namespace Agent
