// Each mirror, made as its factory makes it, from the entities of a world.
#pragma once

#include "Attempts.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"

namespace Shortage {

inline auto globalConfigMirror(World const& world) {
  return Stp::oCGlobalConfigSmFactory(world.input, world.globalConfig);
}
inline auto globalStateMirror(World const& world) {
  return Stp::oCGlobalStateSmFactory(world.config, world.status, world.vlans, world.globalState);
}
inline auto vlanSyncher(World const& world) {
  return Stp::oCGlobalVlanSyncherFactory(world.globalConfig, world.input);
}
inline auto portConfigMirror(World const& world) {
  return Stp::oCPortConfigSmFactory("Ethernet1", world.input->portConfig("Ethernet1"),
                                    world.interfaces->interfaceIs(Lanx::IntfId::of("Ethernet1")));
}
inline auto stpiStatusConfigMirror(World const& world) {
  return Stp::OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", world.input, world.mst,
                                                           world.interfaces);
}
inline auto interfaceConfigMirror(World const& world) {
  return Stp::oCInterfaceConfigDirSmFactory(world.input, world.status, world.interfaces);
}
inline auto portStatusMirror(World const& world) {
  return Stp::oCStpiPortStatusSmFactory(
      "Ethernet1", world.config, world.config->portConfig("Ethernet1"),
      world.mst->stpiPortStatus("Ethernet1"), world.interfaceStates);
}
inline auto stpiStatusMirror(World const& world) {
  return Stp::oCStpiStatusSmFactory("Mst", world.config, world.mst, world.interfaceStates);
}
inline auto interfaceStateMirror(World const& world) {
  return Stp::oCInterfaceStateDirSmFactory(world.config, world.status, world.interfaceStates);
}
inline auto mstiConfigMirror(World const& world) {
  return Stp::oCMstiConfigSmFactory("MST1", world.mstInput->mstiConfig("MST1"),
                                    world.mstis->mstInstanceIs(1));
}
inline auto mstpConfigMirror(World const& world) {
  return Stp::oCMstpConfigSmFactory("Mst", world.mstInput, world.input, world.mstis);
}
inline auto mstpConfigWrapper(World const& world) {
  return Stp::oCMstpConfigWrapperSmFactory(world.input, world.mstis);
}
inline auto mstpStateMirror(World const& world) {
  return Stp::oCMstpMainStateSmFactory(world.config, world.status, world.mstiStates);
}

}  // namespace Shortage
