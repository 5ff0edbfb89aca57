// The external interfaces of one instance.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

class StpiStatusConfigMirror : public InterfaceConfigTest {
 protected:
  void watch(char const* name = "Mst") {
    instanceMirror = OCStpiStatusConfigSm::OCStpiStatusConfigSmIs(
        name, input, status->stpiStatus(name), directory);
  }

  /// Tells the instance's readers again of a port.
  void notifyAgain(Lumo::String const& port) {
    status->stpiStatus("Mst")->publisher().publishChangeRecursive(261, &port, nullptr);
  }

  Lumo::Ptr<OCStpiStatusConfigSm> instanceMirror;
};

TEST_F(StpiStatusConfigMirror, GivesEveryListedPortAnInterfaceInOrder) {
  addInstance("Mst", {"Ethernet3", "Ethernet1", "Ethernet2"});
  DirectoryLog log(directory);
  watch();
  EXPECT_EQ(log.take(), (Names{"+Ethernet3", "+Ethernet1", "+Ethernet2"}));
  for (char const* const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    expectInterface(name, {});
  }
}

TEST_F(StpiStatusConfigMirror, GivesAListedPortAFreshInterface) {
  addInstance("Mst");
  watch();
  DirectoryLog log(directory);
  std::unique_ptr<Watch<OCInterface>> record;
  Watch<OCInterfaceConfigDir> const creation(directory, [&](auto...) {
    record = std::make_unique<Watch<OCInterface>>(interface("Ethernet1"));
  });
  list("Mst", "Ethernet1");
  EXPECT_EQ(log.take(), Names{"+Ethernet1"});
  EXPECT_EQ(record->changes(), 1);
  expectInterface("Ethernet1", {});
}

TEST_F(StpiStatusConfigMirror, TakesItsInterfaceFromAListedPortThatIsDecidedAgain) {
  addInstance("Mst", {"Ethernet1"});
  watch();
  DirectoryLog log(directory);
  notifyAgain("Ethernet1");
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
  notifyAgain("Ethernet1");
  EXPECT_EQ(log.take(), Names{"+Ethernet1"});
  instanceMirror->handleStpiPortStatusConfig("Ethernet1");
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
  instanceMirror->handleInitialized();
  EXPECT_EQ(log.take(), Names{"+Ethernet1"});
  list("Mst", "Ethernet1");  // another status of the same port
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
}

/// What a decision finds, and the one change that it makes.
struct Decision {
  bool listed;
  bool present;
  bool configured;
  char const* change;
};

constexpr Decision decisions[]{
    {false, false, false, ""},          {false, false, true, ""},
    {false, true, false, "-Ethernet1"}, {false, true, true, ""},
    {true, false, false, "+Ethernet1"}, {true, false, true, "+Ethernet1"},
    {true, true, false, "-Ethernet1"},  {true, true, true, ""},
};

TEST_F(StpiStatusConfigMirror, DecidesByListInterfaceAndConfiguration) {
  for (Decision const& given : decisions) {
    SCOPED_TRACE(std::string(given.listed ? "listed " : "") + (given.present ? "present " : "") +
                 (given.configured ? "configured" : ""));
    addInstance("Mst");
    input->portConfig.delAll();
    directory->interfaceDelAll();
    watch();
    instanceMirror->hasNotificationActiveIs(false);
    if (given.listed) {
      list("Mst", "Ethernet1");
    }
    if (given.present) {
      leaveInterface("Ethernet1", {.linkType = 1, .edgePort = 0, .bpduGuard = 1});
    }
    if (given.configured) {
      configure("Ethernet1");
    }
    DirectoryLog log(directory);
    instanceMirror->handleStpiPortStatusConfig("Ethernet1");
    EXPECT_EQ(log.take(), given.change[0] == '\0' ? Names() : Names{given.change});
    if (interface("Ethernet1")) {
      expectInterface("Ethernet1", given.present
                                       ? Settings{.linkType = 1, .edgePort = 0, .bpduGuard = 1}
                                       : Settings());
    }
  }
}

TEST_F(StpiStatusConfigMirror, LeavesAConfiguredPortsRecordAlone) {
  addInstance("Mst", {"Ethernet1"});
  configure("Ethernet1");
  auto const present = directory->interfaceIs(Lanx::IntfId::of("Ethernet1"));
  Watch<OCInterface> written(present);
  watch();
  notifyAgain("Ethernet1");
  unlist("Mst", "Ethernet1");
  EXPECT_EQ(written.changes(), 0);
  EXPECT_FALSE(present->config().name.valid());
  EXPECT_EQ(interface("Ethernet1"), present);
}

TEST_F(StpiStatusConfigMirror, TakesTheInterfaceOfAPortThatLeaves) {
  addInstance("Mst", {"Ethernet1", "Ethernet2"});
  watch();
  configure("Ethernet2");
  DirectoryLog log(directory);
  unlist("Mst", "Ethernet1");
  unlist("Mst", "Ethernet2");
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
  unlist("Mst", "Ethernet1");
  EXPECT_EQ(log.take(), Names());
}

TEST_F(StpiStatusConfigMirror, SharesPortsWithAnotherInstance) {
  addInstance("Mst", {"Ethernet1"});
  addInstance("Vl1", {"Ethernet1", "Ethernet2"});
  watch();
  DirectoryLog log(directory);
  auto const other = OCStpiStatusConfigSm::OCStpiStatusConfigSmIs(
      "Vl1", input, status->stpiStatus("Vl1"), directory);
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "+Ethernet2"}));
  unlist("Vl1", "Ethernet2");
  EXPECT_EQ(log.take(), Names{"-Ethernet2"});
}

TEST_F(StpiStatusConfigMirror, NeedsTheInputOnlyForADecisionAboutAConfiguration) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  instanceMirror =
      OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", nullptr, instance, directory);
  list("Mst", "Ethernet2");
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2"}));
  EXPECT_THROW(instanceMirror->handleStpiPortStatusConfig("Ethernet1"),
               Lumo::AbsentPointerException);
  EXPECT_THROW(instanceMirror->handleStpiPortStatusConfig("Ethernet3"),
               Lumo::AbsentPointerException);
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2"}));
}

TEST_F(StpiStatusConfigMirror, CannotStartWithoutInstanceNorWithPortsButNoDirectory) {
  EXPECT_THROW(OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", input, nullptr, directory),
               Lumo::AbsentPointerException);
  auto const instance = addInstance("Mst", {"Ethernet1"});
  EXPECT_THROW(OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", input, instance, nullptr),
               Lumo::AbsentPointerException);
  EXPECT_TRUE(instance->publisher().empty());
  EXPECT_EQ(instance->references(), 2U);
  EXPECT_EQ(input->references(), 1U);
  EXPECT_EQ(directory->references(), 1U);
}

TEST_F(StpiStatusConfigMirror, LeavesNothingBehindWhenItsStartFails) {
  auto const instance = addInstance("Mst", {"Ethernet1", "Ethernet2"});
  Watch<OCInterfaceConfigDir> const failing(directory, [&](auto...) {
    if (interface("Ethernet2")) {
      throw 7;
    }
  });
  EXPECT_THROW(watch(), int);
  EXPECT_TRUE(instance->publisher().empty());
  EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 0U);
}

TEST_F(StpiStatusConfigMirror, DropsChangesWhileMarkedOrInactive) {
  auto const instance = addInstance("Mst");
  watch();
  instanceMirror->velDoZombieReactors(true);
  list("Mst", "Ethernet1");
  instanceMirror->velDoZombieReactors(false);
  EXPECT_EQ(interfaces(), Names());
  instanceMirror->hasNotificationActiveIs(false);
  EXPECT_TRUE(instance->publisher().empty());
  list("Mst", "Ethernet2");
  instanceMirror->hasNotificationActiveIs(true);
  instanceMirror->hasNotificationActiveIs(true);
  EXPECT_EQ(interfaces(), Names());
  // One subscription: two would create and take away.
  list("Mst", "Ethernet3");
  EXPECT_EQ(interfaces(), Names{"Ethernet3"});
}

TEST_F(StpiStatusConfigMirror, TracesEachHandlerUnderItsName) {
  addInstance("Vl7", {"Ethernet1"});
  HandlerLines text;
  watch("Vl7");
  unlist("Vl7", "Ethernet1");
  EXPECT_EQ(text.lines(),
            (Names{handlerLine(495, "OCStpiStatusConfigSm[Vl7]::handleInitialized() "),
                   handlerLine(476, "OCStpiStatusConfigSm[Vl7]::handleStpiPortStatusConfig() "),
                   handlerLine(476, "OCStpiStatusConfigSm[Vl7]::handleStpiPortStatusConfig() ")}));
}

TEST_F(StpiStatusConfigMirror, KnowsItsKeyAndClass) {
  addInstance("E1");
  watch("E1");
  EXPECT_EQ(instanceMirror->keyInfo(), "[E1]");
  EXPECT_EQ(instanceMirror->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 4}));
  EXPECT_TRUE(instanceMirror->hasNotificationActive());
}

TEST_F(StpiStatusConfigMirror, MayBeDroppedFromItsOwnWrite) {
  for (bool const listed : {false, true}) {
    addInstance("Mst");
    watch();
    if (listed) {
      list("Mst", "Ethernet1");
    }
    Watch<OCInterfaceConfigDir> dropping(directory, [&](auto...) { instanceMirror = nullptr; });
    HandlerLines const trace;
    if (listed) {
      unlist("Mst", "Ethernet1");
    } else {
      list("Mst", "Ethernet1");
      expectInterface("Ethernet1", {});
      directory->interfaceDelAll();
    }
    EXPECT_NE(dropping.changes(), 0);
    EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 0U);
  }
}

TEST_F(StpiStatusConfigMirror, MayLoseItsInstanceFromItsOwnWrite) {
  start();
  addInstance("Mst");
  Watch<OCInterfaceConfigDir> dropping(directory, [&](auto...) { removeInstance("Mst"); });
  list("Mst", "Ethernet1");
  // The clean-up of the nested removal takes the interface before it gets its name.
  EXPECT_EQ(dropping.changes(), 2);
  EXPECT_EQ(interfaces(), Names());
  EXPECT_EQ(liveCount<OCStpiStatusConfigSm>(), 0U);
}

TEST_F(StpiStatusConfigMirror, WalksOnWhenPortsLeaveMeanwhile) {
  auto const instance = addInstance("Mst", {"a", "b", "c", "d"});
  Watch<OCInterfaceConfigDir> const removing(directory, [&](auto...) {
    if (interface("a") && instance->stpiPortStatus("a")) {
      unlist("Mst", "a");
      unlist("Mst", "c");
    }
  });
  watch();
  EXPECT_EQ(interfaces(), (Names{"b", "d"}));
}

using StpiStatusConfigMirrorDeathTest = StpiStatusConfigMirror;

TEST_F(StpiStatusConfigMirrorDeathTest, EndsTheProcessForAConfigurationWithoutAnInput) {
  auto const instance = addInstance("Mst", {"Ethernet1"});
  instanceMirror =
      OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", nullptr, instance, directory);
  EXPECT_DEATH(notifyAgain("Ethernet1"), "AbsentPointerException");
}

}  // namespace
}  // namespace Stp::InterfaceTest
