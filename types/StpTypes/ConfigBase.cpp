#include "StpTypes/ConfigBase.h"

#include <array>
#include <ostream>
#include <string_view>

#include "StpTypes/Collection.h"

namespace Stp {

ConfigBase::~ConfigBase() = default;
PortConfigBase::~PortConfigBase() = default;

void ConfigBase::disabledVlanIs(std::uint16_t vlan, bool disabled) {
  if (disabledVlan_.find(vlan) == disabled) {
    return;
  }
  disabledVlan_.insert(vlan, disabled);
  publishMember(*this, Id::disabledVlan, vlan);
}

bool ConfigBase::disabledVlanDel(std::uint16_t vlan) {
  if (!disabledVlan_.find(vlan)) {
    return false;
  }
  disabledVlan_.erase(vlan);
  publishMember(*this, Id::disabledVlan, vlan);
  return true;
}

void ConfigBase::disabledVlanDelAll() {
  Lumo::Ptr<ConfigBase const> const held(this);  // a subscriber may drop the entity
  for (std::uint16_t const vlan : disabledVlan_.entries().inOrder()) {
    disabledVlanDel(vlan);
  }
}

std::ostream& operator<<(std::ostream& out, PortConfigBase::BpduguardEnabledState state) {
  constexpr std::array<std::string_view, 3> names{"bpduguardDefault", "bpduguardEnabled",
                                                  "bpduguardDisabled"};
  auto const value = static_cast<unsigned>(state);
  return value < names.size() ? out << names[value] : out << value;
}

}  // namespace Stp
