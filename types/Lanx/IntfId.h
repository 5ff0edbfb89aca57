// The interface id.
#pragma once

#include <cstdint>

#include "Lumo/String.h"

namespace Lanx {

/// Stands for an interface name in 32 bits. Names and ids map one to one for the life of the
/// process; the numbers have no meaning beyond it. They are dense: the first name that gets an id
/// has 0, each further one the next. A new id is invalid, all bits set.
class IntfId {
 public:
  constexpr IntfId() = default;

  /// Becomes the id of `name`; the empty name leaves it as it is.
  void handleInitialized(Lumo::String const& name) {
    if (!name.empty()) {
      value_ = name.ordinal();
    }
  }

  /// The id of `name`, from a new one.
  static IntfId of(Lumo::String const& name) {
    IntfId id;
    id.handleInitialized(name);
    return id;
  }

  /// The name; the empty one for the invalid id.
  Lumo::String stringValue() const {
    return valid() ? Lumo::String::ofOrdinal(value_) : Lumo::String();
  }

  constexpr bool valid() const noexcept { return value_ != invalid; }
  constexpr std::uint32_t value() const noexcept { return value_; }

  friend constexpr bool operator==(IntfId const&, IntfId const&) = default;

 private:
  static constexpr std::uint32_t invalid = ~std::uint32_t{0};

  std::uint32_t value_ = invalid;
};

}  // namespace Lanx
