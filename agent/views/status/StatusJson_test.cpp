#include "agent/views/status/StatusJson.h"

#include "agent/views/status/StatusTestSupport.h"

namespace Agent {
namespace {

class StatusJsonTest : public StatusTest {
 protected:
  OrderedJson json() const { return statusJson("br4", status()); }
};

TEST_F(StatusJsonTest, TellsBridgeTreesAndPorts) {
  stageRegion();
  treePortAmend(Stp::TreeId(), "Eth2", [](Stp::OCTreePortState& state) {
    state.cost = 2000;
    state.designatedCost = 100;
    state.disputed = false;
  });
  OrderedJson told = json();
  OrderedJson trees = std::move(told["trees"]);
  OrderedJson ports = std::move(told["ports"]);
  EXPECT_EQ(told.dump(),
            R"({"bridge":"br4","protocol":"MSTP","running":true,"address":"3E:7A:D2:FA:71:E9",)"
            R"("region":"Region","revision":3,"helloTime":2,"maxAge":20,"forwardDelay":15,)"
            R"("holdCount":6,"maxHops":20,"trees":null,"ports":null})");
  ASSERT_EQ(trees.size(), 5U);
  OrderedJson const treePorts = std::move(trees.at(0)["ports"]);
  EXPECT_EQ(trees.at(0).dump(),
            R"({"tree":"Cist","bridgePriority":32768,)"
            R"("root":{"priority":16384,"address":"0A:94:7F:3A:72:94"},"isRoot":false,)"
            R"("rootPort":"Eth1","rootPortNumber":1,"rootCost":0,)"
            R"("regionalRoot":{"priority":16384,"address":"0A:94:7F:3A:72:94"},)"
            R"("regionalRootCost":2000,"topologyChanges":0,"ports":null})");
  EXPECT_EQ(treePorts.at(1).dump(),
            R"({"port":"Eth2","id":{"priority":128,"number":2},"role":"alternate",)"
            R"("state":"blocking","cost":2000,)"
            R"("designatedRoot":{"priority":16384,"address":"0A:94:7F:3A:72:94"},)"
            R"("designatedCost":100,)"
            R"("designatedBridge":{"priority":16384,"address":"0A:94:7F:3A:72:94"},)"
            R"("designatedPort":{"priority":128,"number":6},"disputed":false})");
  trees.at(1).erase("ports");
  EXPECT_EQ(trees.at(1).dump(),
            R"({"tree":"MST1","bridgePriority":4096,)"
            R"("root":{"priority":4096,"address":"3E:7A:D2:FA:71:E9"},"isRoot":true,)"
            R"("rootPortNumber":0,"rootCost":0,"topologyChanges":1,)"
            R"("lastTopologyChange":"2026-11-22T06:00:01Z"})");
  EXPECT_EQ(ports.at(2).dump(),
            R"({"port":"Eth10","edge":true,"pointToPoint":true,"bpduGuard":true,)"
            R"("rootGuard":false,"bpduFilter":false,"bpduGuardError":false})");
}

TEST_F(StatusJsonTest, WhatIsNotKnownIsAbsent) {
  EXPECT_EQ(json().dump(), R"({"bridge":"br4","running":false,"trees":[],"ports":[]})");
}

}  // namespace
}  // namespace Agent
