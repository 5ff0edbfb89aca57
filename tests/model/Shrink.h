// Makes a failing sequence short enough to read.
#pragma once

#include <functional>
#include <string>

#include "Session.h"

namespace Harness {

/// The sequence without the operations that it fails without, so that it fails no more if any one
/// of the rest is left out.
Sequence shorten(Sequence sequence, std::function<bool(Sequence const&)> const& fails);

/// Runs a sequence in a process of its own, and tells what differs or how the process ended; empty
/// when it passes.
std::string runApart(Sequence const& sequence);

/// A failing sequence, shortened, and what it shows, for people.
std::string report(Sequence const& failing);

}  // namespace Harness
