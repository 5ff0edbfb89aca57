#include "agent/sources/sonic/Conversions.h"

#include <gtest/gtest.h>

#include <vector>

#include "agent/sources/sonic/FieldTable.h"

namespace Agent::Sonic {
namespace {

std::vector<unsigned> listed(std::optional<Stp::VlanSet> const& set) {
  std::vector<unsigned> result;
  if (set) {
    for (unsigned vlan = set->next(0); vlan < Stp::VlanSet::size; vlan = set->next(vlan + 1)) {
      result.push_back(vlan);
    }
  }
  return result;
}

TEST(SonicConversions, WordsAreExact) {
  EXPECT_EQ(trueOrFalse("true"), true);
  EXPECT_EQ(trueOrFalse("false"), false);
  EXPECT_EQ(yesOrNo("yes"), true);
  EXPECT_EQ(yesOrNo("no"), false);
  for (char const* const text : {"True", "TRUE", "1", "yes", " true", "true ", "enable"}) {
    EXPECT_EQ(trueOrFalse(text), std::nullopt) << text;
  }
  EXPECT_EQ(yesOrNo("true"), std::nullopt);
  EXPECT_EQ(yesOrNo("Yes"), std::nullopt);
}

TEST(SonicConversions, AnyOtherStateIsNotOkAndAnyOtherLinkNotShared) {
  EXPECT_EQ(isOk("ok"), true);
  EXPECT_EQ(isOk("error"), false);
  EXPECT_EQ(isShared("shared"), true);
  EXPECT_EQ(isShared("point-to-point"), false);
  EXPECT_EQ(isShared("auto"), false);
}

TEST(SonicConversions, ModesWithoutAnIdentityHaveNumbersOfTheirOwn) {
  EXPECT_EQ(mode("mst"), Stp::Mode{3});
  EXPECT_EQ(mode("rpvst"), Stp::Mode{101});
  EXPECT_EQ(mode("rstp"), Stp::Mode{2});
  EXPECT_EQ(mode("pvst"), Stp::Mode{100});
  EXPECT_EQ(mode("mstp"), std::nullopt);
  EXPECT_EQ(mode("PVST"), std::nullopt);
}

TEST(SonicConversions, LinkTypes) {
  using Type = Stp::Input::PortConfig::LinkType;
  EXPECT_EQ(linkType("auto"), Type::automatic);
  EXPECT_EQ(linkType("point-to-point"), Type::pointToPoint);
  EXPECT_EQ(linkType("shared"), Type::shared);
  EXPECT_EQ(linkType("p2p"), std::nullopt);
}

TEST(SonicConversions, RolesAndStatesOfPorts) {
  using Role = Stp::Operational::PortRole;
  EXPECT_EQ(treePortRole("ROOT"), Role::root);
  EXPECT_EQ(treePortRole("DESIGNATED"), Role::designated);
  EXPECT_EQ(treePortRole("ALTERNATE"), Role::alternate);
  EXPECT_EQ(treePortRole("BACKUP"), Role::backup);
  EXPECT_EQ(treePortRole("MASTER"), Role::master);
  EXPECT_EQ(treePortRole("DISABLED"), Role::disabled);
  EXPECT_EQ(treePortRole("Root"), std::nullopt);
  EXPECT_EQ(treePortState("DISABLED"), TreePortState::disabled);
  EXPECT_EQ(treePortState("DISCARDING"), TreePortState::discarding);
  EXPECT_EQ(treePortState("LEARNING"), TreePortState::learning);
  EXPECT_EQ(treePortState("FORWARDING"), TreePortState::forwarding);
  EXPECT_EQ(treePortState("ROOT-INC"), TreePortState::inconsistent);
  EXPECT_EQ(treePortState("BLOCKING"), std::nullopt);
}

TEST(SonicConversions, NumbersAreDecimalDigitsWithinTheirRange) {
  EXPECT_EQ(priority("0"), 0);
  EXPECT_EQ(priority("61440"), 61440);
  EXPECT_EQ(priority("04096"), 4096);
  EXPECT_EQ(priority("61441"), std::nullopt);
  EXPECT_EQ(priority("65536"), std::nullopt);
  EXPECT_EQ(number<std::uint16_t>("65535"), 65535);
  EXPECT_EQ(cost("4294967295"), 4294967295U);
  EXPECT_EQ(cost("4294967296"), std::nullopt);
  EXPECT_EQ(count("18446744073709551615"), ~std::uint64_t{0});
  for (char const* const text : {"", "-1", "+1", " 1", "1 ", "0x10", "1.0", "ten"}) {
    EXPECT_EQ(count(text), std::nullopt) << text;
  }
}

TEST(SonicConversions, ListsOfVlansHaveRangesAndPerhapsACommaAtTheEnd) {
  using Ids = std::vector<unsigned>;
  EXPECT_EQ(listed(vlans("10")), Ids({10}));
  EXPECT_EQ(listed(vlans("20,10")), Ids({10, 20}));
  EXPECT_EQ(listed(vlans("10,11,12,")), Ids({10, 11, 12}));
  EXPECT_EQ(listed(vlans("1-3,3,4094")), Ids({1, 2, 3, 4094}));
  EXPECT_EQ(listed(vlans("7-7")), Ids({7}));
  EXPECT_EQ(listed(vlans("3-5,1-4,4-4,9,3-5,8-10")), Ids({1, 2, 3, 4, 5, 8, 9, 10}));
  EXPECT_EQ(listed(vlans("1-4094,1-4094")), listed(vlans("1-4094")));
  EXPECT_EQ(listed(vlans("1-4094")).size(), 4094U);
  for (char const* const text : {",", "10,,11", "0", "4095", "3-1", "1-", "-3", "1-2-3", "10;11",
                                 "10, 11", "Vlan10", "0-5"}) {
    EXPECT_EQ(vlans(text), std::nullopt) << text;
  }
}

TEST(SonicConversions, ANameThatIsNotUtf8IsMadeReadable) {
  EXPECT_EQ(readableName("west"), Lumo::String("west"));
  EXPECT_EQ(readableName("w\xC3\xA9st"), Lumo::String("w\xC3\xA9st"));
  EXPECT_EQ(readableName("we\xFFst"), Lumo::String("we\xEF\xBF\xBDst"));
  EXPECT_TRUE(isUtf8("w\xC3\xA9st"));
  EXPECT_FALSE(isUtf8("\xC3"));
  EXPECT_FALSE(isUtf8("\xED\xA0\x80"));  // a surrogate
}

}  // namespace
}  // namespace Agent::Sonic
