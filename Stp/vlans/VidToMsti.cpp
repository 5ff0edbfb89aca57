#include "Stp/vlans/VidToMsti.h"

#include <utility>

#include "Base/Assertion.h"
#include "Bridging/VlanId.h"
#include "Stp/Module.h"

namespace Stp {

namespace {

// Both are out of the way of the VLANs that continue a run.
[[gnu::noinline]] void addInstance(MstiToVid& map, std::uint16_t instanceId, std::uint16_t vlanId) {
  InstanceVlans vlans({Bridging::VlanId(vlanId)});
  map[instanceId] = std::move(vlans);
}
[[gnu::noinline]] void addRun(InstanceVlans& vlans, std::uint16_t vlanId) {
  int const distance = vlanId - vlans.last().last().value();
  if (distance > 1) {
    vlans.push(Bridging::VlanId(vlanId));
  } else if (distance == 1) {
    vlans.last().lastIs(Bridging::VlanId(vlanId));
  } else {
    Base::assertionFailed("false && \"VLAN IDs in VLAN-to-Msti map not sorted\"",
                          Module::sourcePath, 103,
                          "void Stp::addVlanToMstiMap(MstiToVid&, U16, U16)");
  }
}

}  // namespace

void addVlanToMstiMap(MstiToVid& map, std::uint16_t vlanId, std::uint16_t instanceId) {
  InstanceVlans* const vlans = map.find(instanceId);
  if (vlans == nullptr) [[unlikely]] {
    addInstance(map, instanceId, vlanId);
  } else if (vlans->last().isRangeTo(static_cast<std::uint16_t>(vlanId - 1))) [[likely]] {
    vlans->last().lastIs(Bridging::VlanId(vlanId));
  } else {
    addRun(*vlans, vlanId);
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
