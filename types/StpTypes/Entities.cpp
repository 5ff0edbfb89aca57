#include "Bridging/VlanId.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp {

// Each entity type has its destructor here, and with it the one copy of its virtual table.
namespace Input {

PortConfig::~PortConfig() = default;
MstiConfig::~MstiConfig() = default;
StpiConfig::~StpiConfig() = default;
Config::~Config() = default;

}  // namespace Input

PortConfig::~PortConfig() = default;
Config::~Config() = default;
StpiPortStatus::~StpiPortStatus() = default;
MstiStatus::~MstiStatus() = default;
StpiStatus::~StpiStatus() = default;
Status::~Status() = default;
VlanConfigDir::~VlanConfigDir() = default;
OCGlobalConfig::~OCGlobalConfig() = default;
OCInterface::~OCInterface() = default;
OCInterfaceConfigDir::~OCInterfaceConfigDir() = default;
OCMsti::~OCMsti() = default;
OCMstiConfigDir::~OCMstiConfigDir() = default;
OCGlobalState::~OCGlobalState() = default;
OCInterfaceStateDir::~OCInterfaceStateDir() = default;
OCMstiStateDir::~OCMstiStateDir() = default;

void VlanConfigDir::vlanConfigIs(std::uint16_t vlan) {
  std::uint16_t const checked = Bridging::VlanId(vlan).value();
  if (!vlanConfig_.contains(checked)) {
    vlanConfig_.insert(checked);
    publishMember(*this, Id::vlanConfig, checked);
  }
}

bool VlanConfigDir::vlanConfigDel(std::uint16_t vlan) {
  if (!vlanConfig_.contains(vlan)) {
    return false;
  }
  vlanConfig_.erase(vlan);
  publishMember(*this, Id::vlanConfig, vlan);
  return true;
}

void VlanConfigDir::vlanConfigDelAll() {
  Lumo::Ptr<VlanConfigDir const> const held(this);  // a subscriber may drop the entity
  for (std::uint16_t const vlan : vlanConfig_.inOrder()) {
    vlanConfigDel(vlan);
  }
}

}  // namespace Stp
