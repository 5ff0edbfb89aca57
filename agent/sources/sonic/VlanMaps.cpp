#include "agent/sources/sonic/VlanMaps.h"

#include "agent/sources/sonic/Conversions.h"
#include "agent/text/Values.h"

namespace Agent::Sonic {

namespace {

// Calls `call` with each VLAN of a set, in order.
template <class Call>
void eachVlan(Stp::VlanSet const& vlans, Call const& call) {
  for (unsigned vlan = vlans.next(1); vlan < Stp::VlanSet::size; vlan = vlans.next(vlan + 1)) {
    call(static_cast<std::uint16_t>(vlan));
  }
}

}  // namespace

ConfiguredVlans configuredVlans(InstanceVlans const& vlans) {
  ConfiguredVlans result;
  Stp::VlanSet taken;
  for (auto const& [instance, own] : vlans) {
    if (instance == 0) {
      continue;
    }
    unsigned const first = (own & taken).next(0);
    if (first < Stp::VlanSet::size) {
      result.conflicts.push_back(
          {instance, static_cast<std::uint16_t>(first), result.instances.at(first)});
      continue;
    }
    eachVlan(own, [&, instance = instance](std::uint16_t vlan) {
      taken.insert(vlan);
      result.instances.at(vlan) = instance;
    });
  }
  return result;
}

VlanInstances runningVlans(InstanceVlans const& vlans, VlanInstances const& configured) {
  VlanInstances result{};
  Stp::VlanSet decided;
  for (auto const& [instance, own] : vlans) {
    eachVlan(own, [&, instance = instance](std::uint16_t vlan) {
      if (!decided.contains(vlan) || configured.at(vlan) == instance) {
        decided.insert(vlan);
        result.at(vlan) = instance;
      }
    });
  }
  return result;
}

Lumo::Bytes vidToMstiOf(VlanInstances const& instances) {
  Lumo::Bytes map;
  for (std::uint16_t vlan = 1; vlan <= largestVlan; ++vlan) {
    if (instances.at(vlan) != 0) {
      vlanMapPush(map, vlan, instances.at(vlan));
    }
  }
  return map;
}

}  // namespace Agent::Sonic
