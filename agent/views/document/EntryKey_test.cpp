#include "agent/views/document/EntryKey.h"

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

TEST(EntryKey, OrderIsThatOfTheOuterListFirst) {
  // In ascending order.
  std::vector<EntryKey> const keys{
      {},
      {PlainKey(), std::string("E1")},
      {std::uint64_t{2}},
      {std::uint64_t{2}, std::string("E2")},
      {std::uint64_t{2}, std::string("E10")},
      {std::uint64_t{10}},
      {std::uint64_t{10}, std::string("E1")},
      {std::string("E2")},
      {std::string("E10")},
  };
  for (std::size_t first = 0; first < keys.size(); ++first) {
    for (std::size_t second = 0; second < keys.size(); ++second) {
      SCOPED_TRACE(std::to_string(first) + " and " + std::to_string(second));
      EXPECT_EQ(EntryKeyLess()(keys[first], keys[second]), first < second);
    }
  }
}

TEST(EntryKey, InnermostIsThatOfTheEntrysOwnList) {
  EXPECT_EQ(innermost({std::string("E1")}), PlainKey(std::string("E1")));
  EXPECT_EQ(innermost({std::uint64_t{5}, std::string("E1")}), PlainKey(std::string("E1")));
}

}  // namespace
}  // namespace Agent
