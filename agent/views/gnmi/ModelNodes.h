// The nodes of the public model, served or not.
#pragma once

#include <span>
#include <string_view>

namespace Agent::Gnmi {

/// Leaves and leaf-lists of one container, or the key's leaf of a list.
struct ModelNodes {
  /// From the root; lists have the name of their key behind them: "/stp/rapid-pvst/vlan[vlan-id]".
  std::string_view path;
  /// The names, with blanks between them.
  std::string_view leaves;
};

/// All of openconfig-spanning-tree, of the version in `models()`.
std::span<ModelNodes const> modelNodes();

}  // namespace Agent::Gnmi
