// What configuration becomes: every attribute of the configured sources, in every mode.
#include "agent/sources/sonic/Mapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/sources/sonic/SonicTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SonicConfiguration : public SonicTest {
 protected:
  void mode(char const* mode) { write(configuration, "STP|GLOBAL", {{"mode", mode}}); }
  Json inputPort(char const* attribute) {
    return at(std::string("/input/portConfig/Ethernet0/") + attribute);
  }
};

TEST_F(SonicConfiguration, ModesAndTheInstanceOfEach) {
  struct Case {
    char const* mode;
    int number;
    char const* instance;
  };
  EXPECT_EQ(at("/input/mode"), -1);
  EXPECT_EQ(at("/input/stpiConfig"), Json::object());
  for (Case const& each : {Case{"mst", 3, "Mst"},
                           {"rpvst", 101, "Rapid-pvst"},
                           {"rstp", 2, "Rst"},
                           {"pvst", 100, "Rapid-pvst"}}) {
    mode(each.mode);
    EXPECT_EQ(at("/input/mode"), each.number);
    EXPECT_EQ(at("/input/stpiConfig"), Json({{each.instance, {{"mstiConfig", Json::object()}}}}));
    EXPECT_EQ(at("/status/activeProtocol"), -1);
    EXPECT_EQ(at("/status/stpiStatus"), Json::object());
  }
}

TEST_F(SonicConfiguration, AnUnreadableModeIsAsNoRow) {
  mode("mst");
  mode("mstp");
  EXPECT_EQ(at("/input/mode"), -1);
  EXPECT_EQ(at("/input/stpiConfig"), Json::object());
  EXPECT_THAT(complaints(), ElementsAre("CONFIG_DB \"STP|GLOBAL\": mode: \"mstp\" can't be read"));
  mode("");
  EXPECT_EQ(at("/input/mode"), -1);
  EXPECT_THAT(complaints(), IsEmpty());
  mode("rstp");
  erase(configuration, "STP|GLOBAL");
  EXPECT_EQ(at("/input/mode"), -1);
}

TEST_F(SonicConfiguration, RegionIsThatOfBoth) {
  write(configuration, "STP_MST|GLOBAL", {{"name", "west"}, {"revision", "7"}});
  for (char const* const where : {"/input/mstConfig", "/config/mstConfig"}) {
    EXPECT_EQ(at(where),
              Json({{"regionName", "west"}, {"revision", 7}, {"vidToMsti", Json::array()}}));
  }
  write(configuration, "STP_MST|GLOBAL", {{"name", ""}, {"revision", "65536"}});
  EXPECT_EQ(at("/input/mstConfig/regionName"), "");
  EXPECT_EQ(at("/input/mstConfig/revision"), 0);
  EXPECT_THAT(complaints(),
              ElementsAre("CONFIG_DB \"STP_MST|GLOBAL\": revision: \"65536\" can't be read"));
  write(configuration, "STP_MST|GLOBAL", {{"name", "we\xFFst"}, {"revision", "65535"}});
  EXPECT_EQ(at("/input/mstConfig/regionName"), "we\xEF\xBF\xBDst");
  EXPECT_EQ(at("/config/mstConfig/revision"), 65535);
}

TEST_F(SonicConfiguration, VlansOfInstancesAreExpandedAndSorted) {
  mode("mst");
  write(configuration, "STP_MST_INST|MST_INSTANCE|2", {{"vlan_list", "30,10-11"}});
  write(configuration, "STP_MST_INST|1", {{"vlan@", "20,5"}});
  write(configuration, "STP_MST_INST|0", {{"vlan_list", "1-4094"}});
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[5,1],[10,2],[11,2],[20,1],[30,2]]"));
  EXPECT_EQ(at("/config/mstConfig/vidToMsti"), Json::array());
  write(configuration, "STP_MST_INST|1", {{"vlan_list", "40"}});
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"),
            Json::parse("[[5,1],[10,2],[11,2],[20,1],[30,2],[40,1]]"));
  write(configuration, "STP_MST_INST|1", {{"vlan_list", "40-39"}});
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[5,1],[10,2],[11,2],[20,1],[30,2]]"));
  EXPECT_THAT(complaints(), ElementsAre("CONFIG_DB \"STP_MST_INST|1\": vlan_list: \"40-39\" "
                                        "can't be read"));
  mode("rpvst");
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::array());
}

TEST_F(SonicConfiguration, AVlanInTwoInstancesRefusesTheHigher) {
  mode("mst");
  write(configuration, "STP_MST_INST|MST_INSTANCE|5", {{"vlan_list", "10,50"}});
  write(configuration, "STP_MST_INST|MST_INSTANCE|6", {{"vlan_list", "50,60"}});
  write(configuration, "STP_MST_INST|MST_INSTANCE|3", {{"vlan_list", "10"}});
  // 6 has its VLAN 50 now that 5 is left out.
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[10,3],[50,6],[60,6]]"));
  EXPECT_TRUE(at("/input/stpiConfig/Mst/mstiConfig").contains("MST6"));
  EXPECT_FALSE(at("/input/stpiConfig/Mst/mstiConfig").contains("MST5"));
  EXPECT_THAT(complaints(),
              ElementsAre("CONFIG_DB \"STP_MST_INST|MST_INSTANCE|6\": VLAN 50 is in instance 5, "
                          "too, and this one is left out",
                          "CONFIG_DB \"STP_MST_INST|MST_INSTANCE|5\": VLAN 10 is in instance 3, "
                          "too, and this one is left out"));
  erase(configuration, "STP_MST_INST|MST_INSTANCE|3");
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[10,5],[50,5]]"));
}

TEST_F(SonicConfiguration, InstancesAreThereInMstAloneAndWhereTheyHaveARow) {
  write(configuration, "STP_MST_INST|MST_INSTANCE:INSTANCE0", {{"bridge_priority", "8192"}});
  write(configuration, "STP_MST_INST|MST_INSTANCE|5");
  mode("rstp");
  EXPECT_EQ(at("/input/stpiConfig/Rst/mstiConfig"), Json::object());
  mode("mst");
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig"),
            Json::parse(R"({"Cist":{"mstiId":0,"bridgePriority":8192},
                            "MST5":{"mstiId":5,"bridgePriority":32768}})"));
  write(configuration, "STP_MST_INST|MST_INSTANCE|5", {{"bridge_priority", "61441"}});
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 32768);
  EXPECT_EQ(complaints().size(), 1U);
  erase(configuration, "STP_MST_INST|MST_INSTANCE:INSTANCE0");
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/Cist"), absent());
}

TEST_F(SonicConfiguration, FormsOfOneInstanceAreMergedFieldByField) {
  mode("mst");
  write(configuration, "STP_MST_INST|MST_INSTANCE:INSTANCE5",
        {{"bridge_priority", "4096"}, {"vlan_list", "10"}, {"vlan@", "40"}});
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 4096);
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[10,5],[40,5]]"));
  write(configuration, "STP_MST_INST|5", {{"bridge_priority", "8192"}, {"vlan_list", "20"}});
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 8192);
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[20,5],[40,5]]"));
  write(configuration, "STP_MST_INST|MST_INSTANCE|5", {{"bridge_priority", "12288"}});
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 12288);
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[20,5],[40,5]]"));
  erase(configuration, "STP_MST_INST|5");
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::parse("[[10,5],[40,5]]"));
  erase(configuration, "STP_MST_INST|MST_INSTANCE|5");
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 4096);
  write(configuration, "STP_MST_INST|5", {{"bridge_priority", "8192"}});
  erase(configuration, "STP_MST_INST|MST_INSTANCE:INSTANCE5");
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 8192);
  EXPECT_EQ(at("/input/mstConfig/vidToMsti"), Json::array());
  erase(configuration, "STP_MST_INST|5");
  EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5"), absent());
}

TEST_F(SonicConfiguration, APortIsThereWithItsRow) {
  write(configuration, "STP_PORT|Ethernet0", {{"enabled", "false"}});
  EXPECT_EQ(at("/input/portConfig"), Json::parse(R"({"Ethernet0":{"linkType":0,
      "edgePortEnable":false,"edgePortAuto":false,"edgePortDisable":false,"bpduguard":0}})"));
  EXPECT_EQ(at("/config/portConfig"),
            Json::parse(R"({"Ethernet0":{"adminEdgePort":false,"bpduguard":0}})"));
  write(configuration, "STP_PORT|Ethernet4");  // a row without fields
  EXPECT_NE(at("/input/portConfig/Ethernet4"), absent());
  erase(configuration, "STP_PORT|Ethernet0");
  EXPECT_EQ(at("/input/portConfig/Ethernet0"), absent());
  EXPECT_EQ(at("/config/portConfig/Ethernet0"), absent());
}

TEST_F(SonicConfiguration, LinkTypeCountsInEveryMode) {
  for (char const* const each : {"mst", "rstp", "pvst", "rpvst", ""}) {
    mode(each);
    write(configuration, "STP_PORT|Ethernet0", {{"link_type", "point-to-point"}});
    EXPECT_EQ(inputPort("linkType"), 1) << each;
    write(configuration, "STP_PORT|Ethernet0", {{"link_type", "shared"}});
    EXPECT_EQ(inputPort("linkType"), 2) << each;
    write(configuration, "STP_PORT|Ethernet0", {{"link_type", "auto"}});
    EXPECT_EQ(inputPort("linkType"), 0) << each;
  }
}

TEST_F(SonicConfiguration, EachModeHasItsOwnEdgeSetting) {
  write(configuration, "STP_PORT|Ethernet0", {{"edge_port", "true"}, {"portfast", "false"}});
  struct Case {
    char const* mode;
    bool enable;
    bool disable;
  };
  for (Case const& each : {Case{"mst", true, false},
                           {"rstp", true, false},
                           {"pvst", false, true},
                           {"rpvst", false, true},
                           {"", false, false}}) {
    mode(each.mode);
    EXPECT_EQ(inputPort("edgePortEnable"), each.enable) << each.mode;
    EXPECT_EQ(inputPort("edgePortDisable"), each.disable) << each.mode;
    EXPECT_EQ(inputPort("edgePortAuto"), false) << each.mode;
    EXPECT_EQ(at("/config/portConfig/Ethernet0/adminEdgePort"), each.enable) << each.mode;
  }
  mode("mst");
  write(configuration, "STP_PORT|Ethernet0", {{"edge_port", ""}});
  EXPECT_EQ(inputPort("edgePortEnable"), false);
  EXPECT_EQ(inputPort("edgePortDisable"), false);
}

TEST_F(SonicConfiguration, BpduGuardIsOnOffOrNotSaid) {
  for (auto const& [text, value] : {std::pair{"true", 1}, {"false", 2}, {"", 0}, {"maybe", 0}}) {
    write(configuration, "STP_PORT|Ethernet0", {{"bpdu_guard", text}});
    EXPECT_EQ(inputPort("bpduguard"), value) << text;
    EXPECT_EQ(at("/config/portConfig/Ethernet0/bpduguard"), value) << text;
  }
  EXPECT_EQ(at("/input/portfastBpduguard"), false);
  EXPECT_EQ(at("/config/portfastBpduguard"), false);
}

TEST_F(SonicConfiguration, DisabledVlansAreThoseOfTheModesByVlan) {
  write(configuration, "STP_VLAN|Vlan10", {{"enabled", "false"}});
  write(configuration, "STP_VLAN|Vlan20", {{"enabled", "true"}});
  write(configuration, "STP_VLAN|Vlan30", {{"priority", "4096"}});
  for (char const* const each : {"", "mst", "pvst", "rstp", "rpvst"}) {
    mode(each);
    bool const counts = std::string_view(each).ends_with("pvst");
    Json const expected = counts ? Json({{"10", true}}) : Json::object();
    EXPECT_EQ(at("/input/disabledVlan"), expected) << each;
    EXPECT_EQ(at("/config/disabledVlan"), expected) << each;
  }
  write(configuration, "STP_VLAN|Vlan10", {{"enabled", "true"}});
  EXPECT_EQ(at("/input/disabledVlan"), Json::object());
}

TEST_F(SonicConfiguration, AVlanExistsIfEitherDatabaseSaysSo) {
  write(configuration, "VLAN|Vlan10");
  write(state, "VLAN_TABLE|Vlan20", {{"state", "ok"}});
  write(state, "VLAN_TABLE|Vlan30", {{"state", "error"}});
  write(state, "VLAN_TABLE|Vlan40");
  EXPECT_EQ(at("/vlanConfigDir/vlanConfig"), Json::parse(R"({"10":true,"20":true})"));
  write(state, "VLAN_TABLE|Vlan10", {{"state", "ok"}});
  erase(configuration, "VLAN|Vlan10");
  EXPECT_EQ(at("/vlanConfigDir/vlanConfig"), Json::parse(R"({"10":true,"20":true})"));
  erase(state, "VLAN_TABLE|Vlan10");
  EXPECT_EQ(at("/vlanConfigDir/vlanConfig"), Json::parse(R"({"20":true})"));
}

}  // namespace
}  // namespace Agent::Sonic
