// The OpenConfig side of the operation: records of the leaves of trees, of their ports and of the
// protocol's parameters. A leaf that is not set is absent.
//
// The public model shows the tree of RSTP under /stp/rstp and MST instances under
// /stp/mstp/mst-instances/mst-instance; the CIST is under /stp/mstp/stp-openconfig-cist:cist. One
// record serves all three, and its key says which of them it is about.
#pragma once

#include <cstdint>
#include <optional>
#include <tuple>

#include "Base/Api.h"
#include "Lanx/IntfId.h"
#include "Lumo/String.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Identifiers.h"
#include "StpTypes/Operational.h"

namespace Stp {

/// role of a port of a tree: the identities of openconfig-spanning-tree-types (STP_PORT_ROLE), in
/// their order.
enum class OcPortRole : std::uint8_t { root = 0, designated = 1, alternate = 2, backup = 3 };

/// port-state of a port of a tree: the identities of openconfig-spanning-tree-types
/// (STP_PORT_STATE), in their order.
enum class OcPortState : std::uint8_t {
  disabled = 0,
  listening = 1,
  learning = 2,
  blocking = 3,
  forwarding = 4,
};

/// guard of an interface (stp-guard-type).
enum class OcGuard : std::uint8_t { root = 0, loop = 1, none = 2 };

/// The leaves of /stp/rstp and /stp/mstp, config or state, that are about the bridge. RSTP has the
/// first four.
struct OCProtocolParameters {
  /// Times in seconds, hello-time 1 to 10, max-age 6 to 40, forwarding-delay 4 to 30.
  std::optional<std::uint8_t> helloTime;
  std::optional<std::uint8_t> maxAge;
  std::optional<std::uint8_t> forwardingDelay;
  /// 1 to 10.
  std::optional<std::uint8_t> holdCount;
  /// 1 to 255.
  std::optional<std::uint8_t> maxHop;
  /// 1 to 32 characters; absent if empty.
  Lumo::String name;
  std::optional<std::uint32_t> revision;

  friend bool operator==(OCProtocolParameters const&, OCProtocolParameters const&) = default;
};

/// /stp/rstp/config, /stp/rstp/state, /stp/mstp/config, /stp/mstp/state
struct OCRstpConfigRecord : OCProtocolParameters {};
struct OCRstpStateRecord : OCProtocolParameters {};
struct OCMstpConfigRecord : OCProtocolParameters {};
struct OCMstpStateRecord : OCProtocolParameters {};

/// config/bridge-priority of RSTP's tree and of the CIST.
struct OCTreeConfig {
  TreeId tree;
  /// 0 to 61440 in steps of 4096.
  std::optional<std::uint16_t> bridgePriority = {};

  TreeId key() const { return tree; }

  friend bool operator==(OCTreeConfig const&, OCTreeConfig const&) = default;
};

/// The state of a tree.
struct OCTreeState {
  TreeId tree;
  /// bridge-priority (not of an MST instance, whose own state has it) and bridge-address.
  std::optional<BridgeId> bridge = {};
  /// designated-root-priority and designated-root-address.
  std::optional<BridgeId> designatedRoot = {};
  /// The number of the port; 0 on the root.
  std::optional<std::uint16_t> rootPort = {};
  std::optional<std::uint32_t> rootCost = {};
  std::optional<std::uint64_t> topologyChanges = {};
  /// Nanoseconds since the beginning of 1970 (UTC).
  std::optional<std::uint64_t> lastTopologyChange = {};
  /// The CIST's alone: regional-root-priority, regional-root-address and regional-root-cost.
  std::optional<BridgeId> regionalRoot = {};
  std::optional<std::uint32_t> regionalRootCost = {};

  TreeId key() const { return tree; }

  friend bool operator==(OCTreeState const&, OCTreeState const&) = default;
};

/// interfaces/interface/config of a tree.
struct OCTreePortConfig {
  TreePortId id;
  /// 0 to 240 in steps of 16; the model can't say 0.
  std::optional<std::uint8_t> portPriority = {};

  TreePortId key() const { return id; }

  friend bool operator==(OCTreePortConfig const&, OCTreePortConfig const&) = default;
};

/// interfaces/interface/state of a tree.
struct OCTreePortState {
  TreePortId id;
  /// port-num and port-priority.
  std::optional<PortId> port = {};
  /// 1 to 200000000.
  std::optional<std::uint32_t> cost = {};
  std::optional<OcPortRole> role = {};
  std::optional<OcPortState> portState = {};
  /// designated-root-priority and designated-root-address.
  std::optional<BridgeId> designatedRoot = {};
  std::optional<std::uint32_t> designatedCost = {};
  /// designated-bridge-priority and designated-bridge-address.
  std::optional<BridgeId> designatedBridge = {};
  /// designated-port-num and designated-port-priority.
  std::optional<PortId> designatedPort = {};
  /// forward-transisitions, the model's spelling.
  std::optional<std::uint64_t> forwardTransitions = {};
  /// stp-openconfig-cist:disputed
  std::optional<bool> disputed = {};
  /// stp-openconfig-cist:master, of an MST instance.
  std::optional<bool> master = {};

  TreePortId key() const { return id; }

  friend bool operator==(OCTreePortState const&, OCTreePortState const&) = default;
};

/// interfaces/interface/state/counters of a tree.
struct OCTreePortCounters {
  TreePortId id;
  std::optional<std::uint64_t> bpduSent = {};
  std::optional<std::uint64_t> bpduReceived = {};

  TreePortId key() const { return id; }

  friend bool operator==(OCTreePortCounters const&, OCTreePortCounters const&) = default;
};

/// guard and bpdu-filter of /stp/interfaces/interface/config.
struct OCProtectionConfig {
  Lanx::IntfId name;
  std::optional<OcGuard> guard = {};
  std::optional<bool> bpduFilter = {};

  Lanx::IntfId key() const { return name; }

  friend bool operator==(OCProtectionConfig const&, OCProtectionConfig const&) = default;
};

/// The same of /stp/interfaces/interface/state, and the trouble that BPDU guard is in.
struct OCProtectionState {
  Lanx::IntfId name;
  std::optional<OcGuard> guard = {};
  std::optional<bool> bpduFilter = {};
  /// stp-openconfig-cist:bpdu-guard-error
  std::optional<bool> bpduGuardError = {};

  Lanx::IntfId key() const { return name; }

  friend bool operator==(OCProtectionState const&, OCProtectionState const&) = default;
};

/// A target that holds one record.
template <class Derived, class Record>
class RecordTarget : public TypedEntity<Derived> {
 public:
  enum class Id : Lumo::FieldId { record = 130 };

  Record const& record() const { return record_; }
  void recordIs(Record const& value) { Lumo::Entity::recordIs(Id::record, record_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"record", Id::record, &RecordTarget::record, &RecordTarget::recordIs},
  };

 private:
  Record record_;
};

namespace Impl {

template <class Member>
struct KeyMember;
template <class RecordType, class KeyType>
struct KeyMember<KeyType RecordType::*> {
  using Record = RecordType;
  using Key = KeyType;
};

}  // namespace Impl

/// A target that holds records by the member that is their key.
template <class Derived, auto keyMember>
class RecordDirectory : public TypedEntity<Derived> {
 public:
  enum class Id : Lumo::FieldId { record = 130 };

  using Key = typename Impl::KeyMember<decltype(keyMember)>::Key;
  using Record = typename Impl::KeyMember<decltype(keyMember)>::Record;

  RecordCollection<Key, Record> const& record() const { return records_; }

  /// The record under a key, or null; valid until the directory changes.
  Record const* record(Key key) const { return recordFind(records_, key); }
  void recordIs(Record const& record) {
    recordMemberIs(*this, Id::record, records_, record.*keyMember, record);
  }

  /// Lets `edit` change the record under the key, in place, and announces one change if it says
  /// that it changed something. Where there is none, it changes a fresh one, which is then stored
  /// and announced in any case. `edit` must leave the key, and not throw.
  template <class Edit>
  void recordAmend(Key key, Edit edit) {
    if (std::optional<Record>* const present = records_.find(key)) {
      if (!edit(**present)) {
        return;
      }
    } else {
      Record fresh;
      fresh.*keyMember = key;
      edit(fresh);
      records_.newMemberG(key, fresh);
    }
    publishMember(*this, Id::record, key);
  }
  bool recordDel(Key key) { return memberDel(*this, Id::record, records_, key); }
  void recordDelAll() { memberDelAll(*this, Id::record, records_); }

  static constexpr auto attributes = std::tuple{
      recordCollection<Key, Record>("record", Id::record, &RecordDirectory::record,
                                    &RecordDirectory::recordIs, &RecordDirectory::recordDel,
                                    &RecordDirectory::recordDelAll),
  };

 private:
  RecordCollection<Key, Record> records_;
};

class STP_API OCRstpConfig final : public RecordTarget<OCRstpConfig, OCRstpConfigRecord> {
 public:
  ~OCRstpConfig() override;
};
class STP_API OCRstpState final : public RecordTarget<OCRstpState, OCRstpStateRecord> {
 public:
  ~OCRstpState() override;
};
class STP_API OCMstpConfig final : public RecordTarget<OCMstpConfig, OCMstpConfigRecord> {
 public:
  ~OCMstpConfig() override;
};
class STP_API OCMstpState final : public RecordTarget<OCMstpState, OCMstpStateRecord> {
 public:
  ~OCMstpState() override;
};

/// By tree.
class STP_API OCTreeConfigDir final : public RecordDirectory<OCTreeConfigDir, &OCTreeConfig::tree> {
 public:
  ~OCTreeConfigDir() override;
};
class STP_API OCTreeStateDir final : public RecordDirectory<OCTreeStateDir, &OCTreeState::tree> {
 public:
  ~OCTreeStateDir() override;
};

/// By tree and port.
class STP_API OCTreePortConfigDir final
    : public RecordDirectory<OCTreePortConfigDir, &OCTreePortConfig::id> {
 public:
  ~OCTreePortConfigDir() override;
};
class STP_API OCTreePortStateDir final
    : public RecordDirectory<OCTreePortStateDir, &OCTreePortState::id> {
 public:
  ~OCTreePortStateDir() override;
};
class STP_API OCTreePortCountersDir final
    : public RecordDirectory<OCTreePortCountersDir, &OCTreePortCounters::id> {
 public:
  ~OCTreePortCountersDir() override;
};

/// By interface.
class STP_API OCProtectionConfigDir final
    : public RecordDirectory<OCProtectionConfigDir, &OCProtectionConfig::name> {
 public:
  ~OCProtectionConfigDir() override;
};
class STP_API OCProtectionStateDir final
    : public RecordDirectory<OCProtectionStateDir, &OCProtectionState::name> {
 public:
  ~OCProtectionStateDir() override;
};

}  // namespace Stp
