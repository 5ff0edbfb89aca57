// The part of reading a trace file that turns its ring into records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "Flashlog/Reader.h"

namespace Flashlog {

/// Adds the records of a ring to `trace`, oldest first, with the counts of lost and torn ones; the
/// messages and the calibration are in `trace` already. `slots` is one slot at least, `headerLap`
/// the lap by the header of the file. Throws ReadError that begins with `name`.
void parseRing(std::string const& name, std::span<std::byte const> slots, std::uint64_t headerLap,
               Trace& trace);

/// Throws the ReadError of a file whose parts can't be true together.
[[noreturn]] void damaged(std::string const& name, std::string const& what);

}  // namespace Flashlog
