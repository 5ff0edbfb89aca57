// The targets as a document of the public model openconfig-spanning-tree.
#pragma once

#include "agent/state/Database.h"
#include "agent/text/Json.h"

namespace Agent {

/// The JSON document of RFC 7951. Lists are in the order of their keys; a list or container that
/// would be empty is left out, and so is what the model has no key for.
OrderedJson openConfigView(TargetView const& targets);

}  // namespace Agent
