// What the interface configuration directory traces, and which changes it listens to.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using Lines = std::vector<std::string>;

std::string const directoryHandler = "OCInterfaceConfigDirSm::";

std::string directoryLine(unsigned line, std::string const& text) {
  return handlerLine(line, directoryHandler + text);
}

using InterfaceConfigTrace = InterfaceConfigTest;

TEST_F(InterfaceConfigTrace, NamesTheStartAndItsSteps) {
  leaveInterface("Ethernet9");
  configure("Ethernet1");
  addInstance("Mst", {"Ethernet2"});
  HandlerLines text;
  FastTrace const fast;
  start();
  EXPECT_EQ(
      text.lines(),
      (Lines{
          directoryLine(547, "handleInitialized() Starting external Stp interface Sm"),
          directoryLine(504, "maybeCleanUpExternalIntfConfigs() "),
          directoryLine(434, "handleInterface() Updating interface %sEthernet1"),
          directoryLine(440, "handleInterface() Interface input config %s is updatedEthernet1"),
          handlerLine(428, "OCPortConfigSm[Ethernet1]::handleInitialized() "),
          handlerLine(356,
                      "OCPortConfigSm[Ethernet1]::handleEdgePort() "
                      "Updating edge-port on %sEthernet1"),
          directoryLine(529, "handleStpiStatusConfig() "),
          handlerLine(495, "OCStpiStatusConfigSm[Mst]::handleInitialized() "),
          handlerLine(476, "OCStpiStatusConfigSm[Mst]::handleStpiPortStatusConfig() "),
      }));
  stop();
  EXPECT_EQ(text.lines(), Lines());
  EXPECT_EQ(fast.blocks(),
            (Lines{"Stp::OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs():504",
                   "Stp::OCPortConfigSm::handleEdgePort():356",
                   "Stp::OCPortConfigSm::handleInitialized():428",
                   "Stp::OCInterfaceConfigDirSm::handleInterface():440",
                   "Stp::OCInterfaceConfigDirSm::handleInterface():434",
                   "Stp::OCStpiStatusConfigSm::handleStpiPortStatusConfig():476",
                   "Stp::OCStpiStatusConfigSm::handleInitialized():495",
                   "Stp::OCInterfaceConfigDirSm::handleStpiStatusConfig():529",
                   "Stp::OCInterfaceConfigDirSm::handleInitialized():547"}));
}

TEST_F(InterfaceConfigTrace, TellsTheThreeOutcomesOfAPortApart) {
  start();
  addInstance("Mst", {"Ethernet1"});
  configure("Ethernet1");
  HandlerLines text;
  FastTrace const fast;
  unconfigure("Ethernet1");
  EXPECT_EQ(text.lines(),
            (Lines{directoryLine(434, "handleInterface() Updating interface %sEthernet1"),
                   directoryLine(456, "handleInterface() Interface %s is addedEthernet1")}));
  mirror->handleInterface("Ethernet2");
  EXPECT_EQ(text.lines(),
            (Lines{directoryLine(434, "handleInterface() Updating interface %sEthernet2"),
                   directoryLine(467, "handleInterface() Interface %s is deletedEthernet2")}));
  EXPECT_EQ(fast.blocks(), (Lines{"Stp::OCInterfaceConfigDirSm::handleInterface():456",
                                  "Stp::OCInterfaceConfigDirSm::handleInterface():434",
                                  "Stp::OCInterfaceConfigDirSm::handleInterface():467",
                                  "Stp::OCInterfaceConfigDirSm::handleInterface():434"}));
}

TEST_F(InterfaceConfigTrace, CoversTheInstanceThatGoes) {
  start();
  addInstance("Mst");
  HandlerLines text;
  removeInstance("Mst");
  EXPECT_EQ(text.lines(), (Lines{directoryLine(529, "handleStpiStatusConfig() "),
                                 directoryLine(504, "maybeCleanUpExternalIntfConfigs() ")}));
}

TEST_F(InterfaceConfigTrace, IsSilentWhileTheLevelIsOff) {
  start();
  HandlerLines text;
  _defaultTraceHandle().levelIs(8, false);
  configure("Ethernet1");
  EXPECT_EQ(text.lines(), Lines());
}

using InterfaceConfigDispatch = InterfaceConfigTest;

TEST_F(InterfaceConfigDispatch, RunsTheListedHandlerForEveryFieldOfTheInput) {
  start();
  HandlerLines text;
  Lumo::String const name = "Ethernet1";
  publishEveryField(*input, &name, [&](unsigned field) {
    EXPECT_EQ(text.handlers(),
              field == 386 ? (Lines{"handleInterface", "handleInterface"}) : Lines())
        << field;
  });
}

TEST_F(InterfaceConfigDispatch, RunsTheListedHandlerForEveryFieldOfTheStatus) {
  start();
  HandlerLines text;
  Lumo::String const name = "Mst";
  publishEveryField(*status, &name, [&](unsigned field) {
    EXPECT_EQ(text.handlers(),
              field == 259 ? (Lines{"handleStpiStatusConfig", "maybeCleanUpExternalIntfConfigs"})
                           : Lines())
        << field;
  });
}

TEST_F(InterfaceConfigDispatch, RunsTheListedHandlerForEveryFieldOfAnInstance) {
  auto const instance = addInstance("Mst");
  start();
  HandlerLines text;
  Lumo::String const name = "Ethernet1";
  publishEveryField(*instance, &name, [&](unsigned field) {
    EXPECT_EQ(text.handlers(), field == 261 ? Lines{"handleStpiPortStatusConfig"} : Lines())
        << field;
  });
}

TEST_F(InterfaceConfigDispatch, PassesTheKeyOfTheNotification) {
  start();
  configure("Ethernet1");
  addInstance("Mst");
  HandlerLines text;
  Lumo::String const name = "Ethernet7";
  input->publisher().publishChangeRecursive(386, &name, nullptr);
  EXPECT_EQ(text.lines().back(),
            directoryLine(467, "handleInterface() Interface %s is deletedEthernet7"));
  EXPECT_EQ(portChildren(), Names{"Ethernet1"});
  status->publisher().publishChangeRecursive(259, &name, nullptr);
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
}

TEST_F(InterfaceConfigDispatch, DropsChangesWhileMarked) {
  auto const instance = addInstance("Mst");
  auto const port = configure("Ethernet1");
  start();
  mirror->velDoZombieReactors(true);
  configure("Ethernet2");
  addInstance("Other", {"Ethernet3"});
  unconfigure("Ethernet1");
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  EXPECT_EQ(portChildren(), Names{"Ethernet1"});
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
  // The mark is the reactor's own: its children go on.
  port->edgePortEnableIs(true);
  expectInterface("Ethernet1", {.edgePort = 0});
  instance->stpiPortStatus.is("Ethernet4", Lumo::make<StpiPortStatus>());
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet4"}));

  mirror->velDoZombieReactors(false);
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet4"}));
  configure("Ethernet5");
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet4", "Ethernet5"}));
}

}  // namespace
}  // namespace Stp::InterfaceTest
