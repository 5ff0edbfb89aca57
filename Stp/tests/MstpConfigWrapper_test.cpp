#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/RangeException.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/MstpConfigTestSupport.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::KilledBySignal;
using TestSupport::byteMap;
using TestSupport::everyVlanTo;
using TestSupport::HandlerLines;
using TestSupport::instanceIdError;
using TestSupport::MapEntry;
using TestSupport::MstiRecord;
using TestSupport::MstiRecords;
using TestSupport::recordsOf;
using TestSupport::Watch;

MstiRecord const allInCist = {0, 32768, "1-4094"};

class MstpConfigWrapper : public TestSupport::MstpConfigFixture {
 protected:
  void mirror() { mirror_ = oCMstpConfigWrapperSmFactory(input_, directory_); }

  void expectBirthRaises(char const* text) {
    MstpConfigFixture::expectBirthRaises(text, [this] { mirror(); });
  }

  Lumo::Ptr<OCMstpConfigWrapperSm> mirror_;
};

using MstpConfigWrapperDeathTest = MstpConfigWrapper;

TEST_F(MstpConfigWrapper, GivesAllVlansToTheCistByAnEmptyMap) {
  startTheCounts();
  mirror();
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}}));
  expectWrites(1, 1);
}

TEST_F(MstpConfigWrapper, EmptiesTheDirectoryAtItsBirthWithoutMst) {
  directoryHas(0);
  directoryHas(5);
  directoryHas(5000);  // its name is not asked for
  mapIs({{10, 5}});
  startTheCounts();
  mirror();
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 32768, "10"}}}))
      << "no priority of the former instances is kept";
  expectWrites(5, 2);
  EXPECT_EQ(configMirrors(), 0U);
}

TEST_F(MstpConfigWrapper, KeepsAtItsBirthWithMstWhatCarriesVlansOrIsConfigured) {
  for (std::uint16_t const id : {0, 5, 6, 7}) {
    directoryHas(id);
  }
  mapIs({{10, 5}, {4095, 7}});  // 7 is named in vain
  runMstp();
  configure("MST6", 6, 4096);
  startTheCounts();
  mirror();
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 12288, "1-9 11-4094"}}, {5, {5, 12288, "10"}}, {6, {6, 4096, ""}}}));
  // The priority of 6. Twice, as "Mst" is brought in and then at the end: the lists of 0 and 5 and
  // none for 6. Once: none for 7, which goes.
  expectWrites(1, 1 + 2 * 3 + 1);
  EXPECT_EQ(configMirrors(), 1U);
  EXPECT_EQ(leaves(), 1U);
}

TEST_F(MstpConfigWrapper, FollowsTheMap) {
  mirror();
  startTheCounts();
  mapIs({{10, 5}, {11, 5}});
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 12-4094"}}, {5, {5, 32768, "10-11"}}}));
  expectWrites(1, 2);
  mapIs({{10, 6}, {11, 5}});
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 32768, "1-9 12-4094"}}, {5, {5, 32768, "11"}}, {6, {6, 32768, "10"}}}));
  expectWrites(1, 3);
  mapIs({{10, 6}, {11, 6}});
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 12-4094"}}, {6, {6, 32768, "10-11"}}}));
  expectWrites(1, 3);  // 5 is emptied before it goes
  mapBytesAre(everyVlanTo(6));
  EXPECT_EQ(directory(), (MstiRecords{{6, {6, 32768, "1-4094"}}}));
  expectWrites(1, 2);
  mapIs({});
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}}));
  expectWrites(2, 2);
}

TEST_F(MstpConfigWrapper, EmptiesAConfiguredInstanceWithoutVlans) {
  mirror();
  runMstp();
  configure("MST5", 5, 4096);
  configure("Cist", 0, 8192);
  mapIs({{10, 5}, {20, 7}});
  EXPECT_EQ(directory(),
            (MstiRecords{
                {0, {0, 8192, "1-9 11-19 21-4094"}}, {5, {5, 4096, "10"}}, {7, {7, 32768, "20"}}}));
  startTheCounts();
  mapBytesAre(everyVlanTo(9));
  EXPECT_EQ(directory(),
            (MstiRecords{{0, {0, 8192, ""}}, {5, {5, 4096, ""}}, {9, {9, 32768, "1-4094"}}}));
  expectWrites(2, 4);
}

TEST_F(MstpConfigWrapper, ReplacesTheListAndTheIdAndKeepsThePriority) {
  runMstp();
  mirror();
  auto const config = configure("MST5", 99, 4096);
  EXPECT_EQ(directory(), (MstiRecords{{0, allInCist}, {5, {99, 4096, ""}}}));
  mapIs({{10, 5}});
  EXPECT_EQ(directory()[5], (MstiRecord{5, 4096, "10"}));
  mapIs({{12, 5}, {13, 5}});
  EXPECT_EQ(directory()[5], (MstiRecord{5, 4096, "12-13"}));
  config->bridgePriorityIs(8192);
  EXPECT_EQ(directory()[5], (MstiRecord{5, 8192, "12-13"}));
}

TEST_F(MstpConfigWrapper, KeepsAForeignIdWhereItOnlyEmptiesTheList) {
  runMstp();
  mirror();
  configure("MST5", 99);
  mapIs({{10, 6}});
  EXPECT_EQ(directory()[5], (MstiRecord{99, 32768, ""}));
}

TEST_F(MstpConfigWrapper, FollowsMstAlone) {
  mirror();
  startTheCounts();
  HandlerLines ran;
  auto const other = Lumo::make<Input::StpiConfig>();
  other->mstiConfig.is("MST5", Lumo::make<Input::MstiConfig>());
  for (char const* const name : {"Rstp", "mst", "MST", "Mst0", "Mst ", ""}) {
    input_->stpiConfig.is(name, other);
    input_->stpiConfig.del(name);
    mirror_->handleMstpConfigSm(name);
  }
  EXPECT_THAT(ran.handlers(), IsEmpty());
  expectWrites(0, 0);
  EXPECT_EQ(configMirrors(), 0U);
  EXPECT_TRUE(other->publisher().empty());
}

TEST_F(MstpConfigWrapper, BringsInMstAndTakesItBack) {
  mirror();
  mapIs({{10, 5}});
  mst_ = Lumo::make<Input::StpiConfig>();
  configure("MST5", 5, 4096);
  configure("MST6", 6, 8192);
  startTheCounts();
  input_->stpiConfig.is("Mst", mst_);
  EXPECT_EQ(
      directory(),
      (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 4096, "10"}}, {6, {6, 8192, ""}}}));
  EXPECT_EQ(configMirrors(), 1U);
  EXPECT_EQ(leaves(), 2U);
  expectWrites(1, 1 + 2 + 3);  // the priority of 5, id and priority of 6, and a pass over all
  stopMstp();
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 4096, "10"}}}));
  EXPECT_EQ(configMirrors(), 0U);
  EXPECT_EQ(leaves(), 0U);
  EXPECT_TRUE(mst_->publisher().empty());
  expectWrites(1, 3);
  configure("MST7", 7);
  expectWrites(0, 0);
}

TEST_F(MstpConfigWrapper, BringsAnInstanceWithVlansBackWithTheNextPassOnly) {
  runMstp();
  mirror();
  mapIs({{10, 5}});
  configure("MST5", 5, 4096);
  startTheCounts();
  unconfigure("MST5");
  MstiRecords const without = {{0, {0, 32768, "1-9 11-4094"}}};
  EXPECT_EQ(directory(), without);
  expectWrites(1, 0);
  configure("MST6", 6);
  unconfigure("MST6");
  EXPECT_EQ(directory(), without);
  mapIs({{10, 5}, {11, 0}});
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 32768, "10"}}}));
  stopMstp();
  directory_->mstInstanceDelAll();
  runMstp();
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 32768, "10"}}}));
}

TEST_F(MstpConfigWrapper, WritesAWholePassForEveryChangeOfTheMapsAttribute) {
  mirror();
  startTheCounts();
  MstConfig config;
  config.regionName = "region";
  input_->mstConfigIs(config);
  expectWrites(0, 1);
  config.revision = 1;
  input_->mstConfigIs(config);
  expectWrites(0, 1);
  input_->mstConfigIs(config);
  expectWrites(0, 0);
}

TEST_F(MstpConfigWrapper, CreatesWhateverInstanceTheMapNames) {
  mirror();
  mapIs({{10, 4096}, {11, 65535}});
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-9 12-4094"}},
                                      {4096, {4096, 32768, "10"}},
                                      {65535, {65535, 32768, "11"}}}));
}

TEST_F(MstpConfigWrapper, RaisesForAnInstanceAbove4095WithoutVlans) {
  mirror();
  for (std::uint16_t const id : {5, 4096, 6}) {
    directoryHas(id);
  }
  try {
    mirror_->handleMstVlanMapping();
    ADD_FAILURE() << "accepted";
  } catch (Lumo::RangeException const& error) {
    EXPECT_STREQ(error.what(), instanceIdError);
  }
  // It is emptied before its name is asked for; what comes before it is done.
  EXPECT_EQ(directory(),
            (MstiRecords{{0, allInCist}, {4096, {4096, 12288, ""}}, {6, {6, 12288, "10"}}}));
}

TEST_F(MstpConfigWrapper, LeavesNothingWhenItsBirthFails) {
  runMstp();
  directoryHas(4096);
  mapIs({{10, 4096}});
  expectBirthRaises(instanceIdError);
  directory_->mstInstanceDelAll();
  configure("MST5", 5, 61441);
  expectBirthRaises("Stp::OCBridgePriority::value < 0 or > 61440 not allowed");
  unconfigure("MST5");
  configure("MST5", 5, 61440);
  mirror();
  EXPECT_EQ(OCMstpConfigWrapperSm::memAllocationTracker_.live(), 1U);
}

TEST_F(MstpConfigWrapper, LeavesNothingWhenItsSourceIsAbsent) {
  EXPECT_THROW(oCMstpConfigWrapperSmFactory(nullptr, directory_), Lumo::AbsentPointerException);
  expectNoSubscriptions();
}

TEST_F(MstpConfigWrapper, RunsExactlyTheListedHandlers) {
  mirror();
  Lumo::String const mst = "Mst";
  Lumo::String const other = "Rstp";
  HandlerLines ran;
  for (int id = 0; id <= 65535; ++id) {
    auto const field = static_cast<Lumo::FieldId>(id);
    input_->publisher().publishChangeRecursive(field, &mst, nullptr);
    if (id == 298) {
      EXPECT_THAT(ran.handlers(), ElementsAre("handleMstVlanMapping"));
    } else if (id == 387) {
      EXPECT_THAT(ran.handlers(), ElementsAre("handleMstpConfigSm", "handleMstVlanMapping"));
      input_->publisher().publishChangeRecursive(field, &other, nullptr);
      EXPECT_THAT(ran.handlers(), IsEmpty());
    } else {
      ASSERT_THAT(ran.handlers(), IsEmpty()) << id;
    }
  }
}

TEST_F(MstpConfigWrapper, DropsChangesWhileInactiveOrZombie) {
  mirror();
  runMstp();
  startTheCounts();
  mirror_->velDoZombieReactors(true);
  mapIs({{10, 5}});
  stopMstp();
  expectWrites(0, 0);
  EXPECT_EQ(configMirrors(), 1U);
  mirror_->velDoZombieReactors(false);
  configure("MST6", 6);
  expectWrites(1, 2);
  mirror_->hasNotificationActiveIs(false);
  EXPECT_TRUE(input_->publisher().empty());
  configure("MST7", 7);
  mapIs({{10, 7}});
  expectWrites(0, 0);
  mirror_->hasNotificationActiveIs(true);
  expectWrites(0, 0);
}

TEST_F(MstpConfigWrapper, RefusesAChildOfOtherEntities) {
  mirror();
  auto const mst = runMstp();
  auto const child = mirror_->ocMstpConfigSmIs("Mst", mst, input_, directory_);
  auto const otherMst = Lumo::make<Input::StpiConfig>();
  auto const otherInput = Lumo::make<Input::Config>();
  auto const otherDirectory = Lumo::make<OCMstiConfigDir>();
  struct Case {
    Lumo::Ptr<Input::StpiConfig> mst;
    Lumo::Ptr<Input::Config> input;
    Lumo::Ptr<OCMstiConfigDir> directory;
    Lumo::FieldId field;
    Lumo::Node const* stored;
    Lumo::Node const* given;
  };
  for (auto const& given :
       {Case{otherMst, input_, directory_, 131, mst.get(), otherMst.get()},
        Case{mst, otherInput, directory_, 132, input_.get(), otherInput.get()},
        Case{mst, input_, otherDirectory, 133, directory_.get(), otherDirectory.get()},
        Case{otherMst, otherInput, otherDirectory, 131, mst.get(), otherMst.get()},
        Case{mst, nullptr, otherDirectory, 132, input_.get(), nullptr}}) {
    SCOPED_TRACE(given.field);
    TestSupport::expectReinstantiationRefused(10, given.field, given.stored, given.given, [&] {
      mirror_->ocMstpConfigSmIs("Mst", given.mst, given.input, given.directory);
    });
    EXPECT_EQ(mirror_->ocMstpConfigSmIs("Mst", mst, input_, directory_), child);
  }
}

TEST_F(MstpConfigWrapper, MayBeDroppedFromInsideAnyChangeThatItMakes) {
  for (int change = 1; change <= 5; ++change) {
    SCOPED_TRACE(change);
    directory_->mstInstanceDelAll();
    mirror();
    int seen = 0;
    auto const drop = [&](auto...) { seen++, mirror_ = seen >= change ? nullptr : mirror_; };
    Watch<OCMsti> const records(directory_->mstInstance(0), drop);
    Watch<OCMstiConfigDir> const members(directory_, drop);
    runMstp();
    configure("MST5", 5, 4096)->bridgePriorityIs(8192);
    mapIs({{10, 5}, {11, 6}});
    stopMstp();
    EXPECT_EQ(mirror_, nullptr);
    expectNoSubscriptions();
    mapIs({});
  }
}

TEST_F(MstpConfigWrapper, TracesItsHandlers) {
  runMstp();
  HandlerLines traced;
  mirror();
  std::string const site = "StpOCSm 8 /src/Stp/StpOpenConfigSm:";
  std::string const mapping =
      site + "764 handleMstVlanMapping OCMstpConfigWrapperSm::handleMstVlanMapping() ";
  EXPECT_THAT(
      traced.lines(),
      ElementsAre(site + "836 handleInitialized OCMstpConfigWrapperSm::handleInitialized() ",
                  site + "822 handleMstpConfigSm OCMstpConfigWrapperSm::handleMstpConfigSm() ",
                  site + "741 handleInitialized OCMstpConfigSm[Mst]::handleInitialized() ", mapping,
                  mapping));
}

TEST_F(MstpConfigWrapperDeathTest, ErrorsInANotification) {
  mirror();
  runMstp();
  auto const died = KilledBySignal(SIGABRT);
  EXPECT_EXIT(runMstp(), died, HasSubstr("Stp::OCMstpConfigSm")) << "another entity";
  EXPECT_EXIT(mapBytesAre(Lumo::Bytes{1, 2, 3, 4, 5, 6}), died,
              HasSubstr("vidToMsti map corrupted"));
  mapIs({{10, 4096}});
  EXPECT_EXIT(mapIs({}), died, HasSubstr(instanceIdError));
  stopMstp();
  EXPECT_EXIT(runMstp(), died, HasSubstr(instanceIdError));
}

}  // namespace
}  // namespace Stp
