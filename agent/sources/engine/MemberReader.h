// JSON read in part: what the agent looks at of an engine's answers is half of them.
#pragma once

#include <span>
#include <string_view>

#include "agent/text/Json.h"

namespace Agent {

/// What a text says, with those members of its objects alone that are named here, sorted. All of
/// the text is checked; of a member given twice the last counts. Throws Json::parse_error.
Json parseMembers(std::string_view text, std::span<std::string_view const> names);

}  // namespace Agent
