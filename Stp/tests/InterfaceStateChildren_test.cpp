// The two generations of children of the interface state directory, and its life.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceStateTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

class InterfaceStateChildren : public InterfaceStateTest {
 protected:
  Lumo::Ptr<OCStpiStatusSm> instanceMirror(std::string const& name) const {
    return Lumo::Ptr<OCStpiStatusSm>(dynamic_cast<OCStpiStatusSm*>(instanceChild(name).get()));
  }
};

TEST_F(InterfaceStateChildren, AreTheSameForTheSameEntities) {
  auto const instance = addInstance("Mst", {"Ethernet1", "Ethernet2"});
  auto const port = configure("Ethernet1");
  start();
  auto const made = madeCount<OCStpiPortStatusSm>() + madeCount<OCStpiStatusSm>();
  auto const child = mirror->ocStpiStatusSmIs("Mst", config, instance, directory);
  EXPECT_EQ(child, instanceMirror("Mst"));
  auto const first = child->ocStpiPortStatusSmIs("Ethernet1", config, port,
                                                 reported("Mst", "Ethernet1"), directory);
  EXPECT_EQ(first, childrenOf(*child, "ocStpiPortStatusSm").at(0).child);
  auto const second = child->ocStpiPortStatusSmIs("Ethernet2", config, nullptr,
                                                  reported("Mst", "Ethernet2"), directory);
  EXPECT_EQ(second, childrenOf(*child, "ocStpiPortStatusSm").at(1).child);
  EXPECT_EQ(madeCount<OCStpiPortStatusSm>() + madeCount<OCStpiStatusSm>(), made);
}

TEST_F(InterfaceStateChildren, AreRefusedForAnotherConfigurationInstanceOrDirectory) {
  auto const instance = addInstance("Mst");
  start();
  auto const otherConfig = Lumo::make<Config>();
  auto const otherInstance = Lumo::make<StpiStatus>();
  auto const otherDirectory = Lumo::make<OCInterfaceStateDir>();
  auto const ask = [&](auto const& configGiven, auto const& instanceGiven,
                       auto const& directoryGiven) {
    return [&, configGiven, instanceGiven, directoryGiven] {
      mirror->ocStpiStatusSmIs("Mst", configGiven, instanceGiven, directoryGiven);
    };
  };
  expectReinstantiationRefused(7, 131, config.get(), otherConfig.get(),
                               ask(otherConfig, instance, directory));
  expectReinstantiationRefused(7, 132, instance.get(), otherInstance.get(),
                               ask(config, otherInstance, directory));
  expectReinstantiationRefused(7, 133, directory.get(), otherDirectory.get(),
                               ask(config, instance, otherDirectory));
  expectReinstantiationRefused(7, 131, config.get(), otherConfig.get(),
                               ask(otherConfig, otherInstance, otherDirectory));
  expectReinstantiationRefused(7, 132, instance.get(), otherInstance.get(),
                               ask(config, otherInstance, otherDirectory));
  expectReinstantiationRefused(7, 133, directory.get(), nullptr, ask(config, instance, nullptr));
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
  EXPECT_EQ(liveCount<OCStpiStatusSm>(), 1U);
}

TEST_F(InterfaceStateChildren, AreRefusedForAnotherPortsEntities) {
  addInstance("Mst", {"Ethernet1"});
  auto const port = configure("Ethernet1");
  auto const portStatus = reported("Mst", "Ethernet1");
  start();
  auto const otherConfig = Lumo::make<Config>();
  auto const otherPort = Lumo::make<PortConfig>();
  auto const otherStatus = Lumo::make<StpiPortStatus>();
  auto const otherDirectory = Lumo::make<OCInterfaceStateDir>();
  auto const child = instanceMirror("Mst");
  auto const ask = [&](auto const& configGiven, auto const& portGiven, auto const& statusGiven,
                       auto const& directoryGiven) {
    return [&, configGiven, portGiven, statusGiven, directoryGiven] {
      child->ocStpiPortStatusSmIs("Ethernet1", configGiven, portGiven, statusGiven, directoryGiven);
    };
  };
  expectReinstantiationRefused(6, 131, config.get(), otherConfig.get(),
                               ask(otherConfig, port, portStatus, directory));
  expectReinstantiationRefused(6, 132, port.get(), otherPort.get(),
                               ask(config, otherPort, portStatus, directory));
  expectReinstantiationRefused(6, 133, portStatus.get(), otherStatus.get(),
                               ask(config, port, otherStatus, directory));
  expectReinstantiationRefused(6, 134, directory.get(), otherDirectory.get(),
                               ask(config, port, portStatus, otherDirectory));
  expectReinstantiationRefused(6, 131, config.get(), otherConfig.get(),
                               ask(otherConfig, otherPort, otherStatus, otherDirectory));
  expectReinstantiationRefused(6, 132, port.get(), otherPort.get(),
                               ask(config, otherPort, otherStatus, otherDirectory));
  expectReinstantiationRefused(6, 133, portStatus.get(), otherStatus.get(),
                               ask(config, port, otherStatus, otherDirectory));
  expectReinstantiationRefused(6, 132, port.get(), nullptr,
                               ask(config, nullptr, portStatus, directory));
  EXPECT_EQ(portChildren("Mst"), Names{"Ethernet1"});
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 1U);
}

TEST_F(InterfaceStateChildren, AreRefusedWhenAPortConfigurationComesChangesOrGoes) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  start();
  auto const child = instanceMirror("Mst");
  auto const first = configure("Ethernet1", 1);
  for (auto const& again :
       std::vector<std::function<void()>>{[&] { child->handleStpiPortStatus("Ethernet1"); },
                                          [&] { child->handleInitialized(); }}) {
    expectReinstantiationRefused(6, 132, nullptr, first.get(), again);
  }
  EXPECT_EQ(portChildren("Mst"), Names{"Ethernet1"});
  expectState("Ethernet1", {});

  unreport("Mst", "Ethernet1");
  report("Mst", "Ethernet1");
  auto const second = configure("Ethernet1");
  expectReinstantiationRefused(6, 132, first.get(), second.get(),
                               [&] { child->handleStpiPortStatus("Ethernet1"); });
  config->portConfig.del("Ethernet1");
  expectReinstantiationRefused(6, 132, first.get(), nullptr,
                               [&] { child->handleStpiPortStatus("Ethernet1"); });
  // The handler that would refuse still lets the port go.
  unreport("Mst", "Ethernet1");
  EXPECT_EQ(portChildren("Mst"), Names());
}

TEST_F(InterfaceStateChildren, AreRefusedForInstanceOrPortReplacedWithoutARemoval) {
  auto const first = addInstance("Mst", {"Ethernet1"});
  auto const firstPort = reported("Mst", "Ethernet1");
  start();
  mirror->hasNotificationActiveIs(false);
  auto const secondPort = report("Mst", "Ethernet1");
  auto const child = instanceMirror("Mst");
  expectReinstantiationRefused(6, 133, firstPort.get(), secondPort.get(),
                               [&] { child->handleStpiPortStatus("Ethernet1"); });
  auto const second = addInstance("Mst");
  expectReinstantiationRefused(7, 132, first.get(), second.get(),
                               [&] { mirror->handleStpiStatus("Mst"); });
  expectReinstantiationRefused(7, 132, first.get(), second.get(),
                               [&] { mirror->handleInitialized(); });
}

using InterfaceStateChildrenDeathTest = InterfaceStateChildren;

TEST_F(InterfaceStateChildrenDeathTest, EndTheProcessWhenADispatchFindsAnotherEntity) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  start();
  EXPECT_DEATH(addInstance("Mst"), "ReinstantiationException");
  EXPECT_DEATH(report("Mst", "Ethernet1"), "ReinstantiationException");
  // A port configuration that came later ends it at the next notification of the port's status.
  configure("Ethernet1");
  Lumo::String const name = "Ethernet1";
  EXPECT_DEATH(instance->publisher().publishChangeRecursive(261, &name, nullptr),
               "ReinstantiationException");
}

TEST_F(InterfaceStateChildren, CanBeMadeAndRemovedByHand) {
  start();
  auto const instance = Lumo::make<StpiStatus>();
  auto const portStatus = Lumo::make<StpiPortStatus>();
  EXPECT_FALSE(mirror->ocStpiStatusSmDel("Mst"));
  {
    auto const child = mirror->ocStpiStatusSmIs("Mst", config, instance, directory);
    EXPECT_TRUE(child->hasNotificationActive());
    EXPECT_EQ(child->keyInfo(), "[Mst]");
    EXPECT_FALSE(child->ocStpiPortStatusSmDel("Ethernet1"));
    auto const port =
        child->ocStpiPortStatusSmIs("Ethernet1", config, nullptr, portStatus, directory);
    EXPECT_TRUE(port->hasNotificationActive());
    EXPECT_EQ(child->ocStpiPortStatusSmDel("Ethernet1"), port);
    EXPECT_EQ(mirror->ocStpiStatusSmDel("Mst"), child);
  }
  EXPECT_TRUE(portStatus->publisher().empty());
  EXPECT_TRUE(instance->publisher().empty());
  auto const child = mirror->ocStpiStatusSmIs("Mst", config, instance, directory);
  mirror->ocStpiStatusSmIs("Vl1", config, instance, directory);
  for (char const* const name : {"1", "2", "3"}) {
    child->ocStpiPortStatusSmIs(name, config, nullptr, portStatus, directory);
  }
  EXPECT_EQ(portChildren("Mst"), (Names{"1", "2", "3"}));
  child->ocStpiPortStatusSmDelAll();
  EXPECT_EQ(portChildren("Mst"), Names());
  mirror->ocStpiStatusSmDelAll();
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_EQ(states(), (Names{"Ethernet1", "1", "2", "3"}));
}

TEST_F(InterfaceStateChildren, OfGoneInstancesGoBeforeNewOnesCome) {
  start();
  mirror->ocStpiStatusSmIs("Ghost", config, Lumo::make<StpiStatus>(), directory);
  mirror->ocStpiStatusSmIs("Phantom", config, Lumo::make<StpiStatus>(), directory);
  mirror->hasNotificationActiveIs(false);
  addInstance("Mst", {"Ethernet1"});
  std::vector<std::uint64_t> instancesAtWrites;
  Watch<OCInterfaceStateDir> const watch(
      directory, [&](auto...) { instancesAtWrites.push_back(liveCount<OCStpiStatusSm>()); });
  mirror->handleInitialized();
  EXPECT_EQ(instancesAtWrites, (std::vector<std::uint64_t>{1, 1}));
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
}

TEST_F(InterfaceStateChildren, OfGonePortsGoBeforeNewOnesCome) {
  addInstance("Mst", {"Ethernet1", "Ethernet2"});
  start();
  auto const child = instanceMirror("Mst");
  auto const kept = childrenOf(*child, "ocStpiPortStatusSm").at(1).child;
  child->hasNotificationActiveIs(false);
  unreport("Mst", "Ethernet1");
  report("Mst", "Ethernet3");
  std::vector<std::uint64_t> portsAtWrites;
  Watch<OCInterfaceStateDir> const watch(
      directory, [&](auto...) { portsAtWrites.push_back(liveCount<OCStpiPortStatusSm>()); });
  child->handleInitialized();
  EXPECT_EQ(portsAtWrites, (std::vector<std::uint64_t>{2, 2}));
  EXPECT_EQ(portChildren("Mst"), (Names{"Ethernet2", "Ethernet3"}));
  EXPECT_EQ(childrenOf(*child, "ocStpiPortStatusSm").at(0).child, kept);
}

TEST_F(InterfaceStateChildren, AreSwitchedWithTheirGrandparent) {
  auto const port = configure("Ethernet1");
  auto const instance = addInstance("Mst", {"Ethernet1"});
  start();
  auto const portStatus = reported("Mst", "Ethernet1");
  mirror->hasNotificationActiveIs(false);
  std::vector<Lumo::Ptr<Lumo::Entity>> const sources{config, status, port, instance, portStatus};
  for (auto const& source : sources) {
    EXPECT_TRUE(source->publisher().empty());
  }
  portStatus->operEdgePortIs(true);
  report("Mst", "Ethernet2");
  addInstance("Vl1", {"Ethernet3"});
  expectState("Ethernet1", {.bpduGuard = 0});
  EXPECT_EQ(states(), Names{"Ethernet1"});

  mirror->hasNotificationActiveIs(true);
  mirror->hasNotificationActiveIs(true);
  EXPECT_EQ(states(), Names{"Ethernet1"});
  Watch<OCInterfaceStateDir> written(directory);
  portStatus->operPointToPointMacIs(true);
  EXPECT_EQ(written.changes(), 1);
  expectState("Ethernet1", {.linkType = 0, .edgePort = 1, .bpduGuard = 0});
  report("Mst", "Ethernet4");
  addInstance("Vl2", {"Ethernet5"});
  EXPECT_EQ(states(), (Names{"Ethernet1", "Ethernet4", "Ethernet5"}));
  mirror->handleInitialized();
  EXPECT_EQ(instanceChildren(), (Names{"Mst", "Vl2", "Vl1"}));
  EXPECT_EQ(portChildren("Mst"), (Names{"Ethernet1", "Ethernet4"}));  // the old child is kept
}

TEST_F(InterfaceStateChildren, GoWithTheirGrandparentHoweverMany) {
  std::vector<Lumo::Ptr<Lumo::Entity>> sources{config, status};
  for (int at = 0; at < 40; ++at) {
    auto const instance = addInstance("Vl" + std::to_string(at));
    sources.emplace_back(instance);
    for (int port = 0; port < 50; ++port) {
      std::string const name = "Ethernet" + std::to_string(port);
      sources.emplace_back(report("Vl" + std::to_string(at), name));
      if (at == 0) {
        sources.emplace_back(configure(name));
      }
    }
  }
  start();
  EXPECT_EQ(liveCount<OCStpiStatusSm>(), 40U);
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 2000U);
  StateLog log(directory);
  HandlerLines trace;
  stop();
  EXPECT_EQ(trace.handlers(), Names());
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(liveCount<OCStpiStatusSm>() + liveCount<OCStpiPortStatusSm>(), 0U);
  for (auto const& source : sources) {
    EXPECT_TRUE(source->publisher().empty());
  }
  EXPECT_EQ(states().size(), 50U);
}

using InterfaceStateLife = InterfaceStateChildren;

TEST_F(InterfaceStateLife, KnowsItsClasses) {
  mirror = OCInterfaceStateDirSm::OCInterfaceStateDirSmIs(config, status, directory);
  EXPECT_EQ(mirror->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 8}));
  EXPECT_TRUE(mirror->hasNotificationActive());
  auto const byFactory = oCStpiStatusSmFactory("E1", config, Lumo::make<StpiStatus>(), directory);
  EXPECT_EQ(byFactory->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 7}));
  EXPECT_EQ(byFactory->keyInfo(), "[E1]");
  EXPECT_TRUE(byFactory->hasNotificationActive());
}

TEST_F(InterfaceStateLife, NeedsTheStatusAndForPortsTheRest) {
  EXPECT_THROW(oCInterfaceStateDirSmFactory(config, nullptr, directory),
               Lumo::AbsentPointerException);
  EXPECT_THROW(oCStpiStatusSmFactory("Mst", config, nullptr, directory),
               Lumo::AbsentPointerException);
  // Without ports neither configuration nor directory are used.
  addInstance("Mst");
  { auto const unused = oCInterfaceStateDirSmFactory(nullptr, status, nullptr); }
  report("Mst", "Ethernet1");
  EXPECT_THROW(oCInterfaceStateDirSmFactory(nullptr, status, directory),
               Lumo::AbsentPointerException);
  EXPECT_THROW(oCInterfaceStateDirSmFactory(config, status, nullptr), Lumo::AbsentPointerException);
  EXPECT_EQ(states(), Names());
  EXPECT_TRUE(status->publisher().empty());
  EXPECT_TRUE(status->stpiStatus("Mst")->publisher().empty());
  EXPECT_TRUE(reported("Mst", "Ethernet1")->publisher().empty());
  EXPECT_EQ(config->references(), 1U);
  EXPECT_EQ(status->references(), 1U);
}

TEST_F(InterfaceStateLife, LeavesNothingBehindWhenItsStartFails) {
  addInstance("Mst", {"Ethernet1", "Ethernet2"});
  Watch<OCInterfaceStateDir> const failing(directory, [&](auto...) {
    if (states().size() == 2) {
      throw 7;
    }
  });
  EXPECT_THROW(start(), int);
  EXPECT_EQ(liveCount<OCInterfaceStateDirSm>(), 0U);
  EXPECT_EQ(liveCount<OCStpiStatusSm>(), 0U);
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
  EXPECT_TRUE(config->publisher().empty());
  EXPECT_TRUE(status->publisher().empty());
  EXPECT_TRUE(reported("Mst", "Ethernet1")->publisher().empty());
}

TEST_F(InterfaceStateLife, MayBeDroppedFromAnyWrite) {
  std::vector<std::function<void()>> const changes{
      [this] {
        addInstance("New", {"Ethernet2", "Ethernet3"});
      },
      [this] { report("Mst", "Ethernet4"); },
      [this] { reported("Mst", "Ethernet1")->operEdgePortIs(true); },
  };
  for (auto const& change : changes) {
    status->stpiStatus.delAll();
    addInstance("Mst", {"Ethernet1"});
    start();
    Watch<OCInterfaceStateDir> dropping(directory, [&](auto...) { stop(); });
    change();
    EXPECT_NE(dropping.changes(), 0);
    EXPECT_EQ(liveCount<OCInterfaceStateDirSm>(), 0U);
    EXPECT_EQ(liveCount<OCStpiStatusSm>(), 0U);
    EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
    EXPECT_TRUE(config->publisher().empty());
  }
}

TEST_F(InterfaceStateLife, SurvivesTheEndOfAnInstanceFromOneOfItsWrites) {
  start();
  addInstance("Mst", {"Ethernet1"});
  Watch<OCInterfaceStateDir> const removing(directory, [&](auto...) { removeInstance("Mst"); });
  report("Mst", "Ethernet2");
  EXPECT_EQ(instanceChildren(), Names());
  EXPECT_EQ(liveCount<OCStpiPortStatusSm>(), 0U);
  EXPECT_EQ(states(), (Names{"Ethernet1", "Ethernet2"}));
}

}  // namespace
}  // namespace Stp::InterfaceTest
