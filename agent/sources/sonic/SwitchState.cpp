#include "agent/sources/sonic/SwitchState.h"

#include <algorithm>
#include <tuple>

#include "Stp/vlans/InstanceName.h"

namespace Agent::Sonic {

namespace {

using Guard = Stp::PortConfigBase::BpduguardEnabledState;
using LinkType = Stp::Input::PortConfig::LinkType;
using Role = Stp::Operational::PortRole;
using State = Stp::Operational::PortState;

constexpr std::uint16_t usualPriority = 32768;

Lumo::String instanceNameOf(BridgeState const& bridge) {
  if (bridge.isMst()) {
    return Stp::mstpInstanceName();
  }
  if (bridge.isByVlan()) {
    return "Rapid-pvst";
  }
  return bridge.mode == Stp::Mode::rstp ? Lumo::String("Rst") : Lumo::String();
}

Stp::VlanSet both(std::optional<Stp::VlanSet> const& a, std::optional<Stp::VlanSet> const& b) {
  Stp::VlanSet result = a.value_or(Stp::VlanSet());
  if (b) {
    for (unsigned vlan = b->next(0); vlan < Stp::VlanSet::size; vlan = b->next(vlan + 1)) {
      result.insert(static_cast<std::uint16_t>(vlan));
    }
  }
  return result;
}

std::optional<State> stateOf(std::optional<TreePortState> state) {
  switch (state.value_or(TreePortState::inconsistent)) {
    case TreePortState::disabled:
    case TreePortState::discarding: return State::discarding;
    case TreePortState::learning: return State::learning;
    case TreePortState::forwarding: return State::forwarding;
    case TreePortState::inconsistent: break;
  }
  return std::nullopt;
}

}  // namespace

bool SwitchState::derive(bool isOfInstances) {
  bool const isOther = deriveBridge();
  if (isOfInstances || isOther) {
    deriveInstances();
  }
  auto const region = rows_.find<Region>(OnlyRow()).value_or(Region());
  for (Stp::MstConfig* const config : {&bridge_.configured, &bridge_.running}) {
    config->regionName = region.name.value_or(Lumo::String());
    config->revision = region.revision.value_or(0);
  }
  return isOther;
}

// Rows of a protocol that ran earlier can stay behind: only those of the configured one count.
// Tells whether another one is configured or runs.
bool SwitchState::deriveBridge() {
  auto const before = std::tuple(bridge_.mode, bridge_.activeProtocol, bridge_.runsByVlan);
  bridge_.mode = rows_.find<Global>(OnlyRow()).value_or(Global()).mode.value_or(noProtocol);
  bridge_.instanceName = instanceNameOf(bridge_);
  bool const isRst = bridge_.mode == Stp::Mode::rstp;
  bool const hasMst = !rows_.things<RunningInstance>().empty();
  bool const hasVlans = !rows_.things<RunningVlan>().empty();
  // Those of MST are what stays behind, so the others come first where either counts.
  bridge_.runsByVlan = (bridge_.isByVlan() || isRst) && hasVlans;
  bool const runs = bridge_.runsByVlan || ((bridge_.isMst() || isRst) && hasMst);
  bridge_.activeProtocol = runs ? bridge_.mode : noProtocol;
  return before != std::tuple(bridge_.mode, bridge_.activeProtocol, bridge_.runsByVlan);
}

void SwitchState::deriveInstances() {
  configured_.clear();
  running_.clear();
  trees_.clear();
  InstanceVlans vlans;
  if (bridge_.isMst()) {
    for (auto const& [id, forms] : rows_.things<Instance>()) {
      Instance const instance = rows_.find<Instance>(id).value_or(Instance());
      vlans[id] = both(instance.vlanList, instance.vlanLeafList);
      configured_.push_back({id, instance.bridgePriority.value_or(usualPriority)});
    }
  }
  configuredVlans_ = configuredVlans(vlans);
  std::erase_if(configured_, [this](MstInstance const& instance) {
    return std::ranges::find(conflicts(), instance.id, &Conflict::instance) != conflicts().end();
  });
  vlans.clear();
  if (bridge_.runsMst()) {
    for (auto const& [id, forms] : rows_.things<RunningInstance>()) {
      auto const instance = rows_.find<RunningInstance>(id).value_or(RunningInstance());
      vlans[id] = instance.vlans.value_or(Stp::VlanSet());
      running_.push_back({id, instance.bridgePriority.value_or(usualPriority)});
      RunningTree& tree = trees_.emplace_back();
      tree.id = id;
      (id == 0 ? tree.externalRootCost : tree.internalRootCost) = instance.rootPathCost;
    }
  }
  runningVlans_ = runningVlans(vlans, configuredVlans_.instances);
  bridge_.configured.vidToMsti = vidToMstiOf(configuredVlans_.instances);
  bridge_.running.vidToMsti = vidToMstiOf(runningVlans_);
}

std::optional<PortSettings> SwitchState::settings(Lumo::String const& port) const {
  auto const row = rows_.find<Port>(port);
  if (!row) {
    return std::nullopt;
  }
  PortSettings settings;
  settings.linkType = row->linkType.value_or(LinkType::automatic);
  std::optional<bool> const edge = bridge_.isByVlan()           ? row->portfast
                                   : bridge_.mode == noProtocol ? std::nullopt
                                                                : row->edgePort;
  settings.edgePortEnable = edge == true;
  settings.edgePortDisable = edge == false;
  settings.adminEdgePort = settings.edgePortEnable;
  if (row->bpduGuard) {
    settings.bpduguard = *row->bpduGuard ? Guard::bpduguardEnabled : Guard::bpduguardDisabled;
  }
  return settings;
}

std::optional<PortOperation> SwitchState::operation(Lumo::String const& port) const {
  bool const isThere =
      bridge_.runs() &&
      (bridge_.runsByVlan ? rows_.of<RunningVlanPort>().find(port) != nullptr
                          : rows_.of<RunningTreePort>().find({0, port}) != nullptr);
  if (!isThere) {
    return std::nullopt;
  }
  auto const row = rows_.find<RunningPort>(port).value_or(RunningPort());
  auto const settings = rows_.find<Port>(port).value_or(Port());
  PortOperation operation;
  operation.operEdgePort = row.edgePort == true || (bridge_.mode == pvst && row.portFast == true);
  // Nobody says how a port on automatic operates: one in full duplex, as all are, or in a bundle is
  // point-to-point.
  operation.operPointToPointMac = !row.isShared.value_or(settings.linkType == LinkType::shared);
  return operation;
}

bool SwitchState::hasTree(std::uint16_t instance) const {
  return bridge_.runsMst() && rows_.of<RunningInstance>().find(instance) != nullptr;
}

std::vector<TreePortKey> SwitchState::portsOf(std::uint16_t tree) const {
  std::vector<TreePortKey> result;
  auto const& things = rows_.things<RunningTreePort>();
  for (auto at = things.lower_bound({tree, {}}); at != things.end() && at->first.first == tree;
       ++at) {
    result.push_back(at->first);
  }
  return result;
}

std::optional<Stp::Operational::TreePortTold> SwitchState::treePort(TreePortKey const& key) const {
  auto const row = hasTree(key.first) ? rows_.find<RunningTreePort>(key) : std::nullopt;
  if (!row) {
    return std::nullopt;
  }
  Stp::Operational::TreePortTold told;
  if (row->portNumber) {
    told.portId = Stp::PortId(0, *row->portNumber);
  }
  (key.first == 0 ? told.externalCost : told.internalCost) = row->pathCost;
  told.role = row->state == TreePortState::disabled ? Role::disabled : row->role;
  told.state = stateOf(row->state);
  told.forwardTransitions = row->forwardTransitions;
  told.bpduSent = row->bpduSent;
  told.bpduReceived = row->bpduReceived;
  return told;
}

bool SwitchState::isDisabled(std::uint16_t vlan) const {
  return bridge_.isByVlan() && rows_.find<VlanTree>(vlan).value_or(VlanTree()).enabled == false;
}

bool SwitchState::exists(std::uint16_t vlan) const {
  return rows_.of<Vlan>().find(vlan) != nullptr ||
         rows_.find<VlanState>(vlan).value_or(VlanState()).isOk == true;
}

}  // namespace Agent::Sonic
