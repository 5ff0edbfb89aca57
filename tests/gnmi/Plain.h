// What clients have to have, in the plainest of words: the document, cut into leaves.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "agent/text/Json.h"
#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Harness {

using Agent::Gnmi::Leaves;
using Agent::Gnmi::PathElement;
using Agent::Gnmi::RequestPath;

/// The leaves of the document by their paths. Knows nothing of tables of leaves.
Leaves leavesOf(Agent::OrderedJson const& document);

/// Those that one of the paths selects.
Leaves selected(Leaves const& leaves, std::vector<RequestPath> const& paths);

/// What leads from one to the other.
struct Difference {
  std::size_t updates = 0;
  std::size_t deletes = 0;
};
Difference difference(Leaves const& before, Leaves const& after);

}  // namespace Harness
