// The active topology as a bridge sees it, for Graphviz.
#pragma once

#include <string>
#include <string_view>

#include "agent/views/status/BridgeStatus.h"

namespace Agent {

/// A graph with a cluster for each tree: the bridge, a link for each of its ports, and behind it
/// the bridge that is designated there and the root as far as ports tell of them. What does not
/// forward is dashed, what is in trouble red.
std::string topologyGraph(std::string_view bridge, BridgeStatus const& status);

}  // namespace Agent
