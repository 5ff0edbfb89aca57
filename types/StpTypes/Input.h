// What the operator asked for: the input configuration of the bridge, its ports and instances.
//
// Attributes keep the numbers by which other software of the switch knows them; the numbers
// between them are free.
#pragma once

#include <cstdint>
#include <tuple>

#include "Base/Api.h"
#include "Lumo/String.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/ConfigBase.h"

namespace Stp::Input {

/// A port's settings. The three edge settings are independent flags, as the operator's commands
/// left them.
class STP_API PortConfig final : public TypedEntity<PortConfig, PortConfigBase> {
 public:
  enum class Id : Lumo::FieldId {
    linkType = 260,
    edgePortEnable = 261,
    edgePortAuto = 263,
    edgePortDisable = 265,
    bpduguard = fieldOf(PortConfigBase::Id::bpduguard),
  };

  /// Any other 8-bit number can occur and means none of these.
  enum class LinkType : std::uint8_t {
    automatic = 0,  ///< from the port's duplex mode (IEEE 802.1Q adminPointToPointMAC Auto)
    pointToPoint = 1,
    shared = 2,
  };

  ~PortConfig() override;

  LinkType linkType() const { return linkType_; }
  void linkTypeIs(LinkType value) { attributeIs(Id::linkType, linkType_, value); }

  /// Configured as an edge port (IEEE 802.1Q AdminEdge).
  bool edgePortEnable() const { return edgePortEnable_; }
  void edgePortEnableIs(bool value) { attributeIs(Id::edgePortEnable, edgePortEnable_, value); }

  /// To be detected (IEEE 802.1Q AutoEdge).
  bool edgePortAuto() const { return edgePortAuto_; }
  void edgePortAutoIs(bool value) { attributeIs(Id::edgePortAuto, edgePortAuto_, value); }

  /// Configured as not an edge port.
  bool edgePortDisable() const { return edgePortDisable_; }
  void edgePortDisableIs(bool value) { attributeIs(Id::edgePortDisable, edgePortDisable_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"linkType", Id::linkType, &PortConfig::linkType, &PortConfig::linkTypeIs},
      Attribute{"edgePortEnable", Id::edgePortEnable, &PortConfig::edgePortEnable,
                &PortConfig::edgePortEnableIs},
      Attribute{"edgePortAuto", Id::edgePortAuto, &PortConfig::edgePortAuto,
                &PortConfig::edgePortAutoIs},
      Attribute{"edgePortDisable", Id::edgePortDisable, &PortConfig::edgePortDisable,
                &PortConfig::edgePortDisableIs},
      Attribute{"bpduguard", Id::bpduguard, &PortConfigBase::bpduguard,
                &PortConfigBase::bpduguardIs},
  };

 private:
  LinkType linkType_ = LinkType::automatic;
  bool edgePortEnable_ = false;
  bool edgePortAuto_ = false;
  bool edgePortDisable_ = false;
};

/// The configuration of one MST instance on this bridge.
class STP_API MstiConfig final : public TypedEntity<MstiConfig> {
 public:
  enum class Id : Lumo::FieldId { mstiId = 258, bridgePriority = 259 };

  ~MstiConfig() override;

  /// The instance, 0 (the CIST) to 4095.
  std::uint16_t mstiId() const { return mstiId_; }
  void mstiIdIs(std::uint16_t value) { attributeIs(Id::mstiId, mstiId_, value); }

  /// 0 to 61440 in steps of 4096 (IEEE 802.1Q, 14.2.5); the entity holds any 16-bit number.
  std::uint16_t bridgePriority() const { return bridgePriority_; }
  void bridgePriorityIs(std::uint16_t value) {
    attributeIs(Id::bridgePriority, bridgePriority_, value);
  }

  static constexpr auto attributes = std::tuple{
      Attribute{"mstiId", Id::mstiId, &MstiConfig::mstiId, &MstiConfig::mstiIdIs,
                largestMstInstanceId},
      Attribute{"bridgePriority", Id::bridgePriority, &MstiConfig::bridgePriority,
                &MstiConfig::bridgePriorityIs, largestBridgePriority},
  };

 private:
  std::uint16_t mstiId_ = 0;
  std::uint16_t bridgePriority_ = 32768;
};

/// The configuration of one spanning-tree instance of the bridge: "Mst" for the one that runs MSTP.
class STP_API StpiConfig final : public TypedEntity<StpiConfig> {
 public:
  enum class Id : Lumo::FieldId { mstiConfig = 259 };

  ~StpiConfig() override;

  /// By MST instance name: "Cist", "MST1" to "MST4095".
  Members<Lumo::String, MstiConfig> mstiConfig{*this, Id::mstiConfig};

  static constexpr auto attributes = std::tuple{
      CollectionAttribute{"mstiConfig", Id::mstiConfig, &StpiConfig::mstiConfig},
  };
};

/// The bridge's input configuration.
class STP_API Config final : public TypedEntity<Config, ConfigBase> {
 public:
  enum class Id : Lumo::FieldId {
    mode = 267,
    portfastBpduguard = fieldOf(ConfigBase::Id::portfastBpduguard),
    mstConfig = fieldOf(ConfigBase::Id::mstConfig),
    disabledVlan = fieldOf(ConfigBase::Id::disabledVlan),
    portConfig = 386,
    stpiConfig = 387,
  };

  ~Config() override;

  Mode mode() const { return mode_; }
  void modeIs(Mode value) { attributeIs(Id::mode, mode_, value); }

  /// By port name.
  Members<Lumo::String, PortConfig> portConfig{*this, Id::portConfig};

  /// By instance name.
  Members<Lumo::String, StpiConfig> stpiConfig{*this, Id::stpiConfig};

  static constexpr auto attributes = std::tuple{
      Attribute{"mode", Id::mode, &Config::mode, &Config::modeIs},
      Attribute{"portfastBpduguard", Id::portfastBpduguard, &ConfigBase::portfastBpduguard,
                &ConfigBase::portfastBpduguardIs},
      Attribute{"mstConfig", Id::mstConfig, &ConfigBase::mstConfig, &ConfigBase::mstConfigIs},
      VlanAttribute{"disabledVlan", Id::disabledVlan, &ConfigBase::disabledVlanEntries,
                    &ConfigBase::disabledVlanIs, &ConfigBase::disabledVlanDel,
                    &ConfigBase::disabledVlanDelAll},
      CollectionAttribute{"portConfig", Id::portConfig, &Config::portConfig},
      CollectionAttribute{"stpiConfig", Id::stpiConfig, &Config::stpiConfig},
  };

 private:
  Mode mode_ = Mode::stp;
};

}  // namespace Stp::Input
