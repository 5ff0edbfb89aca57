// The records of the targets, as one type.
#pragma once

#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include "agent/state/Change.h"
#include "agent/state/Database.h"

namespace Agent {

/// The one attribute that a target, or a member of a target, consists of.
template <class Entity>
requires(std::tuple_size_v<std::remove_cvref_t<decltype(Entity::attributes)>> ==
         1) inline constexpr auto const& onlyAttribute = std::get<0>(Entity::attributes);

/// The record of an entity that holds one.
template <class Entity>
auto const& recordOf(Entity const& entity) {
  return (entity.*onlyAttribute<Entity>.get)();
}

namespace Impl {

// What a target keeps: one record of its own, records by key, or a member with a record by key.
template <class Entity>
constexpr auto kept() {
  using Row = std::remove_cvref_t<decltype(onlyAttribute<Entity>)>;
  if constexpr (requires { typename Row::RecordType; }) {
    return std::type_identity<typename Row::RecordType>();
  } else if constexpr (requires { typename Row::MemberType; }) {
    return kept<typename Row::MemberType>();
  } else {
    return std::type_identity<std::remove_cvref_t<decltype(recordOf(std::declval<Entity>()))>>();
  }
}

template <class Roots>
struct Records;
template <class... Entities>
struct Records<std::tuple<Root<TargetView, Entities>...>> {
  using Any = std::variant<typename decltype(kept<Entities>())::type...>;
};

}  // namespace Impl

/// A record of one of the targets.
using TargetRecord = Impl::Records<decltype(TargetView::roots())>::Any;

/// Where a record stands: the name of its target and of the attribute that holds it, and its key.
struct TargetPlace {
  std::string_view target;
  std::string_view attribute;
  Key key;
};

/// Calls `visit(place, record)` for all records that are there, target by target. The targets must
/// not change meanwhile.
template <class Visit>
void eachRecord(TargetView const& targets, Visit const& visit) {
  auto const inTarget = [&](std::string_view name, auto const& entity) {
    constexpr auto const& row = onlyAttribute<std::remove_cvref_t<decltype(entity)>>;
    if constexpr (requires { row.get; }) {
      visit(TargetPlace{name, row.name, {}}, recordOf(entity));
    } else if constexpr (requires { row.records; }) {
      for (auto const& member : (entity.*row.records)()) {
        visit(TargetPlace{name, row.name, member.key}, *member.value);
      }
    } else {
      for (auto const& member : (entity.*row.members)()) {
        visit(TargetPlace{name, row.name, member.key}, recordOf(*member.value));
      }
    }
  };
  std::apply([&](auto const&... root) { (inTarget(root.name, *(targets.*root.entity)), ...); },
             TargetView::roots());
}

}  // namespace Agent
