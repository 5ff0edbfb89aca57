// The entities that are watched, as plain values that refer to one another by number.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "Ordered.h"
#include "Vlans.h"

namespace Model {

/// Every kind of entity that is watched; those up to `vlanDir` exist once.
enum class Kind {
  inputConfig,
  config,
  status,
  vlanDir,
  inputPort,
  portConfig,
  portStatus,
  mstiStatus,
  mstiConfig,
  stpiConfig,
  stpiStatus,
};
constexpr std::size_t kinds = 11;
constexpr std::size_t firstPooled = 4;

/// An entity of a kind, by its place among all that there ever were.
using Ref = int;
constexpr Ref none = -1;

struct InputPort {
  int linkType = 0;
  bool edgePortEnable = false;
  bool edgePortAuto = false;
  bool edgePortDisable = false;
  int bpduguard = 0;
};

struct PortConfig {
  bool adminEdgePort = false;
  int bpduguard = 0;
};

struct PortStatus {
  bool operEdgePort = false;
  bool operPointToPointMac = false;
};

struct MstiStatus {
  int bridgePriority = 32768;
};

struct MstiConfig {
  int mstiId = 0;
  int bridgePriority = 32768;
};

struct StpiConfig {
  Ordered<Ref> mstis;
};

struct StpiStatus {
  Ordered<Ref> ports;
  Ordered<Ref> mstis;
};

struct VlanTable {
  VlanBits present;
  VlanBits disabled;
};

/// What both configurations of the bridge have.
struct BridgeConfig {
  bool portfastBpduguard = false;
  Bytes vidToMsti;
  int revision = 0;
  VlanTable disabledVlan;
  Ordered<Ref> ports;
};

struct InputConfig : BridgeConfig {
  int mode = 0;
  Ordered<Ref> instances;
};

struct Status {
  int activeProtocol = 0;
  Ordered<Ref> instances;
};

struct Sources {
  InputConfig inputConfig;
  BridgeConfig config;
  Status status;
  VlanBits vlanDir;

  std::vector<InputPort> inputPorts;
  std::vector<PortConfig> portConfigs;
  std::vector<PortStatus> portStatuses;
  std::vector<MstiStatus> mstiStatuses;
  std::vector<MstiConfig> mstiConfigs;
  std::vector<StpiConfig> stpiConfigs;
  std::vector<StpiStatus> stpiStatuses;

  /// The entities at hand, by kind: those that operations name by their places here.
  std::array<std::vector<Ref>, kinds> hand;
};

/// Looks a reference up; absent where there is no such entity.
template <class Entity>
Entity& at(std::vector<Entity>& entities, Ref ref) {
  return entities.at(static_cast<std::size_t>(ref));
}
template <class Entity>
Entity const& at(std::vector<Entity> const& entities, Ref ref) {
  return entities.at(static_cast<std::size_t>(ref));
}

}  // namespace Model
