#include "Global.h"

namespace Model::Global {

namespace {

std::vector<int> protocols(int mode) {
  switch (mode) {
    case 0:
    case 2: return {0};
    case 3: return {1};
    case 101: return {2};
    default: return {};
  }
}

BridgeConfig& configOf(State& state, Kind config) {
  return config == Kind::inputConfig ? state.sources.inputConfig : state.sources.config;
}

void tableChanged(State& state, Kind config) {
  if (config == Kind::inputConfig) {
    inputConfigChanged(state, 303);
  } else {
    configChanged(state, 303);
  }
}

}  // namespace

void configProtocol(State& state) {
  GlobalRecord record = state.targets.globalConfig;
  record.enabledProtocol = protocols(state.sources.inputConfig.mode);
  globalConfigIs(state.targets, record);
}

void configGuard(State& state) {
  GlobalRecord record = state.targets.globalConfig;
  record.bpduGuard = state.sources.inputConfig.portfastBpduguard;
  globalConfigIs(state.targets, record);
}

void configVlans(State& state) {
  GlobalRecord record = state.targets.globalConfig;
  record.disabledVlan = compress(state.sources.inputConfig.disabledVlan.disabled);
  globalConfigIs(state.targets, record);
}

void stateProtocol(State& state) {
  GlobalRecord record = state.targets.globalState;
  record.enabledProtocol = protocols(state.sources.status.activeProtocol);
  globalStateIs(state.targets, record);
}

void stateGuard(State& state) {
  GlobalRecord record = state.targets.globalState;
  record.bpduGuard = state.sources.config.portfastBpduguard;
  globalStateIs(state.targets, record);
}

void stateVlans(State& state) {
  GlobalRecord record = state.targets.globalState;
  record.disabledVlan =
      compress(state.sources.config.disabledVlan.disabled & state.sources.vlanDir);
  globalStateIs(state.targets, record);
}

void configStart(State& state) {
  configProtocol(state);
  configVlans(state);
}

void stateStart(State& state) {
  stateVlans(state);
  stateProtocol(state);
}

void inputConfigChanged(State& state, int field) {
  if (!state.globalConfig.hears()) {
    return;
  }
  if (field == 267) {
    configProtocol(state);
  } else if (field == 294) {
    configGuard(state);
  } else if (field == 303) {
    configVlans(state);
  }
}

void configChanged(State& state, int field) {
  if (!state.globalState.hears()) {
    return;
  }
  if (field == 294) {
    stateGuard(state);
  } else if (field == 303) {
    stateVlans(state);
  }
}

void statusChanged(State& state, int field) {
  if (state.globalState.hears() && field == 258) {
    stateProtocol(state);
  }
}

void vlanDirChanged(State& state, int field) {
  if (state.globalState.hears() && field == 258) {
    stateVlans(state);
  }
}

void disabledVlanIs(State& state, Kind config, int vlan, bool disabled) {
  VlanTable& table = configOf(state, config).disabledVlan;
  auto const id = static_cast<std::size_t>(vlan);
  if (table.present[id] && table.disabled[id] == disabled) {
    return;
  }
  table.present.set(id);
  table.disabled.set(id, disabled);
  tableChanged(state, config);
}

void disabledVlanDel(State& state, Kind config, int vlan) {
  VlanTable& table = configOf(state, config).disabledVlan;
  auto const id = static_cast<std::size_t>(vlan);
  if (table.present[id]) {
    table.present.reset(id);
    table.disabled.reset(id);
    tableChanged(state, config);
  }
}

void disabledVlanDelAll(State& state, Kind config) {
  for (int vlan = 0; vlan < 4096; ++vlan) {
    disabledVlanDel(state, config, vlan);
  }
}

void syncDisabledVlan(State& state) {
  GlobalRecord record = state.targets.globalConfig;
  disabledVlanDelAll(state, Kind::inputConfig);
  for (VlanEntry const& entry : record.disabledVlan) {
    for (int vlan = entry.first; vlan <= entry.last; ++vlan) {
      disabledVlanIs(state, Kind::inputConfig, vlan, true);
    }
  }
  record.disabledVlan = compress(state.sources.inputConfig.disabledVlan.disabled);
  globalConfigIs(state.targets, record);
}

}  // namespace Model::Global
