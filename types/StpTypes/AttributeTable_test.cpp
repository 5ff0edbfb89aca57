// Which attributes the entity types have: their names, numbers, types and first values.

#include "StpTypes/AttributeTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::Pair;

template <class Entity>
std::vector<std::pair<std::string, int>> attributesOf() {
  std::vector<std::pair<std::string, int>> result;
  std::apply(
      [&](auto const&... row) {
        (result.emplace_back(std::string(row.name), static_cast<int>(row.id)), ...);
      },
      Entity::attributes);
  return result;
}

TEST(AttributeTable, NamesAndNumbersTheSources) {
  EXPECT_THAT(
      attributesOf<Input::Config>(),
      ElementsAre(Pair("mode", 267), Pair("portfastBpduguard", 294), Pair("mstConfig", 298),
                  Pair("disabledVlan", 303), Pair("portConfig", 386), Pair("stpiConfig", 387)));
  EXPECT_THAT(
      attributesOf<Input::PortConfig>(),
      ElementsAre(Pair("linkType", 260), Pair("edgePortEnable", 261), Pair("edgePortAuto", 263),
                  Pair("edgePortDisable", 265), Pair("bpduguard", 270)));
  EXPECT_THAT(attributesOf<Input::StpiConfig>(), ElementsAre(Pair("mstiConfig", 259)));
  EXPECT_THAT(attributesOf<Input::MstiConfig>(),
              ElementsAre(Pair("mstiId", 258), Pair("bridgePriority", 259)));
  EXPECT_THAT(attributesOf<Config>(),
              ElementsAre(Pair("portfastBpduguard", 294), Pair("mstConfig", 298),
                          Pair("disabledVlan", 303), Pair("portConfig", 386)));
  EXPECT_THAT(attributesOf<PortConfig>(),
              ElementsAre(Pair("adminEdgePort", 261), Pair("bpduguard", 270)));
  EXPECT_THAT(attributesOf<Status>(),
              ElementsAre(Pair("activeProtocol", 258), Pair("stpiStatus", 259)));
  EXPECT_THAT(attributesOf<StpiStatus>(),
              ElementsAre(Pair("stpiPortStatus", 261), Pair("mstiStatus", 262)));
  EXPECT_THAT(attributesOf<StpiPortStatus>(),
              ElementsAre(Pair("operEdgePort", 260), Pair("operPointToPointMac", 262)));
  EXPECT_THAT(attributesOf<MstiStatus>(), ElementsAre(Pair("bridgePriority", 259)));
  EXPECT_THAT(attributesOf<VlanConfigDir>(), ElementsAre(Pair("vlanConfig", 258)));
}

TEST(AttributeTable, NamesAndNumbersTheTargets) {
  EXPECT_THAT(attributesOf<OCGlobalConfig>(), ElementsAre(Pair("config", 130)));
  EXPECT_THAT(attributesOf<OCGlobalState>(), ElementsAre(Pair("state", 130)));
  EXPECT_THAT(attributesOf<OCInterface>(), ElementsAre(Pair("config", 130)));
  EXPECT_THAT(attributesOf<OCInterfaceConfigDir>(), ElementsAre(Pair("interface", 130)));
  EXPECT_THAT(attributesOf<OCInterfaceStateDir>(), ElementsAre(Pair("state", 130)));
  EXPECT_THAT(attributesOf<OCMsti>(), ElementsAre(Pair("config", 130)));
  EXPECT_THAT(attributesOf<OCMstiConfigDir>(), ElementsAre(Pair("mstInstance", 130)));
  EXPECT_THAT(attributesOf<OCMstiStateDir>(), ElementsAre(Pair("state", 130)));
}

// The attributes of an entity type whose numbers end below those of their type.
template <class Entity>
std::vector<std::pair<std::string, int>> greatestOf() {
  std::vector<std::pair<std::string, int>> result;
  auto const add = [&](auto const& row) {
    if constexpr (requires { row.greatest; }) {
      if (row.greatest) {
        result.emplace_back(std::string(row.name), *row.greatest);
      }
    }
  };
  std::apply([&](auto const&... row) { (add(row), ...); }, Entity::attributes);
  return result;
}

TEST(AttributeTable, TellsWhereNumbersThatMeanSomethingEnd) {
  EXPECT_THAT(greatestOf<Input::MstiConfig>(),
              ElementsAre(Pair("mstiId", 4095), Pair("bridgePriority", 61440)));
  EXPECT_THAT(greatestOf<MstiStatus>(), ElementsAre(Pair("bridgePriority", 61440)));
  EXPECT_TRUE(greatestOf<Input::Config>().empty() && greatestOf<Status>().empty());
}

// An entity type repeats the numbers of its base, so that its own enumeration is complete.
static_assert(static_cast<int>(Input::Config::Id::portfastBpduguard) ==
              static_cast<int>(ConfigBase::Id::portfastBpduguard));
static_assert(static_cast<int>(Input::Config::Id::mstConfig) ==
              static_cast<int>(ConfigBase::Id::mstConfig));
static_assert(static_cast<int>(Input::Config::Id::disabledVlan) ==
              static_cast<int>(ConfigBase::Id::disabledVlan));
static_assert(static_cast<int>(Config::Id::portfastBpduguard) ==
              static_cast<int>(ConfigBase::Id::portfastBpduguard));
static_assert(static_cast<int>(Config::Id::mstConfig) ==
              static_cast<int>(ConfigBase::Id::mstConfig));
static_assert(static_cast<int>(Config::Id::disabledVlan) ==
              static_cast<int>(ConfigBase::Id::disabledVlan));
static_assert(static_cast<int>(Input::PortConfig::Id::bpduguard) ==
              static_cast<int>(PortConfigBase::Id::bpduguard));
static_assert(static_cast<int>(PortConfig::Id::bpduguard) ==
              static_cast<int>(PortConfigBase::Id::bpduguard));

static_assert(std::is_same_v<std::underlying_type_t<Mode>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<Input::PortConfig::LinkType>, std::uint8_t>);
static_assert(
    std::is_same_v<std::underlying_type_t<PortConfigBase::BpduguardEnabledState>, std::uint8_t>);
static_assert(std::is_same_v<decltype(MstConfig::revision), std::uint64_t>);
static_assert(
    std::is_same_v<decltype(std::declval<Input::MstiConfig>().bridgePriority()), std::uint16_t>);
static_assert(std::is_same_v<decltype(std::declval<Input::MstiConfig>().mstiId()), std::uint16_t>);
static_assert(std::is_same_v<decltype(std::declval<MstiStatus>().bridgePriority()), std::uint16_t>);

template <class Enumeration>
int number(Enumeration value) {
  return static_cast<int>(value);
}

TEST(Enumerations, HaveTheValuesOfTheEngineAndTheModel) {
  EXPECT_EQ(number(Mode::stp), 0);
  EXPECT_EQ(number(Mode::rstp), 2);
  EXPECT_EQ(number(Mode::mstp), 3);
  using LinkType = Input::PortConfig::LinkType;
  EXPECT_EQ(number(LinkType::automatic), 0);
  EXPECT_EQ(number(LinkType::pointToPoint), 1);
  EXPECT_EQ(number(LinkType::shared), 2);
  using Bpduguard = PortConfigBase::BpduguardEnabledState;
  EXPECT_EQ(number(Bpduguard::bpduguardDefault), 0);
  EXPECT_EQ(number(Bpduguard::bpduguardEnabled), 1);
  EXPECT_EQ(number(Bpduguard::bpduguardDisabled), 2);
  EXPECT_EQ(number(OcStpEnabledProtocol::rstp), 0);
  EXPECT_EQ(number(OcStpEnabledProtocol::mstp), 1);
  EXPECT_EQ(number(OcStpEnabledProtocol::rapidPvst), 2);
  EXPECT_EQ(number(OcLinkType::p2p), 0);
  EXPECT_EQ(number(OcLinkType::shared), 1);
  EXPECT_EQ(number(OcLinkType::notSet), 255);
  EXPECT_EQ(number(OcEdgePort::edgeEnable), 0);
  EXPECT_EQ(number(OcEdgePort::edgeDisable), 1);
  EXPECT_EQ(number(OcEdgePort::edgeAuto), 2);
  EXPECT_EQ(number(OcEdgePort::notSet), 255);
  EXPECT_EQ(number(OcBpduGuard::disabled), 0);
  EXPECT_EQ(number(OcBpduGuard::enabled), 1);
  EXPECT_EQ(number(OcBpduGuard::notSet), 255);
}

TEST(Enumerations, WriteTheBpduGuardSettingByName) {
  for (auto const& [value, expected] :
       {std::pair{0, "bpduguardDefault"}, std::pair{1, "bpduguardEnabled"},
        std::pair{2, "bpduguardDisabled"}, std::pair{3, "3"}, std::pair{255, "255"}}) {
    std::ostringstream out;
    out << static_cast<PortConfigBase::BpduguardEnabledState>(value);
    EXPECT_EQ(out.str(), expected);
  }
}

TEST(Sources, StartWithTheirDefaults) {
  auto const input = Lumo::make<Input::Config>();
  EXPECT_EQ(number(input->mode()), 0);
  EXPECT_FALSE(input->portfastBpduguard());
  EXPECT_TRUE(input->mstConfig().regionName.empty());
  EXPECT_EQ(input->mstConfig().vidToMsti.size(), 0U);
  EXPECT_EQ(input->mstConfig().revision, 0U);
  EXPECT_EQ(input->disabledVlan().entries().inOrder().size(), 0U);
  EXPECT_TRUE(input->portConfig().empty());
  EXPECT_TRUE(input->stpiConfig().empty());

  auto const port = Lumo::make<Input::PortConfig>();
  EXPECT_EQ(number(port->linkType()), 0);
  EXPECT_FALSE(port->edgePortEnable() || port->edgePortAuto() || port->edgePortDisable());
  EXPECT_EQ(number(port->bpduguard()), 0);

  EXPECT_TRUE(Lumo::make<Input::StpiConfig>()->mstiConfig().empty());
  EXPECT_EQ(Lumo::make<Input::MstiConfig>()->mstiId(), 0);
  EXPECT_EQ(Lumo::make<Input::MstiConfig>()->bridgePriority(), 32768);

  auto const config = Lumo::make<Config>();
  EXPECT_FALSE(config->portfastBpduguard());
  EXPECT_EQ(config->mstConfig(), MstConfig());
  EXPECT_EQ(config->disabledVlan(7), std::nullopt);
  EXPECT_TRUE(config->portConfig().empty());
  EXPECT_FALSE(Lumo::make<PortConfig>()->adminEdgePort());
  EXPECT_EQ(number(Lumo::make<PortConfig>()->bpduguard()), 0);

  EXPECT_EQ(number(Lumo::make<Status>()->activeProtocol()), 0);
  EXPECT_TRUE(Lumo::make<Status>()->stpiStatus().empty());
  EXPECT_TRUE(Lumo::make<StpiStatus>()->stpiPortStatus().empty());
  EXPECT_TRUE(Lumo::make<StpiStatus>()->mstiStatus().empty());
  EXPECT_FALSE(Lumo::make<StpiPortStatus>()->operEdgePort());
  EXPECT_FALSE(Lumo::make<StpiPortStatus>()->operPointToPointMac());
  EXPECT_EQ(Lumo::make<MstiStatus>()->bridgePriority(), 32768);
  EXPECT_EQ(Lumo::make<VlanConfigDir>()->vlanConfig(), VlanSet());
}

template <class Global>
void expectFresh(Global const& record) {
  EXPECT_TRUE(record.enabledProtocol.empty());
  EXPECT_FALSE(record.bpduGuard);
  EXPECT_TRUE(record.disabledVlan.empty());
}

TEST(Targets, StartWithFreshRecords) {
  expectFresh(Lumo::make<OCGlobalConfig>()->config());
  expectFresh(Lumo::make<OCGlobalState>()->state());

  InterfaceConfig const config = InterfaceConfig();
  EXPECT_FALSE(config.name.valid());
  EXPECT_EQ(config.name.stringValue().view(), "");
  EXPECT_EQ(number(config.linkType), 255);
  EXPECT_EQ(number(config.edgePort), 255);
  EXPECT_EQ(number(config.bpduGuard), 255);
  EXPECT_EQ(Lumo::make<OCInterface>()->config(), config);

  InterfaceState const state = InterfaceState();
  EXPECT_FALSE(state.name.valid());
  EXPECT_EQ(number(state.linkType), 0);
  EXPECT_EQ(number(state.edgePort), 2);
  EXPECT_EQ(number(state.bpduGuard), 255);
  EXPECT_EQ(state.key(), state.name);
  EXPECT_TRUE(state.isEq(InterfaceState()));
  InterfaceState other;
  other.linkType = OcLinkType::shared;
  EXPECT_FALSE(state.isEq(other));

  auto const msti = Lumo::make<OCMsti>();
  EXPECT_EQ(msti->config().mstId, 0);
  EXPECT_EQ(msti->config().bridgePriority.value(), 32768);
  EXPECT_TRUE(msti->config().vlan.empty());

  OCMstiState const mstiState(4095);
  EXPECT_EQ(mstiState.mstId, 4095);
  EXPECT_EQ(mstiState.key(), 4095);
  EXPECT_EQ(mstiState.bridgePriority.value(), 32768);
  EXPECT_TRUE(mstiState.vlan.empty());
  EXPECT_EQ(OCMstiState().mstId, 0);

  EXPECT_TRUE(Lumo::make<OCInterfaceConfigDir>()->interface().empty());
  EXPECT_TRUE(Lumo::make<OCInterfaceStateDir>()->state().empty());
  EXPECT_TRUE(Lumo::make<OCMstiConfigDir>()->mstInstance().empty());
  EXPECT_TRUE(Lumo::make<OCMstiStateDir>()->state().empty());
}

TEST(Targets, FillAndEmptyTheListsOfTheirRecords) {
  OCGlobalConfigContainer global;
  global.enabledProtocolPush(OcStpEnabledProtocol::mstp);
  global.disabledVlanPush(Bridging::VlanId(5));
  global.disabledVlanPush(VlanRange{Bridging::VlanId(7), Bridging::VlanId(9)});
  EXPECT_EQ(global.enabledProtocol[0], OcStpEnabledProtocol::mstp);
  EXPECT_EQ(global.disabledVlan[0].vlanId().value(), 5);
  EXPECT_EQ(global.disabledVlan[1].vlanRange().last.value(), 9);
  global.disabledVlanPopAll();
  EXPECT_EQ(global.enabledProtocol.size(), 1U);
  global.enabledProtocolPopAll();
  EXPECT_EQ(global, OCGlobalConfigContainer());

  OCMstiState state(5);
  state.vlanPush(Bridging::VlanId(10));
  EXPECT_EQ(state.vlan.size(), 1U);
  state.vlanPopAll();
  EXPECT_EQ(state, OCMstiState(5));
}

static_assert(OCBridgePriority().value() == 32768 && OCBridgePriority(0).value() == 0);
static_assert(sizeof(OCBridgePriority) == 2);

TEST(OCBridgePriority, TakesUpTo61440) {
  for (unsigned value = 0; value <= 65535; ++value) {
    auto const priority = static_cast<std::uint16_t>(value);
    if (value <= 61440) {
      ASSERT_EQ(OCBridgePriority(priority).value(), value);
      continue;
    }
    try {
      static_cast<void>(OCBridgePriority(priority));
      FAIL() << value << " was accepted";
    } catch (Lumo::RangeException const& exception) {
      ASSERT_STREQ(exception.what(), "Stp::OCBridgePriority::value < 0 or > 61440 not allowed");
    }
  }
}

}  // namespace
}  // namespace Stp
