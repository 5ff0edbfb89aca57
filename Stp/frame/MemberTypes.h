// The members of an aggregate of attributes as types: which are the constructor's arguments, and
// which the object makes itself. Internal to the frame.
#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

#include "Lumo/Members.h"
#include "Lumo/ModuleInspect.h"

namespace Stp::Impl {

template <class... Types>
struct TypeList {};

template <class Member>
inline constexpr bool isArgument = Member::kind <= Lumo::FieldKind::target;
template <class Member>
inline constexpr bool isSource = Member::kind == Lumo::FieldKind::source;
template <class Member>
inline constexpr bool isChildren =
    Member::kind == Lumo::FieldKind::children || Member::kind == Lumo::FieldKind::child;

// Whether it is an entity that is watched and that numbers its attributes by `Id`.
template <class Member, class Id>
constexpr bool watchesThrough() {
  if constexpr (requires(Member & member) { member.subscribe(nullptr, nullptr); }) {
    return std::is_same_v<typename Member::Entity::Id, Id>;
  } else {
    return false;
  }
}

// Splits the members into arguments and what the object makes itself: children, plain values.
template <class Arguments, class Own, class... Members>
struct Split;
template <class... A, class... C>
struct Split<TypeList<A...>, TypeList<C...>> {
  using Arguments = TypeList<A...>;
  using Own = TypeList<C...>;
};
template <class... A, class... C, class Member, class... Rest>
struct Split<TypeList<A...>, TypeList<C...>, Member, Rest...>
    : std::conditional_t<isArgument<Member>, Split<TypeList<A..., Member>, TypeList<C...>, Rest...>,
                         Split<TypeList<A...>, TypeList<C..., Member>, Rest...>> {};

template <class References>
struct SplitReferences;
template <class... Members>
struct SplitReferences<std::tuple<Members&...>> : Split<TypeList<>, TypeList<>, Members...> {};

template <class Attributes>
using SplitAttributes = SplitReferences<decltype(Lumo::membersOf(std::declval<Attributes&>()))>;

}  // namespace Stp::Impl
