// What the protocol engine says of its operation: of the bridge, its trees, and the ports of each.
//
// Whatever nobody has said is absent, so that nothing is claimed in its place. The engine's words
// stay apart where the public model has one leaf for two of them (the costs and roots inside and
// outside of a region): which one counts is decided where they are mirrored.
#pragma once

#include <cstdint>
#include <optional>
#include <tuple>

#include "Base/Api.h"
#include "Lumo/String.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Identifiers.h"
#include "StpTypes/ToldEntity.h"

namespace Stp::Operational {

/// The role of a port in a tree (IEEE 802.1Q, 13.12).
enum class PortRole : std::uint8_t {
  disabled = 0,
  root = 1,
  designated = 2,
  alternate = 3,
  backup = 4,
  master = 5,  ///< of an MST instance: the way out of the region
};

/// The state of a port in a tree (IEEE 802.1Q, 13.38; listening is of IEEE 802.1D-1998).
enum class PortState : std::uint8_t {
  discarding = 0,
  listening = 1,
  learning = 2,
  forwarding = 3,
};

struct PortTold {
  /// IEEE 802.1Q restrictedRole: the port is never the root port.
  std::optional<bool> restrictedRole;
  /// Whether BPDUs are neither sent nor heeded.
  std::optional<bool> bpduFilter;
  /// Whether BPDU guard has taken the port out of use.
  std::optional<bool> bpduGuardError;

  friend bool operator==(PortTold const&, PortTold const&) = default;
};

/// What the engine says of a port beyond its trees.
class STP_API Port final : public ToldEntity<Port, PortTold> {
 public:
  enum class Id : Lumo::FieldId { restrictedRole = 258, bpduFilter, bpduGuardError };

  ~Port() override;

  static constexpr auto attributes = std::tuple{
      row<Id::restrictedRole, &PortTold::restrictedRole>("restrictedRole"),
      row<Id::bpduFilter, &PortTold::bpduFilter>("bpduFilter"),
      row<Id::bpduGuardError, &PortTold::bpduGuardError>("bpduGuardError"),
  };
};

struct TreePortTold {
  std::optional<PortId> portId;
  /// Path costs (IEEE 802.1Q, 13.27.25 and 13.27.33): of the CIST, and within the region.
  std::optional<std::uint32_t> externalCost;
  std::optional<std::uint32_t> internalCost;
  std::optional<PortRole> role;
  std::optional<PortState> state;
  /// The parts of the port's priority vector (IEEE 802.1Q, 13.10 and 13.11).
  std::optional<BridgeId> designatedRoot;
  std::optional<std::uint32_t> designatedExternalCost;
  std::optional<BridgeId> designatedRegionalRoot;
  std::optional<std::uint32_t> designatedInternalCost;
  std::optional<BridgeId> designatedBridge;
  std::optional<PortId> designatedPort;
  /// How often the port began to forward.
  std::optional<std::uint64_t> forwardTransitions;
  /// IEEE 802.1Q, 13.27.22: another bridge takes the port's segment for its own.
  std::optional<bool> disputed;
  std::optional<std::uint64_t> bpduSent;
  std::optional<std::uint64_t> bpduReceived;

  friend bool operator==(TreePortTold const&, TreePortTold const&) = default;
};

/// What the engine says of a port in one tree.
class STP_API TreePort final : public ToldEntity<TreePort, TreePortTold> {
 public:
  enum class Id : Lumo::FieldId {
    portId = 258,
    externalCost,
    internalCost,
    role,
    state,
    designatedRoot,
    designatedExternalCost,
    designatedRegionalRoot,
    designatedInternalCost,
    designatedBridge,
    designatedPort,
    forwardTransitions,
    disputed,
    bpduSent,
    bpduReceived,
  };

  ~TreePort() override;

  static constexpr auto attributes = std::tuple{
      row<Id::portId, &TreePortTold::portId>("portId"),
      row<Id::externalCost, &TreePortTold::externalCost>("externalCost"),
      row<Id::internalCost, &TreePortTold::internalCost>("internalCost"),
      row<Id::role, &TreePortTold::role>("role"),
      row<Id::state, &TreePortTold::state>("state"),
      row<Id::designatedRoot, &TreePortTold::designatedRoot>("designatedRoot"),
      row<Id::designatedExternalCost, &TreePortTold::designatedExternalCost>(
          "designatedExternalCost"),
      row<Id::designatedRegionalRoot, &TreePortTold::designatedRegionalRoot>(
          "designatedRegionalRoot"),
      row<Id::designatedInternalCost, &TreePortTold::designatedInternalCost>(
          "designatedInternalCost"),
      row<Id::designatedBridge, &TreePortTold::designatedBridge>("designatedBridge"),
      row<Id::designatedPort, &TreePortTold::designatedPort>("designatedPort"),
      row<Id::forwardTransitions, &TreePortTold::forwardTransitions>("forwardTransitions"),
      row<Id::disputed, &TreePortTold::disputed>("disputed"),
      row<Id::bpduSent, &TreePortTold::bpduSent>("bpduSent"),
      row<Id::bpduReceived, &TreePortTold::bpduReceived>("bpduReceived"),
  };
};

struct TreeTold {
  /// This bridge's identifier in the tree.
  std::optional<BridgeId> bridgeId;
  /// The parts of the root priority vector (IEEE 802.1Q, 13.10 and 13.11). An MST instance has a
  /// regional root and an internal cost only.
  std::optional<BridgeId> designatedRoot;
  std::optional<std::uint32_t> externalRootCost;
  std::optional<BridgeId> regionalRoot;
  std::optional<std::uint32_t> internalRootCost;
  /// The number of the root port; 0 on the root.
  std::optional<std::uint16_t> rootPort;
  std::optional<std::uint64_t> topologyChanges;
  /// When the topology changed last, in nanoseconds since the beginning of 1970 (UTC); absent while
  /// it never did.
  std::optional<std::uint64_t> lastTopologyChange;

  friend bool operator==(TreeTold const&, TreeTold const&) = default;
};

/// What the engine says of a tree, and of its ports.
class STP_API Tree final : public ToldEntity<Tree, TreeTold> {
 public:
  enum class Id : Lumo::FieldId {
    bridgeId = 258,
    designatedRoot,
    externalRootCost,
    regionalRoot,
    internalRootCost,
    rootPort,
    topologyChanges,
    lastTopologyChange,
    port,
  };

  ~Tree() override;

  /// By port name.
  Members<Lumo::String, TreePort> port{*this, Id::port};

  static constexpr auto attributes = std::tuple{
      row<Id::bridgeId, &TreeTold::bridgeId>("bridgeId"),
      row<Id::designatedRoot, &TreeTold::designatedRoot>("designatedRoot"),
      row<Id::externalRootCost, &TreeTold::externalRootCost>("externalRootCost"),
      row<Id::regionalRoot, &TreeTold::regionalRoot>("regionalRoot"),
      row<Id::internalRootCost, &TreeTold::internalRootCost>("internalRootCost"),
      row<Id::rootPort, &TreeTold::rootPort>("rootPort"),
      row<Id::topologyChanges, &TreeTold::topologyChanges>("topologyChanges"),
      row<Id::lastTopologyChange, &TreeTold::lastTopologyChange>("lastTopologyChange"),
      CollectionAttribute{"port", Id::port, &Tree::port},
  };
};

struct BridgeTold {
  /// Whether the protocol runs; while it does not, nothing of what it computed means anything.
  bool running = false;
  /// The MST configuration identifier (IEEE 802.1Q, 13.8); a name that is empty is none.
  Lumo::String regionName;
  std::optional<std::uint32_t> revision;
  /// Times in seconds (IEEE 802.1Q, 13.26): this bridge's own, and those of the root that it
  /// follows.
  std::optional<std::uint8_t> helloTime;
  std::optional<std::uint8_t> bridgeMaxAge;
  std::optional<std::uint8_t> bridgeForwardDelay;
  std::optional<std::uint8_t> maxAge;
  std::optional<std::uint8_t> forwardDelay;
  /// IEEE 802.1Q, 13.26.12: BPDUs a second.
  std::optional<std::uint8_t> txHoldCount;
  /// IEEE 802.1Q, 13.26.4.
  std::optional<std::uint8_t> maxHops;

  friend bool operator==(BridgeTold const&, BridgeTold const&) = default;
};

/// What the engine says of the bridge.
class STP_API Bridge final : public ToldEntity<Bridge, BridgeTold> {
 public:
  enum class Id : Lumo::FieldId {
    running = 258,
    regionName,
    revision,
    helloTime,
    bridgeMaxAge,
    bridgeForwardDelay,
    maxAge,
    forwardDelay,
    txHoldCount,
    maxHops,
    tree,
    port,
  };

  ~Bridge() override;

  /// By the name of the MST instance: "Cist", which is the only one outside MSTP, "MST1" to
  /// "MST4095".
  Members<Lumo::String, Tree> tree{*this, Id::tree};

  /// By port name.
  Members<Lumo::String, Port> port{*this, Id::port};

  static constexpr auto attributes = std::tuple{
      row<Id::running, &BridgeTold::running>("running"),
      row<Id::regionName, &BridgeTold::regionName>("regionName"),
      row<Id::revision, &BridgeTold::revision>("revision"),
      row<Id::helloTime, &BridgeTold::helloTime>("helloTime"),
      row<Id::bridgeMaxAge, &BridgeTold::bridgeMaxAge>("bridgeMaxAge"),
      row<Id::bridgeForwardDelay, &BridgeTold::bridgeForwardDelay>("bridgeForwardDelay"),
      row<Id::maxAge, &BridgeTold::maxAge>("maxAge"),
      row<Id::forwardDelay, &BridgeTold::forwardDelay>("forwardDelay"),
      row<Id::txHoldCount, &BridgeTold::txHoldCount>("txHoldCount"),
      row<Id::maxHops, &BridgeTold::maxHops>("maxHops"),
      CollectionAttribute{"tree", Id::tree, &Bridge::tree},
      CollectionAttribute{"port", Id::port, &Bridge::port},
  };
};

}  // namespace Stp::Operational
