#include "StpOper/ProtectionMirrors.h"

#include "StpOper/Amendment.h"
#include "StpOper/EntityChild.h"

namespace Stp::Oper {

namespace {

// Root guard is what keeps a port from becoming the root port; the engine has no loop guard.
std::optional<OcGuard> guardOf(Operational::PortTold const& port) {
  return port.restrictedRole ? std::optional(*port.restrictedRole ? OcGuard::root : OcGuard::none)
                             : std::nullopt;
}

}  // namespace

OCProtectionSm::OCProtectionSm(Lumo::String const& name,
                               Lumo::Ptr<Operational::Bridge const> const& bridge,
                               Lumo::Ptr<Operational::Port const> const& port,
                               Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
                               Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir)
    : Reactor(name, bridge, port, ocProtectionConfigDir, ocProtectionStateDir) {
  synchronise(&Self::handleConfig, &Self::handleState);
}

void OCProtectionSm::handleConfig() {
  auto const traced = trace<"handleConfig", 31>();
  ocProtectionConfigDir->recordAmend(Lanx::IntfId::of(name), [this](OCProtectionConfig& config) {
    Operational::PortTold const& told = port->told();
    return Amendment()
        .set(config.guard, guardOf(told))
        .set(config.bpduFilter, told.bpduFilter)
        .made();
  });
}

void OCProtectionSm::handleState() {
  auto const traced = trace<"handleState", 39>("running: ", bridge->told().running);
  if (!bridge->told().running) {
    ocProtectionStateDir->recordDel(Lanx::IntfId::of(name));
    return;
  }
  ocProtectionStateDir->recordAmend(Lanx::IntfId::of(name), [this](OCProtectionState& state) {
    Operational::PortTold const& told = port->told();
    return Amendment()
        .set(state.guard, guardOf(told))
        .set(state.bpduFilter, told.bpduFilter)
        .set(state.bpduGuardError, told.bpduGuardError)
        .made();
  });
}

Lumo::Ptr<OCProtectionSm> oCProtectionSmFactory(
    Lumo::String const& name, Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<Operational::Port const> const& port,
    Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
    Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir) {
  return OCProtectionSm::OCProtectionSmIs(name, bridge, port, ocProtectionConfigDir,
                                          ocProtectionStateDir);
}

OCProtectionDirSm::OCProtectionDirSm(Lumo::Ptr<Operational::Bridge const> const& bridge,
                                     Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
                                     Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir)
    : Reactor(bridge, ocProtectionConfigDir, ocProtectionStateDir) {
  synchronise(&Self::handleInitialized);
}

void OCProtectionDirSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 69>();
  for (auto const& port : bridge->port()) {
    Lumo::String const portName = port.key;
    handlePort(portName);
  }
}

void OCProtectionDirSm::handlePort(Lumo::String const& portName) {
  auto const traced = trace<"handlePort", 77>(portName);
  entityChildIs(
      ocProtectionSm, portName, [&] { return bridge->port(portName); },
      [&] {
        ocProtectionSmDel(portName);
        ocProtectionConfigDir->recordDel(Lanx::IntfId::of(portName));
        ocProtectionStateDir->recordDel(Lanx::IntfId::of(portName));
      },
      [&](Lumo::Ptr<Operational::Port const> const& port) {
        return ocProtectionSmIs(portName, bridge, port, ocProtectionConfigDir,
                                ocProtectionStateDir);
      });
}

Lumo::Ptr<OCProtectionDirSm> oCProtectionDirSmFactory(
    Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
    Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir) {
  return OCProtectionDirSm::OCProtectionDirSmIs(bridge, ocProtectionConfigDir,
                                                ocProtectionStateDir);
}

}  // namespace Stp::Oper
