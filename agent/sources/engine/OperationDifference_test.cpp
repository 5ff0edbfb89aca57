// What has to change in what is told of a bridge's operation.
#include <chrono>
#include <string>
#include <vector>

#include "Stp/vlans/InstanceName.h"
#include "agent/program/TestSupport.h"
#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/SnapshotTestSupport.h"
#include "agent/state/EntityPaths.h"
#include "agent/text/Identifiers.h"

namespace Agent {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using Time = std::chrono::system_clock::time_point;

EngineSnapshot moment(std::string const& name) {
  return readSnapshot(operationalCaptures / name, "br4");
}

class OperationDifference : public SessionTest {
 protected:
  void follow(EngineSnapshot const& snapshot) {
    session.apply(differences(snapshot, sources(), now));
  }

  // Applies what differs in the operation, and tells each change as "path value".
  std::vector<std::string> changesTo(EngineSnapshot const& snapshot) {
    std::vector<std::string> told;
    for (Change const& change : differences(snapshot, sources(), now)) {
      auto path = Json::parse(EntityPaths(session.database()).of(change.entity()));
      if (path.front() == "operational") {
        path.push_back(change.attribute());
        if (auto const* const key = std::get_if<Lumo::String>(&change.key())) {
          path.push_back(key->view());
        }
        told.push_back((change.kind() == Change::Kind::set      ? "set "
                        : change.kind() == Change::Kind::create ? "create "
                                                                : "delete ") +
                       pathText(path.get_ref<Path const&>(), path.size()));
      }
      session.apply(Changes{change});
    }
    return told;
  }

  Stp::Operational::TreeTold const& tree(std::string const& name) const {
    return sources().operational->tree(name)->told();
  }
  Stp::Operational::TreePortTold const& port(std::string const& tree,
                                             std::string const& name) const {
    return sources().operational->tree(tree)->port(name)->told();
  }

  Time now{seconds(1'700'000'000)};
};

TEST_F(OperationDifference, EntitiesComeWholeBeforeWhatIsBelowThem) {
  EngineSnapshot snapshot;
  snapshot.bridge.helloTime = 2;
  snapshot.trees.resize(2);
  snapshot.trees[0].rootPort = 1;
  snapshot.trees[0].ports.resize(1);
  snapshot.trees[0].ports[0].name = "E1";
  snapshot.trees[0].ports[0].externalCost = 2000;
  snapshot.trees[1].id = 5;
  snapshot.trees[1].topologyChanges = 3;
  EXPECT_THAT(changesTo(snapshot),
              ElementsAre("set operational.helloTime", "create operational.tree.Cist",
                          "create operational.tree.Cist.port.E1", "create operational.tree.MST5"));
  EXPECT_EQ(tree("Cist").rootPort, 1);
  EXPECT_EQ(port("Cist", "E1").externalCost, 2000U);
  EXPECT_EQ(tree("MST5").topologyChanges, 3U);
  snapshot.trees[0].ports.clear();
  snapshot.trees.pop_back();
  EXPECT_THAT(changesTo(snapshot),
              ElementsAre("delete operational.tree.MST5", "delete operational.tree.Cist.port.E1"));
}

TEST_F(OperationDifference, MomentReadTwiceChangesNothing) {
  for (auto const& folder : std::filesystem::directory_iterator(operationalCaptures)) {
    SCOPED_TRACE(folder.path());
    auto const snapshot = readSnapshot(folder.path(), "br4");
    follow(snapshot);
    now += seconds(5);
    EXPECT_THAT(differences(snapshot, sources(), now), IsEmpty());
  }
}

TEST_F(OperationDifference, EveryAttributeThatIsToldIsTaken) {
  auto const snapshot = moment("11-region-boundary");
  follow(snapshot);
  EXPECT_EQ(sources().operational->told(), snapshot.bridge);
  for (EngineSnapshot::Tree expected : snapshot.trees) {
    auto const name = Stp::instanceIdToMstiName(expected.id);
    auto const present = sources().operational->tree(name);
    expected.lastTopologyChange = present->told().lastTopologyChange;
    EXPECT_TRUE(present->told() == expected) << name;
    ASSERT_EQ(expected.ports.size(), 3U);
    for (auto const& port : expected.ports) {
      EXPECT_TRUE(present->port(port.name)->told() == port) << name << " " << port.name;
    }
  }
  for (auto const& port : snapshot.ports) {
    EXPECT_TRUE(sources().operational->port(port.name)->told() == port) << port.name;
  }
}

TEST_F(OperationDifference, LinkFailureChangesWhatAReaderOfTheFoldersExpects) {
  follow(moment("04-root-is-there"));
  EXPECT_THAT(
      changesTo(moment("05-link-1-failed")),
      ElementsAre(
          "set operational.tree.Cist.port.Eth1.role", "set operational.tree.Cist.port.Eth1.state",
          "set operational.tree.Cist.port.Eth2.state",
          "set operational.tree.Cist.port.Eth2.forwardTransitions",
          "set operational.tree.Cist.port.Eth2.bpduSent",
          "set operational.tree.Cist.port.Eth2.bpduReceived",
          "set operational.tree.MST1.port.Eth1.role", "set operational.tree.MST1.port.Eth1.state",
          "set operational.tree.MST5.rootPort", "set operational.tree.MST5.topologyChanges",
          "set operational.tree.MST5.lastTopologyChange",
          "set operational.tree.MST5.port.Eth1.role", "set operational.tree.MST5.port.Eth1.state",
          "set operational.tree.MST5.port.Eth2.role", "set operational.tree.MST5.port.Eth2.state"));
  EXPECT_EQ(tree("MST5").rootPort, 2);
  EXPECT_EQ(port("Cist", "Eth1").role, Stp::Operational::PortRole::disabled);
  EXPECT_EQ(port("MST5", "Eth2").role, Stp::Operational::PortRole::root);
}

TEST_F(OperationDifference, GuardThatTakesAPortOutOfUseChangesIt) {
  follow(moment("08-settled"));
  EXPECT_THAT(
      changesTo(moment("09-bpdu-guard-error")),
      ElementsAre(
          "set operational.port.Eth3.bpduGuardError",
          "set operational.tree.Cist.port.Eth1.bpduSent",
          "set operational.tree.Cist.port.Eth1.bpduReceived",
          "set operational.tree.Cist.port.Eth2.bpduSent",
          "set operational.tree.Cist.port.Eth2.bpduReceived",
          "set operational.tree.Cist.port.Eth3.role", "set operational.tree.Cist.port.Eth3.state",
          "set operational.tree.Cist.port.Eth3.bpduReceived",
          "set operational.tree.MST1.port.Eth3.role", "set operational.tree.MST1.port.Eth3.state",
          "set operational.tree.MST5.port.Eth3.role", "set operational.tree.MST5.port.Eth3.state"));
  EXPECT_EQ(sources().operational->port("Eth3")->told().bpduGuardError, true);
}

TEST_F(OperationDifference, TimeOfTheLastTopologyChangeIsFixedWhileTheCountIsEqual) {
  auto snapshot = moment("01-converged");  // 17 s ago, the second
  follow(snapshot);
  auto const fixed = 1'700'000'000'000'000'000U - 17'000'000'000U;
  EXPECT_EQ(tree("Cist").lastTopologyChange, fixed);
  EXPECT_EQ(tree("MST1").lastTopologyChange, fixed + 1'000'000'000U);
  now += std::chrono::milliseconds(10'400);
  snapshot.trees[0].sinceTopologyChange = 28;
  EXPECT_THAT(changesTo(snapshot), IsEmpty());
  EXPECT_EQ(tree("Cist").lastTopologyChange, fixed);
  snapshot.trees[0].topologyChanges = 3;
  snapshot.trees[0].sinceTopologyChange = 0;
  EXPECT_THAT(changesTo(snapshot), ElementsAre("set operational.tree.Cist.topologyChanges",
                                               "set operational.tree.Cist.lastTopologyChange"));
  EXPECT_EQ(tree("Cist").lastTopologyChange, 1'700'000'010'400'000'000U);
}

TEST_F(OperationDifference, TimeOfTheLastTopologyChangeIsAbsentWhereThereWasNone) {
  auto snapshot = moment("01-converged");
  follow(snapshot);
  snapshot.trees[0].topologyChanges = 0;
  follow(snapshot);
  EXPECT_EQ(tree("Cist").lastTopologyChange, std::nullopt);
  EXPECT_NE(tree("MST1").lastTopologyChange, std::nullopt);
  snapshot.trees[1].topologyChanges.reset();
  follow(snapshot);
  EXPECT_EQ(tree("MST1").lastTopologyChange, std::nullopt);
}

TEST_F(OperationDifference, TimeOfTheLastTopologyChangeBefore1970IsAbsent) {
  auto snapshot = moment("01-converged");
  snapshot.trees[0].sinceTopologyChange = 1'700'000'000;
  snapshot.trees[1].sinceTopologyChange = 1'700'000'001;
  snapshot.trees[2].sinceTopologyChange.reset();
  follow(snapshot);
  EXPECT_EQ(tree("Cist").lastTopologyChange, 0U);
  EXPECT_EQ(tree("MST1").lastTopologyChange, std::nullopt);
  EXPECT_EQ(tree("MST5").lastTopologyChange, std::nullopt);
}

TEST_F(OperationDifference, TreeThatComesBackForgetsItsTime) {
  auto const snapshot = moment("01-converged");
  follow(snapshot);
  auto without = snapshot;
  without.trees.pop_back();
  follow(without);
  EXPECT_FALSE(sources().operational->tree("MST5"));
  now += seconds(100);
  follow(snapshot);
  EXPECT_EQ(tree("MST5").lastTopologyChange, 1'700'000'100'000'000'000U - 17'000'000'000U);
}

TEST_F(OperationDifference, OutsideMstpTheCistIsTheOnlyTree) {
  follow(readSnapshot(captures / "10-msti5-deleted", "br0"));
  EXPECT_TRUE(sources().operational->tree("MST1"));
  follow(readSnapshot(captures / "11-rstp", "br0"));
  EXPECT_EQ(sources().operational->tree().size(), 1U);
  EXPECT_EQ(tree("Cist").topologyChanges, 10U);
  EXPECT_EQ(textOf(tree("Cist").designatedRoot.value()), "4.000.52:05:0B:AE:5C:AA");
}

TEST_F(OperationDifference, PortThatLeavesIsGoneFromItsTrees) {
  follow(readSnapshot(captures / "07-link-up", "br0"));
  EXPECT_THAT(changesTo(readSnapshot(captures / "08-port-removed", "br0")),
              IsSupersetOf({"delete operational.tree.MST5.port.Ethernet5",
                            "delete operational.tree.MST1.port.Ethernet5",
                            "delete operational.tree.Cist.port.Ethernet5",
                            "delete operational.port.Ethernet5"}));
}

TEST_F(OperationDifference, FolderWithoutTheFilesLosesThePortsOfInstances) {
  follow(moment("01-converged"));
  auto files = filesOf(operationalCaptures / "01-converged");
  files.erase("showtreeport-1.json");
  follow(parsed(files, "br4"));
  EXPECT_EQ(sources().operational->tree("MST1")->port().size(), 0U);
  EXPECT_EQ(sources().operational->tree("MST5")->port().size(), 3U);
}

}  // namespace
}  // namespace Agent
