// One entry of a VLAN list.
#pragma once

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
/// Kova::BadUnionAccessException.
class STP_API VlanIdOrRange {
 public:
  enum class Tag : std::uint8_t { vlanId = 0, vlanRange = 1 };

  // NOLINTBEGIN(google-explicit-constructor): each alternative is a value of the union
  VlanIdOrRange(Bridging::VlanId id) : first_(id), second_(id), tag_(Tag::vlanId) {}
  VlanIdOrRange(VlanRange range) : first_(range.first), second_(range.last), tag_(Tag::vlanRange) {}
  // NOLINTEND(google-explicit-constructor)

  Tag tag() const noexcept { return tag_; }

  Bridging::VlanId vlanId() const {
    if (tag_ != Tag::vlanId) [[unlikely]] {
      throwBadAccess("VlanId");
    }
    return first_;
  }
  VlanRange vlanRange() const {
    if (tag_ != Tag::vlanRange) [[unlikely]] {
      throwBadAccess("VlanRange");
    }
    return {first_, second_};
  }

  friend bool operator==(VlanIdOrRange const& a, VlanIdOrRange const& b) noexcept {
    return a.tag_ == b.tag_ && a.first_ == b.first_ &&
           (a.tag_ == Tag::vlanId || a.second_ == b.second_);
  }

 private:
  [[noreturn]] void throwBadAccess(char const* alternative) const;

  Bridging::VlanId first_;
  Bridging::VlanId second_;
  Tag tag_;
};

static_assert(sizeof(VlanIdOrRange) == 6);

}  // namespace Stp
