// About which ports of MST instances the engine is asked when, on a clock of the test's own.
#include "agent/sources/engine/SeldomAsked.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "agent/sources/engine/SnapshotTestSupport.h"

namespace Agent {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Role = Stp::Operational::PortRole;
using State = Stp::Operational::PortState;

class SeldomAskedTest : public testing::Test {
 protected:
  SeldomAskedTest() {
    engine = readSnapshot(operationalCaptures / "08-settled", "br4");
    look();
    now += seconds(1);
  }

  // Looks at the engine, and tells about what it was asked as "port instance".
  std::vector<std::string> look(bool isAll = false) {
    shown = engine;
    for (std::size_t tree = 1; tree < shown.trees.size(); ++tree) {
      shown.trees[tree].ports.clear();
    }
    std::vector<std::string> asked;
    for (TreePortPair const& pair : seldom.due(shown, now, isAll)) {
      asked.push_back(pair.port.toString() + " " + std::to_string(pair.tree));
      auto const& ports = tree(engine, pair.tree).ports;
      auto const told = std::ranges::find(ports, pair.port, &EngineSnapshot::TreePort::name);
      if (told != ports.end()) {
        tree(shown, pair.tree).ports.push_back(*told);
      }
    }
    seldom.complete(shown, now);
    return asked;
  }

  static EngineSnapshot::Tree& tree(EngineSnapshot& snapshot, std::uint16_t id) {
    return *std::ranges::find(snapshot.trees, id, &EngineSnapshot::Tree::id);
  }
  EngineSnapshot::TreePort& port(std::size_t tree, std::size_t port) {
    return engine.trees.at(tree).ports.at(port);
  }

  Loop::Time now{seconds(1000)};
  EngineSnapshot engine;
  EngineSnapshot shown;
  SeldomAsked seldom{seconds(10)};

  std::vector<std::string> const all{"Eth1 1", "Eth2 1", "Eth3 1", "Eth1 5", "Eth2 5", "Eth3 5"};
};

TEST_F(SeldomAskedTest, FirstIsAboutAll) {
  SeldomAsked another(seconds(10));
  auto snapshot = engine;
  EXPECT_EQ(another.due(snapshot, now, false).size(), 6U);
}

TEST_F(SeldomAskedTest, NothingIsAskedWhereNothingChangesAndAllStays) {
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown == engine);
  now += milliseconds(8999);
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, AllIsAskedAfterThreeIntervals) {
  now -= seconds(1);
  for (int round = 0; round < 3; ++round) {
    for (int interval = 0; interval < 2; ++interval) {
      now += seconds(10);
      EXPECT_THAT(look(), IsEmpty());
    }
    now += seconds(10);
    port(2, 1).internalCost = 7 + round;
    EXPECT_EQ(look(), all);
    EXPECT_TRUE(shown == engine);
    EXPECT_THAT(look(), IsEmpty());
  }
}

TEST_F(SeldomAskedTest, AllIsAskedOnDemandWhichDoesNotPutTheIntervalsOff) {
  now += seconds(9);
  look();
  now += seconds(10);
  EXPECT_EQ(look(true), all);
  now += seconds(10);
  EXPECT_EQ(look(), all);
}

TEST_F(SeldomAskedTest, WhatIsNotAskedStaysAsItWas) {
  port(2, 1).internalCost = 7;
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_EQ(shown.trees[2].ports.at(1).internalCost, 2000U);
  EXPECT_EQ(look(true), all);
  EXPECT_EQ(shown.trees[2].ports.at(1).internalCost, 7U);
}

TEST_F(SeldomAskedTest, PortThatChangesIsAskedAboutInEveryInstance) {
  port(0, 1).role = Role::disabled;
  port(1, 1).role = Role::disabled;
  EXPECT_THAT(look(), ElementsAre("Eth2 1", "Eth2 5"));
  EXPECT_TRUE(shown == engine);
  EXPECT_THAT(look(), IsEmpty());
  engine.ports[2].bpduGuardError = true;
  EXPECT_THAT(look(), ElementsAre("Eth3 1", "Eth3 5"));
  engine.ports[0].adminEdgePort = true;
  EXPECT_THAT(look(), ElementsAre("Eth1 1", "Eth1 5"));
}

TEST_F(SeldomAskedTest, InstanceThatChangesIsAskedAboutAtEveryPort) {
  tree(engine, 5).topologyChanges = 99;
  port(2, 0).role = Role::designated;
  EXPECT_THAT(look(), ElementsAre("Eth1 5", "Eth2 5", "Eth3 5"));
  EXPECT_TRUE(shown == engine);
  tree(engine, 1).rootPort = 2;
  EXPECT_THAT(look(), ElementsAre("Eth1 1", "Eth2 1", "Eth3 1"));
  EXPECT_THAT(look(), IsEmpty());
}

TEST_F(SeldomAskedTest, TimeThatGoesByIsNoChangeOfAnInstance) {
  tree(engine, 5).sinceTopologyChange = 1234;
  EXPECT_THAT(look(), IsEmpty());
}

TEST_F(SeldomAskedTest, PortOnItsWayIsAskedAboutUntilItForwards) {
  tree(engine, 5).topologyChanges = 99;
  port(2, 2).role = Role::designated;
  port(2, 2).state = State::discarding;
  look();
  EXPECT_THAT(look(), ElementsAre("Eth3 5"));
  port(2, 2).state = State::learning;
  EXPECT_THAT(look(), ElementsAre("Eth3 5"));
  port(2, 2).state = State::forwarding;
  EXPECT_THAT(look(), ElementsAre("Eth3 5"));
  EXPECT_THAT(look(), IsEmpty());
}

TEST_F(SeldomAskedTest, PortThatBlocksForGoodIsNotOnItsWay) {
  for (Role const role : {Role::alternate, Role::backup, Role::disabled}) {
    port(2, 2).role = role;
    port(2, 2).state = State::discarding;
    look(true);
    EXPECT_THAT(look(), IsEmpty());
  }
  for (Role const role : {Role::root, Role::designated, Role::master}) {
    port(2, 2).role = role;
    look(true);
    EXPECT_THAT(look(), ElementsAre("Eth3 5"));
  }
}

TEST_F(SeldomAskedTest, NoPortIsOnItsWayWhereNoProtocolRuns) {
  port(2, 2).role = Role::designated;
  port(2, 2).state = State::discarding;
  engine.activeProtocol = EngineSnapshot::notRunning;
  look(true);
  EXPECT_THAT(look(), IsEmpty());
}

TEST_F(SeldomAskedTest, CountersAreTakenAfterTheIntervalAloneAndChangeNothingElse) {
  auto const before = engine.trees[0].ports[0];
  port(0, 0).bpduSent = 1'000'000;
  port(0, 0).bpduReceived = 2'000'000;
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown.trees[0].ports[0] == before);
  EXPECT_EQ(look(true), all);
  EXPECT_TRUE(shown.trees[0].ports[0] == before);
  port(0, 0).forwardTransitions = 77;
  EXPECT_THAT(look(), ElementsAre("Eth1 1", "Eth1 5"));
  EXPECT_EQ(shown.trees[0].ports[0].forwardTransitions, 77U);
  EXPECT_EQ(shown.trees[0].ports[0].bpduSent, before.bpduSent);
  now += seconds(9);
  look();
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, PortThatComesHasItsCountersAndIsAskedAbout) {
  engine.ports.insert(engine.ports.begin(), engine.ports[0]);
  engine.ports[0].name = "Eth0";
  for (auto& tree : engine.trees) {
    tree.ports.insert(tree.ports.begin(), tree.ports[0]);
    tree.ports[0].name = "Eth0";
  }
  EXPECT_THAT(look(), ElementsAre("Eth0 1", "Eth0 5"));
  EXPECT_TRUE(shown == engine);
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, PortThatLeavesIsGoneFromEveryInstance) {
  engine.ports.erase(engine.ports.begin());
  for (auto& tree : engine.trees) {
    tree.ports.erase(tree.ports.begin());
  }
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, PortsInAnotherOrderAreTheSame) {
  std::ranges::reverse(engine.ports);
  for (auto& tree : engine.trees) {
    std::ranges::reverse(tree.ports);
  }
  EXPECT_THAT(look(), IsEmpty());
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, InstanceThatComesIsAskedAbout) {
  auto const whole = engine;
  engine.trees.erase(engine.trees.begin() + 1);
  EXPECT_THAT(look(), IsEmpty());
  engine = whole;
  EXPECT_THAT(look(), ElementsAre("Eth1 1", "Eth2 1", "Eth3 1"));
  EXPECT_TRUE(shown == engine);
}

TEST_F(SeldomAskedTest, PortThatWasNeverToldOfIsAskedAboutAgain) {
  tree(engine, 1).ports.clear();
  SeldomAsked another(seconds(10));
  std::swap(seldom, another);
  look();
  EXPECT_THAT(look(), ElementsAre("Eth1 1", "Eth2 1", "Eth3 1"));
}

}  // namespace
}  // namespace Agent
