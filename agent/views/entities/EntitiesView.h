// The targets as they are: every record with the values it holds.
#pragma once

#include "agent/state/Database.h"
#include "agent/text/Json.h"

namespace Agent {

/// An object with a member for each target: its record, or its records by key in ascending order,
/// names by byte, ids by number.
OrderedJson entitiesView(TargetView const& targets);

}  // namespace Agent
