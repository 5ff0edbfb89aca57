#include "agent/views/gnmi/rpc/AwaitedRequests.h"

#include <string>
#include <utility>
#include <vector>

namespace Agent::Gnmi {

Failure requestIsLate() {
  return {Code::deadlineExceeded,
          "no request came within " + std::to_string(requestPatience.count()) + " s"};
}

std::unique_ptr<AwaitedRequests::Wait> AwaitedRequests::begins(std::function<void()> giveUp) {
  std::lock_guard const lock(mutex_);
  list_.push_back({SteadyClock::now(), std::move(giveUp)});
  return std::make_unique<Wait>(*this, std::prev(list_.end()));
}

void AwaitedRequests::look(Time now) {
  std::vector<std::function<void()>> late;
  {
    std::lock_guard const lock(mutex_);
    for (auto each = list_.begin(); each != list_.end() && each->since + requestPatience <= now;
         ++each) {
      if (each->giveUp) {
        late.push_back(std::exchange(each->giveUp, nullptr));
      }
    }
  }
  for (auto const& giveUp : late) {
    giveUp();
  }
}

void AwaitedRequests::ends(List::iterator awaited) {
  std::lock_guard const lock(mutex_);
  list_.erase(awaited);
}

}  // namespace Agent::Gnmi
