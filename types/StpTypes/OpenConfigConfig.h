// The OpenConfig side of the configuration: what clients of the public model read and write.
//
// Each entity holds one record that is read as a copy and stored whole: `configIs` publishes one
// change at every call, also for an equal record.
#pragma once

#include <cstdint>
#include <type_traits>

#include "Base/Api.h"
#include "Lanx/IntfId.h"
#include "Lumo/Entity.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/SharedList.h"
#include "StpTypes/VlanIdOrRange.h"

namespace Stp {

/// The protocol identities of openconfig-spanning-tree-types (STP_PROTOCOL), in their order.
enum class OcStpEnabledProtocol : std::uint8_t { rstp = 0, mstp = 1, rapidPvst = 2 };

/// link-type of an interface.
enum class OcLinkType : std::uint8_t { p2p = 0, shared = 1, notSet = 255 };

/// edge-port of an interface.
enum class OcEdgePort : std::uint8_t {
  edgeEnable = 0,
  edgeDisable = 1,
  edgeAuto = 2,
  notSet = 255,
};

/// bpdu-guard of an interface.
enum class OcBpduGuard : std::uint8_t { disabled = 0, enabled = 1, notSet = 255 };

/// The members that /stp/global/config and /stp/global/state share.
struct OCGlobalContainer {
  SharedList<OcStpEnabledProtocol> enabledProtocol;
  SharedList<VlanIdOrRange> disabledVlan;
  bool bpduGuard = false;

  void enabledProtocolPush(OcStpEnabledProtocol protocol) { enabledProtocol.push(protocol); }
  void enabledProtocolPopAll() { enabledProtocol.clear(); }
  void disabledVlanPush(VlanIdOrRange const& entry) { disabledVlan.push(entry); }
  void disabledVlanPopAll() { disabledVlan.clear(); }

  friend bool operator==(OCGlobalContainer const&, OCGlobalContainer const&) = default;
};

/// /stp/global/config
struct OCGlobalConfigContainer : OCGlobalContainer {};

/// The bridge-wide configuration.
class STP_API OCGlobalConfig final : public TypedEntity<OCGlobalConfig> {
 public:
  enum class Id : Lumo::FieldId { config = 130 };

  ~OCGlobalConfig() override;

  OCGlobalConfigContainer const& config() const { return config_; }
  void configIs(OCGlobalConfigContainer const& value) { recordIs(Id::config, config_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"config", Id::config, &OCGlobalConfig::config, &OCGlobalConfig::configIs},
  };

 private:
  OCGlobalConfigContainer config_;
};

/// /stp/interfaces/interface/config. It fills eight bytes: a record of just this width is copied
/// and stored in one register, any other through memory, at twice the cost of the whole change.
struct InterfaceConfig {
  Lanx::IntfId name;
  OcLinkType linkType = OcLinkType::notSet;
  OcEdgePort edgePort = OcEdgePort::notSet;
  OcBpduGuard bpduGuard = OcBpduGuard::notSet;
  std::uint8_t filler = 0;  // always 0

  friend bool operator==(InterfaceConfig const&, InterfaceConfig const&) = default;
};
static_assert(sizeof(InterfaceConfig) == 8 && std::is_trivially_copyable_v<InterfaceConfig>);

/// One interface's configuration.
class STP_API OCInterface final : public TypedEntity<OCInterface> {
 public:
  enum class Id : Lumo::FieldId { config = 130 };

  ~OCInterface() override;

  InterfaceConfig const& config() const { return config_; }
  void configIs(InterfaceConfig const& value) { recordIs(Id::config, config_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"config", Id::config, &OCInterface::config, &OCInterface::configIs},
  };

 private:
  InterfaceConfig config_;
};

/// The interfaces that have a configuration.
class STP_API OCInterfaceConfigDir final : public TypedEntity<OCInterfaceConfigDir> {
 public:
  enum class Id : Lumo::FieldId { interface = 130 };

  ~OCInterfaceConfigDir() override;

  Collection<Lanx::IntfId, OCInterface> const& interface() const { return interface_; }
  Lumo::Ptr<OCInterface> interface(Lanx::IntfId id) const { return memberFind(interface_, id); }

  /// The interface under `id`, a new one with a fresh record where there was none.
  Lumo::Ptr<OCInterface> interfaceIs(Lanx::IntfId id) {
    return memberOrNew(*this, Id::interface, interface_, id);
  }
  bool interfaceDel(Lanx::IntfId id) { return memberDel(*this, Id::interface, interface_, id); }
  void interfaceDelAll() { memberDelAll(*this, Id::interface, interface_); }

  static constexpr auto attributes = std::tuple{
      createdCollection<Lanx::IntfId, OCInterface>(
          "interface", Id::interface, &OCInterfaceConfigDir::interface,
          &OCInterfaceConfigDir::interfaceIs, &OCInterfaceConfigDir::interfaceDel,
          &OCInterfaceConfigDir::interfaceDelAll),
  };

 private:
  Collection<Lanx::IntfId, OCInterface> interface_;
};

/// A bridge priority of the public model: 0 to 61440 (IEEE 802.1Q, 14.2.5). Values between the
/// steps of 4096 are allowed.
class OCBridgePriority {
 public:
  static constexpr std::uint16_t largest = largestBridgePriority;

  constexpr OCBridgePriority() = default;

  /// Throws Lumo::RangeException for a value above 61440.
  constexpr explicit OCBridgePriority(std::uint16_t value) : value_(value) {
    if (value > largest) {
      Lumo::RangeException::throwException(
          "Stp::OCBridgePriority::value < 0 or > 61440 not allowed");
    }
  }

  constexpr std::uint16_t value() const noexcept { return value_; }

  friend constexpr bool operator==(OCBridgePriority const&, OCBridgePriority const&) = default;

 private:
  std::uint16_t value_ = 32768;
};

/// The members that config and state of /stp/mstp/mst-instances/mst-instance share.
struct OCMstiRecord {
  std::uint16_t mstId = 0;
  OCBridgePriority bridgePriority;
  SharedList<VlanIdOrRange> vlan;

  void vlanPush(VlanIdOrRange const& entry) { vlan.push(entry); }
  void vlanPopAll() { vlan.clear(); }

  friend bool operator==(OCMstiRecord const&, OCMstiRecord const&) = default;
};

/// /stp/mstp/mst-instances/mst-instance/config
struct OCMstiConfig : OCMstiRecord {};

/// One MST instance's configuration.
class STP_API OCMsti final : public TypedEntity<OCMsti> {
 public:
  enum class Id : Lumo::FieldId { config = 130 };

  ~OCMsti() override;

  OCMstiConfig const& config() const { return config_; }
  void configIs(OCMstiConfig const& value) { recordIs(Id::config, config_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"config", Id::config, &OCMsti::config, &OCMsti::configIs},
  };

 private:
  OCMstiConfig config_;
};

/// The MST instances that have a configuration, by instance id.
class STP_API OCMstiConfigDir final : public TypedEntity<OCMstiConfigDir> {
 public:
  enum class Id : Lumo::FieldId { mstInstance = 130 };

  ~OCMstiConfigDir() override;

  Collection<std::uint16_t, OCMsti> const& mstInstance() const { return mstInstance_; }
  Lumo::Ptr<OCMsti> mstInstance(std::uint16_t id) const { return memberFind(mstInstance_, id); }

  /// The instance under `id`, a new one with a fresh record where there was none.
  Lumo::Ptr<OCMsti> mstInstanceIs(std::uint16_t id) {
    return memberOrNew(*this, Id::mstInstance, mstInstance_, id);
  }
  bool mstInstanceDel(std::uint16_t id) {
    return memberDel(*this, Id::mstInstance, mstInstance_, id);
  }
  void mstInstanceDelAll() { memberDelAll(*this, Id::mstInstance, mstInstance_); }

  static constexpr auto attributes = std::tuple{
      createdCollection<std::uint16_t, OCMsti>(
          "mstInstance", Id::mstInstance, &OCMstiConfigDir::mstInstance,
          &OCMstiConfigDir::mstInstanceIs, &OCMstiConfigDir::mstInstanceDel,
          &OCMstiConfigDir::mstInstanceDelAll),
  };

 private:
  Collection<std::uint16_t, OCMsti> mstInstance_;
};

}  // namespace Stp
