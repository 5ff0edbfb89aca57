#include "InterfaceConfig.h"

#include <set>

#include "Failures.h"

namespace Model::InterfaceConfig {

namespace {

InterfaceConfigTree& treeOf(State& state) {
  return state.interfaceConfig;
}

bool configured(State const& state, int port) {
  return state.sources.inputConfig.ports.has(port);
}

// Gives the record of a port's interface the port's name.
void nameIs(State& state, int port, int interface) {
  InterfaceRecord record = interfaceRecord(state.targets, port, interface);
  record.name = port;
  interfaceRecordIs(state.targets, port, interface, record);
}

void edgePort(State& state, int port, PortConfigMirror const& mirror) {
  InputPort const& source = at(state.sources.inputPorts, mirror.source);
  InterfaceRecord record = interfaceRecord(state.targets, port, mirror.interface);
  record.name = port;
  record.edgePort = notSet;
  if (source.edgePortEnable) {
    record.edgePort = 0;
  } else if (source.edgePortDisable) {
    record.edgePort = 1;
  } else if (source.edgePortAuto) {
    record.edgePort = 2;
  }
  interfaceRecordIs(state.targets, port, mirror.interface, record);
}

void bpduGuard(State& state, int port, PortConfigMirror const& mirror) {
  int const guard = at(state.sources.inputPorts, mirror.source).bpduguard;
  InterfaceRecord record = interfaceRecord(state.targets, port, mirror.interface);
  record.name = port;
  record.bpduGuard = guard == 1 ? 1 : guard == 2 ? 0 : notSet;
  interfaceRecordIs(state.targets, port, mirror.interface, record);
}

void linkType(State& state, int port, PortConfigMirror const& mirror) {
  int const type = at(state.sources.inputPorts, mirror.source).linkType;
  InterfaceRecord record = interfaceRecord(state.targets, port, mirror.interface);
  record.name = port;
  if (type <= 2) {
    record.linkType = type == 1 ? 0 : type == 2 ? 1 : notSet;
  }
  interfaceRecordIs(state.targets, port, mirror.interface, record);
}

void portMirrorIs(State& state, int port, Ref source, int interface) {
  PortConfigMirror mirror{watchOf(state, source), interface};
  treeOf(state).ports.put(port, mirror);
  edgePort(state, port, mirror);
}

// One port of one instance comes, goes or is announced again.
void portOfInstance(State& state, Ref instance, int port) {
  auto const& interfaces = state.targets.interfaces;
  if (at(state.sources.stpiStatuses, instance).ports.has(port) && !interfaces.contains(port)) {
    nameIs(state, port, interfaceIs(state.targets, port));
    return;
  }
  if (!configured(state, port)) {
    interfaceDel(state.targets, port);
  }
}

void instanceMirrorIs(State& state, int instance, Ref source) {
  if (Watch const* const present = treeOf(state).instances.find(instance)) {
    if (present->source != source) {
      throw Refused{Outcome::reinstantiated};
    }
    return;
  }
  treeOf(state).instances.put(instance, watchOf(state, source));
  for (int const port : at(state.sources.stpiStatuses, source).ports.keys()) {
    portOfInstance(state, source, port);
  }
}

bool anyInstanceLists(State const& state, int port) {
  for (auto const& instance : state.sources.status.instances) {
    if (at(state.sources.stpiStatuses, instance.value).ports.has(port)) {
      return true;
    }
  }
  return false;
}

}  // namespace

void handleInterface(State& state, int port) {
  treeOf(state).ports.erase(port);
  if (Ref const* const source = state.sources.inputConfig.ports.find(port)) {
    int const interface = interfaceIs(state.targets, port);
    nameIs(state, port, interface);
    portMirrorIs(state, port, *source, interface);
  } else if (anyInstanceLists(state, port)) {
    interfaceDel(state.targets, port);
    nameIs(state, port, interfaceIs(state.targets, port));
  } else {
    interfaceDel(state.targets, port);
  }
}

void handleInstance(State& state, int instance) {
  if (Ref const* const source = state.sources.status.instances.find(instance)) {
    instanceMirrorIs(state, instance, *source);
  } else {
    cleanUp(state);
    treeOf(state).instances.erase(instance);
  }
}

void cleanUp(State& state) {
  std::set<int> taking;
  for (auto const& instance : state.sources.status.instances) {
    for (int const port : at(state.sources.stpiStatuses, instance.value).ports.keys()) {
      taking.insert(port);
    }
  }
  auto const interfaces = state.targets.interfaces;
  for (auto const& [port, interface] : interfaces) {
    if (!configured(state, port) && !taking.contains(port)) {
      interfaceDel(state.targets, port);
    }
  }
}

void handleInitialized(State& state) {
  cleanUp(state);
  for (int const port : state.sources.inputConfig.ports.keys()) {
    handleInterface(state, port);
  }
  for (int const instance : state.sources.status.instances.keys()) {
    handleInstance(state, instance);
  }
}

void activeIs(State& state, bool active) {
  for (auto& port : treeOf(state).ports) {
    Model::activeIs(state, port.value, active);
  }
  for (auto& instance : treeOf(state).instances) {
    Model::activeIs(state, instance.value, active);
  }
}

void inputConfigChanged(State& state, int field, int key) {
  if (treeOf(state).hears() && field == 386) {
    handleInterface(state, key);
  }
}

void statusChanged(State& state, int field, int key) {
  if (treeOf(state).hears() && field == 259) {
    handleInstance(state, key);
  }
}

void inputPortChanged(State& state, Ref port, int field) {
  auto const follows = [port](Watch const& watch) { return watch.follows(port); };
  for (int const key : keysInTurn(treeOf(state).ports, follows)) {
    PortConfigMirror const& mirror = *treeOf(state).ports.find(key);
    if (field == 260) {
      linkType(state, key, mirror);
    } else if (field == 261 || field == 263 || field == 265) {
      edgePort(state, key, mirror);
    } else if (field == 270) {
      bpduGuard(state, key, mirror);
    }
  }
}

void stpiStatusChanged(State& state, Ref instance, int field, int key) {
  auto const follows = [instance](Watch const& watch) { return watch.follows(instance); };
  if (field == 261) {
    for ([[maybe_unused]] int const mirror : keysInTurn(treeOf(state).instances, follows)) {
      portOfInstance(state, instance, key);
    }
  }
}

}  // namespace Model::InterfaceConfig
