// The mirrors of the MSTP state.
#pragma once

#include "State.h"

namespace Model::MstpState {

void start(State& state);
void handleInitialized(State& state);
void update(State& state);
void triggerInc(State& state);
void activeIs(State& state, bool active);

void configChanged(State& state, int field);
void statusChanged(State& state, int field);
void stpiStatusChanged(State& state, Ref instance, int field);
void mstiStatusChanged(State& state, Ref msti, int field);

}  // namespace Model::MstpState
