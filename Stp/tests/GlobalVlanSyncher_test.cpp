// The disabled VLANs of /stp/global/config, carried back into the input configuration.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "Lumo/RangeException.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/tests/GlobalTestSupport.h"
#include "Stp/tests/TestSupport.h"
#include "Stp/vlans/VlanTestSupport.h"

namespace Stp {
namespace {

using GlobalTest::textOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;
using TestSupport::rawEntry;
using Ids = std::vector<std::uint16_t>;

VlanIdOrRange id(std::uint16_t vlan) {
  return Bridging::VlanId(vlan);
}
VlanIdOrRange range(std::uint16_t first, std::uint16_t last) {
  return VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)};
}

class GlobalVlanSyncher : public TestSupport::LeavesNothing {
 protected:
  GlobalVlanSyncher() {
    OCGlobalConfigContainer config;
    config.enabledProtocolPush(OcStpEnabledProtocol::mstp);
    config.bpduGuard = true;
    target->configIs(config);
  }

  void listIs(SharedList<VlanIdOrRange> const& list) {
    OCGlobalConfigContainer config = target->config();
    config.disabledVlan = list;
    target->configIs(config);
  }
  std::string list() const { return textOf(target->config().disabledVlan); }

  // The ids of the table whose entry is true, then those whose entry is false.
  std::pair<Ids, Ids> table() const {
    std::pair<Ids, Ids> ids;
    for (std::uint16_t vlan = 0; vlan < 4096; ++vlan) {
      if (auto const entry = input->disabledVlan(vlan)) {
        (*entry ? ids.first : ids.second).push_back(vlan);
      }
    }
    return ids;
  }
  Ids disabled() const {
    auto const [trueEntries, falseEntries] = table();
    EXPECT_EQ(falseEntries, Ids());
    return trueEntries;
  }

  Lumo::Ptr<OCGlobalConfig> target = Lumo::make<OCGlobalConfig>();
  Lumo::Ptr<Input::Config> input = Lumo::make<Input::Config>();
  Lumo::Ptr<OCGlobalVlanSyncher> syncher = oCGlobalVlanSyncherFactory(target, input);
};

TEST_F(GlobalVlanSyncher, MakesTableAndListAgree) {
  struct Case {
    SharedList<VlanIdOrRange> given;
    Ids disabled;
    std::string list;
  };
  for (Case const& each : std::vector<Case>{
           {{range(10, 12), id(11), id(13)}, {10, 11, 12, 13}, "10-13"},
           {{}, {}, ""},
           {{id(1), id(4094)}, {1, 4094}, "1 4094"},
           {{id(7), id(5), id(6)}, {5, 6, 7}, "5-7"},
           {{id(5), id(5), range(5, 5)}, {5}, "5"},
           {{range(12, 10)}, {}, ""},
           {{range(4094, 1), id(3)}, {3}, "3"},
           {{range(20, 22), range(21, 23), range(1, 2), id(3)},
            {1, 2, 3, 20, 21, 22, 23},
            "1-3 20-23"},
       }) {
    SCOPED_TRACE(textOf(each.given));
    input->disabledVlanIs(99, true);  // not in the list: enabled again
    input->disabledVlanIs(11, false);
    listIs(each.given);
    syncher->syncDisabledVlan();
    EXPECT_EQ(disabled(), each.disabled);
    EXPECT_EQ(list(), each.list);
  }
}

TEST_F(GlobalVlanSyncher, WholeRangeDisablesEveryVlan) {
  listIs({range(1, 4094)});
  syncher->syncDisabledVlan();
  EXPECT_EQ(disabled().size(), 4094U);
  EXPECT_EQ(list(), "1-4094");
}

TEST_F(GlobalVlanSyncher, WaitsUntilItIsAsked) {
  syncher = nullptr;
  listIs({range(12, 13), id(11)});
  input->disabledVlanIs(99, true);
  TestSupport::Watch targetWatch(target);
  TestSupport::Watch inputWatch(input);
  syncher = oCGlobalVlanSyncherFactory(target, input);
  EXPECT_FALSE(syncher->hasNotificationActive());
  listIs({id(5)});
  input->disabledVlanIs(98, true);
  EXPECT_EQ(targetWatch.changes(), 1);
  EXPECT_EQ(inputWatch.changes(), 1);
  syncher = nullptr;
  EXPECT_EQ(targetWatch.changes() + inputWatch.changes(), 0);
  EXPECT_EQ(disabled(), (Ids{98, 99}));
  EXPECT_EQ(list(), "5");
}

TEST_F(GlobalVlanSyncher, KeepsTheOtherMembersAndAttributes) {
  input->modeIs(Mode::rapidPvst);
  input->portfastBpduguardIs(true);
  listIs({id(9)});
  syncher->syncDisabledVlan();
  EXPECT_EQ(textOf(target->config()), "1 | 9 | guard");
  EXPECT_EQ(input->mode(), Mode::rapidPvst);
  EXPECT_TRUE(input->portfastBpduguard());
}

TEST_F(GlobalVlanSyncher, SecondCallChangesNothingMore) {
  listIs({id(13), range(10, 12)});
  syncher->syncDisabledVlan();
  Ids const after = disabled();
  syncher->syncDisabledVlan();
  EXPECT_EQ(disabled(), after);
  EXPECT_EQ(list(), "10-13");
}

TEST_F(GlobalVlanSyncher, EqualListIsStoredAndAnnouncedOnce) {
  listIs({range(10, 13)});
  syncher->syncDisabledVlan();
  TestSupport::Watch watch(target);
  syncher->syncDisabledVlan();
  EXPECT_EQ(watch.changes(), 1);
}

TEST_F(GlobalVlanSyncher, ClearsTheTableThenDisablesInTheOrderOfTheList) {
  for (std::uint16_t const vlan : {40, 12, 30}) {
    input->disabledVlanIs(vlan, vlan != 30);
  }
  listIs({range(10, 12), id(11), id(5)});
  std::vector<std::string> changes;
  TestSupport::Watch const inputWatch(
      input, [&](Lumo::FieldId field, void const* key, void const*) {
        EXPECT_EQ(field, 303);
        auto const vlan = *static_cast<std::uint16_t const*>(key);
        auto const entry = input->disabledVlan(vlan);
        changes.push_back((entry ? "+" : "-") + std::to_string(vlan));
      });
  TestSupport::Watch const targetWatch(
      target, [&](Lumo::FieldId, void const*, void const*) { changes.push_back(list()); });
  syncher->syncDisabledVlan();
  EXPECT_THAT(changes, ElementsAre("-40", "-12", "-30", "+10", "+11", "+12", "+5", "5 10-12"));
}

TEST_F(GlobalVlanSyncher, WorksWhileTheMirrorFollowsTheTable) {
  auto const mirror = oCGlobalConfigSmFactory(input, target);
  // The mirror has emptied the list: the table was empty. A client writes another one.
  listIs({id(11), range(12, 14), range(4000, 4094)});
  syncher->syncDisabledVlan();
  EXPECT_EQ(list(), "11-14 4000-4094");
  EXPECT_EQ(disabled().size(), 4U + 95U);
  EXPECT_TRUE(target->config().bpduGuard);

  // From now on the table is what counts.
  input->disabledVlanIs(12, false);
  EXPECT_EQ(list(), "11 13-14 4000-4094");
  listIs({});
  syncher->syncDisabledVlan();
  EXPECT_EQ(list(), "");
  EXPECT_EQ(disabled(), Ids());
}

TEST_F(GlobalVlanSyncher, ListIsTakenBeforeTheTableChanges) {
  // The mirror rewrites the list with every VLAN that goes; the call goes on with what it was.
  auto const mirror = oCGlobalConfigSmFactory(input, target);
  for (std::uint16_t vlan = 100; vlan < 110; ++vlan) {
    input->disabledVlanIs(vlan, true);
  }
  EXPECT_EQ(list(), "100-109");
  syncher->syncDisabledVlan();
  EXPECT_EQ(list(), "100-109");
}

TEST_F(GlobalVlanSyncher, ReservedIdsOfABrokenListReachTheTableAlone) {
  listIs({rawEntry(0, 0, 0), rawEntry(4093, 4095, 1)});
  syncher->syncDisabledVlan();
  EXPECT_EQ(disabled(), (Ids{0, 4093, 4094, 4095}));
  EXPECT_EQ(list(), "4093-4094");
}

TEST_F(GlobalVlanSyncher, IdsThatTheTableRefusesEndTheCall) {
  listIs({id(7), rawEntry(5000, 0, 0), id(8)});
  TestSupport::Watch watch(target);
  EXPECT_THAT([&] { syncher->syncDisabledVlan(); },
              ThrowsMessage<Lumo::RangeException>("a VLAN table holds ids 0 to 4095, not 5000"));
  EXPECT_EQ(disabled(), Ids{7});
  EXPECT_EQ(watch.changes(), 0);
  listIs({rawEntry(4095, 65535, 1)});
  EXPECT_THROW(syncher->syncDisabledVlan(), Lumo::RangeException);
  EXPECT_EQ(disabled(), Ids{4095});
}

TEST_F(GlobalVlanSyncher, AbsentEntitiesAreNamed) {
  EXPECT_THAT([&] { oCGlobalVlanSyncherFactory(nullptr, input)->syncDisabledVlan(); },
              ThrowsMessage<Lumo::AbsentPointerException>(HasSubstr("Stp::OCGlobalConfig")));
  EXPECT_THAT([&] { oCGlobalVlanSyncherFactory(target, nullptr)->syncDisabledVlan(); },
              ThrowsMessage<Lumo::AbsentPointerException>(HasSubstr("Stp::Input::Config")));
}

using GlobalVlanSyncherDeathTest = GlobalVlanSyncher;

TEST_F(GlobalVlanSyncherDeathTest, UnknownEntryEndsTheProcess) {
  for (std::uint8_t const tag : {2, 7, 255}) {
    listIs({id(1), rawEntry(5, 6, tag)});
    EXPECT_EXIT(syncher->syncDisabledVlan(), testing::KilledBySignal(SIGABRT),
                "/src/Stp/StpOpenConfigSm:285: void "
                "Stp::OCGlobalVlanSyncher::syncDisabledVlan\\(\\): Assertion `false && "
                "\"Unknown content of VlanIdOrRange\"' failed\\.\n");
  }
}

}  // namespace
}  // namespace Stp
