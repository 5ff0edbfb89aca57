#include "agent/views/document/DocumentBuilder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

TEST(NaturalOrder, RunsOfDigitsAreNumbers) {
  // In ascending order.
  std::vector<std::string> const names{"",
                                       "0",
                                       "00",
                                       "01",
                                       "1",
                                       "01a",
                                       "1a",
                                       "2",
                                       "10",
                                       "99999999999999999999",
                                       "100000000000000000000",
                                       "Ethernet",
                                       "Ethernet1",
                                       "Ethernet1/1",
                                       "Ethernet1/2",
                                       "Ethernet1/10",
                                       "Ethernet02",
                                       "Ethernet2",
                                       "Ethernet2a",
                                       "Ethernet10",
                                       "Port-Channel1",
                                       "a1b2",
                                       "a1b10",
                                       "a2b1",
                                       "\xC3\xA9"};
  for (std::size_t first = 0; first < names.size(); ++first) {
    for (std::size_t second = 0; second < names.size(); ++second) {
      SCOPED_TRACE("\"" + names[first] + "\" and \"" + names[second] + "\"");
      EXPECT_EQ(naturalLess(names[first], names[second]), first < second);
    }
  }
}

TEST(DocumentBuilder, NodesComeAsAddedAndListsByKey) {
  DocumentBuilder document;
  auto const add = [&](std::size_t table, EntryKey const& key, OrderedJson const& leaves) {
    document.leavesAdd(leafTables.at(table), key, leaves);
  };
  auto const interfaces = std::size_t{2};
  add(interfaces, std::string("E10"), {{"a", 1}});
  add(0, {}, {{"b", 2}});
  add(interfaces, std::string("E2"), {{"c", 3}});
  add(interfaces + 1, std::string("E10"), {{"d", 4}});
  add(interfaces, std::string("E10"), {{"e", 5}});
  EXPECT_EQ(document.take().dump(),
            R"({"openconfig-spanning-tree:stp":{"interfaces":{"interface":[)"
            R"({"name":"E2","config":{"c":3}},)"
            R"({"name":"E10","config":{"e":5},"state":{"d":4}}]},)"
            R"("global":{"config":{"b":2}}}})");
}

TEST(DocumentBuilder, EntryIsNewOnce) {
  DocumentBuilder document;
  LeafTable const& table = leafTables.at(4);
  EXPECT_TRUE(document.entryAdd(table, std::uint64_t{5}));
  EXPECT_FALSE(document.entryAdd(table, std::uint64_t{5}));
  EXPECT_TRUE(document.entryAdd(table, std::uint64_t{40}));
  EXPECT_EQ(document.take().dump(),
            R"({"openconfig-spanning-tree:stp":{"mstp":{"mst-instances":{"mst-instance":)"
            R"([{"mst-id":5},{"mst-id":40}]}}}})");
}

TEST(DocumentBuilder, KeysAreOfTheModel) {
  Stp::OCMstiState const record(5);
  LeafTable const& instances = leafTableOf(record);
  EXPECT_EQ(entryKeyOf(instances, std::uint16_t{5}, record), EntryKey(std::uint64_t{5}));
  EXPECT_EQ(entryKeyOf(instances, std::uint16_t{4095}, record), std::nullopt);
  Stp::InterfaceState const state;
  EXPECT_EQ(entryKeyOf(leafTableOf(state), Lanx::IntfId::of("E1"), state),
            EntryKey(std::string("E1")));
  EXPECT_EQ(entryKeyOf(leafTableOf(state), Lanx::IntfId::of("bell\a"), state), std::nullopt);
  EXPECT_EQ(entryKeyOf(leafTables.at(0), {}, Stp::OCGlobalConfigContainer()), EntryKey());
}

}  // namespace
}  // namespace Agent
