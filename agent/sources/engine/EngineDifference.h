// What has to change in the sources for them to say what a snapshot says.
#pragma once

#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/state/Change.h"
#include "agent/state/Database.h"
#include "agent/state/Ownership.h"

namespace Agent {

/// What an engine knows. What it doesn't, such as existing or disabled VLANs and the bridge-wide
/// BPDU guard, is for others to say, and stays as they said it.
using EngineOwnership = Ownership<
    Owned<Stp::Input::Config, Stp::Input::Config::Id::mode, Stp::Input::Config::Id::mstConfig,
          Stp::Input::Config::Id::portConfig, Stp::Input::Config::Id::stpiConfig>,
    Owned<Stp::Config, Stp::Config::Id::mstConfig, Stp::Config::Id::portConfig>,
    Owned<Stp::Status, Stp::Status::Id::activeProtocol, Stp::Status::Id::stpiStatus>>;

/// The single changes that lead from the sources to the snapshot, in the order in which they are
/// to be applied; none where nothing differs.
///
/// Configuration comes before status, an instance before its members, the instances before the VLAN
/// map that names them and before the protocol that runs them. A port's configuration comes bare,
/// since its mirror takes over only the edge settings at its start.
Changes differences(EngineSnapshot const& snapshot, SourceView const& sources);

}  // namespace Agent
