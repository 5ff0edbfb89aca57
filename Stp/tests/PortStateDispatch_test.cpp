// Which change of a port's sources runs what, and what may happen between two handlers.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceStateTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

class PortStateDispatch : public InterfaceStateTest {
 protected:
  PortStateDispatch() {
    watch();
    written.changes();
  }

  void watch() {
    portMirror = oCStpiPortStatusSmFactory("Ethernet1", config, portConfig, portStatus, directory);
  }
  void expectState(PortState const& state) const {
    InterfaceStateTest::expectState("Ethernet1", state);
  }

  /// Lets the port be one whose guard follows its operational edge.
  void guardFollowsTheEdge() {
    config->portfastBpduguardIs(true);
    portConfig->adminEdgePortIs(true);
    written.changes();
  }

  /// Expects every number to run just the listed handlers, and each to write once.
  void expectHandlers(Lumo::Entity const& source,
                      std::function<Names(unsigned)> const& handlersOf) {
    HandlerLines trace;
    publishEveryField(source, nullptr, [&](unsigned field) {
      Names const expected = handlersOf(field);
      EXPECT_EQ(trace.handlers(), expected) << field;
      EXPECT_EQ(written.changes(), static_cast<int>(expected.size())) << field;
    });
  }

  Lumo::Ptr<PortConfig> portConfig = Lumo::make<PortConfig>();
  Lumo::Ptr<StpiPortStatus> portStatus = Lumo::make<StpiPortStatus>();
  Watch<OCInterfaceStateDir> written{directory};
  Lumo::Ptr<OCStpiPortStatusSm> portMirror;
};

TEST_F(PortStateDispatch, RunsTheListedHandlersForEveryFieldOfThePortStatus) {
  expectHandlers(*portStatus, [](unsigned field) {
    return field == 260   ? Names{"handleEdgePort", "handleBpduguard"}
           : field == 262 ? Names{"handleLinkType"}
                          : Names();
  });
}

TEST_F(PortStateDispatch, RunsTheListedHandlersForEveryFieldOfThePortConfiguration) {
  expectHandlers(*portConfig, [](unsigned field) {
    return field == 261 || field == 270 ? Names{"handleBpduguard"} : Names();
  });
}

TEST_F(PortStateDispatch, RunsTheListedHandlersForEveryFieldOfTheConfiguration) {
  expectHandlers(*config,
                 [](unsigned field) { return field == 294 ? Names{"handleBpduguard"} : Names(); });
}

TEST_F(PortStateDispatch, ReadsThePresentValueWhateverTheNotificationSays) {
  bool const oldValue = false;
  bool const newValue = true;
  portStatus->publisher().publishChangeRecursive(260, &oldValue, &newValue);
  portStatus->publisher().publishChangeRecursive(262, &oldValue, &newValue);
  config->publisher().publishChangeRecursive(294, &oldValue, &newValue);
  expectState({.bpduGuard = 0});
}

TEST_F(PortStateDispatch, DropsChangesWhileMarked) {
  guardFollowsTheEdge();
  portMirror->velDoZombieReactors(true);
  portStatus->operEdgePortIs(true);
  portStatus->operPointToPointMacIs(true);
  portConfig->bpduguardIs(Guard::bpduguardEnabled);
  config->portfastBpduguardIs(false);
  EXPECT_EQ(written.changes(), 0);
  portMirror->velDoZombieReactors(false);
  EXPECT_EQ(written.changes(), 0);
  portStatus->operPointToPointMacIs(false);
  EXPECT_EQ(written.changes(), 1);
  expectState({.bpduGuard = 0});
}

TEST_F(PortStateDispatch, IsDeafToAllThreeSourcesWhileInactive) {
  portMirror->hasNotificationActiveIs(false);
  EXPECT_TRUE(config->publisher().empty());
  EXPECT_TRUE(portConfig->publisher().empty());
  EXPECT_TRUE(portStatus->publisher().empty());
  portStatus->operEdgePortIs(true);
  portMirror->hasNotificationActiveIs(true);
  portMirror->hasNotificationActiveIs(true);
  EXPECT_EQ(written.changes(), 0);
  portStatus->operPointToPointMacIs(true);
  portConfig->adminEdgePortIs(true);
  config->portfastBpduguardIs(true);
  EXPECT_EQ(written.changes(), 3);
  expectState({.linkType = 0, .edgePort = 1, .bpduGuard = 1});
}

TEST_F(PortStateDispatch, ServesAChangeInsideAChange) {
  Watch<Config> const alsoChanging(config, [&](auto...) { portStatus->operEdgePortIs(true); });
  portConfig->adminEdgePortIs(true);
  written.changes();
  config->portfastBpduguardIs(true);
  EXPECT_EQ(written.changes(), 3);
  expectState({.edgePort = 0, .bpduGuard = 1});
}

TEST_F(PortStateDispatch, SkipsTheGuardWhenMarkedAfterTheEdgePort) {
  guardFollowsTheEdge();
  Watch<OCInterfaceStateDir> const marking(directory,
                                           [&](auto...) { portMirror->velDoZombieReactors(true); });
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(written.changes(), 1);
  expectState({.edgePort = 0, .bpduGuard = 0});
  portStatus->operEdgePortIs(false);
  EXPECT_EQ(written.changes(), 0);
}

TEST_F(PortStateDispatch, RunsTheGuardWhenTheMarkIsTakenBackInTime) {
  guardFollowsTheEdge();
  Watch<OCInterfaceStateDir> const marking(directory, [&](auto...) {
    portMirror->velDoZombieReactors(true);
    portMirror->velDoZombieReactors(false);
  });
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(written.changes(), 2);
  expectState({.edgePort = 0, .bpduGuard = 1});
}

TEST_F(PortStateDispatch, HoldsTheReactorThatIsDroppedAfterTheEdgePort) {
  guardFollowsTheEdge();
  std::vector<std::uint64_t> alive;
  Watch<OCInterfaceStateDir> const dropping(directory, [&](auto...) {
    portMirror = nullptr;
    alive.push_back(liveCount<OCStpiPortStatusSm>());
  });
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(alive, (std::vector<std::uint64_t>{1, 1}));
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
  expectState({.edgePort = 0, .bpduGuard = 1});
  EXPECT_TRUE(portStatus->publisher().empty());
}

TEST_F(PortStateDispatch, SkipsTheGuardOfAReactorThatIsMarkedAndDropped) {
  guardFollowsTheEdge();
  Watch<OCInterfaceStateDir> const dropping(directory, [&](auto...) {
    portMirror->velDoZombieReactors(true);
    portMirror = nullptr;
  });
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(written.changes(), 1);
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
}

TEST_F(PortStateDispatch, GoesOnWhenSwitchedOffAfterTheEdgePort) {
  // Switching off ends the subscriptions; it is the mark that stops a change under way.
  guardFollowsTheEdge();
  Watch<OCInterfaceStateDir> const switching(
      directory, [&](auto...) { portMirror->hasNotificationActiveIs(false); });
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(written.changes(), 2);
  expectState({.edgePort = 0, .bpduGuard = 1});
  portStatus->operEdgePortIs(false);
  EXPECT_EQ(written.changes(), 0);
}

TEST_F(PortStateDispatch, MayBeDroppedFromAnyWrite) {
  std::vector<std::function<void()>> const changes{
      [this] { portStatus->operPointToPointMacIs(!portStatus->operPointToPointMac()); },
      [this] { portConfig->adminEdgePortIs(!portConfig->adminEdgePort()); },
      [this] { portConfig->bpduguardIs(Guard::bpduguardDisabled); },
      [this] { config->portfastBpduguardIs(!config->portfastBpduguard()); },
  };
  HandlerLines const trace;
  for (auto const& change : changes) {
    watch();
    Watch<OCInterfaceStateDir> dropping(directory, [&](auto...) { portMirror = nullptr; });
    change();
    EXPECT_EQ(dropping.changes(), 1);
    EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
    EXPECT_TRUE(config->publisher().empty());
  }
}

TEST_F(PortStateDispatch, SurvivesTheEndOfThePublisherBetweenItsHandlers) {
  guardFollowsTheEdge();
  // The directory's subscriber drops everybody who holds the port's status.
  Watch<OCInterfaceStateDir> const dropping(directory, [&](auto...) {
    portMirror = nullptr;
    portStatus = nullptr;
  });
  StpiPortStatus& status = *portStatus;
  status.operEdgePortIs(true);
  expectState({.edgePort = 0, .bpduGuard = 1});
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
}

TEST_F(PortStateDispatch, ServesEveryPortOfABridgeWideChange) {
  std::vector<Lumo::Ptr<OCStpiPortStatusSm>> others;
  for (int at = 2; at <= 50; ++at) {
    others.push_back(oCStpiPortStatusSmFactory("Ethernet" + std::to_string(at), config,
                                               at % 2 == 0 ? portConfig : nullptr, portStatus,
                                               directory));
  }
  guardFollowsTheEdge();
  config->portfastBpduguardIs(false);
  EXPECT_EQ(written.changes(), 26);  // 25 of the others have a port configuration
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(written.changes(), 2 * 26 + 24);
}

using PortStateDispatchDeathTest = PortStateDispatch;

TEST_F(PortStateDispatchDeathTest, EndsTheProcessWhenAHandlerThrows) {
  Watch<OCInterfaceStateDir> const failing(directory,
                                           [](auto...) { throw std::runtime_error("refused"); });
  EXPECT_DEATH(portStatus->operPointToPointMacIs(true), "refused");
}

}  // namespace
}  // namespace Stp::InterfaceTest
