#include "Stp/VidToMsti.h"

#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "Base/Assertion.h"
#include "Bridging/VlanId.h"
#include "Stp/HandlerTrace.h"

namespace Stp {

namespace {

using VlanList = SharedList<VlanIdOrRange>;

std::uint16_t highestVlan(VlanIdOrRange const& element) {
  return element.tag() == VlanIdOrRange::Tag::vlanId ? element.vlanId().value()
                                                     : element.vlanRange().last.value();
}
std::uint16_t lowestVlan(VlanIdOrRange const& element) {
  return element.tag() == VlanIdOrRange::Tag::vlanId ? element.vlanId().value()
                                                     : element.vlanRange().first.value();
}

VlanIdOrRange run(std::uint16_t first, std::uint16_t last) {
  if (first == last) {
    return Bridging::VlanId(first);
  }
  return VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)};
}

// Appends the VLANs from first to last to a list that has some, as part of its last run where they
// follow that directly.
void append(VlanList& list, std::uint16_t first, std::uint16_t last) {
  VlanIdOrRange const present = list[list.size() - 1];
  int const distance = first - highestVlan(present);
  if (distance == 1) {
    list.lastIs(run(lowestVlan(present), last));
  } else if (distance <= 0) {
    Base::assertionFailed("false && \"VLAN IDs in VLAN-to-Msti map not sorted\"", Impl::sourcePath,
                          103, "void Stp::addVlanToMstiMap(MstiToVid&, U16, U16)");
  } else {
    list.push(run(first, last));
  }
}

// Finds the lists of a map by instance id: those that a bridge can have (IEEE 802.1Q, 13.8) in a
// table, others in the map itself.
class Lists {
 public:
  explicit Lists(MstiToVid& map) : map_(map) {}

  VlanList& operator[](std::uint16_t instance) {
    if (instance >= placeAfter_.size()) [[unlikely]] {
      return map_[instance];
    }
    if (placeAfter_[instance] != 0) [[likely]] {
      return map_.entry(placeAfter_[instance] - 1U).second;
    }
    VlanList& added = map_[instance];
    placeAfter_[instance] = static_cast<std::uint16_t>(map_.size());
    return added;
  }

 private:
  MstiToVid& map_;
  std::array<std::uint16_t, 4096> placeAfter_{};  // the position plus one; 0 is not there yet
};

}  // namespace

void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId) {
  VlanList* const present = map.find(instanceId);
  if (present != nullptr) {
    append(*present, vlanId, vlanId);
  } else {
    VlanList list;
    list.push(run(vlanId, vlanId));
    map[instanceId] = std::move(list);
  }
}

MstiToVid mstiToVidFromBytes(Lumo::Bytes const& v2m) {
  if (v2m.size() % 4 != 0) {
    Base::assertionFailed(
        "v2m.size() % 4 == 0 && \"vidToMsti map corrupted -- number of bits not divisible by 4\"",
        Impl::sourcePath, 118, "MstiToVid Stp::mstiToVidFromBytes(Lumo::Bytes&)");
  }
  VidToMstiEntries const entries(v2m);
  std::size_t const count = entries.count();
  constexpr std::uint16_t lastVlan = Bridging::VlanId::last;
  MstiToVid result;
  if (count == 0) {
    result[0].push(run(Bridging::VlanId::first, lastVlan));
    return result;
  }

  // The VLANs are visited in runs of one instance. `cursor` is the first entry not used yet: the
  // next run is either that of its instance, as far as the entries name consecutive VLANs, or one
  // of the CIST up to its VLAN. A cursor whose VLAN lies behind, or beyond all, never moves again.
  // Two runs of one instance side by side are one.
  Lists lists(result);
  std::uint16_t start = Bridging::VlanId::first;
  std::size_t cursor = 0;
  std::optional<std::uint16_t> before;
  while (start <= lastVlan) {
    std::uint16_t last = lastVlan;
    std::uint16_t instance = 0;
    std::uint16_t const named = cursor < count ? entries.vlan(cursor) : 0;
    if (named == start) {
      std::uint32_t expected = entries.word(cursor);
      instance = static_cast<std::uint16_t>(expected);
      do {
        last = static_cast<std::uint16_t>(expected >> 16);
        expected += 0x10000;  // the next VLAN, the same instance
        ++cursor;
      } while (last < lastVlan && cursor < count && entries.word(cursor) == expected);
    } else if (named > start && named <= lastVlan) {
      last = static_cast<std::uint16_t>(named - 1);
    }
    VlanList& list = lists[instance];
    if (instance == before) {
      list.lastIs(run(lowestVlan(list[list.size() - 1]), last));
    } else {
      list.push(run(start, last));
    }
    before = instance;
    start = static_cast<std::uint16_t>(last + 1);
  }
  return result;
}

}  // namespace Stp
