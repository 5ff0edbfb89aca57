// Paths as clients send and get them.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "agent/views/gnmi/LeafRows.h"
#include "agent/views/gnmi/Schema.h"

namespace Agent::Gnmi {

struct PathElement {
  std::string name;
  std::map<std::string, std::string> keys = {};

  bool operator==(PathElement const&) const = default;
};

struct RequestPath {
  std::string origin = {};
  std::vector<PathElement> elements = {};

  bool operator==(RequestPath const&) const = default;
};

/// The limits of a path.
inline constexpr std::size_t deepestPath = 32;
inline constexpr std::size_t longestKey = 256;

/// The elements of both behind each other, with the origin that one of them has. Throws a Failure
/// if both have one, if it is none of ours, or if a limit is passed.
RequestPath joined(RequestPath const& prefix, RequestPath const& path);

/// As it stands in a message: "/stp/interfaces/interface[name=Ethernet1]/config"; "/" for the root.
std::string pathText(std::vector<PathElement> const& elements);
std::string elementText(PathElement const& element);

/// The path of a node of the schema in an entry: the lists at and above it have their keys, as far
/// as those are said. With bare names.
std::vector<PathElement> pathOf(SchemaNode const& node, EntryKey const& key);
std::vector<PathElement> pathOf(LeafRow const& row, EntryKey const& key);

}  // namespace Agent::Gnmi
