// What people ask of spanning tree first, gathered from the targets: who is root, which port
// blocks, when the topology changed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lanx/IntfId.h"
#include "StpTypes/Identifiers.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigOperational.h"
#include "agent/state/Database.h"

namespace Agent {

/// One spanning tree.
struct TreeStatus {
  Stp::OCTreeState state;
  /// 0 to 61440: the running one, or else the configured one.
  std::optional<std::uint16_t> bridgePriority;
  /// In natural order of their names.
  std::vector<Stp::OCTreePortState> ports;

  /// Whether this bridge is the root; of the CIST, of all regions.
  bool isRoot() const { return state.designatedRoot && state.designatedRoot == state.bridge; }
  /// The name of the root port; empty where there is none, or none is known.
  std::string rootPort() const;

  friend bool operator==(TreeStatus const&, TreeStatus const&) = default;
};

/// One port, beyond its trees.
struct PortStatus {
  Lanx::IntfId name;
  /// Whether the port is an edge port now, and its link point-to-point; absent while the protocol
  /// does not run.
  std::optional<bool> isEdge;
  std::optional<bool> isPointToPoint;
  /// What guards it: the running settings, or else the configured ones.
  bool hasBpduGuard = false;
  bool hasRootGuard = false;
  bool hasBpduFilter = false;
  /// Whether BPDU guard has taken it out of use.
  bool isGuardedOff = false;

  friend bool operator==(PortStatus const&, PortStatus const&) = default;
};

/// A bridge. Two that are equal show the same.
struct BridgeStatus {
  /// Which protocol it is: the running one, or else the configured one.
  std::optional<Stp::OcStpEnabledProtocol> protocol;
  bool isRunning = false;
  /// The running ones, or else the configured ones.
  Stp::OCProtocolParameters parameters;
  /// RSTP's tree, or the CIST and the MST instances by number.
  std::vector<TreeStatus> trees;
  /// In natural order of their names.
  std::vector<PortStatus> ports;

  friend bool operator==(BridgeStatus const&, BridgeStatus const&) = default;
};

BridgeStatus bridgeStatus(TargetView const& targets);

/// "RSTP", "MSTP" or "Rapid PVST"; "no protocol" where there is none.
std::string_view textOf(std::optional<Stp::OcStpEnabledProtocol> protocol);

/// "root", "designated", "alternate", "backup", "master" or "disabled"; empty where it isn't known.
std::string_view roleOf(Stp::OCTreePortState const& port);
/// "disabled", "listening", "learning", "blocking" or "forwarding"; empty where it isn't known.
std::string_view stateOf(Stp::OCTreePortState const& port);

/// What guards a port, each by a word: "BPDU", "root", "filter".
std::vector<std::string_view> guardsOf(PortStatus const& port);

/// "3E:7A:D2:FA:71:E9"
std::string addressOf(Stp::BridgeId bridge);
/// "32768 3E:7A:D2:FA:71:E9": the priority without the system id, and the address.
std::string bridgeText(Stp::BridgeId bridge);

/// Seconds of the day and date of a time in nanoseconds since the beginning of 1970 (UTC), as
/// "2026-01-31T08:00:00Z"; absent if it lies beyond what a clock shows.
std::optional<std::string> utcSecond(std::uint64_t nanoseconds);

}  // namespace Agent
