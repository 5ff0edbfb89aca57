// What a reader of the directory may do from inside a notification: anything. The rebuild under way
// must neither touch what has gone nor leave the mirror unable to go on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/MstpStateTestSupport.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using TestSupport::ActsOnce;
using TestSupport::Deed;
using TestSupport::HandlerLines;
using TestSupport::MstiRecords;
using TestSupport::Watch;

class MstpMainStateReentry : public TestSupport::MstpStateFixture {
 protected:
  // A mirror of MSTP with the CIST and one further instance that has a VLAN.
  void start() {
    mapIs({{10, 5}});
    runMstp();
    run("Cist", 8192);
    msti_ = run("MST5", 4096);
    trigger_ = nullptr;
    mirror();
    trigger_ = mirror_->ocMstpTriggerIs();
    protocolIs(0);  // the watchers get the trigger that is known here
    protocolIs(3);
  }

  // Whatever happened, the mirror must work once it has what it needs.
  void expectAliveAndWell() {
    mirror_->hasNotificationActiveIs(true);
    mirror_->ocMstpTriggerIs();
    protocolIs(0);
    EXPECT_EQ(directory(), (MstiRecords()));
    EXPECT_EQ(watchers() + leaves(), 0U);
    runMstp();
    run("Cist", 8192);
    auto const msti = run("MST5", 4096);
    mapIs({});
    mapIs({{10, 5}});
    changes();
    msti->bridgePriorityIs(0);
    EXPECT_EQ(changes(), 4);
    EXPECT_EQ(directory(), (MstiRecords{{0, {0, 8192, "1-9 11-4094"}}, {5, {5, 0, "10"}}}));
    EXPECT_EQ(watchers(), 1U);
    EXPECT_EQ(leaves(), 2U);
  }

  void priorityChanges() {
    // Nothing here holds the entity meanwhile.
    MstiStatus& msti = *msti_;
    msti.bridgePriorityIs(msti.bridgePriority() + 1);
  }
  void mstGoes() { status_->stpiStatus.del("Mst"); }
  void mstIsReplaced() {
    auto const other = Lumo::make<StpiStatus>();
    other->mstiStatus.is("MST7", Lumo::make<MstiStatus>());
    status_->stpiStatus.is("Mst", other);
  }

  // Source changes of every kind that lead to a rebuild.
  std::vector<Deed> causes() {
    return {
        {"priority of an instance", [this] { priorityChanges(); }},
        {"new instance", [this] { run("MST6"); }},
        {"instance gone", [this] { stop("Cist"); }},
        {"other spanning-tree instance",
         [this] { status_->stpiStatus.is("Rstp", Lumo::make<StpiStatus>()); }},
        {"map",
         [this] {
           mapIs({{10, 6}, {11, 5}});
         }},
        {"protocol", [this] { protocolIs(2); }},
        {"Mst replaced", [this] { mstIsReplaced(); }},
        {"Mst gone", [this] { mstGoes(); }},
        {"bare bump", [this] { Lumo::Ptr(trigger_)->counterInc(1); }},
    };
  }

  // What the reader does.
  std::vector<Deed> reactions() {
    return {
        {"drops the mirror", [this] { mirror_ = nullptr; }},
        {"drops the mirror and every source",
         [this] {
           mirror_ = nullptr;
           trigger_ = nullptr;
           msti_ = nullptr;
           mst_ = nullptr;
           status_ = nullptr;
           config_ = nullptr;
         }},
        {"drops the trigger",
         [this] {
           trigger_ = nullptr;
           mirror_->ocMstpTriggerDel();
         }},
        {"replaces the trigger", [this] { trigger_ = mirror_->ocMstpTriggerIs(); }},
        {"drops the watcher", [this] { mirror_->ocMstSmDel(); }},
        {"drops the leaf", [this] { mirror_->ocMstiStatusSmDel("MST5"); }},
        {"drops all leaves", [this] { mirror_->ocMstiStatusSmDelAll(); }},
        {"switches the mirror off", [this] { mirror_->hasNotificationActiveIs(false); }},
        {"makes it a zombie for a while",
         [this] {
           mirror_->velDoZombieReactors(true);
           priorityChanges();
           mirror_->velDoZombieReactors(false);
         }},
        {"stops the instance", [this] { stop("MST5"); }},
        {"stops all instances", [this] { mst_->mstiStatus.delAll(); }},
        {"replaces the instance", [this] { msti_ = run("MST5", 0); }},
        {"changes the protocol", [this] { protocolIs(2); }},
        {"removes Mst", [this] { mstGoes(); }},
        {"replaces Mst", [this] { mstIsReplaced(); }},
        {"changes the map",
         [this] {
           mapIs({{12, 8}});
         }},
        {"rebuilds", [this] { mirror_->update(); }},
        {"empties the directory", [this] { directory_->stateDelAll(); }},
    };
  }

  // One change of a source, and a reader that acts at the given change of the directory: at once,
  // or from inside further changes of an instance's priority that it makes first. Tells whether it
  // came to that.
  bool happens(Deed const& cause, Deed const& reaction, int atChange, int nested) {
    ActsOnce acting(reaction, atChange, nested, [this] { priorityChanges(); });
    Watch<OCMstiStateDir> const reader(directory_, [&acting](auto...) { acting.changed(); });
    cause.act();
    return acting.acted();
  }

  void startAgain() {
    config_ = Lumo::make<Config>();
    status_ = Lumo::make<Status>();
    directory_->stateDelAll();
    start();
  }

  Lumo::Ptr<MstiStatus> msti_;
  Lumo::Ptr<OCMstpTrigger> trigger_;
};

TEST_F(MstpMainStateReentry, IsSafeWhateverAReaderOfTheDirectoryDoes) {
  auto const run = [this](Deed const& cause, Deed const& reaction, int atChange, int nested) {
    startAgain();
    bool const acted = happens(cause, reaction, atChange, nested);
    if (mirror_) {
      expectAliveAndWell();
    }
    mirror_ = nullptr;
    trigger_ = nullptr;
    if (status_) {
      expectNoSubscriptions();
    }
    return acted;
  };
  TestSupport::everyReaction(causes(), reactions(), 6, 3, run);
}

// The leaf outlives its instance, since the watcher is that of a former "Mst". Its own bump then
// makes the rebuild that finds the instance gone.
TEST_F(MstpMainStateReentry, DropsALeafFromInsideItsOwnBump) {
  runMstp();
  auto const instance = run("MST5", 4096);
  mirror();
  auto const after = Lumo::make<StpiStatus>();
  after->mstiStatus.is("MST5", instance);
  status_->stpiStatus.is("Mst", after);
  after->mstiStatus.del("MST5");
  EXPECT_EQ(leaves(), 1U);
  changes();
  instance->bridgePriorityIs(8192);
  EXPECT_EQ(leaves(), 0U);
  EXPECT_TRUE(instance->publisher().empty());
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-4094"}}}));
  EXPECT_EQ(changes(), 2);
}

TEST_F(MstpMainStateReentry, DropsALeafFromInsideSeveralBumpsOfItsOwn) {
  runMstp();
  auto const instance = run("MST5", 0);
  mirror();
  int deepest = 0;
  HandlerLines ran;
  Watch<OCMstiStateDir> const reader(directory_, [&](auto...) {
    if (instance->bridgePriority() < 10) {
      deepest = instance->bridgePriority();
      instance->bridgePriorityIs(instance->bridgePriority() + 1);
    } else if (mst_->mstiStatus("MST5")) {
      stop("MST5");
      EXPECT_EQ(leaves(), 0U) << "gone while ten of its bumps are under way";
    }
  });
  instance->bridgePriorityIs(1);
  EXPECT_EQ(deepest, 9);
  EXPECT_EQ(directory(), (MstiRecords{{0, {0, 32768, "1-4094"}}}));
  EXPECT_TRUE(instance->publisher().empty());
  EXPECT_EQ(ran.handlers().size(), 2U * 11U);
}

TEST_F(MstpMainStateReentry, DropsTheWatcherFromInsideItsOwnBump) {
  runMstp();
  mirror();
  Watch<OCMstiStateDir> const reader(directory_, [&](auto...) {
    if (status_->activeProtocol() == Mode::mstp) {
      protocolIs(2);
      EXPECT_EQ(watchers(), 0U);
    }
  });
  run("MST5");
  protocolIs(0);
  EXPECT_EQ(directory(), (MstiRecords()));
  EXPECT_EQ(watchers() + leaves(), 0U);
}

TEST_F(MstpMainStateReentry, IsDroppedFromInsideItsOwnBirthByNobodyButMayBeDeepInside) {
  mapIs({{10, 5}});
  runMstp();
  auto const instance = run("MST5", 0);
  Watch<OCMstiStateDir> const reader(directory_, [&](auto...) {
    if (instance->bridgePriority() < 5) {
      instance->bridgePriorityIs(instance->bridgePriority() + 1);
      mapIs({{10, 5}, {static_cast<std::uint16_t>(20 + instance->bridgePriority()), 6}});
    }
  });
  mirror();
  mirror_->triggerInc();
  EXPECT_EQ(directory(),
            (MstiRecords{
                {0, {0, 32768, "1-9 11-24 26-4094"}}, {5, {5, 5, "10"}}, {6, {6, 32768, "25"}}}));
}

}  // namespace
}  // namespace Stp
