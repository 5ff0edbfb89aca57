// What an engine says of its operation, member by member.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "agent/sources/engine/SnapshotTestSupport.h"

namespace Agent {
namespace {

using Stp::BridgeId;
using Stp::PortId;
using Stp::Operational::PortRole;
using Stp::Operational::PortState;

EngineSnapshot moment(std::string const& name) {
  return readSnapshot(operationalCaptures / name, "br4");
}

constexpr std::uint64_t here = 0x3E7AD2FA71E9;
constexpr std::uint64_t there = 0x0A947F3A7294;

TEST(EngineOperation, BridgeIsToldOfInShowbridgeAndItsRegion) {
  auto files = filesOf(operationalCaptures / "01-converged");
  auto& text = files.at("showbridge.json");
  auto const edit = [&text](std::string const& from, std::string const& to) {
    text.replace(text.find(from), from.size(), to);
  };
  edit(R"("max-age":"20")", R"("max-age":"21")");
  edit(R"("bridge-max-age":"20")", R"("bridge-max-age":"22")");
  edit(R"("forward-delay":"15")", R"("forward-delay":"16")");
  edit(R"("bridge-forward-delay":"15")", R"("bridge-forward-delay":"17")");
  auto const told = parsed(files, "br4").bridge;
  EXPECT_TRUE(told.running);
  EXPECT_EQ(told.regionName, "campus-west");
  EXPECT_EQ(told.revision, 7U);
  EXPECT_EQ(told.helloTime, 2);
  EXPECT_EQ(told.bridgeMaxAge, 22);
  EXPECT_EQ(told.bridgeForwardDelay, 17);
  EXPECT_EQ(told.maxAge, 21);
  EXPECT_EQ(told.forwardDelay, 16);
  EXPECT_EQ(told.txHoldCount, 6);
  EXPECT_EQ(told.maxHops, 20);
}

TEST(EngineOperation, CistIsToldOfInShowbridge) {
  auto const snapshot = moment("11-region-boundary");
  ASSERT_EQ(snapshot.trees.size(), 3U);
  auto const& cist = snapshot.trees[0];
  EXPECT_EQ(cist.id, 0);
  EXPECT_EQ(cist.bridgeId, BridgeId(0x8000, 0, here));
  EXPECT_EQ(cist.designatedRoot, BridgeId(0x4000, 0, there));
  EXPECT_EQ(cist.externalRootCost, 2000U);
  EXPECT_EQ(cist.regionalRoot, BridgeId(0x8000, 0, here));
  EXPECT_EQ(cist.internalRootCost, 0U);
  EXPECT_EQ(cist.rootPort, 1);
  EXPECT_NE(cist.topologyChanges, std::nullopt);
  EXPECT_NE(cist.sinceTopologyChange, std::nullopt);
  EXPECT_EQ(cist.lastTopologyChange, std::nullopt);
}

TEST(EngineOperation, InstanceIsToldOfInShowtree) {
  auto const snapshot = moment("01-converged");
  auto const& tree = snapshot.trees[2];
  EXPECT_EQ(tree.id, 5);
  EXPECT_EQ(tree.bridgeId, BridgeId(0x8000, 5, here));
  EXPECT_EQ(tree.designatedRoot, std::nullopt);
  EXPECT_EQ(tree.externalRootCost, std::nullopt);
  EXPECT_EQ(tree.regionalRoot, BridgeId(0x8000, 5, there));
  EXPECT_EQ(tree.internalRootCost, 2000U);
  EXPECT_EQ(tree.rootPort, 1);
  EXPECT_EQ(tree.topologyChanges, 1U);
  EXPECT_EQ(tree.sinceTopologyChange, 17U);
  EXPECT_EQ(snapshot.trees[1].rootPort, 0) << "it is the root";
}

TEST(EngineOperation, PortOfTheCistIsToldOfInShowportdetail) {
  auto files = filesOf(operationalCaptures / "01-converged");
  auto& text = files.at("showportdetail.json");
  auto const edit = [&text](std::string const& from, std::string const& to) {
    text.replace(text.find(from), from.size(), to);
  };
  edit(R"("internal-port-cost":"2000")", R"("internal-port-cost":"2001")");
  edit(R"("dsgn-external-cost":"0")", R"("dsgn-external-cost":"7")");
  edit(R"("dsgn-internal-cost":"0")", R"("dsgn-internal-cost":"8")");
  edit(R"("designated-port":"8.001")", R"("designated-port":"0.FFF")");
  edit(R"("disputed":"no")", R"("disputed":"yes")");
  edit(R"("restricted-role":"no")", R"("restricted-role":"yes")");
  auto const snapshot = parsed(files, "br4");
  auto const& port = snapshot.trees[0].ports.at(0);
  EXPECT_EQ(port.name, "Eth1");
  EXPECT_EQ(port.portId, PortId(0x80, 1));
  EXPECT_EQ(port.externalCost, 2000U);
  EXPECT_EQ(port.internalCost, 2001U);
  EXPECT_EQ(port.role, PortRole::root);
  EXPECT_EQ(port.state, PortState::forwarding);
  EXPECT_EQ(port.designatedRoot, BridgeId(0x4000, 0, there));
  EXPECT_EQ(port.designatedExternalCost, 7U);
  EXPECT_EQ(port.designatedRegionalRoot, BridgeId(0x4000, 0, there));
  EXPECT_EQ(port.designatedInternalCost, 8U);
  EXPECT_EQ(port.designatedBridge, BridgeId(0x4000, 0, there));
  EXPECT_EQ(port.designatedPort, PortId(0, 0xFFF));
  EXPECT_EQ(port.forwardTransitions, 4U);
  EXPECT_EQ(port.disputed, true);
  EXPECT_EQ(port.bpduSent, 28U);
  EXPECT_EQ(port.bpduReceived, 26U);
  EXPECT_EQ(snapshot.ports.at(0).restrictedRole, true);
  EXPECT_EQ(snapshot.ports.at(0).bpduFilter, false);
  EXPECT_EQ(moment("09-bpdu-guard-error").ports.at(2).bpduGuardError, true);
}

TEST(EngineOperation, PortOfAnInstanceIsToldOfInShowtreeport) {
  auto const snapshot = moment("01-converged");
  auto const& port = snapshot.trees[2].ports.at(1);
  EXPECT_EQ(port.name, "Eth2");
  EXPECT_EQ(port.portId, PortId(0x80, 2));
  EXPECT_EQ(port.externalCost, std::nullopt);
  EXPECT_EQ(port.internalCost, 2000U);
  EXPECT_EQ(port.role, PortRole::alternate);
  EXPECT_EQ(port.state, PortState::discarding);
  EXPECT_EQ(port.designatedRoot, std::nullopt);
  EXPECT_EQ(port.designatedExternalCost, std::nullopt);
  EXPECT_EQ(port.designatedRegionalRoot, BridgeId(0x8000, 5, there));
  EXPECT_EQ(port.designatedInternalCost, 0U);
  EXPECT_EQ(port.designatedBridge, BridgeId(0x8000, 5, there));
  EXPECT_EQ(port.designatedPort, PortId(0x80, 2));
  EXPECT_EQ(port.forwardTransitions, std::nullopt);
  EXPECT_EQ(port.disputed, false);
  EXPECT_EQ(port.bpduSent, std::nullopt);
  EXPECT_EQ(port.bpduReceived, std::nullopt);
}

TEST(EngineOperation, EachRoleAndStateIsKnownByItsWord) {
  auto const port = [](std::string const& from, std::string const& to) {
    return parsed(edited("showportdetail.json", from, to)).trees[0].ports.at(0);
  };
  for (auto const& [word, role] :
       {std::pair("Root", PortRole::root), std::pair("Designated", PortRole::designated),
        std::pair("Alternate", PortRole::alternate), std::pair("Backup", PortRole::backup),
        std::pair("Master", PortRole::master), std::pair("Disabled", PortRole::disabled)}) {
    EXPECT_EQ(port(R"("role":"Designated")", R"("role":")" + std::string(word) + "\"").role, role);
  }
  for (auto const& [word, state] :
       {std::pair("discarding", PortState::discarding),
        std::pair("listening", PortState::listening), std::pair("learning", PortState::learning),
        std::pair("forwarding", PortState::forwarding)}) {
    EXPECT_EQ(port(R"("state":"forwarding")", R"("state":")" + std::string(word) + "\"").state,
              state);
  }
}

TEST(EngineOperation, WhatAnOlderEngineDoesNotPrintIsAbsent) {
  auto files = filesOf(captures / "01-converged");
  files["showbridge.json"] =
      R"([{"bridge":"br0","enabled":"yes","force-protocol-version":"mstp"}])";
  files["showportdetail.json"] =
      R"([{"port":"e1","bridge":"br0","admin-point-to-point":"auto","point-to-point":"yes",)"
      R"("admin-edge-port":"no","auto-edge-port":"yes","oper-edge-port":"no",)"
      R"("bpdu-guard-port":"no"}])";
  files["showtree-5.json"] =
      R"({"bridge":"br0","mstid":"5","bridge-id":"8.005.52:05:0B:AE:5C:AA"})";
  files["showtreeport-e1-5.json"] = R"({"port":"e1","bridge":"br0","mstid":"5"})";
  auto const snapshot = parsed(files);
  Stp::Operational::BridgeTold bridge;
  bridge.running = true;
  bridge.regionName = "campus-west";
  bridge.revision = 7;
  EXPECT_TRUE(snapshot.bridge == bridge);
  EngineSnapshot::Tree cist;
  cist.ports.resize(1);
  cist.ports[0].name = "e1";
  EXPECT_TRUE(snapshot.trees.at(0) == cist);
  EngineSnapshot::Tree tree;
  tree.id = 5;
  tree.bridgeId = BridgeId(0x8000, 5, 0x52050BAE5CAA);
  tree.ports = cist.ports;
  EXPECT_TRUE(snapshot.trees.at(2) == tree);
}

TEST(EngineOperation, NumberThatIsTooGreatIsAbsent) {
  EXPECT_EQ(parsed(edited("showbridge.json", R"("hello-time":"2")", R"("hello-time":"255")"))
                .bridge.helloTime,
            255);
  EXPECT_EQ(parsed(edited("showbridge.json", R"("hello-time":"2")", R"("hello-time":"256")"))
                .bridge.helloTime,
            std::nullopt);
  EXPECT_EQ(parsed(edited("showbridge.json", R"("path-cost":"0")", R"("path-cost":"4294967296")"))
                .trees[0]
                .externalRootCost,
            std::nullopt);
  EXPECT_EQ(parsed(edited("showtree-5.json", "(#1)", "(#65536)")).trees[2].rootPort, std::nullopt);
  auto const huge = edited("showmstconfid.json", R"("7")", R"("4294967296")");
  EXPECT_EQ(parsed(huge).bridge.revision, std::nullopt);
  EXPECT_EQ(parsed(huge).mstConfig.revision, 4294967296U);
}

TEST(EngineOperation, RootPortIsTheNumberBehindItsName) {
  for (std::string const name : {"Ethernet1", "none", "a (#9)", "a\"b", "(#1", "x (#"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(
        parsed(edited("showtree-5.json", "Ethernet1 (#1)", name + " (#60)")).trees[2].rootPort, 60);
  }
  EXPECT_EQ(parsed(edited("showbridge.json", R"("root-port":"")", R"("root-port":"none")"))
                .trees[0]
                .rootPort,
            0);
  EXPECT_EQ(parsed(filesOf(captures / "01-converged")).trees[0].rootPort, 0);
}

TEST(EngineOperation, EngineThatIsOffIsToldOfAsIfItRan) {
  auto const off = parsed(edited("showbridge.json", R"("enabled":"yes")", R"("enabled":"no")"));
  auto const on = parsed(filesOf(captures / "01-converged"));
  EXPECT_FALSE(off.bridge.running);
  EXPECT_TRUE(off.trees == on.trees);
}

}  // namespace
}  // namespace Agent
