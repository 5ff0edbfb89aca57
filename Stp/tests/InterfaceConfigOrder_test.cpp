// What holds in between: the interface configuration directory as its readers see it from inside
// the changes that make it up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using testing::ElementsAre;

class InterfaceConfigOrder : public InterfaceConfigTest {
 protected:
  /// Calls `reaction(name)` for every change of a member of the directory.
  template <class Reaction>
  auto watchMembers(Reaction reaction) const {
    return std::make_unique<Watch<OCInterfaceConfigDir>>(
        directory, [reaction](Lumo::FieldId /*field*/, void const* key, void const* /*newValue*/) {
          reaction(static_cast<Lanx::IntfId const*>(key)->stringValue());
        });
  }

  static std::uint64_t portMirrors() { return OCPortConfigSm::memAllocationTracker_.live(); }
  static std::uint64_t instanceMirrors() {
    return OCStpiStatusConfigSm::memAllocationTracker_.live();
  }
};

TEST_F(InterfaceConfigOrder, PortLosesItsMirrorBeforeItsInterface) {
  configure("Ethernet1");
  start();
  ASSERT_EQ(portMirrors(), 1U);
  std::vector<std::uint64_t> seen;
  auto const watch = watchMembers([&](auto const& /*name*/) { seen.push_back(portMirrors()); });
  unconfigure("Ethernet1");
  EXPECT_THAT(seen, ElementsAre(0));
}

TEST_F(InterfaceConfigOrder, PortGetsItsMirrorAfterItsInterfaceHasItsName) {
  start();
  std::vector<std::string> seen;
  std::unique_ptr<Watch<OCInterface>> records;
  auto const watch = watchMembers([&](Lumo::String const& name) {
    seen.push_back("member, " + std::to_string(portMirrors()) + " mirrors");
    auto const added = interface(name);
    ASSERT_TRUE(added);
    EXPECT_FALSE(added->config().name.valid());
    records = std::make_unique<Watch<OCInterface>>(added, [&, added](auto...) {
      seen.push_back("record of " + added->config().name.stringValue().toString() + ", " +
                     std::to_string(portMirrors()) + " mirrors");
    });
  });
  configure("Ethernet1");
  // The second record is the mirror's own, from its constructor.
  EXPECT_THAT(seen, ElementsAre("member, 0 mirrors", "record of Ethernet1, 0 mirrors",
                                "record of Ethernet1, 1 mirrors"));
}

TEST_F(InterfaceConfigOrder, InstanceLosesItsMirrorAfterTheCleanUp) {
  addInstance("Mst", {"Ethernet1", "Ethernet2"});
  start();
  std::vector<std::uint64_t> seen;
  auto const watch = watchMembers([&](auto const& /*name*/) { seen.push_back(instanceMirrors()); });
  removeInstance("Mst");
  EXPECT_THAT(seen, ElementsAre(1, 1));
  EXPECT_EQ(instanceMirrors(), 0U);
}

TEST_F(InterfaceConfigOrder, StartCleansUpThenBringsInPortsThenInstances) {
  leaveInterface("Ethernet9");
  configure("Ethernet1");
  addInstance("Mst", {"Ethernet2"});
  DirectoryLog log(directory);
  std::vector<std::string> seen;
  auto const watch = watchMembers([&](Lumo::String const& name) {
    seen.push_back(name.toString() + ": " + std::to_string(portMirrors()) + ", " +
                   std::to_string(instanceMirrors()));
  });
  start();
  EXPECT_EQ(log.take(), (Names{"-Ethernet9", "+Ethernet1", "+Ethernet2"}));
  EXPECT_THAT(seen, ElementsAre("Ethernet9: 0, 0", "Ethernet1: 0, 0", "Ethernet2: 1, 1"));
}

TEST_F(InterfaceConfigOrder, UnconfiguredPortThatIsListedGoesAndComesBackFresh) {
  auto const port = configure("Ethernet1");
  addInstance("Mst", {"Ethernet1"});
  start();
  port->edgePortEnableIs(true);
  auto const before = interface("Ethernet1");
  DirectoryLog log(directory);
  unconfigure("Ethernet1");
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "+Ethernet1"}));
  EXPECT_NE(interface("Ethernet1"), before);
  expectInterface("Ethernet1", {});
}

// What a reader throws passes, and a handler takes nothing back: the interface stays, announced
// once, with the record that it has.
TEST_F(InterfaceConfigOrder, InterfaceStaysWhenAReaderRefusesItsFirstRecord) {
  struct Refused {};
  start();
  auto const instance = addInstance("Mst");
  mirror->hasNotificationActiveIs(false);
  list("Mst", "Ethernet1");
  configure("Ethernet2");
  DirectoryLog log(directory);
  std::unique_ptr<Watch<OCInterface>> record;
  auto const watch = watchMembers([&](Lumo::String const& name) {
    record =
        std::make_unique<Watch<OCInterface>>(interface(name), [](auto...) { throw Refused(); });
  });
  EXPECT_THROW(OCStpiStatusConfigSm::create("Mst", input, instance, directory), Refused);
  EXPECT_EQ(log.take(), Names{"+Ethernet1"});
  EXPECT_THROW(mirror->handleInterface("Ethernet2"), Refused);
  EXPECT_EQ(log.take(), Names{"+Ethernet2"});
  record = nullptr;
  EXPECT_EQ(interfaces(), (Names{"Ethernet1", "Ethernet2"}));
  expectInterface("Ethernet1", {});
  expectInterface("Ethernet2", {});
  EXPECT_EQ(portMirrors(), 0U);
}

// The clean-up decides by what was listed when it began.
TEST_F(InterfaceConfigOrder, PortThatIsListedDuringTheCleanUpComesTooLate) {
  start();
  addInstance("Mst");
  mirror->hasNotificationActiveIs(false);
  leaveInterface("Ethernet1");
  leaveInterface("Ethernet2");
  DirectoryLog log(directory);
  auto const watch = watchMembers([&](auto const& /*name*/) { list("Mst", "Ethernet2"); });
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(log.take(), (Names{"-Ethernet1", "-Ethernet2"}));
}

TEST_F(InterfaceConfigOrder, PortThatIsUnlistedDuringTheCleanUpStays) {
  start();
  addInstance("Mst", {"Ethernet2"});
  mirror->hasNotificationActiveIs(false);
  leaveInterface("Ethernet1");
  DirectoryLog log(directory);
  auto const watch = watchMembers([&](auto const& /*name*/) { unlist("Mst", "Ethernet2"); });
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
  expectInterface("Ethernet2", {});
}

TEST_F(InterfaceConfigOrder, PortThatIsConfiguredDuringTheCleanUpStays) {
  start();
  mirror->hasNotificationActiveIs(false);
  leaveInterface("Ethernet1");
  leaveInterface("Ethernet2");
  DirectoryLog log(directory);
  auto const watch = watchMembers([&](auto const& /*name*/) { configure("Ethernet2"); });
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_EQ(log.take(), Names{"-Ethernet1"});
}

// Ids that share a bit of a word, whatever the width of the word.
TEST_F(InterfaceConfigOrder, CleanUpTellsHundredsOfInterfacesApart) {
  constexpr unsigned count = 600;
  start();
  mirror->hasNotificationActiveIs(false);
  for (unsigned const width : {1U, 8U, 16U, 32U, 64U, 128U, 256U}) {
    SCOPED_TRACE(width);
    auto const instance = addInstance("Mst");
    Names kept;
    for (unsigned port = 0; port < count; ++port) {
      Lumo::String const name("Ethernet" + std::to_string(port));
      if (!interface(name)) {
        leaveInterface(name);
      }
    }
    for (auto const& member : directory->interface()) {
      Lumo::String const name = member.key.stringValue();
      if (member.key.value() / width % 2 == 0) {
        instance->stpiPortStatus.is(name, Lumo::make<StpiPortStatus>());
        kept.push_back(name.toString());
      }
    }
    mirror->maybeCleanUpExternalIntfConfigs();
    EXPECT_EQ(interfaces(), kept);
  }
}

}  // namespace
}  // namespace Stp::InterfaceTest
