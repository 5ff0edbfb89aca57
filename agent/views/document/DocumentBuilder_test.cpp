#include "agent/views/document/DocumentBuilder.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

// The first table of a node and a container.
LeafTable const& tableAt(std::string_view node, std::string_view container) {
  for (LeafTable const& table : leafTables()) {
    if (table.node == node && table.container == container) {
      return table;
    }
  }
  throw std::out_of_range(std::string(node));
}

TEST(DocumentBuilder, NodesComeInTheOrderOfTheTablesAndListsByKey) {
  DocumentBuilder document;
  auto const add = [&](std::string_view node, std::string_view container, EntryKey const& key,
                       char const* leaf,
                       int value) { document.leaves(tableAt(node, container), key)[leaf] = value; };
  std::string_view const interface = "/stp/interfaces/interface[name]";
  std::string_view const instance = "/stp/mstp/mst-instances/mst-instance[mst-id]";
  std::string_view const port =
      "/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]";
  std::string_view const rstpPort = "/stp/rstp/interfaces/interface[name]";
  add("/stp/mstp/stp-openconfig-cist:cist", "state", {}, "a", 1);
  add(port, "state", {std::uint64_t{5}, std::string("E2")}, "b", 2);
  add(interface, "state", {std::string("E10")}, "c", 3);
  add(port, "config", {std::uint64_t{5}, std::string("E10")}, "d", 4);
  add(interface, "config", {std::string("E2")}, "e", 5);
  add(instance, "config", {std::uint64_t{40}}, "f", 6);
  add(rstpPort, "state/counters", {std::string("E1")}, "g", 7);
  add(interface, "config", {std::string("E10")}, "h", 8);
  add(rstpPort, "state", {std::string("E1")}, "i", 9);
  add("/stp/global", "config", {}, "j", 10);
  add(instance, "state", {std::uint64_t{5}}, "k", 11);
  EXPECT_EQ(document.take().dump(),
            R"({"openconfig-spanning-tree:stp":{"global":{"config":{"j":10}},)"
            R"("interfaces":{"interface":[{"name":"E2","config":{"e":5}},)"
            R"({"name":"E10","config":{"h":8},"state":{"c":3}}]},)"
            R"("rstp":{"interfaces":{"interface":[)"
            R"({"name":"E1","state":{"i":9,"counters":{"g":7}}}]}},)"
            R"("mstp":{"mst-instances":{"mst-instance":[{"mst-id":5,"state":{"k":11},)"
            R"("interfaces":{"interface":[{"name":"E2","state":{"b":2}},)"
            R"({"name":"E10","config":{"d":4}}]}},{"mst-id":40,"config":{"f":6}}]},)"
            R"("stp-openconfig-cist:cist":{"state":{"a":1}}}}})");
}

TEST(DocumentBuilder, TablesShareAContainer) {
  DocumentBuilder document;
  std::vector<LeafTable const*> sharing;
  for (LeafTable const& table : leafTables()) {
    if (table.node == "/stp/rstp" && table.container == "state") {
      sharing.push_back(&table);
    }
  }
  ASSERT_EQ(sharing.size(), 2U);
  document.leaves(*sharing[1], {})["b"] = 2;
  document.leaves(*sharing[0], {})["a"] = 1;
  EXPECT_EQ(document.take().dump(),
            R"({"openconfig-spanning-tree:stp":{"rstp":{"state":{"a":1,"b":2}}}})");
}

TEST(DocumentBuilder, WhatHasNoLeafIsLeftOut) {
  DocumentBuilder document;
  document.leaves(tableAt("/stp/global", "config"), {});
  document.leaves(tableAt("/stp/interfaces/interface[name]", "config"), {std::string("E1")});
  EXPECT_EQ(document.take().dump(), "{}");
}

TEST(DocumentBuilder, NumbersOf64BitsAreStrings) {
  auto const number = [](std::uint64_t greatest, std::uint64_t value) {
    return jsonOf({LeafType::Kind::number, false, 0, greatest}, value).dump();
  };
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(number(most, most), R"("18446744073709551615")");
  EXPECT_EQ(number(most, 0), R"("0")");
  EXPECT_EQ(number(UINT32_MAX, UINT32_MAX), "4294967295");
  EXPECT_EQ(number(255, 7), "7");
}

}  // namespace
}  // namespace Agent
