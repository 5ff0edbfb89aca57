// The children of the interface configuration directory, its life, and what it needs to live.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using InterfaceConfigChildren = InterfaceConfigTest;

TEST_F(InterfaceConfigChildren, AreTheSameForTheSameEntities) {
  auto const port = configure("Ethernet1");
  auto const instance = addInstance("Mst");
  start();
  auto const portsMade = madeCount<OCPortConfigSm>();
  auto const instancesMade = madeCount<OCStpiStatusConfigSm>();
  auto const portChild = mirror->portConfigSmIs("Ethernet1", port, interface("Ethernet1"));
  EXPECT_EQ(portChild, mirror->portConfigSmIs("Ethernet1", port, interface("Ethernet1")));
  auto const instanceChild = mirror->stpiStatusConfigSmIs("Mst", input, instance, directory);
  EXPECT_EQ(instanceChild, mirror->stpiStatusConfigSmIs("Mst", input, instance, directory));
  EXPECT_EQ(madeCount<OCPortConfigSm>(), portsMade);
  EXPECT_EQ(madeCount<OCStpiStatusConfigSm>(), instancesMade);
  EXPECT_EQ(childrenOf(*mirror, "portConfigSm").at(0).child, portChild);
  EXPECT_EQ(childrenOf(*mirror, "stpiStatusConfigSm").at(0).child, instanceChild);
}

TEST_F(InterfaceConfigChildren, AreRefusedForAnotherPortOrInterface) {
  auto const port = configure("Ethernet1");
  start();
  auto const present = interface("Ethernet1");
  auto const otherPort = Lumo::make<Input::PortConfig>();
  auto const otherInterface = Lumo::make<OCInterface>();
  auto const ask = [&](Lumo::Ptr<Input::PortConfig> const& portGiven,
                       Lumo::Ptr<OCInterface> const& interfaceGiven) {
    return [&, portGiven, interfaceGiven] {
      mirror->portConfigSmIs("Ethernet1", portGiven, interfaceGiven);
    };
  };
  expectReinstantiationRefused(3, 131, port.get(), otherPort.get(), ask(otherPort, present));
  expectReinstantiationRefused(3, 132, present.get(), otherInterface.get(),
                               ask(port, otherInterface));
  expectReinstantiationRefused(3, 131, port.get(), otherPort.get(), ask(otherPort, otherInterface));
  expectReinstantiationRefused(3, 131, port.get(), nullptr, ask(nullptr, nullptr));
  expectReinstantiationRefused(3, 132, present.get(), nullptr, ask(port, nullptr));
  EXPECT_EQ(portChildren(), Names{"Ethernet1"});
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 1U);
  EXPECT_TRUE(otherPort->publisher().empty());
  port->edgePortEnableIs(true);
  expectInterface("Ethernet1", {.edgePort = 0});
}

TEST_F(InterfaceConfigChildren, AreRefusedForAnotherInputInstanceOrDirectory) {
  auto const instance = addInstance("Mst");
  start();
  auto const otherInput = Lumo::make<Input::Config>();
  auto const otherInstance = Lumo::make<StpiStatus>();
  auto const otherDirectory = Lumo::make<OCInterfaceConfigDir>();
  auto const ask = [&](auto const& inputGiven, auto const& instanceGiven,
                       auto const& directoryGiven) {
    return [&, inputGiven, instanceGiven, directoryGiven] {
      mirror->stpiStatusConfigSmIs("Mst", inputGiven, instanceGiven, directoryGiven);
    };
  };
  expectReinstantiationRefused(4, 131, input.get(), otherInput.get(),
                               ask(otherInput, instance, directory));
  expectReinstantiationRefused(4, 132, instance.get(), otherInstance.get(),
                               ask(input, otherInstance, directory));
  expectReinstantiationRefused(4, 133, directory.get(), otherDirectory.get(),
                               ask(input, instance, otherDirectory));
  expectReinstantiationRefused(4, 131, input.get(), otherInput.get(),
                               ask(otherInput, otherInstance, otherDirectory));
  expectReinstantiationRefused(4, 132, instance.get(), otherInstance.get(),
                               ask(input, otherInstance, otherDirectory));
  expectReinstantiationRefused(4, 131, input.get(), nullptr, ask(nullptr, instance, directory));
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
  EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 1U);
}

TEST_F(InterfaceConfigChildren, AreRefusedForAnInstanceReplacedWithoutARemoval) {
  auto const first = addInstance("Mst");
  start();
  mirror->hasNotificationActiveIs(false);
  auto const second = addInstance("Mst");
  expectReinstantiationRefused(4, 132, first.get(), second.get(),
                               [&] { mirror->handleStpiStatusConfig("Mst"); });
  expectReinstantiationRefused(4, 132, first.get(), second.get(),
                               [&] { mirror->handleInitialized(); });
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
}

using InterfaceConfigChildrenDeathTest = InterfaceConfigTest;

TEST_F(InterfaceConfigChildrenDeathTest, EndTheProcessWhenADispatchFindsAnotherInstance) {
  addInstance("Mst");
  start();
  EXPECT_DEATH(addInstance("Mst"), "ReinstantiationException");
}

TEST_F(InterfaceConfigChildren, CanBeMadeAndRemovedByHand) {
  start();
  auto const port = Lumo::make<Input::PortConfig>();
  auto const intf = Lumo::make<OCInterface>();
  auto const instance = Lumo::make<StpiStatus>();
  EXPECT_FALSE(mirror->portConfigSmDel("Ethernet1"));
  EXPECT_FALSE(mirror->stpiStatusConfigSmDel("Mst"));
  {
    auto const portChild = mirror->portConfigSmIs("Ethernet1", port, intf);
    auto const instanceChild = mirror->stpiStatusConfigSmIs("Mst", input, instance, directory);
    EXPECT_TRUE(portChild->hasNotificationActive());
    EXPECT_TRUE(instanceChild->hasNotificationActive());
    EXPECT_EQ(instanceChild->keyInfo(), "[Mst]");
    EXPECT_EQ(mirror->portConfigSmDel("Ethernet1"), portChild);
    EXPECT_EQ(mirror->stpiStatusConfigSmDel("Mst"), instanceChild);
  }
  EXPECT_TRUE(port->publisher().empty());
  EXPECT_TRUE(instance->publisher().empty());
  for (char const* const name : {"1", "2", "3"}) {
    mirror->portConfigSmIs(name, port, intf);
    mirror->stpiStatusConfigSmIs(name, input, instance, directory);
  }
  mirror->portConfigSmDelAll();
  EXPECT_EQ(portChildren(), Names());
  EXPECT_EQ(instanceChildren(), (Names{"1", "2", "3"}));
  mirror->stpiStatusConfigSmDelAll();
  EXPECT_EQ(instanceChildren(), Names());
  mirror->portConfigSmDelAll();
  EXPECT_TRUE(port->publisher().empty());
  EXPECT_TRUE(instance->publisher().empty());
}

TEST_F(InterfaceConfigChildren, AreSwitchedWithTheirParent) {
  auto const port = configure("Ethernet1");
  auto const instance = addInstance("Mst");
  start();
  mirror->hasNotificationActiveIs(false);
  EXPECT_TRUE(input->publisher().empty());
  EXPECT_TRUE(status->publisher().empty());
  EXPECT_TRUE(port->publisher().empty());
  EXPECT_TRUE(instance->publisher().empty());
  port->edgePortEnableIs(true);
  instance->stpiPortStatus.is("Ethernet2", Lumo::make<StpiPortStatus>());
  configure("Ethernet3");
  addInstance("Other", {"Ethernet4"});
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  expectInterface("Ethernet1", {});

  mirror->hasNotificationActiveIs(true);
  mirror->hasNotificationActiveIs(true);
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  Watch<OCInterface> written(interface("Ethernet1"));
  port->edgePortAutoIs(true);
  EXPECT_EQ(written.changes(), 1);
  expectInterface("Ethernet1", {.edgePort = 0});
  DirectoryLog log(directory);
  instance->stpiPortStatus.is("Ethernet5", Lumo::make<StpiPortStatus>());
  configure("Ethernet6");
  addInstance("Third", {"Ethernet7"});
  EXPECT_EQ(log.take(), (Names{"+Ethernet5", "+Ethernet6", "+Ethernet7"}));
}

TEST_F(InterfaceConfigChildren, CatchUpByASecondInitialisation) {
  configure("Ethernet1");
  addInstance("Mst", {"Ethernet2"});
  addInstance("Gone", {"Ethernet9"});
  start();
  mirror->hasNotificationActiveIs(false);
  unconfigure("Ethernet1");
  configure("Ethernet3")->edgePortEnableIs(true);
  removeInstance("Gone");
  addInstance("Other", {"Ethernet4"});
  DirectoryLog log(directory);
  mirror->handleInitialized();
  // An instance that had its child before keeps it, without a new pass; so do the children of what
  // went unseen.
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "-Ethernet9", "+Ethernet3", "+Ethernet4"}));
  EXPECT_EQ(interfaces(), (Names{"Ethernet2", "Ethernet3", "Ethernet4"}));
  EXPECT_EQ(portChildren(), (Names{"Ethernet1", "Ethernet3"}));
  EXPECT_EQ(instanceChildren(), (Names{"Mst", "Gone", "Other"}));
}

TEST_F(InterfaceConfigChildren, GoWithTheirParentHoweverMany) {
  std::vector<Lumo::Ptr<Lumo::Entity>> sources{input, status};
  for (int at = 0; at < 500; ++at) {
    sources.emplace_back(configure("Ethernet" + std::to_string(at)));
  }
  for (int at = 0; at < 50; ++at) {
    auto const instance = addInstance("Vl" + std::to_string(at));
    sources.emplace_back(instance);
    for (int port = 0; port < 20; ++port) {
      instance->stpiPortStatus.is("Ethernet" + std::to_string(at * 20 + port),
                                  Lumo::make<StpiPortStatus>());
    }
  }
  start();
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 500U);
  EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 50U);
  EXPECT_EQ(interfaces().size(), 1000U);
  HandlerLines trace;
  stop();
  EXPECT_EQ(trace.handlers(), Names());
  EXPECT_EQ(liveCount<OCPortConfigSm>() + liveCount<OCStpiStatusConfigSm>(), 0U);
  for (auto const& source : sources) {
    EXPECT_TRUE(source->publisher().empty());
  }
  EXPECT_EQ(directory->references(), 1U);
  EXPECT_EQ(interfaces().size(), 1000U);
}

TEST_F(InterfaceConfigChildren, SurviveOutsideTheirSetAsLongAsTheyAreHeld) {
  auto const port = configure("Ethernet1");
  start();
  auto const child = mirror->portConfigSmDel("Ethernet1");
  ASSERT_TRUE(child);
  stop();
  EXPECT_TRUE(child->hasNotificationActive());
  port->edgePortEnableIs(true);
  expectInterface("Ethernet1", {.edgePort = 0});
}

using InterfaceConfigDirectoryLife = InterfaceConfigTest;

TEST_F(InterfaceConfigDirectoryLife, KnowsItsClass) {
  mirror = OCInterfaceConfigDirSm::OCInterfaceConfigDirSmIs(input, status, directory);
  EXPECT_EQ(mirror->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 5}));
  EXPECT_EQ(mirror->references(), 1U);
  EXPECT_EQ(status->references(), 2U);
}

TEST_F(InterfaceConfigDirectoryLife, NeedsItsSourcesAndItsDirectory) {
  EXPECT_THROW(oCInterfaceConfigDirSmFactory(nullptr, status, directory),
               Lumo::AbsentPointerException);
  EXPECT_THROW(oCInterfaceConfigDirSmFactory(input, nullptr, directory),
               Lumo::AbsentPointerException);
  EXPECT_THROW(oCInterfaceConfigDirSmFactory(input, status, nullptr), Lumo::AbsentPointerException);
  EXPECT_TRUE(input->publisher().empty());
  EXPECT_TRUE(status->publisher().empty());
  EXPECT_EQ(input->references(), 1U);
  EXPECT_EQ(status->references(), 1U);
  EXPECT_EQ(directory->references(), 1U);
}

TEST_F(InterfaceConfigDirectoryLife, LeavesNothingBehindWhenItsStartFails) {
  auto const port = configure("Ethernet1");
  auto const instance = addInstance("Mst", {"Ethernet2"});
  for (char const* const failsAt : {"Ethernet1", "Ethernet2"}) {
    SCOPED_TRACE(failsAt);
    directory->interfaceDelAll();
    Watch<OCInterfaceConfigDir> const failing(
        directory, [&](Lumo::FieldId, void const* key, void const*) {
          if (static_cast<Lanx::IntfId const*>(key)->stringValue() == failsAt) {
            throw 7;
          }
        });
    EXPECT_THROW(start(), int);
    EXPECT_EQ(liveCount<OCInterfaceConfigDirSm>(), 0U);
    EXPECT_EQ(liveCount<OCPortConfigSm>(), 0U);
    EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 0U);
    EXPECT_TRUE(input->publisher().empty());
    EXPECT_TRUE(status->publisher().empty());
    EXPECT_TRUE(port->publisher().empty());
    EXPECT_TRUE(instance->publisher().empty());
    EXPECT_EQ(input->references(), 1U);
  }
}

TEST_F(InterfaceConfigDirectoryLife, MayBeDroppedFromAnyOfItsWrites) {
  struct Case {
    char const* name;
    std::function<void()> prepare;
    std::function<void()> change;
    Names left;
  };
  auto const nothing = [] {};
  // Each from a bridge with "Ethernet1" configured, and with "Ethernet2" configured and listed.
  std::vector<Case> const cases{
      {"configured",
       nothing,
       [this] { configure("Ethernet3"); },
       {"Ethernet1", "Ethernet2", "Ethernet3"}},
      {"unconfigured", nothing, [this] { unconfigure("Ethernet1"); }, {"Ethernet2"}},
      {"restarted", nothing, [this] { unconfigure("Ethernet2"); }, {"Ethernet1", "Ethernet2"}},
      {"listed",
       nothing,
       [this] { list("Mst", "Ethernet3"); },
       {"Ethernet1", "Ethernet2", "Ethernet3"}},
      {"unlisted",
       [this] { list("Mst", "Ethernet3"); },
       [this] { unlist("Mst", "Ethernet3"); },
       {"Ethernet1", "Ethernet2"}},
      {"instance comes",
       nothing,
       [this] {
         addInstance("New", {"Ethernet3", "Ethernet4"});
       },
       {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"}},
      {"instance goes",
       [this] {
         addInstance("New", {"Ethernet3", "Ethernet4"});
       },
       [this] { removeInstance("New"); },
       {"Ethernet1", "Ethernet2"}},
  };
  for (Case const& given : cases) {
    SCOPED_TRACE(given.name);
    input->portConfig.delAll();
    status->stpiStatus.delAll();
    directory->interfaceDelAll();
    configure("Ethernet1");
    configure("Ethernet2");
    addInstance("Mst", {"Ethernet2"});
    start();
    given.prepare();
    {
      Watch<OCInterfaceConfigDir> dropping(directory, [&](auto...) { stop(); });
      given.change();
      EXPECT_NE(dropping.changes(), 0);
    }
    EXPECT_EQ(interfaces(), given.left);
    EXPECT_EQ(liveCount<OCInterfaceConfigDirSm>(), 0U);
    EXPECT_EQ(liveCount<OCPortConfigSm>(), 0U);
    EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 0U);
    EXPECT_TRUE(input->publisher().empty());
  }
}

// Only a handler that is called directly has a caller whom the exception reaches.
TEST_F(InterfaceConfigDirectoryLife, SurvivesAReaderThatDropsEverythingAndThrows) {
  start();
  OCInterfaceConfigDirSm& called = *mirror;
  mirror->hasNotificationActiveIs(false);
  configure("Ethernet3");
  TestSupport::DropsAndThrows const reader(*directory, [this] {
    stop();
    input = nullptr;
    status = nullptr;
    directory = nullptr;
  });
  EXPECT_THROW(called.handleInterface("Ethernet3"), int);
  EXPECT_FALSE(directory);
}

}  // namespace
}  // namespace Stp::InterfaceTest
