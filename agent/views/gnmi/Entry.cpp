#include "agent/views/gnmi/Entry.h"

#include <algorithm>

namespace Agent::Gnmi {

LeafState const* Entry::find(RowNumber row) const {
  auto const found = std::ranges::lower_bound(leaves, row, {}, &LeafState::row);
  return found != leaves.end() && found->row == row ? &*found : nullptr;
}

bool entryLess(Entry const& a, Entry const& b) {
  return a.node != b.node ? a.node < b.node : EntryKeyLess()(a.key, b.key);
}

bool leafLess(LeafRef const& a, LeafRef const& b) {
  if (entryLess(a.entry(), b.entry())) {
    return true;
  }
  return !entryLess(b.entry(), a.entry()) && a.rowNumber() < b.rowNumber();
}

}  // namespace Agent::Gnmi
