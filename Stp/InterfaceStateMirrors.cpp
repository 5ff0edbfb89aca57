#include "Stp/InterfaceStateMirrors.h"

#include "Lanx/IntfId.h"

namespace Stp {

namespace {

// The bridge-wide default protects a port only while it is configured as an edge port and operates
// as one; the port's own setting overrides it both ways.
OcBpduGuard bpduGuardOf(Config const& config, PortConfig const& port,
                        StpiPortStatus const& status) {
  auto const guardedIf = [](bool guarded) {
    return guarded ? OcBpduGuard::enabled : OcBpduGuard::disabled;
  };
  switch (port.bpduguard()) {
    case PortConfigBase::BpduguardEnabledState::bpduguardEnabled: return OcBpduGuard::enabled;
    case PortConfigBase::BpduguardEnabledState::bpduguardDefault:
      return guardedIf(config.portfastBpduguard() && port.adminEdgePort() && status.operEdgePort());
    case PortConfigBase::BpduguardEnabledState::bpduguardDisabled: break;
  }
  return OcBpduGuard::disabled;
}

}  // namespace

OCStpiPortStatusSm::OCStpiPortStatusSm(Lumo::String const& name,
                                       Lumo::Ptr<Config const> const& stpConfig,
                                       Lumo::Ptr<PortConfig const> const& portConfig,
                                       Lumo::Ptr<StpiPortStatus const> const& stpiPortStatus,
                                       Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir)
    : Reactor(name, stpConfig, portConfig, stpiPortStatus, externalIntfStateDir) {
  synchronise(&Self::handleInitialized);
}

void OCStpiPortStatusSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 642>();
  handleLinkType();
  handleEdgePort();
  handleBpduguard();
}

void OCStpiPortStatusSm::handleLinkType() {
  bool const pointToPoint = stpiPortStatus->operPointToPointMac();
  auto const traced = trace<"handleLinkType", 564>(
      "Updating link-type state, operPointToPointMac: %b", pointToPoint);
  amend([&](InterfaceState& state) {
    state.linkType = pointToPoint ? OcLinkType::p2p : OcLinkType::shared;
  });
}

// The operational status alone decides: what the operator asked for is the configuration's affair.
void OCStpiPortStatusSm::handleEdgePort() {
  bool const edge = stpiPortStatus->operEdgePort();
  auto const traced =
      trace<"handleEdgePort", 584>("Updating edge-port state, operEdgePort: %b", edge);
  amend([&](InterfaceState& state) {
    state.edgePort = edge ? OcEdgePort::edgeEnable : OcEdgePort::edgeDisable;
  });
}

void OCStpiPortStatusSm::handleBpduguard() {
  // Without a status the constructor throws.
  if (!portConfig || !stpConfig || !stpiPortStatus) {  // never holds: !stpiPortStatus
    return;
  }
  auto const traced = trace<"handleBpduguard", 612>(
      "Updating bpdu-guard state, bpduguard: %b", portConfig->bpduguard(), " adminEdgePort: %b",
      portConfig->adminEdgePort(), " config->portfastBpuduguard: %b",
      stpConfig->portfastBpduguard(), " operEdgePort: %b", stpiPortStatus->operEdgePort());
  amend([this](InterfaceState& state) {
    state.bpduGuard =
        bpduGuardOf(*stpConfig.pointer(), *portConfig.pointer(), *stpiPortStatus.pointer());
  });
}

template <class Edit>
void OCStpiPortStatusSm::amend(Edit edit) {
  externalIntfStateDir->stateAmend(Lanx::IntfId::of(name), edit);
}

Lumo::Ptr<OCStpiPortStatusSm> oCStpiPortStatusSmFactory(
    Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
    Lumo::Ptr<PortConfig const> const& portConfig,
    Lumo::Ptr<StpiPortStatus const> const& stpiPortStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir) {
  return OCStpiPortStatusSm::OCStpiPortStatusSmIs(name, stpConfig, portConfig, stpiPortStatus,
                                                  externalIntfStateDir);
}

OCStpiStatusSm::OCStpiStatusSm(Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
                               Lumo::Ptr<StpiStatus const> const& stpiStatus,
                               Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir)
    : Reactor(name, stpConfig, stpiStatus, externalIntfStateDir) {
  synchronise(&Self::handleInitialized);
}

void OCStpiStatusSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 664>();
  for (auto const& child : ocStpiPortStatusSm.members()) {
    Lumo::String const portName = child.key;
    if (!stpiStatus->stpiPortStatus(portName)) {
      ocStpiPortStatusSmDel(portName);
    }
  }
  for (auto const& port : stpiStatus->stpiPortStatus()) {
    Lumo::String const portName = port.key;
    handleStpiPortStatus(portName);
  }
}

void OCStpiStatusSm::handleStpiPortStatus(Lumo::String const& portName) {
  auto const traced =
      trace<"handleStpiPortStatus", 650>("Creating external interface for %s", portName);
  if (Lumo::Ptr<StpiPortStatus> const portStatus = stpiStatus->stpiPortStatus(portName)) {
    ocStpiPortStatusSmIs(portName, stpConfig, stpConfig->portConfig(portName), portStatus,
                         externalIntfStateDir);
  } else {
    ocStpiPortStatusSmDel(portName);
  }
}

Lumo::Ptr<OCStpiStatusSm> oCStpiStatusSmFactory(
    Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
    Lumo::Ptr<StpiStatus const> const& stpiStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir) {
  return OCStpiStatusSm::OCStpiStatusSmIs(name, stpConfig, stpiStatus, externalIntfStateDir);
}

OCInterfaceStateDirSm::OCInterfaceStateDirSm(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir)
    : Reactor(stpConfig, stpStatus, externalIntfStateDir) {
  synchronise(&Self::handleInitialized);
}

void OCInterfaceStateDirSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 691>();
  for (auto const& child : ocStpiStatusSm.members()) {
    Lumo::String const stpiName = child.key;
    if (!stpStatus->stpiStatus(stpiName)) {
      ocStpiStatusSmDel(stpiName);
    }
  }
  for (auto const& instance : stpStatus->stpiStatus()) {
    Lumo::String const stpiName = instance.key;
    handleStpiStatus(stpiName);
  }
}

void OCInterfaceStateDirSm::handleStpiStatus(Lumo::String const& stpiName) {
  auto const traced =
      trace<"handleStpiStatus", 679>("Creating external interfaces for Stpi %s", stpiName);
  if (Lumo::Ptr<StpiStatus> const instance = stpStatus->stpiStatus(stpiName)) {
    ocStpiStatusSmIs(stpiName, stpConfig, instance, externalIntfStateDir);
  } else {
    ocStpiStatusSmDel(stpiName);
  }
}

Lumo::Ptr<OCInterfaceStateDirSm> oCInterfaceStateDirSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir) {
  return OCInterfaceStateDirSm::OCInterfaceStateDirSmIs(stpConfig, stpStatus, externalIntfStateDir);
}

}  // namespace Stp
