// The VLAN id.
#pragma once

#include <compare>
#include <cstdint>

#include "Lumo/RangeException.h"

namespace Bridging {

/// A VLAN id that a bridge can carry: 1 to 4094 (IEEE 802.1Q, 9.6; 0 and 4095 are reserved).
class VlanId {
 public:
  static constexpr std::uint16_t first = 1;
  static constexpr std::uint16_t last = 4094;

  /// Throws Lumo::RangeException for a value outside the range.
  constexpr explicit VlanId(std::uint16_t value) : value_(value) {
    if (!valid(value)) [[unlikely]] {
      throwOutOfRange();
    }
  }

  /// One comparison: 0 wraps round and fails with what is too large.
  static constexpr bool valid(std::uint16_t value) noexcept {
    return static_cast<std::uint16_t>(value - first) < last;
  }

  constexpr std::uint16_t value() const noexcept { return value_; }

  friend constexpr auto operator<=>(VlanId const&, VlanId const&) = default;

 private:
  // Out of line, so that the message costs those nothing whose ids are in the range.
  [[noreturn, gnu::cold, gnu::noinline]] static void throwOutOfRange() {
    Lumo::RangeException::throwException("Bridging::VlanId::value < 1 or > 4094 not allowed");
  }

  std::uint16_t value_;
};

}  // namespace Bridging
