// A bridge whose status the tests of this folder show.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "Lanx/IntfId.h"
#include "StpTypes/Identifiers.h"
#include "agent/state/Database.h"
#include "agent/views/status/BridgeStatus.h"

namespace Agent {

inline Lanx::IntfId port(std::string const& name) {
  return Lanx::IntfId::of(Lumo::String(name));
}

/// The targets, of which a test says what it needs.
class StatusTest : public testing::Test {
 protected:
  using Role = Stp::OcPortRole;
  using State = Stp::OcPortState;

  // This bridge and two others.
  static constexpr std::uint64_t ownAddress = 0x3E7AD2FA71E9;
  static constexpr std::uint64_t nextAddress = 0x0A947F3A7294;
  static constexpr std::uint64_t farAddress = 0x020000000001;

  static Stp::BridgeId bridge(std::uint16_t priority, Stp::TreeId tree, std::uint64_t address) {
    auto const systemId = tree.kind() == Stp::TreeId::Kind::mst ? tree.value() : std::uint16_t{0};
    return {priority, systemId, address};
  }

  // Seconds since 2026-11-22T06:00:00Z, in nanoseconds since 1970.
  static constexpr std::uint64_t at(std::uint64_t second) {
    return (1795327200 + second) * 1'000'000'000;
  }

  void runs(Stp::OcStpEnabledProtocol protocol, bool isRunning = true) {
    Stp::OCGlobalConfigContainer config;
    config.enabledProtocolPush(protocol);
    targets.globalConfig->configIs(config);
    Stp::OCGlobalStateContainer state;
    if (isRunning) {
      state.enabledProtocolPush(protocol);
    }
    targets.globalState->stateIs(state);
  }

  // A port as the engine has it, whatever runs.
  void portIs(std::string const& name) {
    targets.protectionConfigDir->recordIs({port(name), Stp::OcGuard::none, false});
    targets.interfaceConfigDir->interfaceIs(port(name));
  }

  // The state of an interface, in the state of one that nobody guards.
  void interfaceIs(std::string const& name, Stp::OcEdgePort edge = Stp::OcEdgePort::edgeDisable,
                   Stp::OcBpduGuard guard = Stp::OcBpduGuard::disabled) {
    Stp::InterfaceState state{port(name)};
    state.edgePort = edge;
    state.bpduGuard = guard;
    targets.interfaceStateDir->stateIs(state);
  }

  // What a port does in a tree, with the designated bridge behind it.
  void treePortIs(Stp::TreeId tree, std::string const& name, std::uint16_t number,
                  std::optional<Role> role, State portState,
                  std::optional<Stp::BridgeId> designated = {},
                  std::optional<Stp::BridgeId> root = {}) {
    Stp::OCTreePortState state{{tree, port(name)}};
    state.port = Stp::PortId(128, number);
    state.role = role;
    state.portState = portState;
    state.designatedBridge = designated;
    bool const isElsewhere = designated && designated->address() != ownAddress;
    state.designatedPort = Stp::PortId(128, isElsewhere ? number + 4 : number);
    state.designatedRoot = root;
    targets.treePortStateDir->recordIs(state);
  }

  void treePortAmend(Stp::TreeId tree, std::string const& name, auto const& edit) {
    Stp::OCTreePortState state = *targets.treePortStateDir->record({tree, port(name)});
    edit(state);
    targets.treePortStateDir->recordIs(state);
  }

  // A bridge in a region: the CIST's root and MST 5's are behind Eth1, with Eth2 as the second way,
  // MST 1, 2 and 3 have theirs here; hosts are behind Eth10.
  void stageRegion() {
    runs(Stp::OcStpEnabledProtocol::mstp);
    Stp::OCMstpStateRecord parameters;
    parameters.name = "Region";
    parameters.revision = 3;
    parameters.helloTime = 2;
    parameters.maxAge = 20;
    parameters.forwardingDelay = 15;
    parameters.holdCount = 6;
    parameters.maxHop = 20;
    targets.mstpState->recordIs(parameters);
    for (char const* const name : {"Eth10", "Eth2", "Eth1"}) {
      portIs(name);
    }
    interfaceIs("Eth1");
    interfaceIs("Eth2");
    interfaceIs("Eth10", Stp::OcEdgePort::edgeEnable, Stp::OcBpduGuard::enabled);
    for (std::uint16_t const instance : {5, 0, 1, 2, 3}) {
      Stp::TreeId const tree = Stp::TreeId::mst(instance);
      bool const isRoot = instance >= 1 && instance <= 3;
      Stp::BridgeId const own = bridge(isRoot ? 4096 : 32768, tree, ownAddress);
      Stp::BridgeId const root = isRoot ? own : bridge(16384, tree, nextAddress);
      Stp::OCTreeState state{tree};
      state.bridge = own;
      state.designatedRoot = root;
      state.rootPort = isRoot ? 0 : 1;
      state.rootCost = instance == 5 ? 2000 : 0;
      state.topologyChanges = instance;
      if (instance != 0) {
        state.lastTopologyChange = at(instance);
      } else {
        state.regionalRoot = root;
        state.regionalRootCost = 2000;
      }
      targets.treeStateDir->recordIs(state);
      if (isRoot) {
        treePortIs(tree, "Eth1", 1, Role::designated, State::forwarding, own, root);
        treePortIs(tree, "Eth2", 2, Role::designated, State::forwarding, own, root);
      } else {
        treePortIs(tree, "Eth1", 1, Role::root, State::forwarding, root, root);
        treePortIs(tree, "Eth2", 2, Role::alternate, State::blocking, root, root);
      }
      treePortIs(tree, "Eth10", 10, Role::designated, State::forwarding, own, root);
    }
  }

  BridgeStatus status() const { return bridgeStatus(targets); }

  TargetTree targets;
};

}  // namespace Agent
