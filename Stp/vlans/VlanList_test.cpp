// Lists of VLANs: one entry, runs, and back.

#include "Stp/vlans/VlanList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Kova/UnionAccess.h"
#include "Lumo/RangeException.h"
#include "Stp/vlans/VlanTestSupport.h"

namespace Stp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;
using TestSupport::rawEntry;
using TestSupport::textOf;

using Ids = std::vector<std::uint16_t>;

VlanSet setOf(Ids const& ids) {
  VlanSet set;
  for (std::uint16_t const id : ids) {
    set.insert(id);
  }
  return set;
}

template <class Container>
std::string compressed(VlanSet const& disabled) {
  Container container;
  container.disabledVlanPush(Bridging::VlanId(77));  // to be emptied
  compressDisabledVlans(container, disabled);
  return textOf(container.disabledVlan);
}
Ids expanded(VlanIdOrRange const& entry) {
  Ids ids;
  expandVlans(
      entry, [&](std::uint16_t id) { ids.push_back(id); }, "/src/Owner", 7, "void owner()");
  return ids;
}

template <class Container>
class VlanListOf : public testing::Test {};
using Containers = testing::Types<OCGlobalConfigContainer, OCGlobalStateContainer>;
TYPED_TEST_SUITE(VlanListOf, Containers);

TYPED_TEST(VlanListOf, EntryIsAnIdOrARange) {
  TypeParam container;
  addDisabledVlanIdOrRange(container, 1, 1);
  addDisabledVlanIdOrRange(container, 4094, 4094);
  addDisabledVlanIdOrRange(container, 1, 4094);
  addDisabledVlanIdOrRange(container, 10, 5);
  addDisabledVlanIdOrRange(container, 5, 6);
  EXPECT_EQ(textOf(container.disabledVlan), "1 4094 1-4094 10-5 5-6");
}

TYPED_TEST(VlanListOf, IdsOutOfRangeAreRefusedAndTheListStays) {
  constexpr std::uint16_t invalid[] = {0, 4095, 4096, 32767, 32768, 65534, 65535};
  TypeParam container;
  addDisabledVlanIdOrRange(container, 3, 4);
  TypeParam const before = container;
  auto const expectRefused = [&](std::uint16_t first, std::uint16_t last) {
    EXPECT_THAT(
        [&] { addDisabledVlanIdOrRange(container, first, last); },
        ThrowsMessage<Lumo::RangeException>("Bridging::VlanId::value < 1 or > 4094 not allowed"))
        << first << " " << last;
    EXPECT_EQ(container, before);
  };
  for (std::uint16_t const id : invalid) {
    expectRefused(id, id);
    for (std::uint16_t const valid : {1, 10, 4094}) {
      expectRefused(valid, id);
      expectRefused(id, valid);
    }
    for (std::uint16_t const other : invalid) {
      expectRefused(id, other);
    }
  }
}

TYPED_TEST(VlanListOf, RunsBecomeEntries) {
  struct Case {
    Ids disabled;
    std::string list;
  };
  for (auto const& [disabled, list] : std::vector<Case>{
           {{}, ""},
           {{5}, "5"},
           {{5, 6}, "5-6"},
           {{5, 7}, "5 7"},
           {{1, 2, 3, 4094}, "1-3 4094"},
           {{1}, "1"},
           {{4094}, "4094"},
           {{4093, 4094}, "4093-4094"},
           {{63}, "63"},
           {{64}, "64"},
           {{63, 64}, "63-64"},
           {{62, 64}, "62 64"},
           {{127, 128, 129, 191, 193}, "127-129 191 193"},
           {{0}, ""},
           {{4095}, ""},
           {{0, 4095}, ""},
           {{0, 1}, "1"},
           {{0, 2}, "2"},
           {{4093, 4095}, "4093"},
           {{4094, 4095}, "4094"},
           {{0, 1, 2, 4093, 4094, 4095}, "1-2 4093-4094"},
           {{10, 11, 12, 20}, "10-12 20"},
       }) {
    SCOPED_TRACE(testing::PrintToString(disabled));
    EXPECT_EQ(compressed<TypeParam>(setOf(disabled)), list);
  }
}

TYPED_TEST(VlanListOf, AllVlansAreOneRange) {
  VlanSet all;
  for (std::uint16_t id = 0; id < VlanSet::size; ++id) {
    all.insert(id);
  }
  EXPECT_EQ(compressed<TypeParam>(all), "1-4094");
  for (std::uint16_t const gap : {1, 2, 63, 64, 65, 2047, 2048, 4093, 4094}) {
    VlanSet some = all;
    some.erase(gap);
    std::string list = gap == 1 ? "" : gap == 2 ? "1" : "1-" + std::to_string(gap - 1);
    if (gap < 4094) {
      list.append(list.empty() ? "" : " ").append(std::to_string(gap + 1));
      list.append(gap == 4093 ? "" : "-4094");
    }
    EXPECT_EQ(compressed<TypeParam>(some), list);
  }
}

TYPED_TEST(VlanListOf, CompressionLeavesTheOtherMembers) {
  TypeParam container;
  container.bpduGuard = true;
  container.enabledProtocolPush(OcStpEnabledProtocol::mstp);
  compressDisabledVlans(container, setOf({7}));
  EXPECT_TRUE(container.bpduGuard);
  EXPECT_EQ(container.enabledProtocol, SharedList{OcStpEnabledProtocol::mstp});
}

// The list of a set, written without a look at how the product does it: each id either lengthens
// the last entry or begins another.
std::string listByHand(std::set<unsigned> const& ids) {
  std::vector<std::pair<unsigned, unsigned>> runs;
  for (unsigned const id : ids) {
    if (id < 1 || id > 4094) {
      continue;
    }
    if (!runs.empty() && runs.back().second + 1 == id) {
      runs.back().second = id;
    } else {
      runs.emplace_back(id, id);
    }
  }
  std::string text;
  for (auto const& [first, last] : runs) {
    text += (text.empty() ? "" : " ") + std::to_string(first);
    text += first == last ? "" : "-" + std::to_string(last);
  }
  return text;
}

void expectSameLists(std::set<unsigned> const& ids) {
  VlanSet set;
  for (unsigned const id : ids) {
    set.insert(static_cast<std::uint16_t>(id));
  }
  std::string const list = listByHand(ids);
  ASSERT_EQ(compressed<OCGlobalConfigContainer>(set), list);
}

TEST(VlanList, IsRightForEverySubsetOfIdsAtABorder) {
  // The lowest ids, those around the end of a word, and the highest, with both reserved ids.
  for (unsigned const lowest : {0U, 58U, 4084U}) {
    for (unsigned subset = 0; subset < 1U << 12U; ++subset) {
      std::set<unsigned> ids;
      for (unsigned bit = 0; bit < 12; ++bit) {
        if ((subset >> bit & 1U) != 0) {
          ids.insert(lowest + bit);
        }
      }
      expectSameLists(ids);
      if (HasFatalFailure()) {
        FAIL() << "lowest " << lowest << " subset " << subset;
      }
    }
  }
}

TEST(VlanList, IsRightForRandomSets) {
  std::mt19937 random(20261121);  // NOLINT(cert-msc51-cpp): the same sets in every run
  for (int round = 0; round < 300; ++round) {
    // From one id in a thousand to all but one in a thousand, in runs of any length.
    std::uniform_int_distribution<int> chance(1, 1000);
    int const density = chance(random);
    int const change = chance(random);
    std::set<unsigned> ids;
    bool disabled = false;
    for (unsigned id = 0; id < 4096; ++id) {
      if (chance(random) <= change) {
        disabled = chance(random) <= density;
      }
      if (disabled) {
        ids.insert(id);
      }
    }
    expectSameLists(ids);
    if (HasFatalFailure()) {
      FAIL() << "round " << round;
    }
  }
}

TEST(VlanExpansion, CoversWhatTheEntrySays) {
  EXPECT_THAT(expanded(Bridging::VlanId(1)), ElementsAre(1));
  EXPECT_THAT(expanded(Bridging::VlanId(4094)), ElementsAre(4094));
  EXPECT_THAT(expanded(VlanRange{Bridging::VlanId(10), Bridging::VlanId(12)}),
              ElementsAre(10, 11, 12));
  EXPECT_THAT(expanded(VlanRange{Bridging::VlanId(10), Bridging::VlanId(10)}), ElementsAre(10));
  EXPECT_THAT(expanded(VlanRange{Bridging::VlanId(12), Bridging::VlanId(10)}), IsEmpty());
  EXPECT_THAT(expanded(VlanRange{Bridging::VlanId(4094), Bridging::VlanId(1)}), IsEmpty());
  Ids const all = expanded(VlanRange{Bridging::VlanId(1), Bridging::VlanId(4094)});
  ASSERT_EQ(all.size(), 4094U);
  EXPECT_EQ(all.front(), 1);
  EXPECT_EQ(all.back(), 4094);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
}

TEST(VlanExpansion, GivesBackEverySubsetOfIdsAtABorder) {
  for (unsigned const lowest : {1U, 58U, 4083U}) {
    for (unsigned subset = 0; subset < 1U << 12U; ++subset) {
      Ids ids;
      for (unsigned bit = 0; bit < 12; ++bit) {
        if ((subset >> bit & 1U) != 0) {
          ids.push_back(static_cast<std::uint16_t>(lowest + bit));
        }
      }
      OCGlobalConfigContainer list;
      compressDisabledVlans(list, setOf(ids));
      Ids back;
      for (VlanIdOrRange const& entry : list.disabledVlan) {
        Ids const more = expanded(entry);
        back.insert(back.end(), more.begin(), more.end());
      }
      ASSERT_EQ(back, ids) << "lowest " << lowest << " subset " << subset;
    }
  }
}

TEST(VlanExpansion, PassesIdsOutOfRangeOn) {
  EXPECT_THAT(expanded(rawEntry(0, 9, 0)), ElementsAre(0));
  EXPECT_THAT(expanded(rawEntry(4095, 9, 0)), ElementsAre(4095));
  EXPECT_THAT(expanded(rawEntry(65535, 0, 0)), ElementsAre(65535));
  EXPECT_THAT(expanded(rawEntry(0, 2, 1)), ElementsAre(0, 1, 2));
  EXPECT_THAT(expanded(rawEntry(4093, 4096, 1)), ElementsAre(4093, 4094, 4095, 4096));
  EXPECT_THAT(expanded(rawEntry(65533, 65535, 1)), ElementsAre(65533, 65534, 65535));
  EXPECT_EQ(expanded(rawEntry(0, 65535, 1)).size(), 65536U);
}

TEST(VlanExpansionDeathTest, UnknownEntryEndsTheProcessWithTheNameOfItsOwner) {
  for (std::uint8_t const tag : {2, 3, 128, 255}) {
    EXPECT_EXIT(expanded(rawEntry(5, 6, tag)), testing::KilledBySignal(SIGABRT),
                "/src/Owner:7: void owner\\(\\): Assertion `false && \"Unknown content of "
                "VlanIdOrRange\"' failed\\.\n");
  }
}

TEST(VlanExpansion, WrongAlternativeIsRefused) {
  VlanIdOrRange const id = Bridging::VlanId(5);
  VlanIdOrRange const range = VlanRange{Bridging::VlanId(5), Bridging::VlanId(6)};
  EXPECT_THROW(static_cast<void>(id.vlanRange()), Kova::BadUnionAccessException);
  EXPECT_THROW(static_cast<void>(range.vlanId()), Kova::BadUnionAccessException);
  EXPECT_THROW(static_cast<void>(rawEntry(5, 6, 2).vlanId()), Kova::BadUnionAccessException);
  EXPECT_THROW(static_cast<void>(rawEntry(5, 6, 2).vlanRange()), Kova::BadUnionAccessException);
}

TEST(VlanList, ExpandedAndCompressedIsCanonical) {
  std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same lists in every run
  std::uniform_int_distribution<unsigned> vlan(1, 4094);
  std::uniform_int_distribution<unsigned> entries(0, 40);
  for (int round = 0; round < 200; ++round) {
    OCGlobalStateContainer list;
    std::set<unsigned> named;
    for (unsigned entry = entries(random); entry > 0; --entry) {
      unsigned const first = vlan(random);
      unsigned const last = entry % 3 == 0 ? first : entry % 3 == 1 ? vlan(random) : first + 9;
      if (last > 4094) {
        continue;
      }
      addDisabledVlanIdOrRange(list, static_cast<std::uint16_t>(first),
                               static_cast<std::uint16_t>(last));
      for (unsigned id = first; id <= last; ++id) {
        named.insert(id);
      }
    }
    VlanSet marked;
    for (VlanIdOrRange const& entry : list.disabledVlan) {
      for (std::uint16_t const id : expanded(entry)) {
        marked.insert(id);
      }
    }
    compressDisabledVlans(list, marked);
    ASSERT_EQ(textOf(list.disabledVlan), listByHand(named)) << "round " << round;
  }
}

}  // namespace
}  // namespace Stp
