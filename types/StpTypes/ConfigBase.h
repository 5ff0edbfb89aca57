// What the operator's configuration and the running configuration have in common.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "Base/Api.h"
#include "Lumo/Bytes.h"
#include "Lumo/Entity.h"
#include "Lumo/String.h"
#include "StpTypes/VlanTable.h"

namespace Stp {

/// The protocol that a bridge is configured for, or runs. The values are those of the engine; any
/// other 32-bit number can occur and means none of these.
enum class Mode : std::int32_t {
  stp = 0,          ///< IEEE 802.1D STP, run by RSTP's machines
  rstp = 2,         ///< IEEE 802.1Q RSTP
  mstp = 3,         ///< IEEE 802.1Q MSTP
  rapidPvst = 101,  ///< one RSTP instance a VLAN
};

/// MST instances are numbered 0, the CIST, to this.
inline constexpr std::uint16_t largestMstInstanceId = 4095;

/// The greatest bridge priority (IEEE 802.1Q, 14.2.5).
inline constexpr std::uint16_t largestBridgePriority = 61440;

/// The MST configuration of a bridge (IEEE 802.1Q, 13.8: the MST Configuration Identifier and
/// table).
struct MstConfig {
  Lumo::String regionName;

  /// The VLANs that belong to another instance than the CIST: entries of four bytes, the VLAN id
  /// and the instance id, both big-endian, in ascending order of the VLAN ids.
  Lumo::Bytes vidToMsti;

  std::uint64_t revision = 0;

  friend bool operator==(MstConfig const&, MstConfig const&) = default;
};

/// The number of an attribute, for types that have it from a base.
template <class Id>
constexpr Lumo::FieldId fieldOf(Id id) {
  return static_cast<Lumo::FieldId>(id);
}

/// The bridge-wide items that `Stp::Input::Config` and `Stp::Config` share, under the same numbers.
class STP_API ConfigBase : public Lumo::Entity {
 public:
  enum class Id : Lumo::FieldId { portfastBpduguard = 294, mstConfig = 298, disabledVlan = 303 };

  ~ConfigBase() override;

  /// BPDU guard on every port that is configured as an edge port.
  bool portfastBpduguard() const { return portfastBpduguard_; }
  void portfastBpduguardIs(bool value) {
    attributeIs(Id::portfastBpduguard, portfastBpduguard_, value);
  }

  MstConfig const& mstConfig() const { return mstConfig_; }
  void mstConfigIs(MstConfig const& value) { attributeIs(Id::mstConfig, mstConfig_, value); }

  /// VLANs on which spanning tree is disabled: those whose entry is true. Entries can be made for
  /// ids 0 to 4095; a larger id throws Lumo::RangeException.
  VlanTable const& disabledVlan() const { return disabledVlan_; }
  std::optional<bool> disabledVlan(std::uint16_t vlan) const { return disabledVlan_.find(vlan); }
  VlanSequence const& disabledVlanEntries() const { return disabledVlan_.entries(); }
  void disabledVlanIs(std::uint16_t vlan, bool disabled);
  bool disabledVlanDel(std::uint16_t vlan);
  void disabledVlanDelAll();

 private:
  bool portfastBpduguard_ = false;
  MstConfig mstConfig_;
  VlanTable disabledVlan_;
};

/// What the operator's configuration and the running configuration of a port have in common.
class STP_API PortConfigBase : public Lumo::Entity {
 public:
  enum class Id : Lumo::FieldId { bpduguard = 270 };

  /// Any other 8-bit number can occur and counts as disabled, or as not set, where it is read.
  enum class BpduguardEnabledState : std::uint8_t {
    bpduguardDefault = 0,  ///< follow the bridge-wide default
    bpduguardEnabled = 1,
    bpduguardDisabled = 2,
  };

  ~PortConfigBase() override;

  BpduguardEnabledState bpduguard() const { return bpduguard_; }
  void bpduguardIs(BpduguardEnabledState value) { attributeIs(Id::bpduguard, bpduguard_, value); }

 private:
  BpduguardEnabledState bpduguard_ = BpduguardEnabledState::bpduguardDefault;
};

/// Writes the enumerator's name, or the number of a value that has none.
STP_API std::ostream& operator<<(std::ostream& out, PortConfigBase::BpduguardEnabledState state);

}  // namespace Stp
