#include "agent/views/status/StatusScreen.h"

#include <algorithm>
#include <string>

#include "agent/views/status/StatusTestSupport.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class StatusScreenTest : public StatusTest {
 protected:
  std::string screen(std::uint64_t now = at(60)) const {
    return statusScreen("br4", status(), {false, now});
  }
  std::string coloured() const { return statusScreen("br4", status(), {true, at(60)}); }
};

TEST_F(StatusScreenTest, ShowsBridgeRegionTreesAndPorts) {
  stageRegion();
  EXPECT_EQ(screen(), R"(Bridge br4: MSTP, 32768 3E:7A:D2:FA:71:E9
As of 2026-11-22T06:01:00Z
Region Region, revision 3
Times: hello 2 s, max age 20 s, forward delay 15 s, hold count 6, max hops 20

| Tree               | Priority | Root                    | Root port | Cost | Topology changes | Last                           |
| ------------------ | -------- | ----------------------- | --------- | ---- | ---------------- | ------------------------------ |
| Cist               | 32768    | 16384 0A:94:7F:3A:72:94 | Eth1      | 0    | 0                | -                              |
| Cist in the region |          | 16384 0A:94:7F:3A:72:94 |           | 2000 |                  |                                |
| MST1               | 4096     | this bridge             | -         | 0    | 1                | 2026-11-22T06:00:01Z, 59 s ago |
| MST2               | 4096     | this bridge             | -         | 0    | 2                | 2026-11-22T06:00:02Z, 58 s ago |
| MST3               | 4096     | this bridge             | -         | 0    | 3                | 2026-11-22T06:00:03Z, 57 s ago |
| MST5               | 32768    | 16384 0A:94:7F:3A:72:94 | Eth1      | 2000 | 5                | 2026-11-22T06:00:05Z, 55 s ago |

| Port  | Trees      | Role       | State      | Edge | Guard | Trouble |
| ----- | ---------- | ---------- | ---------- | ---- | ----- | ------- |
| Eth1  | Cist, MST5 | root       | forwarding | no   | -     |         |
|       | MST1-MST3  | designated | forwarding |      |       |         |
| Eth2  | Cist, MST5 | alternate  | blocking   | no   | -     |         |
|       | MST1-MST3  | designated | forwarding |      |       |         |
| Eth10 | all        | designated | forwarding | yes  | BPDU  |         |
)");
}

TEST_F(StatusScreenTest, RstpHasOneTreeAndNoRegion) {
  runs(Stp::OcStpEnabledProtocol::rstp);
  Stp::OCTreeState tree{Stp::TreeId::rst()};
  tree.bridge = bridge(32768, Stp::TreeId::rst(), ownAddress);
  tree.designatedRoot = bridge(0, Stp::TreeId::rst(), farAddress);
  tree.rootPort = 3;
  tree.rootCost = 4000;
  tree.topologyChanges = 0;
  targets.treeStateDir->recordIs(tree);
  EXPECT_EQ(screen(), R"(Bridge br4: RSTP, 32768 3E:7A:D2:FA:71:E9
As of 2026-11-22T06:01:00Z

| Tree | Priority | Root                | Root port | Cost | Topology changes | Last |
| ---- | -------- | ------------------- | --------- | ---- | ---------------- | ---- |
| Rst  | 32768    | 0 02:00:00:00:00:01 | #3        | 4000 | 0                | -    |
)");
}

TEST_F(StatusScreenTest, WhatDoesNotRunIsToldToBeConfigured) {
  runs(Stp::OcStpEnabledProtocol::mstp, false);
  targets.treeConfigDir->recordIs({Stp::TreeId(), 8192});
  portIs("Eth1");
  EXPECT_EQ(screen(), R"(Bridge br4: MSTP, not running
As of 2026-11-22T06:01:00Z

| Tree | Priority | Root | Root port | Cost | Topology changes | Last |
| ---- | -------- | ---- | --------- | ---- | ---------------- | ---- |
| Cist | 8192     | -    | -         | -    | -                | -    |

| Port | Trees | Role | State | Edge | Guard | Trouble |
| ---- | ----- | ---- | ----- | ---- | ----- | ------- |
| Eth1 | -     | -    | -     | -    | -     |         |
)");
}

TEST_F(StatusScreenTest, NothingButTheBridgeIsShownOfNothing) {
  EXPECT_EQ(screen(), "Bridge br4: no protocol, not running\nAs of 2026-11-22T06:01:00Z\n");
}

TEST_F(StatusScreenTest, TroubleIsToldAndPartsItsTreeFromTheOthers) {
  stageRegion();
  treePortAmend(Stp::TreeId::mst(2), "Eth10", [](Stp::OCTreePortState& state) {
    state.disputed = true;
    state.portState = State::blocking;
  });
  targets.protectionStateDir->recordIs({port("Eth2"), Stp::OcGuard::root, false, true});
  treePortAmend(Stp::TreeId::mst(5), "Eth1", [](Stp::OCTreePortState& state) {
    state.role.reset();
    state.master = true;
  });
  EXPECT_THAT(screen(), HasSubstr(R"(
| Port  | Trees                  | Role       | State      | Edge | Guard | Trouble          |
| ----- | ---------------------- | ---------- | ---------- | ---- | ----- | ---------------- |
| Eth1  | Cist                   | root       | forwarding | no   | -     |                  |
|       | MST1-MST3              | designated | forwarding |      |       |                  |
|       | MST5                   | master     | forwarding |      |       |                  |
| Eth2  | Cist, MST5             | alternate  | blocking   | no   | root  | BPDU guard error |
|       | MST1-MST3              | designated | forwarding |      |       | BPDU guard error |
| Eth10 | Cist, MST1, MST3, MST5 | designated | forwarding | yes  | BPDU  |                  |
|       | MST2                   | designated | blocking   |      |       | disputed         |
)"));
}

TEST_F(StatusScreenTest, TimeSinceAChangeIsCoarse) {
  runs(Stp::OcStpEnabledProtocol::rstp);
  Stp::OCTreeState tree{Stp::TreeId::rst()};
  tree.lastTopologyChange = at(0);
  targets.treeStateDir->recordIs(tree);
  EXPECT_THAT(screen(at(0)), HasSubstr("06:00:00Z, 0 s ago"));
  EXPECT_THAT(screen(at(119)), HasSubstr("06:00:00Z, 119 s ago"));
  EXPECT_THAT(screen(at(120)), HasSubstr("06:00:00Z, 2 min ago"));
  EXPECT_THAT(screen(at(7199)), HasSubstr("06:00:00Z, 119 min ago"));
  EXPECT_THAT(screen(at(7200)), HasSubstr("06:00:00Z, 2 h ago"));
  EXPECT_THAT(screen(at(172'800)), HasSubstr("06:00:00Z, 2 d ago"));
  EXPECT_THAT(screen(at(0) - 1), Not(HasSubstr("ago")));
}

TEST_F(StatusScreenTest, ColoursAreForWhatNeedsAttention) {
  stageRegion();
  auto const learns = [](Stp::OCTreePortState& state) { state.portState = State::learning; };
  treePortAmend(Stp::TreeId(), "Eth1", learns);
  treePortAmend(Stp::TreeId::mst(2), "Eth10", learns);
  std::string const text = coloured();
  EXPECT_THAT(text, StartsWith("\033[1mBridge br4: MSTP, 32768 3E:7A:D2:FA:71:E9\033[0m\n"));
  EXPECT_THAT(text, HasSubstr("\n\033[33m| Eth1 "));
  EXPECT_THAT(text, HasSubstr("\n\033[33m| Eth2 "));
  EXPECT_THAT(text, HasSubstr("\n\033[33m|       | MST2 "));
  EXPECT_THAT(text, HasSubstr("\n\033[1m| Tree "));
  EXPECT_THAT(text, HasSubstr("\n\033[1m| Port "));
  EXPECT_EQ(std::ranges::count(text, '\033'), 12) << "two a line, of three headings and rows";
  EXPECT_THAT(text, Not(HasSubstr("\033[31m")));
  targets.protectionStateDir->recordIs({port("Eth2"), Stp::OcGuard::none, false, true});
  EXPECT_THAT(coloured(), HasSubstr("\033[31m| Eth2 "));
  treePortAmend(Stp::TreeId(), "Eth10", [](Stp::OCTreePortState& state) {
    state.role.reset();
    state.portState = State::disabled;
  });
  EXPECT_THAT(coloured(), HasSubstr("\033[2m| Eth10 "));
  EXPECT_THAT(screen(), Not(HasSubstr("\033")));
}

TEST_F(StatusScreenTest, NamesAreNoCommandsForATerminal) {
  runs(Stp::OcStpEnabledProtocol::mstp);
  Stp::OCMstpStateRecord parameters;
  parameters.name = "\033[2J\xE2\x80\xAE";
  targets.mstpState->recordIs(parameters);
  portIs("\r\xC3\xA9");
  std::string const text = statusScreen("br\n", status(), {});
  EXPECT_THAT(text, HasSubstr(R"(Bridge br\x0a: MSTP)"));
  EXPECT_THAT(text, HasSubstr(R"(Region \x1b[2J\xe2\x80\xae, revision -)"));
  EXPECT_THAT(text, HasSubstr("| \\x0d\xC3\xA9 | -   "));
}

}  // namespace
}  // namespace Agent
