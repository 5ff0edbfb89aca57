// Paths of the schema as the tables of leaves have them.
#pragma once

#include <string_view>
#include <vector>

namespace Agent {

/// The module of the names that neither have one before them nor are below such.
inline constexpr std::string_view leafModule = "openconfig-spanning-tree";

/// One name on the way from the root.
struct PathStep {
  std::string_view name;
  std::string_view module;
  /// The name of the key if it is a list, else empty.
  std::string_view listKey;

  bool operator==(PathStep const&) const = default;
};

/// The names of a path as a table has it, below a name of a module.
std::vector<PathStep> pathSteps(std::string_view path, std::string_view module = leafModule);

}  // namespace Agent
