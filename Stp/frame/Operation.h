// What a reactor does when.
#pragma once

#include <array>
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

 private:
  template <class Id, class Listed>
  static constexpr bool isAttribute(Listed listed, Lumo::FieldId field) {
    return std::is_same_v<Id, Listed> && static_cast<Lumo::FieldId>(listed) == field;
  }
};

namespace Impl {

/// Whether a row of the table has this name.
template <class... Rows>
consteval bool hasRow(std::tuple<Rows...> const& operations, std::string_view name) {
  return std::apply([name](auto const&... row) { return ((row.name == name) || ...); }, operations);
}

/// How many rows list an attribute of an entity that numbers them by `Id`.
template <class Id, class... Rows>
consteval std::size_t rowsListing(std::tuple<Rows...> const& operations, Lumo::FieldId field) {
  return std::apply(
      [field](auto const&... row) {
        return (std::size_t{row.template watches<Id>(field) ? 1U : 0U} + ...);
      },
      operations);
}

/// Whether the members of one attribute of an entity type are told apart by a `Key`.
template <class Key, class Entity>
consteval bool isKeyOf(Lumo::FieldId field) {
  if constexpr (requires { Entity::attributes; }) {
    auto const has = [field]<class Row>(Row const& row) {
      if constexpr (requires { typename Row::KeyType; }) {
        return static_cast<Lumo::FieldId>(row.id) == field &&
               std::is_same_v<typename Row::KeyType, Key>;
      }
      return false;
    };
    return std::apply([&](auto const&... row) { return (has(row) || ...); }, Entity::attributes);
  }
  return false;
}

/// Some attributes of one entity type.
struct ListedFields {
  std::array<Lumo::FieldId, 16> ids{};
  std::size_t count = 0;

  constexpr void add(Lumo::FieldId field) {
    for (std::size_t at = 0; at < count; ++at) {
      if (ids.at(at) == field) {
        return;
      }
    }
    ids.at(count++) = field;
  }
};

/// The attributes of one entity type that any row lists, each once, in order.
template <class Id, class... Rows>
consteval ListedFields listedFields(std::tuple<Rows...> const& operations) {
  ListedFields fields;
  auto const add = [&fields](auto attribute) {
    if constexpr (std::is_same_v<decltype(attribute), Id>) {
      fields.add(static_cast<Lumo::FieldId>(attribute));
    }
  };
  std::apply(
      [&](auto const&... row) {
        (std::apply([&](auto... attribute) { (add(attribute), ...); }, row.attributes), ...);
      },
      operations);
  return fields;
}

/// Whether `predicate<Id>()` holds for the type of every attribute that any row lists.
template <class... Rows, class Predicate>
consteval bool allListed(std::tuple<Rows...> const& operations, Predicate predicate) {
  auto const holds = [predicate]<class... Ids>(std::tuple<Ids...> const& /*attributes*/) {
    return (predicate.template operator()<Ids>() && ...);
  };
  return std::apply([&](auto const&... row) { return (holds(row.attributes) && ...); }, operations);
}

}  // namespace Impl

}  // namespace Stp
