// Records as leaves of the public model openconfig-spanning-tree, in the JSON of RFC 7951.
//
// The leaf is the unit in which the model is read: a record is as many leaves as it has members
// that are set to something the model knows. What is not set, and what lies outside the model's
// enumerations, is no leaf.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "agent/text/Json.h"

namespace Agent {

/// A leaf, or a whole leaf-list.
struct Leaf {
  /// With the module's name where RFC 7951 asks for it, below a node of the public model.
  std::string_view name;
  OrderedJson value;
};
using Leaves = std::vector<Leaf>;

/// /stp/global/config and /stp/global/state, with `disabled-vlan` of the project's augmentation.
Leaves leavesOf(Stp::OCGlobalContainer const& record);

/// /stp/interfaces/interface/config and state, less the key `name`.
Leaves leavesOf(Stp::InterfaceConfig const& record);
Leaves leavesOf(Stp::InterfaceState const& record);

/// /stp/mstp/mst-instances/mst-instance/config and state, less the key `mst-id`.
Leaves leavesOf(Stp::OCMstiRecord const& record);

/// Whether the model has an interface of this name: YANG has no string with other control
/// characters than tab, line feed and carriage return, or with a noncharacter of Unicode.
bool inModel(std::string_view interfaceName);

/// Whether the model has an MST instance of this id: 1 to 4094, the CIST is none.
constexpr bool inModel(std::uint16_t mstId) {
  return mstId >= 1 && mstId <= 4094;
}

}  // namespace Agent
