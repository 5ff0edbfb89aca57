#include "agent/sources/sonic/BackSync.h"

#include <string_view>

namespace Agent::Sonic {

namespace {

std::string keyOf(char const* table, RowTables const& rows, std::string_view rest) {
  return (table + rows.separators().of(Store::configuration)).append(rest);
}

}  // namespace

Writes writesOfDisabledVlans(Stp::VlanSet const& disabled, RowTables const& rows,
                             SwitchState const& state) {
  Writes result;
  result.watched.push_back(keyOf("STP", rows, "GLOBAL"));
  if (!state.bridge().isByVlan()) {
    if (disabled != Stp::VlanSet()) {
      result.refusal = "disabled-vlan: SONiC disables VLANs in the modes pvst and rpvst alone";
    }
    return result;
  }
  for (std::uint16_t vlan = 1; vlan <= largestVlan; ++vlan) {
    bool const isWanted = disabled.contains(vlan);
    bool const isDisabled = state.isDisabled(vlan);
    bool const isConfigured = rows.of<Vlan>().find(vlan) != nullptr;
    if (!isWanted && !isDisabled && !isConfigured) {
      continue;
    }
    std::string const name = "Vlan" + std::to_string(vlan);
    std::string const tree = keyOf("STP_VLAN", rows, name);
    result.watched.push_back(keyOf("VLAN", rows, name));
    result.watched.push_back(tree);
    if (isWanted == isDisabled) {
      continue;
    }
    result.writes.push_back({tree, "enabled", isWanted ? "false" : "true"});
    if (!isConfigured && result.refusal.empty()) {
      result.refusal = "disabled-vlan: there is no VLAN " + std::to_string(vlan);
    }
  }
  if (!result.refusal.empty()) {
    result.writes.clear();
  }
  return result;
}

}  // namespace Agent::Sonic
