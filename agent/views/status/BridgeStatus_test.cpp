#include "agent/views/status/BridgeStatus.h"

#include <limits>
#include <string>
#include <vector>

#include "agent/text/Identifiers.h"
#include "agent/views/status/StatusTestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BridgeStatusTest : public StatusTest {
 protected:
  std::vector<std::string> treeNames() const {
    std::vector<std::string> names;
    for (TreeStatus const& tree : status().trees) {
      names.push_back(textOf(tree.state.tree));
    }
    return names;
  }
  std::vector<std::string> portNames() const {
    std::vector<std::string> names;
    for (PortStatus const& port : status().ports) {
      names.push_back(port.name.stringValue().toString());
    }
    return names;
  }
  PortStatus only() const { return status().ports.at(0); }
};

TEST_F(BridgeStatusTest, NothingIsClaimedOfNothing) {
  EXPECT_EQ(status(), BridgeStatus());
  EXPECT_EQ(textOf(status().protocol), "no protocol");
}

TEST_F(BridgeStatusTest, TreesFollowEachOtherByNumberAndPortsByNaturalOrder) {
  stageRegion();
  EXPECT_THAT(treeNames(), ElementsAre("Cist", "MST1", "MST2", "MST3", "MST5"));
  EXPECT_THAT(portNames(), ElementsAre("Eth1", "Eth2", "Eth10"));
  TreeStatus const last = status().trees.at(4);
  std::vector<std::string> names;
  for (Stp::OCTreePortState const& port : last.ports) {
    names.push_back(port.id.port.stringValue().toString());
  }
  EXPECT_THAT(names, ElementsAre("Eth1", "Eth2", "Eth10"));
}

TEST_F(BridgeStatusTest, RootPortIsNamedByItsNumber) {
  stageRegion();
  EXPECT_EQ(status().trees.at(0).rootPort(), "Eth1");
  EXPECT_FALSE(status().trees.at(0).isRoot());
  EXPECT_EQ(status().trees.at(1).rootPort(), "");
  EXPECT_TRUE(status().trees.at(1).isRoot());
  targets.treePortStateDir->recordDel({Stp::TreeId(), port("Eth1")});
  EXPECT_EQ(status().trees.at(0).rootPort(), "");
}

TEST_F(BridgeStatusTest, WhereNothingRunsTheConfigurationIsTold) {
  runs(Stp::OcStpEnabledProtocol::mstp, false);
  Stp::OCMstpConfigRecord parameters;
  parameters.name = "Configured";
  parameters.maxAge = 30;
  targets.mstpConfig->recordIs(parameters);
  targets.treeConfigDir->recordIs({Stp::TreeId(), 8192});
  for (std::uint16_t const instance : {0, 7}) {
    Stp::OCMstiConfig config;
    config.mstId = instance;
    config.bridgePriority = Stp::OCBridgePriority(12288);
    targets.mstiConfigDir->mstInstanceIs(instance)->configIs(config);
  }
  portIs("Eth1");
  interfaceIs("Eth1", Stp::OcEdgePort::edgeEnable);  // of the past
  EXPECT_EQ(status().protocol, Stp::OcStpEnabledProtocol::mstp);
  EXPECT_FALSE(status().isRunning);
  EXPECT_EQ(status().parameters.name, Lumo::String("Configured"));
  EXPECT_EQ(status().parameters.maxAge, 30);
  EXPECT_THAT(treeNames(), ElementsAre("Cist", "MST7"));
  EXPECT_EQ(status().trees.at(0).bridgePriority, 8192);
  EXPECT_EQ(status().trees.at(1).bridgePriority, 12288);
  EXPECT_THAT(portNames(), ElementsAre("Eth1"));
  EXPECT_EQ(only().isEdge, std::nullopt);
}

TEST_F(BridgeStatusTest, RunningPriorityAndParametersCountBeforeTheConfiguredOnes) {
  runs(Stp::OcStpEnabledProtocol::rstp);
  Stp::OCRstpConfigRecord config;
  config.maxAge = 30;
  targets.rstpConfig->recordIs(config);
  Stp::OCRstpStateRecord state;
  state.maxAge = 20;
  targets.rstpState->recordIs(state);
  targets.treeConfigDir->recordIs({Stp::TreeId::rst(), 8192});
  EXPECT_EQ(status().parameters.maxAge, 20);
  EXPECT_EQ(status().trees.at(0).bridgePriority, 8192);
  Stp::OCTreeState tree{Stp::TreeId::rst()};
  tree.bridge = bridge(4096, Stp::TreeId::rst(), ownAddress);
  targets.treeStateDir->recordIs(tree);
  EXPECT_THAT(treeNames(), ElementsAre("Rst"));
  EXPECT_EQ(status().trees.at(0).bridgePriority, 4096);
}

TEST_F(BridgeStatusTest, PortThatLeftIsNotShownForItsInterfaceState) {
  runs(Stp::OcStpEnabledProtocol::rstp);
  interfaceIs("Eth1");
  EXPECT_THAT(portNames(), IsEmpty());
}

TEST_F(BridgeStatusTest, GuardsAreTheRunningOnesOrElseTheConfiguredOnes) {
  runs(Stp::OcStpEnabledProtocol::rstp, false);
  targets.protectionConfigDir->recordIs({port("Eth1"), Stp::OcGuard::root, true});
  Stp::InterfaceConfig config;
  config.bpduGuard = Stp::OcBpduGuard::enabled;
  targets.interfaceConfigDir->interfaceIs(port("Eth1"))->configIs(config);
  EXPECT_THAT(guardsOf(only()), ElementsAre("BPDU", "root", "filter"));

  runs(Stp::OcStpEnabledProtocol::rstp);
  targets.protectionStateDir->recordIs({port("Eth1"), Stp::OcGuard::none, false, true});
  interfaceIs("Eth1");
  EXPECT_THAT(guardsOf(only()), ElementsAre("BPDU"));
  treePortIs(Stp::TreeId::rst(), "Eth1", 1, Role::designated, State::forwarding);
  EXPECT_THAT(guardsOf(only()), IsEmpty());
  EXPECT_TRUE(only().isGuardedOff);
  EXPECT_EQ(only().isEdge, false);
  EXPECT_EQ(only().isPointToPoint, true);
}

TEST_F(BridgeStatusTest, RolesThatTheModelHasNotAreTold) {
  Stp::OCTreePortState state;
  EXPECT_EQ(roleOf(state), "");
  EXPECT_EQ(stateOf(state), "");
  state.portState = State::disabled;
  EXPECT_EQ(roleOf(state), "disabled");
  EXPECT_EQ(stateOf(state), "disabled");
  state.portState = State::forwarding;
  state.master = true;
  EXPECT_EQ(roleOf(state), "master");
  state.role = Role::backup;
  EXPECT_EQ(roleOf(state), "backup");
}

TEST_F(BridgeStatusTest, CountersAreNoChangeOfIt) {
  stageRegion();
  BridgeStatus const before = status();
  targets.treePortCountersDir->recordIs({{Stp::TreeId(), port("Eth1")}, 5, 7});
  EXPECT_EQ(status(), before);
  treePortAmend(Stp::TreeId(), "Eth1",
                [](Stp::OCTreePortState& state) { state.portState = State::learning; });
  EXPECT_NE(status(), before);
}

TEST(UtcSecond, IsAbsentBeyondTheClock) {
  EXPECT_EQ(utcSecond(1795327200'999'999'999), "2026-11-22T06:00:00Z");
  EXPECT_EQ(utcSecond(std::numeric_limits<std::uint64_t>::max()), std::nullopt);
}

}  // namespace
}  // namespace Agent
