// Which keys are read, and as what.
#include "agent/sources/sonic/RowTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/sources/sonic/SonicTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(SonicRows, OnlyWhatIsReadIsMapped) {
  Mapping const mapping;
  struct Case {
    Store store;
    char const* key;
    bool isMapped;
  };
  for (Case const& each : {
           Case{configuration, "STP|GLOBAL", true},
           {configuration, "STP|global", false},
           {configuration, "STP|GLOBAL|1", false},
           {configuration, "STP_MST|GLOBAL", true},
           {configuration, "STP_MST_INST|MST_INSTANCE|5", true},
           {configuration, "STP_MST_INST|what", true},
           {configuration, "STP_MST_PORT|MST_INSTANCE|5|Ethernet0", false},
           {configuration, "STP_PORT|Ethernet0", true},
           {configuration, "STP_VLAN|Vlan10", true},
           {configuration, "STP_VLAN_PORT|Vlan10|Ethernet0", false},
           {configuration, "VLAN|Vlan10", true},
           {configuration, "VLAN_MEMBER|Vlan10|Ethernet0", false},
           {configuration, "STP_PORT:Ethernet0", false},
           {state, "VLAN_TABLE|Vlan10", true},
           {state, "STP_TABLE|GLOBAL", false},
           {state, "STP_PORT|Ethernet0", false},
           {application, "_STP_MST_INST_TABLE:5", true},
           {application, "STP_MST_INST_TABLE:5", true},
           {application, "__STP_MST_INST_TABLE:5", false},
           {application, "STP_MST_INST_TABLE_KEY_SET", false},
           {application, "STP_MST_INST_TABLE_DEL_SET", false},
           {application, "_STP_MST_PORT_TABLE:5:Ethernet0", true},
           {application, "_STP_VLAN_TABLE:Vlan10", true},
           {application, "_STP_VLAN_PORT_TABLE:Vlan10:Ethernet0", true},
           {application, "STP_VLAN_INSTANCE_TABLE:Vlan10", false},
           {application, "STP_PORT_STATE_TABLE:Ethernet0:1", false},
           {application, "_STP_PORT_TABLE:Ethernet0", true},
           {application, "STP_PORT_TABLE_KEY_SET", false},
       }) {
    EXPECT_EQ(mapping.isMapped(each.store, each.key), each.isMapped) << each.key;
  }
}

TEST(SonicRows, APatternForEachDatabase) {
  Mapping const mapping;
  EXPECT_EQ(mapping.pattern(configuration), R"([\S\V]*)");
  EXPECT_EQ(mapping.pattern(state), "VLAN_TABLE|*");
  EXPECT_EQ(mapping.pattern(application), R"([\S\_]*)");
}

TEST(SonicRows, SeparatorsAreThoseOfEachDatabase) {
  Mapping const mapping({.application = "*", .configuration = "::", .state = "/"});
  EXPECT_TRUE(mapping.isMapped(configuration, "STP::GLOBAL"));
  EXPECT_FALSE(mapping.isMapped(configuration, "STP|GLOBAL"));
  EXPECT_TRUE(mapping.isMapped(application, "_STP_PORT_TABLE*Ethernet0"));
  EXPECT_EQ(mapping.pattern(state), "VLAN_TABLE/*");
  EXPECT_EQ(Mapping({.state = "*"}).pattern(state), R"(VLAN_TABLE\**)");

  Mapping read({.application = "*", .configuration = "::", .state = "/"});
  std::vector<RowRead> const rows{
      {configuration, "STP::GLOBAL", Fields{{"mode", "mst"}}},
      {configuration, "STP_MST_INST::MST_INSTANCE|5", Fields{{"vlan_list", "10"}}},
      {application, "_STP_MST_INST_TABLE*0", Fields{}},
      {application, "_STP_MST_PORT_TABLE*0*Ethernet0", Fields{}},
      {state, "VLAN_TABLE/Vlan10", Fields{{"state", "ok"}}}};
  read.scanned(rows);
  Database database;
  database.apply(read.differences(database.sources()));
  EXPECT_TRUE(database.sources().input->stpiConfig("Mst")->mstiConfig("MST5"));
  EXPECT_TRUE(database.sources().status->stpiStatus("Mst")->stpiPortStatus("Ethernet0"));
  EXPECT_TRUE(database.sources().vlanConfigDir->vlanConfig(10));
}

class SonicKeys : public SonicTest {};

TEST_F(SonicKeys, AnInstanceHasManyForms) {
  write(configuration, "STP|GLOBAL", {{"mode", "mst"}});
  for (char const* const form :
       {"MST_INSTANCE|5", "5", "MST_INSTANCE:5", "MST_INSTANCE:Instance5", "MST_INSTANCE:INSTANCE5",
        "MST_INSTANCE|instance5", "mst_instance|5", "Instance5"}) {
    std::string const key = std::string("STP_MST_INST|") + form;
    write(configuration, key, {{"bridge_priority", "4096"}});
    EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig/MST5/bridgePriority"), 4096) << form;
    erase(configuration, key);
    EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig"), Json::object()) << form;
  }
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(SonicKeys, AKeyThatCantBeReadIsRefused) {
  write(configuration, "STP|GLOBAL", {{"mode", "mst"}});
  for (char const* const form :
       {"", "05", "4095", "MST_INSTANCE5", "MST_INSTANCE|", "MST_INSTANCE", "INSTANCE", "-1", "5 ",
        "MST_INSTANCE|MST_INSTANCE|5", "INSTANCE|5", "MST_INSTANCE|5|Ethernet0"}) {
    std::string const key = std::string("STP_MST_INST|") + form;
    write(configuration, key, {{"bridge_priority", "4096"}});
    EXPECT_THAT(complaints(), ElementsAre("CONFIG_DB \"" + key +
                                          "\": this key can't be read, and "
                                          "the row is left out"));
    EXPECT_EQ(at("/input/stpiConfig/Mst/mstiConfig"), Json::object()) << form;
  }
  for (char const* const key :
       {"STP_VLAN|Vlan0", "STP_VLAN|Vlan4095", "STP_VLAN|Vlan010", "STP_VLAN|vlan10", "STP_VLAN|10",
        "VLAN|Vlan", "STP_PORT|", "STP_PORT|Ether\xFFnet"}) {
    write(configuration, key);
    EXPECT_EQ(complaints().size(), 1U) << key;
  }
  for (char const* const key :
       {"_STP_MST_INST_TABLE:x", "_STP_MST_INST_TABLE:INSTANCE5", "_STP_MST_PORT_TABLE:5",
        "_STP_MST_PORT_TABLE:5:", "_STP_MST_PORT_TABLE::Ethernet0", "_STP_VLAN_PORT_TABLE:10:E0",
        "_STP_VLAN_TABLE:10", "_STP_PORT_TABLE:"}) {
    write(application, key);
    EXPECT_EQ(complaints().size(), 1U) << key;
  }
}

TEST_F(SonicKeys, AMemberOfATablesNameThatIsNoRowIsNotToldOf) {
  write(configuration, "STP|OTHER", {{"mode", "mst"}});
  write(application, "STP_MST_INST_TABLE_KEY_SET");
  EXPECT_THAT(complaints(), IsEmpty());
  EXPECT_EQ(at("/input/mode"), -1);
}

TEST_F(SonicKeys, APortsNameMayHoldTheSeparator) {
  write(configuration, "STP|GLOBAL", {{"mode", "mst"}});
  write(application, "_STP_MST_INST_TABLE:0");
  write(application, "_STP_MST_PORT_TABLE:0:Eth:1/1", {{"role", "ROOT"}});
  EXPECT_EQ(at("/operational/tree/Cist/port/Eth:1~11/role"), 1);
}

}  // namespace
}  // namespace Agent::Sonic
