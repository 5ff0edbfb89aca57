// The children of a reactor: made once for a name, made again from other entities never.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/HideMe.h"
#include "Stp/frame/tests/FrameTestSupport.h"
#include "Vel/Reinstantiation.h"

namespace Stp {
namespace {

using FrameTest::World;
using testing::HasSubstr;

class FrameChildren : public TestSupport::LeavesNothing {
 protected:
  World world;
  World other;
};

// What the error says when a child is asked for with other entities.
struct Refusal {
  std::uint16_t classIndex;
  std::string_view className;
  Lumo::FieldId field;
  std::string_view attribute;
};

template <class Stored, class Given>
void expectRefusal(std::function<void()> const& ask, Refusal const& refusal, Stored const& stored,
                   Given const& given) {
  SCOPED_TRACE(refusal.attribute);
  try {
    ask();
    ADD_FAILURE() << "no error";
  } catch (Vel::ReinstantiationException const& error) {
    EXPECT_EQ(error.type(), (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule,
                                               refusal.classIndex}));
    EXPECT_EQ(error.field(), refusal.field);
    EXPECT_EQ(error.stored(), static_cast<Lumo::Node const*>(stored.get()));
    EXPECT_EQ(error.given(), static_cast<Lumo::Node const*>(given.get()));
    EXPECT_THAT(error.what(), HasSubstr(std::string(refusal.className)));
    EXPECT_THAT(error.what(), HasSubstr(std::string(refusal.attribute)));
  }
}

// The names of the children in a set, in order.
std::vector<std::string> childrenOf(Lumo::Node& parent, std::string_view set) {
  Lumo::ClassInspectData const& data = *Lumo::classOf(parent);
  std::vector<std::string> names;
  auto const at = data.hideMe->childIterator(parent, *data.field(set));
  for (; !at->atEnd(); at->advance()) {
    names.push_back(at->key().toString());
  }
  return names;
}
using Names = std::vector<std::string>;

// What every keyed set does, given its creator with the arguments `ask()`, its deleters, and an
// entity that the child watches. `made` counts the objects of the child's class.
template <class Child, class Ask, class Del, class DelAll, class Source>
void expectSet(Lumo::Node& parent, std::string_view set, Ask ask, Del del, DelAll delAll,
               Source const& source) {
  Names const before = childrenOf(parent, set);
  auto const made = [] { return Child::memAllocationTracker_.total(); };

  auto const count = made();
  Lumo::Ptr<Child> child = ask("new");
  EXPECT_EQ(made(), count + 1);
  EXPECT_EQ(child->keyInfo(), "[new]");
  EXPECT_TRUE(child->hasNotificationActive());
  EXPECT_EQ(child->references(), 2U);
  EXPECT_FALSE(source->publisher().empty());
  Names with = before;
  with.emplace_back("new");
  EXPECT_EQ(childrenOf(parent, set), with);

  EXPECT_EQ(ask("new"), child) << "the same name and entities, the same object";
  EXPECT_EQ(made(), count + 1);

  EXPECT_EQ(del("unknown"), nullptr);
  EXPECT_EQ(del("new"), child);
  EXPECT_EQ(del("new"), nullptr);
  EXPECT_EQ(childrenOf(parent, set), before);
  EXPECT_EQ(child->references(), 1U);
  child = nullptr;
  EXPECT_TRUE(source->publisher().empty());

  ask("a");
  ask("b");
  EXPECT_FALSE(source->publisher().empty());
  delAll();
  EXPECT_EQ(childrenOf(parent, set), Names());
  EXPECT_TRUE(source->publisher().empty());
  EXPECT_EQ(Child::memAllocationTracker_.live(), 0U);
  delAll();
}

TEST_F(FrameChildren, OfTheInterfaceConfigurationByPort) {
  auto const parent =
      oCInterfaceConfigDirSmFactory(world.inputConfig, world.status, world.ocInterfaceConfigDir);
  auto const interface = Lumo::make<OCInterface>();
  EXPECT_EQ(childrenOf(*parent, "portConfigSm"), Names{"Ethernet1"});
  expectSet<OCPortConfigSm>(
      *parent, "portConfigSm",
      [&](char const* name) { return parent->portConfigSmIs(name, other.inputPort, interface); },
      [&](char const* name) { return parent->portConfigSmDel(name); },
      [&] { parent->portConfigSmDelAll(); }, other.inputPort);

  auto const child = parent->portConfigSmIs("e", other.inputPort, interface);
  expectRefusal([&] { parent->portConfigSmIs("e", world.inputPort, interface); },
                {3, "Stp::OCPortConfigSm", 131, "portConfig"}, other.inputPort, world.inputPort);
  expectRefusal([&] { parent->portConfigSmIs("e", other.inputPort, other.ocInterface); },
                {3, "Stp::OCPortConfigSm", 132, "externalIntf"}, interface, other.ocInterface);
  expectRefusal([&] { parent->portConfigSmIs("e", nullptr, nullptr); },
                {3, "Stp::OCPortConfigSm", 131, "portConfig"}, other.inputPort,
                Lumo::Ptr<Lumo::Node>());
  EXPECT_EQ(childrenOf(*parent, "portConfigSm"), Names{"e"});
  EXPECT_EQ(parent->portConfigSmIs("e", other.inputPort, interface), child);
}

TEST_F(FrameChildren, OfTheInterfaceConfigurationByInstance) {
  auto const parent =
      oCInterfaceConfigDirSmFactory(world.inputConfig, world.status, world.ocInterfaceConfigDir);
  EXPECT_EQ(childrenOf(*parent, "stpiStatusConfigSm"), Names{"Mst"});
  auto const ask = [&](char const* name) {
    return parent->stpiStatusConfigSmIs(name, other.inputConfig, other.mst,
                                        other.ocInterfaceConfigDir);
  };
  expectSet<OCStpiStatusConfigSm>(
      *parent, "stpiStatusConfigSm", ask,
      [&](char const* name) { return parent->stpiStatusConfigSmDel(name); },
      [&] { parent->stpiStatusConfigSmDelAll(); }, other.mst);

  auto const child = ask("i");
  Refusal refusal{4, "Stp::OCStpiStatusConfigSm", 131, "stpInputConfig"};
  expectRefusal(
      [&] {
        parent->stpiStatusConfigSmIs("i", world.inputConfig, world.mst, other.ocInterfaceConfigDir);
      },
      refusal, other.inputConfig, world.inputConfig);
  refusal = {4, "Stp::OCStpiStatusConfigSm", 132, "stpiStatus"};
  expectRefusal(
      [&] {
        parent->stpiStatusConfigSmIs("i", other.inputConfig, world.mst, world.ocInterfaceConfigDir);
      },
      refusal, other.mst, world.mst);
  refusal = {4, "Stp::OCStpiStatusConfigSm", 133, "externalIntfConfigDir"};
  expectRefusal(
      [&] {
        parent->stpiStatusConfigSmIs("i", other.inputConfig, other.mst, world.ocInterfaceConfigDir);
      },
      refusal, other.ocInterfaceConfigDir, world.ocInterfaceConfigDir);
  EXPECT_EQ(childrenOf(*parent, "stpiStatusConfigSm"), Names{"i"});
  EXPECT_EQ(ask("i"), child);
}

TEST_F(FrameChildren, OfTheInstanceState) {
  auto const parent =
      oCStpiStatusSmFactory("Mst", world.config, world.mst, world.ocInterfaceStateDir);
  EXPECT_EQ(childrenOf(*parent, "ocStpiPortStatusSm"), (Names{"Ethernet1", "Ethernet2"}));
  auto const ask = [&](char const* name) {
    return parent->ocStpiPortStatusSmIs(name, other.config, other.port, other.portStatus,
                                        other.ocInterfaceStateDir);
  };
  expectSet<OCStpiPortStatusSm>(
      *parent, "ocStpiPortStatusSm", ask,
      [&](char const* name) { return parent->ocStpiPortStatusSmDel(name); },
      [&] { parent->ocStpiPortStatusSmDelAll(); }, other.portStatus);

  auto const child = ask("p");
  auto const refuse = [&](Lumo::FieldId field, std::string_view attribute, auto const& config,
                          auto const& port, auto const& status, auto const& directory,
                          auto const& stored, auto const& given) {
    expectRefusal([&] { parent->ocStpiPortStatusSmIs("p", config, port, status, directory); },
                  {6, "Stp::OCStpiPortStatusSm", field, attribute}, stored, given);
  };
  World& o = other;
  World& w = world;
  refuse(131, "stpConfig", w.config, w.port, w.portStatus, w.ocInterfaceStateDir, o.config,
         w.config);
  refuse(132, "portConfig", o.config, w.port, w.portStatus, w.ocInterfaceStateDir, o.port, w.port);
  refuse(133, "stpiPortStatus", o.config, o.port, w.portStatus, w.ocInterfaceStateDir, o.portStatus,
         w.portStatus);
  refuse(134, "externalIntfStateDir", o.config, o.port, o.portStatus, w.ocInterfaceStateDir,
         o.ocInterfaceStateDir, w.ocInterfaceStateDir);
  EXPECT_EQ(childrenOf(*parent, "ocStpiPortStatusSm"), Names{"p"});
  EXPECT_EQ(ask("p"), child);
}

TEST_F(FrameChildren, OfTheInterfaceState) {
  auto const parent =
      oCInterfaceStateDirSmFactory(world.config, world.status, world.ocInterfaceStateDir);
  EXPECT_EQ(childrenOf(*parent, "ocStpiStatusSm"), Names{"Mst"});
  auto const ask = [&](char const* name) {
    return parent->ocStpiStatusSmIs(name, other.config, other.mst, other.ocInterfaceStateDir);
  };
  expectSet<OCStpiStatusSm>(
      *parent, "ocStpiStatusSm", ask,
      [&](char const* name) { return parent->ocStpiStatusSmDel(name); },
      [&] { parent->ocStpiStatusSmDelAll(); }, other.mst);

  auto const child = ask("i");
  World& o = other;
  World& w = world;
  expectRefusal([&] { parent->ocStpiStatusSmIs("i", w.config, w.mst, w.ocInterfaceStateDir); },
                {7, "Stp::OCStpiStatusSm", 131, "stpConfig"}, o.config, w.config);
  expectRefusal([&] { parent->ocStpiStatusSmIs("i", o.config, w.mst, w.ocInterfaceStateDir); },
                {7, "Stp::OCStpiStatusSm", 132, "stpiStatus"}, o.mst, w.mst);
  expectRefusal([&] { parent->ocStpiStatusSmIs("i", o.config, o.mst, w.ocInterfaceStateDir); },
                {7, "Stp::OCStpiStatusSm", 133, "externalIntfStateDir"}, o.ocInterfaceStateDir,
                w.ocInterfaceStateDir);
  EXPECT_EQ(childrenOf(*parent, "ocStpiStatusSm"), Names{"i"});
  EXPECT_EQ(ask("i"), child);
}

TEST_F(FrameChildren, OfTheMstpConfiguration) {
  auto const parent =
      oCMstpConfigSmFactory("Mst", world.inputMst, world.inputConfig, world.ocMstiConfigDir);
  EXPECT_EQ(childrenOf(*parent, "ocMstiConfigSm"), Names{"MST1"});
  auto const ask = [&](char const* name) {
    return parent->ocMstiConfigSmIs(name, other.inputMsti, other.ocMsti);
  };
  expectSet<OCMstiConfigSm>(
      *parent, "ocMstiConfigSm", ask,
      [&](char const* name) { return parent->ocMstiConfigSmDel(name); },
      [&] { parent->ocMstiConfigSmDelAll(); }, other.inputMsti);

  auto const child = ask("MST2");
  expectRefusal([&] { parent->ocMstiConfigSmIs("MST2", world.inputMsti, world.ocMsti); },
                {9, "Stp::OCMstiConfigSm", 131, "mstiConfig"}, other.inputMsti, world.inputMsti);
  expectRefusal([&] { parent->ocMstiConfigSmIs("MST2", other.inputMsti, world.ocMsti); },
                {9, "Stp::OCMstiConfigSm", 132, "externalMsti"}, other.ocMsti, world.ocMsti);
  EXPECT_EQ(childrenOf(*parent, "ocMstiConfigSm"), Names{"MST2"});
  EXPECT_EQ(ask("MST2"), child);
}

TEST_F(FrameChildren, OfTheMstpConfigurationWrapper) {
  auto const parent = oCMstpConfigWrapperSmFactory(world.inputConfig, world.ocMstiConfigDir);
  EXPECT_EQ(childrenOf(*parent, "ocMstpConfigSm"), Names{"Mst"});
  auto const ask = [&](char const* name) {
    return parent->ocMstpConfigSmIs(name, other.inputMst, other.inputConfig, other.ocMstiConfigDir);
  };
  expectSet<OCMstpConfigSm>(
      *parent, "ocMstpConfigSm", ask,
      [&](char const* name) { return parent->ocMstpConfigSmDel(name); },
      [&] { parent->ocMstpConfigSmDelAll(); }, other.inputMst);

  auto const child = ask("Mst");
  World& o = other;
  World& w = world;
  expectRefusal(
      [&] { parent->ocMstpConfigSmIs("Mst", w.inputMst, w.inputConfig, w.ocMstiConfigDir); },
      {10, "Stp::OCMstpConfigSm", 131, "mst"}, o.inputMst, w.inputMst);
  expectRefusal(
      [&] { parent->ocMstpConfigSmIs("Mst", o.inputMst, w.inputConfig, w.ocMstiConfigDir); },
      {10, "Stp::OCMstpConfigSm", 132, "stpInputConfig"}, o.inputConfig, w.inputConfig);
  expectRefusal(
      [&] { parent->ocMstpConfigSmIs("Mst", o.inputMst, o.inputConfig, w.ocMstiConfigDir); },
      {10, "Stp::OCMstpConfigSm", 133, "ocMstiConfigDir"}, o.ocMstiConfigDir, w.ocMstiConfigDir);
  EXPECT_EQ(childrenOf(*parent, "ocMstpConfigSm"), Names{"Mst"});
  EXPECT_EQ(ask("Mst"), child);
}

TEST_F(FrameChildren, OfTheMstpMainStateByInstance) {
  auto const parent = oCMstpMainStateSmFactory(world.config, world.status, world.ocMstiStateDir);
  EXPECT_EQ(childrenOf(*parent, "ocMstiStatusSm"), Names{"MST1"});
  auto const ask = [&](char const* name) {
    return parent->ocMstiStatusSmIs(name, other.msti, other.trigger);
  };
  expectSet<OCMstiStatusSm>(
      *parent, "ocMstiStatusSm", ask,
      [&](char const* name) { return parent->ocMstiStatusSmDel(name); },
      [&] { parent->ocMstiStatusSmDelAll(); }, other.msti);

  auto const child = ask("MST2");
  expectRefusal([&] { parent->ocMstiStatusSmIs("MST2", world.msti, world.trigger); },
                {14, "Stp::OCMstiStatusSm", 131, "mstiStatus"}, other.msti, world.msti);
  expectRefusal([&] { parent->ocMstiStatusSmIs("MST2", other.msti, world.trigger); },
                {14, "Stp::OCMstiStatusSm", 132, "ocMstpTrigger"}, other.trigger, world.trigger);
  EXPECT_EQ(childrenOf(*parent, "ocMstiStatusSm"), Names{"MST2"});
  EXPECT_EQ(ask("MST2"), child);
}

TEST_F(FrameChildren, SingleOneIsReplacedByOneFromOtherEntities) {
  auto const parent = oCMstpMainStateSmFactory(world.config, world.status, world.ocMstiStateDir);
  auto const first = parent->ocMstSmIs(other.mst, other.trigger);
  EXPECT_EQ(parent->ocMstSmIs(other.mst, other.trigger), first);
  EXPECT_TRUE(first->hasNotificationActive());

  auto const second = parent->ocMstSmIs(world.mst, other.trigger);
  EXPECT_NE(second, first);
  EXPECT_TRUE(second->hasNotificationActive());
  EXPECT_EQ(first->references(), 1U);
  EXPECT_NE(parent->ocMstSmIs(world.mst, world.trigger), second);

  EXPECT_TRUE(parent->ocMstSmDel());
  EXPECT_EQ(parent->ocMstSmDel(), nullptr);
}

TEST_F(FrameChildren, AreSwitchedWithTheirParentToTheLast) {
  auto const parent =
      oCInterfaceStateDirSmFactory(world.config, world.status, world.ocInterfaceStateDir);
  auto const child =
      parent->ocStpiStatusSmIs("Mst", world.config, world.mst, world.ocInterfaceStateDir);
  auto const grandchild = child->ocStpiPortStatusSmIs("Ethernet1", world.config, world.port,
                                                      world.portStatus, world.ocInterfaceStateDir);
  for (bool const active : {false, true}) {
    parent->hasNotificationActiveIs(active);
    EXPECT_EQ(child->hasNotificationActive(), active);
    EXPECT_EQ(grandchild->hasNotificationActive(), active);
    EXPECT_EQ(world.mst->publisher().empty(), !active);
    EXPECT_EQ(world.portStatus->publisher().empty(), !active);
  }
  parent->velDoZombieReactors(true);
  EXPECT_FALSE(child->markAndSweepFlag()) << "the mark is the parent's alone";
}

TEST_F(FrameChildren, GoWithTheirParent) {
  constexpr int count = 2000;
  for (int port = 0; port < count; ++port) {
    std::string const name = "Port" + std::to_string(port);
    world.mst->stpiPortStatus.is(name, Lumo::make<StpiPortStatus>());
    world.inputConfig->portConfig.is(name, Lumo::make<Input::PortConfig>());
  }
  auto states = oCInterfaceStateDirSmFactory(world.config, world.status, world.ocInterfaceStateDir);
  auto configs =
      oCInterfaceConfigDirSmFactory(world.inputConfig, world.status, world.ocInterfaceConfigDir);
  EXPECT_EQ(OCStpiPortStatusSm::memAllocationTracker_.live(), count + 2U);
  EXPECT_EQ(OCPortConfigSm::memAllocationTracker_.live(), count + 1U);
  states = nullptr;
  configs = nullptr;
  EXPECT_TRUE(TestSupport::liveObjects().size() == 1) << "only the two triggers of the worlds";
  EXPECT_TRUE(world.config->publisher().empty());
  for (auto const& port : world.mst->stpiPortStatus()) {
    EXPECT_TRUE(port.value->publisher().empty());
    EXPECT_LE(port.value->references(), 2U);
  }
}

TEST_F(FrameChildren, ChildInOtherHandsSurvivesItsParentButSwitchedOff) {
  auto parent = oCInterfaceStateDirSmFactory(world.config, world.status, world.ocInterfaceStateDir);
  auto const child =
      parent->ocStpiStatusSmIs("Mst", world.config, world.mst, world.ocInterfaceStateDir);
  parent = nullptr;
  EXPECT_EQ(child->references(), 1U);
  EXPECT_FALSE(child->hasNotificationActive());
  EXPECT_TRUE(world.mst->publisher().empty());
}

}  // namespace
}  // namespace Stp
