// The life of a reactor: fresh, active, inactive, marked, gone.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Stp/frame/tests/FrameTestSupport.h"
#include "Stp/frame/tests/ProbeModule.h"

namespace Stp {
namespace {

using FrameTest::inactive;
using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::World;
using Handlers = std::vector<std::string>;

class FrameLifecycle : public TestSupport::LeavesNothing {};

// What the static creators and factories build on: constructed, but not activated.
std::vector<std::function<Lumo::Ptr<Lumo::Node>(World&)>> const freshObjects{
    [](World& w) { return inactive<OCGlobalConfigSm>(w.inputConfig, w.ocGlobalConfig); },
    [](World& w) { return inactive<OCGlobalVlanSyncher>(w.ocGlobalConfig, w.inputConfig); },
    [](World& w) {
      return inactive<OCGlobalStateSm>(w.config, w.status, w.vlanDir, w.ocGlobalState);
    },
    [](World& w) { return inactive<OCPortConfigSm>("Ethernet1", w.inputPort, w.ocInterface); },
    [](World& w) {
      return inactive<OCStpiStatusConfigSm>("Mst", w.inputConfig, w.mst, w.ocInterfaceConfigDir);
    },
    [](World& w) {
      return inactive<OCInterfaceConfigDirSm>(w.inputConfig, w.status, w.ocInterfaceConfigDir);
    },
    [](World& w) {
      return inactive<OCStpiPortStatusSm>("Ethernet1", w.config, w.port, w.portStatus,
                                          w.ocInterfaceStateDir);
    },
    [](World& w) {
      return inactive<OCStpiStatusSm>("Mst", w.config, w.mst, w.ocInterfaceStateDir);
    },
    [](World& w) {
      return inactive<OCInterfaceStateDirSm>(w.config, w.status, w.ocInterfaceStateDir);
    },
    [](World& w) { return inactive<OCMstiConfigSm>("MST1", w.inputMsti, w.ocMsti); },
    [](World& w) {
      return inactive<OCMstpConfigSm>("Mst", w.inputMst, w.inputConfig, w.ocMstiConfigDir);
    },
    [](World& w) { return inactive<OCMstpConfigWrapperSm>(w.inputConfig, w.ocMstiConfigDir); },
    [](World& /*w*/) { return inactive<OCMstpTrigger>(); },
    [](World& w) { return inactive<OCMstSm>(w.mst, w.trigger); },
    [](World& w) { return inactive<OCMstiStatusSm>("MST1", w.msti, w.trigger); },
    [](World& w) { return inactive<OCMstpMainStateSm>(w.config, w.status, w.ocMstiStateDir); },
};

TEST_F(FrameLifecycle, FreshObjectHasOneReferenceAndNoFlags) {
  ASSERT_EQ(freshObjects.size(), makers().size());
  for (std::size_t index = 0; index < freshObjects.size(); ++index) {
    SCOPED_TRACE(makers()[index].className);
    World world;
    Lumo::Ptr<Lumo::Node> const object = freshObjects[index](world);
    EXPECT_EQ(object->typeData().classIndex, index);
    EXPECT_EQ(object->references(), 1U);
    EXPECT_FALSE(object->hasNotificationActive());
    EXPECT_FALSE(object->markAndSweepFlag());
  }
}

TEST_F(FrameLifecycle, CreatedReactorIsActiveAndUnmarked) {
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    World world;
    Lumo::Ptr<Lumo::Node> const object = maker.make(world);
    bool const isReactor =
        maker.className != "OCGlobalVlanSyncher" && maker.className != "OCMstpTrigger";
    EXPECT_EQ(object->references(), 1U);
    EXPECT_EQ(object->hasNotificationActive(), isReactor);
    EXPECT_FALSE(object->markAndSweepFlag());
  }
}

template <class Reactor>
concept CanBeActivated = requires(Reactor reactor) {
  reactor.hasNotificationActiveIs(true);
};

TEST_F(FrameLifecycle, SyncherAndTriggerCannotBeActivated) {
  static_assert(CanBeActivated<OCGlobalConfigSm> && CanBeActivated<OCMstSm>);
  EXPECT_FALSE(CanBeActivated<OCGlobalVlanSyncher>);
  EXPECT_FALSE(CanBeActivated<OCMstpTrigger>);
}

// Calls `check(name, reactor, change, handlers)` for each reactor class: `change` announces a
// change of each source, and `handlers` are those that run for it.
template <class Check>
void eachReactor(Check check) {
  auto const announce = [](auto const& entity, Lumo::FieldId field, Lumo::String const& key = {}) {
    entity->publisher().publishChangeRecursive(field, &key, nullptr);
  };
  World w;
  check(
      "OCGlobalConfigSm", oCGlobalConfigSmFactory(w.inputConfig, w.ocGlobalConfig),
      [&] { announce(w.inputConfig, 267); }, Handlers{"handleEnabledProtocol"});
  check(
      "OCGlobalStateSm", oCGlobalStateSmFactory(w.config, w.status, w.vlanDir, w.ocGlobalState),
      [&] {
        announce(w.config, 294);
        announce(w.status, 258);
        announce(w.vlanDir, 258);
      },
      Handlers{"handleBpduguard", "handleEnabledProtocol", "handleDisabledVlan"});
  check(
      "OCPortConfigSm", oCPortConfigSmFactory("Ethernet1", w.inputPort, w.ocInterface),
      [&] { announce(w.inputPort, 261); }, Handlers{"handleEdgePort"});
  check(
      "OCStpiStatusConfigSm",
      OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", w.inputConfig, w.mst,
                                                   w.ocInterfaceConfigDir),
      [&] { announce(w.mst, 261, "Ethernet7"); }, Handlers{"handleStpiPortStatusConfig"});
  check(
      "OCInterfaceConfigDirSm",
      oCInterfaceConfigDirSmFactory(w.inputConfig, w.status, w.ocInterfaceConfigDir),
      [&] {
        announce(w.inputConfig, 386, "Ethernet7");
        announce(w.status, 259, "Mst");
      },
      Handlers{"handleInterface", "handleInterface", "handleStpiStatusConfig"});
  check(
      "OCStpiPortStatusSm",
      oCStpiPortStatusSmFactory("Ethernet1", w.config, w.port, w.portStatus, w.ocInterfaceStateDir),
      [&] {
        announce(w.config, 294);
        announce(w.port, 261);
        announce(w.portStatus, 262);
      },
      Handlers{"handleBpduguard", "handleBpduguard", "handleLinkType"});
  check(
      "OCStpiStatusSm", oCStpiStatusSmFactory("Mst", w.config, w.mst, w.ocInterfaceStateDir),
      [&] { announce(w.mst, 261, "Ethernet7"); }, Handlers{"handleStpiPortStatus"});
  check(
      "OCInterfaceStateDirSm",
      oCInterfaceStateDirSmFactory(w.config, w.status, w.ocInterfaceStateDir),
      [&] { announce(w.status, 259, "Mst"); }, Handlers{"handleStpiStatus"});
  check(
      "OCMstiConfigSm", oCMstiConfigSmFactory("MST1", w.inputMsti, w.ocMsti),
      [&] { announce(w.inputMsti, 259); }, Handlers{"handleBridgePriority"});
  check(
      "OCMstpConfigSm", oCMstpConfigSmFactory("Mst", w.inputMst, w.inputConfig, w.ocMstiConfigDir),
      [&] { announce(w.inputMst, 259, "MST7"); }, Handlers{"handleMstiConfig"});
  check(
      "OCMstpConfigWrapperSm", oCMstpConfigWrapperSmFactory(w.inputConfig, w.ocMstiConfigDir),
      [&] { announce(w.inputConfig, 298); }, Handlers{"handleMstVlanMapping"});
  check(
      "OCMstSm", oCMstSmFactory(w.mst, w.trigger), [&] { announce(w.mst, 262, "MST7"); },
      Handlers{"triggerInc"});
  check(
      "OCMstiStatusSm", oCMstiStatusSmFactory("MST1", w.msti, w.trigger),
      [&] { announce(w.msti, 259); }, Handlers{"triggerInc"});
  check(
      "OCMstpMainStateSm", oCMstpMainStateSmFactory(w.config, w.status, w.ocMstiStateDir),
      [&] {
        announce(w.config, 298);
        announce(w.status, 258);
      },
      Handlers{"triggerInc", "update", "triggerInc", "update"});
}

// The handlers that run during a change.
template <class Change>
Handlers ranDuring(Change const& change) {
  TestSupport::HandlerLines traced;
  change();
  return traced.handlers();
}

TEST_F(FrameLifecycle, ActivationAddsEachSubscriptionOnce) {
  eachReactor([](char const* name, auto reactor, auto const& change, Handlers const& handlers) {
    SCOPED_TRACE(name);
    EXPECT_EQ(ranDuring(change), handlers);
    reactor->hasNotificationActiveIs(true);
    EXPECT_EQ(ranDuring(change), handlers) << "activated again";
    EXPECT_TRUE(reactor->hasNotificationActive());
  });
}

TEST_F(FrameLifecycle, InactiveReactorReactsToNothingAndMissesChanges) {
  eachReactor([](char const* name, auto reactor, auto const& change, Handlers const& handlers) {
    SCOPED_TRACE(name);
    reactor->hasNotificationActiveIs(false);
    EXPECT_FALSE(reactor->hasNotificationActive());
    EXPECT_FALSE(reactor->markAndSweepFlag());
    EXPECT_EQ(ranDuring(change), Handlers());
    reactor->hasNotificationActiveIs(false);
    EXPECT_EQ(ranDuring(change), Handlers());
    EXPECT_EQ(ranDuring([&] { reactor->hasNotificationActiveIs(true); }), Handlers());
    EXPECT_EQ(ranDuring(change), handlers);
  });
}

TEST_F(FrameLifecycle, DeactivationOfAReactorThatIsNotActiveDoesNothing) {
  World world;
  auto const mirror = inactive<OCGlobalConfigSm>(world.inputConfig, world.ocGlobalConfig);
  mirror->hasNotificationActiveIs(false);
  EXPECT_FALSE(world.inputConfig->publisher().empty()) << "the constructor's subscription stays";
  EXPECT_EQ(ranDuring([&] { world.inputConfig->modeIs(Mode::stp); }),
            Handlers{"handleEnabledProtocol"});
}

TEST_F(FrameLifecycle, ChangesUnderTheMarkAreDroppedNotQueued) {
  eachReactor([](char const* name, auto reactor, auto const& change, Handlers const& handlers) {
    SCOPED_TRACE(name);
    reactor->velDoZombieReactors(true);
    EXPECT_TRUE(reactor->markAndSweepFlag());
    EXPECT_TRUE(reactor->hasNotificationActive());
    EXPECT_EQ(ranDuring(change), Handlers());
    reactor->velDoZombieReactors(true);
    EXPECT_EQ(ranDuring([&] { reactor->velDoZombieReactors(false); }), Handlers());
    EXPECT_FALSE(reactor->markAndSweepFlag());
    EXPECT_EQ(ranDuring(change), handlers);
  });
}

TEST_F(FrameLifecycle, SwitchingKeepsTheMark) {
  eachReactor([](char const* name, auto reactor, auto const& change, Handlers const& handlers) {
    SCOPED_TRACE(name);
    reactor->velDoZombieReactors(true);
    reactor->hasNotificationActiveIs(false);
    EXPECT_TRUE(reactor->markAndSweepFlag());
    reactor->hasNotificationActiveIs(true);
    EXPECT_TRUE(reactor->markAndSweepFlag());
    EXPECT_EQ(ranDuring(change), Handlers());
    reactor->velDoZombieReactors(false);
    EXPECT_EQ(ranDuring(change), handlers);
  });
}

TEST_F(FrameLifecycle, TargetKeepsTheLastValueOfAnInactiveMirror) {
  World world;
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  mirror->hasNotificationActiveIs(false);
  world.inputConfig->modeIs(Mode::rapidPvst);
  EXPECT_EQ(world.ocGlobalConfig->config().enabledProtocol,
            (SharedList<OcStpEnabledProtocol>{OcStpEnabledProtocol::mstp}));
  mirror->hasNotificationActiveIs(true);
  EXPECT_EQ(world.ocGlobalConfig->config().enabledProtocol,
            (SharedList<OcStpEnabledProtocol>{OcStpEnabledProtocol::mstp}))
      << "activation delivers no present values";
}

TEST_F(FrameLifecycle, ReferencesAreHeldWhileTheObjectLives) {
  World world;
  auto mirror =
      oCGlobalStateSmFactory(world.config, world.status, world.vlanDir, world.ocGlobalState);
  EXPECT_EQ(world.config->references(), 2U);
  EXPECT_EQ(world.status->references(), 2U);
  EXPECT_EQ(world.vlanDir->references(), 2U);
  EXPECT_EQ(world.ocGlobalState->references(), 2U);
  auto const second = mirror;
  EXPECT_EQ(mirror->references(), 2U);
  mirror = nullptr;
  EXPECT_FALSE(world.config->publisher().empty());
  EXPECT_EQ(second->references(), 1U);
}

TEST_F(FrameLifecycle, EndOfAnObjectEndsItsSubscriptionsAndReferences) {
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    World world;
    std::vector<std::uint64_t> references;
    world.eachSource([&](std::string_view /*name*/, auto const& entity) {
      references.push_back(entity->references());
    });
    maker.make(world);
    auto before = references.begin();
    world.eachSource([&](std::string_view name, auto const& entity) {
      EXPECT_EQ(entity->references(), *before++) << name;
      EXPECT_TRUE(entity->publisher().empty()) << name;
    });
  }
}

TEST_F(FrameLifecycle, ReactorKeepsEntitiesThatNobodyElseHolds) {
  World world;
  auto mirror = oCInterfaceStateDirSmFactory(world.config, world.status, world.ocInterfaceStateDir);
  auto const directory = world.ocInterfaceStateDir;
  auto const port = world.portStatus;
  world = World();
  port->operEdgePortIs(true);
  EXPECT_EQ(directory->state(Lanx::IntfId::of("Ethernet1"))->edgePort, OcEdgePort::edgeEnable);
  mirror = nullptr;
  EXPECT_EQ(port->references(), 1U);
  EXPECT_EQ(directory->references(), 1U);
}

}  // namespace
}  // namespace Stp
