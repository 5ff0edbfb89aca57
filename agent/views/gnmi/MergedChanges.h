// What waits where change sets come faster than they can be told one by one.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "agent/views/gnmi/ChangeSet.h"

namespace Agent::Gnmi {

/// Change sets made into one: it holds an entry at most once, of those that were there before and
/// of those that are there.
class MergedChanges {
 public:
  bool empty() const { return entries_.empty(); }

  /// What changed behind all that is in it.
  void add(std::vector<ChangedEntry> changed);

  /// All of it, in the order of paths; it is empty then.
  std::vector<ChangedEntry> take();

 private:
  std::map<std::pair<std::uint16_t, EntryKey>, ChangedEntry> entries_;
};

}  // namespace Agent::Gnmi
