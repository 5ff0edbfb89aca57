// /stp/global/config follows the input configuration.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Lumo/RangeException.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/tests/GlobalTestSupport.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using GlobalTest::ModeCase;
using GlobalTest::modeCases;
using GlobalTest::textOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;
using Handlers = std::vector<std::string>;

class GlobalConfigMirror : public TestSupport::LeavesNothing {
 protected:
  void start() { mirror = oCGlobalConfigSmFactory(input, target); }
  std::string shown() const { return textOf(target->config()); }

  void disable(std::vector<std::uint16_t> const& vlans) {
    for (std::uint16_t const vlan : vlans) {
      input->disabledVlanIs(vlan, true);
    }
  }

  Lumo::Ptr<Input::Config> input = Lumo::make<Input::Config>();
  Lumo::Ptr<OCGlobalConfig> target = Lumo::make<OCGlobalConfig>();
  Lumo::Ptr<OCGlobalConfigSm> mirror;
};

TEST_F(GlobalConfigMirror, ShowsModeAndDisabledVlansFromTheStart) {
  input->modeIs(Mode::mstp);
  disable({10, 11, 12, 20});
  input->disabledVlanIs(13, false);
  start();
  EXPECT_EQ(shown(), "1 | 10-12 20 | -");
}

TEST_F(GlobalConfigMirror, WritesProtocolThenVlansFirstAndNoGuard) {
  TestSupport::HandlerLines traced;
  TestSupport::Watch watch(target);
  start();
  EXPECT_EQ(traced.handlers(), (Handlers{"handleEnabledProtocol", "handleDisabledVlan"}));
  EXPECT_EQ(watch.changes(), 2);
}

TEST_F(GlobalConfigMirror, GuardKeepsWhatItHasUntilTheSourceChanges) {
  OCGlobalConfigContainer config;
  config.bpduGuard = true;
  target->configIs(config);
  start();
  EXPECT_TRUE(target->config().bpduGuard) << "the source's flag is off";
  input->portfastBpduguardIs(true);
  EXPECT_TRUE(target->config().bpduGuard);
  input->portfastBpduguardIs(false);
  EXPECT_FALSE(target->config().bpduGuard);
}

TEST_F(GlobalConfigMirror, GuardOfTheSourceAtTheStartIsNotTaken) {
  input->portfastBpduguardIs(true);
  start();
  EXPECT_FALSE(target->config().bpduGuard);
  input->modeIs(Mode::mstp);
  input->disabledVlanIs(1, true);
  EXPECT_FALSE(target->config().bpduGuard);
}

TEST_F(GlobalConfigMirror, EveryModeIsMappedAtTheStart) {
  for (ModeCase const& each : modeCases()) {
    SCOPED_TRACE(each.mode);
    input->modeIs(static_cast<Mode>(each.mode));
    start();
    EXPECT_EQ(target->config().enabledProtocol, each.protocols);
  }
}

TEST_F(GlobalConfigMirror, EveryChangeOfTheModeIsMapped) {
  start();
  for (ModeCase const& from : modeCases()) {
    for (ModeCase const& to : modeCases()) {
      input->modeIs(static_cast<Mode>(from.mode));
      input->modeIs(static_cast<Mode>(to.mode));
      EXPECT_EQ(target->config().enabledProtocol, to.protocols)
          << "from " << from.mode << " to " << to.mode;
    }
  }
}

TEST_F(GlobalConfigMirror, ProtocolsThatWereThereAreReplaced) {
  OCGlobalConfigContainer config;
  for (auto const protocol : {OcStpEnabledProtocol::rapidPvst, OcStpEnabledProtocol::mstp}) {
    config.enabledProtocolPush(protocol);
  }
  target->configIs(config);
  start();
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalConfigMirror, DisabledVlansFollowTheTable) {
  start();
  EXPECT_EQ(shown(), "0 |  | -");
  disable({5});
  EXPECT_EQ(shown(), "0 | 5 | -");
  disable({7});
  EXPECT_EQ(shown(), "0 | 5 7 | -");
  disable({6});
  EXPECT_EQ(shown(), "0 | 5-7 | -");
  input->disabledVlanIs(6, false);
  EXPECT_EQ(shown(), "0 | 5 7 | -");
  input->disabledVlanDel(5);
  EXPECT_EQ(shown(), "0 | 7 | -");
  disable({0, 4095, 1, 4094});
  EXPECT_EQ(shown(), "0 | 1 7 4094 | -");
  input->disabledVlanDelAll();
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalConfigMirror, AllVlansAreOneRange) {
  for (std::uint16_t vlan = 0; vlan < 4096; ++vlan) {
    input->disabledVlanIs(vlan, true);
  }
  start();
  EXPECT_EQ(shown(), "0 | 1-4094 | -");
  input->disabledVlanIs(2000, false);
  EXPECT_EQ(shown(), "0 | 1-1999 2001-4094 | -");
}

TEST_F(GlobalConfigMirror, FalseEntriesAreNotDisabled) {
  for (std::uint16_t const vlan : {1, 2, 3, 4094}) {
    input->disabledVlanIs(vlan, false);
  }
  start();
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalConfigMirror, VlansThatWereThereAreReplaced) {
  OCGlobalConfigContainer config;
  config.disabledVlanPush(Bridging::VlanId(9));
  target->configIs(config);
  disable({30});
  start();
  EXPECT_EQ(shown(), "0 | 30 | -");
}

TEST_F(GlobalConfigMirror, EachChangeIsOneChangeOfTheTarget) {
  start();
  TestSupport::HandlerLines traced;
  TestSupport::Watch watch(target);
  input->modeIs(Mode::rapidPvst);
  EXPECT_EQ(watch.changes(), 1);
  EXPECT_EQ(traced.handlers(), Handlers{"handleEnabledProtocol"});
  input->portfastBpduguardIs(true);
  EXPECT_EQ(watch.changes(), 1);
  EXPECT_EQ(traced.handlers(), Handlers{"handleBpduguard"});
  disable({10});
  EXPECT_EQ(watch.changes(), 1);
  EXPECT_EQ(traced.handlers(), Handlers{"handleDisabledVlan"});
  disable({1, 2, 3});
  EXPECT_EQ(watch.changes(), 3);
}

TEST_F(GlobalConfigMirror, ReadersSeeTheWholeRecordAtOnce) {
  start();
  std::vector<std::string> seen;
  TestSupport::Watch const watch(target, [&](Lumo::FieldId field, void const*, void const*) {
    EXPECT_EQ(field, 130);
    seen.push_back(shown());
  });
  disable({1, 2});
  input->disabledVlanIs(1, false);
  input->modeIs(Mode::mstp);
  EXPECT_THAT(seen, ElementsAre("0 | 1 | -", "0 | 1-2 | -", "0 | 2 | -", "1 | 2 | -"));
}

TEST_F(GlobalConfigMirror, EqualValuesAreStoredAndAnnounced) {
  start();
  TestSupport::Watch watch(target);
  input->modeIs(Mode::rstp);  // STP and RSTP are one protocol
  EXPECT_EQ(watch.changes(), 1);
  disable({0});
  EXPECT_EQ(watch.changes(), 1);
  mirror->handleBpduguard();
  EXPECT_EQ(watch.changes(), 1);
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalConfigMirror, EachHandlerKeepsTheOthersMembers) {
  start();
  OCGlobalConfigContainer config;
  config.bpduGuard = true;
  config.disabledVlanPush(Bridging::VlanId(9));
  target->configIs(config);
  input->modeIs(Mode::mstp);
  EXPECT_EQ(shown(), "1 | 9 | guard");
  config = target->config();
  config.enabledProtocolPush(OcStpEnabledProtocol::rapidPvst);
  target->configIs(config);
  mirror->handleBpduguard();
  EXPECT_EQ(shown(), "1 2 | 9 | -");
  disable({30});
  EXPECT_EQ(shown(), "1 2 | 30 | -");
}

TEST_F(GlobalConfigMirror, OtherAttributesOfTheSourceWriteNothing) {
  start();
  TestSupport::Watch watch(target);
  MstConfig map;
  map.revision = 7;
  input->mstConfigIs(map);
  input->portConfig.is("Ethernet1", Lumo::make<Input::PortConfig>());
  input->portConfig.del("Ethernet1");
  input->stpiConfig.is("Mst", Lumo::make<Input::StpiConfig>());
  EXPECT_EQ(watch.changes(), 0);
}

TEST_F(GlobalConfigMirror, CurrentValueCountsNotThatOfTheNotification) {
  start();
  input->modeIs(Mode::mstp);
  Mode const stale = Mode::rapidPvst;
  input->publisher().publishChangeRecursive(267, &stale, &stale);
  EXPECT_EQ(shown(), "1 |  | -");
}

TEST_F(GlobalConfigMirror, TwoMirrorsOfOneSourceFillTwoTargets) {
  start();
  auto const secondTarget = Lumo::make<OCGlobalConfig>();
  auto const second = oCGlobalConfigSmFactory(input, secondTarget);
  input->modeIs(Mode::rapidPvst);
  disable({4});
  EXPECT_EQ(shown(), "2 | 4 | -");
  EXPECT_EQ(textOf(secondTarget->config()), "2 | 4 | -");
  mirror = nullptr;
  disable({5});
  EXPECT_EQ(shown(), "2 | 4 | -");
  EXPECT_EQ(textOf(secondTarget->config()), "2 | 4-5 | -");
}

TEST_F(GlobalConfigMirror, AbsentEntitiesAreNamed) {
  EXPECT_THAT([&] { oCGlobalConfigSmFactory(nullptr, target); },
              ThrowsMessage<Lumo::AbsentPointerException>(HasSubstr("Stp::Input::Config")));
  EXPECT_THAT([&] { oCGlobalConfigSmFactory(input, nullptr); },
              ThrowsMessage<Lumo::AbsentPointerException>(HasSubstr("Stp::OCGlobalConfig")));
  EXPECT_TRUE(input->publisher().empty());
  EXPECT_EQ(input->references(), 1U);
  EXPECT_EQ(target->references(), 1U);
}

}  // namespace
}  // namespace Stp
