#include "agent/views/lines/Watch.h"

#include <memory>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;

std::string interfaceChanged(std::string const& name, std::string const& value) {
  return R"({"changed":["ocInterfaceConfigDir","interface",")" + name + R"("],"value":)" + value +
         "}";
}

class WatchedSession : public SessionTest {};

TEST_F(WatchedSession, EachTargetIsNamedByThePathThatSetsIt) {
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],"value":{"disabledVlan":[[10,12],20]}})");
  apply(R"({"op":"set","path":["ocGlobalState","state"],"value":{"enabledProtocol":[1]}})");
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","a \"b\"\n"]})");
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{}})");
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5]})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"vlan":[[10,20]]}})");
  EXPECT_THAT(
      printed(),
      ElementsAre(
          R"({"changed":["ocGlobalConfig","config"],)"
          R"("value":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[[10,12],20]}})",
          R"({"changed":["ocGlobalState","state"],)"
          R"("value":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[]}})",
          R"({"changed":["ocInterfaceConfigDir","interface","a \"b\"\n"],)"
          R"("value":{"name":"","linkType":255,"edgePort":255,"bpduGuard":255}})",
          R"({"changed":["ocInterfaceStateDir","state","E1"],)"
          R"("value":{"name":"E1","linkType":0,"edgePort":2,"bpduGuard":255}})",
          R"({"changed":["ocMstiConfigDir","mstInstance",5],)"
          R"("value":{"mstId":0,"bridgePriority":32768,"vlan":[]}})",
          R"({"changed":["ocMstiStateDir","state",5],)"
          R"("value":{"mstId":5,"bridgePriority":32768,"vlan":[[10,20]]}})"));
}

TEST_F(WatchedSession, RemovalNamesWhatIsGone) {
  for (char const* const line :
       {R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"]})",
        R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{}})",
        R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5]})",
        R"({"op":"create","path":["ocMstiConfigDir","mstInstance",3]})",
        R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{}})"}) {
    apply(line);
  }
  printed();
  apply(R"({"op":"delete","path":["ocInterfaceConfigDir","interface","E1"]})");
  apply(R"({"op":"delete","path":["ocInterfaceStateDir","state","E1"]})");
  apply(R"({"op":"clear","path":["ocMstiConfigDir","mstInstance"]})");
  apply(R"({"op":"delete","path":["ocMstiStateDir","state",5]})");
  EXPECT_THAT(printed(), ElementsAre(R"({"deleted":["ocInterfaceConfigDir","interface","E1"]})",
                                     R"({"deleted":["ocInterfaceStateDir","state","E1"]})",
                                     R"({"deleted":["ocMstiConfigDir","mstInstance",5]})",
                                     R"({"deleted":["ocMstiConfigDir","mstInstance",3]})",
                                     R"({"deleted":["ocMstiStateDir","state",5]})"));
}

TEST_F(WatchedSession, StartOfTheMirrorIsShown) {
  apply(R"({"op":"set","path":["input","mode"],"value":3})");
  apply(R"({"op":"set","path":["input","disabledVlan",20],"value":true})");
  EXPECT_EQ(printed().size(), 0U);
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  EXPECT_THAT(
      printed(),
      ElementsAre(R"({"changed":["ocGlobalConfig","config"],)"
                  R"("value":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[]}})",
                  R"({"changed":["ocGlobalConfig","config"],)"
                  R"("value":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[20]}})"));
}

TEST_F(WatchedSession, MemberIsWatchedFromItsCreationOn) {
  apply(R"({"op":"start","object":"OCInterfaceConfigDirSm"})");
  apply(R"({"op":"create","path":["input","portConfig","E1"],"value":{"edgePortEnable":true}})");
  apply(R"({"op":"set","path":["input","portConfig","E1","bpduguard"],"value":1})");
  EXPECT_THAT(
      printed(),
      ElementsAre(
          interfaceChanged("E1", R"({"name":"","linkType":255,"edgePort":255,"bpduGuard":255})"),
          interfaceChanged("E1", R"({"name":"E1","linkType":255,"edgePort":255,"bpduGuard":255})"),
          interfaceChanged("E1", R"({"name":"E1","linkType":255,"edgePort":0,"bpduGuard":255})"),
          interfaceChanged("E1", R"({"name":"E1","linkType":255,"edgePort":0,"bpduGuard":1})")));
}

TEST_F(WatchedSession, RecordStoredIntoWhatLeftTheTreeIsNoChange) {
  apply(R"({"op":"start","object":"OCInterfaceConfigDirSm"})");
  apply(R"({"op":"create","path":["input","portConfig","E1"]})");
  apply(R"({"op":"delete","path":["ocInterfaceConfigDir","interface","E1"]})");
  printed();
  apply(R"({"op":"set","path":["input","portConfig","E1","bpduguard"],"value":1})");
  EXPECT_EQ(printed().size(), 0U);

  // Its successor under the same name is another entity.
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"]})");
  printed();
  apply(R"({"op":"set","path":["input","portConfig","E1","bpduguard"],"value":2})");
  EXPECT_EQ(printed().size(), 0U);
  apply(R"({"op":"set","path":["ocInterfaceConfigDir","interface","E1"],"value":{"linkType":1}})");
  EXPECT_THAT(printed(), ElementsAre(interfaceChanged(
                             "E1", R"({"name":"","linkType":1,"edgePort":255,"bpduGuard":255})")));
}

TEST_F(WatchedSession, InterfaceThatLosesItsConfigurationIsANewOne) {
  apply(R"({"op":"create","path":["input","portConfig","E1"],"value":{"edgePortEnable":true}})");
  apply(R"({"op":"create","path":["status","stpiStatus","Mst"]})");
  apply(R"({"op":"create","path":["status","stpiStatus","Mst","stpiPortStatus","E1"]})");
  apply(R"({"op":"start","object":"OCInterfaceConfigDirSm"})");
  printed();
  apply(R"({"op":"delete","path":["input","portConfig","E1"]})");
  EXPECT_THAT(
      printed(),
      ElementsAre(
          R"({"deleted":["ocInterfaceConfigDir","interface","E1"]})",
          interfaceChanged("E1", R"({"name":"","linkType":255,"edgePort":255,"bpduGuard":255})"),
          interfaceChanged("E1",
                           R"({"name":"E1","linkType":255,"edgePort":255,"bpduGuard":255})")));
}

TEST(Watch, ShowsMembersThatWereThereBeforeIt) {
  TargetTree const targets;
  ObservedTargets observed(targets);
  auto const interface = targets.interfaceConfigDir->interfaceIs(Lanx::IntfId::of("E1"));
  KeptOutput output;
  auto watch = std::make_unique<Watch>(observed, output);
  interface->configIs({});
  EXPECT_THAT(output.take(),
              ElementsAre(interfaceChanged(
                  "E1", R"({"name":"","linkType":255,"edgePort":255,"bpduGuard":255})")));
  watch.reset();
  interface->configIs({});
  targets.interfaceConfigDir->interfaceDelAll();
  targets.globalConfig->configIs({});
  EXPECT_EQ(output.take().size(), 0U);
}

}  // namespace
}  // namespace Agent
