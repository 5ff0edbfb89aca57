// The tables of leaves, beside the public model.
#include "agent/views/document/Leaves.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;

std::vector<std::string> paths() {
  std::vector<std::string> all;
  for (LeafTable const& table : leafTables) {
    for (Leaf const& leaf : table.leaves) {
      all.push_back(table.path(leaf));
    }
  }
  return all;
}

// What a record says, as path and kind of value.
std::optional<LeafValue> valueAt(std::string const& path, Key const& key,
                                 TargetRecord const& record) {
  LeafTable const& table = leafTableOf(record);
  for (Leaf const& leaf : table.leaves) {
    if (table.path(leaf) == path) {
      return LeafTable::value(leaf, key, record);
    }
  }
  ADD_FAILURE() << path << " is in no table";
  return std::nullopt;
}

TEST(Leaves, EachHasItsPathInTheSchema) {
  EXPECT_THAT(
      paths(),
      ElementsAre(
          "/stp/global/config/enabled-protocol", "/stp/global/config/bpdu-guard",
          "/stp/global/config/stp-openconfig-disabled-vlan:disabled-vlan",
          "/stp/global/state/enabled-protocol", "/stp/global/state/bpdu-guard",
          "/stp/global/state/stp-openconfig-disabled-vlan:disabled-vlan",
          "/stp/interfaces/interface/config/name", "/stp/interfaces/interface/config/edge-port",
          "/stp/interfaces/interface/config/link-type",
          "/stp/interfaces/interface/config/bpdu-guard", "/stp/interfaces/interface/state/name",
          "/stp/interfaces/interface/state/edge-port", "/stp/interfaces/interface/state/link-type",
          "/stp/interfaces/interface/state/bpdu-guard",
          "/stp/mstp/mst-instances/mst-instance/config/mst-id",
          "/stp/mstp/mst-instances/mst-instance/config/vlan",
          "/stp/mstp/mst-instances/mst-instance/config/bridge-priority",
          "/stp/mstp/mst-instances/mst-instance/state/mst-id",
          "/stp/mstp/mst-instances/mst-instance/state/vlan",
          "/stp/mstp/mst-instances/mst-instance/state/bridge-priority"));
}

TEST(Leaves, KeyIsTheFirstLeafOfAList) {
  for (LeafTable const& table : leafTables) {
    SCOPED_TRACE(table.node);
    if (!table.listKey.empty()) {
      EXPECT_EQ(table.leaves.front().name, table.listKey);
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
  std::string const id = "/stp/mstp/mst-instances/mst-instance/config/mst-id";
  for (std::uint16_t const key : {0, 4095}) {
    EXPECT_EQ(valueAt(id, key, Stp::OCMstiConfig()), std::nullopt);
  }
  for (std::uint16_t const key : {1, 4094}) {
    EXPECT_EQ(valueAt(id, key, Stp::OCMstiConfig()), LeafValue(std::uint64_t{key}));
  }
  EXPECT_EQ(valueAt("/stp/mstp/mst-instances/mst-instance/config/vlan", std::uint16_t{1},
                    Stp::OCMstiConfig()),
            std::nullopt);
}

// The name of a node, or the path to a leaf, without the module or prefix before its last step.
std::string bare(std::string const& path) {
  std::size_t const step = path.rfind('/') + 1;
  std::size_t const colon = path.find(':', step);
  return colon == std::string::npos ? path : path.substr(0, step) + path.substr(colon + 1);
}

// The schema as yanglint draws it: paths of leaves, with "*" behind those of leaf-lists, and types.
std::map<std::string, std::string> schema(std::string const& models) {
  std::string const command =
      "yanglint -f tree -p '" + models + "' -p '" STP_YANG_DIR "' '" + models +
      "/openconfig-spanning-tree.yang' '" STP_YANG_DIR "/stp-openconfig-disabled-vlan.yang'";
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
  for (LeafTable const& table : leafTables) {
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
    }
  }
}

}  // namespace
}  // namespace Agent
