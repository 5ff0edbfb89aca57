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

class MstpConfigMirror : public TestSupport::MstpConfigFixture {
 protected:
  MstpConfigMirror() { mst_ = Lumo::make<Input::StpiConfig>(); }

  void mirror() { mirror_ = oCMstpConfigSmFactory("Mst", mst_, input_, directory_); }

  void expectBirthRaises(char const* text) {
    MstpConfigFixture::expectBirthRaises(text, [this] { mirror(); });
  }

  Lumo::Ptr<OCMstpConfigSm> mirror_;
};

using MstpConfigMirrorDeathTest = MstpConfigMirror;

TEST_F(MstpConfigMirror, BringsInANewConfiguration) {
  mirror();
  startTheCounts();
  configure("MST3", 3, 8192);
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 8192, ""}}}));
  EXPECT_EQ(leaves(), 1U);
  expectWrites(1, 2);  // the id, then the priority
  configure("Cist", 0, 0);
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 0, ""}}, {3, {3, 8192, ""}}}));
  expectWrites(1, 2);
}

TEST_F(MstpConfigMirror, BringsInWhatIsConfiguredAtItsBirth) {
  configure("MST4095", 4095, 61440);
  configure("MST1", 1, 4097);
  startTheCounts();
  mirror();
  EXPECT_EQ(directory(), (MstiRecords{{1, {1, 4097, ""}}, {4095, {4095, 61440, ""}}}));
  EXPECT_EQ(leaves(), 2U);
  expectWrites(2, 4);
}

TEST_F(MstpConfigMirror, TakesTheRecordsIdFromTheConfigurationAndItsPlaceFromTheName) {
  mirror();
  auto const config = configure("MST3", 9, 4096);
  EXPECT_EQ(directory(), (MstiRecords{{3, {9, 4096, ""}}}));
  config->mstiIdIs(10);
  EXPECT_EQ(directory(), (MstiRecords{{3, {9, 4096, ""}}})) << "read once";
}

TEST_F(MstpConfigMirror, DeletesTheInstanceOfARemovedConfigurationAlthoughVlansMapToIt) {
  mapIs({{10, 3}});
  auto const config = configure("MST3", 3);
  mirror();
  startTheCounts();
  unconfigure("MST3");
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(leaves(), 0U);
  expectWrites(1, 0);
  config->bridgePriorityIs(4096);
  expectWrites(0, 0);
}

TEST_F(MstpConfigMirror, FollowsTheRemovalOfAllConfigurations) {
  mirror();
  configure("MST3", 3);
  configure("MST4", 4);
  configure("Cist", 0);
  startTheCounts();
  mst_->mstiConfig.delAll();
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(leaves(), 0U);
  expectWrites(3, 0);
}

TEST_F(MstpConfigMirror, RewritesNoRecordThatExists) {
  mapIs({{10, 3}});
  directoryHas(3);
  mirror();
  startTheCounts();
  configure("MST3", 9, 4096);
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 4096, "10"}}}));
  expectWrites(0, 1);  // the priority alone
}

TEST_F(MstpConfigMirror, KeepsAtItsBirthWhatIsConfiguredOrNamedByTheMap) {
  auto const entries = [](std::size_t count, MapEntry last) {
    std::vector<MapEntry> list(count - 1, {1, 1});
    list.push_back(last);
    return byteMap(list);
  };
  struct Case {
    char const* what;
    Lumo::Bytes map;
    std::vector<Lumo::String> configured;
    std::vector<std::uint16_t> kept;
  };
  Lumo::Bytes const tenToFive = byteMap({{10, 5}});
  std::vector<Case> const cases = {
      {"no map", {}, {}, {0}},
      {"no map, configured", {}, {"MST5"}, {0, 5}},
      {"named", tenToFive, {}, {0, 5}},
      {"named among others", byteMap({{9, 4}, {10, 5}, {11, 4095}}), {}, {0, 5, 4095}},
      {"the number of a VLAN", byteMap({{5, 7}}), {}, {0}},
      {"named by an entry that the decoder ignores", byteMap({{20, 7}, {10, 5}}), {}, {0, 5}},
      {"named for a VLAN that no bridge has", byteMap({{4095, 5}}), {}, {0, 5}},
      {"explicit CIST", byteMap({{10, 0}}), {}, {0}},
      {"bytes of half an entry", Lumo::Bytes{0, 10, 0, 5, 0, 4}, {}, {0, 5}},
      {"all VLANs elsewhere", everyVlanTo(5), {}, {5}},
      {"all VLANs elsewhere, CIST configured", everyVlanTo(5), {"Cist"}, {0, 5}},
      {"an entry for every VLAN, all in the CIST", everyVlanTo(0), {}, {}},
      {"4093 entries", entries(4093, {1, 5}), {}, {0, 5}},
      {"4094 entries for one VLAN", entries(4094, {1, 5}), {}, {5}},
      {"4095 entries", entries(4095, {1, 5}), {}, {0, 5}},
      {"as many entries as 16 bits count", entries(65535, {1, 5}), {}, {0, 5}},
      {"one more counts as none", entries(65536, {1, 5}), {}, {0}},
      {"4094 modulo 65536", entries(65536 + 4094, {1, 5}), {}, {}},
  };
  for (auto const& [what, map, configured, kept] : cases) {
    SCOPED_TRACE(what);
    MstiRecords expected;
    for (std::uint16_t const id : {0, 5, 4095}) {
      directoryHas(id);
    }
    for (std::uint16_t const id : kept) {
      expected.emplace(id, asLeft(id));
    }
    for (Lumo::String const& name : configured) {
      configure(name, 99, 12288);
    }
    mapBytesAre(map);
    startTheCounts();
    mirror();
    EXPECT_EQ(directory(), expected);
    expectWrites(static_cast<int>(3 - kept.size()), static_cast<int>(configured.size()));
    writes_.reset();
    mirror_ = nullptr;
    mst_->mstiConfig.delAll();
    directory_->mstInstanceDelAll();
  }
}

TEST_F(MstpConfigMirror, FollowsNeitherTheMapNorTheDirectoryLater) {
  mirror();
  directoryHas(5);
  mapBytesAre(everyVlanTo(6));
  mapIs({});
  EXPECT_EQ(directory(), (MstiRecords{{5, asLeft(5)}}));
}

TEST_F(MstpConfigMirror, RaisesForAnInstanceAbove4095BeforeAnyOtherTest) {
  mapIs({{10, 4096}});
  directoryHas(7);
  directoryHas(4096);  // named by the map
  directoryHas(8);
  expectBirthRaises(instanceIdError);
  EXPECT_EQ(directory(), (MstiRecords{{8, asLeft(8)}, {4096, asLeft(4096)}}))
      << "those before it are done";
}

TEST_F(MstpConfigMirror, RaisesAtItsBirthForAPriorityAboveTheLimit) {
  configure("MST3", 3, 61440);
  configure("MST4", 4, 61441);
  expectBirthRaises("Stp::OCBridgePriority::value < 0 or > 61440 not allowed");
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 61440, ""}}, {4, {4, 32768, ""}}}));
}

TEST_F(MstpConfigMirror, RaisesAtItsBirthForAConfigurationUnderNoInstanceName) {
  configure("MST3", 3);
  configure("MST03", 3);
  expectBirthRaises("\"MST03\"");
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 32768, ""}}}));
}

TEST_F(MstpConfigMirror, RaisesForTheRemovalOfAConfigurationUnderNoInstanceName) {
  mirror();
  directoryHas(3);
  for (char const* const name : {"MST4096", "Mst", ""}) {
    EXPECT_THROW(mirror_->handleMstiConfig(name), Lumo::RangeException) << name;
  }
  EXPECT_EQ(directory(), (MstiRecords{{3, asLeft(3)}}));
}

TEST_F(MstpConfigMirror, LeavesNothingWhenItsSourceIsAbsent) {
  EXPECT_THROW(oCMstpConfigSmFactory("Mst", nullptr, input_, directory_),
               Lumo::AbsentPointerException);
  expectNoSubscriptions();
}

TEST_F(MstpConfigMirror, LeavesTheInstancesWhenItGoes) {
  mirror();
  configure("MST3", 3);
  mirror_ = nullptr;
  expectNoSubscriptions();
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 32768, ""}}}));
}

TEST_F(MstpConfigMirror, KeepsAChildThatIsAskedForAgain) {
  mirror();
  auto const config = configure("MST3", 3);
  auto const instance = directory_->mstInstance(3);
  auto const child = mirror_->ocMstiConfigSmIs("MST3", config, instance);
  EXPECT_EQ(mirror_->ocMstiConfigSmIs("MST3", config, instance), child);
  EXPECT_EQ(leaves(), 1U);
  EXPECT_TRUE(child->hasNotificationActive());
  EXPECT_EQ(mirror_->ocMstiConfigSmDel("MST3"), child);
  EXPECT_EQ(mirror_->ocMstiConfigSmDel("MST3"), nullptr);
  mirror_->ocMstiConfigSmIs("MST1", config, instance);
  mirror_->ocMstiConfigSmIs("MST2", config, instance);
  EXPECT_EQ(leaves(), 3U);  // one is held here
  mirror_->ocMstiConfigSmDelAll();
  EXPECT_EQ(leaves(), 1U);
}

TEST_F(MstpConfigMirror, RefusesAChildOfOtherEntities) {
  mirror();
  auto const config = configure("MST3", 3);
  auto const instance = directory_->mstInstance(3);
  auto const child = mirror_->ocMstiConfigSmIs("MST3", config, instance);
  auto const otherConfig = Lumo::make<Input::MstiConfig>();
  auto const otherInstance = Lumo::make<OCMsti>();
  auto const expectRefusal = [&](Lumo::Ptr<Input::MstiConfig> const& givenConfig,
                                 Lumo::Ptr<OCMsti> const& givenInstance, Lumo::FieldId field,
                                 Lumo::Node const* stored, Lumo::Node const* given) {
    SCOPED_TRACE(field);
    TestSupport::expectReinstantiationRefused(9, field, stored, given, [&] {
      mirror_->ocMstiConfigSmIs("MST3", givenConfig, givenInstance);
    });
    EXPECT_EQ(mirror_->ocMstiConfigSmIs("MST3", config, instance), child);
  };
  expectRefusal(otherConfig, instance, 131, config.get(), otherConfig.get());
  expectRefusal(config, otherInstance, 132, instance.get(), otherInstance.get());
  expectRefusal(otherConfig, otherInstance, 131, config.get(), otherConfig.get());
  expectRefusal(nullptr, instance, 131, config.get(), nullptr);
}

TEST_F(MstpConfigMirror, FollowsTheConfigurationsAlone) {
  mirror();
  Lumo::String const key = "MST3";
  HandlerLines ran;
  for (int id = 0; id <= 65535; ++id) {
    mst_->publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(id), &key, nullptr);
    if (id == 259) {
      EXPECT_THAT(ran.handlers(), ElementsAre("handleMstiConfig"));
    } else {
      ASSERT_THAT(ran.handlers(), IsEmpty()) << id;
    }
  }
}

TEST_F(MstpConfigMirror, SwitchesItsChildrenOffAndOn) {
  mirror();
  auto const config = configure("MST3", 3);
  startTheCounts();
  mirror_->hasNotificationActiveIs(false);
  config->bridgePriorityIs(4096);
  configure("MST4", 4);
  expectWrites(0, 0);
  mirror_->hasNotificationActiveIs(true);
  config->bridgePriorityIs(8192);
  configure("MST5", 5);
  EXPECT_EQ(directory(), (MstiRecords{{3, {3, 8192, ""}}, {5, {5, 32768, ""}}}));
  expectWrites(1, 3);
}

TEST_F(MstpConfigMirror, IsAZombieWithoutItsChildren) {
  mirror();
  auto const config = configure("MST3", 3);
  startTheCounts();
  mirror_->velDoZombieReactors(true);
  configure("MST4", 4);
  unconfigure("MST3");
  expectWrites(0, 0);
  config->bridgePriorityIs(4096);
  expectWrites(0, 1);
}

TEST_F(MstpConfigMirror, MayBeDroppedFromInsideTheChangesThatItMakes) {
  for (int const change : {1, 2, 3}) {
    SCOPED_TRACE(change);
    mirror();
    int seen = 0;
    auto const drop = [&](auto...) { seen++, mirror_ = seen == change ? nullptr : mirror_; };
    Watch<OCMstiConfigDir> const members(directory_, drop);
    directory_->mstInstanceIs(3);
    Watch<OCMsti> const records(directory_->mstInstance(3), drop);
    configure("MST3", 3, 4096);
    unconfigure("MST3");
    EXPECT_EQ(mirror_, nullptr);
    expectNoSubscriptions();
    directory_->mstInstanceDelAll();
  }
}

TEST_F(MstpConfigMirror, TracesItsNameAndHandlers) {
  configure("MST3", 3);
  HandlerLines traced;
  mirror();
  EXPECT_EQ(mirror_->keyInfo(), "[Mst]");
  EXPECT_THAT(traced.lines(),
              ElementsAre("StpOCSm 8 /src/Stp/StpOpenConfigSm:741 handleInitialized "
                          "OCMstpConfigSm[Mst]::handleInitialized() ",
                          "StpOCSm 8 /src/Stp/StpOpenConfigSm:715 handleMstiConfig "
                          "OCMstpConfigSm[Mst]::handleMstiConfig() ",
                          "StpOCSm 8 /src/Stp/StpOpenConfigSm:706 handleBridgePriority "
                          "OCMstiConfigSm[MST3]::handleBridgePriority() "));
}

TEST_F(MstpConfigMirrorDeathTest, ErrorsInANotification) {
  mirror();
  configure("MST3", 3);
  auto const died = KilledBySignal(SIGABRT);
  EXPECT_EXIT(configure("MST3", 3), died, HasSubstr("Stp::OCMstiConfigSm")) << "another entity";
  EXPECT_EXIT(configure("MST5000", 3), died, HasSubstr("\"MST5000\""));
  EXPECT_EXIT(configure("MST4", 4, 61441), died, HasSubstr("Stp::OCBridgePriority::value"));
  configure("MST4", 4, 61440);
}

}  // namespace
}  // namespace Stp
