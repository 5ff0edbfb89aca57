// What one operation, one snapshot of an engine, or one write of a client changed.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "agent/views/gnmi/Entry.h"

namespace Agent::Gnmi {

/// An entry before and after: null where it is not there.
struct ChangedEntry {
  EntryPtr before;
  EntryPtr after;
  /// The rows of `after` that are new or have another value, and those of `before` that are gone;
  /// what went and came back may stand in both.
  RowSet updates;
  RowSet deletes;
  /// How many values of a row of `updates` were there meanwhile; mostly of none.
  std::map<RowNumber, std::uint32_t> skipped = {};

  Entry const& any() const { return after ? *after : *before; }
};

/// It never changes, but for what those who serialise it keep with it.
class ChangeSet {
 public:
  /// `changed` is in the order of paths, and nothing in it is without change.
  ChangeSet(Nanoseconds time, std::vector<ChangedEntry> changed)
      : time_(time), changed_(std::move(changed)) {}

  /// Rises from each to the next.
  Nanoseconds time() const { return time_; }
  std::vector<ChangedEntry> const& changed() const { return changed_; }

  /// What `make` made under this key: by the first who asks, others wait for it. From any thread;
  /// `make` must not ask this again. It lives as long as this.
  template <class Made>
  std::shared_ptr<Made const> shared(
      std::string const& key, std::function<std::shared_ptr<Made const>()> const& make) const {
    return std::static_pointer_cast<Made const>(
        keep(key, [&make]() -> std::shared_ptr<void const> { return make(); }));
  }

 private:
  std::shared_ptr<void const> keep(std::string const& key,
                                   std::function<std::shared_ptr<void const>()> const& make) const;

  Nanoseconds time_;
  std::vector<ChangedEntry> changed_;
  mutable std::mutex mutex_;
  mutable std::vector<std::pair<std::string, std::shared_ptr<void const>>> kept_;
};
using ChangeSetPtr = std::shared_ptr<ChangeSet const>;

}  // namespace Agent::Gnmi
