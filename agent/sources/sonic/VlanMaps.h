// Which MST instance each VLAN belongs to.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "Lumo/Bytes.h"
#include "StpTypes/VlanTable.h"

namespace Agent::Sonic {

/// The VLANs of instances.
using InstanceVlans = std::map<std::uint16_t, Stp::VlanSet>;

/// The instance of each VLAN; 0 is where the VLANs are that no other one has.
using VlanInstances = std::array<std::uint16_t, Stp::VlanSet::size>;

/// An instance that is configured for a VLAN that another one, which comes before it, has already.
struct Conflict {
  std::uint16_t instance = 0;
  std::uint16_t vlan = 0;
  std::uint16_t other = 0;
};

/// What is configured. An instance in conflict with a lower one counts as not there, for those
/// that come after it, too; instance 0 is in conflict with none.
struct ConfiguredVlans {
  VlanInstances instances{};
  std::vector<Conflict> conflicts;
};
ConfiguredVlans configuredVlans(InstanceVlans const& vlans);

/// What runs. Of a VLAN that several instances have it is the configured one that counts, if it is
/// among them, or else the lowest.
VlanInstances runningVlans(InstanceVlans const& vlans, VlanInstances const& configured);

/// The map as the sources hold it: without the VLANs of instance 0, in the order of the VLANs.
Lumo::Bytes vidToMstiOf(VlanInstances const& instances);

}  // namespace Agent::Sonic
