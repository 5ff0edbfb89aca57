// What belongs to a source.
//
// Two sources beside each other are the normal case: an engine, and operations for what the engine
// doesn't know. Each says in a table which attributes and collections of the roots are its own,
// with all that is below them, and what it makes the state say ends there.
#pragma once

#include <tuple>

#include "StpTypes/AttributeTable.h"
#include "agent/state/Database.h"

namespace Agent {

/// The row of an entity type's table that has this number.
template <class Entity, typename Entity::Id id>
constexpr auto const& rowOf() {
  constexpr std::size_t at = std::apply(
      [](auto const&... row) {
        std::size_t before = 0;
        (void)((row.id != id && (++before, true)) && ...);
        return before;
      },
      Entity::attributes);
  return std::get<at>(Entity::attributes);
}

/// Attributes and collections of one root, by their numbers.
template <class Entity, typename Entity::Id... ids>
struct Owned {
  template <class Other, auto id>
  static constexpr bool has() {
    if constexpr (std::same_as<Entity, Other>) {
      return ((ids == id) || ...);
    } else {
      return false;
    }
  }
};

/// The table of a source, a line for each root of which it owns something.
template <class... Lines>
struct Ownership {
  template <class Entity, auto id>
  static constexpr bool has() {
    return (Lines::template has<Entity, id>() || ...);
  }
};

/// Whether entities of this type stand at the root of the tree of sources.
template <class Entity>
inline constexpr bool isSourceRoot =
    std::same_as<Entity, Stp::Input::Config> || std::same_as<Entity, Stp::Config> ||
    std::same_as<Entity, Stp::Status> || std::same_as<Entity, Stp::VlanConfigDir> ||
    std::same_as<Entity, Stp::Operational::Bridge>;

}  // namespace Agent
