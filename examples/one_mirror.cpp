// Three entities and one mirror: what the operator configures and what the engine reports appear as
// interfaces of the OpenConfig configuration, at once.
#include <iostream>

#include "Lanx/IntfId.h"
#include "Stp/InterfaceConfigMirrors.h"

int main() {
  auto const input = Lumo::make<Stp::Input::Config>();             // what the operator asked for
  auto const status = Lumo::make<Stp::Status>();                   // what the engine computed
  auto const directory = Lumo::make<Stp::OCInterfaceConfigDir>();  // what OpenConfig clients read

  // The mirror lives as long as this pointer. When the factory returns, it has brought the target
  // up to date; from here on it follows every change.
  auto const mirror = Stp::oCInterfaceConfigDirSmFactory(input, status, directory);

  auto const port = Lumo::make<Stp::Input::PortConfig>();
  port->edgePortEnableIs(true);
  input->portConfig.is("Ethernet1", port);
  port->bpduguardIs(Stp::PortConfigBase::BpduguardEnabledState::bpduguardEnabled);

  for (auto const& member : directory->interface()) {
    Stp::InterfaceConfig const& config = member.value->config();
    std::cout << member.key.stringValue() << ": edge port "
              << (config.edgePort == Stp::OcEdgePort::edgeEnable ? "on" : "off") << ", BPDU guard "
              << (config.bpduGuard == Stp::OcBpduGuard::enabled ? "on" : "off") << '\n';
  }

  input->portConfig.del("Ethernet1");
  std::cout << directory->interface().size() << " interfaces are left\n";
}
