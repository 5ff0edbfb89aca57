#include "agent/sources/engine/EngineDifference.h"

#include <cstdint>
#include <optional>
#include <ratio>
#include <span>
#include <tuple>
#include <vector>

#include "Stp/vlans/InstanceName.h"
#include "agent/state/Difference.h"

namespace Agent {

namespace {

using Msti = EngineSnapshot::Msti;
using Port = EngineSnapshot::Port;
using InputPort = Stp::Input::PortConfig;
using InputMsti = Stp::Input::MstiConfig;
using RunningPort = Stp::PortConfig;
using PortStatus = Stp::StpiPortStatus;
using MstiStatus = Stp::MstiStatus;
using Tree = EngineSnapshot::Tree;
using TreePort = EngineSnapshot::TreePort;
namespace Operational = Stp::Operational;
using Time = std::chrono::system_clock::time_point;

// Which attribute takes its value from which member.
constexpr std::tuple inputPort{
    told<InputPort, InputPort::Id::linkType>(&Port::linkType),
    told<InputPort, InputPort::Id::edgePortEnable>(&Port::edgePortEnable),
    told<InputPort, InputPort::Id::edgePortAuto>(&Port::edgePortAuto),
    told<InputPort, InputPort::Id::edgePortDisable>(&Port::edgePortDisable),
    told<InputPort, InputPort::Id::bpduguard>(&Port::bpduguard),
};
constexpr std::tuple inputMsti{
    told<InputMsti, InputMsti::Id::mstiId>(&Msti::id),
    told<InputMsti, InputMsti::Id::bridgePriority>(&Msti::bridgePriority),
};
constexpr std::tuple runningPort{
    told<RunningPort, RunningPort::Id::adminEdgePort>(&Port::adminEdgePort),
    told<RunningPort, RunningPort::Id::bpduguard>(&Port::bpduguard),
};
constexpr std::tuple portStatus{
    told<PortStatus, PortStatus::Id::operEdgePort>(&Port::operEdgePort),
    told<PortStatus, PortStatus::Id::operPointToPointMac>(&Port::operPointToPointMac),
};
constexpr std::tuple mstiStatus{
    told<MstiStatus, MstiStatus::Id::bridgePriority>(&Msti::bridgePriority),
};
constexpr std::tuple operationalBridge{
    told<Operational::Bridge, Operational::Bridge::Id::running>(&Operational::BridgeTold::running),
    told<Operational::Bridge, Operational::Bridge::Id::regionName>(
        &Operational::BridgeTold::regionName),
    told<Operational::Bridge, Operational::Bridge::Id::revision>(
        &Operational::BridgeTold::revision),
    told<Operational::Bridge, Operational::Bridge::Id::helloTime>(
        &Operational::BridgeTold::helloTime),
    told<Operational::Bridge, Operational::Bridge::Id::bridgeMaxAge>(
        &Operational::BridgeTold::bridgeMaxAge),
    told<Operational::Bridge, Operational::Bridge::Id::bridgeForwardDelay>(
        &Operational::BridgeTold::bridgeForwardDelay),
    told<Operational::Bridge, Operational::Bridge::Id::maxAge>(&Operational::BridgeTold::maxAge),
    told<Operational::Bridge, Operational::Bridge::Id::forwardDelay>(
        &Operational::BridgeTold::forwardDelay),
    told<Operational::Bridge, Operational::Bridge::Id::txHoldCount>(
        &Operational::BridgeTold::txHoldCount),
    told<Operational::Bridge, Operational::Bridge::Id::maxHops>(&Operational::BridgeTold::maxHops),
};
constexpr std::tuple operationalPort{
    told<Operational::Port, Operational::Port::Id::restrictedRole>(
        &Operational::PortTold::restrictedRole),
    told<Operational::Port, Operational::Port::Id::bpduFilter>(&Operational::PortTold::bpduFilter),
    told<Operational::Port, Operational::Port::Id::bpduGuardError>(
        &Operational::PortTold::bpduGuardError),
};
constexpr std::tuple operationalTree{
    told<Operational::Tree, Operational::Tree::Id::bridgeId>(&Operational::TreeTold::bridgeId),
    told<Operational::Tree, Operational::Tree::Id::designatedRoot>(
        &Operational::TreeTold::designatedRoot),
    told<Operational::Tree, Operational::Tree::Id::externalRootCost>(
        &Operational::TreeTold::externalRootCost),
    told<Operational::Tree, Operational::Tree::Id::regionalRoot>(
        &Operational::TreeTold::regionalRoot),
    told<Operational::Tree, Operational::Tree::Id::internalRootCost>(
        &Operational::TreeTold::internalRootCost),
    told<Operational::Tree, Operational::Tree::Id::rootPort>(&Operational::TreeTold::rootPort),
    told<Operational::Tree, Operational::Tree::Id::topologyChanges>(
        &Operational::TreeTold::topologyChanges),
    told<Operational::Tree, Operational::Tree::Id::lastTopologyChange>(
        &Operational::TreeTold::lastTopologyChange),
};
constexpr std::tuple operationalTreePort{
    told<Operational::TreePort, Operational::TreePort::Id::portId>(
        &Operational::TreePortTold::portId),
    told<Operational::TreePort, Operational::TreePort::Id::externalCost>(
        &Operational::TreePortTold::externalCost),
    told<Operational::TreePort, Operational::TreePort::Id::internalCost>(
        &Operational::TreePortTold::internalCost),
    told<Operational::TreePort, Operational::TreePort::Id::role>(&Operational::TreePortTold::role),
    told<Operational::TreePort, Operational::TreePort::Id::state>(
        &Operational::TreePortTold::state),
    told<Operational::TreePort, Operational::TreePort::Id::designatedRoot>(
        &Operational::TreePortTold::designatedRoot),
    told<Operational::TreePort, Operational::TreePort::Id::designatedExternalCost>(
        &Operational::TreePortTold::designatedExternalCost),
    told<Operational::TreePort, Operational::TreePort::Id::designatedRegionalRoot>(
        &Operational::TreePortTold::designatedRegionalRoot),
    told<Operational::TreePort, Operational::TreePort::Id::designatedInternalCost>(
        &Operational::TreePortTold::designatedInternalCost),
    told<Operational::TreePort, Operational::TreePort::Id::designatedBridge>(
        &Operational::TreePortTold::designatedBridge),
    told<Operational::TreePort, Operational::TreePort::Id::designatedPort>(
        &Operational::TreePortTold::designatedPort),
    told<Operational::TreePort, Operational::TreePort::Id::forwardTransitions>(
        &Operational::TreePortTold::forwardTransitions),
    told<Operational::TreePort, Operational::TreePort::Id::disputed>(
        &Operational::TreePortTold::disputed),
    told<Operational::TreePort, Operational::TreePort::Id::bpduSent>(
        &Operational::TreePortTold::bpduSent),
    told<Operational::TreePort, Operational::TreePort::Id::bpduReceived>(
        &Operational::TreePortTold::bpduReceived),
};
constexpr std::tuple<> nothing;

Lumo::String const& nameOfPort(Port const& port) {
  return port.name;
}
Lumo::String const& nameOfMsti(Msti const& msti) {
  return Stp::instanceIdToMstiName(msti.id);
}
Lumo::String const& nameOfTree(Tree const& tree) {
  return Stp::instanceIdToMstiName(tree.id);
}
Lumo::String const& nameOfTreePort(TreePort const& port) {
  return port.name;
}
Lumo::String const& nameOfInstance(EngineSnapshot const& snapshot) {
  return snapshot.instanceName;
}

// So long ago, in seconds; absent where that is before 1970.
std::optional<std::uint64_t> timeBefore(Time now, std::uint64_t seconds) {
  using std::chrono::nanoseconds;
  constexpr std::uint64_t perSecond = std::nano::den;
  auto const since1970 = std::chrono::duration_cast<nanoseconds>(now.time_since_epoch()).count();
  if (since1970 < 0 || seconds > static_cast<std::uint64_t>(since1970) / perSecond) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(since1970) - seconds * perSecond;
}

std::optional<std::uint64_t> lastTopologyChange(Tree const& tree,
                                                Operational::Bridge const& present, Time now) {
  if (!tree.topologyChanges || *tree.topologyChanges == 0) {
    return std::nullopt;
  }
  auto const known = Stp::memberFind(present.tree(), nameOfTree(tree));
  if (known && known->told().topologyChanges == tree.topologyChanges &&
      known->told().lastTopologyChange) {
    return known->told().lastTopologyChange;
  }
  return tree.sinceTopologyChange ? timeBefore(now, *tree.sinceTopologyChange) : std::nullopt;
}

// What is told of something: all of it, or nothing if that is not to be there.
template <class Record>
std::span<Record const> toldIf(bool isThere, std::vector<Record> const& records) {
  return isThere ? std::span(records) : std::span<Record const>();
}

}  // namespace

Changes differences(EngineSnapshot const& snapshot, SourceView const& sources, Time now) {
  using Input = Stp::Input::Config;
  using Config = Stp::Config;
  using Status = Stp::Status;
  std::span const instance(&snapshot, 1);  // there is one
  std::span const ports(snapshot.ports);
  Difference<EngineOwnership> changes;

  changes.members<Input::Id::portConfig>(sources.input, ports, &nameOfPort, Coming::bare,
                                         inputPort);
  changes.members<Input::Id::stpiConfig>(
      sources.input, instance, &nameOfInstance, Coming::whole, nothing,
      [&](Lumo::Ptr<Stp::Input::StpiConfig const> const& below, EngineSnapshot const* told) {
        changes.members<Stp::Input::StpiConfig::Id::mstiConfig>(
            below, toldIf(told != nullptr, snapshot.mstis), &nameOfMsti, Coming::whole, inputMsti);
      });
  changes.attribute<Input::Id::mode>(sources.input, snapshot.mode);
  changes.attribute<Input::Id::mstConfig>(sources.input, snapshot.mstConfig);

  changes.members<Config::Id::portConfig>(sources.config, ports, &nameOfPort, Coming::whole,
                                          runningPort);
  changes.attribute<Config::Id::mstConfig>(sources.config, snapshot.mstConfig);

  changes.members<Status::Id::stpiStatus>(
      sources.status, instance, &nameOfInstance, Coming::whole, nothing,
      [&](Lumo::Ptr<Stp::StpiStatus const> const& below, EngineSnapshot const* told) {
        bool const runs = told != nullptr && snapshot.running();
        changes.members<Stp::StpiStatus::Id::stpiPortStatus>(
            below, toldIf(runs, snapshot.ports), &nameOfPort, Coming::whole, portStatus);
        changes.members<Stp::StpiStatus::Id::mstiStatus>(below, toldIf(runs, snapshot.mstis),
                                                         &nameOfMsti, Coming::whole, mstiStatus);
      });
  changes.attribute<Status::Id::activeProtocol>(sources.status, snapshot.activeProtocol);

  using Bridge = Operational::Bridge;
  changes.attributes(sources.operational, snapshot.bridge, operationalBridge);
  changes.members<Bridge::Id::port>(sources.operational, ports, &nameOfPort, Coming::whole,
                                    operationalPort);
  std::vector<Tree> trees = snapshot.trees;
  for (Tree& tree : trees) {
    tree.lastTopologyChange = lastTopologyChange(tree, *sources.operational, now);
  }
  changes.members<Bridge::Id::tree>(
      sources.operational, std::span<Tree const>(trees), &nameOfTree, Coming::whole,
      operationalTree, [&](Lumo::Ptr<Operational::Tree const> const& below, Tree const* told) {
        changes.members<Operational::Tree::Id::port>(
            below, told != nullptr ? std::span(told->ports) : std::span<TreePort const>(),
            &nameOfTreePort, Coming::whole, operationalTreePort);
      });
  return changes.take();
}

}  // namespace Agent
