// What has to change in the sources for them to say what a snapshot says.
#pragma once

#include <vector>

#include "agent/sources/engine/Snapshot.h"
#include "agent/sources/operations/Operations.h"
#include "agent/state/Database.h"

namespace Agent {

/// The single changes that lead from the sources to the snapshot, in the order in which they are
/// to be applied; none where nothing differs. Each is an operation that is never refused.
///
/// First comes what appears and what takes another value, in such an order that nothing uses what
/// is not there yet: configuration before status, an instance before its members, the instances
/// before the VLAN map that names them and before the protocol that runs them. Then goes what
/// disappears, in the reverse order. Attributes that no snapshot speaks of stay as they are.
std::vector<Operation> differences(Snapshot const& snapshot, Sources const& sources);

}  // namespace Agent
