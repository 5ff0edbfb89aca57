// What a reactor does when.
#pragma once

#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "Lumo/FieldId.h"

namespace Stp {

namespace Impl {

template <class Handler>
struct HandlerTraits;

template <class Class>
struct HandlerTraits<void (Class::*)()> {
  static constexpr bool takesKey = false;
};

template <class Class, class KeyType>
struct HandlerTraits<void (Class::*)(KeyType const&)> {
  static constexpr bool takesKey = true;
  using Key = KeyType;
};

}  // namespace Impl

/// One row of a class's table of operations: a name, the handler, and the attributes of watched
/// entities whose change runs it. An attribute is given by the enumerator of its entity type, so
/// that equal numbers of two types can't be confused. A handler with a parameter gets the key of
/// the changed member. Where several rows list an attribute, they run in the order of the table.
template <class HandlerType, class... Ids>
struct Op {
  using Traits = Impl::HandlerTraits<HandlerType>;

  std::string_view name;
  HandlerType handler;
  std::tuple<Ids...> attributes;

  constexpr Op(std::string_view operationName, HandlerType operationHandler, Ids... ids)
      : name(operationName), handler(operationHandler), attributes(ids...) {}

  /// Whether a change of this attribute of an entity that numbers them by `Id` runs the handler.
  template <class Id>
  constexpr bool watches(Lumo::FieldId field) const {
    return std::apply([field](auto... listed) { return (isAttribute<Id>(listed, field) || ...); },
                      attributes);
  }

  /// How many attributes the row lists.
  static constexpr std::size_t attributeCount = sizeof...(Ids);

 private:
  template <class Id, class Listed>
  static constexpr bool isAttribute(Listed listed, Lumo::FieldId field) {
    return std::is_same_v<Id, Listed> && static_cast<Lumo::FieldId>(listed) == field;
  }
};

}  // namespace Stp
