#include "agent/views/gnmi/Backlog.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Agent::Gnmi {

void Backlog::add(Notification const& notification, Nanoseconds told) {
  for (LeafRef const& leaf : notification.deletes) {
    auto const found = leaves_.try_emplace(std::pair(leaf.rowNumber(), leaf.key())).first;
    if (!found->second.deleted && leaf.created() > told) {
      leaves_.erase(found);
    } else {
      found->second = {{{notification.time, leaf}}, {}};
    }
  }
  for (Update const& update : notification.updates) {
    Waiting& waiting = leaves_[{update.leaf.rowNumber(), update.leaf.key()}];
    std::uint64_t duplicates = update.duplicates;
    if (waiting.updated) {
      duplicates += std::uint64_t{waiting.updated->second.duplicates} + 1;
    }
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
    waiting.updated = {notification.time,
                       {update.leaf, static_cast<std::uint32_t>(std::min(duplicates, most))}};
  }
}

std::vector<Notification> Backlog::take() {
  std::map<Nanoseconds, Notification> byTime;
  for (auto& [id, waiting] : leaves_) {
    if (waiting.deleted) {
      Nanoseconds const time = waiting.updated ? waiting.updated->first : waiting.deleted->first;
      byTime[time].deletes.push_back(waiting.deleted->second);
    }
    if (waiting.updated) {
      byTime[waiting.updated->first].updates.push_back(waiting.updated->second);
    }
  }
  leaves_.clear();
  std::vector<Notification> all;
  for (auto& [time, notification] : byTime) {
    notification.time = time;
    std::ranges::sort(notification.deletes, leafLess);
    std::ranges::sort(notification.updates, leafLess, &Update::leaf);
    std::ranges::move(split(std::move(notification)), std::back_inserter(all));
  }
  return all;
}

}  // namespace Agent::Gnmi
