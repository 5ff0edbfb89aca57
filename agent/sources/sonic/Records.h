// What the rows of each table say, field by field; absent is what a row doesn't say.
#pragma once

#include <cstdint>
#include <optional>

#include "Lumo/String.h"
#include "StpTypes/VlanTable.h"
#include "agent/sources/sonic/Conversions.h"

namespace Agent::Sonic {

/// What is configured for the whole switch.
struct Global {
  std::optional<Stp::Mode> mode;

  bool operator==(Global const&) const = default;
};

/// The MST region that is configured.
struct Region {
  std::optional<Lumo::String> name;
  std::optional<std::uint16_t> revision;

  bool operator==(Region const&) const = default;
};

/// An MST instance that is configured. Its VLANs are those of both lists.
struct Instance {
  std::optional<std::uint16_t> bridgePriority;
  std::optional<Stp::VlanSet> vlanList;
  std::optional<Stp::VlanSet> vlanLeafList;

  bool operator==(Instance const&) const = default;
};

/// A port that is configured.
struct Port {
  std::optional<bool> edgePort;
  std::optional<bool> portfast;
  std::optional<bool> bpduGuard;
  std::optional<Stp::Input::PortConfig::LinkType> linkType;

  bool operator==(Port const&) const = default;
};

/// Spanning tree on a VLAN, as it is configured.
struct VlanTree {
  std::optional<bool> enabled;

  bool operator==(VlanTree const&) const = default;
};

/// A VLAN that is configured.
struct Vlan {
  bool operator==(Vlan const&) const = default;
};

/// A VLAN that is set up.
struct VlanState {
  std::optional<bool> isOk;

  bool operator==(VlanState const&) const = default;
};

/// An MST instance that runs.
struct RunningInstance {
  std::optional<std::uint16_t> bridgePriority;
  std::optional<std::uint32_t> rootPathCost;
  std::optional<Stp::VlanSet> vlans;

  bool operator==(RunningInstance const&) const = default;
};

/// A port in an MST instance that runs.
struct RunningTreePort {
  std::optional<Stp::Operational::PortRole> role;
  std::optional<TreePortState> state;
  std::optional<std::uint32_t> pathCost;
  std::optional<std::uint16_t> portNumber;
  std::optional<std::uint64_t> forwardTransitions;
  std::optional<std::uint64_t> bpduSent;
  std::optional<std::uint64_t> bpduReceived;

  bool operator==(RunningTreePort const&) const = default;
};

/// A VLAN in which spanning tree runs.
struct RunningVlan {
  bool operator==(RunningVlan const&) const = default;
};

/// A port in such a VLAN.
struct RunningVlanPort {
  bool operator==(RunningVlanPort const&) const = default;
};

/// A port that runs, beyond its trees.
struct RunningPort {
  std::optional<bool> portFast;
  std::optional<bool> edgePort;
  std::optional<bool> isShared;

  bool operator==(RunningPort const&) const = default;
};

}  // namespace Agent::Sonic
