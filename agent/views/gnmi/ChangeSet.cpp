#include "agent/views/gnmi/ChangeSet.h"

#include <algorithm>

namespace Agent::Gnmi {

std::shared_ptr<void const> ChangeSet::keep(
    std::string const& key, std::function<std::shared_ptr<void const>()> const& make) const {
  std::scoped_lock const lock(mutex_);
  auto const found =
      std::ranges::find(kept_, key, &std::pair<std::string, std::shared_ptr<void const>>::first);
  return found != kept_.end() ? found->second : kept_.emplace_back(key, make()).second;
}

}  // namespace Agent::Gnmi
