#include "InterfaceState.h"

#include "Failures.h"

namespace Model::InterfaceState {

namespace {

InterfaceStateTree& treeOf(State& state) {
  return state.interfaceState;
}

InterfaceRecord recordOf(State const& state, int port) {
  auto const found = state.targets.interfaceStates.find(port);
  return found != state.targets.interfaceStates.end() ? found->second
                                                      : InterfaceRecord{port, 0, 2, notSet};
}

void linkType(State& state, int port, PortStateMirror const& mirror) {
  InterfaceRecord record = recordOf(state, port);
  record.linkType = at(state.sources.portStatuses, mirror.source).operPointToPointMac ? 0 : 1;
  interfaceStateIs(state.targets, record);
}

void edgePort(State& state, int port, PortStateMirror const& mirror) {
  InterfaceRecord record = recordOf(state, port);
  record.edgePort = at(state.sources.portStatuses, mirror.source).operEdgePort ? 0 : 1;
  interfaceStateIs(state.targets, record);
}

void bpduGuard(State& state, int port, PortStateMirror const& mirror) {
  if (mirror.portConfig == none) {
    return;
  }
  PortConfig const& config = at(state.sources.portConfigs, mirror.portConfig);
  bool guard = config.bpduguard == 1;
  if (config.bpduguard == 0 && state.sources.config.portfastBpduguard && config.adminEdgePort) {
    guard = at(state.sources.portStatuses, mirror.source).operEdgePort;
  }
  InterfaceRecord record = recordOf(state, port);
  record.bpduGuard = guard ? 1 : 0;
  interfaceStateIs(state.targets, record);
}

void handlePort(State& state, InstanceStateMirror& instance, int port) {
  Ref const* const status = at(state.sources.stpiStatuses, instance.source).ports.find(port);
  if (status == nullptr) {
    instance.ports.erase(port);
    return;
  }
  Ref const* const known = state.sources.config.ports.find(port);
  Ref const config = known == nullptr ? none : *known;
  if (PortStateMirror const* const present = instance.ports.find(port)) {
    if (present->portConfig != config || present->source != *status) {
      throw Refused{Outcome::reinstantiated};
    }
    return;
  }
  PortStateMirror const mirror{watchOf(state, *status), config};
  instance.ports.put(port, mirror);
  linkType(state, port, mirror);
  edgePort(state, port, mirror);
  bpduGuard(state, port, mirror);
}

void instanceIs(State& state, int instance, Ref source) {
  if (InstanceStateMirror const* const present = treeOf(state).instances.find(instance)) {
    if (present->source != source) {
      throw Refused{Outcome::reinstantiated};
    }
    return;
  }
  InstanceStateMirror mirror{watchOf(state, source), {}};
  for (int const port : at(state.sources.stpiStatuses, source).ports.keys()) {
    handlePort(state, mirror, port);
  }
  treeOf(state).instances.put(instance, mirror);
}

// Calls a reaction for every port mirror that satisfies a condition, in turn.
template <class Condition, class Reaction>
void eachPort(State& state, Condition const& condition, Reaction const& reaction) {
  std::map<std::uint64_t, std::pair<int, PortStateMirror const*>> turns;
  for (auto const& instance : treeOf(state).instances) {
    for (auto const& port : instance.value.ports) {
      if (port.value.active && condition(port.value)) {
        turns.emplace(port.value.since, std::pair(port.key, &port.value));
      }
    }
  }
  for (auto const& [since, port] : turns) {
    reaction(state, port.first, *port.second);
  }
}

}  // namespace

void handleInstance(State& state, int instance) {
  if (Ref const* const source = state.sources.status.instances.find(instance)) {
    instanceIs(state, instance, *source);
  } else {
    treeOf(state).instances.erase(instance);
  }
}

void handleInitialized(State& state) {
  auto const& reported = state.sources.status.instances;
  for (int const instance : treeOf(state).instances.keys()) {
    if (!reported.has(instance)) {
      treeOf(state).instances.erase(instance);
    }
  }
  for (int const instance : reported.keys()) {
    handleInstance(state, instance);
  }
}

void activeIs(State& state, bool active) {
  for (auto& instance : treeOf(state).instances) {
    if (Model::activeIs(state, instance.value, active)) {
      for (auto& port : instance.value.ports) {
        Model::activeIs(state, port.value, active);
      }
    }
  }
}

void statusChanged(State& state, int field, int key) {
  if (treeOf(state).hears() && field == 259) {
    handleInstance(state, key);
  }
}

void stpiStatusChanged(State& state, Ref instance, int field, int key) {
  auto const follows = [instance](Watch const& watch) { return watch.follows(instance); };
  if (field == 261) {
    for (int const mirror : keysInTurn(treeOf(state).instances, follows)) {
      handlePort(state, *treeOf(state).instances.find(mirror), key);
    }
  }
}

void configChanged(State& state, int field) {
  if (field == 294) {
    eachPort(
        state, [](auto const&) { return true; }, bpduGuard);
  }
}

void portConfigChanged(State& state, Ref port, int field) {
  if (field == 261 || field == 270) {
    eachPort(
        state, [port](auto const& mirror) { return mirror.portConfig == port; }, bpduGuard);
  }
}

void portStatusChanged(State& state, Ref port, int field) {
  auto const follows = [port](auto const& mirror) { return mirror.source == port; };
  if (field == 260) {
    eachPort(state, follows, [](State& world, int key, PortStateMirror const& mirror) {
      edgePort(world, key, mirror);
      bpduGuard(world, key, mirror);
    });
  } else if (field == 262) {
    eachPort(state, follows, linkType);
  }
}

}  // namespace Model::InterfaceState
