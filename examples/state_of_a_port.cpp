// A tree of mirrors: one for the directory, one for each instance, one for each of its ports. It
// can be switched off and on again, and is taken down whole by dropping its root.
#include <iostream>

#include "Lanx/IntfId.h"
#include "Stp/InterfaceStateMirrors.h"

namespace {

void print(char const* when, Stp::OCInterfaceStateDir const& directory, char const* port) {
  Stp::InterfaceState const* const state = directory.state(Lanx::IntfId::of(port));
  std::cout << when << ": " << port
            << (state == nullptr                                 ? " is unknown"
                : state->edgePort == Stp::OcEdgePort::edgeEnable ? " is an edge port"
                                                                 : " is no edge port")
            << (state != nullptr && state->bpduGuard == Stp::OcBpduGuard::enabled ? ", guarded"
                                                                                  : "")
            << '\n';
}

}  // namespace

int main() {
  auto const config = Lumo::make<Stp::Config>();
  auto const status = Lumo::make<Stp::Status>();
  auto const directory = Lumo::make<Stp::OCInterfaceStateDir>();
  auto mirror = Stp::oCInterfaceStateDirSmFactory(config, status, directory);
  print("at first", *directory, "Ethernet1");

  // What is put together before it is inserted comes as one change.
  auto const portConfig = Lumo::make<Stp::PortConfig>();
  portConfig->adminEdgePortIs(true);
  config->portConfig.is("Ethernet1", portConfig);
  auto const portStatus = Lumo::make<Stp::StpiPortStatus>();
  auto const instance = Lumo::make<Stp::StpiStatus>();
  instance->stpiPortStatus.is("Ethernet1", portStatus);
  status->stpiStatus.is("Mst", instance);
  print("reported", *directory, "Ethernet1");

  portStatus->operEdgePortIs(true);
  config->portfastBpduguardIs(true);  // the bridge's default guards what is configured as edge
  config->portConfig("Ethernet1")->adminEdgePortIs(true);
  print("edge", *directory, "Ethernet1");

  mirror->hasNotificationActiveIs(false);  // the whole tree sleeps
  portStatus->operEdgePortIs(false);
  print("asleep", *directory, "Ethernet1");

  mirror->hasNotificationActiveIs(true);  // it follows again, from the next change on
  portStatus->operEdgePortIs(true);
  portStatus->operEdgePortIs(false);
  print("awake", *directory, "Ethernet1");

  mirror = nullptr;  // the tree goes; what it wrote stays
  print("dropped", *directory, "Ethernet1");
  std::cout << Stp::OCStpiPortStatusSm::memAllocationTracker_.live() << " port mirrors live\n";
}
