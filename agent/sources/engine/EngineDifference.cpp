#include "agent/sources/engine/EngineDifference.h"

#include <span>
#include <tuple>

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
constexpr std::tuple<> nothing;

Lumo::String const& nameOfPort(Port const& port) {
  return port.name;
}
Lumo::String const& nameOfMsti(Msti const& msti) {
  return Stp::instanceIdToMstiName(msti.id);
}
Lumo::String const& nameOfInstance(EngineSnapshot const& snapshot) {
  return snapshot.instanceName;
}

// What is told of something: all of it, or nothing if that is not to be there.
template <class Record>
std::span<Record const> toldIf(bool isThere, std::vector<Record> const& records) {
  return isThere ? std::span(records) : std::span<Record const>();
}

}  // namespace

Changes differences(EngineSnapshot const& snapshot, SourceView const& sources) {
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
  return changes.take();
}

}  // namespace Agent
