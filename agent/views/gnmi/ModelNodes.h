// The nodes of the public model, served or not.
#pragma once

#include <span>
#include <string_view>

namespace Agent::Gnmi {

/// Leaves and leaf-lists of one container, or the key's leaf of a list.
struct ModelNodes {
  /// From the root, as the tables of leaves have their nodes: "/stp/rapid-pvst/vlan[vlan-id]".
  std::string_view path;
  /// The names, with blanks between them, behind their module where that is another than the
  /// container's.
  std::string_view leaves;
};

/// All of openconfig-spanning-tree, and what beyond it has nodes in the modules of this project
/// that are not served, of the versions in `models()`.
std::span<ModelNodes const> modelNodes();

}  // namespace Agent::Gnmi
