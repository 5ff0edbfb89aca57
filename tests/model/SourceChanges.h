// What changes of the sources make of the world.
#pragma once

#include "Operation.h"
#include "State.h"

namespace Model {

/// Changes a source as an operation says, and has whoever follows it react.
void changeSource(State& state, Operation const& operation);

/// Puts a fresh entity into a hand.
void renew(State& state, Kind kind, int hand);

}  // namespace Model
