// Decoding the VLAN-to-instance byte map into the VLAN list of each instance. Internal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "Bridging/VlanId.h"
#include "Lumo/Bytes.h"
#include "Lumo/UnorderedMap.h"
#include "Pebble/Slab.h"
#include "StpTypes/SharedList.h"
#include "StpTypes/VlanIdOrRange.h"

namespace Stp {

/// One entry of a byte map.
struct VidToMstiEntry {
  std::uint16_t vlan = 0;
  std::uint16_t instance = 0;
};

/// The entries of a byte map: a VLAN id and an instance id, 16 bits each, big-endian. Their number
/// is the byte size divided by 4, truncated to 16 bits.
class VidToMstiEntries {
 public:
  explicit VidToMstiEntries(Lumo::Bytes const& v2m)
      : bytes_(v2m.data()), count_(static_cast<std::uint16_t>(v2m.size() / 4)) {}

  std::uint16_t count() const noexcept { return count_; }

  /// Behind the last one they are for VLAN 0, which no bridge has.
  VidToMstiEntry operator[](std::size_t index) const noexcept {
    if (index >= count_) {
      return {};
    }
    std::uint8_t const* const at = bytes_ + 4 * index;
    std::uint32_t const word =
        std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
    return {static_cast<std::uint16_t>(word >> 16), static_cast<std::uint16_t>(word)};
  }

 private:
  std::uint8_t const* bytes_;
  std::uint16_t count_;
};

/// The VLANs of one instance, ascending, in maximal runs. While they are gathered nobody shares
/// their list, so that its last run can be kept at hand.
class InstanceVlans {
 public:
  InstanceVlans() = default;
  InstanceVlans(InstanceVlans&&) = default;
  InstanceVlans& operator=(InstanceVlans&&) = default;
  ~InstanceVlans() = default;
  explicit InstanceVlans(SharedList<VlanIdOrRange> list)
      : list_(std::move(list)), last_(&list_.last()) {}

  SharedList<VlanIdOrRange> const& list() const noexcept { return list_; }

  /// The last run. There must be one.
  VlanIdOrRange& last() noexcept { return *last_; }
  void push(Bridging::VlanId vlan) { last_ = &list_.push(vlan); }

 private:
  SharedList<VlanIdOrRange> list_;
  VlanIdOrRange* last_ = nullptr;
};

/// The VLANs of each instance that has any.
using MstiToVid = Lumo::UnorderedMap<std::uint16_t, InstanceVlans, Pebble::Allocator>;

/// The VLAN list of every instance. Each VLAN from 1 to 4094 is in one of them; a VLAN without an
/// entry belongs to the CIST, instance 0. Entries are in strictly ascending order of their VLANs;
/// the first that is not, or whose VLAN no bridge has, and all that follow are ignored in silence.
/// A size that is no multiple of 4 is a broken invariant: the process ends.
MstiToVid mstiToVidFromBytes(Lumo::Bytes const& v2m);

/// Appends one VLAN to an instance's list, as part of its last run where it follows that directly.
/// Throws Lumo::RangeException for a VLAN outside 1 to 4094 that is to be stored, and
/// Kova::BadUnionAccessException for a last element that is neither id nor range. A VLAN that does
/// not come after the last one is a broken invariant: the process ends.
void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId);

}  // namespace Stp
