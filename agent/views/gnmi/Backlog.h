// What a slow client has yet to be told, coalesced by leaf.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "agent/views/gnmi/ChangeSet.h"
#include "agent/views/gnmi/Notification.h"

namespace Agent::Gnmi {

/// It holds at most one value a leaf: of those that the client has, and of those that are there.
class Backlog {
 public:
  bool empty() const { return leaves_.empty(); }
  std::size_t size() const { return leaves_.size(); }

  /// What comes behind all that is in it. Of a leaf that was created after `told` and went, the
  /// client was told nothing, and is not.
  void add(Notification const& notification, Nanoseconds told);

  /// All of it, by the time of the last change; it is empty then.
  std::vector<Notification> take();

 private:
  struct Waiting {
    std::optional<std::pair<Nanoseconds, LeafRef>> deleted;
    std::optional<std::pair<Nanoseconds, Update>> updated;
  };

  std::map<std::pair<RowNumber, EntryKey>, Waiting> leaves_;
};

}  // namespace Agent::Gnmi
