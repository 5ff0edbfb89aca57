// What runs: which protocol, on which ports, and what is told of its operation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/sources/sonic/SonicTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SonicOperation : public SonicTest {
 protected:
  void mode(char const* mode) { write(configuration, "STP|GLOBAL", {{"mode", mode}}); }
  // MST with the CIST and one port in it.
  void mst() {
    mode("mst");
    write(application, "_STP_MST_INST_TABLE:0");
    write(application, "_STP_MST_PORT_TABLE:0:Ethernet0");
  }
  void byVlan(char const* which) {
    mode(which);
    write(application, "_STP_VLAN_TABLE:Vlan10");
    write(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  }
  Json cist(char const* attribute) {
    return at(std::string("/operational/tree/Cist/port/Ethernet0/") + attribute);
  }
  Json status(char const* instance, char const* attribute) {
    return at(std::string("/status/stpiStatus/") + instance + "/stpiPortStatus/Ethernet0/" +
              attribute);
  }
};

TEST_F(SonicOperation, OnlyTheTablesOfTheConfiguredModeCount) {
  struct Case {
    char const* mode;
    char const* row;
    int active;
    char const* instance;
  };
  constexpr char const* mstRow = "_STP_MST_INST_TABLE:0";
  constexpr char const* vlanRow = "_STP_VLAN_TABLE:Vlan10";
  for (Case const& each : {Case{"mst", mstRow, 3, "Mst"},
                           {"mst", vlanRow, -1, ""},
                           {"pvst", vlanRow, 100, "Rapid-pvst"},
                           {"pvst", mstRow, -1, ""},
                           {"rpvst", vlanRow, 101, "Rapid-pvst"},
                           {"rpvst", mstRow, -1, ""},
                           {"rstp", vlanRow, 2, "Rst"},
                           {"rstp", mstRow, 2, "Rst"},
                           {"", mstRow, -1, ""},
                           {"", vlanRow, -1, ""}}) {
    SCOPED_TRACE(std::string(each.mode) + " " + each.row);
    mode(each.mode);
    write(application, each.row);
    EXPECT_EQ(at("/status/activeProtocol"), each.active);
    Json const instances = at("/status/stpiStatus");
    if (each.active == -1) {
      EXPECT_EQ(instances, Json::object());
    } else {
      EXPECT_EQ(instances.size(), 1U);
      EXPECT_TRUE(instances.contains(each.instance));
    }
    EXPECT_EQ(at("/operational/running"), each.active == 3);
    erase(application, each.row);
    EXPECT_EQ(at("/status/activeProtocol"), -1);
    EXPECT_EQ(at("/status/stpiStatus"), Json::object());
  }
}

TEST_F(SonicOperation, PortsAreThoseOfTheCistInMst) {
  mst();
  write(application, "_STP_MST_INST_TABLE:5");
  write(application, "_STP_MST_PORT_TABLE:5:Ethernet4");
  write(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet8");
  Json const ports = at("/status/stpiStatus/Mst/stpiPortStatus");
  EXPECT_EQ(ports.size(), 1U);
  EXPECT_TRUE(ports.contains("Ethernet0"));
  erase(application, "_STP_MST_PORT_TABLE:0:Ethernet0");
  EXPECT_EQ(at("/status/stpiStatus/Mst/stpiPortStatus"), Json::object());
}

TEST_F(SonicOperation, PortsAreThoseOfAnyVlanElsewhere) {
  byVlan("pvst");
  write(application, "_STP_VLAN_PORT_TABLE:Vlan20:Ethernet0");
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet4");
  erase(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  Json const ports = at("/status/stpiStatus/Rapid-pvst/stpiPortStatus");
  EXPECT_EQ(ports.size(), 1U);
  EXPECT_TRUE(ports.contains("Ethernet0"));
  EXPECT_EQ(at("/status/stpiStatus/Rapid-pvst/mstiStatus"), Json::object());
  erase(application, "_STP_VLAN_PORT_TABLE:Vlan20:Ethernet0");
  EXPECT_EQ(at("/status/stpiStatus/Rapid-pvst/stpiPortStatus"), Json::object());
}

TEST_F(SonicOperation, RstpRunsOnThePortsOfEitherFamily) {
  mode("rstp");
  write(application, "_STP_MST_INST_TABLE:0");
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet0");
  EXPECT_NE(status("Rst", "operEdgePort"), absent());
  write(application, "_STP_VLAN_TABLE:Vlan1");
  write(application, "_STP_VLAN_PORT_TABLE:Vlan1:Ethernet4");
  Json const ports = at("/status/stpiStatus/Rst/stpiPortStatus");
  EXPECT_EQ(ports.size(), 1U);
  EXPECT_TRUE(ports.contains("Ethernet4"));
  EXPECT_EQ(at("/status/stpiStatus/Rst/mstiStatus"), Json::object());
}

TEST_F(SonicOperation, AnEdgeIsWhatOperatesAsOne) {
  struct Case {
    char const* mode;
    char const* field;
    char const* value;
    bool isEdge;
  };
  for (Case const& each : {Case{"pvst", "port_fast", "yes", true},
                           {"pvst", "port_fast", "no", false},
                           {"rpvst", "port_fast", "yes", false},
                           {"pvst", "edge_port", "yes", true},
                           {"rpvst", "edge_port", "yes", true},
                           {"rpvst", "edge_port", "no", false}}) {
    SCOPED_TRACE(std::string(each.mode) + " " + each.field + " " + each.value);
    byVlan(each.mode);
    write(application, "_STP_PORT_TABLE:Ethernet0", {{each.field, each.value}});
    EXPECT_EQ(status("Rapid-pvst", "operEdgePort"), each.isEdge);
    erase(application, "_STP_PORT_TABLE:Ethernet0");
    EXPECT_EQ(status("Rapid-pvst", "operEdgePort"), false);
  }
  mst();
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"port_fast", "yes"}});
  EXPECT_EQ(status("Mst", "operEdgePort"), false);
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"edge_port", "yes"}});
  EXPECT_EQ(status("Mst", "operEdgePort"), true);
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"edge_port", "true"}});
  EXPECT_EQ(status("Mst", "operEdgePort"), false);
  EXPECT_THAT(complaints(), ElementsAre("APPL_DB \"_STP_PORT_TABLE:Ethernet0\": edge_port: "
                                        "\"true\" can't be read"));
}

TEST_F(SonicOperation, ALinkIsPointToPointUnlessSomebodySaysShared) {
  mst();
  EXPECT_EQ(status("Mst", "operPointToPointMac"), true);
  write(configuration, "STP_PORT|Ethernet0", {{"link_type", "auto"}});
  EXPECT_EQ(status("Mst", "operPointToPointMac"), true);
  write(configuration, "STP_PORT|Ethernet0", {{"link_type", "shared"}});
  EXPECT_EQ(status("Mst", "operPointToPointMac"), false);
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"link_type", "auto"}});
  EXPECT_EQ(status("Mst", "operPointToPointMac"), true);
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"link_type", "shared"}});
  EXPECT_EQ(status("Mst", "operPointToPointMac"), false);
}

TEST_F(SonicOperation, InstancesRunInMstAlone) {
  mst();
  write(application, "_STP_MST_INST_TABLE:5", {{"bridge_priority", "4097"}});
  EXPECT_EQ(at("/status/stpiStatus/Mst/mstiStatus"),
            Json::parse(R"({"Cist":{"bridgePriority":32768},"MST5":{"bridgePriority":4097}})"));
  write(application, "_STP_MST_INST_TABLE:5", {{"bridge_priority", "61441"}});
  EXPECT_EQ(at("/status/stpiStatus/Mst/mstiStatus/MST5/bridgePriority"), 32768);
  mode("rstp");
  EXPECT_EQ(at("/status/stpiStatus"),
            Json::parse(R"({"Rst":{"mstiStatus":{},"stpiPortStatus":{"Ethernet0":
                            {"operEdgePort":false,"operPointToPointMac":true}}}})"));
}

TEST_F(SonicOperation, RunningVlansAreThoseOfTheRunningInstances) {
  mst();
  write(configuration, "STP_MST_INST|5", {{"vlan@", "30"}});
  write(application, "_STP_MST_INST_TABLE:0", {{"vlan@", "1,40,"}});
  write(application, "_STP_MST_INST_TABLE:3", {{"vlan@", "10,20,30,40,"}});
  write(application, "_STP_MST_INST_TABLE:5", {{"vlan@", "20,30,"}});
  // 20 is the lowest's, 30 the configured one's, and 40 the CIST's, which is what is configured.
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::parse("[[10,3],[20,3],[30,5]]"));
  write(configuration, "STP_MST_INST|5", {{"vlan@", "20,30"}});
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::parse("[[10,3],[20,5],[30,5]]"));
  mode("rstp");
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::array());
}

TEST_F(SonicOperation, ARowUnderItsOwnNameWins) {
  mst();
  write(application, "_STP_MST_INST_TABLE:5", {{"bridge_priority", "4096"}, {"vlan@", "10,"}});
  write(application, "STP_MST_INST_TABLE:5", {{"bridge_priority", "8192"}});
  EXPECT_EQ(at("/status/stpiStatus/Mst/mstiStatus/MST5/bridgePriority"), 8192);
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::array());
  erase(application, "STP_MST_INST_TABLE:5");
  EXPECT_EQ(at("/status/stpiStatus/Mst/mstiStatus/MST5/bridgePriority"), 4096);
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::parse("[[10,5]]"));
}

TEST_F(SonicOperation, APortUnderTheOwnNameOfItsTableWins) {
  mst();
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", {{"role", "BACKUP"}});
  write(application, "STP_MST_PORT_TABLE:0:Ethernet0", {{"role", "ROOT"}});
  EXPECT_EQ(cist("role"), 1);
  erase(application, "STP_MST_PORT_TABLE:0:Ethernet0");
  EXPECT_EQ(cist("role"), 4);
  write(application, "_STP_PORT_TABLE:Ethernet0", {{"edge_port", "yes"}});
  write(application, "STP_PORT_TABLE:Ethernet0", {{"edge_port", "no"}});
  EXPECT_EQ(status("Mst", "operEdgePort"), false);
  erase(application, "STP_PORT_TABLE:Ethernet0");
  EXPECT_EQ(status("Mst", "operEdgePort"), true);
}

TEST_F(SonicOperation, APortUnderEitherNameIsThere) {
  byVlan("pvst");
  write(application, "STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  erase(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  EXPECT_NE(status("Rapid-pvst", "operEdgePort"), absent());
  write(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  erase(application, "STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  EXPECT_NE(status("Rapid-pvst", "operEdgePort"), absent());
  erase(application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0");
  EXPECT_EQ(status("Rapid-pvst", "operEdgePort"), absent());
}

TEST_F(SonicOperation, RolesAndStatesOfPorts) {
  mst();
  using testing::Eq;
  for (auto const& [text, role] : {std::pair{"ROOT", Json(1)},
                                   {"DESIGNATED", Json(2)},
                                   {"ALTERNATE", Json(3)},
                                   {"BACKUP", Json(4)},
                                   {"MASTER", Json(5)},
                                   {"DISABLED", Json(0)},
                                   {"OTHER", Json()}}) {
    write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", {{"role", text}});
    EXPECT_EQ(cist("role"), role) << text;
  }
  EXPECT_EQ(complaints().size(), 1U);
  for (auto const& [text, port] : {std::pair{"DISCARDING", Json(0)},
                                   {"LEARNING", Json(2)},
                                   {"FORWARDING", Json(3)},
                                   {"ROOT-INC", Json()},
                                   {"OTHER", Json()},
                                   {"", Json()}}) {
    write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", {{"role", "ROOT"}, {"port_state", text}});
    EXPECT_EQ(cist("state"), port) << text;
    EXPECT_EQ(cist("role"), 1) << text;
  }
  EXPECT_THAT(complaints(), ElementsAre("APPL_DB \"_STP_MST_PORT_TABLE:0:Ethernet0\": port_state: "
                                        "\"OTHER\" can't be read"));
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", {{"port_state", "DISABLED"}});
  EXPECT_EQ(cist("role"), 0);  // whose state is shown as such
}

TEST_F(SonicOperation, CostsAndCountersOfTrees) {
  mst();
  Fields const fields{{"path_cost", "2000"}, {"port_number", "17"},    {"fwd_transitions", "3"},
                      {"bpdu_sent", "100"},  {"bpdu_received", "200"}, {"desig_root", "ignored"}};
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", fields);
  write(application, "_STP_MST_PORT_TABLE:5:Ethernet0", fields);
  EXPECT_EQ(at("/operational/tree/MST5"), absent());
  write(application, "_STP_MST_INST_TABLE:5", {{"root_path_cost", "500"}});
  write(application, "_STP_MST_INST_TABLE:0", {{"root_path_cost", "700"}});
  EXPECT_EQ(cist("portId"), "0.011");
  EXPECT_EQ(cist("externalCost"), 2000);
  EXPECT_EQ(cist("internalCost"), Json());
  EXPECT_EQ(cist("forwardTransitions"), 3);
  EXPECT_EQ(cist("bpduSent"), 100);
  EXPECT_EQ(cist("bpduReceived"), 200);
  EXPECT_EQ(cist("designatedRoot"), Json());
  EXPECT_EQ(at("/operational/tree/Cist/externalRootCost"), 700);
  EXPECT_EQ(at("/operational/tree/Cist/internalRootCost"), Json());
  EXPECT_EQ(at("/operational/tree/MST5/internalRootCost"), 500);
  EXPECT_EQ(at("/operational/tree/MST5/port/Ethernet0/internalCost"), 2000);
  EXPECT_EQ(at("/operational/tree/MST5/port/Ethernet0/externalCost"), Json());
  write(application, "_STP_MST_PORT_TABLE:0:Ethernet0", {{"port_number", "4096"}});
  EXPECT_EQ(cist("portId"), Json());
  erase(application, "_STP_MST_INST_TABLE:5");
  EXPECT_EQ(at("/operational/tree/MST5"), absent());
  mode("rstp");
  EXPECT_EQ(at("/operational/tree"), Json::object());
  EXPECT_EQ(at("/operational/running"), false);
}

}  // namespace
}  // namespace Agent::Sonic
