// The targets as they are: every record with the values it holds.
#pragma once

#include <tuple>

#include "agent/state/Database.h"
#include "agent/text/Json.h"
#include "agent/text/Values.h"

namespace Agent {

/// The one attribute that a target, or a member of a target, consists of.
template <class Entity>
requires(std::tuple_size_v<std::remove_cvref_t<decltype(Entity::attributes)>> ==
         1) inline constexpr auto const& onlyAttribute = std::get<0>(Entity::attributes);

/// The record of an entity that holds one.
template <class Entity>
OrderedJson showRecord(Entity const& entity) {
  return showValue((entity.*onlyAttribute<Entity>.get)());
}

/// An object with a member for each target: its record, or its records by key in ascending order,
/// names by byte, ids by number.
OrderedJson entitiesView(TargetView const& targets);

}  // namespace Agent
