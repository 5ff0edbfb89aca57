#include "agent/views/gnmi/MergedChanges.h"

#include <algorithm>

namespace Agent::Gnmi {

namespace {

void merge(ChangedEntry& waiting, ChangedEntry& next) {
  for (LeafRow const& leafRow : leafRows()) {
    RowNumber const row = leafRow.number;
    if (next.deletes[row]) {
      waiting.updates.reset(row);
      waiting.skipped.erase(row);
      // What was not there before is told neither.
      waiting.deletes.set(row, waiting.before && waiting.before->find(row) != nullptr);
    } else if (next.updates[row]) {
      if (waiting.updates[row]) {
        ++waiting.skipped[row];
      }
      waiting.updates.set(row);
    }
  }
  waiting.after = std::move(next.after);
}

}  // namespace

void MergedChanges::add(std::vector<ChangedEntry> changed) {
  for (ChangedEntry& entry : changed) {
    std::pair id(entry.any().node, entry.any().key);
    auto const found = entries_.find(id);
    if (found == entries_.end()) {
      entries_.emplace(std::move(id), std::move(entry));
      continue;
    }
    merge(found->second, entry);
    if (found->second.updates.none() && found->second.deletes.none()) {
      entries_.erase(found);
    }
  }
}

std::vector<ChangedEntry> MergedChanges::take() {
  std::vector<ChangedEntry> all;
  for (auto& [id, entry] : entries_) {
    all.push_back(std::move(entry));
  }
  entries_.clear();
  std::ranges::sort(all, [](ChangedEntry const& a, ChangedEntry const& b) {
    return entryLess(a.any(), b.any());
  });
  return all;
}

}  // namespace Agent::Gnmi
