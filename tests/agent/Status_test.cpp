#include <gmock/gmock.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "FollowTestSupport.h"

namespace Test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string operational(std::string const& name) {
  return STP_OPERATIONAL_CAPTURES_DIR "/" + name;
}

Outcome statusOf(std::string const& name, std::vector<std::string> const& options = {}) {
  std::vector<std::string> arguments{"status", "--bridge", "br4", operational(name)};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return runAgent(arguments);
}

json jsonOf(std::string const& name) {
  Outcome const outcome = statusOf(name, {"--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return json::parse(outcome.out);
}

// What a tree, or a port of one, has under a name.
json const& under(json const& list, char const* key, std::string const& name) {
  static json const none;
  for (json const& entry : list) {
    if (entry.at(key) == name) {
      return entry;
    }
  }
  ADD_FAILURE() << "no " << key << " " << name;
  return none;
}
json treePort(json const& status, std::string const& tree, std::string const& port) {
  return under(under(status.at("trees"), "tree", tree).at("ports"), "port", port);
}

TEST(Status, ScreenOfASnapshot) {
  Outcome const outcome = statusOf("01-converged");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  // When it was told, and each tree's last change, differ from run to run.
  std::string const told =
      std::regex_replace(outcome.out, std::regex("\nAs of [0-9-]+T[0-9:]+Z"), "");
  std::regex const lastColumn(R"((\n\| (Tree|-{5}|Cist|MST)[^\n]*\|)[^|\n]*\|)");
  EXPECT_EQ(std::regex_replace(told, lastColumn, "$1"), R"(Bridge br4: MSTP, 32768 3E:7A:D2:FA:71:E9
Region campus-west, revision 7
Times: hello 2 s, max age 20 s, forward delay 15 s, hold count 6, max hops 20

| Tree               | Priority | Root                    | Root port | Cost | Topology changes |
| ------------------ | -------- | ----------------------- | --------- | ---- | ---------------- |
| Cist               | 32768    | 16384 0A:94:7F:3A:72:94 | Eth1      | 0    | 2                |
| Cist in the region |          | 16384 0A:94:7F:3A:72:94 |           | 2000 |                  |
| MST1               | 16384    | this bridge             | -         | 0    | 1                |
| MST5               | 32768    | 32768 0A:94:7F:3A:72:94 | Eth1      | 2000 | 1                |

| Port | Trees      | Role       | State      | Edge | Guard | Trouble |
| ---- | ---------- | ---------- | ---------- | ---- | ----- | ------- |
| Eth1 | Cist, MST5 | root       | forwarding | no   | -     |         |
|      | MST1       | designated | forwarding |      |       |         |
| Eth2 | Cist, MST5 | alternate  | blocking   | no   | -     |         |
|      | MST1       | designated | forwarding |      |       |         |
| Eth3 | all        | designated | forwarding | yes  | -     |         |
)");
}

TEST(Status, TreesHaveTheirRoots) {
  json const status = jsonOf("11-region-boundary");
  json const& cist = under(status.at("trees"), "tree", "Cist");
  EXPECT_EQ(cist.at("root").at("address"), "0A:94:7F:3A:72:94");
  EXPECT_EQ(cist.at("rootPort"), "Eth1");
  EXPECT_EQ(cist.at("rootCost"), 2000);
  EXPECT_EQ(cist.at("regionalRoot").at("address"), status.at("address"));
  EXPECT_EQ(cist.at("topologyChanges"), 8);
  EXPECT_THAT(cist.at("lastTopologyChange").get<std::string>(), MatchesRegex("[0-9-]+T[0-9:]+Z"));
}

TEST(Status, PortsHaveTheirRolesAndTroubles) {
  json const status = jsonOf("09-bpdu-guard-error");
  EXPECT_EQ(treePort(status, "Cist", "Eth1").at("role"), "root");
  EXPECT_EQ(treePort(status, "Cist", "Eth2").at("role"), "alternate");
  EXPECT_EQ(treePort(status, "MST1", "Eth2").at("role"), "designated");
  EXPECT_EQ(under(status.at("ports"), "port", "Eth3").at("bpduGuardError"), true);
  EXPECT_EQ(under(status.at("ports"), "port", "Eth1").at("bpduGuardError"), false);
  EXPECT_THAT(statusOf("09-bpdu-guard-error").out, HasSubstr("BPDU guard error"));
}

TEST(Status, GraphvizReadsTheGraph) {
  if (!inShell("command -v dot")) {
    GTEST_SKIP() << "there is no dot";
  }
  Folder const folder;
  std::string const file = folder.file("graph", statusOf("01-converged", {"--dot"}).out);
  EXPECT_TRUE(inShell("dot -Tcanon '" + file + "' >" + folder.path("drawn") + " && grep -q Eth3 " +
                      folder.path("drawn")));
}

TEST(Status, SnapshotThatIsRefusedShowsNothing) {
  Outcome const outcome = runAgent({"status", "--bridge", "br5", operational("01-converged")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("showbridge.json: "));
}

class StatusOfAnEngine : public Follow {
 protected:
  static std::vector<std::string> asking(std::vector<std::string> const& options) {
    std::vector<std::string> arguments{"status", "--bridge", "br0", "--mstpctl", STP_MSTPCTL};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }
};

TEST_F(StatusOfAnEngine, IsThatOfItsSnapshot) {
  Outcome const outcome = runAgent(asking({"--json"}), "", around());
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  json told = json::parse(outcome.out);
  json read =
      json::parse(runAgent({"status", "--bridge", "br0", "--json", capture("01-converged")}).out);
  for (json* const status : {&told, &read}) {
    for (json& tree : status->at("trees")) {
      tree.erase("lastTopologyChange");  // a second may pass between the two
    }
  }
  EXPECT_EQ(told, read);
  EXPECT_THAT(read.at("ports"), testing::SizeIs(5));
}

TEST_F(StatusOfAnEngine, WithoutAnAnswerEndsWithThree) {
  moodIs("down");
  Outcome const outcome = runAgent(asking({}), "", around());
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("Couldn't connect to server"));
}

TEST_F(StatusOfAnEngine, IsToldAnewWhenItChanges) {
  Process agent(asking({"--watch", "--interval", "0.05", "--json"}), around());
  json const first = json::parse(agent.readLine());
  EXPECT_EQ(under(first.at("ports"), "port", "Ethernet3").at("bpduGuard"), false);
  awaitBatches(3);  // in which nothing changes
  plays("03-bpdu-guard");
  json const second = json::parse(agent.readLine());
  EXPECT_EQ(under(second.at("ports"), "port", "Ethernet3").at("bpduGuard"), true);
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
}

TEST_F(StatusOfAnEngine, ScreensAreApartWhereNobodySeesThem) {
  Process agent(asking({"--watch", "--interval", "0.05"}), around());
  EXPECT_THAT(agent.readLine(), StartsWith("Bridge br0: MSTP, "));
  plays("11-rstp");
  std::string before;
  std::string line;
  do {
    before = std::exchange(line, agent.readLine());
  } while (!line.starts_with("Bridge"));
  EXPECT_THAT(line, StartsWith("Bridge br0: RSTP, "));
  EXPECT_EQ(before, "");
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.finish().status, 0);
}

}  // namespace
}  // namespace Test
