// What the protocol engine runs and computed: the running configuration, the status of the bridge,
// its instances and ports, and the VLANs that exist.
#pragma once

#include <cstdint>
#include <tuple>

#include "Base/Api.h"
#include "Lumo/String.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/ConfigBase.h"

namespace Stp {

/// A port's running configuration.
class STP_API PortConfig final : public TypedEntity<PortConfig, PortConfigBase> {
 public:
  enum class Id : Lumo::FieldId {
    adminEdgePort = 261,
    bpduguard = fieldOf(PortConfigBase::Id::bpduguard)
  };

  ~PortConfig() override;

  /// Configured as an edge port, "portfast" (IEEE 802.1Q AdminEdge).
  bool adminEdgePort() const { return adminEdgePort_; }
  void adminEdgePortIs(bool value) { attributeIs(Id::adminEdgePort, adminEdgePort_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"adminEdgePort", Id::adminEdgePort, &PortConfig::adminEdgePort,
                &PortConfig::adminEdgePortIs},
      Attribute{"bpduguard", Id::bpduguard, &PortConfigBase::bpduguard,
                &PortConfigBase::bpduguardIs},
  };

 private:
  bool adminEdgePort_ = false;
};

/// The bridge's running configuration.
class STP_API Config final : public TypedEntity<Config, ConfigBase> {
 public:
  enum class Id : Lumo::FieldId {
    portfastBpduguard = fieldOf(ConfigBase::Id::portfastBpduguard),
    mstConfig = fieldOf(ConfigBase::Id::mstConfig),
    disabledVlan = fieldOf(ConfigBase::Id::disabledVlan),
    portConfig = 386,
  };

  ~Config() override;

  /// By port name.
  Members<Lumo::String, PortConfig> portConfig{*this, Id::portConfig};

  static constexpr auto attributes = std::tuple{
      Attribute{"portfastBpduguard", Id::portfastBpduguard, &ConfigBase::portfastBpduguard,
                &ConfigBase::portfastBpduguardIs},
      Attribute{"mstConfig", Id::mstConfig, &ConfigBase::mstConfig, &ConfigBase::mstConfigIs},
      VlanAttribute{"disabledVlan", Id::disabledVlan, &ConfigBase::disabledVlanEntries,
                    &ConfigBase::disabledVlanIs, &ConfigBase::disabledVlanDel,
                    &ConfigBase::disabledVlanDelAll},
      CollectionAttribute{"portConfig", Id::portConfig, &Config::portConfig},
  };
};

/// What the engine says of one port in one instance.
class STP_API StpiPortStatus final : public TypedEntity<StpiPortStatus> {
 public:
  enum class Id : Lumo::FieldId { operEdgePort = 260, operPointToPointMac = 262 };

  ~StpiPortStatus() override;

  /// Operating as an edge port (IEEE 802.1Q operEdge).
  bool operEdgePort() const { return operEdgePort_; }
  void operEdgePortIs(bool value) { attributeIs(Id::operEdgePort, operEdgePort_, value); }

  /// Operating as point-to-point (IEEE 802.1AC operPointToPointMAC).
  bool operPointToPointMac() const { return operPointToPointMac_; }
  void operPointToPointMacIs(bool value) {
    attributeIs(Id::operPointToPointMac, operPointToPointMac_, value);
  }

  static constexpr auto attributes = std::tuple{
      Attribute{"operEdgePort", Id::operEdgePort, &StpiPortStatus::operEdgePort,
                &StpiPortStatus::operEdgePortIs},
      Attribute{"operPointToPointMac", Id::operPointToPointMac,
                &StpiPortStatus::operPointToPointMac, &StpiPortStatus::operPointToPointMacIs},
  };

 private:
  bool operEdgePort_ = false;
  bool operPointToPointMac_ = false;
};

/// What the engine says of one MST instance.
class STP_API MstiStatus final : public TypedEntity<MstiStatus> {
 public:
  enum class Id : Lumo::FieldId { bridgePriority = 259 };

  ~MstiStatus() override;

  /// 0 to 61440 in steps of 4096 (IEEE 802.1Q, 14.2.5); the entity holds any 16-bit number.
  std::uint16_t bridgePriority() const { return bridgePriority_; }
  void bridgePriorityIs(std::uint16_t value) {
    attributeIs(Id::bridgePriority, bridgePriority_, value);
  }

  static constexpr auto attributes = std::tuple{
      Attribute{"bridgePriority", Id::bridgePriority, &MstiStatus::bridgePriority,
                &MstiStatus::bridgePriorityIs, largestBridgePriority},
  };

 private:
  std::uint16_t bridgePriority_ = 32768;
};

/// The status of one spanning-tree instance: "Mst" for the one that runs MSTP.
class STP_API StpiStatus final : public TypedEntity<StpiStatus> {
 public:
  enum class Id : Lumo::FieldId { stpiPortStatus = 261, mstiStatus = 262 };

  ~StpiStatus() override;

  /// The ports that take part, by name.
  Members<Lumo::String, StpiPortStatus> stpiPortStatus{*this, Id::stpiPortStatus};

  /// By MST instance name: "Cist", "MST1" to "MST4095".
  Members<Lumo::String, MstiStatus> mstiStatus{*this, Id::mstiStatus};

  static constexpr auto attributes = std::tuple{
      CollectionAttribute{"stpiPortStatus", Id::stpiPortStatus, &StpiStatus::stpiPortStatus},
      CollectionAttribute{"mstiStatus", Id::mstiStatus, &StpiStatus::mstiStatus},
  };
};

/// The bridge's status.
class STP_API Status final : public TypedEntity<Status> {
 public:
  enum class Id : Lumo::FieldId { activeProtocol = 258, stpiStatus = 259 };

  ~Status() override;

  /// The protocol that runs.
  Mode activeProtocol() const { return activeProtocol_; }
  void activeProtocolIs(Mode value) { attributeIs(Id::activeProtocol, activeProtocol_, value); }

  /// By instance name.
  Members<Lumo::String, StpiStatus> stpiStatus{*this, Id::stpiStatus};

  static constexpr auto attributes = std::tuple{
      Attribute{"activeProtocol", Id::activeProtocol, &Status::activeProtocol,
                &Status::activeProtocolIs},
      CollectionAttribute{"stpiStatus", Id::stpiStatus, &Status::stpiStatus},
  };

 private:
  Mode activeProtocol_ = Mode::stp;
};

/// The VLANs that exist on the switch.
class STP_API VlanConfigDir final : public TypedEntity<VlanConfigDir> {
 public:
  enum class Id : Lumo::FieldId { vlanConfig = 258 };

  ~VlanConfigDir() override;

  /// A member means that the VLAN exists. Ids outside 1 to 4094 throw Lumo::RangeException.
  VlanSet const& vlanConfig() const { return vlanConfig_.ids(); }
  bool vlanConfig(std::uint16_t vlan) const { return vlanConfig_.contains(vlan); }
  VlanSequence const& vlanConfigEntries() const { return vlanConfig_; }
  void vlanConfigIs(std::uint16_t vlan);
  bool vlanConfigDel(std::uint16_t vlan);
  void vlanConfigDelAll();

  static constexpr auto attributes = std::tuple{
      VlanAttribute{"vlanConfig", Id::vlanConfig, &VlanConfigDir::vlanConfigEntries,
                    &VlanConfigDir::vlanConfigIs, &VlanConfigDir::vlanConfigDel,
                    &VlanConfigDir::vlanConfigDelAll},
  };

 private:
  VlanSequence vlanConfig_;
};

}  // namespace Stp
