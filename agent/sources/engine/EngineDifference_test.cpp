#include "agent/sources/engine/EngineDifference.h"

#include <array>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/state/EntityPaths.h"
#include "agent/text/Values.h"

namespace Agent {
namespace {

using testing::ElementsAre;

EngineSnapshot::Port port(std::string const& name) {
  EngineSnapshot::Port added;
  added.name = name;
  added.edgePortAuto = true;
  return added;
}

Lumo::Bytes vlanMap(std::uint16_t vlan, std::uint16_t instance) {
  Lumo::Bytes map;
  vlanMapPush(map, vlan, instance);
  return map;
}

// MSTP with two ports and the instances 0 and 5.
EngineSnapshot mstp() {
  EngineSnapshot snapshot;
  snapshot.mode = Stp::Mode::mstp;
  snapshot.activeProtocol = Stp::Mode::mstp;
  snapshot.mstConfig = {"west", vlanMap(10, 5), 7};
  snapshot.instanceName = "Mst";
  snapshot.mstis = {{.id = 0, .bridgePriority = 4096}, {.id = 5, .bridgePriority = 32768}};
  snapshot.ports = {port("E1"), port("E2")};
  return snapshot;
}

EngineSnapshot rstp() {
  EngineSnapshot snapshot = mstp();
  snapshot.mode = Stp::Mode::rstp;
  snapshot.activeProtocol = Stp::Mode::rstp;
  snapshot.instanceName = "Rst";
  snapshot.mstis.clear();
  snapshot.mstConfig = {"", {}, 7};
  return snapshot;
}

class EngineDifference : public SessionTest {
 protected:
  // Applies what differs, and tells each change as "kind path".
  std::vector<std::string> changesTo(EngineSnapshot const& snapshot) {
    constexpr std::array kinds{"set", "create", "replace", "touch", "delete", "clear"};
    std::vector<std::string> told;
    for (Change const& change : differences(snapshot, sources())) {
      auto path = Json::parse(EntityPaths(session.database()).of(change.entity()));
      path.push_back(change.attribute());
      if (auto const* const key = std::get_if<Lumo::String>(&change.key())) {
        path.push_back(key->view());
      }
      told.push_back(std::string(kinds.at(static_cast<std::size_t>(change.kind()))) + " " +
                     pathText(path.get_ref<Path const&>(), path.size()));
      session.apply(Changes{change});
    }
    return told;
  }

  bool differsFrom(EngineSnapshot const& snapshot) const {
    return !differences(snapshot, sources()).empty();
  }

  void follow(EngineSnapshot const& snapshot) { session.apply(differences(snapshot, sources())); }
};

TEST_F(EngineDifference, WhatAppearsComesBeforeWhatUsesIt) {
  EXPECT_THAT(
      changesTo(mstp()),
      ElementsAre("create input.portConfig.E1", "set input.portConfig.E1.edgePortAuto",
                  "create input.portConfig.E2", "set input.portConfig.E2.edgePortAuto",
                  "create input.stpiConfig.Mst", "create input.stpiConfig.Mst.mstiConfig.Cist",
                  "create input.stpiConfig.Mst.mstiConfig.MST5", "set input.mode",
                  "set input.mstConfig", "create config.portConfig.E1",
                  "create config.portConfig.E2", "set config.mstConfig",
                  "create status.stpiStatus.Mst", "create status.stpiStatus.Mst.stpiPortStatus.E1",
                  "create status.stpiStatus.Mst.stpiPortStatus.E2",
                  "create status.stpiStatus.Mst.mstiStatus.Cist",
                  "create status.stpiStatus.Mst.mstiStatus.MST5", "set status.activeProtocol",
                  "create operational.port.E1", "create operational.port.E2"));
  EXPECT_EQ(sources().input->mode(), Stp::Mode::mstp);
  EXPECT_EQ(sources().status->activeProtocol(), Stp::Mode::mstp);
  EXPECT_EQ(sources().input->mstConfig(), mstp().mstConfig);
  EXPECT_EQ(sources().config->mstConfig(), mstp().mstConfig);
  EXPECT_TRUE(sources().input->portConfig("E2")->edgePortAuto());
  auto const status = sources().status->stpiStatus("Mst");
  EXPECT_EQ(status->mstiStatus("Cist")->bridgePriority(), 4096);
  EXPECT_EQ(status->mstiStatus("MST5")->bridgePriority(), 32768);
}

TEST_F(EngineDifference, OnlyTheConfigurationOfAPortComesBare) {
  EngineSnapshot next = mstp();
  next.ports[0].linkType = Stp::Input::PortConfig::LinkType::shared;
  next.ports[0].bpduguard = EngineSnapshot::Guard::bpduguardEnabled;
  next.ports[0].adminEdgePort = true;
  next.ports[0].operEdgePort = true;
  auto const changes = differences(next, sources());
  session.apply(Changes(changes.begin(), changes.begin() + 1));
  auto const bare = sources().input->portConfig("E1");
  EXPECT_EQ(bare->linkType(), Stp::Input::PortConfig::LinkType::automatic);
  EXPECT_EQ(bare->bpduguard(), EngineSnapshot::Guard::bpduguardDefault);
  EXPECT_FALSE(bare->edgePortAuto());

  auto const told = changesTo(next);
  EXPECT_THAT(
      std::vector(told.begin(), told.begin() + 4),
      ElementsAre("set input.portConfig.E1.linkType", "set input.portConfig.E1.edgePortAuto",
                  "set input.portConfig.E1.bpduguard", "create input.portConfig.E2"));
  EXPECT_THAT(told, testing::Not(testing::Contains(testing::HasSubstr("adminEdgePort"))));
  EXPECT_THAT(told, testing::Not(testing::Contains(testing::HasSubstr("operEdgePort"))));
  EXPECT_EQ(bare->linkType(), Stp::Input::PortConfig::LinkType::shared);
  EXPECT_EQ(bare->bpduguard(), EngineSnapshot::Guard::bpduguardEnabled);
  EXPECT_TRUE(sources().config->portConfig("E1")->adminEdgePort());
  EXPECT_EQ(sources().config->portConfig("E1")->bpduguard(),
            EngineSnapshot::Guard::bpduguardEnabled);
  EXPECT_TRUE(sources().status->stpiStatus("Mst")->stpiPortStatus("E1")->operEdgePort());
}

TEST_F(EngineDifference, NothingDiffersFromWhatWasFollowed) {
  follow(mstp());
  EXPECT_FALSE(differsFrom(mstp()));
}

TEST_F(EngineDifference, OnlyTheAttributesThatDifferAreSet) {
  follow(mstp());
  EngineSnapshot next = mstp();
  next.mstConfig.revision = 8;
  next.mstis[1].bridgePriority = 0;
  next.ports[1].edgePortAuto = false;
  next.ports[1].edgePortEnable = true;
  next.ports[1].linkType = Stp::Input::PortConfig::LinkType::shared;
  next.ports[1].bpduguard = EngineSnapshot::Guard::bpduguardEnabled;
  next.ports[1].adminEdgePort = true;
  next.ports[0].operEdgePort = true;
  next.ports[1].operPointToPointMac = true;
  EXPECT_THAT(
      changesTo(next),
      ElementsAre("set input.portConfig.E2.linkType", "set input.portConfig.E2.edgePortEnable",
                  "set input.portConfig.E2.edgePortAuto", "set input.portConfig.E2.bpduguard",
                  "set input.stpiConfig.Mst.mstiConfig.MST5.bridgePriority", "set input.mstConfig",
                  "set config.portConfig.E2.adminEdgePort", "set config.portConfig.E2.bpduguard",
                  "set config.mstConfig",
                  "set status.stpiStatus.Mst.stpiPortStatus.E1.operEdgePort",
                  "set status.stpiStatus.Mst.stpiPortStatus.E2.operPointToPointMac",
                  "set status.stpiStatus.Mst.mstiStatus.MST5.bridgePriority"));
  auto const port = sources().input->portConfig("E2");
  EXPECT_EQ(port->linkType(), Stp::Input::PortConfig::LinkType::shared);
  EXPECT_EQ(port->bpduguard(), EngineSnapshot::Guard::bpduguardEnabled);
  EXPECT_TRUE(port->edgePortEnable());
  EXPECT_FALSE(port->edgePortAuto());
  EXPECT_FALSE(differsFrom(next));
}

TEST_F(EngineDifference, WhatDisappearsGoesInTheReverseOrder) {
  follow(mstp());
  EngineSnapshot next = mstp();
  next.ports.erase(next.ports.begin());
  next.mstis.pop_back();
  next.mstConfig.vidToMsti = {};
  EXPECT_THAT(
      changesTo(next),
      ElementsAre("set input.mstConfig", "set config.mstConfig", "delete operational.port.E1",
                  "delete status.stpiStatus.Mst.mstiStatus.MST5",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E1", "delete config.portConfig.E1",
                  "delete input.stpiConfig.Mst.mstiConfig.MST5", "delete input.portConfig.E1"));
}

TEST_F(EngineDifference, MembersGoBeforeTheirInstance) {
  follow(mstp());
  EngineSnapshot next = rstp();
  next.ports.pop_back();
  EXPECT_THAT(
      changesTo(next),
      ElementsAre("create input.stpiConfig.Rst", "set input.mode", "set input.mstConfig",
                  "set config.mstConfig", "create status.stpiStatus.Rst",
                  "create status.stpiStatus.Rst.stpiPortStatus.E1", "set status.activeProtocol",
                  "delete operational.port.E2", "delete status.stpiStatus.Mst.mstiStatus.MST5",
                  "delete status.stpiStatus.Mst.mstiStatus.Cist",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E2",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E1", "delete status.stpiStatus.Mst",
                  "delete config.portConfig.E2", "delete input.stpiConfig.Mst.mstiConfig.MST5",
                  "delete input.stpiConfig.Mst.mstiConfig.Cist", "delete input.stpiConfig.Mst",
                  "delete input.portConfig.E2"));
}

TEST_F(EngineDifference, NothingComesBelowAnInstanceThatGoes) {
  follow(rstp());
  EXPECT_THAT(
      changesTo(mstp()),
      ElementsAre("create input.stpiConfig.Mst", "create input.stpiConfig.Mst.mstiConfig.Cist",
                  "create input.stpiConfig.Mst.mstiConfig.MST5", "set input.mode",
                  "set input.mstConfig", "set config.mstConfig", "create status.stpiStatus.Mst",
                  "create status.stpiStatus.Mst.stpiPortStatus.E1",
                  "create status.stpiStatus.Mst.stpiPortStatus.E2",
                  "create status.stpiStatus.Mst.mstiStatus.Cist",
                  "create status.stpiStatus.Mst.mstiStatus.MST5", "set status.activeProtocol",
                  "delete status.stpiStatus.Rst.stpiPortStatus.E2",
                  "delete status.stpiStatus.Rst.stpiPortStatus.E1", "delete status.stpiStatus.Rst",
                  "delete input.stpiConfig.Rst"));
}

TEST_F(EngineDifference, StoppedEngineHasNoPortsAndInstancesInItsStatus) {
  follow(mstp());
  EngineSnapshot next = mstp();
  next.activeProtocol = EngineSnapshot::notRunning;
  EXPECT_THAT(changesTo(next), ElementsAre("set status.activeProtocol",
                                           "delete status.stpiStatus.Mst.mstiStatus.MST5",
                                           "delete status.stpiStatus.Mst.mstiStatus.Cist",
                                           "delete status.stpiStatus.Mst.stpiPortStatus.E2",
                                           "delete status.stpiStatus.Mst.stpiPortStatus.E1"));
  EXPECT_EQ(sources().status->activeProtocol(), Stp::Mode(-1));
  EXPECT_FALSE(differsFrom(next));
}

TEST_F(EngineDifference, WhatComesBackIsANewEntity) {
  follow(mstp());
  auto const first = sources().input->portConfig("E1");
  EngineSnapshot without = mstp();
  without.ports.erase(without.ports.begin());
  follow(without);
  EXPECT_FALSE(sources().input->portConfig("E1"));
  follow(mstp());
  EXPECT_TRUE(sources().input->portConfig("E1"));
  EXPECT_NE(sources().input->portConfig("E1"), first);
  EXPECT_FALSE(differsFrom(mstp()));
}

TEST_F(EngineDifference, WhatNoSnapshotSpeaksOfStays) {
  apply(R"({"op":"set","path":["input","portfastBpduguard"],"value":true})");
  apply(R"({"op":"set","path":["config","disabledVlan",7],"value":true})");
  apply(R"({"op":"create","path":["vlanConfigDir","vlanConfig",7]})");
  follow(mstp());
  EXPECT_TRUE(sources().input->portfastBpduguard());
  EXPECT_EQ(sources().config->disabledVlan(7), true);
  EXPECT_TRUE(sources().vlanConfigDir->vlanConfig(7));
}

TEST_F(EngineDifference, InstancesHaveTheIdOfTheirName) {
  follow(mstp());
  EXPECT_EQ(sources().input->stpiConfig("Mst")->mstiConfig("MST5")->mstiId(), 5);
  EXPECT_EQ(sources().input->stpiConfig("Mst")->mstiConfig("Cist")->mstiId(), 0);
}

}  // namespace
}  // namespace Agent
