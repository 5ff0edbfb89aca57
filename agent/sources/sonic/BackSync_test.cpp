#include "agent/sources/sonic/BackSync.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

#include "agent/sources/sonic/SonicTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SonicBackSync : public SonicTest {
 protected:
  SonicBackSync() {
    mode("pvst");
    write(configuration, "VLAN|Vlan10");
    write(configuration, "VLAN|Vlan20");
    write(configuration, "VLAN|Vlan30");
    write(state, "VLAN_TABLE|Vlan40", {{"state", "ok"}});
    write(configuration, "STP_VLAN|Vlan10", {{"enabled", "true"}});
    write(configuration, "STP_VLAN|Vlan20", {{"enabled", "false"}});
  }
  void mode(char const* mode) { write(configuration, "STP|GLOBAL", {{"mode", mode}}); }
  Writes writesOf(std::initializer_list<std::uint16_t> disabled) const {
    Stp::VlanSet set;
    for (std::uint16_t const vlan : disabled) {
      set.insert(vlan);
    }
    return mapping.writesOfDisabledVlans(set);
  }
  std::string refusalOf(std::initializer_list<std::uint16_t> disabled) const {
    Writes const writes = writesOf(disabled);
    EXPECT_TRUE(writes.refusal.empty() || writes.writes.empty());
    return writes.refusal;
  }
};

TEST_F(SonicBackSync, OnlyDifferencesAreWritten) {
  EXPECT_THAT(writesOf({20}).writes, IsEmpty());
  EXPECT_THAT(writesOf({10}).writes, ElementsAre(Write{"STP_VLAN|Vlan10", "enabled", "false"},
                                                 Write{"STP_VLAN|Vlan20", "enabled", "true"}));
  // A VLAN without a row is not disabled.
  EXPECT_THAT(writesOf({20, 30}).writes, ElementsAre(Write{"STP_VLAN|Vlan30", "enabled", "false"}));
}

TEST_F(SonicBackSync, AllThatTheDecisionRestsOnIsWatched) {
  erase(configuration, "VLAN|Vlan20");
  for (Writes const& writes : {writesOf({20, 50}), writesOf({10, 50}), writesOf({50})}) {
    EXPECT_THAT(writes.watched, ElementsAre("STP|GLOBAL", "VLAN|Vlan10", "STP_VLAN|Vlan10",
                                            "VLAN|Vlan20", "STP_VLAN|Vlan20", "VLAN|Vlan30",
                                            "STP_VLAN|Vlan30", "VLAN|Vlan50", "STP_VLAN|Vlan50"));
  }
  mode("mst");
  EXPECT_THAT(writesOf({20}).watched, ElementsAre("STP|GLOBAL"));
}

TEST_F(SonicBackSync, WhatIsDisabledIsKnown) {
  Stp::VlanSet twenty;
  twenty.insert(20);
  EXPECT_EQ(mapping.disabledVlans(), twenty);
  mode("mst");
  EXPECT_EQ(mapping.disabledVlans(), Stp::VlanSet());
}

TEST_F(SonicBackSync, AVlanThatIsNotConfiguredIsRefusedByItsId) {
  EXPECT_EQ(refusalOf({20, 50}), "disabled-vlan: there is no VLAN 50");
  EXPECT_EQ(refusalOf({10, 40, 50}), "disabled-vlan: there is no VLAN 40");
  EXPECT_EQ(refusalOf({20}), "");
  erase(configuration, "VLAN|Vlan20");
  EXPECT_EQ(refusalOf({}), "disabled-vlan: there is no VLAN 20");
  EXPECT_EQ(refusalOf({20}), "");  // nothing is written
}

TEST_F(SonicBackSync, OnlyModesByVlanHaveDisabledVlans) {
  for (char const* const each : {"mst", "rstp", ""}) {
    mode(each);
    EXPECT_EQ(refusalOf({20}),
              "disabled-vlan: SONiC disables VLANs in the modes pvst and rpvst alone")
        << each;
    EXPECT_EQ(refusalOf({}), "") << each;  // so it is
    EXPECT_THAT(writesOf({}).writes, IsEmpty());
  }
  mode("rpvst");
  EXPECT_EQ(refusalOf({20}), "");
}

TEST_F(SonicBackSync, WhatIsWrittenIsWhatWasAskedFor) {
  for (Write const& each : writesOf({10, 30}).writes) {
    write(configuration, each.key, {{each.field, each.value}});
  }
  EXPECT_EQ(at("/input/disabledVlan"), Json::parse(R"({"10":true,"30":true})"));
  EXPECT_THAT(writesOf({10, 30}).writes, IsEmpty());
}

}  // namespace
}  // namespace Agent::Sonic
