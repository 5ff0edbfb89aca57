#include "Stp/VidToMsti.h"

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

// Appends the VLANs from first to last; a list costs one look-up, however many VLANs there are.
void addVlansToMstiMap(MstiToVid& map, std::uint16_t first, std::uint16_t last,
                       std::uint16_t instanceId) {
  VlanList* const list = map.find(instanceId);
  if (list == nullptr) {
    VlanIdOrRange const element = run(first, last);
    map[instanceId].push(element);
    return;
  }
  VlanIdOrRange const& present = (*list)[list->size() - 1];
  int const distance = first - highestVlan(present);
  if (distance == 1) {
    list->lastIs(run(lowestVlan(present), last));
  } else if (distance <= 0) {
    Base::assertionFailed("false && \"VLAN IDs in VLAN-to-Msti map not sorted\"", Impl::sourcePath,
                          103, "void Stp::addVlanToMstiMap(MstiToVid&, U16, U16)");
  } else {
    list->push(run(first, last));
  }
}

}  // namespace

void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId) {
  addVlansToMstiMap(map, vlanId, vlanId, instanceId);
}

MstiToVid mstiToVidFromBytes(Lumo::Bytes const& v2m) {
  if (v2m.size() % 4 != 0) {
    Base::assertionFailed(
        "v2m.size() % 4 == 0 && \"vidToMsti map corrupted -- number of bits not divisible by 4\"",
        Impl::sourcePath, 118, "MstiToVid Stp::mstiToVidFromBytes(Lumo::Bytes&)");
  }
  VidToMstiEntries const entries(v2m);
  MstiToVid result;

  // The VLANs are visited in runs of one instance. `cursor` is the first entry not used yet: the
  // next run is either that of its instance, as far as the entries name consecutive VLANs, or one
  // of the CIST up to its VLAN. A cursor whose VLAN lies behind, or beyond all, never moves again.
  std::uint16_t start = Bridging::VlanId::first;
  std::uint16_t cursor = 0;
  while (start <= Bridging::VlanId::last) {
    std::uint16_t last = Bridging::VlanId::last;
    std::uint16_t instance = 0;
    if (cursor < entries.count() && entries.vlan(cursor) == start) {
      instance = entries.instance(cursor++);
      last = start;
      while (cursor < entries.count() && last < Bridging::VlanId::last &&
             entries.vlan(cursor) == last + 1 && entries.instance(cursor) == instance) {
        ++cursor;
        ++last;
      }
    } else if (cursor < entries.count() && entries.vlan(cursor) > start &&
               entries.vlan(cursor) <= Bridging::VlanId::last) {
      last = static_cast<std::uint16_t>(entries.vlan(cursor) - 1);
    }
    addVlansToMstiMap(result, start, last, instance);
    start = static_cast<std::uint16_t>(last + 1);
  }
  return result;
}

}  // namespace Stp
