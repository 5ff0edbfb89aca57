// What a client is told at once: leaves that went, and leaves with their values, of one time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "agent/views/gnmi/ChangeSet.h"
#include "agent/views/gnmi/Entry.h"
#include "agent/views/gnmi/Selection.h"

namespace Agent::Gnmi {

struct Update {
  LeafRef leaf;
  /// How many values of it the client was not told before this one.
  std::uint32_t duplicates = 0;
};

/// Both in the order of paths. A leaf that stands in both went and came back.
struct Notification {
  Nanoseconds time = 0;
  std::vector<LeafRef> deletes = {};
  std::vector<Update> updates = {};
};

/// About how many bytes a notification may have as JSON; none that is made here has more.
inline constexpr std::size_t largestNotification = 900'000;

/// Splits what is too large into several of the same time; deletes come first.
std::vector<Notification> split(Notification notification);

/// What a stream is told of changes. Equal filters of one hub are the same object, so that what is
/// made for one stream can serve all.
class Filter {
 public:
  Filter(std::uint64_t id, Selection updates, Selection deletes)
      : id_(id), updates_(std::move(updates)), deletes_(std::move(deletes)) {}

  /// Never that of another filter in this process.
  std::uint64_t id() const { return id_; }
  Selection const& updates() const { return updates_; }
  Selection const& deletes() const { return deletes_; }

  bool matches(ChangeSet const& changes) const;
  /// What is told of a change set, split if need be; nothing if it does not match.
  std::vector<Notification> notifications(ChangeSet const& changes) const;

 private:
  std::uint64_t id_;
  Selection updates_;
  Selection deletes_;
};
using FilterPtr = std::shared_ptr<Filter const>;

}  // namespace Agent::Gnmi
