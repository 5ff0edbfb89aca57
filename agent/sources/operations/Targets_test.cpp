// Operations on targets, and what they leave there.
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;

class TargetOperations : public SessionTest {};

TEST_F(TargetOperations, FreshRecordsHaveTheirValues) {
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"]})");
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{}})");
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5]})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{}})");
  EXPECT_EQ(target("ocGlobalConfig"),
            R"({"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]})");
  EXPECT_EQ(target("ocGlobalState"),
            R"({"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]})");
  EXPECT_EQ(target("ocInterfaceConfigDir"),
            R"({"E1":{"name":"","linkType":255,"edgePort":255,"bpduGuard":255}})");
  EXPECT_EQ(target("ocInterfaceStateDir"),
            R"({"E1":{"name":"E1","linkType":0,"edgePort":2,"bpduGuard":255}})");
  EXPECT_EQ(target("ocMstiConfigDir"), R"({"5":{"mstId":0,"bridgePriority":32768,"vlan":[]}})");
  EXPECT_EQ(target("ocMstiStateDir"), R"({"5":{"mstId":5,"bridgePriority":32768,"vlan":[]}})");
}

struct Case {
  char const* target;
  char const* path;
  char const* before;                 // how the record is made, or null
  std::vector<char const*> accepted;  // as they are shown, whole
  std::vector<std::pair<char const*, char const*>> refused;
};

std::vector<char const*> const globals{
    R"({"enabledProtocol":[2,0,0,1],"bpduGuard":true,"disabledVlan":[[10,12],20,4094,1]})",
    R"({"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[[12,10],[7,7],5,5]})",
};
std::vector<std::pair<char const*, char const*>> const noGlobals{
    {R"({"enabledProtocol":[3]})", "value.enabledProtocol[0]: 3 is not an integer from 0 to 2"},
    {R"({"enabledProtocol":1})", "value.enabledProtocol: 1 is not an array"},
    {R"({"bpduGuard":1})", "value.bpduGuard: 1 is not true or false"},
    {R"({"bpduGuard":true,"disabledVlan":[4095]})",
     "value.disabledVlan[0]: 4095 is not an integer from 1 to 4094"},
    {R"({"bpduGuard":true,"disabledVlan":[5,[0,5]]})",
     "value.disabledVlan[1][0]: 0 is not an integer from 1 to 4094"},
    {R"({"bpduGuard":true,"disabledVlan":[[5,4095]]})",
     "value.disabledVlan[0][1]: 4095 is not an integer from 1 to 4094"},
    {R"({"bpduGuard":true,"disabledVlan":[[1,2,3]]})",
     "value.disabledVlan[0]: an array of 3 is not a VLAN id or a pair [first, last]"},
    {R"({"bpduGuard":true,"disabledVlan":["10"]})",
     "value.disabledVlan[0]: \"10\" is not a VLAN id or a pair [first, last]"},
    {R"({"bpduGuard":true,"vlan":[]})", "value.vlan: unknown member"},
    {"[]", "value: an array of 0 is not an object"},
};
std::vector<std::pair<char const*, char const*>> const noInterfaces{
    {R"({"linkType":1,"edgePort":256})", "value.edgePort: 256 is not an integer from 0 to 255"},
    {R"({"linkType":-1})", "value.linkType: -1 is not an integer from 0 to 255"},
    {R"({"bpduGuard":true})", "value.bpduGuard: true is not an integer from 0 to 255"},
    {R"({"name":""})", "value.name: \"\" is not a name, a string that is not empty"},
    {R"({"name":5})", "value.name: 5 is not a name, a string that is not empty"},
    {R"({"linkType":1,"mstId":5})", "value.mstId: unknown member"},
};
std::vector<std::pair<char const*, char const*>> const noInstances{
    {R"({"bridgePriority":61441})",
     "value.bridgePriority: 61441 is not an integer from 0 to 61440"},
    {R"({"mstId":4096})", "value.mstId: 4096 is not an integer from 0 to 4095"},
    {R"({"vlan":[0]})", "value.vlan[0]: 0 is not an integer from 1 to 4094"},
    {R"({"disabledVlan":[]})", "value.disabledVlan: unknown member"},
};

std::vector<Case> const cases{
    {"ocGlobalConfig", R"(["ocGlobalConfig","config"])", nullptr, globals, noGlobals},
    {"ocGlobalState", R"(["ocGlobalState","state"])", nullptr, globals, noGlobals},
    {"ocInterfaceConfigDir",
     R"(["ocInterfaceConfigDir","interface","E1"])",
     "create",
     {R"({"name":"E1","linkType":0,"edgePort":7,"bpduGuard":1})",
      R"({"name":"other","linkType":254,"edgePort":255,"bpduGuard":0})"},
     noInterfaces},
    {"ocInterfaceStateDir",
     R"(["ocInterfaceStateDir","state","E1"])",
     nullptr,
     {R"({"name":"E1","linkType":1,"edgePort":0,"bpduGuard":255})"},
     noInterfaces},
    {"ocMstiConfigDir",
     R"(["ocMstiConfigDir","mstInstance",5])",
     "create",
     {R"({"mstId":4095,"bridgePriority":61440,"vlan":[[10,20],30]})",
      R"({"mstId":0,"bridgePriority":4097,"vlan":[[30,20],[9,9],1]})"},
     noInstances},
    {"ocMstiStateDir",
     R"(["ocMstiStateDir","state",5])",
     nullptr,
     {R"({"mstId":5,"bridgePriority":0,"vlan":[[10,20],30]})"},
     noInstances},
};

std::string line(std::string const& op, std::string const& path, std::string const& value = "{}") {
  return R"({"op":")" + op + R"(","path":)" + path + R"(,"value":)" + value + "}";
}

std::string recordOf(TestSession const& session, Case const& given) {
  OrderedJson const target = entitiesView(session.targets()).at(given.target);
  bool const byKey = !target.contains("bpduGuard");
  return byKey ? target.begin().value().dump() : target.dump();
}

TEST_F(TargetOperations, WhatIsSetIsShown) {
  for (Case const& given : cases) {
    TestSession fresh;
    if (given.before != nullptr) {
      fresh.apply(line(given.before, given.path));
    }
    for (char const* const value : given.accepted) {
      SCOPED_TRACE(line("set", given.path, value));
      fresh.apply(line("set", given.path, value));
      EXPECT_EQ(recordOf(fresh, given), value);
    }
  }
}

TEST_F(TargetOperations, WrongRecordIsRefusedAndNothingChanges) {
  for (Case const& given : cases) {
    TestSession fresh;
    if (given.before != nullptr) {
      fresh.apply(line(given.before, given.path));
    }
    fresh.apply(line("set", given.path, given.accepted[0]));
    fresh.printed();
    for (auto const& [value, reason] : given.refused) {
      SCOPED_TRACE(line("set", given.path, value));
      EXPECT_EQ(fresh.refusalOf(line("set", given.path, value)), reason);
      EXPECT_EQ(recordOf(fresh, given), given.accepted[0]);
      EXPECT_EQ(fresh.printed(), std::vector<std::string>());
    }
  }
}

TEST_F(TargetOperations, MembersNotGivenKeepTheirValue) {
  apply(R"({"op":"set","path":["ocGlobalState","state"],
            "value":{"enabledProtocol":[1],"bpduGuard":true}})");
  apply(R"({"op":"set","path":["ocGlobalState","state"],"value":{"disabledVlan":[5]}})");
  EXPECT_EQ(target("ocGlobalState"),
            R"({"enabledProtocol":[1],"bpduGuard":true,"disabledVlan":[5]})");
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{"linkType":1}})");
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{"bpduGuard":0}})");
  EXPECT_EQ(target("ocInterfaceStateDir"),
            R"({"E1":{"name":"E1","linkType":1,"edgePort":2,"bpduGuard":0}})");
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5],"value":{"vlan":[7]}})");
  apply(R"({"op":"set","path":["ocMstiConfigDir","mstInstance",5],"value":{"mstId":6}})");
  EXPECT_EQ(target("ocMstiConfigDir"), R"({"5":{"mstId":6,"bridgePriority":32768,"vlan":[7]}})");
}

TEST_F(TargetOperations, EqualRecordIsPublishedAgain) {
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],"value":{}})");
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],"value":{}})");
  EXPECT_EQ(printed().size(), 2U);
}

TEST_F(TargetOperations, KeyOfAStateRecordIsThatOfItsPath) {
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{"name":"E1"}})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"mstId":5}})");
  EXPECT_EQ(
      refusalOf(
          R"({"op":"set","path":["ocInterfaceStateDir","state","E1"],"value":{"name":"E2"}})"),
      "value.name: not the key \"E1\"");
  EXPECT_EQ(refusalOf(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"mstId":6}})"),
            "value.mstId: not the key 5");
}

TEST_F(TargetOperations, ConfigurationDirectoriesRefuseWhatWasNotCreated) {
  EXPECT_EQ(
      refusalOf(R"({"op":"set","path":["ocInterfaceConfigDir","interface","E1"],"value":{}})"),
      "path[2]: ocInterfaceConfigDir.interface has no \"E1\"");
  EXPECT_EQ(refusalOf(R"({"op":"set","path":["ocMstiConfigDir","mstInstance",5],"value":{}})"),
            "path[2]: ocMstiConfigDir.mstInstance has no 5");
}

TEST_F(TargetOperations, CreatePublishesTheFreshRecordAndThenTheGivenOne) {
  apply(
      R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"],"value":{"edgePort":1}})");
  EXPECT_THAT(printed(),
              ElementsAre(R"({"changed":["ocInterfaceConfigDir","interface","E1"],)"
                          R"("value":{"name":"","linkType":255,"edgePort":255,"bpduGuard":255}})",
                          R"({"changed":["ocInterfaceConfigDir","interface","E1"],)"
                          R"("value":{"name":"","linkType":255,"edgePort":1,"bpduGuard":255}})"));
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5]})");
  EXPECT_THAT(printed(), ElementsAre(R"({"changed":["ocMstiConfigDir","mstInstance",5],)"
                                     R"("value":{"mstId":0,"bridgePriority":32768,"vlan":[]}})"));
}

TEST_F(TargetOperations, WrongRecordIsNotCreated) {
  EXPECT_EQ(refusalOf(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5],
                          "value":{"vlan":[0]}})"),
            "value.vlan[0]: 0 is not an integer from 1 to 4094");
  EXPECT_EQ(target("ocMstiConfigDir"), "{}");
  EXPECT_EQ(printed().size(), 0U);
}

TEST_F(TargetOperations, MirrorCleansUpWhatWasStaged) {
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","gone"]})");
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"],
            "value":{"linkType":1,"bpduGuard":0}})");
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",7],"value":{"vlan":[5]}})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",7],"value":{}})");
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],
            "value":{"bpduGuard":true,"disabledVlan":[9]}})");
  apply(R"({"op":"create","path":["input","portConfig","E1"]})");
  apply(R"({"op":"start"})");
  EXPECT_EQ(target("ocInterfaceConfigDir"),
            R"({"E1":{"name":"E1","linkType":1,"edgePort":255,"bpduGuard":0}})");
  EXPECT_EQ(target("ocMstiConfigDir"),
            R"({"0":{"mstId":0,"bridgePriority":32768,"vlan":[[1,4094]]}})");
  EXPECT_EQ(target("ocMstiStateDir"), "{}");
  EXPECT_EQ(target("ocGlobalConfig"),
            R"({"enabledProtocol":[0],"bpduGuard":true,"disabledVlan":[]})");
}

}  // namespace
}  // namespace Agent
