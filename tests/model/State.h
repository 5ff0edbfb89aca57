// The whole world of the model: sources, targets, and what the mirrors remember.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Ordered.h"
#include "Sources.h"
#include "Targets.h"

namespace Model {

/// The seven objects that a host makes.
enum class Tree {
  globalConfig,
  globalState,
  vlanSyncher,
  interfaceConfig,
  interfaceState,
  mstpConfig,
  mstpState,
};
constexpr int trees = 7;

/// The instance that runs MSTP.
constexpr int mstp = 0;

struct Root {
  bool exists = false;
  bool active = false;
  bool zombie = false;

  bool hears() const { return exists && active && !zombie; }
};

/// What one mirror below a root follows, and since when: whoever came first is told first.
struct Watch {
  Ref source = none;
  bool active = true;
  std::uint64_t since = 0;

  bool follows(Ref entity) const { return active && source == entity; }
};

struct PortConfigMirror : Watch {
  int interface = 0;
};

struct InterfaceConfigTree : Root {
  Ordered<PortConfigMirror> ports;
  Ordered<Watch> instances;
};

struct PortStateMirror : Watch {
  Ref portConfig = none;
};

struct InstanceStateMirror : Watch {
  Ordered<PortStateMirror> ports;
};

struct InterfaceStateTree : Root {
  Ordered<InstanceStateMirror> instances;
};

struct MstiConfigMirror : Watch {
  int msti = 0;
};

struct MstpInstanceMirror : Watch {
  Ordered<MstiConfigMirror> mstis;
};

struct MstpConfigTree : Root {
  std::optional<MstpInstanceMirror> instance;
};

/// A leaf bumps the trigger that it was made with, which may not be the present one.
struct TriggerLeaf : Watch {
  int trigger = 0;
};

struct MstpStateTree : Root {
  int trigger = 0;
  std::optional<TriggerLeaf> instance;
  Ordered<TriggerLeaf> mstis;
};

struct State {
  Sources sources;
  Targets targets;

  Root globalConfig;
  Root globalState;
  Root vlanSyncher;
  InterfaceConfigTree interfaceConfig;
  InterfaceStateTree interfaceState;
  MstpConfigTree mstpConfig;
  MstpStateTree mstpState;

  std::uint64_t subscriptions = 0;
};

/// A new watch, that comes after all that there are.
inline Watch watchOf(State& state, Ref source) {
  return Watch{source, true, ++state.subscriptions};
}

/// Switches a watch; one that is switched on again comes after all others. Tells whether anything
/// changed.
inline bool activeIs(State& state, Watch& watch, bool active) {
  if (watch.active == active) {
    return false;
  }
  watch.active = active;
  watch.since = ++state.subscriptions;
  return true;
}

/// The keys of the mirrors that satisfy a condition, those that came first at the front.
template <class Mirror, class Condition>
std::vector<int> keysInTurn(Ordered<Mirror> const& mirrors, Condition const& condition) {
  std::vector<std::pair<std::uint64_t, int>> turns;
  for (auto const& mirror : mirrors) {
    if (condition(mirror.value)) {
      turns.emplace_back(mirror.value.since, mirror.key);
    }
  }
  std::ranges::sort(turns);
  std::vector<int> keys;
  for (auto const& [since, key] : turns) {
    keys.push_back(key);
  }
  return keys;
}

}  // namespace Model
