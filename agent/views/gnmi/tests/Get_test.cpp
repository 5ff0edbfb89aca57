// The answers of Get.
#include "agent/views/gnmi/Get.h"

#include "agent/views/document/OpenConfigView.h"
#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GnmiGet : public HubTest {
 protected:
  GnmiGet() {
    apply(R"({"op":"set","path":["ocGlobalConfig","config"],
              "value":{"enabledProtocol":[1],"bpduGuard":true,"disabledVlan":[[10,12],7]}})");
    apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","E10"],
              "value":{"linkType":1,"edgePort":0}})");
    apply(stateIs("E2", R"({"edgePort":1})"));
    apply(stateIs("E10", "{}"));
    apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5],"value":{"vlan":[3]}})");
    apply(R"({"op":"set","path":["ocMstiStateDir","state",20],"value":{}})");
  }

  std::vector<std::string> subtrees(std::string const& path, DataType type = DataType::all) {
    std::vector<std::string> all;
    for (Subtree const& subtree :
         subtreesOf(hub.snapshot(), resolve(pathFrom(path)), rowsOf(type))) {
      all.push_back(pathText(pathOf(*subtree.node, subtree.key)) + " " + subtree.value.dump());
    }
    return all;
  }
  std::string refusalOf(std::string const& path) {
    return failureOf([&] { subtrees(path); });
  }
};

TEST_F(GnmiGet, G4RootIsTheDocument) {
  auto const root = subtreesOf(hub.snapshot(), resolve({}), rowsOf(DataType::all));
  ASSERT_EQ(root.size(), 1U);
  EXPECT_EQ(root[0].value.dump(2), openConfigView(targets()).dump(2));
  EXPECT_EQ(subtrees("/..."), subtrees(""));
}

TEST_F(GnmiGet, G4SubtreesAreThoseOfTheDocument) {
  OrderedJson const stp = openConfigView(targets()).at("openconfig-spanning-tree:stp");
  // Without the modules of the first level.
  auto const bare = [&](std::string const& path) {
    auto const all = subtreesOf(hub.snapshot(), resolve(pathFrom(path)), rowsOf(DataType::all));
    EXPECT_EQ(all.size(), 1U) << path;
    OrderedJson object = OrderedJson::object();
    std::string const module = "openconfig-spanning-tree:";
    for (auto const& [name, value] : all.at(0).value.items()) {
      EXPECT_NE(name.find(':'), std::string::npos) << name;
      object[name.starts_with(module) ? name.substr(module.size()) : name] = value;
    }
    return object.dump();
  };
  EXPECT_EQ(bare("/stp"), stp.dump());
  EXPECT_EQ(bare("/stp/global"), stp.at("global").dump());
  EXPECT_EQ(bare("/stp/global/config"), stp.at("global").at("config").dump());
  EXPECT_EQ(bare("/stp/interfaces"), stp.at("interfaces").dump());
  auto const& interfaces = stp.at("interfaces").at("interface");
  EXPECT_EQ(bare("/stp/interfaces/interface[name=E2]"), interfaces.at(0).dump());
  EXPECT_EQ(bare("/stp/interfaces/interface[name=E10]/config"),
            interfaces.at(1).at("config").dump());
  EXPECT_EQ(bare("/stp/mstp/mst-instances"), stp.at("mstp").at("mst-instances").dump());
}

TEST_F(GnmiGet, G4FirstNamesCarryTheirModule) {
  EXPECT_THAT(subtrees("/stp/global/config"),
              ElementsAre(R"(/stp/global/config {"openconfig-spanning-tree:enabled-protocol":)"
                          R"(["openconfig-spanning-tree-types:MSTP"],)"
                          R"("openconfig-spanning-tree:bpdu-guard":true,)"
                          R"("stp-openconfig-disabled-vlan:disabled-vlan":["10..12",7]})"));
  EXPECT_THAT(subtrees("/stp/global/config/disabled-vlan"),
              ElementsAre(R"(/stp/global/config/disabled-vlan ["10..12",7])"));
  EXPECT_THAT(subtrees("/stp/global/config/bpdu-guard"),
              ElementsAre("/stp/global/config/bpdu-guard true"));
}

TEST_F(GnmiGet, G4EntriesOfAListWithoutKeysAreOnTheirOwn) {
  EXPECT_THAT(
      subtrees("/stp/mstp/mst-instances/mst-instance"),
      ElementsAre(R"(/stp/mstp/mst-instances/mst-instance[mst-id=5] )"
                  R"({"openconfig-spanning-tree:mst-id":5,"openconfig-spanning-tree:config":)"
                  R"({"mst-id":5,"vlan":[3],"bridge-priority":32768}})",
                  R"(/stp/mstp/mst-instances/mst-instance[mst-id=20] )"
                  R"({"openconfig-spanning-tree:mst-id":20,"openconfig-spanning-tree:config":)"
                  R"({"mst-id":20},"openconfig-spanning-tree:state":)"
                  R"({"mst-id":20,"bridge-priority":32768}})"));
  EXPECT_THAT(subtrees("/stp/interfaces/interface/state/edge-port"),
              ElementsAre("/stp/interfaces/interface[name=E2]/state/edge-port "
                          "\"openconfig-spanning-tree-types:EDGE_DISABLE\"",
                          "/stp/interfaces/interface[name=E10]/state/edge-port "
                          "\"openconfig-spanning-tree-types:EDGE_AUTO\""));
}

TEST_F(GnmiGet, G2TypesPartTheAnswer) {
  EXPECT_THAT(subtrees("/stp/interfaces/interface[name=E2]", DataType::state),
              ElementsAre(R"(/stp/interfaces/interface[name=E2] )"
                          R"({"openconfig-spanning-tree:name":"E2",)"
                          R"("openconfig-spanning-tree:state":{"name":"E2",)"
                          R"("edge-port":"openconfig-spanning-tree-types:EDGE_DISABLE",)"
                          R"("link-type":"P2P"}})"));
  EXPECT_THAT(subtrees("/stp/interfaces/interface[name=E2]", DataType::config),
              ElementsAre(R"(/stp/interfaces/interface[name=E2] )"
                          R"({"openconfig-spanning-tree:name":"E2",)"
                          R"("openconfig-spanning-tree:config":{"name":"E2"}})"));
  EXPECT_THAT(subtrees("/stp/interfaces/interface[name=E2]/state", DataType::config), IsEmpty());
  EXPECT_THAT(subtrees("/stp", DataType::operational), IsEmpty());
  ResolvedPath const path = resolve(pathFrom("/stp"));
  std::size_t const all = leavesOf(hub.snapshot(), path, rowsOf(DataType::all)).size();
  std::size_t const config = leavesOf(hub.snapshot(), path, rowsOf(DataType::config)).size();
  std::size_t const state = leavesOf(hub.snapshot(), path, rowsOf(DataType::state)).size();
  EXPECT_EQ(config + state, all);
  EXPECT_GT(config, 0U);
  EXPECT_GT(state, 0U);
}

TEST_F(GnmiGet, G3WhatIsAbsentIsNotFoundUnlessItIsAWildcard) {
  EXPECT_EQ(refusalOf("/stp/interfaces/interface[name=E3]"),
            "5 /stp/interfaces/interface[name=E3]: there is nothing now");
  EXPECT_EQ(refusalOf("/stp/global/state/enabled-protocol"),
            "5 /stp/global/state/enabled-protocol: there is nothing now");
  EXPECT_EQ(failureOf([&] {
              leavesOf(hub.snapshot(), resolve(pathFrom("/stp/global/state/enabled-protocol")),
                       rowsOf(DataType::all));
            }),
            "5 /stp/global/state/enabled-protocol: there is nothing now");
  EXPECT_THAT(subtrees("/stp/*/state/enabled-protocol"), IsEmpty());
  EXPECT_THAT(subtrees("/stp/interfaces/*[name=E3]"), IsEmpty());
}

TEST_F(GnmiGet, LeavesAreInTheOrderOfPaths) {
  std::vector<std::string> names;
  for (LeafRef const& leaf :
       leavesOf(hub.snapshot(), resolve(pathFrom("/.../state/*")), rowsOf(DataType::all))) {
    names.push_back(textOf(leaf));
  }
  std::string const interface = "/stp/interfaces/interface[name=";
  EXPECT_THAT(names,
              ElementsAre("/stp/global/state/bpdu-guard", interface + "E2]/state/name",
                          interface + "E2]/state/edge-port", interface + "E2]/state/link-type",
                          interface + "E10]/state/name", interface + "E10]/state/edge-port",
                          interface + "E10]/state/link-type",
                          "/stp/mstp/mst-instances/mst-instance[mst-id=20]/state/mst-id",
                          "/stp/mstp/mst-instances/mst-instance[mst-id=20]/state/bridge-priority"));
}

}  // namespace
}  // namespace Agent::Gnmi
