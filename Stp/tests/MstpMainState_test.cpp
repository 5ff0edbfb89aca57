#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>

#include "Lumo/Ptr.h"
#include "Lumo/RangeException.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/MstpStateTestSupport.h"
#include "Stp/tests/TestSupport.h"
#include "Vel/Reinstantiation.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::KilledBySignal;
using TestSupport::everyVlanTo;
using TestSupport::HandlerLines;
using TestSupport::MstiRecord;
using TestSupport::MstiRecords;
using TestSupport::Watch;

constexpr char const* instanceIdError =
    "Stp::InstanceId::value < Stp::InstanceId::minInstanceId or > "
    "Stp::InstanceId::maxInternalInstanceId not allowed";
constexpr char const* priorityError = "Stp::OCBridgePriority::value < 0 or > 61440 not allowed";

MstiRecord const allInCist = {0, 32768, "1-4094"};

class MstpMainState : public TestSupport::MstpStateFixture {
 protected:
  template <class Action>
  void expectRaises(Action action, char const* text) {
    try {
      action();
      ADD_FAILURE() << "accepted";
    } catch (Lumo::RangeException const& error) {
      EXPECT_THAT(error.what(), HasSubstr(text));
    }
  }
  void expectBirthRaises(char const* text) {
    expectRaises([this] { mirror(); }, text);
    expectNoSubscriptions();
  }
};

using MstpMainStateDeathTest = MstpMainState;

TEST_F(MstpMainState, BringsTogetherVlansAndPriorities) {
  config_->mstConfigIs(TestSupport::mstConfig({{10, 5},
                                               {11, 5},
                                               {12, 5},
                                               {13, 5},
                                               {14, 5},
                                               {15, 5},
                                               {16, 5},
                                               {17, 5},
                                               {18, 5},
                                               {19, 5},
                                               {20, 5}}));
  runMstp();
  run("Cist", 0);
  run("MST5", 61440);
  mirror();
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 0, "1-9 21-4094"}}, {5, {5, 61440, "10-20"}}}));
  EXPECT_EQ(changes(), 4);  // each record once for its VLANs and once for its priority
  EXPECT_EQ(watchers(), 1U);
  EXPECT_EQ(leaves(), 2U);
}

TEST_F(MstpMainState, IsEmptyWithoutMstp) {
  mapIs({{10, 5}});
  runMstp();
  run("MST5");
  for (std::int32_t const protocol : {0, 1, 2, 4, 101, -1, 3 + 256, 3 + 65536}) {
    SCOPED_TRACE(protocol);
    protocolIs(protocol);
    directoryHas(5);
    directoryHas(4096);  // its name is not asked for
    mirror();
    EXPECT_EQ(directory(), (MstiRecords()));
    EXPECT_EQ(changes(), 2);
    EXPECT_EQ(watchers() + leaves(), 0U);
    mapIs({{10, 6}});
    mapIs({{10, 5}});
    EXPECT_EQ(changes(), 0) << "an empty directory is left alone";
    mirror_ = nullptr;
    expectNoSubscriptions();
  }
}

TEST_F(MstpMainState, DoesNotLookAtTheMapWithoutMstp) {
  mirror();
  mapBytesAre(Lumo::Bytes{1, 2, 3, 4, 5, 6});
  protocolIs(101);
  EXPECT_EQ(directory(), (MstiRecords()));
}

TEST_F(MstpMainState, FollowsTheProtocol) {
  mirror();
  runMstp();
  run("MST5", 4096);
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}, {5, {5, 4096, ""}}}));
  changes();
  protocolIs(2);
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(changes(), 2);
  EXPECT_EQ(watchers() + leaves(), 0U);
  EXPECT_TRUE(mst_->publisher().empty());
  run("MST6");
  mapIs({{10, 6}});
  EXPECT_EQ(changes(), 0);
  protocolIs(3);
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 4096, ""}}, {6, {6, 32768, "10"}}}));
  EXPECT_EQ(watchers(), 1U);
  EXPECT_EQ(leaves(), 2U);
}

TEST_F(MstpMainState, IsEmptyWithoutMst) {
  mapIs({{10, 5}});
  directoryHas(4096);  // goes with all others before its name is asked for
  protocolIs(3);
  mirror();
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(changes(), 2 + 3);
  runMstp();
  run("MST5", 4096);
  EXPECT_EQ(leaves(), 1U);
  changes();
  status_->stpiStatus.del("Mst");
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(changes(), 2 + 2);
  EXPECT_EQ(watchers() + leaves(), 0U);
  EXPECT_TRUE(mst_->publisher().empty());
  status_->stpiStatus.is("Mst", mst_);
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 4096, "10"}}}));
  EXPECT_EQ(watchers() + leaves(), 2U);
}

TEST_F(MstpMainState, TakesTheInstancesOfMstAlone) {
  runMstp();
  mirror();
  changes();
  for (char const* const name : {"Rstp", "mst", "Mst0", ""}) {
    auto const other = Lumo::make<StpiStatus>();
    other->mstiStatus.is("MST5", Lumo::make<MstiStatus>());
    status_->stpiStatus.is(name, other);
    EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}}));
    EXPECT_EQ(changes(), 1) << "the change of the collection still rebuilds";
    EXPECT_TRUE(other->publisher().empty());
  }
}

TEST_F(MstpMainState, KeepsThePriorityOfAnInstanceThatHasVlansAndNoStatus) {
  mapIs({{10, 5}});
  runMstp();
  mirror();
  run("MST5", 4096);
  stop("MST5");
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 4096, "10"}}}));
  EXPECT_EQ(leaves(), 0U);
  mapIs({{10, 5}, {11, 5}});
  EXPECT_EQ(directory()[5], (MstiRecord{5, 4096, "10-11"}));
  changes();
  mapIs({});
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}}));
  EXPECT_EQ(changes(), 2);
}

TEST_F(MstpMainState, KeepsTheVlansOfAnInstanceThatHasAStatusAndLeftTheMap) {
  mapIs({{10, 5}, {20, 6}});
  runMstp();
  run("MST5", 4096);
  run("Cist", 8192);
  mirror();
  changes();
  mapBytesAre(everyVlanTo(6));
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 8192, "1-9 11-19 21-4094"}},
                                      {5, {5, 4096, "10"}},
                                      {6, {6, 32768, "1-4094"}}}));
  EXPECT_EQ(changes(), 1 + 2);
  stop("MST5");
  EXPECT_FALSE(directory().contains(5));
}

TEST_F(MstpMainState, KeepsWhatAnEarlierRunLeftOfTheInstancesThatItHas) {
  for (std::uint16_t const id : {0, 5, 6, 7}) {
    directoryHas(id);
  }
  mapIs({{20, 5}});
  runMstp();
  run("MST6", 4096);
  mirror();
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 12288, "1-19 21-4094"}}, {5, {5, 12288, "20"}}, {6, {6, 4096, "10"}}}));
  EXPECT_EQ(changes(), 2 + 1 + 1);
}

TEST_F(MstpMainState, WritesEveryRecordAnewForEveryChange) {
  mapIs({{10, 5}});
  runMstp();
  auto const cist = run("Cist");
  auto const msti = run("MST5");
  mirror();
  changes();
  cist->bridgePriorityIs(4096);
  EXPECT_EQ(changes(), 4);
  msti->bridgePriorityIs(61440);
  EXPECT_EQ(changes(), 4);
  msti->bridgePriorityIs(61440);
  EXPECT_EQ(changes(), 0);
  mapIs({{10, 6}});
  EXPECT_EQ(changes(), 4);
  run("MST7");
  EXPECT_EQ(changes(), 5);
  stop("MST7");
  EXPECT_EQ(changes(), 5);
  mst_->stpiPortStatus.is("Ethernet1", Lumo::make<StpiPortStatus>());
  config_->portfastBpduguardIs(true);
  EXPECT_EQ(changes(), 0);
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 4096, "1-9 11-4094"}}, {5, {5, 61440, "10"}}, {6, {6, 32768, "10"}}}));
}

TEST_F(MstpMainState, RebuildsOnceForEveryBumpAlsoWhereTheCounterWraps) {
  runMstp();
  auto const cist = run("Cist", 0);
  mirror();
  changes();
  HandlerLines ran;
  for (int bump = 1; bump <= 600; ++bump) {
    cist->bridgePriorityIs(static_cast<std::uint16_t>(bump));
    ASSERT_THAT(ran.handlers(), ElementsAre("triggerInc", "update")) << bump;
    ASSERT_EQ(changes(), 2) << bump;
    ASSERT_EQ(directory()[0].priority, bump);
  }
}

TEST_F(MstpMainState, RaisesForAPriorityAboveTheLimit) {
  mapIs({{10, 5}});
  runMstp();
  run("Cist", 61440);
  run("MST5", 61441);
  run("MST6", 0);
  expectBirthRaises(priorityError);
  MstiRecords const stored = {{0, {0, 61440, "1-9 11-4094"}}, {5, {5, 32768, "10"}}};
  EXPECT_EQ(directory(), stored) << "what was stored before stays";
  EXPECT_EQ(changes(), 3);
}

TEST_F(MstpMainState, RaisesForAnInstanceUnderNoInstanceName) {
  runMstp();
  run("MST05", 61441);  // the name comes first
  expectBirthRaises("\"MST05\"");
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}}));
}

TEST_F(MstpMainState, RaisesForAnInstanceAbove4095BeforeAnyOtherTest) {
  runMstp();
  mapIs({{10, 4096}});
  directoryHas(7);
  directoryHas(4096);  // has VLANs
  directoryHas(8);
  expectBirthRaises(instanceIdError);
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}},
                                      {8, {8, 12288, "10"}},
                                      {4096, {4096, 12288, "10"}}}));
}

TEST_F(MstpMainState, WatchesNoAbsentEntity) {
  mirror_ = oCMstpMainStateSmFactory(nullptr, status_, directory_);
  EXPECT_EQ(config_->references(), 1U);
  protocolIs(2);
  mirror_ = nullptr;
  EXPECT_THROW(oCMstpMainStateSmFactory(config_, nullptr, directory_),
               Lumo::AbsentPointerException);
  expectNoSubscriptions();
}

TEST_F(MstpMainState, StaysWithTheWatchersOfAReplacedMst) {
  auto const before = runMstp();
  auto const instanceBefore = run("MST5", 4096);
  mirror();
  auto const after = Lumo::make<StpiStatus>();
  auto const instanceAfter = Lumo::make<MstiStatus>();
  instanceAfter->bridgePriorityIs(8192);
  after->mstiStatus.is("MST5", instanceAfter);
  status_->stpiStatus.is("Mst", after);
  EXPECT_EQ(directory()[5].priority, 8192) << "the replacement itself rebuilds";
  EXPECT_EQ(watchers() + leaves(), 2U);
  EXPECT_TRUE(after->publisher().empty());
  EXPECT_TRUE(instanceAfter->publisher().empty());
  changes();
  instanceAfter->bridgePriorityIs(12288);
  after->mstiStatus.is("MST6", Lumo::make<MstiStatus>());
  EXPECT_EQ(changes(), 0) << "changes of the new one are not watched";
  instanceBefore->bridgePriorityIs(0);
  EXPECT_EQ(directory()[5].priority, 12288) << "those of the old one rebuild from the new one";
  EXPECT_EQ(leaves(), 2U);
  after->mstiStatus.is("MST7", Lumo::make<MstiStatus>());
  before->mstiStatus.del("MST5");
  EXPECT_EQ(leaves(), 3U);
  status_->stpiStatus.del("Mst");
  status_->stpiStatus.is("Mst", after);
  EXPECT_TRUE(before->publisher().empty());
  EXPECT_TRUE(instanceBefore->publisher().empty());
  changes();
  instanceAfter->bridgePriorityIs(0);
  EXPECT_EQ(directory()[5].priority, 0) << "once it was away, the new one is watched";
}

TEST_F(MstpMainState, StaysWithTheLeafOfAReplacedInstance) {
  runMstp();
  mirror();
  auto const before = run("MST5", 4096);
  auto const after = run("MST5", 8192);
  EXPECT_EQ(directory()[5].priority, 8192);
  EXPECT_TRUE(after->publisher().empty());
  changes();
  after->bridgePriorityIs(0);
  EXPECT_EQ(changes(), 0);
  before->bridgePriorityIs(8192);
  EXPECT_EQ(directory()[5].priority, 0);
}

TEST_F(MstpMainState, RunsExactlyTheListedHandlers) {
  runMstp();
  mirror();
  auto const trigger = mirror_->ocMstpTriggerIs();
  Lumo::String const key = "Mst";
  HandlerLines ran;
  auto const expectHandlers = [&](Lumo::Publisher& publisher, auto bumps, int updates) {
    for (int id = 0; id <= 65535; ++id) {
      publisher.publishChangeRecursive(static_cast<Lumo::FieldId>(id), &key, nullptr);
      if (bumps(id)) {
        EXPECT_THAT(ran.handlers(), ElementsAre("triggerInc", "update")) << id;
      } else if (id == updates) {
        EXPECT_THAT(ran.handlers(), ElementsAre("update")) << id;
      } else {
        ASSERT_THAT(ran.handlers(), IsEmpty()) << id;
      }
    }
  };
  expectHandlers(
      config_->publisher(), [](int id) { return id == 298; }, -1);
  expectHandlers(
      status_->publisher(), [](int id) { return id == 258 || id == 259; }, -1);
  expectHandlers(
      trigger->publisher(), [](int) { return false; }, 130);
}

TEST_F(MstpMainState, SwitchesTriggerAndLeavesOffAndOn) {
  runMstp();
  auto const cist = run("Cist", 0);
  mirror();
  changes();
  mirror_->hasNotificationActiveIs(false);
  EXPECT_TRUE(config_->publisher().empty());
  EXPECT_TRUE(status_->publisher().empty());
  EXPECT_TRUE(mst_->publisher().empty());
  EXPECT_TRUE(cist->publisher().empty());
  mirror_->triggerInc();
  EXPECT_EQ(changes(), 0) << "nobody listens to the trigger";
  mirror_->hasNotificationActiveIs(true);
  mirror_->hasNotificationActiveIs(true);
  EXPECT_EQ(changes(), 0);
  cist->bridgePriorityIs(4096);
  EXPECT_EQ(changes(), 2) << "subscribed once";
  mirror_->velDoZombieReactors(true);
  cist->bridgePriorityIs(8192);
  protocolIs(2);
  EXPECT_EQ(changes(), 0);
  mirror_->velDoZombieReactors(false);
  EXPECT_EQ(directory()[0].priority, 4096) << "dropped, not queued";
}

TEST_F(MstpMainState, PutsAFreshTriggerInThePlaceOfAnother) {
  runMstp();
  mirror();
  auto const first = mirror_->ocMstpTriggerIs();
  EXPECT_EQ(first->counter(), 0);
  auto const second = mirror_->ocMstpTriggerIs();
  EXPECT_NE(first, second);
  EXPECT_TRUE(first->publisher().empty());
  changes();
  first->counterInc(1);
  EXPECT_EQ(changes(), 0);
  second->counterInc(255);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(mirror_->ocMstpTriggerDel(), second);
  EXPECT_TRUE(second->publisher().empty());
  EXPECT_EQ(mirror_->ocMstpTriggerDel(), nullptr);
  EXPECT_THROW(mirror_->triggerInc(), Lumo::AbsentPointerException);
  mirror_->ocMstpTriggerIs();
  mirror_->triggerInc();
  EXPECT_EQ(changes(), 1);
}

TEST_F(MstpMainState, KeepsItsWatcherOfTheSameEntitiesAndReplacesAnyOther) {
  runMstp();
  mirror();
  auto const trigger = mirror_->ocMstpTriggerIs();
  auto const other = Lumo::make<StpiStatus>();
  auto const watcher = mirror_->ocMstSmIs(mst_, trigger);
  EXPECT_EQ(mirror_->ocMstSmIs(mst_, trigger), watcher);
  auto const second = mirror_->ocMstSmIs(other, trigger);
  EXPECT_NE(second, watcher);
  EXPECT_TRUE(second->hasNotificationActive());
  EXPECT_NE(mirror_->ocMstSmIs(other, mirror_->ocMstpTriggerIs()), second);
  EXPECT_EQ(watchers(), 3U);  // two are held here
  EXPECT_NE(mirror_->ocMstSmDel(), nullptr);
  EXPECT_EQ(mirror_->ocMstSmDel(), nullptr);
}

TEST_F(MstpMainState, RefusesALeafOfOtherEntities) {
  mirror();
  auto const status = Lumo::make<MstiStatus>();
  auto const otherStatus = Lumo::make<MstiStatus>();
  auto const otherTrigger = mirror_->ocMstpTriggerIs();
  auto const trigger = mirror_->ocMstpTriggerIs();
  auto const leaf = mirror_->ocMstiStatusSmIs("MST5", status, trigger);
  auto const expectRefusal = [&](auto const& givenStatus, auto const& givenTrigger,
                                 Lumo::FieldId field, Lumo::Node const* stored,
                                 Lumo::Node const* given) {
    TestSupport::expectReinstantiationRefused(14, field, stored, given, [&] {
      mirror_->ocMstiStatusSmIs("MST5", givenStatus, givenTrigger);
    });
    EXPECT_EQ(mirror_->ocMstiStatusSmIs("MST5", status, trigger), leaf);
  };
  expectRefusal(otherStatus, trigger, 131, status.get(), otherStatus.get());
  expectRefusal(status, otherTrigger, 132, trigger.get(), otherTrigger.get());
  expectRefusal(otherStatus, otherTrigger, 131, status.get(), otherStatus.get());
  EXPECT_EQ(mirror_->ocMstiStatusSmDel("MST5"), leaf);
  EXPECT_EQ(mirror_->ocMstiStatusSmDel("MST5"), nullptr);
  mirror_->ocMstiStatusSmIs("MST5", otherStatus, otherTrigger);
  mirror_->ocMstiStatusSmDelAll();
  EXPECT_EQ(leaves(), 1U);  // held here
}

TEST_F(MstpMainState, TracesItsHandlers) {
  HandlerLines traced;
  mirror();
  std::string const site = "StpOCSm 8 /src/Stp/StpOpenConfigSm:";
  std::string const update = site + "874 update OCMstpMainStateSm::update() ";
  EXPECT_THAT(
      traced.lines(),
      ElementsAre(site + "869 handleInitialized OCMstpMainStateSm::handleInitialized() ", update));
  protocolIs(2);
  EXPECT_THAT(traced.lines(),
              ElementsAre(site + "865 triggerInc OCMstpMainStateSm::triggerInc() ", update));
}

TEST_F(MstpMainStateDeathTest, ErrorsInANotification) {
  mirror();
  auto const mst = runMstp();
  auto const died = KilledBySignal(SIGABRT);
  EXPECT_EXIT(run("MST5", 61441), died, HasSubstr(priorityError));
  EXPECT_EXIT(run("MST05"), died, HasSubstr("\"MST05\""));
  EXPECT_EXIT(mapIs({{10, 4096}}), died, HasSubstr(instanceIdError));
  EXPECT_EXIT(mapBytesAre(Lumo::Bytes{1, 2, 3, 4, 5, 6}), died,
              HasSubstr("vidToMsti map corrupted"));
  mirror_->ocMstpTriggerDel();
  EXPECT_EXIT(mapIs({{10, 5}}), died, HasSubstr("OCMstpTrigger")) << "no trigger";
}

}  // namespace
}  // namespace Stp
