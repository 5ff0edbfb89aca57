// The leaves of one entry of a list, as they were at one moment; for all threads.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "agent/views/gnmi/Clocks.h"
#include "agent/views/gnmi/LeafRows.h"

namespace Agent::Gnmi {

struct LeafState {
  RowNumber row;
  std::shared_ptr<LeafValue const> value;
  /// When it took this value, and since when it is there.
  Nanoseconds changed = 0;
  Nanoseconds created = 0;
};

/// All leaves of one entry of a list, or of a node that is no list. Once it was published it
/// changes no more: a change is another entry, which shares the values that stayed.
struct Entry {
  std::uint16_t node;
  EntryKey key;
  std::vector<LeafState> leaves;  // by row

  /// Null if it has none of this row.
  LeafState const* find(RowNumber row) const;
};
using EntryPtr = std::shared_ptr<Entry const>;

/// Orders entries by their paths.
bool entryLess(Entry const& a, Entry const& b);

/// One leaf, which keeps its entry alive. Of a leaf that went, as it was last.
class LeafRef {
 public:
  LeafRef(EntryPtr entry, LeafState const& state) : entry_(std::move(entry)), state_(&state) {}

  LeafRow const& row() const { return leafRows()[state_->row]; }
  RowNumber rowNumber() const { return state_->row; }
  EntryKey const& key() const { return entry_->key; }
  LeafValue const& value() const { return *state_->value; }
  /// When it took this value.
  Nanoseconds changed() const { return state_->changed; }
  Nanoseconds created() const { return state_->created; }
  Entry const& entry() const { return *entry_; }

 private:
  EntryPtr entry_;
  LeafState const* state_;
};

/// Orders leaves by their paths.
bool leafLess(LeafRef const& a, LeafRef const& b);

}  // namespace Agent::Gnmi
