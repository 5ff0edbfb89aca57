// The clean-up of interfaces that nothing backs, and removals while it walks the directory.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

class InterfaceConfigCleanUp : public InterfaceConfigTest {
 protected:
  /// A mirror that reacts to nothing: only what a test calls runs.
  void startDeaf() {
    start();
    mirror->hasNotificationActiveIs(false);
  }

  /// What the clean-up has to delete, in order: the rule in plain words, with an ordered set.
  Names unbacked() const {
    std::set<Lumo::String> listed;
    for (auto const& instance : status->stpiStatus()) {
      for (auto const& port : instance.value->stpiPortStatus()) {
        listed.insert(port.key);
      }
    }
    Names names;
    for (auto const& interface : directory->interface()) {
      Lumo::String const name = interface.key.stringValue();
      if (!input->portConfig(name) && !listed.contains(name)) {
        names.push_back(name.toString());
      }
    }
    return names;
  }
};

TEST_F(InterfaceConfigCleanUp, KeepsWhatIsConfiguredOrListed) {
  startDeaf();
  for (char const* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet10"}) {
    leaveInterface(name, {.linkType = 1});
  }
  configure("Ethernet1");
  addInstance("A");
  addInstance("B", {"Ethernet2"});
  DirectoryLog log(directory);
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(log.take(), (Names{"-Ethernet3", "-Ethernet10"}));
  expectInterface("Ethernet1", {.linkType = 1});
  expectInterface("Ethernet2", {.linkType = 1});
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(log.take(), Names());
}

TEST_F(InterfaceConfigCleanUp, HoldsAPortOfTwoInstancesOnce) {
  startDeaf();
  leaveInterface("Ethernet1");
  addInstance("A", {"Ethernet1"});
  addInstance("B", {"Ethernet1"});
  mirror->maybeCleanUpExternalIntfConfigs();
  status->stpiStatus.del("A");
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  status->stpiStatus.del("B");
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(interfaces(), Names());
}

TEST_F(InterfaceConfigCleanUp, DoesNotTouchChildrenOrRecords) {
  auto const port = configure("Ethernet1");
  addInstance("Mst", {"Ethernet2"});
  start();
  Watch<OCInterface> configured(interface("Ethernet1"));
  Watch<OCInterface> external(interface("Ethernet2"));
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(configured.changes(), 0);
  EXPECT_EQ(external.changes(), 0);
  EXPECT_EQ(portChildren(), Names{"Ethernet1"});
  EXPECT_EQ(instanceChildren(), Names{"Mst"});
}

TEST_F(InterfaceConfigCleanUp, EqualsTheRuleInRandomWorlds) {
  std::vector<std::string> const names{
      "",          "Ethernet1", "Ethernet10", "Ethernet2", "ethernet1", "Ethernet1/1",
      "Ethernet ", "Po1",       "Po10",       "Vxlan1",    "\xC3\xA4",  "Mlag",
      "a",         "b",         "c",          "d",         "e",         std::string(300, 'x')};
  startDeaf();
  std::mt19937 random(20250611);
  auto const chosen = [&](unsigned oneIn) { return random() % oneIn == 0; };
  for (int world = 0; world < 1000; ++world) {
    SCOPED_TRACE(world);
    input->portConfig.delAll();
    status->stpiStatus.delAll();
    directory->interfaceDelAll();
    std::vector<std::string> order = names;
    std::ranges::shuffle(order, random);
    for (std::string const& name : order) {
      if (!chosen(4)) {
        leaveInterface(name);
      }
      if (chosen(3)) {
        configure(name);
      }
    }
    unsigned const instances = random() % 4;
    for (unsigned at = 0; at < instances; ++at) {
      auto const instance = addInstance("Vl" + std::to_string(at));
      for (std::string const& name : order) {
        if (chosen(5)) {
          instance->stpiPortStatus.is(name, Lumo::make<StpiPortStatus>());
        }
      }
    }
    Names deleted;
    for (std::string const& name : unbacked()) {
      deleted.push_back("-" + name);
    }
    DirectoryLog log(directory);
    mirror->maybeCleanUpExternalIntfConfigs();
    EXPECT_EQ(log.take(), deleted);
    EXPECT_EQ(unbacked(), Names());
  }
}

TEST_F(InterfaceConfigCleanUp, GoesOnWhenASubscriberRemovesOthers) {
  // What the subscriber removes at the first removal, of "a" to "f", where only "d" is backed.
  std::vector<Names> const removals{
      {"b"}, {"c"}, {"f"}, {"b", "c"}, {"b", "c", "e", "f"}, {"d"}, {"b", "c", "d", "e", "f"}};
  startDeaf();
  configure("d");
  for (Names const& alsoRemoved : removals) {
    SCOPED_TRACE(testing::PrintToString(alsoRemoved));
    directory->interfaceDelAll();
    for (char const* const name : {"a", "b", "c", "d", "e", "f"}) {
      leaveInterface(name);
    }
    bool first = true;
    Watch<OCInterfaceConfigDir> watch(directory, [&](auto...) {
      if (std::exchange(first, false)) {
        for (std::string const& name : alsoRemoved) {
          directory->interfaceDel(Lanx::IntfId::of(name));
        }
      }
    });
    bool const removesTheBacked =
        std::ranges::find(alsoRemoved, std::string("d")) != alsoRemoved.end();
    mirror->maybeCleanUpExternalIntfConfigs();
    EXPECT_EQ(interfaces(), removesTheBacked ? Names() : Names{"d"});
    EXPECT_EQ(watch.changes(), removesTheBacked ? 6 : 5);
  }
}

TEST_F(InterfaceConfigCleanUp, GoesOnWhenASubscriberEmptiesTheDirectory) {
  startDeaf();
  for (char const* const name : {"a", "b", "c"}) {
    leaveInterface(name);
  }
  Watch<OCInterfaceConfigDir> watch(directory, [&](auto...) { directory->interfaceDelAll(); });
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(interfaces(), Names());
  EXPECT_EQ(watch.changes(), 3);
}

TEST_F(InterfaceConfigCleanUp, GoesOnWhenASubscriberAddsInterfaces) {
  startDeaf();
  configure("kept");
  for (char const* const name : {"a", "b", "c"}) {
    leaveInterface(name);
  }
  bool first = true;
  Watch<OCInterfaceConfigDir> const watch(directory, [&](auto...) {
    if (std::exchange(first, false)) {
      for (int at = 0; at < 100; ++at) {
        leaveInterface("new" + std::to_string(at));
      }
      leaveInterface("kept");
    }
  });
  mirror->maybeCleanUpExternalIntfConfigs();
  for (char const* const name : {"a", "b", "c"}) {
    expectNoInterface(name);
  }
  EXPECT_TRUE(interface("kept"));
}

TEST_F(InterfaceConfigCleanUp, EndsItsWalkWhenASubscriberDropsTheReactor) {
  configure("Ethernet1");
  start();
  addInstance("Mst", {"a", "b", "c"});
  Names atFirst;
  Watch<OCInterfaceConfigDir> watch(directory, [&](auto...) {
    if (mirror) {
      atFirst = interfaces();
      stop();
    }
  });
  removeInstance("Mst");
  EXPECT_EQ(atFirst, (Names{"Ethernet1", "b", "c"}));
  EXPECT_EQ(interfaces(), Names{"Ethernet1"});
  EXPECT_EQ(watch.changes(), 3);
  EXPECT_EQ(liveCount<OCInterfaceConfigDirSm>(), 0U);
}

TEST_F(InterfaceConfigCleanUp, EndsItsWalkWhenASubscriberDropsReactorAndDirectory) {
  start();
  addInstance("Mst", {"a", "b", "c"});
  struct Dropping {
    std::function<void()> drop;
    int calls = 0;
    Lumo::Subscriber slot{};  // holds no directory: the reactor is the last one who does
  } dropping{[this] {
    stop();
    directory = nullptr;
  }};
  dropping.slot.routineIs(
      [](Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId, void const*, void const*) {
        auto& owner = *static_cast<Dropping*>(slot->owner());
        ++owner.calls;
        owner.drop();
      },
      &dropping);
  directory->publisher().subscriberAdd(dropping.slot, false);
  removeInstance("Mst");
  EXPECT_EQ(dropping.calls, 3);
  EXPECT_FALSE(dropping.slot.subscribed());
  EXPECT_EQ(liveCount<OCInterfaceConfigDirSm>(), 0U);
}

}  // namespace
}  // namespace Stp::InterfaceTest
