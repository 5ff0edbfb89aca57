#include "StpTypes/VlanTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Stp {
namespace {

std::vector<unsigned> walk(VlanSet const& set) {
  std::vector<unsigned> ids;
  for (unsigned id = set.next(0); id < VlanSet::size; id = set.next(id + 1)) {
    ids.push_back(id);
  }
  return ids;
}

TEST(VlanSet, IsEmptyAtFirst) {
  VlanSet const set;
  EXPECT_EQ(walk(set), std::vector<unsigned>{});
  EXPECT_EQ(set.next(0), 4096U);
  EXPECT_FALSE(set.contains(0));
  EXPECT_EQ(set, VlanSet());
}

TEST(VlanSet, HoldsTheEdgesOfItsWords) {
  std::vector<unsigned> const ids = {0, 1, 62, 63, 64, 65, 127, 128, 4031, 4032, 4094, 4095};
  VlanSet set;
  for (unsigned const id : ids) {
    set.insert(static_cast<std::uint16_t>(id));
  }
  EXPECT_EQ(walk(set), ids);
  EXPECT_EQ(set.words()[0], 0xC000000000000003U);
  EXPECT_EQ(set.words()[1], 0x8000000000000003U);
  EXPECT_EQ(set.words()[63], 0xC000000000000001U);
}

TEST(VlanSet, ContainsNoIdAbove4095AndRefusesIt) {
  VlanSet set;
  set.insert(0);
  set.insert(4095);
  for (unsigned const id : {4096U, 4097U, 8191U, 65535U}) {
    auto const vlan = static_cast<std::uint16_t>(id);
    EXPECT_FALSE(set.contains(vlan)) << id;
    set.erase(vlan);
    try {
      set.insert(vlan);
      ADD_FAILURE() << id << " was accepted";
    } catch (Lumo::RangeException const& exception) {
      EXPECT_EQ(exception.what(), "a VLAN table holds ids 0 to 4095, not " + std::to_string(id));
    }
  }
  EXPECT_EQ(walk(set), (std::vector<unsigned>{0, 4095}));
}

TEST(VlanSet, FindsNothingFromPastItsEnd) {
  VlanSet set;
  set.insert(4095);
  EXPECT_EQ(set.next(4095), 4095U);
  for (unsigned const from : {4096U, 4097U, 65535U, ~0U}) {
    EXPECT_EQ(set.next(from), 4096U) << from;
  }
}

TEST(VlanSet, AgreesWithAStandardSetUnderRandomUse) {
  for (unsigned seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    VlanSet set;
    VlanSet other;
    std::set<unsigned> model;
    std::set<unsigned> otherModel;
    // Few ids leave words empty, many fill them.
    int const steps = seed % 3 == 0 ? 10 : 6000;
    for (int step = 0; step < steps; ++step) {
      unsigned const id = random() % 4096;
      if (random() % 4 == 0) {
        set.erase(static_cast<std::uint16_t>(id));
        model.erase(id);
      } else {
        set.insert(static_cast<std::uint16_t>(id));
        model.insert(id);
      }
      unsigned const otherId = random() % 4096;
      other.insert(static_cast<std::uint16_t>(otherId));
      otherModel.insert(otherId);
    }
    ASSERT_EQ(walk(set), std::vector<unsigned>(model.begin(), model.end()));
    for (unsigned from = 0; from < 4096; ++from) {
      auto const found = model.lower_bound(from);
      ASSERT_EQ(set.next(from), found == model.end() ? 4096 : *found) << from;
      ASSERT_EQ(set.contains(static_cast<std::uint16_t>(from)), model.contains(from)) << from;
    }
    std::vector<unsigned> both;
    std::ranges::set_intersection(model, otherModel, std::back_inserter(both));
    EXPECT_EQ(walk(set & other), both);
    EXPECT_EQ(walk(other & set), both);
    EXPECT_EQ(set == other, model == otherModel);
    VlanSet const copy = set;
    EXPECT_EQ(copy, set);
  }
}

TEST(VlanSequence, KeepsTheOrderInWhichIdsCame) {
  using Ids = std::vector<std::uint16_t>;
  VlanSequence sequence;
  EXPECT_EQ(sequence.inOrder(), Ids{});
  for (std::uint16_t const id : {20, 4095, 0, 10, 20, 0}) {
    sequence.insert(id);
  }
  EXPECT_EQ(sequence.inOrder(), (Ids{20, 4095, 0, 10}));
  sequence.erase(4095);
  sequence.erase(4095);
  sequence.erase(7);
  sequence.erase(4096);
  sequence.erase(65535);
  EXPECT_EQ(sequence.inOrder(), (Ids{20, 0, 10}));
  sequence.erase(20);
  sequence.insert(20);
  EXPECT_EQ(sequence.inOrder(), (Ids{0, 10, 20}));
  EXPECT_THROW(sequence.insert(4096), Lumo::RangeException);
  EXPECT_EQ(sequence.inOrder(), (Ids{0, 10, 20}));
}

TEST(VlanSequence, ContainsNoIdAbove4095WhateverItHolds) {
  VlanSequence rising;
  VlanSequence falling;
  for (std::uint16_t vlan = 0; vlan < VlanSet::size; ++vlan) {
    rising.insert(vlan);
    falling.insert(static_cast<std::uint16_t>(VlanSet::size - 1 - vlan));
  }
  for (unsigned vlan = VlanSet::size; vlan <= 0xFFFF; ++vlan) {
    ASSERT_FALSE(rising.contains(static_cast<std::uint16_t>(vlan))) << vlan;
    ASSERT_FALSE(falling.contains(static_cast<std::uint16_t>(vlan))) << vlan;
  }
}

TEST(VlanSequence, AgreesWithAListUnderRandomUse) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    unsigned const ids = seed % 2 == 0 ? 8 : 4096;
    VlanSequence sequence;
    std::vector<std::uint16_t> model;
    for (int step = 0; step < 300; ++step) {
      auto const id = static_cast<std::uint16_t>(4095 - random() % ids);
      auto const found = std::ranges::find(model, id);
      ASSERT_EQ(sequence.contains(id), found != model.end());
      if (random() % 3 == 0) {
        sequence.erase(id);
        std::erase(model, id);
      } else {
        sequence.insert(id);
        if (found == model.end()) {
          model.push_back(id);
        }
      }
      ASSERT_EQ(sequence.inOrder(), model);
      std::vector<unsigned> sorted(model.begin(), model.end());
      std::ranges::sort(sorted);
      ASSERT_EQ(walk(sequence.ids()), sorted);
    }
  }
}

TEST(VlanTable, TellsFalseFromNoEntry) {
  VlanTable table;
  EXPECT_EQ(table.find(10), std::nullopt);
  table.insert(10, false);
  EXPECT_EQ(table.find(10), false);
  table.insert(10, true);
  EXPECT_EQ(table.find(10), true);
  table.insert(10, false);
  EXPECT_EQ(table.find(10), false);
  table.insert(10, true);
  table.erase(10);
  EXPECT_EQ(table.find(10), std::nullopt);
  table.insert(10, false);
  EXPECT_EQ(table.find(10), false) << "the earlier true is forgotten";
}

TEST(VlanTable, RefusesAnIdAbove4095AndStaysAsItWas) {
  VlanTable table;
  EXPECT_THROW(table.insert(4096, true), Lumo::RangeException);
  EXPECT_THROW(table.insert(65535, false), Lumo::RangeException);
  table.erase(4096);
  EXPECT_EQ(table.find(4096), std::nullopt);
  EXPECT_EQ(walk(table.entries().ids()), std::vector<unsigned>{});
  EXPECT_EQ(walk(table.trueEntries()), std::vector<unsigned>{});
}

TEST(VlanTable, AgreesWithAStandardMapUnderRandomUse) {
  for (unsigned seed = 0; seed < 10; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    VlanTable table;
    std::map<unsigned, bool> model;
    for (int step = 0; step < 5000; ++step) {
      unsigned const id = random() % 4096;
      if (random() % 3 == 0) {
        table.erase(static_cast<std::uint16_t>(id));
        model.erase(id);
      } else {
        bool const value = random() % 2 == 0;
        table.insert(static_cast<std::uint16_t>(id), value);
        model[id] = value;
      }
    }
    std::vector<unsigned> entries;
    std::vector<unsigned> trueEntries;
    for (auto const& [id, value] : model) {
      ASSERT_EQ(table.find(static_cast<std::uint16_t>(id)), value);
      entries.push_back(id);
      if (value) {
        trueEntries.push_back(id);
      }
    }
    EXPECT_EQ(walk(table.entries().ids()), entries);
    EXPECT_EQ(walk(table.trueEntries()), trueEntries);
  }
}

}  // namespace
}  // namespace Stp
