// Which interfaces there are: those of configured ports, and the external ones of instances.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using InterfaceConfigDirectory = InterfaceConfigTest;

TEST_F(InterfaceConfigDirectory, IsEmptyForAnEmptyBridge) {
  start();
  EXPECT_EQ(interfaces(), Names());
  EXPECT_EQ(portChildren(), Names());
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_TRUE(mirror->hasNotificationActive());
}

TEST_F(InterfaceConfigDirectory, GivesAConfiguredPortAnInterfaceAndAChild) {
  configure("Ethernet1")->edgePortDisableIs(true);
  start();
  configure("Ethernet2")->edgePortEnableIs(true);
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2"}));
  EXPECT_EQ(portChildren(), (Names{"Ethernet1", "Ethernet2"}));
  expectInterface("Ethernet1", {.edgePort = 1});
  expectInterface("Ethernet2", {.edgePort = 0});
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 2U);
}

TEST_F(InterfaceConfigDirectory, WritesTheNameAndThenTheEdgePort) {
  start();
  int recordChanges = 0;
  std::unique_ptr<Watch<OCInterface>> record;
  Watch<OCInterfaceConfigDir> changed(directory, [&](auto...) {
    if (Lumo::Ptr<OCInterface> const created = interface("Ethernet1")) {
      record = std::make_unique<Watch<OCInterface>>(created, [&](auto...) { ++recordChanges; });
    }
  });
  // The name, then the edge port by the new child.
  configure("Ethernet1");
  EXPECT_EQ(changed.changes(), 1);
  EXPECT_EQ(recordChanges, 2);
  // For an interface that is there, the directory does not change.
  configure("Ethernet1");
  EXPECT_EQ(changed.changes(), 0);
  EXPECT_EQ(recordChanges, 4);
}

TEST_F(InterfaceConfigDirectory, KeepsTheSettingsOfAnInterfaceThatIsThere) {
  auto const left = leaveInterface("Ethernet1", {.linkType = 1, .edgePort = 2, .bpduGuard = 1});
  auto const port = Lumo::make<Input::PortConfig>();
  port->linkTypeIs(Input::PortConfig::LinkType::pointToPoint);
  input->portConfig.is("Ethernet1", port);
  start();
  EXPECT_EQ(interface("Ethernet1"), left);
  expectInterface("Ethernet1", {.linkType = 1, .edgePort = 255, .bpduGuard = 1});
}

TEST_F(InterfaceConfigDirectory, RefreshesTheNameOfAnInterfaceThatIsThere) {
  auto const left = directory->interfaceIs(Lanx::IntfId::of("Ethernet1"));
  left->configIs(recordOf("Elsewhere", {.linkType = 1}));
  configure("Ethernet1");
  start();
  expectInterface("Ethernet1", {.linkType = 1});
}

TEST_F(InterfaceConfigDirectory, FollowsThePortsSettings) {
  start();
  auto const port = configure("Ethernet1");
  port->linkTypeIs(Input::PortConfig::LinkType::shared);
  port->bpduguardIs(PortConfigBase::BpduguardEnabledState::bpduguardEnabled);
  port->edgePortAutoIs(true);
  expectInterface("Ethernet1", {.linkType = 1, .edgePort = 2, .bpduGuard = 1});
}

TEST_F(InterfaceConfigDirectory, DeletesTheInterfaceOfAPortThatNoInstanceLists) {
  start();
  auto const port = configure("Ethernet1");
  configure("Ethernet2");
  addInstance("Mst", {"Ethernet2"});
  DirectoryLog log(directory);
  unconfigure("Ethernet1");
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
  EXPECT_EQ(portChildren(), Names{"Ethernet2"});
  EXPECT_TRUE(port->publisher().empty());
}

TEST_F(InterfaceConfigDirectory, RestartsTheInterfaceOfAPortThatAnInstanceStillLists) {
  addInstance("Other");
  addInstance("Mst", {"Ethernet1"});
  auto const port = configure("Ethernet1");
  start();
  port->linkTypeIs(Input::PortConfig::LinkType::shared);
  port->bpduguardIs(PortConfigBase::BpduguardEnabledState::bpduguardEnabled);
  auto const before = interface("Ethernet1");
  DirectoryLog log(directory);
  Watch<OCInterface> old(before);
  unconfigure("Ethernet1");
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "+Ethernet1"}));
  EXPECT_NE(interface("Ethernet1"), before);
  EXPECT_EQ(old.changes(), 0);
  expectInterface("Ethernet1", {});
  EXPECT_EQ(portChildren(), Names());
  EXPECT_EQ(instanceChildren(), (Names{"Other", "Mst"}));
}

TEST_F(InterfaceConfigDirectory, RestartsItOnceWhenTwoInstancesListThePort) {
  configure("Ethernet1");
  addInstance("A", {"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  start();
  DirectoryLog log(directory);
  unconfigure("Ethernet1");
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "+Ethernet1"}));
}

TEST_F(InterfaceConfigDirectory, TakesOverAnExternalInterfaceWhenThePortIsConfigured) {
  addInstance("Mst", {"Ethernet1"});
  start();
  auto const external = interface("Ethernet1");
  ASSERT_TRUE(external);
  DirectoryLog log(directory);
  configure("Ethernet1");
  EXPECT_EQ(interface("Ethernet1"), external);
  EXPECT_EQ(log.take(), Names());
  unlist("Mst", "Ethernet1");
  EXPECT_EQ(log.take(), Names());
}

TEST_F(InterfaceConfigDirectory, GivesAReplacedConfigurationANewChild) {
  start();
  auto const first = configure("Ethernet1");
  auto const intf = interface("Ethernet1");
  first->linkTypeIs(Input::PortConfig::LinkType::shared);
  auto const made = madeCount<OCPortConfigSm>();
  auto second = Lumo::make<Input::PortConfig>();
  second->edgePortDisableIs(true);
  input->portConfig.is("Ethernet1", second);
  EXPECT_EQ(madeCount<OCPortConfigSm>(), made + 1);
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 1U);
  EXPECT_TRUE(first->publisher().empty());
  EXPECT_EQ(first->references(), 1U);
  EXPECT_EQ(interface("Ethernet1"), intf);
  expectInterface("Ethernet1", {.linkType = 1, .edgePort = 1});
  first->edgePortEnableIs(true);
  expectInterface("Ethernet1", {.linkType = 1, .edgePort = 1});
}

TEST_F(InterfaceConfigDirectory, GivesARepeatedNotificationANewChildToo) {
  start();
  auto const port = configure("Ethernet1");
  auto const made = madeCount<OCPortConfigSm>();
  Watch<OCInterface> written(interface("Ethernet1"));
  Lumo::String const name = "Ethernet1";
  input->publisher().publishChangeRecursive(386, &name, nullptr);
  EXPECT_EQ(madeCount<OCPortConfigSm>(), made + 1);
  EXPECT_EQ(written.changes(), 2);
  port->edgePortAutoIs(true);
  EXPECT_EQ(written.changes(), 1);
}

TEST_F(InterfaceConfigDirectory, DeletesWhatNothingBacksBeforeItCreatesAnything) {
  leaveInterface("Ethernet9");
  leaveInterface("Ethernet1", {.bpduGuard = 1});
  leaveInterface("Ethernet8");
  configure("Ethernet3");
  configure("Ethernet1");
  addInstance("Mst", {"Ethernet4", "Ethernet3"});
  DirectoryLog log(directory);
  start();
  EXPECT_EQ(log.take(), (Names{"-Ethernet9", "-Ethernet8", "+Ethernet3", "+Ethernet4"}));
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet3", "Ethernet4"}));
  expectInterface("Ethernet1", {.bpduGuard = 1});
}

TEST_F(InterfaceConfigDirectory, TakesALeftExternalInterfaceAwayAtStart) {
  // The clean-up keeps it, the instance's decision for a listed port with an interface does not.
  leaveInterface("Ethernet1");
  addInstance("Mst", {"Ethernet1"});
  DirectoryLog log(directory);
  start();
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
}

TEST_F(InterfaceConfigDirectory, AlternatesAnExternalInterfaceWithEachInstanceThatListsIt) {
  start();
  addInstance("A", {"Ethernet1"});
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  EXPECT_EQ(interfaces(), Names());
  addInstance("C", {"Ethernet1"});
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  // A port that leaves one instance loses its interface, although two others list it.
  unlist("A", "Ethernet1");
  EXPECT_EQ(interfaces(), Names());
  list("A", "Ethernet1");
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
}

TEST_F(InterfaceConfigDirectory, FollowsInstancesThatComeAndGo) {
  configure("Ethernet1");
  start();
  addInstance("Mst", {"Ethernet1", "Ethernet2", "Ethernet3"});
  addInstance("Other", {"Ethernet4"});
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}));
  EXPECT_EQ(instanceChildren(), (Names{"Mst", "Other"}));
  DirectoryLog log(directory);
  removeInstance("Mst");
  EXPECT_EQ(log.take(), (Names{"-Ethernet2", "-Ethernet3"}));
  EXPECT_EQ(instanceChildren(), Names{"Other"});
  removeInstance("Mst");
  EXPECT_EQ(log.take(), Names());
}

TEST_F(InterfaceConfigDirectory, CleansUpWhileTheChildOfTheGoneInstanceIsThere) {
  addInstance("Mst", {"Ethernet1"});
  start();
  Names atCleanUp;
  Watch<OCInterfaceConfigDir> changed(directory, [&](auto...) { atCleanUp = instanceChildren(); });
  auto const gone = status->stpiStatus("Mst");
  removeInstance("Mst");
  EXPECT_EQ(changed.changes(), 1);
  EXPECT_EQ(atCleanUp, Names{"Mst"});
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_TRUE(gone->publisher().empty());
}

TEST_F(InterfaceConfigDirectory, KeepsWhatAnotherInstanceListsWhenOneGoes) {
  start();
  addInstance("A", {"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  addInstance("C", {"Ethernet1"});
  DirectoryLog log(directory);
  removeInstance("A");
  EXPECT_EQ(log.take(), Names());
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  removeInstance("B");
  removeInstance("C");
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
}

TEST_F(InterfaceConfigDirectory, AcceptsAnInstanceOfTheSameNameAfterARemoval) {
  start();
  auto const first = addInstance("Mst", {"Ethernet1"});
  removeInstance("Mst");
  addInstance("Mst", {"Ethernet2"});
  EXPECT_EQ(interfaces(), Names{"Ethernet2"});
  first->stpiPortStatus.is("Ethernet3", Lumo::make<StpiPortStatus>());
  EXPECT_EQ(interfaces(), Names{"Ethernet2"});
  list("Mst", "Ethernet3");
  EXPECT_EQ(interfaces(), (Names{"Ethernet2", "Ethernet3"}));
}

TEST_F(InterfaceConfigDirectory, DoesNothingForARepeatedInstance) {
  start();
  addInstance("Mst", {"Ethernet1"});
  auto const made = madeCount<OCStpiStatusConfigSm>();
  DirectoryLog log(directory);
  Lumo::String const name = "Mst";
  status->publisher().publishChangeRecursive(259, &name, nullptr);
  EXPECT_EQ(log.take(), Names());
  EXPECT_EQ(madeCount<OCStpiStatusConfigSm>(), made);
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
}

TEST_F(InterfaceConfigDirectory, LeavesTheInterfacesWhenItGoes) {
  configure("Ethernet1");
  addInstance("Mst", {"Ethernet2"});
  start();
  DirectoryLog log(directory);
  stop();
  EXPECT_EQ(log.take(), Names());
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2"}));
}

TEST_F(InterfaceConfigDirectory, StartsAgainWhereItStopped) {
  configure("Ethernet1")->edgePortEnableIs(true);
  addInstance("Mst", {"Ethernet2"});
  start();
  stop();
  unconfigure("Ethernet1");
  configure("Ethernet3");
  start();
  EXPECT_EQ(interfaces(), Names{"Ethernet3"});
  unlist("Mst", "Ethernet2");
  list("Mst", "Ethernet2");
  EXPECT_EQ(interfaces(), (Names{"Ethernet3", "Ethernet2"}));
}

TEST_F(InterfaceConfigDirectory, ServesThePortWithoutAName) {
  start();
  configure("");
  ASSERT_EQ(interfaces(), Names{""});
  EXPECT_EQ(portChildren(), Names{""});
  addInstance("Mst", {""});
  unconfigure("");
  EXPECT_EQ(interfaces(), Names{""});
  removeInstance("Mst");
  EXPECT_EQ(interfaces(), Names());
}

}  // namespace
}  // namespace Stp::InterfaceTest
