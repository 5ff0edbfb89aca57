// One port's state in one instance, as it reaches the directory of states.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Stp/tests/InterfaceStateTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

class PortStateMirror : public InterfaceStateTest {
 protected:
  void watch() {
    portMirror = oCStpiPortStatusSmFactory("Ethernet1", config, portConfig, portStatus, directory);
  }
  void expectState(PortState const& state) const {
    InterfaceStateTest::expectState("Ethernet1", state);
  }
  void setPort(unsigned bpduguard, bool portfastDefault, bool adminEdge, bool operEdge) {
    portConfig->bpduguardIs(static_cast<Guard>(bpduguard));
    config->portfastBpduguardIs(portfastDefault);
    portConfig->adminEdgePortIs(adminEdge);
    portStatus->operEdgePortIs(operEdge);
  }

  Lumo::Ptr<PortConfig> portConfig = Lumo::make<PortConfig>();
  Lumo::Ptr<StpiPortStatus> portStatus = Lumo::make<StpiPortStatus>();
  Watch<OCInterfaceStateDir> written{directory};
  Lumo::Ptr<OCStpiPortStatusSm> portMirror;
};

/// The rule in plain words.
unsigned bpduGuardOf(unsigned bpduguard, bool portfastDefault, bool adminEdge, bool operEdge) {
  if (bpduguard == 1) {
    return 1;
  }
  if (bpduguard == 0 && portfastDefault && adminEdge) {
    return operEdge ? 1 : 0;
  }
  return 0;
}

TEST_F(PortStateMirror, WritesAllThreeMembersAtStart) {
  StateLog log(directory);
  portStatus->operPointToPointMacIs(true);
  portStatus->operEdgePortIs(true);
  portConfig->bpduguardIs(Guard::bpduguardEnabled);
  watch();
  // A fresh record is point-to-point, automatic and without a guard.
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{
                {"Ethernet1", {0, 2, 255}}, {"Ethernet1", {0, 0, 255}}, {"Ethernet1", {0, 0, 1}}}));
}

TEST_F(PortStateMirror, StartsFromTheRecordThatIsThere) {
  InterfaceState left{Lanx::IntfId::of("Ethernet1")};
  left.linkType = OcLinkType::notSet;
  left.edgePort = OcEdgePort::notSet;
  left.bpduGuard = OcBpduGuard::enabled;
  directory->stateIs(left);
  StateLog log(directory);
  watch();
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{
                {"Ethernet1", {1, 255, 1}}, {"Ethernet1", {1, 1, 1}}, {"Ethernet1", {1, 1, 0}}}));
}

TEST_F(PortStateMirror, LeavesOtherRecordsAlone) {
  InterfaceState const other{Lanx::IntfId::of("Ethernet10")};
  directory->stateIs(other);
  watch();
  setPort(1, true, true, true);
  EXPECT_TRUE(directory->state(other.name)->isEq(other));
  EXPECT_EQ(states(), (Names{"Ethernet10", "Ethernet1"}));
}

TEST_F(PortStateMirror, FollowsTheLinkTypeAlone) {
  portStatus->operEdgePortIs(true);
  portConfig->bpduguardIs(Guard::bpduguardEnabled);
  watch();
  written.changes();
  expectState({.linkType = 1, .edgePort = 0, .bpduGuard = 1});
  for (bool const pointToPoint : {true, false, true}) {
    portStatus->operPointToPointMacIs(pointToPoint);
    EXPECT_EQ(written.changes(), 1);
    expectState({.linkType = pointToPoint ? 0U : 1U, .edgePort = 0, .bpduGuard = 1});
    portStatus->operPointToPointMacIs(pointToPoint);
    EXPECT_EQ(written.changes(), 0);
  }
}

TEST_F(PortStateMirror, FollowsTheOperationalEdgeAndNotTheAdministrative) {
  portConfig->bpduguardIs(Guard::bpduguardDisabled);
  for (bool const adminEdge : {false, true}) {
    portConfig->adminEdgePortIs(adminEdge);
    for (bool const operEdge : {false, true}) {
      portStatus->operEdgePortIs(operEdge);
      watch();
      expectState({.edgePort = operEdge ? 0U : 1U, .bpduGuard = 0});
    }
  }
}

TEST_F(PortStateMirror, DecidesTheBpduGuardByTheWholeTruthTable) {
  for (unsigned bpduguard = 0; bpduguard <= 255; ++bpduguard) {
    for (unsigned flags = 0; flags < 8; ++flags) {
      SCOPED_TRACE("bpduguard " + std::to_string(bpduguard) + ", flags " + std::to_string(flags));
      bool const portfastDefault = (flags & 1U) != 0;
      bool const adminEdge = (flags & 2U) != 0;
      bool const operEdge = (flags & 4U) != 0;
      portMirror = nullptr;
      setPort(bpduguard, portfastDefault, adminEdge, operEdge);
      watch();
      expectState({.edgePort = operEdge ? 0U : 1U,
                   .bpduGuard = bpduGuardOf(bpduguard, portfastDefault, adminEdge, operEdge)});
    }
  }
}

TEST_F(PortStateMirror, FollowsEachSourceOfTheBpduGuard) {
  watch();
  written.changes();
  unsigned const settings[]{0, 1, 2, 3, 0, 2, 1, 0, 255, 0};
  for (unsigned const bpduguard : settings) {
    portConfig->bpduguardIs(static_cast<Guard>(bpduguard));
    written.changes();
    // A walk through all combinations of the three, one change at a time.
    for (unsigned step = 0; step < 16; ++step) {
      SCOPED_TRACE("bpduguard " + std::to_string(bpduguard) + ", step " + std::to_string(step));
      int expected = 1;
      if (step % 2 == 0) {
        config->portfastBpduguardIs(!config->portfastBpduguard());
      } else if (step % 4 == 1) {
        portConfig->adminEdgePortIs(!portConfig->adminEdgePort());
      } else {
        portStatus->operEdgePortIs(!portStatus->operEdgePort());
        expected = 2;
      }
      EXPECT_EQ(written.changes(), expected);
      expectState(
          {.edgePort = portStatus->operEdgePort() ? 0U : 1U,
           .bpduGuard = bpduGuardOf(bpduguard, config->portfastBpduguard(),
                                    portConfig->adminEdgePort(), portStatus->operEdgePort())});
    }
  }
}

TEST_F(PortStateMirror, FollowsTheSettingOfThePort) {
  setPort(0, true, true, true);
  watch();
  expectState({.edgePort = 0, .bpduGuard = 1});
  written.changes();
  struct Step {
    unsigned bpduguard;
    unsigned bpduGuard;
  };
  for (Step const& step : {Step{2, 0}, Step{1, 1}, Step{3, 0}, Step{0, 1}, Step{255, 0}}) {
    portConfig->bpduguardIs(static_cast<Guard>(step.bpduguard));
    EXPECT_EQ(written.changes(), 1);
    expectState({.edgePort = 0, .bpduGuard = step.bpduGuard});
  }
}

TEST_F(PortStateMirror, UpdatesTheEdgePortFirstAndThenTheGuard) {
  setPort(0, true, true, false);
  watch();
  StateLog log(directory);
  portStatus->operEdgePortIs(true);
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{{"Ethernet1", {1, 0, 0}}, {"Ethernet1", {1, 0, 1}}}));
  portStatus->operEdgePortIs(false);
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{{"Ethernet1", {1, 1, 1}}, {"Ethernet1", {1, 1, 0}}}));
}

TEST_F(PortStateMirror, NeverComputesTheGuardWithoutAPortConfiguration) {
  portConfig = nullptr;
  portStatus->operEdgePortIs(true);
  watch();
  EXPECT_EQ(written.changes(), 2);
  expectState({.edgePort = 0});
  HandlerLines trace;
  config->portfastBpduguardIs(true);
  config->portfastBpduguardIs(false);
  portMirror->handleBpduguard();
  EXPECT_EQ(written.changes(), 0);
  EXPECT_EQ(trace.handlers(), Names());
  portStatus->operEdgePortIs(false);
  EXPECT_EQ(written.changes(), 1);
  EXPECT_EQ(trace.handlers(), Names{"handleEdgePort"});
  portStatus->operPointToPointMacIs(true);
  EXPECT_EQ(written.changes(), 1);
  expectState({.linkType = 0});
}

TEST_F(PortStateMirror, KeepsAGuardThatItCannotCompute) {
  portConfig = nullptr;
  InterfaceState left{Lanx::IntfId::of("Ethernet1")};
  left.bpduGuard = OcBpduGuard::enabled;
  directory->stateIs(left);
  watch();
  portStatus->operEdgePortIs(true);
  expectState({.edgePort = 0, .bpduGuard = 1});
}

TEST_F(PortStateMirror, NeverComputesTheGuardWithoutAConfiguration) {
  config = nullptr;
  portConfig->bpduguardIs(Guard::bpduguardEnabled);
  HandlerLines trace;
  FastTrace const fast;
  watch();
  EXPECT_EQ(trace.handlers(), (Names{"handleInitialized", "handleLinkType", "handleEdgePort"}));
  EXPECT_EQ(written.changes(), 2);
  portConfig->bpduguardIs(Guard::bpduguardDefault);
  portConfig->adminEdgePortIs(true);
  EXPECT_EQ(trace.handlers(), Names());
  EXPECT_EQ(written.changes(), 0);
  expectState({});
  EXPECT_EQ(fast.blocks(), (Names{"Stp::OCStpiPortStatusSm::handleLinkType():564",
                                  "Stp::OCStpiPortStatusSm::handleEdgePort():584",
                                  "Stp::OCStpiPortStatusSm::handleInitialized():642"}));
}

TEST_F(PortStateMirror, WorksFromThePortStatusAlone) {
  config = nullptr;
  portConfig = nullptr;
  watch();
  portStatus->operEdgePortIs(true);
  expectState({.edgePort = 0});
}

TEST_F(PortStateMirror, CannotStartWithoutPortStatusOrDirectory) {
  portStatus = nullptr;
  EXPECT_THROW(watch(), Lumo::AbsentPointerException);
  EXPECT_EQ(states(), Names());
  portStatus = Lumo::make<StpiPortStatus>();
  EXPECT_THROW(oCStpiPortStatusSmFactory("Ethernet1", config, portConfig, portStatus, nullptr),
               Lumo::AbsentPointerException);
  EXPECT_TRUE(config->publisher().empty());
  EXPECT_TRUE(portConfig->publisher().empty());
  EXPECT_TRUE(portStatus->publisher().empty());
  EXPECT_EQ(config->references(), 1U);
}

TEST_F(PortStateMirror, LeavesNothingBehindWhenOneOfItsFirstWritesFails) {
  for (int const failsAt : {1, 2, 3}) {
    int writes = 0;
    Watch<OCInterfaceStateDir> const failing(directory, [&](auto...) {
      if (++writes == failsAt) {
        throw 7;
      }
    });
    EXPECT_THROW(watch(), int);
    EXPECT_EQ(writes, failsAt);
    EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
    EXPECT_TRUE(config->publisher().empty());
    EXPECT_TRUE(portConfig->publisher().empty());
    EXPECT_TRUE(portStatus->publisher().empty());
  }
}

TEST_F(PortStateMirror, StoresAnEqualRecordAgain) {
  watch();
  written.changes();
  for (auto const handler :
       {&OCStpiPortStatusSm::handleLinkType, &OCStpiPortStatusSm::handleEdgePort,
        &OCStpiPortStatusSm::handleBpduguard}) {
    ((*portMirror).*handler)();
    EXPECT_EQ(written.changes(), 1);
  }
  portMirror->handleInitialized();
  EXPECT_EQ(written.changes(), 3);
  expectState({.bpduGuard = 0});
}

TEST_F(PortStateMirror, LeavesItsRecordWhenItGoes) {
  setPort(1, false, false, true);
  watch();
  written.changes();
  portMirror = nullptr;
  EXPECT_EQ(written.changes(), 0);
  expectState({.edgePort = 0, .bpduGuard = 1});
  EXPECT_TRUE(config->publisher().empty());
  EXPECT_TRUE(portConfig->publisher().empty());
  EXPECT_TRUE(portStatus->publisher().empty());
  EXPECT_EQ(config->references(), 1U);
  EXPECT_EQ(portConfig->references(), 1U);
  EXPECT_EQ(portStatus->references(), 1U);
}

TEST_F(PortStateMirror, BringsItsRecordBackWithFreshMembers) {
  setPort(1, false, false, true);
  watch();
  directory->stateDelAll();
  portStatus->operPointToPointMacIs(true);
  expectState({.linkType = 0, .edgePort = 2, .bpduGuard = 255});
}

TEST_F(PortStateMirror, TracesEachHandlerWithWhatItRead) {
  portStatus->operPointToPointMacIs(true);
  portConfig->bpduguardIs(Guard::bpduguardEnabled);
  std::string const name = "OCStpiPortStatusSm[Ethernet1]::";
  HandlerLines text;
  FastTrace const fast;
  watch();
  EXPECT_EQ(text.lines(),
            (Names{handlerLine(642, name + "handleInitialized() "),
                   handlerLine(564, name + "handleLinkType() "
                                           "Updating link-type state, operPointToPointMac: %b1"),
                   handlerLine(584, name + "handleEdgePort() "
                                           "Updating edge-port state, operEdgePort: %b0"),
                   handlerLine(612, name + "handleBpduguard() "
                                           "Updating bpdu-guard state, bpduguard: "
                                           "%bbpduguardEnabled adminEdgePort: %b0 "
                                           "config->portfastBpuduguard: %b0 operEdgePort: %b0")}));
  setPort(2, true, true, true);
  std::vector<std::string> const lines = text.lines();
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[3], handlerLine(584, name + "handleEdgePort() "
                                              "Updating edge-port state, operEdgePort: %b1"));
  EXPECT_EQ(lines[4], handlerLine(612, name + "handleBpduguard() "
                                              "Updating bpdu-guard state, bpduguard: "
                                              "%bbpduguardDisabled adminEdgePort: %b1 "
                                              "config->portfastBpuduguard: %b1 operEdgePort: %b1"));
  std::vector<std::string> const blocks = fast.blocks();
  ASSERT_EQ(blocks.size(), 9U);
  EXPECT_EQ(blocks[0], "Stp::OCStpiPortStatusSm::handleLinkType():564");
  EXPECT_EQ(blocks[1], "Stp::OCStpiPortStatusSm::handleEdgePort():584");
  EXPECT_EQ(blocks[2], "Stp::OCStpiPortStatusSm::handleBpduguard():612");
  EXPECT_EQ(blocks[3], "Stp::OCStpiPortStatusSm::handleInitialized():642");
}

TEST_F(PortStateMirror, KnowsItsKeyAndClass) {
  auto const byCreator =
      OCStpiPortStatusSm::OCStpiPortStatusSmIs("E1", config, portConfig, portStatus, directory);
  EXPECT_EQ(byCreator->keyInfo(), "[E1]");
  EXPECT_EQ(byCreator->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 6}));
  EXPECT_TRUE(byCreator->hasNotificationActive());
  EXPECT_EQ(byCreator->references(), 1U);
  EXPECT_EQ(states(), Names{"E1"});
}

}  // namespace
}  // namespace Stp::InterfaceTest
