#include "agent/views/document/OpenConfigView.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

class OpenConfigView : public SessionTest {
 protected:
  // What stands at a JSON pointer in the document, or null.
  std::string at(std::string const& pointer) const {
    OrderedJson const stp = openConfigView(targets()).at("openconfig-spanning-tree:stp");
    OrderedJson::json_pointer const path(pointer);
    return stp.contains(path) ? stp.at(path).dump() : "null";
  }

  void create(char const* name) {
    Json const path{"ocInterfaceConfigDir", "interface", name};
    apply(R"({"op":"create","path":)" + path.dump() + "}");
  }

  // A target with everything that the document has to deal with.
  void stageEverything() {
    for (char const* const line : {
             R"({"op":"set","path":["ocGlobalConfig","config"],
                 "value":{"enabledProtocol":[0,1,2,1],"bpduGuard":true,
                          "disabledVlan":[10,[10,12],[12,10],[5,5],10,4094,[1,4094]]}})",
             R"({"op":"set","path":["ocGlobalState","state"],
                 "value":{"enabledProtocol":[2,2],"disabledVlan":[7,7,[8,9],[8,9]]}})",
             R"({"op":"create","path":["ocInterfaceConfigDir","interface","Ethernet10"],
                 "value":{"name":"other","linkType":0,"edgePort":0,"bpduGuard":0}})",
             R"({"op":"create","path":["ocInterfaceConfigDir","interface","Ethernet2"],
                 "value":{"linkType":1,"edgePort":1,"bpduGuard":1}})",
             R"({"op":"create","path":["ocInterfaceConfigDir","interface","Ethernet1"],
                 "value":{"linkType":2,"edgePort":3,"bpduGuard":2}})",
             R"({"op":"create","path":["ocInterfaceConfigDir","interface","a \"b\" <c> \u00e9\n"],
                 "value":{"edgePort":2}})",
             R"({"op":"create","path":["ocInterfaceConfigDir","interface","bell\u0007"]})",
             R"({"op":"set","path":["ocInterfaceStateDir","state","Ethernet2"],
                 "value":{"edgePort":0,"bpduGuard":1}})",
             R"({"op":"set","path":["ocInterfaceStateDir","state","Ethernet3"],"value":{}})",
             R"({"op":"set","path":["ocInterfaceStateDir","state","\ufdd0"],"value":{}})",
             R"({"op":"create","path":["ocMstiConfigDir","mstInstance",0],"value":{"vlan":[1]}})",
             R"({"op":"create","path":["ocMstiConfigDir","mstInstance",4095]})",
             R"({"op":"create","path":["ocMstiConfigDir","mstInstance",100],
                 "value":{"mstId":7,"bridgePriority":61440,"vlan":[[10,20],30,30]}})",
             R"({"op":"create","path":["ocMstiConfigDir","mstInstance",1]})",
             R"({"op":"set","path":["ocMstiStateDir","state",1],
                 "value":{"bridgePriority":4097,"vlan":[4094,1]}})",
             R"({"op":"set","path":["ocMstiStateDir","state",20],"value":{}})",
             R"({"op":"set","path":["ocMstiStateDir","state",0],"value":{}})",
         }) {
      apply(line);
    }
  }

  // The same for what the operation has, of all kinds of trees.
  void stageOperation() {
    for (char const* const line : {
             R"({"op":"set","path":["ocRstpConfig","record"],"value":{"helloTime":2,"maxHop":9}})",
             R"({"op":"set","path":["ocRstpState","record"],"value":{"maxAge":41}})",
             R"({"op":"set","path":["ocMstpConfig","record"],
                 "value":{"name":"region","revision":7,"maxHop":20,"helloTime":2}})",
             R"({"op":"set","path":["ocMstpState","record"],"value":{"holdCount":6}})",
             R"({"op":"set","path":["ocTreeConfigDir","record","Rst"],
                 "value":{"bridgePriority":4096}})",
             R"({"op":"set","path":["ocTreeConfigDir","record","Cist"],
                 "value":{"bridgePriority":32768}})",
             R"({"op":"set","path":["ocTreeConfigDir","record","MST7"],
                 "value":{"bridgePriority":32768}})",
             R"({"op":"set","path":["ocTreeStateDir","record","Rst"],
                 "value":{"bridge":"1.000.3E:7A:D2:FA:71:E9","rootPort":0}})",
             R"({"op":"set","path":["ocTreeStateDir","record","Cist"],
                 "value":{"bridge":"8.000.3E:7A:D2:FA:71:E9","topologyChanges":3,
                          "lastTopologyChange":1763794800123456789,
                          "regionalRoot":"8.000.3E:7A:D2:FA:71:E9","regionalRootCost":0}})",
             R"({"op":"set","path":["ocTreeStateDir","record","MST20"],
                 "value":{"bridge":"8.014.3E:7A:D2:FA:71:E9","rootCost":20000}})",
             R"({"op":"set","path":["ocTreeStateDir","record","MST4095"],
                 "value":{"rootCost":20000}})",
             R"({"op":"set","path":["ocTreePortConfigDir","record","Rst/E1"],
                 "value":{"portPriority":128}})",
             R"({"op":"set","path":["ocTreePortCountersDir","record","Rst/E2"],
                 "value":{"bpduSent":1,"bpduReceived":18446744073709551615}})",
             R"({"op":"set","path":["ocTreePortStateDir","record","Cist/E10"],
                 "value":{"port":"8.00A","disputed":false}})",
             R"({"op":"set","path":["ocTreePortStateDir","record","Cist/E9"],
                 "value":{"role":0,"portState":4,"disputed":true,"master":true}})",
             R"({"op":"set","path":["ocTreePortCountersDir","record","Cist/E9"],
                 "value":{"bpduSent":12}})",
             R"({"op":"set","path":["ocTreePortStateDir","record","MST5/E10"],
                 "value":{"role":1,"forwardTransitions":1,"disputed":true,"master":false}})",
             R"({"op":"set","path":["ocTreePortConfigDir","record","MST5/E9"],
                 "value":{"portPriority":0}})",
             R"({"op":"set","path":["ocTreePortCountersDir","record","MST5/E9"],
                 "value":{"bpduSent":12}})",
             R"({"op":"set","path":["ocTreePortConfigDir","record","MST5/bell\u0007"],
                 "value":{"portPriority":16}})",
             R"({"op":"set","path":["ocProtectionConfigDir","record","Ethernet2"],
                 "value":{"guard":0,"bpduFilter":false}})",
             R"({"op":"set","path":["ocProtectionStateDir","record","E3"],
                 "value":{"guard":2,"bpduGuardError":true}})",
         }) {
      apply(line);
    }
  }
};

TEST_F(OpenConfigView, EmptyListsAndContainersAreLeftOut) {
  EXPECT_EQ(openConfigView(targets()).dump(),
            R"({"openconfig-spanning-tree:stp":)"
            R"({"global":{"config":{"bpdu-guard":false},"state":{"bpdu-guard":false}}}})");
}

TEST_F(OpenConfigView, GlobalHasQualifiedIdentitiesAndTheAugmentation) {
  stageEverything();
  EXPECT_EQ(at("/global/config"),
            R"({"enabled-protocol":["openconfig-spanning-tree-types:RSTP",)"
            R"("openconfig-spanning-tree-types:MSTP",)"
            R"("openconfig-spanning-tree-types:RAPID_PVST"],"bpdu-guard":true,)"
            R"("stp-openconfig-disabled-vlan:disabled-vlan":)"
            R"([10,"10..12","12..10","5..5",4094,"1..4094"]})");
  EXPECT_EQ(at("/global/state"),
            R"({"enabled-protocol":["openconfig-spanning-tree-types:RAPID_PVST"],)"
            R"("bpdu-guard":false,)"
            R"("stp-openconfig-disabled-vlan:disabled-vlan":[7,"8..9"]})");
}

TEST_F(OpenConfigView, InterfacesHaveConfigAndWhereReportedState) {
  stageEverything();
  EXPECT_EQ(at("/interfaces/interface/0"), R"({"name":"Ethernet1","config":{"name":"Ethernet1"}})");
  EXPECT_EQ(at("/interfaces/interface/1"),
            R"({"name":"Ethernet2",)"
            R"("config":{"name":"Ethernet2",)"
            R"("edge-port":"openconfig-spanning-tree-types:EDGE_DISABLE",)"
            R"("link-type":"SHARED","bpdu-guard":true},)"
            R"("state":{"name":"Ethernet2",)"
            R"("edge-port":"openconfig-spanning-tree-types:EDGE_ENABLE",)"
            R"("link-type":"P2P","bpdu-guard":true}})");
  EXPECT_EQ(at("/interfaces/interface/2"),
            R"({"name":"Ethernet3","config":{"name":"Ethernet3"},)"
            R"("state":{"name":"Ethernet3",)"
            R"("edge-port":"openconfig-spanning-tree-types:EDGE_AUTO","link-type":"P2P"}})");
  EXPECT_EQ(at("/interfaces/interface/3"),
            R"({"name":"Ethernet10","config":{"name":"Ethernet10",)"
            R"("edge-port":"openconfig-spanning-tree-types:EDGE_ENABLE",)"
            R"("link-type":"P2P","bpdu-guard":false}})");
  EXPECT_EQ(at("/interfaces/interface/4/name"), R"("a \"b\" <c> é\n")");
}

TEST_F(OpenConfigView, NamesThatYangHasNotAreLeftOut) {
  for (char const* const name :
       {"a\x01", "\x07z", "\x1F", "\xEF\xB7\x90", "\xEF\xB7\xAF", "\xEF\xBF\xBE", "a\xEF\xBF\xBF",
        "\xF0\x9F\xBF\xBE", "\xF0\x9F\xBF\xBF", "\xF0\xAF\xBF\xBE", "\xF0\xBF\xBF\xBFz",
        "\xF3\xBF\xBF\xBE", "\xF4\x8F\xBF\xBF"}) {
    SCOPED_TRACE(Json(name).dump(-1, ' ', true));
    create(name);
    EXPECT_EQ(at("/interfaces"), "null");
    apply(R"({"op":"clear","path":["ocInterfaceConfigDir","interface"]})");
  }
}

TEST_F(OpenConfigView, NamesThatYangHasAreThere) {
  for (char const* const name :
       {"\t", "a\n", "\r", " ", "\x7F", "\xEF\xB7\x8F", "\xEF\xB7\xB0", "\xEF\xBF\xBD",
        "\xEF\xBE\xBE", "\xF0\x9F\xBF\xBD", "\xF0\x90\x80\x80", "\xF0\x9E\xBF\xBF",
        "\xF4\x8F\xBF\xBD", "\xC3\xBF", "\xE1\xBF\xBE"}) {
    SCOPED_TRACE(Json(name).dump(-1, ' ', true));
    create(name);
    EXPECT_EQ(at("/interfaces/interface/0/name"), OrderedJson(name).dump());
    EXPECT_EQ(at("/interfaces/interface/1"), "null");
    apply(R"({"op":"clear","path":["ocInterfaceConfigDir","interface"]})");
  }
}

TEST_F(OpenConfigView, AllOfWhatIsStagedIsThereButWhatTheModelHasNot) {
  stageEverything();
  EXPECT_EQ(at("/interfaces/interface/5"), "null");
  EXPECT_EQ(at("/mstp/mst-instances/mst-instance/3"), "null");
}

TEST_F(OpenConfigView, InstancesAreThoseThatTheModelKnows) {
  stageEverything();
  EXPECT_EQ(at("/mstp/mst-instances/mst-instance"),
            R"([{"mst-id":1,"config":{"mst-id":1,"bridge-priority":32768},)"
            R"("state":{"mst-id":1,"vlan":[4094,1],"bridge-priority":4097}},)"
            R"({"mst-id":20,"config":{"mst-id":20},)"
            R"("state":{"mst-id":20,"bridge-priority":32768}},)"
            R"({"mst-id":100,"config":{"mst-id":100,"vlan":["10..20",30],)"
            R"("bridge-priority":61440}}])");
}

TEST_F(OpenConfigView, CistAloneLeavesTheInstancesOut) {
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",0]})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",4095],"value":{}})");
  EXPECT_EQ(at("/mstp"), "null");
}

TEST_F(OpenConfigView, RstpHasItsTreeAndItsPorts) {
  stageOperation();
  EXPECT_EQ(at("/rstp"),
            R"({"config":{"hello-time":2,"bridge-priority":4096},)"
            R"("state":{"bridge-priority":4096,"bridge-address":"3E:7A:D2:FA:71:E9",)"
            R"("root-port":0},)"
            R"("interfaces":{"interface":[)"
            R"({"name":"E1","config":{"name":"E1","port-priority":128}},)"
            R"({"name":"E2","config":{"name":"E2"},"state":{"name":"E2",)"
            R"("counters":{"bpdu-sent":"1","bpdu-received":"18446744073709551615"}}}]}})");
}

TEST_F(OpenConfigView, CistIsOfAModuleOfItsOwn) {
  stageOperation();
  EXPECT_EQ(at("/mstp/stp-openconfig-cist:cist"),
            R"({"config":{"bridge-priority":32768},)"
            R"("state":{"bridge-priority":32768,"bridge-address":"3E:7A:D2:FA:71:E9",)"
            R"("topology-changes":"3","last-topology-change":"1763794800123456789",)"
            R"("regional-root-priority":32768,"regional-root-address":"3E:7A:D2:FA:71:E9",)"
            R"("regional-root-cost":0},)"
            R"("interfaces":{"interface":[)"
            R"({"name":"E9","config":{"name":"E9"},"state":{"name":"E9",)"
            R"("role":"openconfig-spanning-tree-types:ROOT",)"
            R"("port-state":"openconfig-spanning-tree-types:FORWARDING","disputed":true,)"
            R"("counters":{"bpdu-sent":"12"}}},)"
            R"({"name":"E10","config":{"name":"E10"},"state":{"name":"E10","port-num":10,)"
            R"("port-priority":128,"disputed":false}}]}})");
}

TEST_F(OpenConfigView, InstancesAreThereForTheirTreesAndPorts) {
  stageOperation();
  EXPECT_EQ(at("/mstp/mst-instances/mst-instance"),
            R"([{"mst-id":5,"config":{"mst-id":5},"interfaces":{"interface":[)"
            R"({"name":"E9","config":{"name":"E9"}},)"
            R"({"name":"E10","config":{"name":"E10"},"state":{"name":"E10",)"
            R"("role":"openconfig-spanning-tree-types:DESIGNATED",)"
            R"("stp-openconfig-cist:disputed":true,"stp-openconfig-cist:master":false}}]}},)"
            R"({"mst-id":20,"config":{"mst-id":20},"state":{"mst-id":20,)"
            R"("bridge-address":"3E:7A:D2:FA:71:E9","root-cost":20000}}])");
}

TEST_F(OpenConfigView, MstpHasItsParametersBesideItsTrees) {
  stageOperation();
  EXPECT_EQ(at("/mstp/config"), R"({"name":"region","revision":7,"max-hop":20,"hello-time":2})");
  EXPECT_EQ(at("/mstp/state"), R"({"hold-count":6})");
}

TEST_F(OpenConfigView, InterfacesHaveTheirProtection) {
  stageEverything();
  stageOperation();
  EXPECT_EQ(at("/interfaces/interface/0"),
            R"({"name":"E3","config":{"name":"E3"},"state":{"name":"E3","guard":"NONE",)"
            R"("stp-openconfig-cist:bpdu-guard-error":true}})");
  EXPECT_EQ(at("/interfaces/interface/2/config"),
            R"({"name":"Ethernet2","edge-port":"openconfig-spanning-tree-types:EDGE_DISABLE",)"
            R"("link-type":"SHARED","bpdu-guard":true,"guard":"ROOT","bpdu-filter":false})");
}

TEST_F(OpenConfigView, OrderIsThatOfTheSchemaWhateverIsThere) {
  stageOperation();
  stageEverything();
  std::vector<std::string> names;
  OrderedJson const document = openConfigView(targets());
  for (char const* const path : {"", "/mstp"}) {
    for (auto const& [name, value] :
         document.at("openconfig-spanning-tree:stp").at(OrderedJson::json_pointer(path)).items()) {
      names.push_back(name);
    }
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"global", "interfaces", "rstp", "mstp", "config", "state",
                                      "mst-instances", "stp-openconfig-cist:cist"}));
}

TEST_F(OpenConfigView, ValidatesAgainstTheModels) {
  char const* const models = std::getenv("OPENCONFIG_YANG_DIR");
  if (models == nullptr) {
    GTEST_SKIP() << "OPENCONFIG_YANG_DIR doesn't name a folder with the public models";
  }
  stageEverything();
  stageOperation();
  std::string const document = testing::TempDir() + "openconfig-view.json";
  std::ofstream(document) << openConfigView(targets()).dump(2);
  std::string const models_(models);
  std::string const command = "yanglint -t get -p '" + models_ + "' '" + models_ +
                              "/openconfig-spanning-tree.yang' '" + models_ +
                              "/openconfig-spanning-tree-types.yang' '" STP_YANG_DIR "'/*.yang '" +
                              document + "'";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0) << command;
  std::filesystem::remove(document);
}

}  // namespace
}  // namespace Agent
