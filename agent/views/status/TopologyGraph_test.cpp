#include "agent/views/status/TopologyGraph.h"

#include "agent/views/status/StatusTestSupport.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::Not;

class TopologyGraphTest : public StatusTest {
 protected:
  static constexpr Stp::TreeId rst = Stp::TreeId::rst();

  std::string graph() const { return topologyGraph("br4", status()); }

  // One tree, whose root is farther away than the bridge behind Eth1 and Eth2.
  void stageTree() {
    runs(Stp::OcStpEnabledProtocol::rstp);
    Stp::BridgeId const own = bridge(32768, rst, ownAddress);
    Stp::BridgeId const next = bridge(16384, rst, nextAddress);
    Stp::BridgeId const root = bridge(0, rst, farAddress);
    Stp::OCTreeState tree{rst};
    tree.bridge = own;
    tree.designatedRoot = root;
    targets.treeStateDir->recordIs(tree);
    treePortIs(rst, "Eth1", 1, Role::root, State::forwarding, next, root);
    treePortIs(rst, "Eth2", 2, Role::alternate, State::blocking, next, root);
    treePortIs(rst, "Eth3", 3, Role::designated, State::forwarding, own, root);
    treePortIs(rst, "Eth4", 4, Role::backup, State::blocking, own, root);
    treePortAmend(rst, "Eth4",
                  [](Stp::OCTreePortState& state) { state.designatedPort = Stp::PortId(128, 3); });
    treePortIs(rst, "Eth5", 5, std::nullopt, State::disabled);
  }
};

TEST_F(TopologyGraphTest, ShowsTheBridgesBehindThePortsAndTheWayToTheRoot) {
  stageTree();
  EXPECT_EQ(graph().substr(graph().find("  subgraph")), R"(  subgraph "cluster Rst" {
    label="Rst";
    "Rst bridge" [label="br4\n32768 3E:7A:D2:FA:71:E9", style="rounded,filled", fillcolor="#cfe2f3"];
    "Rst 4.000.0A:94:7F:3A:72:94" [label="16384 0A:94:7F:3A:72:94"];
    "Rst bridge" -- "Rst 4.000.0A:94:7F:3A:72:94" [label="Eth1\nroot\nforwarding", headlabel="8.005"];
    "Rst 0.000.02:00:00:00:00:01" [label="0 02:00:00:00:00:01", peripheries=2];
    "Rst 4.000.0A:94:7F:3A:72:94" -- "Rst 0.000.02:00:00:00:00:01" [style=dotted];
    "Rst bridge" -- "Rst 4.000.0A:94:7F:3A:72:94" [label="Eth2\nalternate\nblocking", headlabel="8.006", style=dashed];
    "Rst segment 8.003" [shape=point];
    "Rst bridge" -- "Rst segment 8.003" [label="Eth3\ndesignated\nforwarding"];
    "Rst bridge" -- "Rst segment 8.003" [label="Eth4\nbackup\nblocking", style=dashed];
    "Rst segment 8.005" [shape=point];
    "Rst bridge" -- "Rst segment 8.005" [label="Eth5\ndisabled", style=dashed, color=gray];
  }
}
)");
}

TEST_F(TopologyGraphTest, RootHasADoubleBorder) {
  stageRegion();
  EXPECT_THAT(graph(), HasSubstr(R"("Cist 4.000.0A:94:7F:3A:72:94" [label="16384 )"
                                 R"(0A:94:7F:3A:72:94", peripheries=2])"));
  EXPECT_THAT(graph(), HasSubstr(R"(\n4096 3E:7A:D2:FA:71:E9", style="rounded,filled", )"
                                 R"(fillcolor="#cfe2f3", peripheries=2])"));
  EXPECT_THAT(graph(), Not(HasSubstr("dotted")));
}

TEST_F(TopologyGraphTest, TroubleIsRed) {
  stageTree();
  EXPECT_THAT(graph(), Not(HasSubstr("red")));
  targets.protectionStateDir->recordIs({port("Eth5"), Stp::OcGuard::none, false, true});
  treePortAmend(rst, "Eth3", [](Stp::OCTreePortState& state) { state.disputed = true; });
  EXPECT_THAT(graph(), HasSubstr(R"([label="Eth5\ndisabled\nBPDU guard error", style=dashed, )"
                                 R"(color=red])"));
  EXPECT_THAT(graph(), HasSubstr(R"([label="Eth3\ndesignated\nforwarding\ndisputed", color=red])"));
}

TEST_F(TopologyGraphTest, NamesCannotLeaveTheirQuotes) {
  runs(Stp::OcStpEnabledProtocol::rstp);
  treePortIs(rst, "a\"\\\n", 1, Role::designated, State::forwarding);
  EXPECT_THAT(graph(), HasSubstr(R"([label="a\"\\\\\\x0a\ndesignated\nforwarding"])"));
  EXPECT_THAT(topologyGraph("\"", status()), HasSubstr(R"([label="\"", )"));
}

TEST_F(TopologyGraphTest, NothingIsAnEmptyGraph) {
  EXPECT_THAT(graph(), testing::StartsWith("graph topology {\n"));
  EXPECT_THAT(graph(), testing::EndsWith("];\n}\n"));
}

}  // namespace
}  // namespace Agent
