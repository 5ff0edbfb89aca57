// The states of all interfaces, as instances and ports come and go.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Stp/tests/InterfaceStateTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using InterfaceStateDirectory = InterfaceStateTest;

TEST_F(InterfaceStateDirectory, IsUntouchedWithoutInstances) {
  directory->stateIs(InterfaceState{Lanx::IntfId::of("Ethernet9")});
  StateLog log(directory);
  start();
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(states(), Names{"Ethernet9"});
}

TEST_F(InterfaceStateDirectory, IsUntouchedByAnInstanceWithoutPorts) {
  start();
  StateLog log(directory);
  addInstance("Mst");
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
  EXPECT_EQ(portChildren("Mst"), Names());
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InterfaceStateDirectory, HasAStateForEveryReportedPortFromTheStart) {
  addInstance("Mst", {"Ethernet2", "Ethernet1"});
  addInstance("Vl1", {"Ethernet3"});
  configure("Ethernet1", 1);
  start();
  EXPECT_EQ(instanceChildren(), (Names{"Mst", "Vl1"}));
  EXPECT_EQ(portChildren("Mst"), (Names{"Ethernet2", "Ethernet1"}));
  EXPECT_EQ(states(), (Names{"Ethernet2", "Ethernet1", "Ethernet3"}));
  expectState("Ethernet1", {.bpduGuard = 1});
  expectState("Ethernet2", {});
  expectState("Ethernet3", {});
}

TEST_F(InterfaceStateDirectory, FillsTheStatesOfAnInstanceThatComes) {
  start();
  auto const instance = Lumo::make<StpiStatus>();
  auto const port = Lumo::make<StpiPortStatus>();
  port->operPointToPointMacIs(true);
  port->operEdgePortIs(true);
  instance->stpiPortStatus.is("Ethernet1", port);
  configure("Ethernet1");
  StateLog log(directory);
  status->stpiStatus.is("Mst", instance);
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{
                {"Ethernet1", {0, 2, 255}}, {"Ethernet1", {0, 0, 255}}, {"Ethernet1", {0, 0, 0}}}));
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 1U);
}

TEST_F(InterfaceStateDirectory, MakesOneChildForAPortThatComes) {
  start();
  addInstance("Mst");
  configure("Ethernet1", 1);
  auto const made = madeCount<OCStpiPortStatusSm>();
  report("Mst", "Ethernet1");
  EXPECT_EQ(madeCount<OCStpiPortStatusSm>(), made + 1);
  EXPECT_EQ(portChildren("Mst"), Names{"Ethernet1"});
  expectState("Ethernet1", {.bpduGuard = 1});
}

TEST_F(InterfaceStateDirectory, MakesAChildForAPortWithoutConfiguration) {
  start();
  addInstance("Mst");
  auto const port = report("Mst", "Ethernet1");
  expectState("Ethernet1", {});
  port->operEdgePortIs(true);
  config->portfastBpduguardIs(true);
  expectState("Ethernet1", {.edgePort = 0});
}

TEST_F(InterfaceStateDirectory, KeepsTheStateOfAPortThatGoes) {
  start();
  addInstance("Mst");
  configure("Ethernet1", 1);
  auto const port = report("Mst", "Ethernet1");
  port->operPointToPointMacIs(true);
  StateLog log(directory);
  unreport("Mst", "Ethernet1");
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(portChildren("Mst"), Names());
  EXPECT_TRUE(port->publisher().empty());
  port->operPointToPointMacIs(false);
  expectState("Ethernet1", {.linkType = 0, .bpduGuard = 1});
}

TEST_F(InterfaceStateDirectory, KeepsTheStatesOfAnInstanceThatGoes) {
  start();
  auto const instance = addInstance("Mst", {"Ethernet1", "Ethernet2"});
  StateLog log(directory);
  removeInstance("Mst");
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_EQ(liveCount<OCStpiStatusSm>(), 0U);
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
  EXPECT_TRUE(instance->publisher().empty());
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(states(), (Names{"Ethernet1", "Ethernet2"}));
}

TEST_F(InterfaceStateDirectory, KeepsTheStatesWhenItGoes) {
  addInstance("Mst", {"Ethernet1"});
  configure("Ethernet2", 1);
  addInstance("Vl1", {"Ethernet2"});
  start();
  StateLog log(directory);
  stop();
  EXPECT_TRUE(log.take().empty());
  expectState("Ethernet1", {});
  expectState("Ethernet2", {.bpduGuard = 1});
}

TEST_F(InterfaceStateDirectory, LetsTheLastWriteOfEachMemberWin) {
  configure("Ethernet1");
  addInstance("A", {"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  start();
  auto const inA = reported("A", "Ethernet1");
  auto const inB = reported("B", "Ethernet1");
  EXPECT_EQ(states(), Names{"Ethernet1"});
  inA->operPointToPointMacIs(true);
  inB->operEdgePortIs(true);
  expectState("Ethernet1", {.linkType = 0, .edgePort = 0, .bpduGuard = 0});
  inB->operPointToPointMacIs(true);
  inB->operPointToPointMacIs(false);
  expectState("Ethernet1", {.linkType = 1, .edgePort = 0, .bpduGuard = 0});
  inA->operEdgePortIs(true);
  inA->operEdgePortIs(false);
  expectState("Ethernet1", {.linkType = 1, .edgePort = 1, .bpduGuard = 0});
  // Of a bridge-wide change both write: A, which subscribed first, and then B.
  config->portConfig("Ethernet1")->adminEdgePortIs(true);
  StateLog log(directory);
  config->portfastBpduguardIs(true);
  EXPECT_EQ(log.take(),
            (std::vector<StateLog::Entry>{{"Ethernet1", {1, 1, 0}}, {"Ethernet1", {1, 1, 1}}}));
}

TEST_F(InterfaceStateDirectory, KeepsAnInterfaceWhoseOtherInstanceGoes) {
  addInstance("A", {"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  start();
  reported("A", "Ethernet1")->operEdgePortIs(true);
  removeInstance("A");
  expectState("Ethernet1", {.edgePort = 0});
  reported("B", "Ethernet1")->operPointToPointMacIs(true);
  expectState("Ethernet1", {.linkType = 0, .edgePort = 0});
}

TEST_F(InterfaceStateDirectory, DoesNothingForRepeatedNotifications) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  configure("Ethernet1");
  start();
  StateLog log(directory);
  auto const made = madeCount<OCStpiPortStatusSm>() + madeCount<OCStpiStatusSm>();
  Lumo::String const instanceName = "Mst";
  Lumo::String const portName = "Ethernet1";
  status->publisher().publishChangeRecursive(259, &instanceName, nullptr);
  instance->publisher().publishChangeRecursive(261, &portName, nullptr);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(madeCount<OCStpiPortStatusSm>() + madeCount<OCStpiStatusSm>(), made);
}

TEST_F(InterfaceStateDirectory, AcceptsAnInstanceOfTheSameNameAfterARemoval) {
  start();
  auto const first = addInstance("Mst", {"Ethernet1"});
  removeInstance("Mst");
  addInstance("Mst", {"Ethernet2"});
  EXPECT_EQ(portChildren("Mst"), Names{"Ethernet2"});
  first->stpiPortStatus.is("Ethernet3", Lumo::make<StpiPortStatus>());
  EXPECT_EQ(states(), (Names{"Ethernet1", "Ethernet2"}));
}

TEST_F(InterfaceStateDirectory, TakesALaterConfigurationWhenThePortComesBack) {
  start();
  addInstance("Mst");
  report("Mst", "Ethernet1");
  configure("Ethernet1", 1);
  expectState("Ethernet1", {});
  unreport("Mst", "Ethernet1");
  report("Mst", "Ethernet1");
  expectState("Ethernet1", {.bpduGuard = 1});
}

TEST_F(InterfaceStateDirectory, DoesNotHearOfAConfigurationThatComesOrGoes) {
  addInstance("Mst", {"Ethernet1", "Ethernet2"});
  auto const second = configure("Ethernet2", 1);
  start();
  StateLog log(directory);
  configure("Ethernet1", 1);
  config->portConfig.del("Ethernet2");
  EXPECT_TRUE(log.take().empty());
  // The child has the one that it was made with.
  second->bpduguardIs(Guard::bpduguardDisabled);
  expectState("Ethernet2", {.bpduGuard = 0});
}

TEST_F(InterfaceStateDirectory, FollowsManyPorts) {
  start();
  auto const instance = addInstance("Mst");
  int const ports = 2000;
  for (int at = 0; at < ports; ++at) {
    std::string const name = "Ethernet" + std::to_string(at);
    configure(name, at % 3 == 0 ? 1 : 0);
    report("Mst", name)->operEdgePortIs(at % 2 == 0);
  }
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 2000U);
  for (int at = 0; at < ports; ++at) {
    expectState("Ethernet" + std::to_string(at),
                {.edgePort = at % 2 == 0 ? 0U : 1U, .bpduGuard = at % 3 == 0 ? 1U : 0U});
  }
  instance->stpiPortStatus.delAll();
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
  EXPECT_EQ(states().size(), 2000U);
}

using InterfaceStateTrace = InterfaceStateTest;

TEST_F(InterfaceStateTrace, NamesTheStartAndItsSteps) {
  addInstance("Mst", {"Ethernet1"});
  HandlerLines text;
  FastTrace const fast;
  start();
  std::vector<std::string> const lines = text.lines();
  ASSERT_EQ(lines.size(), 7U);  // the guard is not computed without a port configuration
  EXPECT_EQ(lines[0], handlerLine(691, "OCInterfaceStateDirSm::handleInitialized() "));
  EXPECT_EQ(lines[1], handlerLine(679,
                                  "OCInterfaceStateDirSm::handleStpiStatus() "
                                  "Creating external interfaces for Stpi %sMst"));
  EXPECT_EQ(lines[2], handlerLine(664, "OCStpiStatusSm[Mst]::handleInitialized() "));
  EXPECT_EQ(lines[3], handlerLine(650,
                                  "OCStpiStatusSm[Mst]::handleStpiPortStatus() "
                                  "Creating external interface for %sEthernet1"));
  EXPECT_EQ(lines[4], handlerLine(642, "OCStpiPortStatusSm[Ethernet1]::handleInitialized() "));
  EXPECT_EQ(fast.blocks(), (Names{"Stp::OCStpiPortStatusSm::handleLinkType():564",
                                  "Stp::OCStpiPortStatusSm::handleEdgePort():584",
                                  "Stp::OCStpiPortStatusSm::handleInitialized():642",
                                  "Stp::OCStpiStatusSm::handleStpiPortStatus():650",
                                  "Stp::OCStpiStatusSm::handleInitialized():664",
                                  "Stp::OCInterfaceStateDirSm::handleStpiStatus():679",
                                  "Stp::OCInterfaceStateDirSm::handleInitialized():691"}));
}

TEST_F(InterfaceStateTrace, CoversPortsAndInstancesThatGo) {
  addInstance("Mst", {"Ethernet1"});
  start();
  HandlerLines text;
  unreport("Mst", "Ethernet1");
  EXPECT_EQ(text.lines(), Names{handlerLine(650,
                                            "OCStpiStatusSm[Mst]::handleStpiPortStatus() "
                                            "Creating external interface for %sEthernet1")});
  removeInstance("Mst");
  EXPECT_EQ(text.lines(), Names{handlerLine(679,
                                            "OCInterfaceStateDirSm::handleStpiStatus() "
                                            "Creating external interfaces for Stpi %sMst")});
  stop();
  EXPECT_EQ(text.lines(), Names());
}

using InterfaceStateDispatch = InterfaceStateTest;

TEST_F(InterfaceStateDispatch, RunsTheListedHandlerForEveryFieldOfTheStatus) {
  start();
  HandlerLines trace;
  Lumo::String const name = "Mst";
  publishEveryField(*status, &name, [&](unsigned field) {
    EXPECT_EQ(trace.handlers(), field == 259 ? Names{"handleStpiStatus"} : Names()) << field;
  });
}

TEST_F(InterfaceStateDispatch, RunsTheListedHandlerForEveryFieldOfAnInstance) {
  auto const instance = addInstance("Mst");
  start();
  HandlerLines trace;
  Lumo::String const name = "Ethernet1";
  publishEveryField(*instance, &name, [&](unsigned field) {
    EXPECT_EQ(trace.handlers(), field == 261 ? Names{"handleStpiPortStatus"} : Names()) << field;
  });
}

TEST_F(InterfaceStateDispatch, ListensToNoFieldOfTheConfiguration) {
  addInstance("Mst", {"Ethernet1"});
  start();
  mirror->ocStpiStatusSmDelAll();
  EXPECT_TRUE(config->publisher().empty());
}

TEST_F(InterfaceStateDispatch, DropsChangesWhileMarked) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  start();
  mirror->velDoZombieReactors(true);
  addInstance("Vl1", {"Ethernet2"});
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
  // The mark is the reactor's own: its children go on.
  report("Mst", "Ethernet3")->operEdgePortIs(true);
  expectState("Ethernet3", {.edgePort = 0});
  mirror->velDoZombieReactors(false);
  EXPECT_EQ(instanceChildren(), Names{"Mst"});

  static_cast<OCStpiStatusSm&>(*instanceChild("Mst")).velDoZombieReactors(true);
  report("Mst", "Ethernet4");
  EXPECT_EQ(portChildren("Mst"), (Names{"Ethernet1", "Ethernet3"}));
  reported("Mst", "Ethernet1")->operEdgePortIs(true);
  expectState("Ethernet1", {.edgePort = 0});
}

}  // namespace
}  // namespace Stp::InterfaceTest
