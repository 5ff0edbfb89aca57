// The tables of leaves, beside the public model.
#include "agent/views/document/Leaves.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;

using Paths = std::vector<std::string>;

// The leaves of a container, and all containers that have some.
Paths pathsIn(std::string const& container) {
  Paths all;
  for (LeafTable const& table : leafTables()) {
    for (Leaf const& leaf : table.leaves) {
      std::string const path = table.path(leaf);
      if (path.substr(0, path.rfind('/')) == container) {
        all.push_back(path.substr(container.size() + 1));
      }
    }
  }
  return all;
}
Paths containers() {
  Paths all;
  for (LeafTable const& table : leafTables()) {
    std::string const path = table.path(table.leaves.front());
    all.push_back(path.substr(0, path.rfind('/')));
  }
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
}

// What a record says, as path and kind of value.
std::optional<LeafValue> valueAt(std::string const& path, Key const& key,
                                 TargetRecord const& record) {
  LeafTable const& table = *leafTableOf(record.index(), key);
  for (Leaf const& leaf : table.leaves) {
    if (table.path(leaf) == path) {
      return leaf.isKey() ? keyValue(entryKeyOf(key).value()) : LeafTable::value(leaf, record);
    }
  }
  ADD_FAILURE() << path << " is in no table";
  return std::nullopt;
}

TEST(Leaves, ContainersAreInTheOrderOfTheSchema) {
  EXPECT_THAT(
      containers(),
      ElementsAre("/stp/global/config", "/stp/global/state", "/stp/interfaces/interface/config",
                  "/stp/interfaces/interface/state", "/stp/rstp/config", "/stp/rstp/state",
                  "/stp/rstp/interfaces/interface/config", "/stp/rstp/interfaces/interface/state",
                  "/stp/rstp/interfaces/interface/state/counters", "/stp/mstp/config",
                  "/stp/mstp/state", "/stp/mstp/mst-instances/mst-instance/config",
                  "/stp/mstp/mst-instances/mst-instance/state",
                  "/stp/mstp/mst-instances/mst-instance/interfaces/interface/config",
                  "/stp/mstp/mst-instances/mst-instance/interfaces/interface/state",
                  "/stp/mstp/stp-openconfig-cist:cist/config",
                  "/stp/mstp/stp-openconfig-cist:cist/state",
                  "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface/config",
                  "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface/state",
                  "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface/state/counters"));
}

TEST(Leaves, EachHasItsPathInTheSchema) {
  for (char const* const container : {"/stp/global/config", "/stp/global/state"}) {
    EXPECT_THAT(pathsIn(container), ElementsAre("enabled-protocol", "bpdu-guard",
                                                "stp-openconfig-disabled-vlan:disabled-vlan"));
  }
  EXPECT_THAT(pathsIn("/stp/interfaces/interface/config"),
              ElementsAre("name", "edge-port", "link-type", "bpdu-guard", "guard", "bpdu-filter"));
  EXPECT_THAT(pathsIn("/stp/interfaces/interface/state"),
              ElementsAre("name", "edge-port", "link-type", "bpdu-guard", "guard", "bpdu-filter",
                          "stp-openconfig-cist:bpdu-guard-error"));
  for (char const* const container : {"/stp/mstp/config", "/stp/mstp/state"}) {
    EXPECT_THAT(pathsIn(container), ElementsAre("name", "revision", "max-hop", "hello-time",
                                                "max-age", "forwarding-delay", "hold-count"));
  }
  for (char const* const container : {"/stp/mstp/mst-instances/mst-instance/interfaces/interface",
                                      "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface",
                                      "/stp/rstp/interfaces/interface"}) {
    EXPECT_THAT(pathsIn(std::string(container) + "/config"), ElementsAre("name", "port-priority"));
  }
}

TEST(Leaves, TreesHaveWhatTheModelHasOfTheirKind) {
  Paths const ofTree{
      "bridge-address", "designated-root-priority", "designated-root-address", "root-port",
      "root-cost",      "topology-changes",         "last-topology-change"};
  auto const with = [](Paths before, Paths const& between, Paths const& behind) {
    before.insert(before.end(), between.begin(), between.end());
    before.insert(before.end(), behind.begin(), behind.end());
    return before;
  };
  EXPECT_THAT(pathsIn("/stp/rstp/config"), ElementsAre("hello-time", "max-age", "forwarding-delay",
                                                       "hold-count", "bridge-priority"));
  EXPECT_EQ(pathsIn("/stp/rstp/state"),
            with({"hello-time", "max-age", "forwarding-delay", "hold-count", "bridge-priority"},
                 ofTree, {}));
  EXPECT_THAT(pathsIn("/stp/mstp/stp-openconfig-cist:cist/config"), ElementsAre("bridge-priority"));
  EXPECT_EQ(pathsIn("/stp/mstp/stp-openconfig-cist:cist/state"),
            with({"bridge-priority"}, ofTree,
                 {"regional-root-priority", "regional-root-address", "regional-root-cost"}));
  EXPECT_THAT(pathsIn("/stp/mstp/mst-instances/mst-instance/config"),
              ElementsAre("mst-id", "vlan", "bridge-priority"));
  EXPECT_EQ(pathsIn("/stp/mstp/mst-instances/mst-instance/state"),
            with({"mst-id", "vlan", "bridge-priority"}, ofTree, {}));
}

TEST(Leaves, PortsHaveWhatTheModelHasOfTheirKindOfTree) {
  Paths const ofPort{"name",
                     "port-num",
                     "port-priority",
                     "cost",
                     "role",
                     "port-state",
                     "designated-root-priority",
                     "designated-root-address",
                     "designated-cost",
                     "designated-bridge-priority",
                     "designated-bridge-address",
                     "designated-port-priority",
                     "designated-port-num"};
  auto const with = [&](Paths const& behind) {
    Paths all = ofPort;
    all.insert(all.end(), behind.begin(), behind.end());
    return all;
  };
  std::string const rstp = "/stp/rstp/interfaces/interface/state";
  std::string const instance = "/stp/mstp/mst-instances/mst-instance/interfaces/interface/state";
  std::string const cist = "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface/state";
  EXPECT_EQ(pathsIn(rstp), with({"forward-transisitions", "stp-openconfig-cist:disputed"}));
  EXPECT_EQ(pathsIn(instance),
            with({"stp-openconfig-cist:disputed", "stp-openconfig-cist:master"}));
  EXPECT_EQ(pathsIn(cist), with({"forward-transisitions", "disputed"}));
  EXPECT_THAT(pathsIn(rstp + "/counters"), ElementsAre("bpdu-sent", "bpdu-received"));
  EXPECT_THAT(pathsIn(cist + "/counters"), ElementsAre("bpdu-sent", "bpdu-received"));
}

TEST(Leaves, RecordsHaveTheTableOfTheirTree) {
  auto const nodeOf = [](TargetRecord const& record, Key const& key) {
    LeafTable const* const table = leafTableOf(record.index(), key);
    return table == nullptr ? "none" : std::string(table->node);
  };
  Lanx::IntfId const port = Lanx::IntfId::of("E1");
  auto const rst = Stp::TreeId::rst();
  Stp::TreeId const cist;
  auto const mst = Stp::TreeId::mst(5);
  EXPECT_EQ(nodeOf(Stp::OCTreeState(), rst), "/stp/rstp");
  EXPECT_EQ(nodeOf(Stp::OCTreeState(), cist), "/stp/mstp/stp-openconfig-cist:cist");
  EXPECT_EQ(nodeOf(Stp::OCTreeState(), mst), "/stp/mstp/mst-instances/mst-instance[mst-id]");
  EXPECT_EQ(nodeOf(Stp::OCTreeConfig(), mst), "none");
  EXPECT_EQ(nodeOf(Stp::OCTreePortCounters(), Stp::TreePortId{rst, port}),
            "/stp/rstp/interfaces/interface[name]");
  EXPECT_EQ(nodeOf(Stp::OCTreePortCounters(), Stp::TreePortId{cist, port}),
            "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface[name]");
  EXPECT_EQ(nodeOf(Stp::OCTreePortCounters(), Stp::TreePortId{mst, port}), "none");
  EXPECT_EQ(nodeOf(Stp::OCProtectionState(), port), "/stp/interfaces/interface[name]");
  EXPECT_EQ(nodeOf(Stp::OCMstpConfigRecord(), {}), "/stp/mstp");
}

TEST(Leaves, KeysAreOfTheModel) {
  auto const port = Lanx::IntfId::of("E1");
  auto const mst = [](std::uint16_t id) { return Stp::TreeId::mst(id); };
  using std::string;
  EXPECT_EQ(entryKeyOf({}), EntryKey());
  EXPECT_EQ(entryKeyOf(Stp::TreeId()), EntryKey());
  EXPECT_EQ(entryKeyOf(Stp::TreeId::rst()), EntryKey());
  EXPECT_EQ(entryKeyOf(port), EntryKey{string("E1")});
  EXPECT_EQ(entryKeyOf(Stp::TreePortId{Stp::TreeId(), port}), EntryKey{string("E1")});
  EXPECT_EQ(entryKeyOf(Stp::TreePortId{Stp::TreeId::rst(), port}), EntryKey{string("E1")});
  EXPECT_EQ(entryKeyOf(Stp::TreePortId{mst(5), port}), (EntryKey{std::uint64_t{5}, string("E1")}));
  for (std::uint16_t const id : {1, 5, 4094}) {
    EXPECT_EQ(entryKeyOf(id), EntryKey{std::uint64_t{id}});
    EXPECT_EQ(entryKeyOf(mst(id)), EntryKey{std::uint64_t{id}});
  }
  EXPECT_EQ(entryKeyOf(std::uint16_t{0}), std::nullopt);
  EXPECT_EQ(entryKeyOf(std::uint16_t{4095}), std::nullopt);
  EXPECT_EQ(entryKeyOf(mst(4095)), std::nullopt);
  EXPECT_EQ(entryKeyOf(Stp::TreePortId{mst(4095), port}), std::nullopt);
  EXPECT_EQ(entryKeyOf(Lanx::IntfId::of("bell\a")), std::nullopt);
  EXPECT_EQ(entryKeyOf(Stp::TreePortId{mst(5), Lanx::IntfId::of("bell\a")}), std::nullopt);
}

TEST(Leaves, KeyIsTheFirstLeafOfAList) {
  std::string_view container;
  for (LeafTable const& table : leafTables()) {
    SCOPED_TRACE(table.node);
    bool const isFirst = std::exchange(container, table.container) != table.container;
    bool const hasKey =
        table.node.ends_with(']') && isFirst && !table.container.ends_with("counters");
    EXPECT_EQ(table.leaves.front().isKey(), hasKey);
    if (hasKey) {
      EXPECT_EQ("[" + std::string(table.leaves.front().name) + "]",
                table.node.substr(table.node.rfind('[')));
    }
  }
}

TEST(Leaves, ValuesAreTyped) {
  Key const name = Lanx::IntfId::of("E1");
  Stp::InterfaceConfig const config{Lanx::IntfId(), Stp::OcLinkType::shared,
                                    Stp::OcEdgePort::edgeDisable, Stp::OcBpduGuard::disabled};
  std::string const interface = "/stp/interfaces/interface/config/";
  EXPECT_EQ(valueAt(interface + "name", name, config), LeafValue(std::string("E1")));
  EXPECT_EQ(valueAt(interface + "edge-port", name, config),
            LeafValue(Identity{"openconfig-spanning-tree-types:EDGE_DISABLE"}));
  EXPECT_EQ(valueAt(interface + "link-type", name, config), LeafValue(std::string("SHARED")));
  EXPECT_EQ(valueAt(interface + "bpdu-guard", name, config), LeafValue(false));

  Stp::OCMstiState state(5);
  state.vlan = {Stp::VlanRange{Bridging::VlanId(10), Bridging::VlanId(12)}, Bridging::VlanId(20)};
  std::string const instance = "/stp/mstp/mst-instances/mst-instance/state/";
  EXPECT_EQ(valueAt(instance + "mst-id", std::uint16_t{5}, state), LeafValue(std::uint64_t{5}));
  EXPECT_EQ(valueAt(instance + "bridge-priority", std::uint16_t{5}, state),
            LeafValue(std::uint64_t{32768}));
  EXPECT_EQ(valueAt(instance + "vlan", std::uint16_t{5}, state),
            LeafValue(std::vector<LeafEntry>{std::string("10..12"), std::uint64_t{20}}));
}

TEST(Leaves, WhatIsNotSetOrOutsideItsTypeIsNone) {
  Key const name = Lanx::IntfId::of("E1");
  std::string const interface = "/stp/interfaces/interface/config/";
  for (char const* const leaf : {"edge-port", "link-type", "bpdu-guard"}) {
    SCOPED_TRACE(leaf);
    EXPECT_EQ(valueAt(interface + leaf, name, Stp::InterfaceConfig()), std::nullopt);
    Stp::InterfaceConfig const unknown{Lanx::IntfId(), Stp::OcLinkType(2), Stp::OcEdgePort(3),
                                       Stp::OcBpduGuard(2)};
    EXPECT_EQ(valueAt(interface + leaf, name, unknown), std::nullopt);
  }
  EXPECT_EQ(valueAt("/stp/mstp/mst-instances/mst-instance/config/vlan", std::uint16_t{1},
                    Stp::OCMstiConfig()),
            std::nullopt);
}

// A path without the modules or prefixes of its names.
std::string bare(std::string const& path) {
  return std::regex_replace(path, std::regex("[a-z-]+:"), "");
}

// The schema as yanglint draws it: paths of leaves, with "*" behind those of leaf-lists, and types.
std::map<std::string, std::string> schema(std::string const& models) {
  std::string const command = "yanglint -f tree -p '" + models + "' -p '" STP_YANG_DIR "' '" +
                              models + "/openconfig-spanning-tree.yang' '" STP_YANG_DIR "'/*.yang";
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const output(::popen(command.c_str(), "r"),
                                                               &::pclose);
  std::map<std::string, std::string> leaves;
  std::vector<std::pair<std::size_t, std::string>> open;  // column and path of the nodes above
  std::array<char, 512> buffer{};
  while (output && std::fgets(buffer.data(), buffer.size(), output.get()) != nullptr) {
    std::string const line = buffer.data();
    std::size_t const column = line.find("+--r");
    if (column == std::string::npos) {
      open.clear();
      continue;
    }
    std::size_t const begin = column + 6;
    std::size_t const end = line.find_first_of(" ?*\n", begin);
    while (!open.empty() && open.back().first >= column) {
      open.pop_back();
    }
    std::string const path =
        (open.empty() ? "" : open.back().second) + "/" + bare(line.substr(begin, end - begin));
    open.emplace_back(column, path);
    std::size_t const type = line.find_first_not_of(" ?*\n", end);
    bool const isLeaf = type != std::string::npos && line[type] != '[';
    if (isLeaf) {
      leaves[path + (line[end] == '*' ? "*" : "")] = line.substr(type, line.size() - type - 1);
    }
  }
  return leaves;
}

TEST(Leaves, AllAreInTheModel) {
  char const* const models = std::getenv("OPENCONFIG_YANG_DIR");
  if (models == nullptr) {
    GTEST_SKIP() << "OPENCONFIG_YANG_DIR doesn't name a folder with the public models";
  }
  auto const known = schema(models);
  ASSERT_GT(known.size(), 50U);
  for (LeafTable const& table : leafTables()) {
    for (Leaf const& leaf : table.leaves) {
      std::string const path = bare(table.path(leaf)) + (leaf.type.isList ? "*" : "");
      SCOPED_TRACE(path);
      auto const found = known.find(path);
      if (found == known.end()) {
        ADD_FAILURE() << "the model has no such leaf";
        continue;
      }
      EXPECT_EQ(leaf.type.kind == LeafType::Kind::boolean, found->second == "boolean");
      EXPECT_EQ(leaf.type.kind == LeafType::Kind::identityref, found->second == "identityref");
      EXPECT_EQ(leaf.type.kind == LeafType::Kind::vlans, found->second == "union");
      EXPECT_EQ(leaf.type.isLong(),
                found->second == "oc-yang:counter64" || found->second == "oc-types:timeticks64");
    }
  }
}

}  // namespace
}  // namespace Agent
