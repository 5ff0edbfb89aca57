#include "agent/views/entities/EntitiesView.h"

#include <string>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

class EntitiesView : public SessionTest {};

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
      R"("ocMstiStateDir":{"5":{"mstId":5,"bridgePriority":32768,"vlan":[[10,20]]}}})");
}

TEST_F(EntitiesView, EmptyTargetsAreShown) {
  EXPECT_EQ(entitiesView(targets()).dump(),
            R"({"ocGlobalConfig":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocGlobalState":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocInterfaceConfigDir":{},"ocInterfaceStateDir":{},)"
            R"("ocMstiConfigDir":{},"ocMstiStateDir":{}})");
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
  auto const keysOf = [&](char const* name) {
    std::string keys;
    OrderedJson const view = entitiesView(targets());
    for (auto const& [key, record] : view.at(name).items()) {
      keys += key + " ";
    }
    return keys;
  };
  EXPECT_EQ(keysOf("ocInterfaceConfigDir"), "B Ethernet10 Ethernet2 a b \xC3\xA9 ");
  EXPECT_EQ(keysOf("ocInterfaceStateDir"), "B Ethernet10 Ethernet2 a b \xC3\xA9 ");
  EXPECT_EQ(keysOf("ocMstiConfigDir"), "0 3 20 100 4095 ");
  EXPECT_EQ(keysOf("ocMstiStateDir"), "0 3 20 100 4095 ");
}

}  // namespace
}  // namespace Agent
