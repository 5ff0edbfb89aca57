// The base of entities whose attributes are the members of one plain record: what somebody tells.
#pragma once

#include <string_view>
#include <type_traits>
#include <utility>

#include "StpTypes/AttributeTable.h"

namespace Stp {

/// An entity that holds a `Told`, each member of which is an attribute that is set and announced on
/// its own. The derived class numbers them and lists them in its table by `told`.
template <class Derived, class Told>
class ToldEntity : public TypedEntity<Derived> {
 public:
  /// All of them.
  Told const& told() const noexcept { return told_; }

  template <auto member>
  auto const& value() const {
    return told_.*member;
  }

  /// The value that it has already changes and announces nothing.
  template <auto id, auto member>
  void valueIs(std::remove_reference_t<decltype(std::declval<Told&>().*member)> const& value) {
    this->attributeIs(id, told_.*member, value);
  }

 protected:
  /// The row of a member.
  template <auto id, auto member>
  static constexpr auto row(std::string_view name) {
    return Attribute{name, id, &ToldEntity::template value<member>,
                     &ToldEntity::template valueIs<id, member>};
  }

 private:
  Told told_;
};

}  // namespace Stp
