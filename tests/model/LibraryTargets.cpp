// What others write into the library's targets.
#include "Library.h"

namespace Harness {

namespace {

Bridging::VlanId vlanId(int vlan) {
  return Bridging::VlanId(static_cast<std::uint16_t>(vlan));
}

Stp::SharedList<Stp::VlanIdOrRange> listOf(Model::VlanList const& entries) {
  Stp::SharedList<Stp::VlanIdOrRange> list;
  for (Model::VlanEntry const& entry : entries) {
    if (entry.range) {
      list.push(Stp::VlanRange{vlanId(entry.first), vlanId(entry.last)});
    } else {
      list.push(vlanId(entry.first));
    }
  }
  return list;
}

template <class Container>
Container globalOf(Model::GlobalRecord const& record) {
  Container container;
  for (int const protocol : record.enabledProtocol) {
    container.enabledProtocolPush(static_cast<Stp::OcStpEnabledProtocol>(protocol));
  }
  container.disabledVlan = listOf(record.disabledVlan);
  container.bpduGuard = record.bpduGuard;
  return container;
}

template <class Record>
Record interfaceOf(Model::InterfaceRecord const& record) {
  Record result;
  result.name = interfaceId(record.name);
  result.linkType = static_cast<Stp::OcLinkType>(record.linkType);
  result.edgePort = static_cast<Stp::OcEdgePort>(record.edgePort);
  result.bpduGuard = static_cast<Stp::OcBpduGuard>(record.bpduGuard);
  return result;
}

template <class Record>
Record mstiOf(Model::MstiRecord const& record) {
  Record result;
  result.mstId = static_cast<std::uint16_t>(record.mstId);
  result.bridgePriority = Stp::OCBridgePriority(static_cast<std::uint16_t>(record.bridgePriority));
  result.vlan = listOf(record.vlan);
  return result;
}

}  // namespace

void changeTarget(Targets& targets, Model::Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  bool const goes = b == 1;
  bool const changes = b == 2;
  auto const id = static_cast<std::uint16_t>(a);
  if (what == Model::Do::stageGlobal && a == 0) {
    targets.globalConfig->configIs(globalOf<Stp::OCGlobalConfigContainer>(Model::stagedGlobal(b)));
  } else if (what == Model::Do::stageGlobal) {
    targets.globalState->stateIs(globalOf<Stp::OCGlobalStateContainer>(Model::stagedGlobal(b)));
  } else if (what == Model::Do::stageInterface && goes) {
    targets.interfaces->interfaceDel(interfaceId(a));
  } else if (what == Model::Do::stageInterface) {
    auto const interface = targets.interfaces->interfaceIs(interfaceId(a));
    if (changes) {
      interface->configIs(interfaceOf<Stp::InterfaceConfig>(Model::stagedInterface(c)));
    }
  } else if (what == Model::Do::stageIfState && goes) {
    targets.interfaceStates->stateDel(interfaceId(a));
  } else if (what == Model::Do::stageIfState) {
    targets.interfaceStates->stateIs(
        interfaceOf<Stp::InterfaceState>(Model::stagedInterfaceState(a, c)));
  } else if (what == Model::Do::stageMsti && goes) {
    targets.mstis->mstInstanceDel(id);
  } else if (what == Model::Do::stageMsti) {
    auto const msti = targets.mstis->mstInstanceIs(id);
    if (changes) {
      msti->configIs(mstiOf<Stp::OCMstiConfig>(Model::stagedMsti(c)));
    }
  } else if (goes) {
    targets.mstiStates->stateDel(id);
  } else {
    targets.mstiStates->stateIs(mstiOf<Stp::OCMstiState>(Model::stagedMstiState(a, c)));
  }
}

}  // namespace Harness
