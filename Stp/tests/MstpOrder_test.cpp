// What holds in between: the MST instances as readers of the two directories see them from inside
// the changes that make up a pass.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/frame/tests/FrameTestSupport.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/MstpStateTestSupport.h"
#include "Stp/vlans/InstanceName.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using TestSupport::MstiRecords;
using TestSupport::Watch;

class MstpConfigOrder : public TestSupport::LeavesNothing {
 protected:
  void mapIs(std::vector<TestSupport::MapEntry> const& entries) {
    input_->mstConfigIs(TestSupport::mstConfig(entries));
  }
  Lumo::Ptr<Input::MstiConfig> configure(Lumo::String const& name) {
    auto config = Lumo::make<Input::MstiConfig>();
    config->mstiIdIs(mstiNameToInstanceId(name));
    mst_->mstiConfig.is(name, config);
    return config;
  }
  void start() { mirror_ = oCMstpConfigWrapperSmFactory(input_, directory_); }
  void startWithMst() {
    input_->stpiConfig.is("Mst", mst_);
    start();
  }

  /// Calls `reaction(id)` for every change of a member of the directory.
  auto watchMembers(std::function<void(std::uint16_t)> reaction) const {
    return std::make_unique<Watch<OCMstiConfigDir>>(
        directory_, [reaction = std::move(reaction)](Lumo::FieldId, void const* key, void const*) {
          reaction(*static_cast<std::uint16_t const*>(key));
        });
  }
  static std::uint64_t instanceMirrors() { return OCMstiConfigSm::memAllocationTracker_.live(); }

  Lumo::Ptr<Input::Config> input_ = Lumo::make<Input::Config>();
  Lumo::Ptr<Input::StpiConfig> mst_ = Lumo::make<Input::StpiConfig>();
  Lumo::Ptr<OCMstiConfigDir> directory_ = Lumo::make<OCMstiConfigDir>();
  Lumo::Ptr<OCMstpConfigWrapperSm> mirror_;
};

TEST_F(MstpConfigOrder, InstanceLosesItsMirrorBeforeItGoes) {
  startWithMst();
  configure("MST5");
  ASSERT_EQ(instanceMirrors(), 1U);
  std::vector<std::uint64_t> seen;
  auto const watch = watchMembers([&](auto) { seen.push_back(instanceMirrors()); });
  mst_->mstiConfig.del("MST5");
  EXPECT_THAT(seen, ElementsAre(0));
}

TEST_F(MstpConfigOrder, InstanceGetsItsMirrorAfterItHasItsNumber) {
  startWithMst();
  std::vector<std::string> seen;
  std::unique_ptr<Watch<OCMsti>> records;
  auto const watch = watchMembers([&](std::uint16_t id) {
    seen.push_back("member, " + std::to_string(instanceMirrors()) + " mirrors");
    auto const added = directory_->mstInstance(id);
    ASSERT_TRUE(added);
    records = std::make_unique<Watch<OCMsti>>(added, [&, added](auto...) {
      seen.push_back(std::to_string(added->config().mstId) + ", " +
                     std::to_string(instanceMirrors()) + " mirrors");
    });
  });
  configure("MST5");
  EXPECT_THAT(seen, ElementsAre("member, 0 mirrors", "5, 0 mirrors", "5, 1 mirrors"));
}

// A pass goes on with what it added, whatever a reader does with it.
TEST_F(MstpConfigOrder, InstanceThatIsRemovedAsItIsAddedIsStillWritten) {
  start();
  int written = 0;
  std::unique_ptr<FrameTest::LooseWatch> record;
  auto const watch = watchMembers([&](std::uint16_t id) {
    if (auto const added = directory_->mstInstance(id); added && id == 5) {
      record = std::make_unique<FrameTest::LooseWatch>(added->publisher(), [&] { ++written; });
      directory_->mstInstanceDel(id);
    }
  });
  mapIs({{10, 5}});
  EXPECT_EQ(written, 1);
  EXPECT_FALSE(record->watching()) << "nobody holds it any more";
  EXPECT_FALSE(directory_->mstInstance(5));
}

// What a reader throws passes, and a handler takes nothing back.
TEST_F(MstpConfigOrder, InstanceStaysWhenAReaderRefusesItsFirstRecord) {
  struct Refused {};
  auto const child = oCMstpConfigSmFactory("Mst", mst_, input_, directory_);
  child->hasNotificationActiveIs(false);
  configure("MST5");
  int announced = 0;
  std::unique_ptr<Watch<OCMsti>> record;
  auto const watch = watchMembers([&](std::uint16_t id) {
    ++announced;
    record = std::make_unique<Watch<OCMsti>>(directory_->mstInstance(id),
                                             [](auto...) { throw Refused(); });
  });
  EXPECT_THROW(child->handleMstiConfig("MST5"), Refused);
  EXPECT_EQ(announced, 1);
  EXPECT_EQ(instanceMirrors(), 0U);
  ASSERT_TRUE(directory_->mstInstance(5));
  EXPECT_EQ(directory_->mstInstance(5)->config().mstId, 5);
}

TEST_F(MstpConfigOrder, InstanceWithoutVlansIsEmptiedBeforeItGoes) {
  start();
  mapIs({{10, 5}});
  std::vector<std::string> seen;
  auto const instance = directory_->mstInstance(5);
  Watch<OCMsti> const record(instance, [&](auto...) {
    seen.push_back("record [" + TestSupport::textOf(instance->config().vlan) + "]");
  });
  auto const watch = watchMembers([&](std::uint16_t id) { seen.push_back(std::to_string(id)); });
  mapIs({});
  EXPECT_THAT(seen, ElementsAre("record []", "5"));
}

TEST_F(MstpConfigOrder, InstanceThatIsConfiguredDuringThePassStays) {
  startWithMst();
  mapIs({{10, 5}});
  mirror_->hasNotificationActiveIs(false);
  mapIs({});
  Watch<OCMsti> const record(directory_->mstInstance(5), [&](auto...) { configure("MST5"); });
  mirror_->handleMstVlanMapping();
  EXPECT_TRUE(directory_->mstInstance(5));
}

TEST_F(MstpConfigOrder, InstanceGoesWhenMstGoesDuringThePass) {
  startWithMst();
  configure("MST5");
  configure("MST6");
  mapIs({{10, 5}, {11, 6}});
  mirror_->hasNotificationActiveIs(false);
  mapIs({});
  Watch<OCMsti> const record(directory_->mstInstance(5),
                             [&](auto...) { input_->stpiConfig.del("Mst"); });
  mirror_->handleMstVlanMapping();
  EXPECT_FALSE(directory_->mstInstance(5));
  EXPECT_FALSE(directory_->mstInstance(6));
}

TEST_F(MstpConfigOrder, MstGoesBeforeTheVlansAreWrittenAgain) {
  startWithMst();
  mapIs({{10, 5}});
  std::vector<std::uint64_t> seen;
  Watch<OCMsti> const record(directory_->mstInstance(5), [&](auto...) {
    seen.push_back(OCMstpConfigSm::memAllocationTracker_.live());
  });
  input_->stpiConfig.del("Mst");
  EXPECT_THAT(seen, ElementsAre(0));
}

class MstpStateOrder : public TestSupport::MstpStateFixture {
 protected:
  // MSTP with two instances that have VLANs, and one that has none.
  void start() {
    mapIs({{10, 5}, {11, 6}});
    runMstp();
    run("Cist");
    run("MST5");
    run("MST7");
    mirror();
    ASSERT_EQ(leaves(), 3U);
  }

  /// What there is of watchers and leaves at each change of the directory that the cause makes.
  std::vector<std::string> seenDuring(std::function<void()> const& cause) {
    std::vector<std::string> seen;
    Watch<OCMstiStateDir> const watch(directory_, [&](auto...) {
      seen.push_back(std::to_string(watchers()) + " " + std::to_string(leaves()));
    });
    cause();
    return seen;
  }
};

TEST_F(MstpStateOrder, LeavesGoBeforeTheDirectoryWhenTheProtocolChanges) {
  start();
  EXPECT_THAT(seenDuring([&] { protocolIs(2); }), ElementsAre("0 0", "0 0", "0 0", "0 0"));
}

TEST_F(MstpStateOrder, LeavesGoAfterTheDirectoryWhenMstGoes) {
  start();
  // Three lists are written, and all four records removed, before the leaves go.
  std::vector<std::string> const seen = seenDuring([&] { status_->stpiStatus.del("Mst"); });
  EXPECT_EQ(seen, std::vector<std::string>(7, "1 3"));
  EXPECT_EQ(watchers() + leaves(), 0U);
}

TEST_F(MstpStateOrder, LeafComesAfterItsPriority) {
  start();
  // Each of the three lists, then each of the four priorities, the last one without a leaf yet.
  EXPECT_THAT(seenDuring([&] { run("MST8"); }),
              ElementsAre("1 3", "1 3", "1 3", "1 3", "1 3", "1 3", "1 3"));
  EXPECT_EQ(leaves(), 4U);
}

TEST_F(MstpStateOrder, LeafGoesBeforeItsRecord) {
  start();
  std::vector<std::string> const seen = seenDuring([&] { stop("MST7"); });
  ASSERT_FALSE(seen.empty());
  EXPECT_EQ(seen.front(), "1 3");
  EXPECT_EQ(seen.back(), "1 2");
}

// The last walk asks anew for each record.
TEST_F(MstpStateOrder, RecordsGoWhenMstGoesDuringTheLastWalk) {
  start();
  mirror_->hasNotificationActiveIs(false);
  directoryHas(3);
  run("MST8");
  run("MST9");
  Watch<OCMstiStateDir> const watch(directory_, [&](Lumo::FieldId, void const* key, void const*) {
    auto const id = *static_cast<std::uint16_t const*>(key);
    if (id == 3) {
      status_->stpiStatus.del("Mst");
    }
  });
  mirror_->update();
  EXPECT_FALSE(directory_->state(3));
  EXPECT_FALSE(directory_->state(8));
  EXPECT_FALSE(directory_->state(9));
  EXPECT_TRUE(directory_->state(5)) << "has a VLAN";
}

TEST_F(MstpStateOrder, WatcherThatSomebodyHoldsIsSilentAfterTheTearDown) {
  for (bool const protocolGoes : {true, false}) {
    start();
    auto const trigger = mirror_->ocMstpTriggerIs();
    protocolIs(0);
    protocolIs(3);
    Lumo::Ptr<OCMstSm> const watcher = mirror_->ocMstSmIs(mst_, trigger);
    ASSERT_TRUE(watcher->hasNotificationActive());
    auto const mst = mst_;
    if (protocolGoes) {
      protocolIs(2);
    } else {
      status_->stpiStatus.del("Mst");
    }
    EXPECT_FALSE(watcher->hasNotificationActive());
    std::uint8_t const counter = trigger->counter();
    mst->mstiStatus.is("MST9", Lumo::make<MstiStatus>());
    EXPECT_EQ(trigger->counter(), counter);
    mirror_ = nullptr;
    directory_->stateDelAll();
  }
}

}  // namespace
}  // namespace Stp
