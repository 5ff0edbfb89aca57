// The mirrors of the MSTP configuration.
#pragma once

#include "State.h"

namespace Model::MstpConfig {

void start(State& state);
void handleInitialized(State& state);
void handleVlanMapping(State& state);
void handleInstance(State& state, int instance);
void activeIs(State& state, bool active);

void inputConfigChanged(State& state, int field, int key);
void stpiConfigChanged(State& state, Ref instance, int field, int key);
void mstiConfigChanged(State& state, Ref msti, int field);

}  // namespace Model::MstpConfig
