// The status of a bridge for programs.
#pragma once

#include <string_view>

#include "agent/text/Json.h"
#include "agent/views/status/BridgeStatus.h"

namespace Agent {

/// An object with all that is known; what is not known is absent.
OrderedJson statusJson(std::string_view bridge, BridgeStatus const& status);

}  // namespace Agent
