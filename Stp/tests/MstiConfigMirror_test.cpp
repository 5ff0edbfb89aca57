#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <memory>
#include <string>

#include "Lumo/Ptr.h"
#include "Lumo/RangeException.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::HandlerLines;
using TestSupport::MstiRecord;
using TestSupport::recordOf;
using TestSupport::Watch;

constexpr char const* priorityError = "Stp::OCBridgePriority::value < 0 or > 61440 not allowed";

class MstiConfigMirror : public TestSupport::LeavesNothing {
 protected:
  void mirror() { mirror_ = oCMstiConfigSmFactory("MST3", config_, instance_); }
  void priorityIs(std::uint16_t priority) { config_->bridgePriorityIs(priority); }

  // What the instance holds besides the priority.
  void instanceHas(std::uint16_t id, SharedList<VlanIdOrRange> const& vlans) {
    OCMstiConfig record = instance_->config();
    record.mstId = id;
    record.vlan = vlans;
    instance_->configIs(record);
    written_.changes();
  }
  MstiRecord instance() const { return recordOf(instance_->config()); }

  static SharedList<VlanIdOrRange> vlans10To20And30() {
    return {VlanRange{Bridging::VlanId(10), Bridging::VlanId(20)}, Bridging::VlanId(30)};
  }

  // Neither a subscription nor a reference beyond those of the test.
  void expectUntouchedByAnyMirror() {
    EXPECT_TRUE(config_->publisher().empty());
    EXPECT_EQ(config_->references(), 1U);
    EXPECT_EQ(instance_->references(), 2U);  // one is that of the watch
    EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.live(), 0U);
  }

  Lumo::Ptr<Input::MstiConfig> config_ = Lumo::make<Input::MstiConfig>();
  Lumo::Ptr<OCMsti> instance_ = Lumo::make<OCMsti>();
  Watch<OCMsti> written_{instance_};
  Lumo::Ptr<OCMstiConfigSm> mirror_;
};

using MstiConfigMirrorDeathTest = MstiConfigMirror;

TEST_F(MstiConfigMirror, WritesThePriorityAtBirth) {
  priorityIs(8192);
  mirror();
  EXPECT_EQ(instance(), (MstiRecord{0, 8192, ""}));
  EXPECT_EQ(written_.changes(), 1);
}

TEST_F(MstiConfigMirror, WritesEveryPriorityUpTo61440Unchanged) {
  mirror();
  for (int const priority : {0, 1, 4095, 4096, 4097, 32768, 61439, 61440}) {
    SCOPED_TRACE(priority);
    written_.changes();
    priorityIs(static_cast<std::uint16_t>(priority));
    EXPECT_EQ(instance().priority, priority);
    EXPECT_EQ(written_.changes(), 1);
  }
}

TEST_F(MstiConfigMirror, RaisesAboveTheLimitAndWritesNothing) {
  priorityIs(4096);
  mirror();
  mirror_->hasNotificationActiveIs(false);
  for (int const priority : {61441, 61442, 65535}) {
    SCOPED_TRACE(priority);
    written_.changes();
    priorityIs(static_cast<std::uint16_t>(priority));
    try {
      mirror_->handleBridgePriority();
      ADD_FAILURE() << "accepted";
    } catch (Lumo::RangeException const& error) {
      EXPECT_STREQ(error.what(), priorityError);
    }
    EXPECT_EQ(instance().priority, 4096);
    EXPECT_EQ(written_.changes(), 0);
  }
}

TEST_F(MstiConfigMirror, LeavesNothingWhenItIsBornAboveTheLimit) {
  priorityIs(61441);
  try {
    mirror();
    ADD_FAILURE() << "made";
  } catch (Lumo::RangeException const& error) {
    EXPECT_STREQ(error.what(), priorityError);
  }
  expectUntouchedByAnyMirror();
  EXPECT_EQ(instance().priority, 32768);
  EXPECT_EQ(written_.changes(), 0);
  priorityIs(0);  // no slot of the one that never was is called
  EXPECT_EQ(written_.changes(), 0);
}

TEST_F(MstiConfigMirror, LeavesNothingWhenItGoes) {
  mirror();
  EXPECT_EQ(config_->references(), 2U);
  EXPECT_EQ(instance_->references(), 3U);
  EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.live(), 1U);
  mirror_ = nullptr;
  expectUntouchedByAnyMirror();
}

TEST_F(MstiConfigMirror, KeepsTheOtherMembers) {
  mirror();
  instanceHas(77, vlans10To20And30());
  priorityIs(4096);
  EXPECT_EQ(instance(), (MstiRecord{77, 4096, "10-20 30"}));
}

TEST_F(MstiConfigMirror, RewritesThePriorityAlsoWhenItIsTheSame) {
  mirror();
  written_.changes();
  mirror_->handleBridgePriority();
  EXPECT_EQ(written_.changes(), 1);
  EXPECT_EQ(instance(), (MstiRecord{0, 32768, ""}));
}

TEST_F(MstiConfigMirror, FollowsThePriorityAlone) {
  mirror();
  written_.changes();
  config_->mstiIdIs(9);
  EXPECT_EQ(written_.changes(), 0);
  HandlerLines ran;
  for (int id = 0; id <= 65535; ++id) {
    config_->publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(id), nullptr, nullptr);
    if (id == 259) {
      EXPECT_THAT(ran.handlers(), ElementsAre("handleBridgePriority"));
      EXPECT_EQ(written_.changes(), 1);
    } else {
      ASSERT_THAT(ran.handlers(), IsEmpty()) << id;
      ASSERT_EQ(written_.changes(), 0) << id;
    }
  }
}

TEST_F(MstiConfigMirror, WritesNothingWhileInactiveOrZombie) {
  mirror();
  written_.changes();
  mirror_->hasNotificationActiveIs(false);
  EXPECT_TRUE(config_->publisher().empty());
  priorityIs(4096);
  EXPECT_EQ(written_.changes(), 0);
  mirror_->hasNotificationActiveIs(true);
  mirror_->hasNotificationActiveIs(true);
  EXPECT_EQ(written_.changes(), 0) << "what changed meanwhile is not brought in";
  mirror_->velDoZombieReactors(true);
  priorityIs(8192);
  EXPECT_EQ(written_.changes(), 0);
  mirror_->velDoZombieReactors(false);
  EXPECT_EQ(written_.changes(), 0) << "dropped, not queued";
  priorityIs(12288);
  EXPECT_EQ(written_.changes(), 1) << "subscribed once";
  EXPECT_EQ(instance().priority, 12288);
}

TEST_F(MstiConfigMirror, SynchronisesFromAnAbsentSourceInVain) {
  config_ = nullptr;
  EXPECT_THROW(mirror(), Lumo::AbsentPointerException);
  EXPECT_EQ(instance_->references(), 2U);
  EXPECT_EQ(written_.changes(), 0);
}

TEST_F(MstiConfigMirror, MayBeDroppedFromInsideItsOwnWrite) {
  mirror();
  Watch<OCMsti> const drop(instance_, [this](auto...) { mirror_ = nullptr; });
  priorityIs(4096);
  EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.live(), 0U);
  EXPECT_EQ(instance().priority, 4096);
  EXPECT_TRUE(config_->publisher().empty());
}

TEST_F(MstiConfigMirror, MayBeDroppedFromInsideItsOwnNestedWrite) {
  mirror();
  auto const drop = std::make_unique<Watch<OCMsti>>(instance_, [this](auto...) {
    if (config_->bridgePriority() < 8) {
      priorityIs(config_->bridgePriority() + 1);
    } else {
      mirror_ = nullptr;
    }
  });
  priorityIs(0);
  EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.live(), 0U);
  EXPECT_EQ(written_.changes(), 10);
  EXPECT_EQ(instance().priority, 8);
}

TEST_F(MstiConfigMirror, TracesItsNameAndHandler) {
  mirror();
  EXPECT_EQ(mirror_->keyInfo(), "[MST3]");
  HandlerLines traced;
  priorityIs(4096);
  EXPECT_THAT(traced.lines(),
              ElementsAre("StpOCSm 8 /src/Stp/StpOpenConfigSm:706 handleBridgePriority "
                          "OCMstiConfigSm[MST3]::handleBridgePriority() "));
}

TEST_F(MstiConfigMirrorDeathTest, PriorityAboveTheLimitInANotification) {
  mirror();
  EXPECT_EXIT(priorityIs(61441), testing::KilledBySignal(SIGABRT), HasSubstr(priorityError));
}

}  // namespace
}  // namespace Stp
