// All leaves at one moment.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "agent/views/gnmi/ChangeSet.h"
#include "agent/views/gnmi/Entry.h"
#include "agent/views/gnmi/Selection.h"

namespace Agent::Gnmi {

/// It never changes; copies share everything, and what a change set leads to shares what stayed.
class Snapshot {
 public:
  /// Empty.
  Snapshot();

  /// That of its last change set.
  Nanoseconds time() const { return time_; }

  /// Null if there is none.
  EntryPtr find(std::size_t node, EntryKey const& key) const;

  /// Calls `visit(entry, rows)` for every entry of which something may be selected, in the order of
  /// paths.
  template <class Visit>
  void visit(Selection const& selection, Visit const& visit) const {
    for (std::size_t node = 0; node < nodes_.size(); ++node) {
      RowSet const ofNode = nodeRows()[node].rows;
      auto const visitEntry = [&](EntryPtr const& entry) {
        if (RowSet const rows = selection.rows(entry->key) & ofNode; rows.any()) {
          visit(entry, rows);
        }
      };
      if ((selection.everywhere() & ofNode).any()) {
        for (BlockPtr const& block : *nodes_[node]) {
          std::ranges::for_each(*block, visitEntry);
        }
      } else {
        std::ranges::for_each(withPatterns(selection, node), visitEntry);
      }
    }
  }

  /// The leaves of a selection, in the order of paths.
  std::vector<LeafRef> leaves(Selection const& selection) const;

  /// The state behind a change set, which is the next after this.
  Snapshot with(ChangeSet const& changes) const;

 private:
  using Entries = std::vector<EntryPtr>;
  // In the order of keys; no block is empty, or larger than a bound. A change copies one of them
  // and the list of them, and not all entries.
  using BlockPtr = std::shared_ptr<Entries const>;
  using Blocks = std::vector<BlockPtr>;
  class Replacement;

  /// The entries whose keys the patterns of a selection have, in their order.
  Entries withPatterns(Selection const& selection, std::size_t node) const;
  static void addWith(EntryKey const& pattern, Blocks const& blocks, Entries& to);

  Nanoseconds time_ = 0;
  std::vector<std::shared_ptr<Blocks const>> nodes_;
};

}  // namespace Agent::Gnmi
