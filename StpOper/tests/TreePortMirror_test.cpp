// One port of one tree, as it reaches its records.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

class TreePortMirror : public OperTest {
 protected:
  void mirrored(TreeId tree, bool running = true) {
    tell<TreeScope::Id::tree>(scope, tree);
    tell<TreeScope::Id::running>(scope, running);
    mirror = oCTreePortSmFactory("E1", scope, port, portConfig, portState, portCounters);
    id = at(tree, "E1");
  }
  OCTreePortState const& state() const { return *portState->record(id); }

  Lumo::Ptr<TreeScope> scope = Lumo::make<TreeScope>();
  Lumo::Ptr<TreePort> port = Lumo::make<TreePort>();
  Lumo::Ptr<OCTreePortSm> mirror;
  TreePortId id;
};

TEST_F(TreePortMirror, RecordsAreThereThoughNothingIsTold) {
  mirrored(TreeId());
  EXPECT_EQ(*portConfig->record(id), (OCTreePortConfig{.id = id}));
  EXPECT_EQ(state(), (OCTreePortState{.id = id}));
  EXPECT_EQ(portCounters->record(id), nullptr);
}

TEST_F(TreePortMirror, WritesEachRecordOnceAtItsStart) {
  Watch config(portConfig);
  Watch written(portState);
  Watch counters(portCounters);
  tell<TreePort::Id::role>(port, PortRole::root);
  tell<TreePort::Id::portId>(port, PortId(128, 1));
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{7});
  mirrored(TreeId());
  EXPECT_EQ(config.changes(), 1);
  EXPECT_EQ(written.changes(), 1);
  EXPECT_EQ(counters.changes(), 1);
}

TEST_F(TreePortMirror, PortIdReachesConfigurationAndState) {
  mirrored(TreeId());
  tell<TreePort::Id::portId>(port, PortId(128, 17));
  EXPECT_EQ(portConfig->record(id)->portPriority, 128);
  EXPECT_EQ(state().port, PortId(128, 17));
  tell<TreePort::Id::portId>(port, PortId(0, 17));
  EXPECT_EQ(portConfig->record(id)->portPriority, 0);
  tell<TreePort::Id::portId>(port, std::nullopt);
  EXPECT_EQ(portConfig->record(id)->portPriority, std::nullopt);
  EXPECT_EQ(state().port, std::nullopt);
}

TEST_F(TreePortMirror, RolesOfThePublicModelAreShown) {
  mirrored(TreeId());
  struct Case {
    PortRole told;
    std::optional<OcPortRole> shown;
  };
  for (Case const& each : {Case{PortRole::root, OcPortRole::root},
                           {PortRole::designated, OcPortRole::designated},
                           {PortRole::alternate, OcPortRole::alternate},
                           {PortRole::backup, OcPortRole::backup},
                           {PortRole::master, {}},
                           {PortRole::disabled, {}}}) {
    tell<TreePort::Id::role>(port, each.told);
    EXPECT_EQ(state().role, each.shown) << static_cast<int>(each.told);
  }
}

TEST_F(TreePortMirror, StateIsDisabledWhereTheRoleIs) {
  mirrored(TreeId());
  tell<TreePort::Id::role>(port, PortRole::disabled);
  EXPECT_EQ(state().portState, OcPortState::disabled);
  tell<TreePort::Id::state>(port, PortState::discarding);
  EXPECT_EQ(state().portState, OcPortState::disabled);
  tell<TreePort::Id::role>(port, PortRole::designated);
  EXPECT_EQ(state().portState, OcPortState::blocking);
}

TEST_F(TreePortMirror, StatesHaveTheNamesOfThePublicModel) {
  mirrored(TreeId());
  struct Case {
    PortState told;
    OcPortState shown;
  };
  for (Case const& each : {Case{PortState::discarding, OcPortState::blocking},
                           {PortState::listening, OcPortState::listening},
                           {PortState::learning, OcPortState::learning},
                           {PortState::forwarding, OcPortState::forwarding}}) {
    tell<TreePort::Id::state>(port, each.told);
    EXPECT_EQ(state().portState, each.shown) << static_cast<int>(each.told);
  }
  tell<TreePort::Id::state>(port, std::nullopt);
  EXPECT_EQ(state().portState, std::nullopt);
}

TEST_F(TreePortMirror, NumbersThatMeanNoRoleAndNoStateShowNone) {
  mirrored(TreeId());
  tell<TreePort::Id::role>(port, PortRole{99});
  tell<TreePort::Id::state>(port, PortState{99});
  EXPECT_EQ(state(), OCTreePortState{.id = id});
}

TEST_F(TreePortMirror, OutsideARegionTheExternalWayCounts) {
  for (TreeId const tree : {TreeId(), TreeId::rst()}) {
    mirrored(tree);
    tell<TreePort::Id::externalCost>(port, 2000U);
    tell<TreePort::Id::internalCost>(port, 3000U);
    tell<TreePort::Id::designatedRoot>(port, rootBridge);
    tell<TreePort::Id::designatedRegionalRoot>(port, otherBridge);
    tell<TreePort::Id::designatedExternalCost>(port, 11U);
    tell<TreePort::Id::designatedInternalCost>(port, 22U);
    EXPECT_EQ(state().cost, 2000U);
    EXPECT_EQ(state().designatedRoot, rootBridge);
    EXPECT_EQ(state().designatedCost, 11U);
  }
}

TEST_F(TreePortMirror, InAnMstInstanceTheInternalWayCounts) {
  mirrored(TreeId::mst(5));
  tell<TreePort::Id::externalCost>(port, 2000U);
  tell<TreePort::Id::internalCost>(port, 3000U);
  tell<TreePort::Id::designatedRoot>(port, rootBridge);
  tell<TreePort::Id::designatedRegionalRoot>(port, otherBridge);
  tell<TreePort::Id::designatedExternalCost>(port, 11U);
  tell<TreePort::Id::designatedInternalCost>(port, 22U);
  EXPECT_EQ(state().cost, 3000U);
  EXPECT_EQ(state().designatedRoot, otherBridge);
  EXPECT_EQ(state().designatedCost, 22U);
}

TEST_F(TreePortMirror, WhatIsTheSameInAllTrees) {
  for (TreeId const tree : {TreeId(), TreeId::rst(), TreeId::mst(1)}) {
    mirrored(tree);
    tell<TreePort::Id::designatedBridge>(port, rootBridge);
    tell<TreePort::Id::designatedPort>(port, PortId(16, 3));
    tell<TreePort::Id::disputed>(port, true);
    EXPECT_EQ(state().designatedBridge, rootBridge);
    EXPECT_EQ(state().designatedPort, PortId(16, 3));
    EXPECT_EQ(state().disputed, true);
    tell<TreePort::Id::disputed>(port, false);
    EXPECT_EQ(state().disputed, false);
  }
}

TEST_F(TreePortMirror, MasterIsAlwaysThereInAnMstInstanceAndNowhereElse) {
  mirrored(TreeId::mst(5));
  EXPECT_EQ(state().master, false);
  tell<TreePort::Id::role>(port, PortRole::master);
  EXPECT_EQ(state().master, true);
  tell<TreePort::Id::role>(port, PortRole::alternate);
  EXPECT_EQ(state().master, false);
  mirrored(TreeId());
  tell<TreePort::Id::role>(port, PortRole::master);
  EXPECT_EQ(state().master, std::nullopt);
}

TEST_F(TreePortMirror, TransitionsAndCountersAreNotOfMstInstances) {
  tell<TreePort::Id::forwardTransitions>(port, std::uint64_t{4});
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{28});
  tell<TreePort::Id::bpduReceived>(port, std::uint64_t{26});
  mirrored(TreeId::mst(5));
  EXPECT_EQ(state().forwardTransitions, std::nullopt);
  EXPECT_EQ(portCounters->record(id), nullptr);
  tell<TreePort::Id::forwardTransitions>(port, std::uint64_t{5});
  EXPECT_EQ(state().forwardTransitions, std::nullopt);
  for (TreeId const tree : {TreeId(), TreeId::rst()}) {
    mirrored(tree);
    EXPECT_EQ(state().forwardTransitions, 5U);
    EXPECT_EQ(*portCounters->record(id), (OCTreePortCounters{id, 28, 26}));
  }
}

TEST_F(TreePortMirror, CountersChangeNothingElse) {
  mirrored(TreeId());
  Watch config(portConfig);
  Watch written(portState);
  Watch counters(portCounters);
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{1});
  tell<TreePort::Id::bpduReceived>(port, std::uint64_t{2});
  EXPECT_EQ(counters.changes(), 2);
  EXPECT_EQ(config.changes(), 0);
  EXPECT_EQ(written.changes(), 0);
  tell<TreePort::Id::bpduSent>(port, std::nullopt);
  EXPECT_EQ(*portCounters->record(id), (OCTreePortCounters{id, {}, 2}));
  tell<TreePort::Id::bpduReceived>(port, std::nullopt);
  EXPECT_EQ(portCounters->record(id), nullptr);
}

TEST_F(TreePortMirror, WhatDoesNotShowIsNotAnnounced) {
  tell<TreePort::Id::role>(port, PortRole::disabled);
  mirrored(TreeId());
  Watch written(portState);
  tell<TreePort::Id::internalCost>(port, 3000U);
  tell<TreePort::Id::designatedRegionalRoot>(port, otherBridge);
  tell<TreePort::Id::designatedInternalCost>(port, 22U);
  tell<TreePort::Id::state>(port, PortState::discarding);
  EXPECT_EQ(written.changes(), 0);
  tell<TreePort::Id::externalCost>(port, 3000U);
  EXPECT_EQ(written.changes(), 1);
}

TEST_F(TreePortMirror, EachChangeIsAnnouncedOnce) {
  mirrored(TreeId::mst(5));
  Watch written(portState);
  tell<TreePort::Id::role>(port, PortRole::master);  // role, state and master are one record
  EXPECT_EQ(written.changes(), 1);
  tell<TreePort::Id::role>(port, PortRole::master);
  EXPECT_EQ(written.changes(), 0);
}

TEST_F(TreePortMirror, StateIsThereWhileTheProtocolRuns) {
  tell<TreePort::Id::portId>(port, PortId(128, 1));
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{1});
  mirrored(TreeId(), false);
  EXPECT_EQ(portState->record(id), nullptr);
  EXPECT_EQ(portCounters->record(id), nullptr);
  EXPECT_EQ(portConfig->record(id)->portPriority, 128);
  tell<TreePort::Id::role>(port, PortRole::root);
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{2});
  EXPECT_EQ(portState->record(id), nullptr);
  EXPECT_EQ(portCounters->record(id), nullptr);
  tell<TreeScope::Id::running>(scope, true);
  EXPECT_EQ(state().role, OcPortRole::root);
  EXPECT_EQ(portCounters->record(id)->bpduSent, 2U);
  tell<TreeScope::Id::running>(scope, false);
  EXPECT_EQ(portState->record(id), nullptr);
  EXPECT_EQ(portCounters->record(id), nullptr);
  EXPECT_EQ(portConfig->record(id)->portPriority, 128);
}

TEST_F(TreePortMirror, WhatItWroteStaysWhenItGoes) {
  mirrored(TreeId());
  mirror = nullptr;
  EXPECT_NE(portState->record(id), nullptr);
  tell<TreePort::Id::role>(port, PortRole::root);
  EXPECT_EQ(state().role, std::nullopt);
}

TEST_F(TreePortMirror, AReaderMayDropItAtAnyOfItsWrites) {
  std::vector<std::function<void()>> const causes{
      [&] { tell<TreePort::Id::portId>(port, PortId(128, 9)); },
      [&] { tell<TreePort::Id::role>(port, PortRole::backup); },
      [&] { tell<TreePort::Id::bpduSent>(port, std::uint64_t{99}); },
      [&] { tell<TreeScope::Id::running>(scope, false); },
      [&] { tell<TreeScope::Id::running>(scope, true); },
  };
  auto const drop = [this](auto&&...) { mirror = nullptr; };
  for (auto const& cause : causes) {
    for (int at = 0; at < 3; ++at) {
      mirrored(TreeId(), scope->told().running);
      std::optional<Watch<OCTreePortConfigDir>> config;
      std::optional<Watch<OCTreePortStateDir>> written;
      std::optional<Watch<OCTreePortCountersDir>> counters;
      if (at == 0) {
        config.emplace(portConfig, drop);
      } else if (at == 1) {
        written.emplace(portState, drop);
      } else {
        counters.emplace(portCounters, drop);
      }
      cause();
      port = Lumo::make<TreePort>();
      tell<TreePort::Id::portId>(port, PortId(16, 1));
      tell<TreePort::Id::bpduSent>(port, std::uint64_t{1});
    }
  }
}

}  // namespace
}  // namespace Stp::Oper
