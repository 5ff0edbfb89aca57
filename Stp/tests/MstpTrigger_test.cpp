#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/RangeException.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::HandlerLines;
using TestSupport::LeavesNothing;
using TestSupport::Watch;

// A trigger, and every change of its counter that it announces: the old value and the new one.
class MstpTrigger : public LeavesNothing {
 protected:
  using Bumps = std::vector<std::pair<int, int>>;

  Bumps bumps() { return std::exchange(bumps_, {}); }

  Lumo::Ptr<OCMstpTrigger> trigger_ = OCMstpTrigger::create();

 private:
  Bumps bumps_;
  Watch<OCMstpTrigger> watch_{
      trigger_, [this](Lumo::FieldId field, void const* before, void const*) {
        EXPECT_EQ(field, 130);
        bumps_.emplace_back(*static_cast<std::uint8_t const*>(before), trigger_->counter());
      }};
};

TEST_F(MstpTrigger, StartsAtZeroWithoutAnnouncement) {
  EXPECT_EQ(trigger_->counter(), 0);
  EXPECT_THAT(bumps(), IsEmpty());
  EXPECT_EQ(trigger_->typeData().module, &_StpOpenConfigSm_a888b7c7e663556e_velModule);
  EXPECT_EQ(trigger_->typeData().classIndex, 12);
  EXPECT_EQ(OCMstpTrigger::memAllocationTracker_.live(), 1U);
}

TEST_F(MstpTrigger, AnnouncesAnotherValueWithTheOldOne) {
  trigger_->counterIs(0);
  EXPECT_THAT(bumps(), IsEmpty());
  trigger_->counterIs(7);
  EXPECT_EQ(bumps(), (Bumps{{0, 7}}));
  trigger_->counterIs(7);
  EXPECT_THAT(bumps(), IsEmpty());
  trigger_->counterIs(255);
  trigger_->counterIs(0);
  EXPECT_EQ(bumps(), (Bumps{{7, 255}, {255, 0}}));
}

TEST_F(MstpTrigger, AddsModulo256) {
  for (int from = 0; from < 256; ++from) {
    for (int delta = 0; delta < 256; ++delta) {
      trigger_->counterIs(static_cast<std::uint8_t>(from));
      bumps();
      trigger_->counterInc(static_cast<std::uint8_t>(delta));
      int const to = from + delta >= 256 ? from + delta - 256 : from + delta;
      ASSERT_EQ(trigger_->counter(), to) << from << " + " << delta;
      ASSERT_EQ(bumps(), delta == 0 ? Bumps() : (Bumps{{from, to}})) << from << " + " << delta;
    }
  }
}

TEST_F(MstpTrigger, EndsTheSubscriptionsToIt) {
  auto trigger = OCMstpTrigger::create();
  Lumo::Subscriber slot;
  slot.routineIs([](auto...) { FAIL(); }, this);
  trigger->publisher().subscriberAdd(slot, false);
  trigger = nullptr;
  EXPECT_FALSE(slot.subscribed());
}

// The watcher of the spanning-tree instance, and that of an MST instance.
class MstSm : public MstpTrigger {
 protected:
  using Watcher = OCMstSm;
  static constexpr Lumo::FieldId watched = 262;

  void watch() { watcher_ = oCMstSmFactory(source_, trigger_); }
  void change() {
    if (!source_->mstiStatus.del("MST5")) {
      source_->mstiStatus.is("MST5", Lumo::make<MstiStatus>());
    }
  }
  static char const* traceLine() {
    return "StpOCSm 8 /src/Stp/StpOpenConfigSm:851 triggerInc OCMstSm::triggerInc() ";
  }

  Lumo::Ptr<StpiStatus> source_ = Lumo::make<StpiStatus>();
  Lumo::Ptr<OCMstSm> watcher_;
};

class MstiStatusSm : public MstpTrigger {
 protected:
  using Watcher = OCMstiStatusSm;
  static constexpr Lumo::FieldId watched = 259;

  void watch() { watcher_ = oCMstiStatusSmFactory("MST1", source_, trigger_); }
  void change() { source_->bridgePriorityIs(source_->bridgePriority() == 4096 ? 65535 : 4096); }
  static char const* traceLine() {
    return "StpOCSm 8 /src/Stp/StpOpenConfigSm:858 triggerInc OCMstiStatusSm[MST1]::triggerInc() ";
  }

  Lumo::Ptr<MstiStatus> source_ = Lumo::make<MstiStatus>();
  Lumo::Ptr<OCMstiStatusSm> watcher_;
};

template <class Fixture>
class MstpWatcher : public Fixture {
 protected:
  void expectGone() {
    EXPECT_EQ(Fixture::Watcher::memAllocationTracker_.live(), 0U);
    EXPECT_TRUE(this->source_->publisher().empty());
    EXPECT_EQ(this->source_->references(), 1U);
  }
};
using Watchers = testing::Types<MstSm, MstiStatusSm>;
TYPED_TEST_SUITE(MstpWatcher, Watchers);

TYPED_TEST(MstpWatcher, BumpsNothingAtItsBirth) {
  this->watch();
  EXPECT_THAT(this->bumps(), IsEmpty());
  EXPECT_TRUE(this->watcher_->hasNotificationActive());
  EXPECT_EQ(this->source_->references(), 2U);
  this->watcher_ = nullptr;
  this->expectGone();
}

TYPED_TEST(MstpWatcher, BumpsOnceForEveryChange) {
  this->watch();
  for (int before = 0; before < 256; ++before) {
    this->change();
    ASSERT_EQ(this->bumps(), (typename TestFixture::Bumps{{before, (before + 1) % 256}}));
  }
  EXPECT_EQ(this->trigger_->counter(), 0);
}

TYPED_TEST(MstpWatcher, FollowsOneAttributeAlone) {
  this->watch();
  Lumo::String const key = "MST5";
  HandlerLines ran;
  for (int id = 0; id <= 65535; ++id) {
    this->source_->publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(id), &key,
                                                      nullptr);
    if (id == TestFixture::watched) {
      EXPECT_THAT(ran.handlers(), ElementsAre("triggerInc"));
      EXPECT_EQ(this->bumps().size(), 1U);
    } else {
      ASSERT_THAT(ran.handlers(), IsEmpty()) << id;
      ASSERT_THAT(this->bumps(), IsEmpty()) << id;
    }
  }
}

TYPED_TEST(MstpWatcher, BumpsNothingWhileInactiveOrZombie) {
  this->watch();
  this->watcher_->hasNotificationActiveIs(false);
  this->change();
  this->watcher_->hasNotificationActiveIs(true);
  this->watcher_->hasNotificationActiveIs(true);
  this->watcher_->velDoZombieReactors(true);
  this->change();
  this->watcher_->velDoZombieReactors(false);
  EXPECT_THAT(this->bumps(), IsEmpty());
  this->change();
  EXPECT_EQ(this->bumps().size(), 1U) << "subscribed once";
}

TYPED_TEST(MstpWatcher, WatchesNothingWithoutASource) {
  this->source_ = nullptr;
  this->watch();
  EXPECT_TRUE(this->watcher_->hasNotificationActive());
  this->watcher_->triggerInc();
  EXPECT_EQ(this->bumps().size(), 1U);
}

TYPED_TEST(MstpWatcher, NeedsATrigger) {
  this->watch();
  auto const withoutOne = [this] {
    if constexpr (std::is_same_v<typename TestFixture::Watcher, OCMstSm>) {
      return oCMstSmFactory(this->source_, nullptr);
    } else {
      return oCMstiStatusSmFactory("MST1", this->source_, nullptr);
    }
  }();
  EXPECT_THROW(withoutOne->triggerInc(), Lumo::AbsentPointerException);
}

TYPED_TEST(MstpWatcher, MayBeDroppedFromInsideItsBump) {
  this->watch();
  Watch<OCMstpTrigger> const drop(this->trigger_, [this](auto...) { this->watcher_ = nullptr; });
  this->change();
  EXPECT_EQ(this->bumps().size(), 1U);
  this->expectGone();
}

TYPED_TEST(MstpWatcher, MayBeDroppedFromInsideANestedBump) {
  this->watch();
  int depth = 0;
  Watch<OCMstpTrigger> const drop(this->trigger_, [&](auto...) {
    if (++depth < 5) {
      this->change();
    } else {
      this->watcher_ = nullptr;
    }
  });
  this->change();
  EXPECT_EQ(depth, 5);
  EXPECT_EQ(this->trigger_->counter(), 5);
  this->expectGone();
}

TYPED_TEST(MstpWatcher, MayHoldTheLastReferenceToItsTrigger) {
  using WatcherPtr = decltype(this->watcher_);
  Lumo::Subscriber dropper;
  dropper.routineIs([](Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId, void const*,
                       void const*) { *static_cast<WatcherPtr*>(slot->owner()) = nullptr; },
                    &this->watcher_);
  auto const fixtures = std::exchange(this->trigger_, OCMstpTrigger::create());
  this->trigger_->publisher().subscriberAdd(dropper, false);
  this->watch();
  this->trigger_ = fixtures;
  this->change();
  this->expectGone();
  EXPECT_FALSE(dropper.subscribed());
  EXPECT_EQ(OCMstpTrigger::memAllocationTracker_.live(), 1U);
}

TYPED_TEST(MstpWatcher, TracesItsHandler) {
  this->watch();
  HandlerLines traced;
  this->change();
  EXPECT_THAT(traced.lines(), ElementsAre(this->traceLine()));
}

TEST_F(MstiStatusSm, NamesItsKey) {
  watch();
  EXPECT_EQ(watcher_->keyInfo(), "[MST1]");
}

TEST_F(MstSm, LeavesThePortsAlone) {
  watch();
  source_->stpiPortStatus.is("Ethernet1", Lumo::make<StpiPortStatus>());
  source_->stpiPortStatus.del("Ethernet1");
  EXPECT_THAT(bumps(), IsEmpty());
}

TEST(MstpWatcherDeathTest, NotificationEndsTheProcessOfAWatcherWithoutATrigger) {
  auto const instance = Lumo::make<StpiStatus>();
  auto const msti = Lumo::make<MstiStatus>();
  auto const ofInstance = oCMstSmFactory(instance, nullptr);
  auto const ofMsti = oCMstiStatusSmFactory("MST1", msti, nullptr);
  EXPECT_EXIT(instance->mstiStatus.is("MST1", msti), testing::KilledBySignal(SIGABRT),
              "Stp::OCMstpTrigger");
  EXPECT_EXIT(msti->bridgePriorityIs(4096), testing::KilledBySignal(SIGABRT), "Stp::OCMstpTrigger");
}

}  // namespace
}  // namespace Stp
