// One entry of a VLAN list.
#pragma once

#include <bit>
#include <cstdint>

#include "Base/Api.h"
#include "Bridging/VlanId.h"

namespace Stp {

/// An inclusive range of VLAN ids. The order of its ends is not checked: a reversed range names no
/// VLAN.
struct VlanRange {
  Bridging::VlanId first;
  Bridging::VlanId last;

  friend bool operator==(VlanRange const&, VlanRange const&) = default;
};

/// A single VLAN id or an inclusive range, as in the OpenConfig union of `vlan-id` and
/// `vlan-range`. Reading the alternative that it does not hold throws
/// Kova::BadUnionAccessException. It is one word, so that lists copy it in a register: what is
/// stored in parts and read as a whole waits for the store.
class STP_API VlanIdOrRange {
 public:
  enum class Tag : std::uint8_t { vlanId = 0, vlanRange = 1 };

  // NOLINTBEGIN(google-explicit-constructor): each alternative is a value of the union
  VlanIdOrRange(Bridging::VlanId id) : word_(pack(id, id, Tag::vlanId)) {}
  VlanIdOrRange(VlanRange range) : word_(pack(range.first, range.last, Tag::vlanRange)) {}
  // NOLINTEND(google-explicit-constructor)

  /// The VLANs from `first` to `last`, as the id where it is but one. Throws Lumo::RangeException
  /// unless both lie in 1 to 4094; their order is trusted.
  [[gnu::always_inline]] static VlanIdOrRange run(std::uint16_t first, std::uint16_t last) {
    if (first == last) {
      return Bridging::VlanId(first);
    }
    return VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)};
  }

  Tag tag() const noexcept { return static_cast<Tag>(word_ >> tagShift & 0xFF); }

  Bridging::VlanId vlanId() const {
    if (tag() != Tag::vlanId) [[unlikely]] {
      throwBadAccess("VlanId");
    }
    return first();
  }
  VlanRange vlanRange() const {
    if (tag() != Tag::vlanRange) [[unlikely]] {
      throwBadAccess("VlanRange");
    }
    return {first(), last()};
  }

  friend bool operator==(VlanIdOrRange const& a, VlanIdOrRange const& b) noexcept {
    return a.tag() == b.tag() && a.first() == b.first() &&
           (a.tag() == Tag::vlanId || a.last() == b.last());
  }

 private:
  static constexpr unsigned lastShift = 16;
  static constexpr unsigned tagShift = 32;

  static std::uint64_t pack(Bridging::VlanId first, Bridging::VlanId last, Tag tag) noexcept {
    return first.value() | std::uint64_t{last.value()} << lastShift |
           std::uint64_t{static_cast<std::uint8_t>(tag)} << tagShift;
  }

  // An id that was checked when it came in is not checked again.
  static Bridging::VlanId unpack(std::uint64_t word) noexcept {
    return std::bit_cast<Bridging::VlanId>(static_cast<std::uint16_t>(word));
  }
  Bridging::VlanId first() const noexcept { return unpack(word_); }
  Bridging::VlanId last() const noexcept { return unpack(word_ >> lastShift); }

  [[noreturn]] void throwBadAccess(char const* alternative) const;

  std::uint64_t word_;
};

}  // namespace Stp
