// What the records of the operation are as leaves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/document/Leaves.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Stp::TreeId const rst = Stp::TreeId::rst();
Stp::TreeId const cist;
Stp::TreeId const mst = Stp::TreeId::mst(5);
Lanx::IntfId const port = Lanx::IntfId::of("E1");

constexpr Stp::BridgeId bridge(0x8000, 5, 0x3E7AD2FA71E9);
constexpr Stp::BridgeId root(0x1000, 0, 0x00000000000A);
constexpr Stp::BridgeId segment(0xF000, 0xFFF, 0xFFFFFFFFFFFF);

// All that a record says but the key's leaf: "bridge-priority=4096".
std::vector<std::string> leavesOf(TargetRecord const& record, Key const& key = {}) {
  std::vector<std::string> all;
  for (Leaf const& leaf : leafTableOf(record.index(), key)->leaves) {
    if (leaf.isKey()) {
      continue;
    }
    if (auto const value = LeafTable::value(leaf, record)) {
      all.push_back(std::string(leaf.name) + "=" + jsonOf(leaf.type, *value).dump());
    }
  }
  return all;
}

template <class Record>
Record parameters() {
  Record record;
  record.helloTime = 2;
  record.maxAge = 20;
  record.forwardingDelay = 15;
  record.holdCount = 6;
  record.maxHop = 19;
  record.name = Lumo::String("region");
  record.revision = 4'294'967'295;
  return record;
}

TEST(OperationalLeaves, ParametersOfTheProtocol) {
  auto const times =
      ElementsAre("hello-time=2", "max-age=20", "forwarding-delay=15", "hold-count=6");
  EXPECT_THAT(leavesOf(parameters<Stp::OCRstpConfigRecord>()), times);
  EXPECT_THAT(leavesOf(parameters<Stp::OCRstpStateRecord>()), times);
  auto const all = ElementsAre("name=\"region\"", "revision=4294967295", "max-hop=19",
                               "hello-time=2", "max-age=20", "forwarding-delay=15", "hold-count=6");
  EXPECT_THAT(leavesOf(parameters<Stp::OCMstpConfigRecord>()), all);
  EXPECT_THAT(leavesOf(parameters<Stp::OCMstpStateRecord>()), all);
  EXPECT_THAT(leavesOf(Stp::OCMstpConfigRecord()), IsEmpty());
  EXPECT_THAT(leavesOf(Stp::OCRstpStateRecord()), IsEmpty());
}

TEST(OperationalLeaves, NumbersAreWithinTheModelsRanges) {
  using Record = Stp::OCMstpConfigRecord;
  struct Range {
    std::optional<std::uint8_t> Record::*member;
    std::string leaf;
    unsigned least;
    unsigned greatest;
  };
  for (auto const& [member, leaf, least, greatest] : std::vector<Range>{
           {&Record::helloTime, "hello-time", 1, 10},
           {&Record::maxAge, "max-age", 6, 40},
           {&Record::forwardingDelay, "forwarding-delay", 4, 30},
           {&Record::holdCount, "hold-count", 1, 10},
           {&Record::maxHop, "max-hop", 1, 255},
       }) {
    SCOPED_TRACE(leaf);
    for (unsigned value = 0; value < 256; ++value) {
      Record record;
      record.*member = static_cast<std::uint8_t>(value);
      std::vector<std::string> const said{leaf + "=" + std::to_string(value)};
      bool const isWithin = value >= least && value <= greatest;
      EXPECT_EQ(leavesOf(record), isWithin ? said : std::vector<std::string>()) << value;
    }
  }
}

TEST(OperationalLeaves, NameOfARegionHasCharactersAndNotBytes) {
  auto const isNamed = [](std::string const& name) {
    Stp::OCMstpStateRecord record;
    record.name = Lumo::String(name);
    return !leavesOf(record).empty();
  };
  std::string accents;
  for (int count = 0; count < 32; ++count) {
    accents += "\xC3\xA9";
  }
  EXPECT_FALSE(isNamed(""));
  EXPECT_TRUE(isNamed("a"));
  EXPECT_TRUE(isNamed(std::string(32, 'a')));
  EXPECT_FALSE(isNamed(std::string(33, 'a')));
  EXPECT_TRUE(isNamed(accents));
  EXPECT_FALSE(isNamed(accents + "\xF0\x9F\x90\x9D"));
  EXPECT_FALSE(isNamed("bell\a"));
}

TEST(OperationalLeaves, TreesConfiguration) {
  for (Stp::TreeId const tree : {rst, cist}) {
    for (std::uint16_t const priority : {0, 61'440}) {
      EXPECT_THAT(leavesOf(Stp::OCTreeConfig{tree, priority}, tree),
                  ElementsAre("bridge-priority=" + std::to_string(priority)));
    }
    EXPECT_THAT(leavesOf(Stp::OCTreeConfig{tree, 61'441}, tree), IsEmpty());
    EXPECT_THAT(leavesOf(Stp::OCTreeConfig{tree, {}}, tree), IsEmpty());
  }
}

Stp::OCTreeState treeState(Stp::TreeId tree) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return {tree, bridge, root, 65'535, 4'294'967'295, most, 1'763'794'800'123'456'789, segment, 7};
}

TEST(OperationalLeaves, TreesState) {
  std::vector<std::string> const own{"bridge-priority=32768"};
  std::vector<std::string> const all{"bridge-address=\"3E:7A:D2:FA:71:E9\"",
                                     "designated-root-priority=4096",
                                     "designated-root-address=\"00:00:00:00:00:0A\"",
                                     "root-port=65535",
                                     "root-cost=4294967295",
                                     "topology-changes=\"18446744073709551615\"",
                                     "last-topology-change=\"1763794800123456789\""};
  std::vector<std::string> const regional{"regional-root-priority=61440",
                                          "regional-root-address=\"FF:FF:FF:FF:FF:FF\"",
                                          "regional-root-cost=7"};
  std::vector<std::string> expected = all;
  EXPECT_EQ(leavesOf(treeState(mst), mst), expected);
  expected.insert(expected.begin(), own.begin(), own.end());
  EXPECT_EQ(leavesOf(treeState(rst), rst), expected);
  expected.insert(expected.end(), regional.begin(), regional.end());
  EXPECT_EQ(leavesOf(treeState(cist), cist), expected);
  for (Stp::TreeId const tree : {rst, cist, mst}) {
    EXPECT_THAT(leavesOf(Stp::OCTreeState{tree}, tree), IsEmpty());
  }
}

TEST(OperationalLeaves, RootHasRootPortZeroAndNoChangeHasNoTime) {
  Stp::OCTreeState state{mst};
  state.rootPort = 0;
  state.rootCost = 0;
  state.topologyChanges = 0;
  EXPECT_THAT(leavesOf(state, mst),
              ElementsAre("root-port=0", "root-cost=0", "topology-changes=\"0\""));
}

TEST(OperationalLeaves, PortsConfiguration) {
  for (Stp::TreeId const tree : {rst, cist, mst}) {
    Stp::TreePortId const id{tree, port};
    for (std::uint8_t const priority : {1, 128, 240}) {
      EXPECT_THAT(leavesOf(Stp::OCTreePortConfig{id, priority}, id),
                  ElementsAre("port-priority=" + std::to_string(priority)));
    }
    for (std::uint8_t const priority : {0, 241}) {
      EXPECT_THAT(leavesOf(Stp::OCTreePortConfig{id, priority}, id), IsEmpty());
    }
  }
}

TEST(OperationalLeaves, PortsState) {
  std::vector<std::string> const all{
      "port-num=7",
      "port-priority=128",
      "cost=20000",
      "role=\"openconfig-spanning-tree-types:ALTERNATE\"",
      "port-state=\"openconfig-spanning-tree-types:BLOCKING\"",
      "designated-root-priority=4096",
      "designated-root-address=\"00:00:00:00:00:0A\"",
      "designated-cost=4294967295",
      "designated-bridge-priority=61440",
      "designated-bridge-address=\"FF:FF:FF:FF:FF:FF\"",
      "designated-port-priority=240",
      "designated-port-num=4095",
  };
  auto const with = [&](std::vector<std::string> const& behind) {
    std::vector<std::string> expected = all;
    expected.insert(expected.end(), behind.begin(), behind.end());
    return expected;
  };
  auto const said = [](Stp::TreeId tree) {
    Stp::TreePortId const id{tree, port};
    return leavesOf(
        Stp::OCTreePortState{id, Stp::PortId(128, 7), 20'000, Stp::OcPortRole::alternate,
                             Stp::OcPortState::blocking, root, 4'294'967'295, segment,
                             Stp::PortId(240, 4'095), 3, true, false},
        id);
  };
  EXPECT_EQ(said(rst), with({"forward-transisitions=\"3\"", "stp-openconfig-cist:disputed=true"}));
  EXPECT_EQ(said(cist), with({"forward-transisitions=\"3\"", "disputed=true"}));
  EXPECT_EQ(said(mst),
            with({"stp-openconfig-cist:disputed=true", "stp-openconfig-cist:master=false"}));
  for (Stp::TreeId const tree : {rst, cist, mst}) {
    Stp::TreePortId const id{tree, port};
    EXPECT_THAT(leavesOf(Stp::OCTreePortState{id}, id), IsEmpty());
  }
}

TEST(OperationalLeaves, PriorityZeroOfAPortCannotBeSaid) {
  Stp::TreePortId const id{cist, port};
  Stp::OCTreePortState state{id};
  state.port = Stp::PortId(0, 1);
  state.designatedPort = Stp::PortId(0, 0);
  EXPECT_THAT(leavesOf(state, id), ElementsAre("port-num=1", "designated-port-num=0"));
}

TEST(OperationalLeaves, CostIsWithinItsRange) {
  Stp::TreePortId const id{cist, port};
  Stp::OCTreePortState state{id};
  for (std::uint32_t const cost : {1U, 200'000'000U}) {
    state.cost = cost;
    EXPECT_THAT(leavesOf(state, id), ElementsAre("cost=" + std::to_string(cost)));
  }
  for (std::uint32_t const cost : {0U, 200'000'001U}) {
    state.cost = cost;
    EXPECT_THAT(leavesOf(state, id), IsEmpty());
  }
}

TEST(OperationalLeaves, RolesStatesAndGuardsHaveTheirNames) {
  Stp::TreePortId const id{mst, port};
  std::vector<std::string> roles;
  for (std::uint8_t role = 0; role < 5; ++role) {
    Stp::OCTreePortState state{id};
    state.role = Stp::OcPortRole(role);
    auto const said = leavesOf(state, id);
    roles.push_back(said.empty() ? "" : said.at(0));
  }
  std::string const types = "\"openconfig-spanning-tree-types:";
  EXPECT_THAT(roles,
              ElementsAre("role=" + types + "ROOT\"", "role=" + types + "DESIGNATED\"",
                          "role=" + types + "ALTERNATE\"", "role=" + types + "BACKUP\"", ""));
  std::vector<std::string> states;
  for (std::uint8_t number = 0; number < 6; ++number) {
    Stp::OCTreePortState state{id};
    state.portState = Stp::OcPortState(number);
    auto const said = leavesOf(state, id);
    states.push_back(said.empty() ? "" : said.at(0));
  }
  std::string const state = "port-state=" + types;
  EXPECT_THAT(states, ElementsAre(state + "DISABLED\"", state + "LISTENING\"", state + "LEARNING\"",
                                  state + "BLOCKING\"", state + "FORWARDING\"", ""));
  std::vector<std::string> guards;
  for (std::uint8_t guard = 0; guard < 4; ++guard) {
    auto const said = leavesOf(Stp::OCProtectionConfig{port, Stp::OcGuard(guard), {}}, port);
    guards.push_back(said.empty() ? "" : said.at(0));
  }
  EXPECT_THAT(guards, ElementsAre("guard=\"ROOT\"", "guard=\"LOOP\"", "guard=\"NONE\"", ""));
}

TEST(OperationalLeaves, CountersAreThoseOfThePackets) {
  for (Stp::TreeId const tree : {rst, cist}) {
    Stp::TreePortId const id{tree, port};
    EXPECT_THAT(leavesOf(Stp::OCTreePortCounters{id, 0, 18'446'744'073'709'551'615U}, id),
                ElementsAre("bpdu-sent=\"0\"", "bpdu-received=\"18446744073709551615\""));
  }
  std::vector<std::string> counters;
  for (LeafTable const& table : leafTables()) {
    for (Leaf const& leaf : table.leaves) {
      if (leaf.type.isCounter) {
        counters.push_back(table.path(leaf));
      }
    }
  }
  std::string const rstp = "/stp/rstp/interfaces/interface/state/counters/";
  std::string const mstp =
      "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface/state/counters/";
  EXPECT_THAT(counters, ElementsAre(rstp + "bpdu-sent", rstp + "bpdu-received", mstp + "bpdu-sent",
                                    mstp + "bpdu-received"));
}

TEST(OperationalLeaves, ProtectionOfInterfaces) {
  EXPECT_THAT(leavesOf(Stp::OCProtectionConfig{port, Stp::OcGuard::root, true}, port),
              ElementsAre("guard=\"ROOT\"", "bpdu-filter=true"));
  EXPECT_THAT(leavesOf(Stp::OCProtectionState{port, Stp::OcGuard::none, false, true}, port),
              ElementsAre("guard=\"NONE\"", "bpdu-filter=false",
                          "stp-openconfig-cist:bpdu-guard-error=true"));
  EXPECT_THAT(leavesOf(Stp::OCProtectionState{port}, port), IsEmpty());
}

}  // namespace
}  // namespace Agent
