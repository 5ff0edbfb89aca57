// The mirrors of the interfaces' state.
#pragma once

#include "State.h"

namespace Model::InterfaceState {

void handleInitialized(State& state);
void handleInstance(State& state, int instance);
void activeIs(State& state, bool active);

void statusChanged(State& state, int field, int key);
void stpiStatusChanged(State& state, Ref instance, int field, int key);
void configChanged(State& state, int field);
void portConfigChanged(State& state, Ref port, int field);
void portStatusChanged(State& state, Ref port, int field);

}  // namespace Model::InterfaceState
