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
  EXPECT_THAT(subtrees("/stp/interfaces", DataType::operational), IsEmpty());
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

// With the CIST, and ports in two instances.
class GnmiGetOfTrees : public GnmiGet {
 protected:
  GnmiGetOfTrees() {
    apply(R"({"op":"set","path":["ocMstpConfig","record"],"value":{"name":"r","helloTime":2}})");
    apply(recordIs("ocTreeConfigDir", "Cist", R"({"bridgePriority":4096})"));
    apply(recordIs("ocTreeStateDir", "MST5", R"({"rootPort":1,"topologyChanges":3})"));
    apply(recordIs("ocTreePortStateDir", "Cist/E1", R"({"role":0,"disputed":true})"));
    apply(recordIs("ocTreePortCountersDir", "Cist/E1", R"({"bpduSent":18446744073709551615})"));
    apply(recordIs("ocTreePortStateDir", "MST5/E10", R"({"role":0,"disputed":false})"));
    apply(recordIs("ocTreePortStateDir", "MST5/E2", R"({"role":1})"));
    apply(recordIs("ocTreePortConfigDir", "MST7/E2", R"({"portPriority":16})"));
  }

  static std::string const list;
  static std::string const module;
  static std::string const types;
};
std::string const GnmiGetOfTrees::list = "/stp/mstp/mst-instances/mst-instance";
std::string const GnmiGetOfTrees::module = "openconfig-spanning-tree:";
std::string const GnmiGetOfTrees::types = "openconfig-spanning-tree-types:";

TEST_F(GnmiGetOfTrees, G4RootIsTheDocument) {
  auto const root = subtreesOf(hub.snapshot(), resolve({}), rowsOf(DataType::all));
  ASSERT_EQ(root.size(), 1U);
  EXPECT_EQ(root[0].value.dump(2), openConfigView(targets()).dump(2));
}

TEST_F(GnmiGetOfTrees, G4EntriesOfTheOuterListHaveTheInnerOneWhole) {
  OrderedJson const instances = openConfigView(targets()).at(
      OrderedJson::json_pointer("/openconfig-spanning-tree:stp/mstp/mst-instances/mst-instance"));
  auto const all = subtreesOf(hub.snapshot(), resolve(pathFrom(list)), rowsOf(DataType::all));
  ASSERT_EQ(all.size(), 3U);  // 5, 7 and 20
  for (std::size_t at = 0; at < all.size(); ++at) {
    OrderedJson bare = OrderedJson::object();
    for (auto const& [name, value] : all[at].value.items()) {
      ASSERT_TRUE(name.starts_with(module)) << name;
      bare[name.substr(module.size())] = value;
    }
    EXPECT_EQ(bare.dump(), instances.at(at).dump());
  }
  EXPECT_EQ(subtrees(list + "[mst-id=5]").size(), 1U);
  EXPECT_THAT(
      subtrees(list + "[mst-id=7]/interfaces"),
      ElementsAre(list + "[mst-id=7]/interfaces {\"" + module +
                  R"(interface":[{"name":"E2","config":{"name":"E2","port-priority":16}}]})"));
}

TEST_F(GnmiGetOfTrees, G4EntriesOfTheInnerListAreOnTheirOwn) {
  std::string const state =
      "{\"" + module + R"(name":"E2",")" + module + R"(role":")" + types + "DESIGNATED\"}";
  std::string const other = "{\"" + module + R"(name":"E10",")" + module + R"(role":")" + types +
                            R"(ROOT","stp-openconfig-cist:disputed":false})";
  std::string const ports = "/interfaces/interface";
  EXPECT_THAT(subtrees(list + ports + "/state"),
              ElementsAre(list + "[mst-id=5]" + ports + "[name=E2]/state " + state,
                          list + "[mst-id=5]" + ports + "[name=E10]/state " + other));
  EXPECT_EQ(subtrees(list + "[mst-id=5]" + ports + "/state"), subtrees(list + ports + "/state"));
  EXPECT_THAT(subtrees(list + ports + "[name=E10]/state"),
              ElementsAre(list + "[mst-id=5]" + ports + "[name=E10]/state " + other));
  EXPECT_THAT(subtrees(list + ports + "[name=E2]/config/name"),
              ElementsAre(list + "[mst-id=5]" + ports + "[name=E2]/config/name \"E2\"",
                          list + "[mst-id=7]" + ports + "[name=E2]/config/name \"E2\""));
  EXPECT_THAT(subtrees(list + "[mst-id=5]" + ports + "[name=E2]/state"),
              ElementsAre(list + "[mst-id=5]" + ports + "[name=E2]/state " + state));
}

TEST_F(GnmiGetOfTrees, G4NamesBelowAnotherModulesNodeAreBareButForTheFirst) {
  EXPECT_THAT(subtrees("/stp/mstp/cist/config"),
              ElementsAre(R"(/stp/mstp/cist/config {"stp-openconfig-cist:bridge-priority":4096})"));
  std::string const ports =
      R"({"interface":[{"name":"E1","config":{"name":"E1"},"state":{"name":"E1","role":")" + types +
      R"(ROOT","disputed":true,"counters":{"bpdu-sent":"18446744073709551615"}}}]})";
  EXPECT_THAT(
      subtrees("/stp/mstp/cist"),
      ElementsAre(R"(/stp/mstp/cist {"stp-openconfig-cist:config":{"bridge-priority":4096},)"
                  R"("stp-openconfig-cist:interfaces":)" +
                  ports + "}"));
  EXPECT_THAT(subtrees("/stp/mstp/cist/interfaces/interface/state/counters"),
              ElementsAre("/stp/mstp/cist/interfaces/interface[name=E1]/state/counters "
                          R"({"stp-openconfig-cist:bpdu-sent":"18446744073709551615"})"));
  EXPECT_THAT(subtrees("/.../bpdu-sent"),
              ElementsAre("/stp/mstp/cist/interfaces/interface[name=E1]/state/counters/bpdu-sent "
                          "\"18446744073709551615\""));
}

TEST_F(GnmiGetOfTrees, G2OperationalStateHasEntriesWithoutTheirConfiguration) {
  EXPECT_THAT(subtrees(list + "[mst-id=5]/interfaces", DataType::operational),
              ElementsAre(list + "[mst-id=5]/interfaces {\"" + module +
                          R"(interface":[{"name":"E2","state":{"role":")" + types +
                          R"(DESIGNATED"}},{"name":"E10","state":{"role":")" + types +
                          R"(ROOT","stp-openconfig-cist:disputed":false}}]})"));
  EXPECT_THAT(subtrees("/stp/mstp/mst-instances", DataType::operational),
              ElementsAre(R"(/stp/mstp/mst-instances {")" + module +
                          R"(mst-instance":[{"mst-id":5,"state":{"root-port":1,)"
                          R"("topology-changes":"3"},"interfaces":{"interface":[)"
                          R"({"name":"E2","state":{"role":")" +
                          types + R"(DESIGNATED"}},{"name":"E10","state":{"role":")" + types +
                          R"(ROOT","stp-openconfig-cist:disputed":false}}]}}]})"));
}

TEST_F(GnmiGetOfTrees, G3WhatIsAbsentIsNotFoundUnlessItIsAWildcard) {
  std::string const port = "/interfaces/interface[name=E1]";
  EXPECT_EQ(refusalOf(list + "[mst-id=5]" + port),
            "5 " + list + "[mst-id=5]" + port + ": there is nothing now");
  EXPECT_THAT(subtrees(list + port), IsEmpty());
  EXPECT_EQ(refusalOf(list + "[mst-id=9]/interfaces"),
            "5 " + list + "[mst-id=9]/interfaces: there is nothing now");
}

}  // namespace
}  // namespace Agent::Gnmi
