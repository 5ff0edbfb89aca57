// The runs of the agent, from their input to their exit status.
#pragma once

#include <string>
#include <vector>

#include "Session.h"

namespace Agent {

/// Applies the operations in the files, in order; "-" is standard input. What is refused is
/// reported on standard error; results go to standard output. Returns the exit status: 0 when
/// every line was applied or the run was interrupted, 1 when a line was refused, 2 when a file
/// can't be read or written. Nothing is applied when one of the files can't be read from the start.
int runOperations(Settings const& settings, std::vector<std::string> const& files);

/// Applies what changes from one snapshot to the next, in the order of their folders. A snapshot
/// that can't be read or isn't understood is refused as a whole; otherwise as above.
int replaySnapshots(Settings const& settings, std::string const& bridge,
                    std::vector<std::string> const& folders);

}  // namespace Agent
