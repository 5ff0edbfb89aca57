// Readers of the targets that, in the middle of a change, drop what reacts to it, what it reads,
// what it writes, or all of that. Nothing may be used after it has gone: the sanitizers watch.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lumo/HideMe.h"
#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp {
namespace {

using FrameTest::LooseWatch;
using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::World;

class FrameReentrancy : public TestSupport::LeavesNothing {};

using Change = std::function<void(World&)>;

// Each changes an entity that only the world holds by the pointer through which it is reached.
std::vector<std::pair<std::string_view, Change>> const changes{
    {"mode", [](World& w) { w.inputConfig->modeIs(Mode::rapidPvst); }},
    {"input default guard", [](World& w) { w.inputConfig->portfastBpduguardIs(true); }},
    {"input disabled VLAN", [](World& w) { w.inputConfig->disabledVlanIs(20, true); }},
    {"no input disabled VLAN", [](World& w) { w.inputConfig->disabledVlanDelAll(); }},
    {"input VLAN map", [](World& w) { w.inputConfig->mstConfigIs(World::oneVlan(30, 7)); }},
    {"configured port",
     [](World& w) { w.inputConfig->portConfig.is("Ethernet9", Lumo::make<Input::PortConfig>()); }},
    {"replaced port",
     [](World& w) { w.inputConfig->portConfig.is("Ethernet1", Lumo::make<Input::PortConfig>()); }},
    {"no configured port", [](World& w) { w.inputConfig->portConfig.del("Ethernet1"); }},
    {"edge port", [](World& w) { w.inputPort->edgePortEnableIs(true); }},
    {"link type", [](World& w) { w.inputPort->linkTypeIs(Input::PortConfig::LinkType::shared); }},
    {"no configured instance", [](World& w) { w.inputConfig->stpiConfig.del("Mst"); }},
    {"configured MST instance",
     [](World& w) { w.inputMst->mstiConfig.is("MST2", Lumo::make<Input::MstiConfig>()); }},
    {"no configured MST instance", [](World& w) { w.inputMst->mstiConfig.del("MST1"); }},
    {"configured priority", [](World& w) { w.inputMsti->bridgePriorityIs(0); }},
    {"default guard", [](World& w) { w.config->portfastBpduguardIs(true); }},
    {"disabled VLAN", [](World& w) { w.config->disabledVlanDel(10); }},
    {"VLAN map", [](World& w) { w.config->mstConfigIs(World::oneVlan(30, 7)); }},
    {"admin edge port", [](World& w) { w.port->adminEdgePortIs(true); }},
    {"protocol", [](World& w) { w.status->activeProtocolIs(Mode::stp); }},
    {"instance", [](World& w) { w.status->stpiStatus.is("Other", Lumo::make<StpiStatus>()); }},
    {"no instance", [](World& w) { w.status->stpiStatus.delAll(); }},
    {"port of an instance",
     [](World& w) { w.mst->stpiPortStatus.is("Ethernet9", Lumo::make<StpiPortStatus>()); }},
    {"no ports of an instance", [](World& w) { w.mst->stpiPortStatus.delAll(); }},
    {"MST instance", [](World& w) { w.mst->mstiStatus.is("MST2", Lumo::make<MstiStatus>()); }},
    {"no MST instance", [](World& w) { w.mst->mstiStatus.delAll(); }},
    {"priority", [](World& w) { w.msti->bridgePriorityIs(0); }},
    {"operational edge port", [](World& w) { w.portStatus->operEdgePortIs(true); }},
    {"point-to-point", [](World& w) { w.portStatus->operPointToPointMacIs(true); }},
    {"VLAN", [](World& w) { w.vlanDir->vlanConfigIs(11); }},
    {"no VLANs", [](World& w) { w.vlanDir->vlanConfigDelAll(); }},
};

void dropSources(World& world) {
  world.eachSource([](std::string_view /*name*/, auto& entity) { entity = nullptr; });
}
void dropTargets(World& world) {
  world.eachTarget([](std::string_view /*name*/, auto& entity) { entity = nullptr; });
}

using Intervention = std::function<void(World&, Lumo::Ptr<Lumo::Node>&)>;

std::vector<std::pair<std::string_view, Intervention>> const interventions{
    {"drops the reactor", [](World& /*w*/, Lumo::Ptr<Lumo::Node>& object) { object = nullptr; }},
    {"drops the sources", [](World& w, Lumo::Ptr<Lumo::Node>& /*object*/) { dropSources(w); }},
    {"drops the targets", [](World& w, Lumo::Ptr<Lumo::Node>& /*object*/) { dropTargets(w); }},
    {"drops everything",
     [](World& w, Lumo::Ptr<Lumo::Node>& object) {
       object = nullptr;
       dropSources(w);
       dropTargets(w);
     }},
    {"marks the reactor",
     [](World& /*w*/, Lumo::Ptr<Lumo::Node>& object) {
       if (object) {
         object->markAndSweepFlagSet(true);
       }
     }},
};

// Readers of all targets and of what they hold; at their change number `at` they intervene.
class Readers {
 public:
  Readers(World& world, int at, std::function<void()> intervene)
      : at_(at), intervene_(std::move(intervene)) {
    world.eachTarget([this](std::string_view /*name*/, auto const& entity) { add(*entity); });
    for (auto const& interface : world.ocInterfaceConfigDir->interface()) {
      add(*interface.value);
    }
    for (auto const& instance : world.ocMstiConfigDir->mstInstance()) {
      add(*instance.value);
    }
  }

  bool intervened() const { return changes_ > at_; }

 private:
  template <class Entity>
  void add(Entity& entity) {
    readers_.push_back(std::make_unique<LooseWatch>(entity.publisher(), [this] {
      if (changes_++ == at_) {
        intervene_();
      }
    }));
  }

  int at_;
  int changes_ = 0;
  std::function<void()> intervene_;
  std::vector<std::unique_ptr<LooseWatch>> readers_;
};

// Runs `act(world, object)` for an object of each class, once for each way to intervene and for
// each change of a target that it makes.
template <class Act>
int interveneEverywhere(Act act) {
  int interventionCount = 0;
  for (Maker const& maker : makers()) {
    for (auto const& [intervention, intervene] : interventions) {
      SCOPED_TRACE(std::string(maker.className) + ", a reader " + std::string(intervention));
      for (int at = 0;; ++at) {
        World world;
        Lumo::Ptr<Lumo::Node> object = maker.make(world);
        Readers readers(world, at, [&, &drop = intervene] { drop(world, object); });
        act(world, object);
        if (!readers.intervened()) {
          break;
        }
        ++interventionCount;
      }
    }
  }
  return interventionCount;
}

TEST_F(FrameReentrancy, ReadersMayDropAnythingDuringAChange) {
  for (auto const& [name, change] : changes) {
    SCOPED_TRACE(name);
    EXPECT_GE(interveneEverywhere(
                  [&, &run = change](World& world, Lumo::Ptr<Lumo::Node>&) { run(world); }),
              1)
        << "the change reaches no target";
  }
}

// The name that an operation gets, if it takes one.
std::vector<Lumo::InspectValue> argumentsOf(std::string_view operation) {
  for (std::string_view const each :
       {"handleInterface", "handleStpiPortStatus", "handleStpiPortStatusConfig"}) {
    if (operation == each) {
      return {std::string("Ethernet9")};
    }
  }
  for (std::string_view const each :
       {"handleStpiStatus", "handleStpiStatusConfig", "handleMstpConfigSm"}) {
    if (operation == each) {
      return {std::string("Mst")};
    }
  }
  return operation == "handleMstiConfig" ? std::vector<Lumo::InspectValue>{std::string("MST2")}
                                         : std::vector<Lumo::InspectValue>();
}

TEST_F(FrameReentrancy, ReadersMayDropAnythingDuringAnOperationOfATool) {
  // The operations find much to do: before them the object reacted to nothing.
  auto const changeMuch = [](World const& world) {
    World const w = world;
    w.inputConfig->portConfig.is("Ethernet9", Lumo::make<Input::PortConfig>());
    w.inputConfig->mstConfigIs(World::oneVlan(30, 7));
    w.config->mstConfigIs(World::oneVlan(30, 7));
    w.inputMst->mstiConfig.is("MST2", Lumo::make<Input::MstiConfig>());
    w.inputMst->mstiConfig.del("MST1");
    w.mst->stpiPortStatus.is("Ethernet9", Lumo::make<StpiPortStatus>());
    w.mst->stpiPortStatus.del("Ethernet1");
    w.mst->mstiStatus.is("MST2", Lumo::make<MstiStatus>());
    w.mst->mstiStatus.del("MST1");
  };
  int const count = interveneEverywhere([&](World& world, Lumo::Ptr<Lumo::Node>& object) {
    Lumo::ClassInspectData const& data = *Lumo::classOf(*object);
    object->markAndSweepFlagSet(true);
    changeMuch(world);
    if (object) {
      object->markAndSweepFlagSet(false);
    }
    for (Lumo::FieldDescriptor const& field : data.fields) {
      if (field.kind == Lumo::FieldKind::operation && object) {
        data.hideMe->inspectOperation(*object, field, argumentsOf(field.name));
      }
    }
  });
  EXPECT_GE(count, 100);
}

TEST_F(FrameReentrancy, ReaderMayDeleteTheInterfaceThatItIsToldOf) {
  World world;
  auto const mirror =
      oCInterfaceConfigDirSmFactory(world.inputConfig, world.status, world.ocInterfaceConfigDir);
  Lanx::IntfId const id = Lanx::IntfId::of("Ethernet1");
  {
    LooseWatch const reader(world.ocInterfaceConfigDir->interface(id)->publisher(),
                            [&] { world.ocInterfaceConfigDir->interfaceDel(id); });
    world.inputPort->edgePortEnableIs(true);
  }
  EXPECT_EQ(world.ocInterfaceConfigDir->interface(id), nullptr);
  world.inputConfig->portConfig.del("Ethernet1");
  EXPECT_TRUE(world.ocInterfaceConfigDir->interface(id)) << "an external port again";
}

TEST_F(FrameReentrancy, ReaderMayDropTheChildrenOfAReactorThatMakesOne) {
  World world;
  auto const mirror =
      oCStpiStatusSmFactory("Mst", world.config, world.mst, world.ocInterfaceStateDir);
  {
    LooseWatch const reader(world.ocInterfaceStateDir->publisher(),
                            [&] { mirror->ocStpiPortStatusSmDelAll(); });
    world.mst->stpiPortStatus.is("Ethernet9", Lumo::make<StpiPortStatus>());
  }
  EXPECT_EQ(OCStpiPortStatusSm::memAllocationTracker_.live(), 1U);
  EXPECT_TRUE(mirror->ocStpiPortStatusSmDel("Ethernet9"));
}

TEST_F(FrameReentrancy, ReaderMayDropAChildInTheMiddleOfItsOwnChange) {
  World world;
  auto const mirror =
      oCStpiStatusSmFactory("Mst", world.config, world.mst, world.ocInterfaceStateDir);
  {
    LooseWatch const reader(world.ocInterfaceStateDir->publisher(),
                            [&] { mirror->ocStpiPortStatusSmDel("Ethernet1"); });
    world.portStatus->operEdgePortIs(true);
  }
  // The mark is set only when it is destroyed: the second handler of the change ran, too.
  EXPECT_EQ(world.ocInterfaceStateDir->state(Lanx::IntfId::of("Ethernet1"))->edgePort,
            OcEdgePort::edgeEnable);
  EXPECT_TRUE(world.portStatus->publisher().empty());
}

TEST_F(FrameReentrancy, NestedChangeOfTheSameAttributeEndsWithTheLastValue) {
  World world;
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  LooseWatch const reader(world.ocGlobalConfig->publisher(),
                          [&] { world.inputConfig->modeIs(Mode::rapidPvst); });
  world.inputConfig->modeIs(Mode::stp);
  EXPECT_EQ(world.ocGlobalConfig->config().enabledProtocol,
            (SharedList<OcStpEnabledProtocol>{OcStpEnabledProtocol::rapidPvst}));
}

TEST_F(FrameReentrancy, NestedChangeOfAnotherAttributeIsKept) {
  World world;
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  LooseWatch const reader(world.ocGlobalConfig->publisher(),
                          [&] { world.inputConfig->portfastBpduguardIs(true); });
  world.inputConfig->modeIs(Mode::stp);
  EXPECT_TRUE(world.ocGlobalConfig->config().bpduGuard);
  EXPECT_EQ(world.ocGlobalConfig->config().enabledProtocol,
            (SharedList<OcStpEnabledProtocol>{OcStpEnabledProtocol::rstp}));
}

TEST_F(FrameReentrancy, SyncherMayGoWithItsEntitiesDuringItsOperation) {
  for (int at = 0; at < 6; ++at) {
    SCOPED_TRACE(at);
    World world;
    OCGlobalConfigContainer list;
    list.disabledVlanPush(Bridging::VlanId(10));
    world.ocGlobalConfig->configIs(list);
    auto syncher = oCGlobalVlanSyncherFactory(world.ocGlobalConfig, world.inputConfig);
    int changes = 0;
    auto const dropAll = [&] {
      if (changes++ == at) {
        syncher = nullptr;
        dropSources(world);
        dropTargets(world);
      }
    };
    // Three VLANs go, one comes, and the list is stored.
    LooseWatch const table(world.inputConfig->publisher(), dropAll);
    LooseWatch const target(world.ocGlobalConfig->publisher(), dropAll);
    OCGlobalVlanSyncher& called = *syncher;
    called.syncDisabledVlan();
    EXPECT_EQ(changes, 5);
    EXPECT_EQ(table.watching(), at == 5);
  }
}

}  // namespace
}  // namespace Stp
