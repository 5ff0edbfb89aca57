#include "Stp/vlans/VidToMsti.h"

#include <utility>

#include "Base/Assertion.h"
#include "Bridging/VlanId.h"
#include "Stp/Module.h"

namespace Stp {

namespace {

// Out of the way of the VLANs that follow.
[[gnu::noinline]] void addInstance(MstiToVid& map, std::uint16_t instanceId,
                                   Bridging::VlanId vlan) {
  SharedList<VlanIdOrRange> list{vlan};
  map[instanceId] = std::move(list);
}

}  // namespace

void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId) {
  SharedList<VlanIdOrRange>* const list = map.find(instanceId);
  if (list == nullptr) [[unlikely]] {
    addInstance(map, instanceId, Bridging::VlanId(vlanId));
    return;
  }
  VlanIdOrRange& last = list->last();
  int const distance = vlanId - last.last().value();
  if (distance == 1) {
    last.lastIs(Bridging::VlanId(vlanId));
  } else if (distance > 1) {
    list->push(Bridging::VlanId(vlanId));
  } else {
    Base::assertionFailed("false && \"VLAN IDs in VLAN-to-Msti map not sorted\"",
                          Module::sourcePath, 103,
                          "void Stp::addVlanToMstiMap(MstiToVid&, U16, U16)");
  }
}

[[gnu::flatten]] MstiToVid mstiToVidFromBytes(Lumo::Bytes const& v2m) {
  if (v2m.size() % 4 != 0) {
    Base::assertionFailed(
        "v2m.size() % 4 == 0 && \"vidToMsti map corrupted -- number of bits not divisible by 4\"",
        Module::sourcePath, 118, "MstiToVid Stp::mstiToVidFromBytes(Lumo::Bytes&)");
  }
  VidToMstiEntries const entries(v2m);
  MstiToVid result;
  std::size_t cursor = 0;
  VidToMstiEntry entry = entries[cursor];
  for (std::uint16_t vlan = Bridging::VlanId::first; vlan <= Bridging::VlanId::last; ++vlan) {
    std::uint16_t instance = 0;
    // An entry whose VLAN lies behind, or that no bridge has, is never passed.
    if (entry.vlan == vlan) {
      instance = entry.instance;
      entry = entries[++cursor];
    }
    addVlanToMstiMap(result, vlan, instance);
  }
  return result;
}

}  // namespace Stp
