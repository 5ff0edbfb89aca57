// The model of the whole mirror: what every operation makes of the world, as the rules say it.
//
// It is a second opinion on the library, written apart from it: plain functions over plain values,
// that ask, for a change, which mirrors follow the changed entity and have them write.
#pragma once

#include <array>
#include <cstdint>

#include "Failures.h"
#include "Operation.h"
#include "State.h"

namespace Model {

/// How many entities of each pooled kind are at hand.
constexpr int handSize(Kind kind) {
  switch (kind) {
    case Kind::stpiConfig: return 3;
    case Kind::stpiStatus: return 4;
    case Kind::portStatus:
    case Kind::mstiStatus: return 12;
    default: return 8;
  }
}

/// A world with entities at hand, and nothing else.
State freshState();

/// Does one step. Throws Ends, and leaves the state anyhow, where the process would end.
Outcome apply(State& state, Operation const& operation);

/// How many objects of the sixteen classes live, by the index of the class.
std::array<std::uint64_t, 16> liveObjects(State const& state);

}  // namespace Model
