#include "Stp/vlans/VidToMsti.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <csignal>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Kova/UnionAccess.h"
#include "Lumo/RangeException.h"
#include "Stp/tests/MstTestSupport.h"

namespace Stp {
namespace {

using testing::HasSubstr;
using TestSupport::byteMap;
using TestSupport::everyVlanTo;
using TestSupport::MapEntry;
using TestSupport::textOf;

using Lists = std::map<std::uint16_t, std::string>;

Lists listsOf(MstiToVid const& map) {
  Lists lists;
  for (auto const& [instance, vlans] : map) {
    EXPECT_TRUE(lists.emplace(instance, textOf(vlans.list())).second) << instance << " came twice";
  }
  return lists;
}

Lists decoded(std::vector<MapEntry> const& entries) {
  return listsOf(mstiToVidFromBytes(byteMap(entries)));
}

// The instance of every VLAN, at its number; ids that no bridge has are in none.
constexpr std::uint32_t none = 65536;
using Instances = std::array<std::uint32_t, 4096>;

// What a map says of each VLAN: its entries count as long as they ascend within the ids that a
// bridge has; a VLAN without such an entry is in the CIST.
Instances meant(std::vector<MapEntry> const& entries) {
  Instances instances{};
  instances.front() = instances.back() = none;
  std::size_t const counted = entries.size() % 65536;
  std::uint16_t before = 0;
  for (std::size_t at = 0; at < counted; ++at) {
    auto const [vlan, instance] = entries[at];
    if (vlan <= before || vlan > 4094) {
      break;
    }
    instances.at(vlan) = instance;
    before = vlan;
  }
  return instances;
}

// Reads decoded lists back and says what is wrong with them, if anything is.
std::string flawOf(MstiToVid const& map, Instances const& expected) {
  Instances instances;
  instances.fill(none);
  int vlans = 0;
  for (auto const& [instance, ofInstance] : map) {
    auto const& list = ofInstance.list();
    if (list.empty()) {
      return "an empty list";
    }
    int last = -1;
    for (VlanIdOrRange const& element : list) {
      bool const single = element.tag() == VlanIdOrRange::Tag::vlanId;
      int const from = single ? element.vlanId().value() : element.vlanRange().first.value();
      int const to = single ? from : element.vlanRange().last.value();
      if (!single && from >= to) {
        return "a range of less than two VLANs at " + std::to_string(from);
      }
      if (last != -1 && from <= last + 1) {
        return "no gap before " + std::to_string(from);
      }
      std::fill(instances.begin() + from, instances.begin() + to + 1, instance);
      vlans += to - from + 1;
      last = to;
    }
  }
  if (instances != expected) {
    auto const [wrong, right] = std::mismatch(instances.begin(), instances.end(), expected.begin());
    return "VLAN " + std::to_string(wrong - instances.begin()) + " in " + std::to_string(*wrong) +
           " instead of " + std::to_string(*right);
  }
  return vlans == 4094 ? "" : "a VLAN in two lists";
}

std::string flawOf(std::vector<MapEntry> const& entries) {
  return flawOf(mstiToVidFromBytes(byteMap(entries)), meant(entries));
}

std::string textOf(std::vector<MapEntry> const& entries) {
  std::string text;
  for (auto const& [vlan, instance] : entries) {
    text += " " + std::to_string(vlan) + ">" + std::to_string(instance);
  }
  return text;
}

TEST(VidToMsti, GivesEveryInstanceItsVlansInMaximalRuns) {
  struct Case {
    std::vector<MapEntry> entries;
    Lists lists;
  };
  std::vector<Case> const cases = {
      {{}, {{0, "1-4094"}}},
      {{{10, 5}}, {{0, "1-9 11-4094"}, {5, "10"}}},
      {{{10, 5}, {11, 5}, {12, 5}}, {{0, "1-9 13-4094"}, {5, "10-12"}}},
      {{{10, 5}, {12, 5}}, {{0, "1-9 11 13-4094"}, {5, "10 12"}}},
      {{{4094, 7}}, {{0, "1-4093"}, {7, "4094"}}},
      {{{1, 7}}, {{0, "2-4094"}, {7, "1"}}},
      {{{1, 7}, {4094, 7}}, {{0, "2-4093"}, {7, "1 4094"}}},
      {{{20, 3}, {10, 4}}, {{0, "1-19 21-4094"}, {3, "20"}}},
      {{{20, 3}, {10, 4}, {30, 4}}, {{0, "1-19 21-4094"}, {3, "20"}}},
      {{{10, 5}, {10, 6}}, {{0, "1-9 11-4094"}, {5, "10"}}},
      {{{10, 6}, {11, 5}, {11, 6}, {12, 5}}, {{0, "1-9 12-4094"}, {5, "11"}, {6, "10"}}},
      {{{4095, 5}}, {{0, "1-4094"}}},
      {{{0, 5}}, {{0, "1-4094"}}},
      {{{0, 5}, {10, 5}}, {{0, "1-4094"}}},
      {{{4095, 5}, {10, 5}}, {{0, "1-4094"}}},
      {{{10, 5}, {4095, 5}}, {{0, "1-9 11-4094"}, {5, "10"}}},
      {{{4094, 5}, {4095, 5}}, {{0, "1-4093"}, {5, "4094"}}},
      {{{10, 0}}, {{0, "1-4094"}}},
      {{{10, 0}, {11, 5}, {12, 0}}, {{0, "1-10 12-4094"}, {5, "11"}}},
      {{{10, 4096}, {11, 65535}}, {{0, "1-9 12-4094"}, {4096, "10"}, {65535, "11"}}},
      {{{255, 255}, {256, 256}}, {{0, "1-254 257-4094"}, {255, "255"}, {256, "256"}}},
  };
  for (auto const& [entries, lists] : cases) {
    SCOPED_TRACE(textOf(entries));
    EXPECT_EQ(decoded(entries), lists);
  }
}

TEST(VidToMsti, ReadsBothNumbersHighByteFirst) {
  EXPECT_EQ(listsOf(mstiToVidFromBytes(Lumo::Bytes{0x00, 0x0A, 0x00, 0x05})),
            (Lists{{0, "1-9 11-4094"}, {5, "10"}}));
  EXPECT_EQ(listsOf(mstiToVidFromBytes(Lumo::Bytes{0x0F, 0xFE, 0xAB, 0xCD})),
            (Lists{{0, "1-4093"}, {0xABCD, "4094"}}));
}

TEST(VidToMsti, LeavesOutTheCistWhenOtherInstancesHaveEveryVlan) {
  EXPECT_EQ(listsOf(mstiToVidFromBytes(everyVlanTo(9))), (Lists{{9, "1-4094"}}));
  EXPECT_EQ(listsOf(mstiToVidFromBytes(everyVlanTo(0))), (Lists{{0, "1-4094"}}));
}

TEST(VidToMsti, AgreesWithEveryMapOfUpToThreeEntriesOnBoundaryIds) {
  std::vector<MapEntry> choices;
  for (int const vlan : {0, 1, 2, 3, 4093, 4094, 4095, 65535}) {
    for (int const instance : {0, 5, 65535}) {
      choices.push_back({static_cast<std::uint16_t>(vlan), static_cast<std::uint16_t>(instance)});
    }
  }
  std::vector<MapEntry> entries;
  auto const extend = [&](auto const& self) -> void {
    std::string const flaw = flawOf(entries);
    ASSERT_TRUE(flaw.empty()) << flaw << " for" << textOf(entries);
    if (entries.size() < 3) {
      for (MapEntry const& choice : choices) {
        entries.push_back(choice);
        self(self);
        entries.pop_back();
      }
    }
  };
  extend(extend);
}

class VidToMstiRandom : public testing::Test {
 protected:
  std::uint16_t number(int from, int to) {
    return static_cast<std::uint16_t>(std::uniform_int_distribution(from, to)(random_));
  }
  // Few instances, so that runs form, the explicit CIST among them.
  MapEntry entry(std::uint16_t vlan) { return {vlan, number(0, 3)}; }

  std::vector<MapEntry> ascending(int percent) {
    std::vector<MapEntry> entries;
    for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
      if (number(1, 100) <= percent) {
        entries.push_back(entry(vlan));
      }
    }
    return entries;
  }

  std::mt19937 random_{20260};
};

TEST_F(VidToMstiRandom, AgreesWithAscendingMaps) {
  for (int round = 0; round < 300; ++round) {
    EXPECT_EQ(flawOf(ascending(number(0, 100))), "") << round;
  }
}

TEST_F(VidToMstiRandom, AgreesWithMapsForEveryVlan) {
  for (int round = 0; round < 50; ++round) {
    std::vector<MapEntry> const entries = ascending(100);
    ASSERT_EQ(entries.size(), 4094U);
    EXPECT_EQ(flawOf(entries), "") << round;
  }
}

TEST_F(VidToMstiRandom, AgreesWithMapsThatAreOutOfOrderSomewhere) {
  for (int round = 0; round < 300; ++round) {
    std::vector<MapEntry> entries = ascending(number(1, 100));
    for (int change = number(1, 4); change > 0 && entries.size() > 1; --change) {
      auto const one = number(0, static_cast<int>(entries.size()) - 1);
      auto const other = number(0, static_cast<int>(entries.size()) - 1);
      switch (number(0, 2)) {
        case 0: std::swap(entries[one], entries[other]); break;
        case 1: entries[one].vlan = entries[other].vlan; break;
        default: entries[one].vlan = number(0, 65535);
      }
    }
    EXPECT_EQ(flawOf(entries), "") << round;
  }
}

TEST_F(VidToMstiRandom, AgreesWithMapsWithoutAnyOrder) {
  for (int round = 0; round < 300; ++round) {
    std::vector<MapEntry> entries;
    for (int count = number(0, 40); count > 0; --count) {
      entries.push_back(entry(number(0, 4100)));
    }
    EXPECT_EQ(flawOf(entries), "") << round;
  }
}

TEST_F(VidToMstiRandom, CountsEntriesModulo65536) {
  for (std::size_t const size : {65535U, 65536U, 65537U, 65539U, 65536U + 4094U}) {
    SCOPED_TRACE(size);
    std::vector<MapEntry> entries = ascending(100);
    while (entries.size() < size) {
      entries.push_back(entry(number(0, 65535)));
    }
    EXPECT_EQ(VidToMstiEntries(byteMap(entries)).count(), size % 65536);
    EXPECT_EQ(flawOf(entries), "");
  }
  EXPECT_EQ(decoded(std::vector<MapEntry>(65536, {1, 1})), (Lists{{0, "1-4094"}}));
}

TEST(VidToMstiEntries, GivesTheNumbersOfEachEntry) {
  Lumo::Bytes const bytes = byteMap({{0, 65535}, {258, 4095}, {65535, 0}});
  VidToMstiEntries const entries(bytes);
  ASSERT_EQ(entries.count(), 3);
  EXPECT_EQ(entries[0].vlan, 0);
  EXPECT_EQ(entries[0].instance, 65535);
  EXPECT_EQ(entries[1].vlan, 258);
  EXPECT_EQ(entries[1].instance, 4095);
  EXPECT_EQ(entries[2].vlan, 65535);
  EXPECT_EQ(entries[2].instance, 0);
  EXPECT_EQ(entries[3].vlan, 0);
  EXPECT_EQ(VidToMstiEntries(Lumo::Bytes()).count(), 0);
  EXPECT_EQ(VidToMstiEntries(Lumo::Bytes{1, 2, 3, 4, 5, 6, 7}).count(), 1);
}

TEST(VidToMstiDeathTest, SizeThatIsNoMultipleOfFour) {
  for (std::size_t const size : {1U, 2U, 3U, 5U, 6U, 4095U}) {
    SCOPED_TRACE(size);
    EXPECT_EXIT(mstiToVidFromBytes(Lumo::Bytes(std::vector<std::uint8_t>(size))),
                testing::KilledBySignal(SIGABRT),
                testing::AllOf(HasSubstr(": /src/Stp/StpOpenConfigSm:118: "),
                               HasSubstr("Assertion `v2m.size() % 4 == 0 && \"vidToMsti map "
                                         "corrupted -- number of bits not divisible by 4\"' "
                                         "failed.\n")));
  }
}

class MstiVlans : public testing::Test {
 protected:
  void has(std::uint16_t instance, SharedList<VlanIdOrRange> const& list) {
    map_[instance] = InstanceVlans(list);
  }
  void add(std::uint16_t vlan, std::uint16_t instance) { addVlanToMstiMap(map_, vlan, instance); }

  void expectRangeError(std::uint16_t vlan, std::uint16_t instance) {
    SCOPED_TRACE(vlan);
    Lists const before = listsOf(map_);
    try {
      add(vlan, instance);
      ADD_FAILURE() << "stored";
    } catch (Lumo::RangeException const& error) {
      EXPECT_STREQ(error.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
    }
    EXPECT_EQ(listsOf(map_), before);
  }

  static Bridging::VlanId id(std::uint16_t vlan) { return Bridging::VlanId(vlan); }
  static VlanIdOrRange range(std::uint16_t first, std::uint16_t last) {
    return VlanRange{id(first), id(last)};
  }
  // A value whose tag names no alternative.
  static VlanIdOrRange broken() {
    std::array<std::uint8_t, sizeof(VlanIdOrRange)> const bytes{1, 0, 2, 0, 2, 0};
    return std::bit_cast<VlanIdOrRange>(bytes);
  }

  MstiToVid map_;
};

using MstiVlansDeathTest = MstiVlans;

TEST_F(MstiVlans, MergesWhatFollowsTheLastElementDirectly) {
  add(10, 5);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10"}}));
  add(11, 5);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10-11"}}));
  add(12, 5);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10-12"}}));
  add(13, 6);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10-12"}, {6, "13"}}));
  add(14, 5);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10-12 14"}, {6, "13"}}));
  add(4094, 65535);
  EXPECT_EQ(listsOf(map_), (Lists{{5, "10-12 14"}, {6, "13"}, {65535, "4094"}}));
}

TEST_F(MstiVlans, RefuseToStoreAnIdThatNoBridgeHas) {
  for (int const vlan : {0, 4095, 4096, 65535}) {
    expectRangeError(static_cast<std::uint16_t>(vlan), 5);
  }
  has(5, {id(4094)});
  has(6, {range(1, 4094)});
  has(7, {id(1)});
  expectRangeError(4095, 5);   // would extend a single VLAN
  expectRangeError(4095, 6);   // would extend a range
  expectRangeError(4095, 7);   // would be appended
  expectRangeError(65535, 6);  // far above, and not below as a signed 16-bit number
}

TEST_F(MstiVlans, RefuseALastElementThatIsNeitherIdNorRange) {
  has(5, {broken()});
  EXPECT_THROW(add(10, 5), Kova::BadUnionAccessException);
  EXPECT_THROW(add(0, 5), Kova::BadUnionAccessException);
  EXPECT_THROW(add(4095, 5), Kova::BadUnionAccessException);
}

TEST_F(MstiVlans, LookAtTheLastElementAlone) {
  has(5, {broken(), id(9)});
  add(11, 5);
  EXPECT_EQ(map_[5].list().size(), 3U);
  EXPECT_EQ(map_[5].list()[2], VlanIdOrRange(id(11)));
}

TEST_F(MstiVlansDeathTest, VlanThatDoesNotComeAfterTheLast) {
  has(5, {id(10)});
  has(6, {range(10, 20)});
  has(7, {id(4094)});
  struct Case {
    std::uint16_t vlan;
    std::uint16_t instance;
  };
  for (auto const& [vlan, instance] :
       {Case{10, 5}, Case{9, 5}, Case{0, 5}, Case{20, 6}, Case{15, 6}, Case{1, 6}, Case{0, 7}}) {
    SCOPED_TRACE(vlan);
    EXPECT_EXIT(add(vlan, instance), testing::KilledBySignal(SIGABRT),
                testing::AllOf(HasSubstr(": /src/Stp/StpOpenConfigSm:103: "),
                               HasSubstr("Assertion `false && \"VLAN IDs in VLAN-to-Msti map not "
                                         "sorted\"' failed.\n")));
  }
}

}  // namespace
}  // namespace Stp
