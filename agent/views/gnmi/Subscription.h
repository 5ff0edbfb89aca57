// What a client asks of one Subscribe call, checked and compiled.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "agent/views/gnmi/RequestPath.h"
#include "agent/views/gnmi/Selection.h"

namespace Agent::Gnmi {

/// How a call goes on, by the numbers on the wire; so are the next.
enum class CallMode : int { stream = 0, once = 1, poll = 2 };
enum class PathMode : int { targetDefined = 0, onChange = 1, sample = 2 };

/// One path of a call, as it was sent; intervals are in nanoseconds.
struct PathRequest {
  RequestPath path = {};
  PathMode mode = PathMode::targetDefined;
  std::uint64_t sampleInterval = 0;
  bool suppressRedundant = false;
  std::uint64_t heartbeatInterval = 0;
};

/// A call, as it was sent.
struct SubscribeRequest {
  CallMode mode = CallMode::stream;
  RequestPath prefix = {};
  std::vector<PathRequest> paths = {};
  std::vector<ModelName> useModels = {};
  bool updatesOnly = false;
};

/// What bounds the calls.
struct SubscribeLimits {
  std::size_t paths = 256;
  std::chrono::nanoseconds leastInterval = std::chrono::seconds(1);
  /// How often counters are sampled where that is left to the target.
  std::chrono::nanoseconds counterInterval = std::chrono::seconds(10);
  RowSet counters = counterRows();
};

/// What is sent again and again.
struct Sampling {
  Selection selection;
  std::chrono::nanoseconds interval{};
  /// Whether it leaves out what has not changed since the last time.
  bool suppressesRedundant = false;
  /// Another of the plan's, by its place: what this sends, that one needs not send again.
  std::optional<std::size_t> beats = std::nullopt;
};

/// A call, compiled.
struct SubscriptionPlan {
  CallMode mode = CallMode::stream;
  bool updatesOnly = false;
  Selection initial;   ///< what is told first, or at each poll
  Selection onChange;  ///< what is told when it changes
  Selection onDelete;  ///< what is told when it goes
  std::vector<Sampling> samplings;
};

/// Checks and compiles a call. Throws a Failure.
SubscriptionPlan planOf(SubscribeRequest const& request, SubscribeLimits const& limits);

}  // namespace Agent::Gnmi
