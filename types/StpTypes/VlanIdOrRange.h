// One entry of a VLAN list.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

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
/// Kova::BadUnionAccessException. It is made and copied as one word, in a register: what is stored
/// in parts and read as a whole waits for the store.
class STP_API VlanIdOrRange {
 public:
  enum class Tag : std::uint8_t { vlanId = 0, vlanRange = 1 };

  // NOLINTBEGIN(google-explicit-constructor): each alternative is a value of the union
  VlanIdOrRange(Bridging::VlanId id) : parts_(pack(id, id, Tag::vlanId)) {}
  VlanIdOrRange(VlanRange range) : parts_(pack(range.first, range.last, Tag::vlanRange)) {}
  // NOLINTEND(google-explicit-constructor)

  /// The VLANs from `first` to `last`, as the id where it is but one. Throws Lumo::RangeException
  /// unless both lie in 1 to 4094; their order is trusted.
  [[gnu::always_inline]] static VlanIdOrRange run(std::uint16_t first, std::uint16_t last) {
    if (first == last) {
      return Bridging::VlanId(first);
    }
    return VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)};
  }

  Tag tag() const noexcept { return static_cast<Tag>(parts_[tagPart]); }

  Bridging::VlanId vlanId() const {
    if (tag() != Tag::vlanId) [[unlikely]] {
      throwBadAccess("VlanId");
    }
    return unpack(firstPart);
  }
  VlanRange vlanRange() const {
    if (tag() != Tag::vlanRange) [[unlikely]] {
      throwBadAccess("VlanRange");
    }
    return {unpack(firstPart), unpack(lastPart)};
  }

  /// The id, or the end of the range.
  Bridging::VlanId last() const {
    std::uint32_t const end = this->end();
    if (end > (rangeTag | 0xFFFFU)) [[unlikely]] {
      if (tag() > Tag::vlanRange) {
        throwBadAccess("VlanRange");
      }
    }
    return std::bit_cast<Bridging::VlanId>(static_cast<std::uint16_t>(end));
  }

  /// Whether it is a range with this end.
  bool isRangeTo(std::uint16_t last) const noexcept { return end() == rangeTag + last; }

  /// Makes it the range up to `value`, which is greater than its last VLAN.
  void lastIs(Bridging::VlanId value) noexcept {
    std::uint32_t const end = rangeTag + value.value();
    std::memcpy(&parts_[endPart], &end, sizeof end);
  }

  friend bool operator==(VlanIdOrRange const& a, VlanIdOrRange const& b) noexcept {
    return a.tag() == b.tag() && a.unpack(firstPart) == b.unpack(firstPart) &&
           (a.tag() == Tag::vlanId || a.unpack(lastPart) == b.unpack(lastPart));
  }

 private:
  // 16 bits each; an id has two equal ends. Which part of the word comes first in memory is the
  // processor's affair.
  using Parts = std::array<std::uint16_t, 4>;
  static constexpr bool lowFirst = std::endian::native == std::endian::little;
  static constexpr std::size_t firstPart = lowFirst ? 0 : 3;
  static constexpr std::size_t lastPart = lowFirst ? 1 : 2;
  static constexpr std::size_t tagPart = lowFirst ? 2 : 1;

  // Its end and the tag lie side by side, and are read and written as one.
  static constexpr std::size_t endPart = 1;
  static constexpr std::uint32_t rangeTag = std::uint32_t{static_cast<std::uint8_t>(Tag::vlanRange)}
                                            << 16U;
  std::uint32_t end() const noexcept {
    std::uint32_t end = 0;
    std::memcpy(&end, &parts_[endPart], sizeof end);
    return end;
  }

  static Parts pack(Bridging::VlanId first, Bridging::VlanId last, Tag tag) noexcept {
    return std::bit_cast<Parts>(first.value() | std::uint64_t{last.value()} << 16 |
                                std::uint64_t{static_cast<std::uint8_t>(tag)} << 32);
  }

  // An id that was checked when it came in is not checked again.
  Bridging::VlanId unpack(std::size_t part) const noexcept {
    return std::bit_cast<Bridging::VlanId>(parts_[part]);
  }

  [[noreturn]] void throwBadAccess(char const* alternative) const;

  Parts parts_;
};

}  // namespace Stp
