// The bridge-wide mirrors.
#pragma once

#include "State.h"

namespace Model::Global {

void configProtocol(State& state);
void configGuard(State& state);
void configVlans(State& state);

void stateProtocol(State& state);
void stateGuard(State& state);
void stateVlans(State& state);

void configStart(State& state);
void stateStart(State& state);

/// Attributes of the input configuration, the configuration, the status and the VLAN directory.
void inputConfigChanged(State& state, int field);
void configChanged(State& state, int field);
void statusChanged(State& state, int field);
void vlanDirChanged(State& state, int field);

/// Changes one entry of a table, and tells who watches it.
void disabledVlanIs(State& state, Kind config, int vlan, bool disabled);
void disabledVlanDel(State& state, Kind config, int vlan);
void disabledVlanDelAll(State& state, Kind config);

/// The back-sync.
void syncDisabledVlan(State& state);

}  // namespace Model::Global
