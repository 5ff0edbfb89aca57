// What has to change in the sources for them to say what a snapshot says.
#pragma once

#include <chrono>

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
    Owned<Stp::Status, Stp::Status::Id::activeProtocol, Stp::Status::Id::stpiStatus>,
    Owned<Stp::Operational::Bridge, Stp::Operational::Bridge::Id::running,
          Stp::Operational::Bridge::Id::regionName, Stp::Operational::Bridge::Id::revision,
          Stp::Operational::Bridge::Id::helloTime, Stp::Operational::Bridge::Id::bridgeMaxAge,
          Stp::Operational::Bridge::Id::bridgeForwardDelay, Stp::Operational::Bridge::Id::maxAge,
          Stp::Operational::Bridge::Id::forwardDelay, Stp::Operational::Bridge::Id::txHoldCount,
          Stp::Operational::Bridge::Id::maxHops, Stp::Operational::Bridge::Id::tree,
          Stp::Operational::Bridge::Id::port>>;

/// The single changes that lead from the sources to the snapshot, in the order in which they are
/// to be applied; none where nothing differs.
///
/// Configuration comes before status, an instance before its members, the instances before the VLAN
/// map that names them and before the protocol that runs them. A port's configuration comes bare,
/// since its mirror takes over only the edge settings at its start.
///
/// When the topology of a tree changed last is worked out from `now`, the time of the snapshot,
/// when the count of changes is seen at a new value, and stays until the count is another: what the
/// engine says is only how long ago it was, in seconds.
Changes differences(EngineSnapshot const& snapshot, SourceView const& sources,
                    std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

}  // namespace Agent
