// Construction that succeeds, and construction that fails at any of its steps: then nothing of the
// object remains.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "Lumo/HideMe.h"
#include "Stp/frame/tests/FrameTestSupport.h"
#include "Vel/Reinstantiation.h"

namespace Stp {
namespace {

using FrameTest::LooseWatch;
using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::slabsInUse;
using FrameTest::World;

class FrameConstruction : public TestSupport::LeavesNothing {};

// All by which an object that was made, and of which something remains, shows on a switch whose
// targets are empty.
struct Traces {
  explicit Traces(World& world) : slabs(slabsInUse()), live(TestSupport::liveObjects()) {
    auto const add = [this](std::string_view name, auto const& entity) {
      references[name] = entity->references();
      subscribed[name] = !entity->publisher().empty();
    };
    world.eachSource(add);
    world.eachTarget(add);
  }

  friend bool operator==(Traces const&, Traces const&) = default;

  std::map<std::size_t, std::uint64_t> slabs;
  std::map<std::string, std::uint64_t> live;
  std::map<std::string_view, std::uint64_t> references;
  std::map<std::string_view, bool> subscribed;
};

void clearTargets(World& world) {
  world.ocGlobalConfig->configIs({});
  world.ocGlobalState->stateIs({});
  world.ocInterface->configIs({});
  world.ocMsti->configIs({});
  world.ocInterfaceConfigDir->interfaceDelAll();
  world.ocInterfaceStateDir->stateDelAll();
  world.ocMstiConfigDir->mstInstanceDelAll();
  world.ocMstiStateDir->stateDelAll();
}

class Disturbance : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Makes the object while a reader of the targets throws at change `at`, counted from 0. Returns
// whether it came to that.
bool makeDisturbed(Maker const& maker, World& world, int at) {
  int changes = 0;
  std::vector<std::unique_ptr<LooseWatch>> readers;
  world.eachTarget([&](std::string_view /*name*/, auto const& entity) {
    readers.push_back(std::make_unique<LooseWatch>(entity->publisher(), [&] {
      if (changes++ == at) {
        throw Disturbance("the reader of a target fails");
      }
    }));
  });
  try {
    Lumo::Ptr<Lumo::Node> const object = maker.make(world);
    EXPECT_TRUE(object);
    return false;
  } catch (Disturbance const&) {
    return true;
  }
}

TEST_F(FrameConstruction, LeavesNothingWhenAReaderOfATargetThrows) {
  // How many changes of watched targets each construction makes.
  std::map<std::string_view, int> const expectedChanges{
      {"OCGlobalConfigSm", 2},      {"OCGlobalVlanSyncher", 0},
      {"OCGlobalStateSm", 2},       {"OCPortConfigSm", 1},
      {"OCStpiStatusConfigSm", 2},  {"OCInterfaceConfigDirSm", 2},
      {"OCStpiPortStatusSm", 3},    {"OCStpiStatusSm", 5},
      {"OCInterfaceStateDirSm", 5}, {"OCMstiConfigSm", 1},
      {"OCMstpConfigSm", 1},        {"OCMstpConfigWrapperSm", 2},
      {"OCMstpTrigger", 0},         {"OCMstSm", 0},
      {"OCMstiStatusSm", 0},        {"OCMstpMainStateSm", 3},
  };
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    World world;
    Traces const before(world);
    int at = 0;
    while (makeDisturbed(maker, world, at)) {
      clearTargets(world);
      EXPECT_EQ(Traces(world), before) << "after a failure at change " << at;
      ++at;
    }
    clearTargets(world);
    EXPECT_EQ(Traces(world), before) << "after success";
    EXPECT_EQ(at, expectedChanges.at(maker.className));
  }
}

TEST_F(FrameConstruction, CountsEachObjectWhileItLives) {
  World world;
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    std::string const name = "Stp::" + std::string(maker.className);
    std::uint64_t const before = TestSupport::liveObjects()[name];
    auto const slabs = slabsInUse();
    Lumo::Ptr<Lumo::Node> object = maker.make(world);
    EXPECT_EQ(TestSupport::liveObjects()[name], before + 1);
    EXPECT_NE(slabsInUse(), slabs) << "not from the slabs";
    object = nullptr;
    EXPECT_EQ(TestSupport::liveObjects()[name], before);
    clearTargets(world);
    EXPECT_EQ(slabsInUse(), slabs);
  }
}

// The entities of the constructor's arguments, in order; a key is a name.
using Arguments = std::vector<Lumo::InspectValue>;

Arguments argumentsOf(std::string_view className, World& w) {
  auto const writable = [](auto const& entity) { return Lumo::Ptr<Lumo::Node>(entity); };
  std::map<std::string_view, Arguments> const all{
      {"OCGlobalConfigSm", {writable(w.inputConfig), writable(w.ocGlobalConfig)}},
      {"OCGlobalVlanSyncher", {writable(w.ocGlobalConfig), writable(w.inputConfig)}},
      {"OCGlobalStateSm",
       {writable(w.config), writable(w.status), writable(w.vlanDir), writable(w.ocGlobalState)}},
      {"OCPortConfigSm",
       {std::string("Ethernet1"), writable(w.inputPort), writable(w.ocInterface)}},
      {"OCStpiStatusConfigSm",
       {std::string("Mst"), writable(w.inputConfig), writable(w.mst),
        writable(w.ocInterfaceConfigDir)}},
      {"OCInterfaceConfigDirSm",
       {writable(w.inputConfig), writable(w.status), writable(w.ocInterfaceConfigDir)}},
      {"OCStpiPortStatusSm",
       {std::string("Ethernet1"), writable(w.config), writable(w.port), writable(w.portStatus),
        writable(w.ocInterfaceStateDir)}},
      {"OCStpiStatusSm",
       {std::string("Mst"), writable(w.config), writable(w.mst), writable(w.ocInterfaceStateDir)}},
      {"OCInterfaceStateDirSm",
       {writable(w.config), writable(w.status), writable(w.ocInterfaceStateDir)}},
      {"OCMstiConfigSm", {std::string("MST1"), writable(w.inputMsti), writable(w.ocMsti)}},
      {"OCMstpConfigSm",
       {std::string("Mst"), writable(w.inputMst), writable(w.inputConfig),
        writable(w.ocMstiConfigDir)}},
      {"OCMstpConfigWrapperSm", {writable(w.inputConfig), writable(w.ocMstiConfigDir)}},
      {"OCMstpTrigger", {}},
      {"OCMstSm", {writable(w.mst), writable(w.trigger)}},
      {"OCMstiStatusSm", {std::string("MST1"), writable(w.msti), writable(w.trigger)}},
      {"OCMstpMainStateSm", {writable(w.config), writable(w.status), writable(w.ocMstiStateDir)}},
  };
  return all.at(className);
}

// What the first synchronisation does not read can be absent; anything else is an error.
std::map<std::string_view, std::vector<std::string_view>> const argumentsThatCanBeAbsent{
    {"OCGlobalConfigSm", {}},
    {"OCGlobalVlanSyncher", {"ocGlobalConfig", "stpInputConfig"}},
    {"OCGlobalStateSm", {}},
    {"OCPortConfigSm", {}},
    {"OCStpiStatusConfigSm", {"stpInputConfig"}},
    {"OCInterfaceConfigDirSm", {}},
    {"OCStpiPortStatusSm", {"stpConfig", "portConfig"}},
    {"OCStpiStatusSm", {}},
    {"OCInterfaceStateDirSm", {}},
    {"OCMstiConfigSm", {}},
    {"OCMstpConfigSm", {"stpInputConfig"}},
    {"OCMstpConfigWrapperSm", {}},
    {"OCMstpTrigger", {}},
    {"OCMstSm", {"stpiStatus", "ocMstpTrigger"}},
    {"OCMstiStatusSm", {"mstiStatus", "ocMstpTrigger"}},
    {"OCMstpMainStateSm", {}},
};

TEST_F(FrameConstruction, NamesTheTypeOfAnAbsentEntityThatItNeeds) {
  for (Lumo::ClassInspectData const& data : _StpOpenConfigSm_a888b7c7e663556e_velModule.classes) {
    std::string_view const className = data.name.substr(5);
    std::vector<std::string_view> canBeAbsent;
    for (Lumo::FieldDescriptor const& field : data.fields) {
      if (field.kind > Lumo::FieldKind::target || field.kind == Lumo::FieldKind::key) {
        continue;
      }
      SCOPED_TRACE(std::string(data.name) + " without " + std::string(field.name));
      World world;
      Traces const before(world);
      try {
        Arguments arguments = argumentsOf(className, world);
        arguments.at(field.id - 130U) = std::monostate();
        auto const object = data.hideMe->genericIfConstructFromCtorArgs(arguments);
        canBeAbsent.push_back(field.name);
        EXPECT_EQ(Lumo::classOf(*object), &data);
      } catch (Lumo::AbsentPointerException const& error) {
        EXPECT_NE(std::string(error.what()).find(field.type), std::string::npos) << error.what();
      }
      clearTargets(world);
      EXPECT_EQ(Traces(world), before);
    }
    EXPECT_EQ(canBeAbsent, argumentsThatCanBeAbsent.at(className)) << data.name;
  }
}

TEST_F(FrameConstruction, OfAWatcherNeedsNoSource) {
  World world;
  auto const watcher = oCMstSmFactory(nullptr, world.trigger);
  auto const instanceWatcher = oCMstiStatusSmFactory("MST1", nullptr, world.trigger);
  EXPECT_TRUE(watcher->hasNotificationActive());
  watcher->triggerInc();
  instanceWatcher->triggerInc();
  EXPECT_EQ(world.trigger->counter(), 2);
  watcher->hasNotificationActiveIs(false);
  watcher->hasNotificationActiveIs(true);
}

TEST_F(FrameConstruction, SubscribesToTheSourcesThatArePresent) {
  World world;
  auto const mirror = oCStpiPortStatusSmFactory("Ethernet1", nullptr, world.port, world.portStatus,
                                                world.ocInterfaceStateDir);
  EXPECT_TRUE(world.config->publisher().empty());
  EXPECT_FALSE(world.port->publisher().empty());
  EXPECT_FALSE(world.portStatus->publisher().empty());
  auto const* const state = world.ocInterfaceStateDir->state(Lanx::IntfId::of("Ethernet1"));
  ASSERT_NE(state, nullptr) << "the initial synchronisation did not run";
  EXPECT_EQ(state->bpduGuard, OcBpduGuard::notSet);
}

TEST_F(FrameConstruction, LeavesNothingWhenAPriorityIsOutOfRange) {
  World world;
  Traces const before(world);
  world.inputMsti->bridgePriorityIs(61441);
  auto const allocated = OCMstiConfigSm::memAllocationTracker_.total();
  EXPECT_THROW(oCMstiConfigSmFactory("MST1", world.inputMsti, world.ocMsti), Lumo::RangeException);
  EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.total(), allocated);
  EXPECT_THROW(
      oCMstpConfigSmFactory("Mst", world.inputMst, world.inputConfig, world.ocMstiConfigDir),
      Lumo::RangeException);
  EXPECT_THROW(oCMstpConfigWrapperSmFactory(world.inputConfig, world.ocMstiConfigDir),
               Lumo::RangeException);
  world.msti->bridgePriorityIs(61441);
  EXPECT_THROW(oCMstpMainStateSmFactory(world.config, world.status, world.ocMstiStateDir),
               Lumo::RangeException);
  clearTargets(world);
  EXPECT_EQ(Traces(world), before);
}

TEST_F(FrameConstruction, OfAChildThatFailsLeavesTheSetAsItWas) {
  World world;
  auto const parent =
      oCMstpConfigSmFactory("Mst", world.inputMst, world.inputConfig, world.ocMstiConfigDir);
  auto const present = parent->ocMstiConfigSmDel("MST1");
  auto const broken = Lumo::make<Input::MstiConfig>();
  broken->bridgePriorityIs(65535);
  EXPECT_THROW(parent->ocMstiConfigSmIs("MST1", broken, world.ocMsti), Lumo::RangeException);
  EXPECT_EQ(parent->ocMstiConfigSmDel("MST1"), nullptr);
  EXPECT_EQ(broken->references(), 1U);
  EXPECT_TRUE(broken->publisher().empty());
  EXPECT_EQ(OCMstiConfigSm::memAllocationTracker_.live(), 1U);
  EXPECT_TRUE(parent->ocMstiConfigSmIs("MST1", world.inputMsti, world.ocMsti));
}

}  // namespace
}  // namespace Stp
