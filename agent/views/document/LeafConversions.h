// What the members of records are in the model: for the tables in Leaves.cpp.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>

#include "StpTypes/OpenConfigOperational.h"
#include "agent/views/document/Leaves.h"

namespace Agent::Conversions {

using Value = std::optional<LeafValue>;

/// The conversion of each type of member. Of what has no name in the model there is no leaf.
Value converted(bool value);
template <std::unsigned_integral Number>
Value converted(Number value) {
  return std::uint64_t{value};
}
Value converted(Lumo::String const& value);
Value converted(Stp::OCBridgePriority value);
Value converted(Stp::OcEdgePort value);
Value converted(Stp::OcLinkType value);
Value converted(Stp::OcBpduGuard value);
Value converted(Stp::OcGuard value);
Value converted(Stp::OcPortRole value);
Value converted(Stp::OcPortState value);
Value converted(Stp::SharedList<Stp::OcStpEnabledProtocol> const& list);
Value converted(Stp::SharedList<Stp::VlanIdOrRange> const& list);

/// The parts of identifiers, of which each is a leaf of its own.
Value priority(Stp::BridgeId id);
Value address(Stp::BridgeId id);
Value priority(Stp::PortId id);
Value portNumber(Stp::PortId id);

}  // namespace Agent::Conversions
