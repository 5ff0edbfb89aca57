// What the rows come to, taken together: which protocol runs, which settings count in it, and what
// the sources are to say.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Lumo/String.h"
#include "StpTypes/Input.h"
#include "StpTypes/Operational.h"
#include "StpTypes/Status.h"
#include "agent/sources/sonic/RowTables.h"
#include "agent/sources/sonic/VlanMaps.h"

namespace Agent::Sonic {

/// A port, as it is configured. Neither edge setting is on where nothing is said.
struct PortSettings {
  Stp::Input::PortConfig::LinkType linkType = Stp::Input::PortConfig::LinkType::automatic;
  bool edgePortEnable = false;
  bool edgePortAuto = false;  ///< never: SONiC can't say it
  bool edgePortDisable = false;
  bool adminEdgePort = false;
  Stp::PortConfigBase::BpduguardEnabledState bpduguard =
      Stp::PortConfigBase::BpduguardEnabledState::bpduguardDefault;
};

/// A port that takes part in the running protocol.
struct PortOperation {
  bool operEdgePort = false;
  bool operPointToPointMac = false;
};

/// An MST instance.
struct MstInstance {
  std::uint16_t id = 0;
  std::uint16_t bridgePriority = 32768;
};

/// A tree of the running MST protocol.
struct RunningTree : Stp::Operational::TreeTold {
  std::uint16_t id = 0;
};

/// What is about the bridge as a whole.
struct BridgeState {
  Stp::Mode mode = noProtocol;
  /// `mode` while it runs, else `noProtocol`.
  Stp::Mode activeProtocol = noProtocol;
  /// "Mst", "Rst" or "Rapid-pvst", of the instance that is configured; empty if none is.
  Lumo::String instanceName;
  /// Whether the ports that run are those of the tables by VLAN, rather than those of MST's.
  bool runsByVlan = false;
  Stp::MstConfig configured;
  Stp::MstConfig running;

  bool isMst() const { return mode == Stp::Mode::mstp; }
  bool isByVlan() const { return mode == pvst || mode == Stp::Mode::rapidPvst; }
  bool runs() const { return activeProtocol != noProtocol; }
  bool runsMst() const { return activeProtocol == Stp::Mode::mstp; }
};

/// Looks at rows, which must outlive this. What is about single ports and VLANs is worked out when
/// it is asked for.
class SwitchState {
 public:
  explicit SwitchState(RowTables const& rows) : rows_(rows) {}

  /// Works out anew what is about the bridge; `isOfInstances`: and about its instances. Tells
  /// whether the rows of ports and VLANs mean something else than before.
  bool derive(bool isOfInstances);

  BridgeState const& bridge() const { return bridge_; }
  /// The MST instances in the order of their ids.
  std::vector<MstInstance> const& configuredInstances() const { return configured_; }
  std::vector<MstInstance> const& runningInstances() const { return running_; }
  std::vector<RunningTree> const& trees() const { return trees_; }
  bool hasTree(std::uint16_t instance) const;
  /// The ports in a tree, whether or not that is there.
  std::vector<TreePortKey> portsOf(std::uint16_t tree) const;
  /// The instances that are refused.
  std::vector<Conflict> const& conflicts() const { return configuredVlans_.conflicts; }

  std::optional<PortSettings> settings(Lumo::String const& port) const;
  std::optional<PortOperation> operation(Lumo::String const& port) const;
  /// A port in a tree; nothing without that.
  std::optional<Stp::Operational::TreePortTold> treePort(TreePortKey const& key) const;
  /// Whether spanning tree is disabled on a VLAN.
  bool isDisabled(std::uint16_t vlan) const;
  /// Whether a VLAN exists.
  bool exists(std::uint16_t vlan) const;

 private:
  bool deriveBridge();
  void deriveInstances();

  RowTables const& rows_;
  BridgeState bridge_;
  ConfiguredVlans configuredVlans_;
  VlanInstances runningVlans_{};
  std::vector<MstInstance> configured_;
  std::vector<MstInstance> running_;
  std::vector<RunningTree> trees_;
};

}  // namespace Agent::Sonic
