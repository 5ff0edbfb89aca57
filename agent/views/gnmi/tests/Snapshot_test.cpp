// The state against a plain map, with many entries.
#include "agent/views/gnmi/Snapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string_view>

namespace Agent::Gnmi {
namespace {

using Plain = std::map<EntryKey, EntryPtr, EntryKeyLess>;

std::vector<EntryPtr> entriesOf(Plain const& plain) {
  std::vector<EntryPtr> entries;
  for (auto const& [key, entry] : plain) {
    entries.push_back(entry);
  }
  return entries;
}

// The number of a node with that path.
std::uint16_t nodeOf(std::string_view path) {
  return static_cast<std::uint16_t>(std::ranges::find(nodeRows(), path, &NodeRows::path) -
                                    nodeRows().begin());
}

class GnmiSnapshot : public testing::Test {
 protected:
  explicit GnmiSnapshot(std::string_view path = "/stp/interfaces/interface[name]")
      : node_(nodeOf(path)) {
    all_.add(nodeRows()[node_].rows);
  }

  static EntryKey named(std::string const& name) { return {name}; }
  static std::vector<EntryKey> allNamed(std::vector<std::string> const& names) {
    std::vector<EntryKey> keys;
    for (std::string const& name : names) {
      keys.push_back(named(name));
    }
    return keys;
  }

  // What each is to become: another entry, or none.
  void change(std::vector<EntryKey> const& keys, bool isThere) {
    Plain changed;
    std::vector<ChangedEntry> changes;
    for (EntryKey const& key : keys) {
      changed[key] = nullptr;
    }
    for (auto const& [key, none] : changed) {
      auto const found = plain_.find(key);
      ChangedEntry entry{found == plain_.end() ? nullptr : found->second, nullptr, {}, {}};
      if (isThere) {
        entry.after = std::make_shared<Entry const>(Entry{node_, key, {}});
        plain_[key] = entry.after;
      } else if (!entry.before) {
        continue;
      } else {
        plain_.erase(found);
      }
      changes.push_back(std::move(entry));
    }
    state_ = state_.with(ChangeSet(++time_, std::move(changes)));
  }

  std::vector<EntryPtr> entries(Snapshot const& state) const { return entries(state, all_); }
  static std::vector<EntryPtr> entries(Snapshot const& state, Selection const& selection) {
    std::vector<EntryPtr> entries;
    state.visit(selection,
                [&](EntryPtr const& entry, RowSet const& /*rows*/) { entries.push_back(entry); });
    return entries;
  }

  std::uint16_t node_;
  Selection all_;
  Plain plain_;
  Snapshot state_;
  Nanoseconds time_ = 0;
};

TEST_F(GnmiSnapshot, IsWhatAPlainMapIs) {
  std::mt19937 random(7);
  auto const name = [&] { return "Ethernet" + std::to_string(random() % 300); };
  for (int round = 0; round < 400; ++round) {
    // It grows, shrinks to nothing at times, and grows again.
    std::vector<std::string> names(random() % (round % 50 == 0 ? 600 : 8));
    std::ranges::generate(names, name);
    change(allNamed(names), round / 100 % 2 == 0 ? random() % 4 != 0 : random() % 4 == 0);
    ASSERT_EQ(entries(state_), entriesOf(plain_)) << round;
    for (int look = 0; look < 5; ++look) {
      EntryKey const key = named(name());
      auto const found = plain_.find(key);
      ASSERT_EQ(state_.find(node_, key), found == plain_.end() ? nullptr : found->second);
    }
  }
}

TEST_F(GnmiSnapshot, WhatItWasBeforeStays) {
  std::vector<std::string> names;
  for (int port = 0; port < 200; ++port) {
    names.push_back("Ethernet" + std::to_string(port));
  }
  change(allNamed(names), true);
  Snapshot const before = state_;
  auto const entriesBefore = entriesOf(plain_);
  change(allNamed({"Ethernet0", "Ethernet99", "Ethernet100", "Ethernet199"}), false);
  change(allNamed({"Ethernet5"}), true);
  change(allNamed(names), false);
  EXPECT_EQ(entries(before), entriesBefore);
  EXPECT_TRUE(entries(state_).empty());
}

// A list in a list.
class GnmiNestedSnapshot : public GnmiSnapshot {
 protected:
  GnmiNestedSnapshot()
      : GnmiSnapshot("/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]") {}

  static EntryKey keyOf(std::uint64_t instance, std::uint64_t port) {
    return {instance, "Ethernet" + std::to_string(port)};
  }
  std::vector<EntryPtr> plainly(std::vector<EntryKey> const& patterns) const {
    std::vector<EntryPtr> found;
    for (auto const& [key, entry] : plain_) {
      if (std::ranges::any_of(patterns, [&key = key](EntryKey const& pattern) {
            return (!isSaid(pattern[0]) || pattern[0] == key[0]) &&
                   (!isSaid(pattern[1]) || pattern[1] == key[1]);
          })) {
        found.push_back(entry);
      }
    }
    return found;
  }
};

TEST_F(GnmiNestedSnapshot, PatternsFindWhatAPlainMapHas) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    std::vector<EntryKey> keys(random() % 60);
    std::ranges::generate(keys, [&] { return keyOf(1 + random() % 6, random() % 40); });
    change(keys, round / 50 % 2 == 0 ? random() % 4 != 0 : random() % 4 == 0);
    ASSERT_EQ(entries(state_), entriesOf(plain_)) << round;
    // Each key is said or not.
    std::vector<EntryKey> patterns(1 + random() % 4);
    Selection selection;
    for (EntryKey& pattern : patterns) {
      pattern = keyOf(1 + random() % 7, random() % 42);
      for (PlainKey& plain : pattern) {
        if (random() % 3 == 0) {
          plain = {};
        }
      }
      selection.add(nodeRows()[node_].rows, pattern);
    }
    ASSERT_EQ(entries(state_, selection), plainly(patterns)) << round;
  }
}

}  // namespace
}  // namespace Agent::Gnmi
