// What the engine says of its operation, from the members in which it says it.
//
// What an engine doesn't print is absent, since older ones print less. So is a number that is too
// great for what it counts. What is neither a number, nor an identifier, nor one of the words that
// are expected, refuses the snapshot.
#pragma once

#include "StpTypes/Operational.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/text/Json.h"

namespace Agent {

/// The entry of a bridge in `showbridge`: what is said of the bridge, and of the CIST.
void bridgeIsTold(EngineSnapshot& snapshot, EngineSnapshot::Tree& cist, Json const& entry);

/// `showtree` of an MST instance, which prints a bridge identifier in every version.
void treeIsTold(EngineSnapshot::Tree& tree, Json const& object);

/// The entry of a port in `showportdetail`: what is said of the port, and of its place in the CIST.
void portIsTold(Stp::Operational::PortTold& port, Stp::Operational::TreePortTold& inCist,
                Json const& entry);

/// `showtreeport`, or an entry in a list of such: a port's place in an MST instance.
void treePortIsTold(Stp::Operational::TreePortTold& port, Json const& entry);

}  // namespace Agent
