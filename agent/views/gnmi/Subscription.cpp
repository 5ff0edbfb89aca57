#include "agent/views/gnmi/Subscription.h"

#include <algorithm>
#include <limits>
#include <string>

#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

namespace {

using std::chrono::nanoseconds;

[[noreturn]] void refuse(std::string const& path, std::string const& reason) {
  throw Failure(Code::invalidArgument, path + ": " + reason);
}

std::string text(nanoseconds interval) {
  return std::to_string(interval.count()) + " ns";
}

// Adds one path to the plan of a call that streams.
class StreamPlanner {
 public:
  StreamPlanner(SubscriptionPlan& plan, SubscribeLimits const& limits, PathRequest const& request,
                ResolvedPath const& path)
      : plan_(plan), limits_(limits), request_(request), path_(path) {}

  void add() {
    nanoseconds const sample = interval("sample_interval", request_.sampleInterval);
    nanoseconds const heartbeat = interval("heartbeat_interval", request_.heartbeatInterval);
    plan_.onDelete.add(path_.selection);
    switch (request_.mode) {
      case PathMode::onChange:
        plan_.onChange.add(path_.selection);
        addHeartbeat(path_.selection, atLeast("heartbeat_interval", heartbeat));
        return;
      case PathMode::sample: addSample(sample, heartbeat); return;
      case PathMode::targetDefined: addTargetDefined(sample, heartbeat); return;
    }
    refuse(path_.text, "unknown mode " + std::to_string(static_cast<int>(request_.mode)));
  }

 private:
  nanoseconds interval(char const* name, std::uint64_t given) const {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    if (given > std::uint64_t{most}) {
      refuse(path_.text, std::string(name) + " " + std::to_string(given) +
                             " is too long, the longest is " + std::to_string(most) + " ns");
    }
    return nanoseconds(given);
  }

  nanoseconds atLeast(char const* name, nanoseconds given) const {
    if (given > nanoseconds::zero() && given < limits_.leastInterval) {
      refuse(path_.text, std::string(name) + " " + text(given) + " is too short, the shortest is " +
                             text(limits_.leastInterval));
    }
    return given;
  }

  // None if it is zero.
  void addHeartbeat(Selection const& selection, nanoseconds interval) {
    if (interval > nanoseconds::zero() && !selection.empty()) {
      plan_.samplings.push_back({selection, interval});
    }
  }

  void addSample(nanoseconds sample, nanoseconds heartbeat) {
    nanoseconds const every =
        atLeast("sample_interval", sample) == nanoseconds::zero() ? limits_.leastInterval : sample;
    if (heartbeat > nanoseconds::zero() && heartbeat < every) {
      refuse(path_.text, "heartbeat_interval " + text(heartbeat) +
                             " is shorter than the sample interval, " + text(every));
    }
    std::size_t const at = plan_.samplings.size();
    plan_.samplings.push_back({path_.selection, every, request_.suppressRedundant});
    // Where nothing is left out, every sample is a heartbeat.
    if (heartbeat > nanoseconds::zero() && request_.suppressRedundant) {
      plan_.samplings.push_back({path_.selection, heartbeat, false, at});
    }
  }

  void addTargetDefined(nanoseconds sample, nanoseconds heartbeat) {
    if (sample > nanoseconds::zero()) {
      refuse(path_.text,
             "sample_interval " + text(sample) + " although the target is to define it");
    }
    atLeast("heartbeat_interval", heartbeat);
    Selection changing = path_.selection;
    changing.restrictTo(~limits_.counters);
    plan_.onChange.add(changing);
    addHeartbeat(changing, heartbeat);
    Selection counting = path_.selection;
    counting.restrictTo(limits_.counters);
    addHeartbeat(counting, std::max(limits_.counterInterval, limits_.leastInterval));
  }

  SubscriptionPlan& plan_;
  SubscribeLimits const& limits_;
  PathRequest const& request_;
  ResolvedPath const& path_;
};

}  // namespace

SubscriptionPlan planOf(SubscribeRequest const& request, SubscribeLimits const& limits) {
  if (request.paths.empty()) {
    throw Failure(Code::invalidArgument, "the list of subscriptions is empty");
  }
  if (request.paths.size() > limits.paths) {
    throw Failure(Code::resourceExhausted, std::to_string(request.paths.size()) +
                                               " subscriptions, the most in one call are " +
                                               std::to_string(limits.paths));
  }
  if (request.mode < CallMode::stream || request.mode > CallMode::poll) {
    throw Failure(Code::invalidArgument, "unknown mode of the list of subscriptions: " +
                                             std::to_string(static_cast<int>(request.mode)));
  }
  SubscriptionPlan plan;
  plan.mode = request.mode;
  plan.updatesOnly = request.updatesOnly;
  RowSet const among = rowsOf(request.useModels);
  for (PathRequest const& asked : request.paths) {
    ResolvedPath path = resolve(joined(request.prefix, asked.path));
    path.selection.restrictTo(among);
    plan.initial.add(path.selection);
    if (request.mode == CallMode::stream) {
      StreamPlanner(plan, limits, asked, path).add();
    }
  }
  return plan;
}

}  // namespace Agent::Gnmi
