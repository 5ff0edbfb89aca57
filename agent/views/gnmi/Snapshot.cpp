#include "agent/views/gnmi/Snapshot.h"

#include <utility>

namespace Agent::Gnmi {

namespace {

struct KeyLess {
  bool operator()(EntryPtr const& entry, EntryKey const& key) const {
    return EntryKeyLess()(entry->key, key);
  }
};

}  // namespace

Snapshot::Snapshot() : nodes_(nodeRows().size(), std::make_shared<Entries const>()) {
}

EntryPtr Snapshot::find(std::size_t node, EntryKey const& key) const {
  Entries const& entries = *nodes_[node];
  auto const found = std::lower_bound(entries.begin(), entries.end(), key, KeyLess());
  return found != entries.end() && (*found)->key == key ? *found : nullptr;
}

std::vector<LeafRef> Snapshot::leaves(Selection const& selection) const {
  std::vector<LeafRef> leaves;
  visit(selection, [&](EntryPtr const& entry, RowSet const& rows) {
    for (LeafState const& leaf : entry->leaves) {
      if (rows[leaf.row]) {
        leaves.emplace_back(entry, leaf);
      }
    }
  });
  return leaves;
}

Snapshot Snapshot::with(ChangeSet const& changes) const {
  Snapshot next = *this;
  next.version_ = changes.version();
  next.time_ = changes.time();
  auto change = changes.changed().begin();
  while (change != changes.changed().end()) {
    std::uint16_t const node = change->any().node;
    Entries const& before = *nodes_[node];
    Entries after;
    after.reserve(before.size() + 1);
    auto rest = before.begin();
    for (; change != changes.changed().end() && change->any().node == node; ++change) {
      EntryKey const& key = change->any().key;
      auto const at = std::lower_bound(rest, before.end(), key, KeyLess());
      after.insert(after.end(), rest, at);
      rest = at != before.end() && (*at)->key == key ? std::next(at) : at;
      if (change->after) {
        after.push_back(change->after);
      }
    }
    after.insert(after.end(), rest, before.end());
    next.nodes_[node] = std::make_shared<Entries const>(std::move(after));
  }
  return next;
}

Snapshot::Entries Snapshot::withKeys(Selection const& selection, std::size_t node) const {
  Entries entries;
  for (auto const& [key, rows] : selection.byKey()) {
    if ((rows & nodeRows()[node].rows).any()) {
      if (EntryPtr entry = find(node, key)) {
        entries.push_back(std::move(entry));
      }
    }
  }
  std::ranges::sort(entries,
                    [](EntryPtr const& a, EntryPtr const& b) { return entryLess(*a, *b); });
  return entries;
}

}  // namespace Agent::Gnmi
