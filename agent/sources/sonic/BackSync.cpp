#include "agent/sources/sonic/BackSync.h"

#include "agent/text/Refusal.h"

namespace Agent::Sonic {

namespace {

std::string keyOf(char const* table, RowTables const& rows, std::uint16_t vlan) {
  return table + rows.separators().of(Store::configuration) + "Vlan" + std::to_string(vlan);
}

}  // namespace

Writes writesOfDisabledVlans(Stp::VlanSet const& disabled, RowTables const& rows,
                             SwitchState const& state) {
  if (!state.bridge().isByVlan()) {
    throw Refusal("disabled-vlan: SONiC disables VLANs in the modes pvst and rpvst alone");
  }
  Writes result;
  for (std::uint16_t vlan = 1; vlan <= largestVlan; ++vlan) {
    bool const isWanted = disabled.contains(vlan);
    if (isWanted == state.isDisabled(vlan)) {
      continue;
    }
    if (rows.of<Vlan>().find(vlan) == nullptr) {
      throw Refusal("disabled-vlan: there is no VLAN " + std::to_string(vlan));
    }
    std::string const tree = keyOf("STP_VLAN", rows, vlan);
    result.writes.push_back({tree, "enabled", isWanted ? "false" : "true"});
    result.watched.push_back(keyOf("VLAN", rows, vlan));
    result.watched.push_back(tree);
  }
  return result;
}

}  // namespace Agent::Sonic
