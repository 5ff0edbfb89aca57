#include "Stp/vlans/VidToMsti.h"

#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <utility>

#include "Base/Assertion.h"
#include "Bridging/VlanId.h"
#include "Stp/frame/HandlerTrace.h"

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

// Collects runs of VLANs and puts them into the lists of their instances: a list whose length is
// known is made in one piece.
class RunLists {
 public:
  // Appends VLANs that follow all of those before.
  void append(std::uint16_t instance, std::uint16_t first, std::uint16_t last) {
    std::uint16_t const place = placeOf(instance);
    if (count_ != 0 && runs_[count_ - 1].place == place) {
      runs_[count_ - 1].last = last;
    } else {
      runs_[count_++] = {place, first, last};
      ++lengths_[place];
    }
  }

  MstiToVid take() {
    std::array<VlanIdOrRange*, Bridging::VlanId::last> ends;
    for (std::size_t place = 0; place < map_.size(); ++place) {
      ends[place] = map_.entry(place).second.extend(lengths_[place]);
    }
    for (Run const& each : std::span(runs_).first(count_)) {
      new (ends[each.place]++) VlanIdOrRange(VlanIdOrRange::run(each.first, each.last));
    }
    return std::move(map_);
  }

 private:
  struct Run {
    std::uint16_t place;
    std::uint16_t first;
    std::uint16_t last;
  };

  // Where the list of an instance is in the map: a table tells for the ids that a bridge can have
  // (IEEE 802.1Q, 13.8), the map itself for others.
  std::uint16_t placeOf(std::uint16_t instance) {
    bool const isUsual = instance < placeAfter_.size();
    if (isUsual && placeAfter_[instance] != 0) [[likely]] {
      return static_cast<std::uint16_t>(placeAfter_[instance] - 1);
    }
    std::size_t const present = map_.size();
    auto const place = static_cast<std::uint16_t>(map_.position(instance));
    if (place == present) {
      lengths_[place] = 0;
    }
    if (isUsual) {
      placeAfter_[instance] = static_cast<std::uint16_t>(place + 1);
    }
    return place;
  }

  MstiToVid map_;
  std::size_t count_ = 0;
  std::array<std::uint16_t, 4096> placeAfter_{};  // the position plus one; 0 is not there yet
  // Written before they are read: at most one run, and one instance, for each VLAN.
  std::array<std::uint16_t, Bridging::VlanId::last> lengths_;
  std::array<Run, Bridging::VlanId::last> runs_;
};

}  // namespace

void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId) {
  VlanList* const present = map.find(instanceId);
  if (present == nullptr) {
    VlanList list;
    list.push(VlanIdOrRange::run(vlanId, vlanId));
    map[instanceId] = std::move(list);
    return;
  }
  VlanIdOrRange const last = (*present)[present->size() - 1];
  if (vlanId <= highestVlan(last)) {
    Base::assertionFailed("false && \"VLAN IDs in VLAN-to-Msti map not sorted\"", Impl::sourcePath,
                          103, "void Stp::addVlanToMstiMap(MstiToVid&, U16, U16)");
  }
  if (vlanId == highestVlan(last) + 1) {
    present->lastIs(VlanIdOrRange::run(lowestVlan(last), vlanId));
  } else {
    present->push(VlanIdOrRange::run(vlanId, vlanId));
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
  if (count == 0) {
    MstiToVid result;
    result[0].push(VlanIdOrRange::run(Bridging::VlanId::first, lastVlan));
    return result;
  }

  // The VLANs are visited in runs of one instance. `cursor` is the first entry not used yet: the
  // next run is either that of its instance, as far as the entries name consecutive VLANs, or one
  // of the CIST up to its VLAN. A cursor whose VLAN lies behind, or beyond all, never moves again.
  RunLists lists;
  std::uint16_t start = Bridging::VlanId::first;
  std::size_t cursor = 0;
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
    lists.append(instance, start, last);
    start = static_cast<std::uint16_t>(last + 1);
  }
  return lists.take();
}

}  // namespace Stp
