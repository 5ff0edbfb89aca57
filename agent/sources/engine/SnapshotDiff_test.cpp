#include "agent/sources/engine/SnapshotDiff.h"

#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Snapshot::Port port(std::string const& name) {
  Snapshot::Port added;
  added.name = name;
  added.edgePortAuto = true;
  return added;
}

// MSTP with two ports and the instances 0 and 5.
Snapshot mstp() {
  Snapshot snapshot;
  snapshot.mode = 3;
  snapshot.activeProtocol = 3;
  snapshot.regionName = "west";
  snapshot.revision = 7;
  snapshot.vidToMsti = {{10, 5}};
  snapshot.instanceName = "Mst";
  snapshot.mstis = {{.id = 0, .bridgePriority = 4096}, {.id = 5, .bridgePriority = 32768}};
  snapshot.ports = {port("E1"), port("E2")};
  return snapshot;
}

class SnapshotDifferences : public SessionTest {
 protected:
  // Each change as "op path value".
  std::vector<std::string> changesTo(Snapshot const& snapshot) const {
    std::vector<std::string> changes;
    for (Operation const& change : differences(snapshot, sources())) {
      std::string text = change.op + " " + pathText(change.path, change.path.size());
      if (change.op != "delete" && change.value != Json::object()) {
        text += " " + change.value.dump();
      }
      changes.push_back(text);
    }
    return changes;
  }

  void follow(Snapshot const& snapshot) {
    for (Operation const& change : differences(snapshot, sources())) {
      session.apply(change);
    }
  }
};

TEST_F(SnapshotDifferences, WhatAppearsComesBeforeWhatUsesIt) {
  EXPECT_THAT(
      changesTo(mstp()),
      ElementsAre(R"(create input.portConfig.E1 {"bpduguard":0,"edgePortAuto":true,)"
                  R"("edgePortDisable":false,"edgePortEnable":false,"linkType":0})",
                  R"(create input.portConfig.E2 {"bpduguard":0,"edgePortAuto":true,)"
                  R"("edgePortDisable":false,"edgePortEnable":false,"linkType":0})",
                  "create input.stpiConfig.Mst",
                  R"(create input.stpiConfig.Mst.mstiConfig.Cist {"bridgePriority":4096})",
                  R"(create input.stpiConfig.Mst.mstiConfig.MST5 {"bridgePriority":32768})",
                  "set input.mode 3",
                  R"(set input.mstConfig {"regionName":"west","revision":7,"vidToMsti":[[10,5]]})",
                  R"(create config.portConfig.E1 {"adminEdgePort":false,"bpduguard":0})",
                  R"(create config.portConfig.E2 {"adminEdgePort":false,"bpduguard":0})",
                  R"(set config.mstConfig {"regionName":"west","revision":7,"vidToMsti":[[10,5]]})",
                  "create status.stpiStatus.Mst",
                  R"(create status.stpiStatus.Mst.stpiPortStatus.E1 {"operEdgePort":false,)"
                  R"("operPointToPointMac":false})",
                  R"(create status.stpiStatus.Mst.stpiPortStatus.E2 {"operEdgePort":false,)"
                  R"("operPointToPointMac":false})",
                  R"(create status.stpiStatus.Mst.mstiStatus.Cist {"bridgePriority":4096})",
                  R"(create status.stpiStatus.Mst.mstiStatus.MST5 {"bridgePriority":32768})",
                  "set status.activeProtocol 3"));
}

TEST_F(SnapshotDifferences, NothingDiffersFromWhatWasFollowed) {
  follow(mstp());
  EXPECT_THAT(changesTo(mstp()), IsEmpty());
}

TEST_F(SnapshotDifferences, OnlyTheAttributesThatDifferAreSet) {
  follow(mstp());
  Snapshot next = mstp();
  next.revision = 8;
  next.mstis[1].bridgePriority = 0;
  next.ports[1] = port("E2");
  next.ports[1].edgePortAuto = false;
  next.ports[1].edgePortEnable = true;
  next.ports[1].linkType = 2;
  next.ports[1].bpduguard = 1;
  next.ports[1].adminEdgePort = true;
  next.ports[0].operEdgePort = true;
  EXPECT_THAT(
      changesTo(next),
      ElementsAre(
          "set input.portConfig.E2.linkType 2", "set input.portConfig.E2.edgePortEnable true",
          "set input.portConfig.E2.edgePortAuto false", "set input.portConfig.E2.bpduguard 1",
          "set input.stpiConfig.Mst.mstiConfig.MST5.bridgePriority 0",
          R"(set input.mstConfig {"regionName":"west","revision":8,)"
          R"("vidToMsti":[[10,5]]})",
          "set config.portConfig.E2.adminEdgePort true", "set config.portConfig.E2.bpduguard 1",
          R"(set config.mstConfig {"regionName":"west","revision":8,)"
          R"("vidToMsti":[[10,5]]})",
          "set status.stpiStatus.Mst.stpiPortStatus.E1.operEdgePort true",
          "set status.stpiStatus.Mst.mstiStatus.MST5.bridgePriority 0"));
}

TEST_F(SnapshotDifferences, WhatDisappearsGoesInTheReverseOrder) {
  follow(mstp());
  Snapshot next = mstp();
  next.ports.erase(next.ports.begin());
  next.mstis.pop_back();
  next.vidToMsti = {};
  EXPECT_THAT(
      changesTo(next),
      ElementsAre(R"(set input.mstConfig {"regionName":"west","revision":7,)"
                  R"("vidToMsti":[]})",
                  R"(set config.mstConfig {"regionName":"west","revision":7,)"
                  R"("vidToMsti":[]})",
                  "delete status.stpiStatus.Mst.mstiStatus.MST5",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E1", "delete config.portConfig.E1",
                  "delete input.stpiConfig.Mst.mstiConfig.MST5", "delete input.portConfig.E1"));
}

TEST_F(SnapshotDifferences, MembersGoBeforeTheirInstance) {
  follow(mstp());
  Snapshot next = mstp();
  next.mode = 2;
  next.activeProtocol = 2;
  next.instanceName = "Rst";
  next.mstis.clear();
  next.ports.pop_back();
  next.vidToMsti = {};
  next.regionName = "";
  EXPECT_THAT(
      changesTo(next),
      ElementsAre("create input.stpiConfig.Rst", "set input.mode 2",
                  R"(set input.mstConfig {"regionName":"","revision":7,"vidToMsti":[]})",
                  R"(set config.mstConfig {"regionName":"","revision":7,"vidToMsti":[]})",
                  "create status.stpiStatus.Rst",
                  R"(create status.stpiStatus.Rst.stpiPortStatus.E1 )"
                  R"({"operEdgePort":false,"operPointToPointMac":false})",
                  "set status.activeProtocol 2", "delete status.stpiStatus.Mst.mstiStatus.MST5",
                  "delete status.stpiStatus.Mst.mstiStatus.Cist",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E2",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E1", "delete status.stpiStatus.Mst",
                  "delete config.portConfig.E2", "delete input.stpiConfig.Mst.mstiConfig.MST5",
                  "delete input.stpiConfig.Mst.mstiConfig.Cist", "delete input.stpiConfig.Mst",
                  "delete input.portConfig.E2"));
}

TEST_F(SnapshotDifferences, StoppedEngineHasNoPortsAndInstancesInItsStatus) {
  follow(mstp());
  Snapshot next = mstp();
  next.activeProtocol = -1;
  EXPECT_THAT(changesTo(next), ElementsAre("set status.activeProtocol -1",
                                           "delete status.stpiStatus.Mst.mstiStatus.MST5",
                                           "delete status.stpiStatus.Mst.mstiStatus.Cist",
                                           "delete status.stpiStatus.Mst.stpiPortStatus.E2",
                                           "delete status.stpiStatus.Mst.stpiPortStatus.E1"));
  follow(next);
  EXPECT_THAT(changesTo(next), IsEmpty());
}

TEST_F(SnapshotDifferences, WhatComesBackIsANewEntity) {
  follow(mstp());
  auto const first = sources().input->portConfig("E1");
  Snapshot without = mstp();
  without.ports.erase(without.ports.begin());
  follow(without);
  EXPECT_FALSE(sources().input->portConfig("E1"));
  follow(mstp());
  EXPECT_TRUE(sources().input->portConfig("E1"));
  EXPECT_NE(sources().input->portConfig("E1"), first);
  EXPECT_THAT(changesTo(mstp()), IsEmpty());
}

TEST_F(SnapshotDifferences, WhatNoSnapshotSpeaksOfStays) {
  apply(R"({"op":"set","path":["input","portfastBpduguard"],"value":true})");
  apply(R"({"op":"set","path":["config","disabledVlan",7],"value":true})");
  apply(R"({"op":"create","path":["vlanConfigDir","vlanConfig",7]})");
  follow(mstp());
  EXPECT_TRUE(sources().input->portfastBpduguard());
  EXPECT_EQ(sources().config->disabledVlan(7), true);
  EXPECT_TRUE(sources().vlanConfigDir->vlanConfig(7));
}

TEST_F(SnapshotDifferences, InstancesHaveTheIdOfTheirName) {
  follow(mstp());
  EXPECT_EQ(sources().input->stpiConfig("Mst")->mstiConfig("MST5")->mstiId(), 5);
  EXPECT_EQ(sources().input->stpiConfig("Mst")->mstiConfig("Cist")->mstiId(), 0);
}

}  // namespace
}  // namespace Agent
