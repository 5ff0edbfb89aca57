// The answers of Get: leaves and subtrees of one state.
#pragma once

#include <vector>

#include "agent/text/Json.h"
#include "agent/views/gnmi/Selection.h"
#include "agent/views/gnmi/Snapshot.h"

namespace Agent::Gnmi {

/// A node with all that is asked of it and below it.
struct Subtree {
  SchemaNode const* node;
  /// Of the lists at and above the node.
  EntryKey key;
  /// A leaf's value, or an object whose first names carry their module. Of the root it is the
  /// document.
  OrderedJson value;
};

/// The leaves of a path that are among `rows`, in the order of paths. A path that can mean one
/// thing alone and has no leaf at all is not found: throws a Failure.
std::vector<LeafRef> leavesOf(Snapshot const& state, ResolvedPath const& path, RowSet const& rows);

/// The same as values of JSON: one for a path that can mean one thing alone, else one for each node
/// that it means, each entry of a list on its own. What has no leaf among `rows` is left out.
std::vector<Subtree> subtreesOf(Snapshot const& state, ResolvedPath const& path,
                                RowSet const& rows);

}  // namespace Agent::Gnmi
