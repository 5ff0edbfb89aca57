// Which changes run an operation, as the type registry tells it; derived from the class. Internal.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Lumo/Members.h"
#include "Lumo/ModuleInspect.h"
#include "Lumo/TypeName.h"
#include "Stp/frame/Attributes.h"

namespace Stp::Impl {

// The name of an attribute: an entity type lists them in a table, a reactor that is watched as its
// members.
template <class Entity>
constexpr std::string_view attributeName(typename Entity::Id id) {
  std::string_view name;
  if constexpr (requires { Entity::attributes; }) {
    std::apply([&](auto const&... row) { ((row.id == id ? void(name = row.name) : void()), ...); },
               Entity::attributes);
  } else {
    using Members = decltype(Lumo::membersOf(std::declval<typename Entity::AttributeList&>()));
    Lumo::FieldId field = firstField;
    [&]<class... Member>(std::tuple<Member&...> const* /*members*/) {
      ((static_cast<Lumo::FieldId>(id) == field++ ? void(name = Member::attributeName) : void()),
       ...);
    }(static_cast<Members const*>(nullptr));
  }
  return name;
}

// Describes the attribute if it is one of the entity behind a watched member.
template <class Member, class Id>
constexpr void describeTrigger(Lumo::Trigger& trigger, Id id) {
  if constexpr (requires(Member & member) {
                  member.subscribe(nullptr, nullptr);
                  requires std::is_same_v<typename Member::Entity::Id, Id>;
                }) {
    using Entity = typename Member::Entity;
    trigger = {Lumo::typeName<Entity>(), static_cast<Lumo::FieldId>(id), attributeName<Entity>(id)};
  }
}

template <class... Member, class Id>
constexpr Lumo::Trigger triggerOf(std::tuple<Member&...> const* /*members*/, Id id) {
  Lumo::Trigger trigger;
  (describeTrigger<Member>(trigger, id), ...);
  return trigger;
}

template <class Class, std::size_t rowIndex>
constexpr auto describeTriggers() {
  using Members = decltype(Lumo::membersOf(std::declval<typename Class::AttributeList&>()));
  [[maybe_unused]] constexpr Members const* members = nullptr;
  constexpr auto const& row = std::get<rowIndex>(Class::operations);
  constexpr std::size_t count = std::tuple_size_v<std::remove_cvref_t<decltype(row.attributes)>>;
  return std::apply(
      [](auto... id) { return std::array<Lumo::Trigger, count>{triggerOf(members, id)...}; },
      row.attributes);
}

/// The changes that run the operation of one row, in the order in which the row lists them.
template <class Class, std::size_t rowIndex>
inline constexpr auto triggersOf = describeTriggers<Class, rowIndex>();

}  // namespace Stp::Impl
