// /stp/global/state follows what runs: three sources, one target.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <random>
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
using testing::HasSubstr;
using testing::ThrowsMessage;
using Handlers = std::vector<std::string>;

class GlobalStateMirror : public TestSupport::LeavesNothing {
 protected:
  void start() { mirror = oCGlobalStateSmFactory(config, status, vlanDir, target); }
  std::string shown() const { return textOf(target->state()); }

  void disable(std::vector<std::uint16_t> const& vlans) {
    for (std::uint16_t const vlan : vlans) {
      config->disabledVlanIs(vlan, true);
    }
  }
  void exist(std::vector<std::uint16_t> const& vlans) {
    for (std::uint16_t const vlan : vlans) {
      vlanDir->vlanConfigIs(vlan);
    }
  }

  Lumo::Ptr<Config> config = Lumo::make<Config>();
  Lumo::Ptr<Status> status = Lumo::make<Status>();
  Lumo::Ptr<VlanConfigDir> vlanDir = Lumo::make<VlanConfigDir>();
  Lumo::Ptr<OCGlobalState> target = Lumo::make<OCGlobalState>();
  Lumo::Ptr<OCGlobalStateSm> mirror;
};

TEST_F(GlobalStateMirror, ShowsProtocolAndDisabledVlansFromTheStart) {
  status->activeProtocolIs(Mode::rapidPvst);
  disable({10, 11, 12});
  exist({1, 10, 11, 12, 13});
  start();
  EXPECT_EQ(shown(), "2 | 10-12 | -");
}

TEST_F(GlobalStateMirror, WritesVlansThenProtocolFirstAndNoGuard) {
  config->portfastBpduguardIs(true);
  TestSupport::HandlerLines traced;
  TestSupport::Watch watch(target);
  start();
  EXPECT_EQ(traced.handlers(), (Handlers{"handleDisabledVlan", "handleEnabledProtocol"}));
  EXPECT_EQ(watch.changes(), 2);
  EXPECT_FALSE(target->state().bpduGuard);
}

TEST_F(GlobalStateMirror, GuardKeepsWhatItHasUntilTheSourceChanges) {
  OCGlobalStateContainer state;
  state.bpduGuard = true;
  target->stateIs(state);
  start();
  EXPECT_TRUE(target->state().bpduGuard);
  config->portfastBpduguardIs(true);
  EXPECT_TRUE(target->state().bpduGuard);
  config->portfastBpduguardIs(false);
  EXPECT_FALSE(target->state().bpduGuard);
}

TEST_F(GlobalStateMirror, EveryModeIsMapped) {
  start();
  for (ModeCase const& each : modeCases()) {
    SCOPED_TRACE(each.mode);
    status->activeProtocolIs(static_cast<Mode>(each.mode));
    EXPECT_EQ(target->state().enabledProtocol, each.protocols);
    auto const fresh = Lumo::make<OCGlobalState>();
    oCGlobalStateSmFactory(config, status, vlanDir, fresh);
    EXPECT_EQ(fresh->state().enabledProtocol, each.protocols);
  }
}

TEST_F(GlobalStateMirror, DisabledVlanShowsWhileItExists) {
  disable({30});
  start();
  EXPECT_EQ(shown(), "0 |  | -");
  exist({30});
  EXPECT_EQ(shown(), "0 | 30 | -");
  vlanDir->vlanConfigDel(30);
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalStateMirror, ExistingVlanShowsWhileItIsDisabled) {
  exist({30});
  start();
  disable({30});
  EXPECT_EQ(shown(), "0 | 30 | -");
  config->disabledVlanIs(30, false);
  EXPECT_EQ(shown(), "0 |  | -");
  disable({30});
  config->disabledVlanDel(30);
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalStateMirror, MissingVlanSplitsARun) {
  disable({5, 6, 7});
  exist({5, 7});
  start();
  EXPECT_EQ(shown(), "0 | 5 7 | -");
  exist({6});
  EXPECT_EQ(shown(), "0 | 5-7 | -");
  vlanDir->vlanConfigDelAll();
  EXPECT_EQ(shown(), "0 |  | -");
}

TEST_F(GlobalStateMirror, ReservedIdsNeverShow) {
  disable({0, 1, 4094, 4095});
  exist({1, 4094});
  start();
  EXPECT_EQ(shown(), "0 | 1 4094 | -");
}

TEST_F(GlobalStateMirror, OfRandomTablesShowsWhatIsInBoth) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same tables in every run
  std::uniform_int_distribution<int> percent(0, 99);
  start();
  for (int round = 0; round < 5; ++round) {
    // Without the mirror, which would rebuild its list for each of some thousand changes.
    mirror->hasNotificationActiveIs(false);
    config->disabledVlanDelAll();
    vlanDir->vlanConfigDelAll();
    int const density = 20 * round + 10;
    std::string expected;
    unsigned first = 0;
    auto const close = [&](unsigned end) {
      if (first != 0) {
        expected += (expected.empty() ? "" : " ") + std::to_string(first);
        expected += first + 1 == end ? "" : "-" + std::to_string(end - 1);
        first = 0;
      }
    };
    for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
      bool const entry = percent(random) < 95;
      bool const disabled = percent(random) < density;
      bool const exists = percent(random) < 90;
      if (entry) {
        config->disabledVlanIs(vlan, disabled);
      }
      if (exists) {
        vlanDir->vlanConfigIs(vlan);
      }
      if (!entry || !disabled || !exists) {
        close(vlan);
      } else if (first == 0) {
        first = vlan;
      }
    }
    close(4095);
    mirror->handleDisabledVlan();
    EXPECT_EQ(textOf(target->state().disabledVlan), expected);
    mirror->hasNotificationActiveIs(true);
  }
}

TEST_F(GlobalStateMirror, EqualNumbersOfTwoSourcesAreTwoAttributes) {
  start();
  TestSupport::HandlerLines traced;
  status->activeProtocolIs(Mode::mstp);  // 258 of the status
  EXPECT_EQ(traced.handlers(), Handlers{"handleEnabledProtocol"});
  exist({7});  // 258 of the VLAN directory
  EXPECT_EQ(traced.handlers(), Handlers{"handleDisabledVlan"});
  config->publisher().publishChangeRecursive(258, nullptr, nullptr);
  status->publisher().publishChangeRecursive(294, nullptr, nullptr);
  vlanDir->publisher().publishChangeRecursive(303, nullptr, nullptr);
  EXPECT_EQ(traced.handlers(), Handlers());
}

TEST_F(GlobalStateMirror, ConfiguredModeDoesNotReachIt) {
  start();
  TestSupport::Watch watch(target);
  config->publisher().publishChangeRecursive(267, nullptr, nullptr);
  status->stpiStatus.is("Mst", Lumo::make<StpiStatus>());
  config->mstConfigIs({{}, {}, 7});
  config->portConfig.is("Ethernet1", Lumo::make<PortConfig>());
  EXPECT_EQ(watch.changes(), 0);
}

TEST_F(GlobalStateMirror, EachChangeIsOneChangeOfTheTarget) {
  start();
  TestSupport::Watch watch(target);
  status->activeProtocolIs(Mode::mstp);
  EXPECT_EQ(watch.changes(), 1);
  config->portfastBpduguardIs(true);
  EXPECT_EQ(watch.changes(), 1);
  disable({10});
  EXPECT_EQ(watch.changes(), 1) << "although it does not exist";
  exist({10});
  EXPECT_EQ(watch.changes(), 1);
  EXPECT_EQ(shown(), "1 | 10 | guard");
}

TEST_F(GlobalStateMirror, EachHandlerKeepsTheOthersMembers) {
  start();
  OCGlobalStateContainer state;
  state.bpduGuard = true;
  state.disabledVlanPush(Bridging::VlanId(9));
  target->stateIs(state);
  status->activeProtocolIs(Mode::mstp);
  EXPECT_EQ(shown(), "1 | 9 | guard");
  mirror->handleBpduguard();
  EXPECT_EQ(shown(), "1 | 9 | -");
  state = target->state();
  state.bpduGuard = true;
  state.enabledProtocolPush(OcStpEnabledProtocol::rapidPvst);
  target->stateIs(state);
  exist({1});
  EXPECT_EQ(shown(), "1 2 |  | guard");
}

TEST_F(GlobalStateMirror, AbsentDirectoryIsAskedOnlyAboutDisabledVlans) {
  vlanDir = nullptr;
  start();
  EXPECT_EQ(shown(), "0 |  | -");
  status->activeProtocolIs(Mode::mstp);
  config->disabledVlanIs(5, false);
  disable({0, 4095});
  EXPECT_EQ(shown(), "1 |  | -");

  mirror->hasNotificationActiveIs(false);
  disable({5});
  EXPECT_THAT([&] { mirror->handleDisabledVlan(); },
              ThrowsMessage<Lumo::AbsentPointerException>(HasSubstr("Stp::VlanConfigDir")));
  EXPECT_EQ(shown(), "1 |  | -");
}

TEST_F(GlobalStateMirror, AbsentEntitiesAreNamed) {
  using Absent = Lumo::AbsentPointerException;
  disable({5});
  EXPECT_THAT([&] { oCGlobalStateSmFactory(nullptr, status, vlanDir, target); },
              ThrowsMessage<Absent>(HasSubstr("Stp::Config")));
  EXPECT_THAT([&] { oCGlobalStateSmFactory(config, nullptr, vlanDir, target); },
              ThrowsMessage<Absent>(HasSubstr("Stp::Status")));
  EXPECT_THAT([&] { oCGlobalStateSmFactory(config, status, nullptr, target); },
              ThrowsMessage<Absent>(HasSubstr("Stp::VlanConfigDir")));
  EXPECT_THAT([&] { oCGlobalStateSmFactory(config, status, vlanDir, nullptr); },
              ThrowsMessage<Absent>(HasSubstr("Stp::OCGlobalState")));
  EXPECT_TRUE(config->publisher().empty());
  EXPECT_TRUE(status->publisher().empty());
  EXPECT_TRUE(vlanDir->publisher().empty());
}

using GlobalStateMirrorDeathTest = GlobalStateMirror;

TEST_F(GlobalStateMirrorDeathTest, DirectoryThatANotificationAsksForEndsTheProcess) {
  vlanDir = nullptr;
  start();
  EXPECT_EXIT(disable({5}), testing::KilledBySignal(SIGABRT), "Stp::VlanConfigDir");
}

}  // namespace
}  // namespace Stp
