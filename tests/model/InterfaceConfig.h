// The mirrors of the interfaces' configuration.
#pragma once

#include "State.h"

namespace Model::InterfaceConfig {

void handleInitialized(State& state);
void handleInterface(State& state, int port);
void handleInstance(State& state, int instance);
void cleanUp(State& state);
void activeIs(State& state, bool active);

void inputConfigChanged(State& state, int field, int key);
void statusChanged(State& state, int field, int key);
void inputPortChanged(State& state, Ref port, int field);
void stpiStatusChanged(State& state, Ref instance, int field, int key);

}  // namespace Model::InterfaceConfig
