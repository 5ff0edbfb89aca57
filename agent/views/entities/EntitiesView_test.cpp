#include "agent/views/entities/EntitiesView.h"

#include <string>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

class EntitiesView : public SessionTest {
 protected:
  // The keys of a target, in their order.
  std::string keysOf(char const* name) const {
    std::string keys;
    OrderedJson const view = entitiesView(targets());
    for (auto const& [key, record] : view.at(name).items()) {
      keys += key + " ";
    }
    return keys;
  }
};

TEST_F(EntitiesView, ShowsEveryTargetOnOneLine) {
  for (char const* const line : {
           R"({"op":"set","path":["ocGlobalConfig","config"],
               "value":{"enabledProtocol":[1],"disabledVlan":[[10,12],20]}})",
           R"({"op":"set","path":["ocGlobalState","state"],"value":{"enabledProtocol":[1]}})",
           R"({"op":"create","path":["ocInterfaceConfigDir","interface","Ethernet1"],
               "value":{"name":"Ethernet1","edgePort":0}})",
           R"({"op":"set","path":["ocInterfaceStateDir","state","Ethernet1"],
               "value":{"edgePort":1}})",
           R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5],
               "value":{"mstId":5,"vlan":[[10,20]]}})",
           R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"vlan":[[10,20]]}})",
           R"({"op":"set","path":["ocRstpConfig","record"],"value":{"helloTime":2}})",
           R"({"op":"set","path":["ocRstpState","record"],"value":{"maxAge":20}})",
           R"({"op":"set","path":["ocMstpConfig","record"],"value":{"maxHop":20}})",
           R"({"op":"set","path":["ocMstpState","record"],"value":{"name":"west"}})",
           R"({"op":"set","path":["ocTreeConfigDir","record","Cist"],
               "value":{"bridgePriority":4096}})",
           R"({"op":"set","path":["ocTreeStateDir","record","MST5"],"value":{"rootPort":1}})",
           R"({"op":"set","path":["ocTreePortConfigDir","record","Rst/E1"],
               "value":{"portPriority":16}})",
           R"({"op":"set","path":["ocTreePortStateDir","record","MST5/E1"],
               "value":{"port":"8.001","role":1}})",
           R"({"op":"set","path":["ocTreePortCountersDir","record","MST5/E1"],
               "value":{"bpduSent":7}})",
           R"({"op":"set","path":["ocProtectionConfigDir","record","E1"],"value":{"guard":0}})",
           R"({"op":"set","path":["ocProtectionStateDir","record","E1"],
               "value":{"bpduGuardError":true}})",
       }) {
    apply(line);
  }
  EXPECT_EQ(
      entitiesView(targets()).dump(),
      R"({"ocGlobalConfig":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[[10,12],20]},)"
      R"("ocGlobalState":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[]},)"
      R"("ocInterfaceConfigDir":{"Ethernet1":{"name":"Ethernet1","linkType":255,"edgePort":0,)"
      R"("bpduGuard":255}},)"
      R"("ocInterfaceStateDir":{"Ethernet1":{"name":"Ethernet1","linkType":0,"edgePort":1,)"
      R"("bpduGuard":255}},)"
      R"("ocMstiConfigDir":{"5":{"mstId":5,"bridgePriority":32768,"vlan":[[10,20]]}},)"
      R"("ocMstiStateDir":{"5":{"mstId":5,"bridgePriority":32768,"vlan":[[10,20]]}},)"
      R"("ocRstpConfig":{"helloTime":2,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
      R"("maxHop":null,"name":"","revision":null},)"
      R"("ocRstpState":{"helloTime":null,"maxAge":20,"forwardingDelay":null,"holdCount":null,)"
      R"("maxHop":null,"name":"","revision":null},)"
      R"("ocMstpConfig":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
      R"("maxHop":20,"name":"","revision":null},)"
      R"("ocMstpState":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
      R"("maxHop":null,"name":"west","revision":null},)"
      R"("ocTreeConfigDir":{"Cist":{"tree":"Cist","bridgePriority":4096}},)"
      R"("ocTreeStateDir":{"MST5":{"tree":"MST5","bridge":null,"designatedRoot":null,)"
      R"("rootPort":1,"rootCost":null,"topologyChanges":null,"lastTopologyChange":null,)"
      R"("regionalRoot":null,"regionalRootCost":null}},)"
      R"("ocTreePortConfigDir":{"Rst/E1":{"id":"Rst/E1","portPriority":16}},)"
      R"("ocTreePortStateDir":{"MST5/E1":{"id":"MST5/E1","port":"8.001","cost":null,"role":1,)"
      R"("portState":null,"designatedRoot":null,"designatedCost":null,"designatedBridge":null,)"
      R"("designatedPort":null,"forwardTransitions":null,"disputed":null,"master":null}},)"
      R"("ocTreePortCountersDir":{"MST5/E1":{"id":"MST5/E1","bpduSent":7,"bpduReceived":null}},)"
      R"("ocProtectionConfigDir":{"E1":{"name":"E1","guard":0,"bpduFilter":null}},)"
      R"("ocProtectionStateDir":{"E1":{"name":"E1","guard":null,"bpduFilter":null,)"
      R"("bpduGuardError":true}}})");
}

TEST_F(EntitiesView, EmptyTargetsAreShown) {
  EXPECT_EQ(entitiesView(targets()).dump(),
            R"({"ocGlobalConfig":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocGlobalState":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocInterfaceConfigDir":{},"ocInterfaceStateDir":{},)"
            R"("ocMstiConfigDir":{},"ocMstiStateDir":{},)"
            R"("ocRstpConfig":{"helloTime":null,"maxAge":null,"forwardingDelay":null,)"
            R"("holdCount":null,"maxHop":null,"name":"","revision":null},)"
            R"("ocRstpState":{"helloTime":null,"maxAge":null,"forwardingDelay":null,)"
            R"("holdCount":null,"maxHop":null,"name":"","revision":null},)"
            R"("ocMstpConfig":{"helloTime":null,"maxAge":null,"forwardingDelay":null,)"
            R"("holdCount":null,"maxHop":null,"name":"","revision":null},)"
            R"("ocMstpState":{"helloTime":null,"maxAge":null,"forwardingDelay":null,)"
            R"("holdCount":null,"maxHop":null,"name":"","revision":null},)"
            R"("ocTreeConfigDir":{},"ocTreeStateDir":{},"ocTreePortConfigDir":{},)"
            R"("ocTreePortStateDir":{},"ocTreePortCountersDir":{},"ocProtectionConfigDir":{},)"
            R"("ocProtectionStateDir":{}})");
}

TEST_F(EntitiesView, NamesAreSortedByByteAndIdsByNumber) {
  for (std::string const name : {"b", "Ethernet2", "\xC3\xA9", "Ethernet10", "a", "B"}) {
    apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface",")" + name + R"("]})");
    apply(R"({"op":"set","path":["ocInterfaceStateDir","state",")" + name + R"("],"value":{}})");
  }
  for (std::string const id : {"100", "0", "20", "4095", "3"}) {
    apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",)" + id + "]}");
    apply(R"({"op":"set","path":["ocMstiStateDir","state",)" + id + R"(],"value":{}})");
  }
  EXPECT_EQ(keysOf("ocInterfaceConfigDir"), "B Ethernet10 Ethernet2 a b \xC3\xA9 ");
  EXPECT_EQ(keysOf("ocInterfaceStateDir"), "B Ethernet10 Ethernet2 a b \xC3\xA9 ");
  EXPECT_EQ(keysOf("ocMstiConfigDir"), "0 3 20 100 4095 ");
  EXPECT_EQ(keysOf("ocMstiStateDir"), "0 3 20 100 4095 ");
}

TEST_F(EntitiesView, TreesAreSortedByNumberAndTheirPortsByName) {
  for (std::string const tree : {"MST10", "Rst", "MST5", "Cist", "MST4095"}) {
    apply(R"({"op":"set","path":["ocTreeStateDir","record",")" + tree + R"("],"value":{}})");
  }
  for (std::string const id : {"MST10/E1", "MST5/E2", "MST5/E10", "Cist/E2", "MST5/B"}) {
    apply(R"({"op":"set","path":["ocTreePortStateDir","record",")" + id + R"("],"value":{}})");
  }
  EXPECT_EQ(keysOf("ocTreeStateDir"), "Cist MST5 MST10 MST4095 Rst ");
  EXPECT_EQ(keysOf("ocTreePortStateDir"), "Cist/E2 MST5/B MST5/E10 MST5/E2 MST10/E1 ");
}

}  // namespace
}  // namespace Agent
