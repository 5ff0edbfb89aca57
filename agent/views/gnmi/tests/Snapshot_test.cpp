// The state against a plain map, with many entries.
#include "agent/views/gnmi/Snapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

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

class GnmiSnapshot : public testing::Test {
 protected:
  // The node with the most leaves is one of the lists.
  GnmiSnapshot()
      : node_(static_cast<std::uint16_t>(
            std::ranges::max_element(nodeRows(), {},
                                     [](NodeRows const& node) { return node.rows.count(); }) -
            nodeRows().begin())) {
    all_.add(nodeRows()[node_].rows);
  }

  // What each name is to become: another entry, or none.
  void change(std::vector<std::string> const& names, bool isThere) {
    Plain changed;
    std::vector<ChangedEntry> changes;
    for (std::string const& name : names) {
      changed[name] = nullptr;
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
    ++version_;
    state_ =
        state_.with(ChangeSet(version_, static_cast<Nanoseconds>(version_), std::move(changes)));
  }

  std::vector<EntryPtr> entries(Snapshot const& state) const {
    std::vector<EntryPtr> entries;
    state.visit(all_,
                [&](EntryPtr const& entry, RowSet const& /*rows*/) { entries.push_back(entry); });
    return entries;
  }

  std::uint16_t node_;
  Selection all_;
  Plain plain_;
  Snapshot state_;
  std::uint64_t version_ = 0;
};

TEST_F(GnmiSnapshot, IsWhatAPlainMapIs) {
  std::mt19937 random(7);
  auto const name = [&] { return "Ethernet" + std::to_string(random() % 300); };
  for (int round = 0; round < 400; ++round) {
    // It grows, shrinks to nothing at times, and grows again.
    std::vector<std::string> names(random() % (round % 50 == 0 ? 600 : 8));
    std::ranges::generate(names, name);
    change(names, round / 100 % 2 == 0 ? random() % 4 != 0 : random() % 4 == 0);
    ASSERT_EQ(entries(state_), entriesOf(plain_)) << round;
    for (int look = 0; look < 5; ++look) {
      EntryKey const key = name();
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
  change(names, true);
  Snapshot const before = state_;
  auto const entriesBefore = entriesOf(plain_);
  change({"Ethernet0", "Ethernet99", "Ethernet100", "Ethernet199"}, false);
  change({"Ethernet5"}, true);
  change(names, false);
  EXPECT_EQ(entries(before), entriesBefore);
  EXPECT_TRUE(entries(state_).empty());
}

}  // namespace
}  // namespace Agent::Gnmi
